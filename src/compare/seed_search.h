// The inner search of MaxSub: from seed fragments to the best subset of pairs.
#pragma once

#include <cstdint>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/pair_mask.h"
#include "compare/search_pairs.h"
#include "compare/seed_path.h"
#include "compare/visited_states.h"

namespace tervolanda {

// Scratch of the search; reused from comparison to comparison.
struct SeedSearchScratch {
    SearchPairs pairs;
    std::vector<SeedPath> paths;
    std::vector<double> squared;
    std::vector<std::uint32_t> lengths, selected;
    PairMask best;
    PathScratch steps;
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
