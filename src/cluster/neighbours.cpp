// Greedy clustering around the models with the most neighbours.  Counting all neighbours reads the
// whole matrix, so it is done once: the threshold at which the first cluster gets large enough is
// found beforehand from the rows themselves, and when a cluster is formed only the distances to its
// members are looked at to correct the counts of the models that are left.
#include "cluster/neighbours.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "base/log.h"
#include "cluster/thresholds.h"

namespace tervolanda {

namespace {

// Entries of a row within the limit.  The diagonal is not left out here: the loop stays a plain
// one.
std::uint32_t countWithin(const DistanceView& distances, std::span<const float> row, float limit) {
    std::uint32_t count = 0;
    for (const float entry : row) {
        const auto isNear = static_cast<unsigned>(entry <= limit);
        count += isNear & static_cast<unsigned>(distances.isDistance(entry));
    }
    return count;
}

class NeighbourClustering {
 public:
    NeighbourClustering(const DistanceView& distances, const ClusterSettings& settings,
                        ClusterTables& tables)
        : distances_(distances),
          settings_(settings),
          tables_(tables),
          log_(tables.log()),
          threshold_(settings.threshold, settings.maxThreshold, settings.thresholdStep),
          neighbours_(distances.size()) {
        clusters_.cluster.resize(distances.size());
    }

    ClusterAssignment run();

 private:
    // The best centroid: the first model with the most neighbours.
    struct Candidate {
        std::size_t model = 0;
        std::size_t size = 0;  // with its neighbours; 0 when no model has any
    };
    struct Neighbour {
        float distance = 0.0F;
        std::uint32_t model = 0;
    };

    bool isNeighbour(std::size_t i, std::size_t j) const {
        const float entry = distances_.row(i)[j];
        return i != j && entry <= limit_ && distances_.isDistance(entry);
    }
    void countNeighbours();
    Candidate bestCandidate() const;
    std::size_t searchFirstCluster();
    void formFurtherClusters(std::size_t previousSize);
    std::size_t formCluster(std::size_t centroid);
    void collectFreeNeighbours(std::size_t centroid);
    void forgetMembers();
    void printAssignment();

