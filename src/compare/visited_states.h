// What the paths of a search have found out about the sets that they went through.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "compare/pair_mask.h"

namespace tervolanda {

// A path grows its seed, refines the grown set at the full cut-off, and selects once more.
enum class SeedStage : std::uint8_t { Growth, Refinement, Final, Done };

inline constexpr int kGrowthSteps = 4;      // radii of 1/4, 2/4, 3/4 and 4/4 of the cut-off
inline constexpr int kMostSelections = 21;  // of one refinement

// How far a path has come.
struct PathPosition {
    SeedStage stage = SeedStage::Done;
    int step = 0;  // of the growth, from 1; then the selections of the refinement

    // Selections of the refinement that it took to get here.
    int selections() const { return stage == SeedStage::Growth ? 0 : step; }
};

// A set about to be superposed, and at which point of its path: what follows is determined, as long
// as the path does not fall back to its own seed or reach the limit of selections.
struct StateKey {
    StateKey(const PathPosition& position, const PairMask& set)
        : at(position), hash(static_cast<std::uint64_t>(at.stage) * 64) {
        // Refinement goes on alike from a set, whichever its step.
        if (at.stage == SeedStage::Growth) hash += static_cast<std::uint64_t>(at.step);
        for (const std::uint64_t word : set) {
            hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
    }

    PathPosition at;
    std::uint64_t hash;  // of set and position
};

// The states that one path went through since it last fell back to its seed, with their sets.
class PathTrail {
 public:
    // Makes room for the longest path, with sets of so many words.
    void reserve(std::size_t words);
    void clear();
    void add(const StateKey& key, const PairMask& set) {
        keys_.push_back(key);
        sets_.insert(sets_.end(), set.begin(), set.end());
    }

 private:
    friend class VisitedStates;

    std::vector<StateKey> keys_;
    std::vector<std::uint64_t> sets_;  // one after the other
};

// The states that finished paths went through.  A path that comes to a state of an earlier seed
// would find what that one found, which cannot be better: it ends there.  Only finished paths
// count, since what a path under way will find is not known; seeds side by side may go the same way
// twice.
//
// Invariant: the set of entry i is the words_ words of sets_ from i x words_ on, and at least half
// of the slots are free, so that every walk along them ends.
class VisitedStates {
 public:
    // Forgets all; sets have so many words from now on.
    void clear(std::size_t words);
    // Keeps the trail of the path of seed `seed`, whose refinement took `selections` in all.
    void remember(const PathTrail& trail, std::uint32_t seed, int selections);
    // When the path of no later seed than `seed` was in the same state, and went on from there for
    // no more selections than are left: how many its refinement took.
    std::optional<int> recall(const StateKey& key, const PairMask& set, std::uint32_t seed) const;

 private:
    struct Entry {
        StateKey key;
        std::uint32_t seed;
        int selectionsLeft;  // that the refinement took from here on
    };

    std::size_t firstSlot(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash) & (slots_.size() - 1);
    }

    std::size_t words_ = 0;
    std::vector<std::uint32_t> slots_;  // 1 + index into entries_, 0 for free; open addressing
    std::vector<Entry> entries_;
    std::vector<std::uint64_t> sets_;
};

}  // namespace tervolanda
