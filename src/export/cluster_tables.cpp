// A clustering as the tables of a log: the tree, how the threshold was found, the clusters and
// their centroids.
//
// Models, clusters and nodes are numbered here as people see them: models by their IDs, clusters
// from 1, the nodes of a tree 0, -1, -2 and so on, so that a node cannot be taken for a model.
// Within `cluster` all of these are positions (Join, ClusterAssignment).
//
// Lines come by the ten thousand, so a name is looked up in an index and not searched for in the
// list.  The patterns of the lines are given and are read by scripts: a column more is a column too
// many.
#include <algorithm>
#include <climits>
#include <numeric>
#include <unordered_map>
#include <vector>

#include "base/format.h"
#include "base/log.h"
#include "export/export.h"

namespace tervolanda {

namespace {

// A number as the tables show it, with three decimals.
double shown(double value) {
    return withoutNegativeZero(value, 3);
}

// The lines of one clustering, printed part by part; who calls decides about the order.  All that
// is handed over is lent.
//
// Invariant: `nameOf_` lends names from the chains; without chains it is empty, and lines have
// their short forms.
class ClusterTables {
 public:
    ClusterTables(const Clustering& clustering, const ModelLabels& models, Log& log);

    void printTree();
    void printNeighbourHeading();
    // One line for each threshold tried, but for those at which no model has a neighbour.
    void printSearch();
    void printCentroidHeader();
    void printCentroids();
    // One line a model, ordered by cluster and then by position.
    void printAssignment();
    // At the level of the lines that it closes.
    void printRule(int detail = 0) { log_.info(detail, "======================================"); }

 private:
    bool isHierarchical() const;
    const char* linkageWord() const;
    const char* name(std::size_t model) const;
    // A child of a join, as `Join` has it: a model from 0, or a node as -1, -2 and so on.
    long long itemNumber(std::int64_t child) const;
    const char* itemName(std::int64_t child) const;
    void printJoin(std::size_t k);
    void printCentroid(std::uint32_t cluster, const Centroid& centroid);
    void printItem(std::size_t model, std::uint32_t cluster);

