// The path of one seed: from a fragment of the pairs to the best subset that grows from it.
#pragma once

#include <cstdint>
#include <vector>

#include "base/stop.h"
#include "compare/fit/kernels.h"
#include "compare/pair_mask.h"
#include "compare/search_pairs.h"
#include "compare/select_by_rmsd.h"
#include "compare/visited_states.h"

namespace tervolanda {

inline constexpr std::uint32_t kFewestSelected = 3;  // a smaller selection is none

// Sees every superposition that a search makes, of the pairs as the search has them.
class MotionViewer {
 public:
    virtual void see(const SearchPairs& pairs, const Motion& motion) = 0;

 protected:
    MotionViewer() = default;
    MotionViewer(const MotionViewer&) = default;
    MotionViewer& operator=(const MotionViewer&) = default;
    ~MotionViewer() = default;
};

// What a search is asked: of one pass, with the cut-off and the scales that belong to it.
struct SeedSearchTask {
    double cutoff = 0.0;          // Å
    double tmScaleSquared = 0.0;  // Å^2
    double normLength = 0.0;      // divides the TM-score
    int seedLevels = 0;
    bool maximiseTM = false;  // keep the subset whose superposition has the highest TM-score
    bool byRmsd = false;      // select by RMSD instead of by distance
    const StopFlag* stop = nullptr;
    MotionViewer* viewer = nullptr;  // lent
};

// A range of pairs from which a path begins.  Seeds are numbered from 1 in their order.
struct Seed {
    std::uint32_t number = 0;
    std::uint32_t first = 0, end = 0;

    std::uint32_t size() const { return end - first; }
};

// One seed on its way: the set under work, how far it has come, and the best that it found.
//
// Invariant: `sums` are those of `current`, which has `size` pairs; `problem` was solved for it
// when the path takes a step.  `best` and what follows are of use when bestSize is not 0.
struct SeedPath {
    Seed seed;
    PathPosition at;
    bool fellBack = false;  // the latest steps led back to the seed
    std::uint32_t size = 0;
    PairMask current;  // the set that is superposed next
    SubsetSums sums{};
    RotationProblem problem{};  // its superposition
    std::uint32_t bestSize = 0;
    PairMask best;        // its candidate
    Motion bestMotion{};  // the superposition under which the candidate was selected
    double bestTm = 0.0;
    // Paths that wait for this one, by the numbers of their seeds, 0 for none: the first of them,
    // and the next of those that wait for the same as this one.
    std::uint32_t firstWaiting = 0, nextWaiting = 0;

    bool isDone() const { return at.stage == SeedStage::Done; }
};

// Arrays for one step.
struct PathScratch {
    std::vector<double> squared;
    LineVector<float> rounded;  // the same in single precision, for the search by TM-score
    PairMask next;
    RmsdSelectionScratch byRmsd;
};

// Takes the paths of one search on.  Everything is lent.
class PathSteps {
 public:
    PathSteps(const SeedSearchTask& task, const Kernels& kernels, const SearchPairs& pairs,
              PathScratch& scratch);

    void begin(const Seed& seed, SeedPath& path) const;
    // From a set that has been superposed to the next one that needs a superposition of its own, or
    // to the end of the path.  TM-scores up to `tmToBeat` are of no interest.
    void advance(SeedPath& path, double tmToBeat);

 private:
    void skipSmallRadii(SeedPath& path) const;
    double growthRadius(int step) const { return step * task_.cutoff * 0.25; }
    bool stepBySize(SeedPath& path);
    bool growBySize(SeedPath& path);
    bool refineBySize(SeedPath& path);
    bool stepByTm(SeedPath& path);
    std::uint32_t select(const SeedPath& path, double radius);
    std::uint32_t selectByDistance(const Motion& motion, double limit);
    bool adopt(SeedPath& path, std::uint32_t size);
    void scoreByTm(SeedPath& path, double tmToBeat);

    const SeedSearchTask& task_;
    const Kernels& kernels_;
    const SearchPairs& pairs_;
    PathScratch& scratch_;
    double roundedError_ = 0.0;  // of scratch_.rounded
};

}  // namespace tervolanda
