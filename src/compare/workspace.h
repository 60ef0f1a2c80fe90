// The scratch of comparisons.
#pragma once

#include <cstdint>
#include <vector>

#include "compare/compare.h"
#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/pairing/mapping.h"
#include "compare/pairing/sequence_independent.h"
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

// Scratch of one comparison at a time.  It grows to the largest pair of chains seen and is reused,
// so that a batch allocates nothing per pair.  Comparisons may run side by side when each has a
// workspace of its own.
class ComparisonWorkspace {
 public:
    explicit ComparisonWorkspace(const Kernels& kernels = bestKernels()) : kernels_(&kernels) {}
    ComparisonWorkspace(const ComparisonWorkspace&) = delete;
    ComparisonWorkspace& operator=(const ComparisonWorkspace&) = delete;

    const Kernels& kernels() const { return *kernels_; }

    // Makes `pairs` from the mapped pairs of two sets and gives the arrays below their size.
    void placePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    const std::vector<MatchedPair>& mapped);

    ResidueMapping mapping;                // the pairing under work
    ResidueMapping nextMapping;            // the one that may follow it
    StructureMapper mapper;                // makes pairings from structure
    PairedPoints pairs;                    // its points in mapped order
    PairedPoints gathered;                 // the points of one subset
    std::vector<double> squaredDeviation;  // Å^2, one per pair, as the last fit left it
    std::vector<std::uint32_t> current;    // pairs that the next fit uses, ascending
    std::vector<std::uint32_t> best;       // the best subset so far
    ResidueMapping bestMapping;            // mapping and subset of the best pass
    std::vector<std::uint32_t> bestPassSubset;
    SeedSearchScratch seeds;
    WorkingSets working;

 private:
    const Kernels* kernels_;
};

}  // namespace tervolanda
