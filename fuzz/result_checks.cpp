// Sizes are limited here and not by the fuzzer's memory limit: a file of a few bytes may ask for
// all memory of the machine, and get it.
#include "result_checks.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "support.h"

namespace tervolanda::fuzz {

bool declaresUnhandySize(std::string_view text) {
    constexpr std::uint64_t kMost = 40;
    constexpr std::uint64_t kFewestRefused = 20'000'000;  // squared, more than any memory
    for (std::size_t at = text.find("SIZE :"); at != std::string_view::npos;
         at = text.find("SIZE :", at + 1)) {
        std::uint64_t size = 0;
        bool hasDigits = false;
        for (const char c : text.substr(at + 6)) {
            if (c < '0' || c > '9') {
                if (c == '\n' || hasDigits) break;
                continue;
            }
            hasDigits = true;
            size = std::min(size * 10 + static_cast<std::uint64_t>(c - '0'), kFewestRefused);
        }
        if (size > kMost && size < kFewestRefused) return true;
    }
    return false;
}

void requireDifferentIds(std::span<const std::uint32_t> ids) {
    const std::set<std::uint32_t> different(ids.begin(), ids.end());
    FUZZ_REQUIRE(different.size() == ids.size());
}

ClusterSettings makeClusterSettings(unsigned int choice, MatrixValues values) {
    constexpr std::array<double, 4> kSteps = {0.05, 0.0, 1e-9, 10.0};
    ClusterSettings settings;
    settings.method = static_cast<ClusterMethod>(choice % 5);
    settings.values = values;
    settings.threshold = choice % 7 == 0 ? 4.0 : 0.5;
    settings.maxThreshold = choice % 5 == 0 ? 1e30 : 8.0;
    settings.thresholdStep = kSteps[choice % 4];
    settings.initialSize = choice % 8;
    settings.minSize = choice % 3;
    settings.triedOneByOne = choice % 6 == 0 ? 100 : 0;
    return settings;
}

void requireClusters(DistanceMatrix matrix, const ModelLabels& models,
                     const ClusterSettings& settings, Log& log) {
    const std::optional<Clustering> found = clusterModels(matrix, settings);
    FUZZ_REQUIRE(found.has_value());
    printClustering(*found, models, log);
    const ClusterAssignment& clusters = found->clusters;
    const std::uint32_t first = clustersByLinkage(settings.method) ? 0 : 1;
    FUZZ_REQUIRE(clusters.cluster.size() == models.ids.size());
    std::vector<std::uint32_t> sizes(first + clusters.count);
    for (const std::uint32_t cluster : clusters.cluster)
        ++sizes.at(cluster);
    FUZZ_REQUIRE(found->centroids.size() == clusters.count);
    for (std::uint32_t c = 0; c < clusters.count; ++c) {
        const Centroid& centroid = found->centroids[c];
        FUZZ_REQUIRE(clusters.cluster.at(centroid.model) == first + c);
        FUZZ_REQUIRE(centroid.size > 0 && centroid.size == sizes[first + c]);
    }
}

}  // namespace tervolanda::fuzz
