// Neighbouring seeds share most of their pairs, and their paths soon run into each other.  A hash
// leads to the states that may be the same; the sets themselves decide.
#include "compare/visited_states.h"

#include <bit>

namespace tervolanda {

namespace {

constexpr std::size_t kMostStates = kGrowthSteps + kMostSelections + 1;  // of one path
constexpr std::size_t kMostWords = std::size_t{1} << 23;                 // of known sets, 64 MB
constexpr std::size_t kMostReserved = std::size_t{1} << 17;  // words that may not be needed, 1 MB

}  // namespace

void PathTrail::reserve(std::size_t words) {
    keys_.reserve(kMostStates);
    sets_.reserve(kMostStates * words);
}

void PathTrail::clear() {
    keys_.clear();
    sets_.clear();
}

void VisitedStates::clear(std::size_t words) {
    // Some three states a pair are usual; of 64 pairs a word that fills half of the slots at most.
    words_ = words;
    slots_.assign(std::bit_ceil(512 * words), 0);
    entries_.clear();
    sets_.clear();
    // Room for all states at once, where that is little.
    const std::size_t most = slots_.size() / 2;
    if (most * words > kMostReserved) return;
    entries_.reserve(most);
    sets_.reserve(most * words);
}

void VisitedStates::remember(const PathTrail& trail, std::uint32_t seed, int selections) {
    const std::uint64_t* set = trail.sets_.data();
    // Two paths may have been side by side in one state, each before the other was known: then it
    // stands here twice, and recall() finds the one that it may use.
    for (const StateKey& key : trail.keys_) {
        // Forgetting costs only time.
        const bool isFull = 2 * entries_.size() >= slots_.size();
        if (isFull || sets_.size() + words_ > kMostWords) return;
        std::size_t slot = firstSlot(key.hash);
        while (slots_[slot] != 0)
            slot = (slot + 1) & (slots_.size() - 1);
        entries_.push_back({key, seed, selections - key.at.selections()});
        sets_.insert(sets_.end(), set, set + words_);
        slots_[slot] = static_cast<std::uint32_t>(entries_.size());
        set += words_;
    }
}

std::optional<int> VisitedStates::recall(const StateKey& key, const PairMask& set,
                                         std::uint32_t seed) const {
    for (std::size_t slot = firstSlot(key.hash); slots_[slot] != 0;
         slot = (slot + 1) & (slots_.size() - 1)) {
        const std::size_t i = slots_[slot] - 1;
        const Entry& known = entries_[i];
        if (known.key.hash != key.hash || known.key.at.stage != key.at.stage || known.seed > seed) {
            continue;
        }
        // Growth depends on its step, refinement only on how many selections are left: with fewer
        // than the other path had it might be cut off before it comes to the same end.
        const bool goesOnAlike = key.at.stage == SeedStage::Growth
                                     ? known.key.at.step == key.at.step
                                     : key.at.step + known.selectionsLeft < kMostSelections;
        if (goesOnAlike && isSameSet(set.data(), sets_.data() + i * words_, words_)) {
            return known.selectionsLeft;
        }
    }
    return std::nullopt;
}

}  // namespace tervolanda
