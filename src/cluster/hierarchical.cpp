// Hierarchical clustering of models: the tree is built once, and every threshold of the search is a
// cut of it.  Since the joins are sorted, a cut is known by the number of joins it keeps; the
// members of clusters are looked at for the last cut only.
#include "cluster/hierarchical.h"

#include <algorithm>

#include "cluster/thresholds.h"

namespace tervolanda {

namespace {

// The place of a child among models (0 .. N - 1) and joins (N ...).
std::size_t nodeOf(std::int64_t child, std::size_t models) {
    return child >= 0 ? static_cast<std::size_t>(child)
                      : models + static_cast<std::size_t>(-child) - 1;
}

// The positions of each cluster's members, ascending.  Made once for all clusters: a search for the
// members of each would go through all models N times.
std::vector<std::vector<std::uint32_t>> membersOf(const ClusterAssignment& clusters) {
    std::vector<std::vector<std::uint32_t>> members(clusters.count);
    for (std::uint32_t i = 0; i < clusters.cluster.size(); ++i) {
        members[clusters.cluster[i]].push_back(i);
    }
    return members;
}

// Tries thresholds until one gives a cluster of the wanted size, or the last is reached.  Returns
// the number of joins kept there.
std::size_t searchThreshold(Clustering& found, std::size_t models) {
    const ClusterSettings& settings = found.settings;
    const std::vector<std::uint32_t> largest = largestClusters(found.tree, models);
    // The wanted size is reached with the join at which `largest` first reaches it.
    const auto wanted = static_cast<std::size_t>(
        std::lower_bound(largest.begin(), largest.end(), settings.initialSize) - largest.begin());
    ThresholdSequence threshold(settings.threshold, settings.maxThreshold, settings.thresholdStep);
    for (;; threshold.advance()) {
        if (found.tried.size() == settings.triedOneByOne && wanted > 0) {
            threshold.advanceTo(wanted < largest.size() ? found.tree[wanted - 1].distance
                                                        : std::numeric_limits<double>::infinity());
        }
        found.threshold = threshold.value();
        const std::size_t joins = joinsWithin(found.tree, found.threshold);
        found.tried.push_back(
            {found.threshold, static_cast<std::uint32_t>(models - joins), largest[joins]});
        found.reachedSize = largest[joins] >= settings.initialSize;
        if (found.reachedSize || threshold.isLast()) return joins;
    }
}

}  // namespace

std::size_t joinsWithin(std::span<const Join> tree, double threshold) {
    // An infinite distance is beyond every threshold, an infinite one included.
    const double limit = std::min(threshold, std::numeric_limits<double>::max());
    const auto above =
        std::upper_bound(tree.begin(), tree.end(), limit,
                         [](double value, const Join& join) { return value < join.distance; });
    return static_cast<std::size_t>(above - tree.begin());
}

std::vector<std::uint32_t> largestClusters(std::span<const Join> tree, std::size_t models) {
    std::vector<std::uint32_t> size(models + tree.size(), 1);
    std::vector<std::uint32_t> largest{models == 0 ? 0U : 1U};
    for (const Join& join : tree) {
        const std::uint32_t joined =
            size[nodeOf(join.first, models)] + size[nodeOf(join.second, models)];
        size[models + largest.size() - 1] = joined;
        largest.push_back(std::max(largest.back(), joined));
    }
    return largest;
}

ClusterAssignment cutTree(std::span<const Join> tree, std::size_t models, std::size_t joins) {
    // A cluster's first model stands for it; every other model knows an earlier one of its cluster.
    std::vector<std::uint32_t> earlier(models);
    std::vector<std::uint32_t> firstModel(models + joins);
    for (std::uint32_t i = 0; i < models; ++i)
        firstModel[i] = earlier[i] = i;
    for (std::size_t k = 0; k < joins; ++k) {
        const std::uint32_t first = firstModel[nodeOf(tree[k].first, models)];
        earlier[firstModel[nodeOf(tree[k].second, models)]] = first;
        firstModel[models + k] = first;
    }
    ClusterAssignment clusters;
    clusters.cluster.resize(models);
    for (std::size_t i = 0; i < models; ++i) {
        clusters.cluster[i] = earlier[i] == i ? clusters.count++ : clusters.cluster[earlier[i]];
    }
    return clusters;
}

std::vector<Centroid> findMedoids(const DistanceView& distances,
                                  const ClusterAssignment& clusters) {
    std::vector<Centroid> medoids;
    medoids.reserve(clusters.count);
    std::vector<double> sums;
    for (const std::vector<std::uint32_t>& members : membersOf(clusters)) {
        sums.assign(members.size(), 0.0);
        for (std::size_t a = 1; a < members.size(); ++a) {
            const std::span<const float> row = distances.row(members[a]);
            for (std::size_t b = 0; b < a; ++b) {
                const auto distance = static_cast<double>(distances.read(row[members[b]]));
                sums[a] += distance;
                sums[b] += distance;
            }
        }
        const auto smallest = std::min_element(sums.begin(), sums.end());
        medoids.push_back({members[static_cast<std::size_t>(smallest - sums.begin())],
                           static_cast<std::uint32_t>(members.size()),
                           *smallest / static_cast<double>(members.size())});
    }
    return medoids;
}

Clustering clusterHierarchically(const DistanceView& distances, Linkage linkage,
                                 const ClusterSettings& settings) {
    Clustering found;
    found.settings = settings;
    found.tree = buildTree(distances, linkage, settings.threads);
    const std::size_t joins = searchThreshold(found, distances.size());
    found.clusters = cutTree(found.tree, distances.size(), joins);
    found.centroids = findMedoids(distances, found.clusters);
    return found;
}

}  // namespace tervolanda
