// Neighbouring seeds share most of their pairs, and their paths soon run into each other.  A hash
// leads to the states that may be the same; the sets themselves decide.
//
// States are noted when paths come to them, not when these have ended: what the states of a path
// are worth stands with the path, once for all of them.
#include "compare/visited_states.h"

#include <algorithm>
#include <bit>

namespace tervolanda {

namespace {

constexpr std::size_t kMostWords = std::size_t{1} << 23;  // of known sets, 64 MB

}  // namespace

void VisitedStates::clear(std::size_t words) {
    // Some three states a pair are usual; of 64 pairs a word that fills half of the slots at most.
    words_ = words;
    slots_.assign(std::bit_ceil(512 * words), 0);
    entryCount_ = 0;
    paths_.clear();
}

inline std::uint64_t VisitedStates::hashOf(const PathPosition& at, const PairMask& set) const {
    auto hash = static_cast<std::uint64_t>(at.stage) * 64;
    // Refinement goes on alike from a set, whichever its step.
    if (at.stage == SeedStage::Growth) hash += static_cast<std::uint64_t>(at.step);
    for (std::size_t w = 0; w < words_; ++w) {
        hash = (hash ^ set[w]) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
    }
    return hash;
}

Encounter VisitedStates::meet(std::uint32_t seed, const PathPosition& at, const PairMask& set) {
    const std::uint64_t hash = hashOf(at, set);
    Encounter met;
    std::size_t slot = static_cast<std::size_t>(hash) & (slots_.size() - 1);
    for (; slots_[slot] != 0; slot = (slot + 1) & (slots_.size() - 1)) {
        const std::size_t i = slots_[slot] - 1;
        const Entry& known = entries_[i];
        if (known.hash != hash || known.at.stage != at.stage || known.seed >= seed) continue;
        const Path& path = paths_[known.seed - 1];
        if (path.selections == kOfNoUse || i < path.firstEntry) continue;
        if (at.stage == SeedStage::Growth && known.at.step != at.step) continue;
        if (!isSameSet(set.data(), sets_.data() + i * words_, words_)) continue;
        if (path.selections == kOnItsWay) {
            met.kind = Encounter::Kind::Ahead;
            met.seed = known.seed;
            continue;
        }
        // Growth depends on its step, refinement only on how many selections are left: with fewer
        // than the other path had it might be cut off before it comes to the same end.
        const int left = path.selections - known.at.selections();
        if (at.stage == SeedStage::Growth || at.step + left < kMostSelections)
            return {Encounter::Kind::Known, known.seed, left};
    }
    if (met.kind == Encounter::Kind::New) note({hash, seed, at}, set, slot);
    return met;
}

// Forgetting costs only time.
void VisitedStates::note(const Entry& entry, const PairMask& set, std::size_t slot) {
    const std::size_t i = entryCount_;
    if (2 * i >= slots_.size() || (i + 1) * words_ > kMostWords) return;
    if (i == entries_.size()) entries_.resize(std::max<std::size_t>(2 * i, 64));
    if ((i + 1) * words_ > sets_.size()) sets_.resize(2 * (i + 1) * words_);
    entries_[i] = entry;
    std::copy_n(set.data(), words_, sets_.data() + i * words_);
    slots_[slot] = ++entryCount_;
}

}  // namespace tervolanda
