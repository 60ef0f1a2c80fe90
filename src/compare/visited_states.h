// What the paths of a search have found out about the sets that they went through.
#pragma once

#include <cstddef>
#include <cstdint>
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
    // What follows from a set is the same for paths at the same point of theirs: growth depends on
    // its step, refinement goes on alike from a set, whichever its step.
    std::uint8_t point() const {
        constexpr int kStages = 64;  // more than there are steps of the growth
        return static_cast<std::uint8_t>(kStages * static_cast<int>(stage) +
                                         (stage == SeedStage::Growth ? step : 0));
    }
};

// What a path learns when it comes to a state.
enum class Encounter : std::uint8_t {
    New,    // no earlier path is known to have been here; it is noted who was
    Ahead,  // the path of an earlier seed was here and is still on its way
    Known   // the path of an earlier seed went on from here to its end
};

// The states that the paths of a search went through.  A state is a set about to be superposed, and
// at which point of its path: what follows is determined, as long as the path does not fall back to
// its own seed or reach the limit of selections.  So a path that comes to a state of an earlier
// seed would find what that one finds, which cannot be better: it may end there.  States of later
// seeds do not count, as of equal candidates the earlier one's is kept.
//
// Seeds are numbered from 1 in their order, and each is announced by begin() before its path comes
// to a state.
//
// Invariant: the set of entry i is the words_ words of sets_ from i x words_ on, and at least half
// of the slots are free, so that every walk along them ends.
class VisitedStates {
 public:
    // Forgets all; sets have so many words from now on.
    void clear(std::size_t words);
    // The path of the next seed is on its way.
    void begin() { paths_.push_back({entryCount_, kOnItsWay}); }
    // The path of a seed came to a state, which is noted unless it ends there or may wait.
    Encounter meet(std::uint32_t seed, const PathPosition& at, const PairMask& set);
    // More of the latest encounter: whose path is ahead, and how many selections the refinement of
    // one that is known took from here on.  Not returned with it, as a pair in one register is put
    // together in memory and waited for: 1 % of a search.
    std::uint32_t ahead() const { return ahead_; }
    int selectionsLeft() const { return selectionsLeft_; }
    // The path fell back to its seed: what it went through before does not lead to where it ends.
    void forget(std::uint32_t seed) { paths_[seed - 1].firstEntry = entryCount_; }
    // The path has ended, after so many selections of the refinement.  At the limit, or where a set
    // has no superposition, others might have gone on: of no use to them.
    void end(std::uint32_t seed, int selections) { paths_[seed - 1].selections = selections; }
    void endOfNoUse(std::uint32_t seed) { paths_[seed - 1].selections = kOfNoUse; }

 private:
    static constexpr int kOnItsWay = -1, kOfNoUse = -2;

    struct Entry {
        std::uint64_t hash = 0;  // of set and point
        std::uint32_t seed = 0;
        std::uint8_t point = 0;       // PathPosition::point()
        std::uint8_t selections = 0;  // of the refinement, up to here
    };
    struct Path {
        std::uint32_t firstEntry;  // those before are forgotten
        int selections;            // of its whole refinement, or one of the constants above
    };

    Entry* add(const PairMask& set, std::size_t slot);

    std::size_t words_ = 0;
    std::uint32_t entryCount_ = 0;
    std::vector<std::uint32_t> slots_;  // 1 + index into entries_, 0 for free; open addressing
    std::vector<Entry> entries_;        // the first entryCount_ are in use
    std::vector<std::uint64_t> sets_;
    std::vector<Path> paths_;  // by number of the seed
    std::uint32_t ahead_ = 0;
    int selectionsLeft_ = 0;
};

}  // namespace tervolanda
