// Clustering of models and 3D-Jury ranking: matrices and settings in, trees, clusters and ranks
// out.  Models are known by their positions in the matrix; nothing here knows names, prints, or
// asks where the values came from.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/matrix.h"
#include "base/stop.h"

namespace tervolanda {

// N x N values by model position in list order: similarities, or distances in Å.
using DistanceMatrix = Matrix<float>;
// N x N counts of residue pairs; the diagonal holds each model's residue count.
using PairMatrix = Matrix<std::uint32_t>;

// --- Clustering ----------------------------------------------------------------------------------

// The first three build a tree and cut it.  The others let the model with the most neighbours take
// them, then the next: all of them, or the nearest up to the wanted size of a cluster.
enum class ClusterMethod : std::uint8_t {
    SingleLinkage,
    AverageLinkage,
    MaximumLinkage,
    NeighboursMinSize,
    NeighboursAbsoluteSize,
};

inline bool clustersByLinkage(ClusterMethod method) {
    return method <= ClusterMethod::MaximumLinkage;
}

// What a matrix holds.  The distance of two models with a similarity s is 1 - s.
enum class MatrixValues : std::uint8_t { Distances, Similarities };

// What a clustering is asked.  The search begins at `threshold` and goes up by `thresholdStep`
// until a cluster has the wanted size or `maxThreshold` is reached; both ends are tried.
struct ClusterSettings {
    ClusterMethod method = ClusterMethod::NeighboursAbsoluteSize;
    MatrixValues values = MatrixValues::Distances;
    double threshold = 0.0;  // the first distance threshold tried
    double maxThreshold = 0.0;
    double thresholdStep = 0.0;
    std::uint32_t initialSize = 50;  // wanted size
    std::uint32_t minSize = 5;       // nearest-neighbour clustering: of every later cluster
    // So many thresholds are tried one by one, then those are passed over of which it is known that
    // they do not end the search: a huge maximum is no reason to try without end.  The clusters do
    // not depend on it, only what is reported of the search.
    std::size_t triedOneByOne = 0;
    std::size_t threads = 1;  // the clusters do not depend on it
    // For callers of the library: ends the clustering when it is set.
    const StopFlag* stop = nullptr;
};

// A join of two clusters.  A child is a model's position, or -(k + 1) for the earlier join k; the
// first child is the one whose first model stands earlier in the list.
struct Join {
    std::int64_t first = 0;
    std::int64_t second = 0;
    double distance = 0.0;  // infinite where no member of one cluster has a distance to the other
};

// What a threshold would give.
struct ThresholdTrial {
    double threshold = 0.0;
    std::uint32_t clusters = 0;  // by linkage only
    std::uint32_t largest = 0;   // models in the largest; by neighbours 0 when no model has any
};

// A partition of the models.  Clustering by linkage numbers clusters from 0 and assigns every
// model; clustering by neighbours numbers them from 1 and leaves models with 0 unassigned.
struct ClusterAssignment {
    std::vector<std::uint32_t> cluster;  // one per model position
    std::uint32_t count = 0;
};

// The model that stands for a cluster.  By linkage it is the medoid: the member with the smallest
// sum of distances to the others, of equal ones the first.  By neighbours it is the one that took
// them.
struct Centroid {
    std::uint32_t model = 0;  // position
    std::uint32_t size = 0;   // members of the cluster, the centroid included
    double spread = 0.0;      // its sum of distances to the members, over the size
};

struct Clustering {
    ClusterSettings settings;           // as used: the maximum is not below the first threshold
    std::vector<Join> tree;             // by ascending distance; empty with neighbours
    std::vector<ThresholdTrial> tried;  // in order
    bool reachedSize = false;           // the last of these gave a cluster of the wanted size
    double threshold = 0.0;             // the last of these
    ClusterAssignment clusters;
    std::vector<Centroid> centroids;  // one per cluster, in the order of their numbers
};

// Clusters the models of an N x N matrix, N = 0 included.  Of similarities the distances take their
// place in the matrix.  None when a negative step leads away from the maximum: clustering by
// neighbours then has no clusters, clustering by linkage tries the first threshold alone.
std::optional<Clustering> clusterModels(DistanceMatrix& matrix, const ClusterSettings& settings);

// --- Ranking -------------------------------------------------------------------------------------

// 3D-Jury (Ginalski et al. 2003): a model's score is the sum of its pair counts, its own included,
// over the models with at least `scoreThreshold` and `pairThreshold`; both limits are inclusive and
// a score that is not a number never counts.
struct JuryScore {
    std::uint32_t score = 0;  // saturates
    std::uint32_t model = 0;  // position
};
// Best first; equal scores keep list order.  A flag that is set ends it, for callers of the
// library.
std::vector<JuryScore> rankByJury(const DistanceMatrix& scores, const PairMatrix& pairs,
                                  double scoreThreshold, std::uint32_t pairThreshold,
                                  const StopFlag* stop = nullptr);

// For callers of the library: model positions ordered by the sum of their matrix rows; equal sums
// keep list order, NaN last.
std::vector<std::uint32_t> orderByRowSum(const PairMatrix& matrix, bool descending);
std::vector<std::uint32_t> orderByRowSum(const DistanceMatrix& matrix, bool descending);

}  // namespace tervolanda
