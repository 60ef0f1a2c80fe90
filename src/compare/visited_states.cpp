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

std::uint64_t hashOf(std::uint8_t point, const PairMask& set) {
    std::uint64_t hash = point;
    for (const std::uint64_t word : set) {
        hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
    }
    return hash;
}

}  // namespace

void VisitedStates::clear(std::size_t words) {
    // Some three states a pair are usual; of 64 pairs a word that fills half of the slots at most.
    words_ = words;
    slots_.assign(std::bit_ceil(512 * words), 0);
    entryCount_ = 0;
    paths_.clear();
}

Encounter VisitedStates::meet(std::uint32_t seed, const PathPosition& at, const PairMask& set) {
    const std::uint8_t point = at.point();
    const int selections = at.selections();
    const std::uint64_t hash = hashOf(point, set);
    ahead_ = 0;
    std::size_t slot = static_cast<std::size_t>(hash) & (slots_.size() - 1);
    for (; slots_[slot] != 0; slot = (slot + 1) & (slots_.size() - 1)) {
        const std::size_t i = slots_[slot] - 1;
        const Entry& known = entries_[i];
        if (known.hash != hash || known.point != point || known.seed >= seed) continue;
        const Path& path = paths_[known.seed - 1];
        if (path.selections == kOfNoUse || i < path.firstEntry) continue;
        if (!isSameSet(set.data(), sets_.data() + i * words_, words_)) continue;
        if (path.selections == kOnItsWay) {
            ahead_ = known.seed;
            continue;
        }
        // With fewer selections left than the other path needed, this one might be cut off before
        // it comes to the same end.
        const int left = path.selections - known.selections;
        if (selections + left >= kMostSelections) continue;
        selectionsLeft_ = left;
        return Encounter::Known;
    }
    if (ahead_ != 0) return Encounter::Ahead;
    if (Entry* const entry = add(set, slot)) {
        // Field by field: a copy of an entry just made would wait for the bytes just written, 3 %
        // of a search.
        entry->hash = hash;
        entry->seed = seed;
        entry->point = point;
        entry->selections = static_cast<std::uint8_t>(selections);
    }
    return Encounter::New;
}

// The entry of a state that is noted; none where there are too many.  Forgetting costs only time.
VisitedStates::Entry* VisitedStates::add(const PairMask& set, std::size_t slot) {
    const std::size_t i = entryCount_;
    if (2 * i >= slots_.size() || (i + 1) * words_ > kMostWords) return nullptr;
    if (i == entries_.size()) entries_.resize(std::max<std::size_t>(2 * i, 64));
    if ((i + 1) * words_ > sets_.size()) sets_.resize(2 * (i + 1) * words_);
    std::uint64_t* const kept = sets_.data() + i * words_;
    for (std::size_t w = 0; w < words_; ++w)
        kept[w] = set[w];
    slots_[slot] = ++entryCount_;
    return &entries_[i];
}

}  // namespace tervolanda
