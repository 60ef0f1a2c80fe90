// The inner search of MaxSub: from seed fragments to the best subset of pairs.
#pragma once

#include <cstdint>
#include <vector>

#include "base/stop.h"
#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/pair_mask.h"
#include "compare/search_pairs.h"
#include "compare/select_by_rmsd.h"
#include "compare/visited_states.h"

namespace tervolanda {

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

// One seed on its way: the set under work, how far it has come, and the best that it found.
//
// Invariant: `sums` are those of `current`, which has `size` pairs; `problem` was solved for it
// when the path takes a step.  `best` and what follows are of use when bestSize is not 0.
struct SeedPath {
    std::uint32_t number = 0;          // seeds are numbered in their order
    std::uint32_t first = 0, end = 0;  // the seed's pairs
    PathPosition at;
    PairMask current;  // the set that is superposed next
    std::uint32_t size = 0;
    SubsetSums sums{};
    RotationProblem problem{};  // its superposition
    PairMask best;              // its candidate
    std::uint32_t bestSize = 0;
    Motion bestMotion{};  // the superposition under which the candidate was selected
    double bestTm = 0.0;
    PathTrail trail;

    bool isDone() const { return at.stage == SeedStage::Done; }
};

// Scratch of the search; reused from comparison to comparison.
struct SeedSearchScratch {
    SearchPairs pairs;
    std::vector<SeedPath> paths;
    std::vector<double> squared;
    std::vector<float> rounded;  // the same in single precision, for the search by TM-score
    std::vector<std::uint32_t> lengths, selected;
    PairMask next, best;
    RmsdSelectionScratch byRmsd;
    VisitedStates visited;
};

// Searches the seeds of all lengths and leaves the best subset, ascending, in `best`, empty when no
// seed led to one.  True when the subset is complete, which ends the search at once.
bool searchSeeds(const PairedPoints& pairs, const SeedSearchTask& task, const Kernels& kernels,
                 SeedSearchScratch& scratch, std::vector<std::uint32_t>& best);

// The lengths of seed fragments for n pairs: n, n / 2, n / 4 ... down to `levels` halvings or above
// 3 pairs, and 4 at the end.
void seedLengths(std::uint32_t pairs, int levels, std::vector<std::uint32_t>& lengths);

}  // namespace tervolanda
