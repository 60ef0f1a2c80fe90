// The scratch of comparisons, behind the pointer of a ComparisonWorkspace, so that programs which
// make one need not see what is in it, and it may change without them.
#pragma once

#include <cstdint>
#include <vector>

#include "compare/best_gdt.h"
#include "compare/compare.h"
#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/lddt.h"
#include "compare/pairing/pairing_keys.h"
#include "compare/pairing/sequence_independent.h"
#include "compare/search.h"
#include "compare/seed_search.h"

namespace tervolanda {

// What one domain iteration leaves to be searched: the records no earlier iteration matched.
struct WorkingSets {
    CoordinateSet experiment, prediction;
    std::vector<std::uint32_t> experimentRecord;  // their numbers in the full sets
    std::vector<std::uint32_t> predictionRecord;
    std::vector<std::uint8_t> experimentLeft;  // per record of the full sets: not matched yet
    std::vector<std::uint8_t> predictionLeft;
};

// Arrays that grow to the largest pair of chains seen and are reused, so that a batch allocates
// nothing per pair.  What is in them counts for one call only: no function leaves a result here but
// where its declaration says so.
//
// Invariant after placePairs(): `pairs` and squaredDeviation have an entry for each mapped pair.
struct ComparisonScratch {
    explicit ComparisonScratch(const Kernels& fastest) : kernels(fastest) {}

    // Makes `pairs` from the mapped pairs of two sets and gives the arrays below their size.
    void placePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    const std::vector<MatchedPair>& mapped);

    const Kernels& kernels;
    ResidueMapping mapping;                // the pairing under work
    ResidueMapping nextMapping;            // the one that may follow it
    StructureMapper mapper{kernels};       // makes pairings from structure
    PairingKeys pairingKeys;               // makes pairings from sequence, and of complexes
    PairedPoints pairs;                    // its points in mapped order
    PairedPoints gathered;                 // the points of one subset
    std::vector<double> squaredDeviation;  // Å^2, one per pair, as the last fit left it
    std::vector<std::uint32_t> best;       // the best subset of a pass
    std::vector<std::uint32_t> counted;    // the pairs that its scoring counted
    SeedSearchScratch seeds;
    WorkingSets working;
    SearchResult trial;    // of one start among several
    SearchResult first;    // of the first domain iteration
    SearchResult further;  // of one of the others
    LddtScratch lddt;
    GdtScratch gdt;
    std::vector<MatchedPair> measured;   // the pairs that measures look at
    std::vector<std::int32_t> partners;  // per experiment record: prediction record or -1
};

}  // namespace tervolanda
