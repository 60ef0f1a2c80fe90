// Clusters, the consensus ranking and the figures of a matrix.
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "arrays.h"
#include "aside.h"
#include "cluster/cluster.h"
#include "export/values.h"

namespace tervolanda::python {

namespace {

// The rows of an array; an exception for another shape than (n, n).
template <typename T>
std::size_t sizeOf(const ArrayIn<T>& array, const char* what) {
    if (array.ndim() != 2 || array.shape(0) != array.shape(1)) {
        throw py::value_error(std::string(what) + " has the shape (n, n)");
    }
    return static_cast<std::size_t>(array.shape(0));
}

// An exception for a value that is not finite.
struct RequireFinite {
    template <typename T>
    void operator()(std::span<const T> row) const {
        for (const T value : row) {
            if (!std::isfinite(static_cast<float>(value))) {
                throw std::invalid_argument("the matrix has finite values");
            }
        }
    }
};

template <typename T>
Matrix<T> finiteMatrix(const T* values, std::size_t n, const StopFlag* stop) {
    return matrixOf(values, n, stop, RequireFinite());
}

ClusterMethod methodOf(const std::string& name) {
    if (name == "single") return ClusterMethod::SingleLinkage;
    if (name == "average") return ClusterMethod::AverageLinkage;
    if (name == "maximum") return ClusterMethod::MaximumLinkage;
    if (name == "neighbours-minimum") return ClusterMethod::NeighboursMinSize;
    if (name == "neighbours") return ClusterMethod::NeighboursAbsoluteSize;
    throw py::value_error(
        "method is 'single', 'average', 'maximum', 'neighbours' or "
        "'neighbours-minimum'");
}

// The joins as SciPy has them: two clusters, their distance, the models in both.  Models are
// numbered from 0, the join k is cluster n + k.
py::array_t<double> linkageOf(const std::vector<Join>& tree, std::size_t models) {
    std::vector<double> sizes;
    const auto number = [models](std::int64_t child) {
        return child >= 0 ? static_cast<double>(child)
                          : static_cast<double>(models) - static_cast<double>(child + 1);
    };
    const auto size = [&sizes](std::int64_t child) {
        return child >= 0 ? 1.0 : sizes[static_cast<std::size_t>(-(child + 1))];
    };
    return newTable<double>(tree.size(), 4, [&](std::size_t k, double* row) {
        sizes.push_back(size(tree[k].first) + size(tree[k].second));
        row[0] = std::min(number(tree[k].first), number(tree[k].second));
        row[1] = std::max(number(tree[k].first), number(tree[k].second));
        // SciPy takes finite distances only: one above any other stands for none.
        row[2] = std::min(tree[k].distance, std::numeric_limits<double>::max());
        row[3] = sizes.back();
    });
}

// Clusters numbered from 0, -1 for a model in none.
py::array_t<std::int64_t> labelsOf(const Clustering& found) {
    const std::int64_t first = clustersByLinkage(found.settings.method) ? 0 : 1;
    return newArray<std::int64_t>(found.clusters.cluster.size(), [&](std::size_t i) {
        return static_cast<std::int64_t>(found.clusters.cluster[i]) - first;
    });
}

py::dict cluster(const ArrayIn<float>& array, const std::string& method, bool similarities,
                 double threshold, double maxThreshold, double step, std::uint32_t size,
                 std::uint32_t minSize) {
    ClusterSettings settings{
        .method = methodOf(method),
        .values = similarities ? MatrixValues::Similarities : MatrixValues::Distances,
        .threshold = threshold,
        .maxThreshold = maxThreshold,
        .thresholdStep = step,
        .initialSize = size,
        .minSize = minSize};
    if (!std::isfinite(threshold) || !std::isfinite(maxThreshold) || !(step >= 0.0)) {
        throw py::value_error("thresholds are finite numbers, and a step is not negative");
    }
    const std::size_t models = sizeOf(array, "the matrix");
    const float* const values = array.data();
    std::optional<Clustering> found;
    runFor(models, [&](const StopFlag* stop) {
        settings.stop = stop;
        DistanceMatrix matrix = finiteMatrix(values, models, stop);
        found = clusterModels(matrix, settings);
    });
    if (!found) throw py::value_error("these thresholds give no clusters");
    py::dict result;
    result["labels"] = labelsOf(*found);
    result["medoids"] = newArray<std::int64_t>(
        found->centroids.size(), [&](std::size_t i) { return found->centroids[i].model; });
    result["sizes"] = newArray<std::int64_t>(
        found->centroids.size(), [&](std::size_t i) { return found->centroids[i].size; });
    result["spreads"] = newArray<double>(found->centroids.size(),
                                         [&](std::size_t i) { return found->centroids[i].spread; });
    result["threshold"] = found->threshold;
    if (clustersByLinkage(settings.method)) result["linkage"] = linkageOf(found->tree, models);
    found->settings.stop = nullptr;  // has ended with this call
    result["_found"] = *std::move(found);
    return result;
}

// Models by position and their scores, best first.
py::tuple jury(const ArrayIn<float>& scores, const ArrayIn<std::uint32_t>& pairs,
               double scoreThreshold, std::uint32_t pairThreshold) {
    const std::size_t models = sizeOf(scores, "the matrix");
    if (sizeOf(pairs, "pairs") != models) throw py::value_error("scores and pairs are of one size");
    const float* const scoreValues = scores.data();
    const std::uint32_t* const pairValues = pairs.data();
    std::vector<JuryScore> ranking;
    runFor(models, [&](const StopFlag* stop) {
        ranking =
            rankByJury(finiteMatrix(scoreValues, models, stop),
                       finiteMatrix(pairValues, models, stop), scoreThreshold, pairThreshold, stop);
    });
    return py::make_tuple(
        newArray<std::int64_t>(ranking.size(), [&](std::size_t i) { return ranking[i].model; }),
        newArray<std::int64_t>(ranking.size(), [&](std::size_t i) { return ranking[i].score; }));
}

// The figures of a set, and None for those that there are none of: no pair has a score.  With a
// clustering by linkage also the clusters by threshold, (k, 2).
py::dict setFiguresOf(const ArrayIn<float>& scores, bool similarities,
                      const Clustering* clustering) {
    const std::size_t models = sizeOf(scores, "the matrix");
    const float* const values = scores.data();
    std::optional<SetFigures> set;
    runFor(models, [&](const StopFlag* stop) {
        set = setFigures(finiteMatrix(values, models, stop),
                         similarities ? MatrixValues::Similarities : MatrixValues::Distances, stop);
    });
    py::dict result;
    result["pairs"] = set ? set->pairs : 0;
    result["mean"] = set ? set->mean : kNone;
    result["quantiles"] =
        newArray<double>(5, [&](std::size_t k) { return set ? set->quantiles.at(k) : kNone; });
    if (set) result["medoid"] = set->medoid;
    if (clustering == nullptr || !clustersByLinkage(clustering->settings.method)) return result;
    const std::vector<ThresholdTrial> cuts = clustersByThreshold(*clustering);
    result["clusters_by_threshold"] =
        newTable<double>(cuts.size(), 2, [&](std::size_t i, double* row) {
            row[0] = cuts[i].threshold;
            row[1] = static_cast<double>(cuts[i].clusters);
        });
    return result;
}

}  // namespace

void addClustering(py::module_& module) {
    const py::class_<Clustering> clustering(module, "Clustering");
    module.def("cluster", cluster);
    module.def("jury", jury);
    module.def("set_figures", setFiguresOf);
}

}  // namespace tervolanda::python
