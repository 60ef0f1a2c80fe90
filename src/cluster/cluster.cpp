// The way into clustering: similarities become distances, then the chosen method takes over.
#include "cluster/cluster.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "cluster/hierarchical.h"
#include "cluster/neighbours.h"

namespace tervolanda {

namespace {

// In double precision and then rounded once; export/matrix_files.cpp shows the same values.
void convertToDistances(DistanceMatrix& similarities, const StopFlag* stop) {
    for (std::size_t i = 0; i < similarities.rows(); ++i) {
        throwIfStopped(stop);
        for (float& entry : similarities.row(i))
            entry = static_cast<float>(1.0 - static_cast<double>(entry));
    }
}

// Positions by ascending or descending sum; sums that are not numbers last.
template <typename Sum>
std::vector<std::uint32_t> orderBySum(const std::vector<Sum>& sums, bool descending) {
    std::vector<std::uint32_t> order(sums.size());
    std::iota(order.begin(), order.end(), 0U);
    // Not-a-numbers would break the order that the sort relies on.
    const auto numbersEnd = std::stable_partition(
        order.begin(), order.end(),
        [&sums](std::uint32_t i) { return !std::isnan(static_cast<double>(sums[i])); });
    std::stable_sort(order.begin(), numbersEnd,
                     [&sums, descending](std::uint32_t a, std::uint32_t b) {
                         return descending ? sums[a] > sums[b] : sums[a] < sums[b];
                     });
    return order;
}

template <typename Sum, typename Value>
std::vector<Sum> rowSums(const Matrix<Value>& matrix) {
    std::vector<Sum> sums;
    sums.reserve(matrix.rows());
    for (std::size_t i = 0; i < matrix.rows(); ++i) {
        const auto row = matrix.row(i);
        sums.push_back(std::accumulate(row.begin(), row.end(), Sum{0}, [](Sum sum, Value value) {
            return sum + static_cast<Sum>(value);
        }));
    }
    return sums;
}

}  // namespace

std::optional<Clustering> clusterModels(DistanceMatrix& matrix, const ClusterSettings& settings) {
    const bool holdsSimilarities = settings.values == MatrixValues::Similarities;
    if (holdsSimilarities) convertToDistances(matrix, settings.stop);
    ClusterSettings used = settings;
    used.maxThreshold = std::max(settings.maxThreshold, settings.threshold);
    const DistanceView distances(matrix, /*hasFailedFits=*/!holdsSimilarities, settings.stop);
    switch (settings.method) {
        case ClusterMethod::NeighboursMinSize:
        case ClusterMethod::NeighboursAbsoluteSize:
            return clusterByNeighbours(distances, used);
        case ClusterMethod::AverageLinkage:
            return clusterHierarchically(distances, Linkage::Average, used);
        case ClusterMethod::MaximumLinkage:
            return clusterHierarchically(distances, Linkage::Maximum, used);
        case ClusterMethod::SingleLinkage:
            break;
    }
    return clusterHierarchically(distances, Linkage::Single, used);
}

std::vector<std::uint32_t> orderByRowSum(const PairMatrix& matrix, bool descending) {
    return orderBySum(rowSums<std::uint64_t>(matrix), descending);
}

std::vector<std::uint32_t> orderByRowSum(const DistanceMatrix& matrix, bool descending) {
    return orderBySum(rowSums<double>(matrix), descending);
}

}  // namespace tervolanda