    const Clustering& clustering_;
    const std::span<const std::uint32_t> ids_;
    std::unordered_map<std::uint32_t, const char*> nameOf_;  // by ID; for look-ups alone
    int nameWidth_ = 0;                                      // characters of the longest name
    bool haveNames_;
    Log& log_;
};

ClusterTables::ClusterTables(const Clustering& clustering, const ModelLabels& models, Log& log)
    : clustering_(clustering), ids_(models.ids), haveNames_(models.chains != nullptr), log_(log) {
    if (!haveNames_) return;
    std::size_t longest = 0;
    nameOf_.reserve(models.chains->chains.size());
    for (const Chain& chain : models.chains->chains) {
        nameOf_.emplace(chain.number, chain.fileName.c_str());
        longest = std::max(longest, chain.fileName.size());
    }
    // A printf width is an int.
    nameWidth_ = static_cast<int>(std::min<std::size_t>(longest, INT_MAX));
}

// An ID that no chain has, as in a file with gaps, has an empty name.
const char* ClusterTables::name(std::size_t model) const {
    const auto found = nameOf_.find(ids_[model]);
    return found == nameOf_.end() ? "" : found->second;
}

const char* ClusterTables::linkageWord() const {
    switch (clustering_.settings.method) {
        case ClusterMethod::AverageLinkage:
            return "average";
        case ClusterMethod::MaximumLinkage:
            return "maximum";
        default:
            return "single";
    }
}

// A node of a join is -1, -2, ... in `Join`, where 0 is a model, and one more here: node 0 is the
// first join, whose line has that number.
long long ClusterTables::itemNumber(std::int64_t child) const {
    return child < 0 ? static_cast<long long>(child + 1)
                     : static_cast<long long>(ids_[static_cast<std::size_t>(child)]);
}

const char* ClusterTables::itemName(std::int64_t child) const {
    return child < 0 ? "" : name(static_cast<std::size_t>(child));
}

// Line k is node -k, by which later lines name it.
void ClusterTables::printJoin(std::size_t k) {
    const Join& join = clustering_.tree[k];
    const int number = -static_cast<int>(k);
    const long long first = itemNumber(join.first);
    const long long second = itemNumber(join.second);
    const double distance = shown(join.distance);
    if (haveNames_) {
        log_.info(0, "%5d :  %7lld  %7lld       %6.3f  %-*s  %-*s", number, first, second, distance,
                  nameWidth_, itemName(join.first), nameWidth_, itemName(join.second));
    } else {
        log_.info(0, "%5d :  %7lld  %7lld       %6.3f", number, first, second, distance);
    }
}

// The explanation of the columns is for log level 2 and above; lines of joins are always there.
void ClusterTables::printTree() {
    printRule();
    log_.info(0, "Pairwise %s linkage clustering", linkageWord());
    printRule();
    log_.info(0, "Hierarchical Tree");
    printRule();
    log_.info(1, "The two columns contain the numbers of the nodes that were");
    log_.info(1, "joined. Original elements are numbered by ID, ");
    log_.info(1, "nodes are numbered { 0,  ...,  -(nelements-1) }. The distance");
    log_.info(1, "between the two subnodes that were joined is shown.");
    printRule(1);
    log_.info(0, "%-5s    %-7s  %-7s     %s", "Node", "Item 1", "Item 2", "Distance");
    for (std::size_t k = 0; k < clustering_.tree.size(); ++k)
        printJoin(k);
    printRule();
}

void ClusterTables::printNeighbourHeading() {
    printRule();
    log_.info(0, "Nearest Neighbour clustering");
    printRule();
}

// How the threshold was found, at log level 3: by linkage how many clusters each threshold gives,
// by neighbours how large the first one would be.
void ClusterTables::printSearch() {
    const ClusterSettings& settings = clustering_.settings;
    log_.info(2, "Processing threshold %g -> %g (interval %g)", settings.threshold,
              settings.maxThreshold, settings.thresholdStep);
    for (const ThresholdTrial& trial : clustering_.tried) {
        if (isHierarchical()) {
            log_.info(2, "Threshold = %6.3f, clusters = %d, largest cluster = %d", trial.threshold,
                      static_cast<int>(trial.clusters), static_cast<int>(trial.largest));
            // Thresholds below the smallest distance are passed by without a word.
        } else if (trial.largest > 0) {
            log_.info(2, "Threshold = %6.3f, largest cluster = %d", trial.threshold,
                      static_cast<int>(trial.largest));
        }
    }
}

void ClusterTables::printCentroidHeader() {
    log_.info(0, "Centroids");
    printRule();
    log_.info(0, "%-7s  %-7s  %-7s     %s", "Cluster", "Centroid", "Size", "Spread");
}

void ClusterTables::printCentroid(std::uint32_t cluster, const Centroid& centroid) {
    const std::uint32_t id = ids_[centroid.model];
    const double spread = shown(centroid.spread);
    if (haveNames_) {
        log_.info(0, "%5u :  %7u  %7u       %6.3f  %-s", cluster, id, centroid.size, spread,
                  name(centroid.model));
    } else {
        log_.info(0, "%5u :  %7u  %7u       %6.3f", cluster, id, centroid.size, spread);
    }
}

void ClusterTables::printCentroids() {
    std::uint32_t cluster = 0;
    for (const Centroid& centroid : clustering_.centroids)
        printCentroid(++cluster, centroid);
}

void ClusterTables::printItem(std::size_t model, std::uint32_t cluster) {
    if (haveNames_) {
        log_.info(0, "%5u :  %7u                        %-s", ids_[model], cluster, name(model));
    } else {
        log_.info(0, "%5u :  %7u", ids_[model], cluster);
    }
}

// Sorted stably: models of a cluster stay in the order of the matrix.
void ClusterTables::printAssignment() {
    printRule();
    log_.info(0, "%-5s    %-7s", "Item", "Cluster");
    const std::vector<std::uint32_t>& cluster = clustering_.clusters.cluster;
    std::vector<std::uint32_t> order(cluster.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [&cluster](std::uint32_t a, std::uint32_t b) {
        return cluster[a] < cluster[b];
    });
    // By neighbours cluster 0 is that of models in none, and shown as such.
    const std::uint32_t first = isHierarchical() ? 1 : 0;  // the number shown for cluster 0
    for (const std::uint32_t model : order)
        printItem(model, cluster[model] + first);
    printRule();
}

bool ClusterTables::isHierarchical() const {
    return clustersByLinkage(clustering_.settings.method);
}

// The order of the tables is that of the work: tree, thresholds, clusters, centroids.
void printHierarchical(const Clustering& clustering, ClusterTables& tables, Log& log) {
    tables.printTree();
    tables.printSearch();
    log.info(0, "%d Clusters @ Threshold %6.3f (%g)", static_cast<int>(clustering.clusters.count),
             clustering.threshold, clustering.threshold);
    tables.printAssignment();
    tables.printCentroidHeader();
    tables.printCentroids();
    tables.printRule();
}

// Clusters that were formed although the wanted size was not reached stand without a heading.
void printNeighbours(const Clustering& clustering, ClusterTables& tables, Log& log) {
    tables.printNeighbourHeading();
    tables.printSearch();
    if (clustering.clusters.count == 0) {
        log.info(0, "No clusters assigned at upper threshold %.3f", clustering.threshold);
        return;
    }
    if (clustering.reachedSize) tables.printCentroidHeader();
    tables.printCentroids();
    const std::vector<std::uint32_t>& cluster = clustering.clusters.cluster;
    const auto assigned =
        cluster.size() - static_cast<std::size_t>(std::count(cluster.begin(), cluster.end(), 0U));
    tables.printRule();
    log.info(0, "%d Clusters @ Threshold %6.3f (Assigned %d / %d)",
             static_cast<int>(clustering.clusters.count), clustering.threshold,
             static_cast<int>(assigned), static_cast<int>(cluster.size()));
    tables.printAssignment();
}

}  // namespace

void printClustering(const Clustering& clustering, const ModelLabels& models, Log& log) {
    ClusterTables tables(clustering, models, log);
    if (clustersByLinkage(clustering.settings.method)) {
        printHierarchical(clustering, tables, log);
    } else {
        printNeighbours(clustering, tables, log);
    }
}

}  // namespace tervolanda
