// The models of a list beside each other in the page of --report: names, clusters, tree and matrix,
// from which the script draws a map in the order of the tree.
//
// A matrix of 2,000 models has four million cells, so that the page holds them packed: three
// decimals are all that a picture and its labels show, and base 64 is a quarter of the text that
// numbers with commas would be.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "export/report_data.h"

namespace tervolanda {

namespace {

// Values as whole numbers of thousandths, each with so many digits of base 64, the highest first;
// all bits set for a missing one, and on the diagonal, which says nothing.
std::string packedCells(const DistanceMatrix& matrix, unsigned& width) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr unsigned kBits = 6;
    constexpr unsigned kMostDigits = 5;
    // Rounded as printf rounds: the product of a float and 1000 is exact in double precision.
    const auto thousandths = [](float value) {
        return std::nearbyint(static_cast<double>(value) * 1000.0);
    };
    double most = 0.0;
    for (const float value : matrix.values()) {
        if (std::isfinite(value)) most = std::max(most, thousandths(value));
    }
    const auto none = [&width] { return (std::uint64_t{1} << width * kBits) - 1; };
    width = 2;
    while (width < kMostDigits && most >= static_cast<double>(none()))
        ++width;
    std::string text;
    text.reserve(matrix.values().size() * width);
    for (std::size_t i = 0; i < matrix.rows(); ++i) {
        for (std::size_t j = 0; j < matrix.columns(); ++j) {
            const float value = matrix.at(i, j);
            const bool isKnown =
                i != j && value >= 0.0F && thousandths(value) < static_cast<double>(none());
            const std::uint64_t cell =
                isKnown ? static_cast<std::uint64_t>(thousandths(value)) : none();
            for (unsigned k = width; k > 0; --k)
                text += kDigits[cell >> (k - 1) * kBits & 63U];
        }
    }
    return text;
}

// The tables number clusters from 1, and 0 is none.
void writeClustering(JsonWriter& json, const Clustering& clustering) {
    const bool isTree = clustersByLinkage(clustering.settings.method);
    json.key("clusterOf");
    json.open('[');
    for (const std::uint32_t cluster : clustering.clusters.cluster)
        json.count(cluster + (isTree ? 1 : 0));
    json.close(']');
    json.key("unassigned");
    json.count(0);
    json.key("threshold");
    json.number(clustering.threshold, kReportDecimals);
    json.key("tree");
    json.open('[');
    for (const Join& join : clustering.tree) {
        json.open('[');
        json.raw(std::to_string(join.first));
        json.raw(std::to_string(join.second));
        json.number(join.distance, kReportDecimals);
        json.close(']');
    }
    json.close(']');
}

// "high" tells the script which end of the scale is good.
void writeMatrix(JsonWriter& json, const DistanceMatrix& matrix, ScoreKind score) {
    unsigned width = 0;
    const std::string cells = packedCells(matrix, width);
    json.key("matrix");
    json.open('{');
    json.key("of");
    json.text(scoreName(score));
    json.key("high");
    json.flag(!isDistance(score));
    json.key("width");
    json.count(width);
    json.key("cells");
    json.raw('"' + cells + '"');
    json.close('}');
}

}  // namespace

void writeReportMap(JsonWriter& json, const ReportData& data, const RunResults& results) {
    if (data.modelCount() > kMostModelsInMatrix) return;
    const DistanceMatrix* const matrix =
        results.scores != nullptr ? results.scores : results.matrix;
    if (matrix == nullptr || data.modelCount() < 2) return;
    json.key("names");
    json.open('[');
    for (std::size_t i = 0; i < data.modelCount(); ++i)
        json.text(data.modelName(i));
    json.close(']');
    if (results.clustering) writeClustering(json, *results.clustering);
    writeMatrix(json, *matrix, data.inputs->score);
}

}  // namespace tervolanda
