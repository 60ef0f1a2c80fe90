// Batches: all models of a list compared with each other, and the matrices that they fill.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/compare.h"

namespace tervolanda {

class Log;
class Report;

// Called for every pair after its comparison: matrix positions i > j and what was found.  The
// comparison's experiment is model i, its prediction model j.
using PairSink = std::function<void(std::size_t i, std::size_t j, const ComparisonResult& result)>;

// All pairs of a list by the MaxSub search.
struct MaxSubBatch {
    DistanceMatrix scores;  // TM-score, or MaxSub when ranking by it; 1 on the diagonal.  (j, i) is
                            // (i, j) renormalised to the other model's length: not symmetric
    DistanceMatrix rmsd;    // of the subsets, Å; 0 with several domain iterations
    PairMatrix pairs;
};
struct GdtBatch {
    DistanceMatrix gdt;  // 0 to 100, symmetric, 100 on the diagonal
};
struct RmsdBatch {
    DistanceMatrix rmsd;   // Å; -1 where no fit was possible; 1 on the diagonal
    DistanceMatrix urmsd;  // 0 on the diagonal, and where it was not asked for
    PairMatrix pairs;
};

struct RmsdBatchOptions {
    RmsdOptions rmsd;
    AtomSelection selection = AtomSelection::Calpha;
};

// The batches write their progress to `log` and the details of comparisons to `report`.
MaxSubBatch compareAllMaxSub(const ChainList& models, const ComparisonParameters& parameters,
                             const PairSink& sink, Log& log, Report& report);
GdtBatch compareAllGdt(const ChainList& models, const ComparisonParameters& parameters, Log& log,
                       Report& report);
RmsdBatch compareAllRmsd(const ChainList& models, const ComparisonParameters& parameters,
                         const RmsdBatchOptions& options, Log& log, Report& report);

// The model IDs in matrix order.
std::vector<std::uint32_t> modelIds(const ChainList& models);

}  // namespace tervolanda