    const DistanceView& distances_;
    const ClusterSettings& settings_;
    ClusterTables& tables_;
    Log& log_;
    ThresholdSequence threshold_;
    float limit_ = 0.0F;                     // the threshold as the entries are compared with it
    std::vector<std::uint32_t> neighbours_;  // per model: how many without a cluster it has
    std::vector<Neighbour> free_;            // neighbours of a centroid that have no cluster
    std::vector<std::uint32_t> members_;     // of the cluster just formed, with its centroid
    std::size_t assigned_ = 0;
    ClusterAssignment clusters_;  // 0 for none
};

void NeighbourClustering::countNeighbours() {
    limit_ = singlePrecisionLimit(threshold_.value());
    for (std::size_t i = 0; i < distances_.size(); ++i) {
        const std::span<const float> row = distances_.row(i);
        neighbours_[i] = countWithin(distances_, row.first(i), limit_) +
                         countWithin(distances_, row.subspan(i + 1), limit_);
    }
}

NeighbourClustering::Candidate NeighbourClustering::bestCandidate() const {
    std::uint32_t most = 0;
    Candidate best;
    for (std::size_t i = 0; i < neighbours_.size(); ++i) {
        if (clusters_.cluster[i] != 0 || neighbours_[i] <= most) continue;
        most = neighbours_[i];
        best = {i, std::size_t{most} + 1};
    }
    return best;
}

// Raises the threshold until the best candidate has the wanted size and forms its cluster.  Returns
// the size of that cluster, or that of the best candidate at the last threshold.
std::size_t NeighbourClustering::searchFirstCluster() {
    log_.info(2, "Processing threshold %g -> %g (interval %g)", settings_.threshold,
              settings_.maxThreshold, settings_.thresholdStep);
    const std::size_t wanted = std::max(settings_.initialSize, 2U);  // there is no cluster of one
    const std::size_t printedSteps = log_.logLevel() > 2 ? kMostPrintedSteps : 0;
    for (std::size_t step = 0;; ++step) {
        if (step == printedSteps) {
            threshold_.advanceTo(thresholdForNeighbours(distances_, wanted - 1));
        }
        countNeighbours();
        const Candidate best = bestCandidate();
        if (best.size > 0) {
            log_.info(2, "Threshold = %6.3f, largest cluster = %d", threshold_.value(),
                      static_cast<int>(best.size));
        }
        if (best.size >= wanted) {
            tables_.printCentroidHeader();
            return formCluster(best.model);
        }
        if (threshold_.isLast()) return best.size;
        threshold_.advance();
    }
}

// When no first cluster was formed but the best candidate is not below the minimum size, clusters
// are formed here all the same, and stand in the output without a heading.
void NeighbourClustering::formFurtherClusters(std::size_t previousSize) {
    const std::size_t fewest = std::max(settings_.minSize, 1U);
    while (previousSize >= fewest && assigned_ < distances_.size()) {
        const Candidate best = bestCandidate();
        if (best.size < fewest) return;
        previousSize = formCluster(best.model);
    }
}

// Fills `free_`: by position, or from the nearest to the farthest when not all may join.
void NeighbourClustering::collectFreeNeighbours(std::size_t centroid) {
    free_.clear();
    const std::span<const float> row = distances_.row(centroid);
    for (std::uint32_t j = 0; j < row.size(); ++j) {
        if (clusters_.cluster[j] == 0 && isNeighbour(centroid, j)) free_.push_back({row[j], j});
    }
    if (settings_.method == 4) return;
    std::stable_sort(free_.begin(), free_.end(), [](const Neighbour& a, const Neighbour& b) {
        return a.distance < b.distance;
    });
    const std::size_t most = std::max(settings_.initialSize, 1U) - 1;
    if (free_.size() > most) free_.resize(most);
}

// Returns the size of the cluster.
std::size_t NeighbourClustering::formCluster(std::size_t centroid) {
    collectFreeNeighbours(centroid);
    const std::uint32_t number = ++clusters_.count;
    double sum = 0.0;
    members_.assign(1, static_cast<std::uint32_t>(centroid));
    for (const Neighbour& neighbour : free_) {
        members_.push_back(neighbour.model);
        sum += static_cast<double>(neighbour.distance);
    }
    for (const std::uint32_t member : members_)
        clusters_.cluster[member] = number;
    const std::size_t size = members_.size();
    assigned_ += size;
    tables_.printCentroid(number, centroid, size, sum / static_cast<double>(size));
    forgetMembers();
    return size;
}

// Takes the members of the new cluster out of the counts of the models without a cluster.
void NeighbourClustering::forgetMembers() {
    for (std::size_t i = 0; i < neighbours_.size(); ++i) {
        if (clusters_.cluster[i] != 0) continue;
        for (const std::uint32_t member : members_) {
            if (isNeighbour(i, member)) --neighbours_[i];
        }
    }
}

void NeighbourClustering::printAssignment() {
    const auto models = static_cast<int>(distances_.size());
    tables_.printRule();
    log_.info(0, "%d Clusters @ Threshold %6.3f (Assigned %d / %d)",
              static_cast<int>(clusters_.count), threshold_.value(), static_cast<int>(assigned_),
              models);
    tables_.printRule();
    tables_.printItemHeader();
    std::vector<std::uint32_t> order(distances_.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
        return clusters_.cluster[a] < clusters_.cluster[b];
    });
    for (const std::uint32_t model : order)
        tables_.printItem(model, clusters_.cluster[model]);
    tables_.printRule();
}

ClusterAssignment NeighbourClustering::run() {
    tables_.printRule();
    log_.info(0, "Nearest Neighbour clustering");
    tables_.printRule();
    formFurtherClusters(searchFirstCluster());
    if (clusters_.count == 0) {
        log_.info(0, "No clusters assigned at upper threshold %.3f", threshold_.value());
    } else {
        printAssignment();
    }
    return std::move(clusters_);
}

}  // namespace

double thresholdForNeighbours(const DistanceView& distances, std::size_t wanted) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    float smallest = kInfinity;
    std::vector<float> row;
    for (std::size_t i = 0; i < distances.size(); ++i) {
        const std::span<const float> entries = distances.row(i);
        // Most rows cannot improve on what was found, and counting tells it quickly.
        const float below = std::nextafter(smallest, -kInfinity);
        const std::size_t count = std::size_t{countWithin(distances, entries.first(i), below)} +
                                  countWithin(distances, entries.subspan(i + 1), below);
        if (count < wanted) continue;
        row.clear();
        for (std::size_t j = 0; j < entries.size(); ++j) {
            if (j != i && distances.isDistance(entries[j])) row.push_back(entries[j]);
        }
        const auto last = row.begin() + static_cast<std::ptrdiff_t>(wanted - 1);
        std::nth_element(row.begin(), last, row.end());
        smallest = *last;
    }
    return static_cast<double>(smallest);
}

ClusterAssignment clusterByNeighbours(const DistanceView& distances,
                                      const ClusterSettings& settings, ClusterTables& tables) {
    const double steps = (settings.maxThreshold - settings.threshold) / settings.thresholdStep;
    if (steps < 0.0) {
        tables.log().error(0, "Unable to converge %f to %f using adjustment %f", settings.threshold,
                           settings.maxThreshold, settings.thresholdStep);
        ClusterAssignment none;
        none.cluster.resize(distances.size());
        return none;
    }
    return NeighbourClustering(distances, settings, tables).run();
}

}  // namespace tervolanda
