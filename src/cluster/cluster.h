// Sets of models: the matrices of an all-versus-all run, 3D-Jury ranking, and clustering.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "base/matrix.h"
#include "chain/chain.h"
#include "compare/compare.h"

namespace tervolanda {

class Log;
class Report;

// N x N values by model position in list order: similarities, or distances in Å.
using DistanceMatrix = Matrix<float>;
// N x N counts of residue pairs; the diagonal holds each model's residue count.
using PairMatrix = Matrix<std::uint32_t>;

// How to cluster.
struct ClusterSettings {
    double threshold = 0.0;     // initial distance threshold
    double maxThreshold = 0.0;  // raised to `threshold` when below it
    double thresholdStep = 0.0;
    std::uint32_t initialSize = 50;  // wanted size
    std::uint32_t minSize = 5;       // nearest-neighbour clustering: of every later cluster
    int method = 5;                  // 0 none, 1 single, 2 average, 3 maximum linkage, 4 neighbour
                                     // pairs (min size), 5 neighbour pairs (absolute size)
    double conversion = 0.0;         // not 0: the matrix holds similarities, distance =
                                     // conversion - value
};

// A partition of the models.  Hierarchical clustering numbers clusters from 0 and assigns every
// model; nearest-neighbour clustering numbers them from 1 and leaves models with 0 unassigned.
struct ClusterAssignment {
    std::vector<std::uint32_t> cluster;  // one per model position
    std::uint32_t count = 0;
};

// Clusters the models by the settings' method and prints tree, clusters and centroids.  The matrix
// is changed in place when it is converted.  `names` gives the file names for the lines that show
// them; without it the short line forms are printed.  Method 0 clusters nothing.
ClusterAssignment clusterModels(DistanceMatrix& matrix, std::span<const std::uint32_t> ids,
                                const ClusterSettings& settings, const ChainList* names, Log& log);

// 3D-Jury (Ginalski et al. 2003): a model's score is the sum of its pair counts, its own included,
// over the models with at least `scoreThreshold` and `pairThreshold`; both limits are inclusive and
// a score that is not a number never counts.
struct JuryScore {
    std::uint32_t score = 0;  // saturates
    std::uint32_t model = 0;  // position
};
// Best first; equal scores keep list order.
std::vector<JuryScore> rankByJury(const DistanceMatrix& scores, const PairMatrix& pairs,
                                  double scoreThreshold, std::uint32_t pairThreshold);

// --- Batches -------------------------------------------------------------------------------------

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

// Model positions ordered by the sum of their matrix rows; equal sums keep list order, NaN last.
std::vector<std::uint32_t> orderByRowSum(const PairMatrix& matrix, bool descending);
std::vector<std::uint32_t> orderByRowSum(const DistanceMatrix& matrix, bool descending);

}  // namespace tervolanda
