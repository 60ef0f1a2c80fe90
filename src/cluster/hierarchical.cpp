// Hierarchical clustering of models: the tree is built once, and every threshold of the search is a
// cut of it.  Since the joins are sorted, a cut is known by the number of joins it keeps; the
// members of clusters are looked at for the last cut only.
#include "cluster/hierarchical.h"

#include <algorithm>

#include "base/log.h"
#include "cluster/thresholds.h"

namespace tervolanda {

namespace {

Linkage linkageOf(int method) {
    if (method == 2) return Linkage::Average;
    return method == 3 ? Linkage::Maximum : Linkage::Single;
}

const char* wordFor(Linkage linkage) {
    switch (linkage) {
        case Linkage::Average:
            return "average";
        case Linkage::Maximum:
            return "maximum";
        case Linkage::Single:
            break;
    }
    return "single";
}

// The place of a child among models (0 .. N - 1) and joins (N ...).
std::size_t nodeOf(std::int64_t child, std::size_t models) {
    return child >= 0 ? static_cast<std::size_t>(child)
                      : models + static_cast<std::size_t>(-child) - 1;
}

// The positions of each cluster's members, ascending.
std::vector<std::vector<std::uint32_t>> membersOf(const ClusterAssignment& clusters) {
    std::vector<std::vector<std::uint32_t>> members(clusters.count);
    for (std::uint32_t i = 0; i < clusters.cluster.size(); ++i) {
        members[clusters.cluster[i]].push_back(i);
    }
    return members;
}

// The child of a join as the table shows it: models by their IDs, joins by 0, -1, -2, ...
long itemNumber(std::int64_t child, const ClusterTables& tables) {
    return child < 0 ? static_cast<long>(child + 1)
                     : static_cast<long>(tables.id(static_cast<std::size_t>(child)));
}

const char* itemName(std::int64_t child, const ClusterTables& tables) {
    return child < 0 ? "" : tables.name(static_cast<std::size_t>(child));
}

void printJoin(std::size_t k, const Join& join, ClusterTables& tables) {
    const int number = -static_cast<int>(k);
    const long first = itemNumber(join.first, tables);
    const long second = itemNumber(join.second, tables);
    const double distance = shown(join.distance);
    if (tables.haveNames()) {
        const int width = tables.nameWidth();
        tables.log().info(0, "%5d :  %7ld  %7ld       %6.3f  %-*s  %-*s", number, first, second,
                          distance, width, itemName(join.first, tables), width,
                          itemName(join.second, tables));
    } else {
        tables.log().info(0, "%5d :  %7ld  %7ld       %6.3f", number, first, second, distance);
    }
}

void printTree(std::span<const Join> tree, Linkage linkage, ClusterTables& tables) {
    Log& log = tables.log();
    tables.printRule();
    log.info(0, "Pairwise %s linkage clustering", wordFor(linkage));
    tables.printRule();
    log.info(0, "Hierarchical Tree");
    tables.printRule();
    log.info(1, "The two columns contain the numbers of the nodes that were");
    log.info(1, "joined. Original elements are numbered by ID, ");
    log.info(1, "nodes are numbered { 0,  ...,  -(nelements-1) }. The distance");
    log.info(1, "between the two subnodes that were joined is shown.");
    tables.printRule(1);
    log.info(0, "%-5s    %-7s  %-7s     %s", "Node", "Item 1", "Item 2", "Distance");
    for (std::size_t k = 0; k < tree.size(); ++k)
        printJoin(k, tree[k], tables);
    tables.printRule();
}

void printClusters(const ClusterAssignment& clusters, double threshold, ClusterTables& tables) {
    tables.log().info(0, "%d Clusters @ Threshold %6.3f (%g)", static_cast<int>(clusters.count),
                      threshold, threshold);
    tables.printRule();
    tables.printItemHeader();
    const std::vector<std::vector<std::uint32_t>> members = membersOf(clusters);
    for (std::uint32_t c = 0; c < members.size(); ++c) {
        for (const std::uint32_t model : members[c])
            tables.printItem(model, c + 1);
    }
    tables.printRule();
}

void printMedoids(std::span<const Medoid> medoids, ClusterTables& tables) {
    tables.printCentroidHeader();
    for (std::uint32_t c = 0; c < medoids.size(); ++c) {
        tables.printCentroid(c + 1, medoids[c].model, medoids[c].size, medoids[c].spread);
    }
    tables.printRule();
}

// The joins kept at the end of the threshold search, and where it ended.
struct Cut {
    std::size_t joins = 0;
    double threshold = 0.0;
};

Cut searchThreshold(std::span<const Join> tree, std::size_t models, const ClusterSettings& settings,
                    Log& log) {
    log.info(2, "Processing threshold %g -> %g (interval %g)", settings.threshold,
             settings.maxThreshold, settings.thresholdStep);
    const std::vector<std::uint32_t> largest = largestClusters(tree, models);
    // The wanted size is reached with the join at which `largest` first reaches it.
    const auto wanted = static_cast<std::size_t>(
        std::lower_bound(largest.begin(), largest.end(), settings.initialSize) - largest.begin());
    ThresholdSequence threshold(settings.threshold, settings.maxThreshold, settings.thresholdStep);
    const std::size_t printedSteps = log.logLevel() > 2 ? kMostPrintedSteps : 0;
    for (std::size_t step = 0;; ++step) {
        if (step == printedSteps && wanted > 0) {
            threshold.advanceTo(wanted < largest.size() ? tree[wanted - 1].distance
                                                        : std::numeric_limits<double>::infinity());
        }
        const std::size_t joins = joinsWithin(tree, threshold.value());
        const std::uint32_t size = largest[joins];
        log.info(2, "Threshold = %6.3f, clusters = %d, largest cluster = %d", threshold.value(),
                 static_cast<int>(models - joins), static_cast<int>(size));
        if (size >= settings.initialSize || threshold.isLast()) return {joins, threshold.value()};
        threshold.advance();
    }
}

}  // namespace

std::size_t joinsWithin(std::span<const Join> tree, double threshold) {
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

std::vector<Medoid> findMedoids(const DistanceView& distances, const ClusterAssignment& clusters) {
    std::vector<Medoid> medoids;
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

ClusterAssignment clusterHierarchically(const DistanceView& distances,
                                        const ClusterSettings& settings, ClusterTables& tables) {
    const Linkage linkage = linkageOf(settings.method);
    const std::vector<Join> tree = buildTree(distances, linkage);
    printTree(tree, linkage, tables);
    const Cut cut = searchThreshold(tree, distances.size(), settings, tables.log());
    ClusterAssignment clusters = cutTree(tree, distances.size(), cut.joins);
    printClusters(clusters, cut.threshold, tables);
    printMedoids(findMedoids(distances, clusters), tables);
    return clusters;
}

}  // namespace tervolanda
