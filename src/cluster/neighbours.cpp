// Greedy clustering around the models with the most neighbours: the model that has the most takes
// them, then the one with the most among those that are left, and so on.
//
// Counting all neighbours reads the whole matrix, so it is done once: the threshold at which the
// first cluster gets large enough is found beforehand from the rows themselves, and when a cluster
// is formed only the distances to its members are looked at to correct the counts of the models
// that are left.
#include "cluster/neighbours.h"

#include <algorithm>
#include <utility>
#include <vector>

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

// One clustering, in three steps: the threshold search, the first cluster, the others.  After every
// step a model has a cluster's number or, with 0, is free; `neighbours_` of a free model counts its
// free neighbours at the threshold last counted at, that of any other is stale.
class NeighbourClustering {
 public:
    NeighbourClustering(const DistanceView& distances, const ClusterSettings& settings)
        : distances_(distances),
          settings_(settings),
          threshold_(settings.threshold, settings.maxThreshold, settings.thresholdStep),
          neighbours_(distances.size()) {
        found_.settings = settings;
        found_.clusters.cluster.resize(distances.size());
    }

    Clustering run() &&;

 private:
    // The best centroid: the first free model with the most free neighbours.
    struct Candidate {
        std::uint32_t model = 0;
        std::uint32_t size = 0;  // with its neighbours; 0 when no model has any
    };
    struct Neighbour {
        float distance = 0.0F;
        std::uint32_t model = 0;
    };

    bool isFree(std::size_t model) const { return found_.clusters.cluster[model] == 0; }
    bool isNeighbour(std::size_t i, std::size_t j) const {
        const float entry = distances_.row(i)[j];
        return i != j && entry <= limit_ && distances_.isDistance(entry);
    }
    void countNeighbours();
    Candidate bestCandidate() const;
    Candidate searchThreshold();
    void formFurtherClusters(std::size_t previousSize);
    std::size_t formCluster(std::uint32_t centroid);
    void collectFreeNeighbours(std::uint32_t centroid);
    void forgetMembers();

    const DistanceView& distances_;
    const ClusterSettings& settings_;
    ThresholdSequence threshold_;
    float limit_ = 0.0F;                     // the threshold as the entries are compared with it
    std::vector<std::uint32_t> neighbours_;  // per model
    std::vector<Neighbour> free_;            // neighbours of a centroid that have no cluster
    std::vector<std::uint32_t> members_;     // of the cluster just formed, with its centroid
    std::size_t assigned_ = 0;               // models that are not free
    Clustering found_;
};

// The neighbours of every model at the threshold, all models being free.  Reads the whole matrix.
void NeighbourClustering::countNeighbours() {
    limit_ = singlePrecisionLimit(threshold_.value());
    for (std::size_t i = 0; i < distances_.size(); ++i) {
        const std::span<const float> row = distances_.row(i);
        neighbours_[i] = countWithin(distances_, row.first(i), limit_) +
                         countWithin(distances_, row.subspan(i + 1), limit_);
    }
}

// Of equals the first in the list.
NeighbourClustering::Candidate NeighbourClustering::bestCandidate() const {
    std::uint32_t most = 0;
    Candidate best;
    for (std::uint32_t i = 0; i < neighbours_.size(); ++i) {
        if (!isFree(i) || neighbours_[i] <= most) continue;
        most = neighbours_[i];
        best = {i, most + 1};
    }
    return best;
}

// Raises the threshold until the best candidate has the wanted size, or to the last one.  Returns
// the candidate there.
NeighbourClustering::Candidate NeighbourClustering::searchThreshold() {
    const std::uint32_t wanted = std::max(settings_.initialSize, 2U);  // there is no cluster of one
    for (;; threshold_.advance()) {
        if (found_.tried.size() == settings_.triedOneByOne) {
            threshold_.advanceTo(thresholdForNeighbours(distances_, wanted - 1));
        }
        countNeighbours();
        const Candidate best = bestCandidate();
        found_.tried.push_back({threshold_.value(), 0, best.size});
        found_.reachedSize = best.size >= wanted;
        if (found_.reachedSize || threshold_.isLast()) return best;
    }
}

// Clusters are formed here, too, when the search ended without the wanted size but its last
// candidate is not below the minimum size.
void NeighbourClustering::formFurtherClusters(std::size_t previousSize) {
    const std::uint32_t fewest = std::max(settings_.minSize, 1U);
    while (previousSize >= fewest && assigned_ < distances_.size()) {
        const Candidate best = bestCandidate();
        if (best.size < fewest) return;
        previousSize = formCluster(best.model);
    }
}

// Fills `free_`: by position, or from the nearest to the farthest when not all may join.
void NeighbourClustering::collectFreeNeighbours(std::uint32_t centroid) {
    free_.clear();
    const std::span<const float> row = distances_.row(centroid);
    for (std::uint32_t j = 0; j < row.size(); ++j) {
        if (isFree(j) && isNeighbour(centroid, j)) free_.push_back({row[j], j});
    }
    if (settings_.method == ClusterMethod::NeighboursMinSize) return;
    std::stable_sort(free_.begin(), free_.end(), [](const Neighbour& a, const Neighbour& b) {
        return a.distance < b.distance;
    });
    const std::size_t most = std::max(settings_.initialSize, 1U) - 1;
    if (free_.size() > most) free_.resize(most);
}

// Returns the size of the cluster.
std::size_t NeighbourClustering::formCluster(std::uint32_t centroid) {
    collectFreeNeighbours(centroid);
    const std::uint32_t number = ++found_.clusters.count;
    double sum = 0.0;
    members_.assign(1, centroid);
    for (const Neighbour& neighbour : free_) {
        members_.push_back(neighbour.model);
        sum += static_cast<double>(neighbour.distance);
    }
    for (const std::uint32_t member : members_)
        found_.clusters.cluster[member] = number;
    const std::size_t size = members_.size();
    assigned_ += size;
    found_.centroids.push_back(
        {centroid, static_cast<std::uint32_t>(size), sum / static_cast<double>(size)});
    forgetMembers();
    return size;
}

// Takes the members of the new cluster out of the counts of the models without a cluster.
void NeighbourClustering::forgetMembers() {
    for (std::size_t i = 0; i < neighbours_.size(); ++i) {
        if (!isFree(i)) continue;
        for (const std::uint32_t member : members_) {
            if (isNeighbour(i, member)) --neighbours_[i];
        }
    }
}

Clustering NeighbourClustering::run() && {
    const Candidate first = searchThreshold();
    found_.threshold = threshold_.value();
    formFurtherClusters(found_.reachedSize ? formCluster(first.model) : first.size);
    return std::move(found_);
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

std::optional<Clustering> clusterByNeighbours(const DistanceView& distances,
                                              const ClusterSettings& settings) {
    // A step that leads away from the upper threshold never gets there.
    const double steps = (settings.maxThreshold - settings.threshold) / settings.thresholdStep;
    if (steps < 0.0) return std::nullopt;
    return NeighbourClustering(distances, settings).run();
}

}  // namespace tervolanda
