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

ClusterSettings makeClusterSettings(unsigned int choice, double conversion) {
    constexpr std::array<double, 4> kSteps = {0.05, 0.0, 1e-9, 10.0};
    ClusterSettings settings;
    settings.method = static_cast<int>(choice % 6);
    settings.threshold = choice % 7 == 0 ? 4.0 : 0.5;
    settings.maxThreshold = choice % 5 == 0 ? 1e30 : 8.0;
    settings.thresholdStep = kSteps[choice % 4];
    settings.initialSize = choice % 8;
    settings.minSize = choice % 3;
    settings.conversion = conversion;
    return settings;
}

void requireClusters(DistanceMatrix matrix, std::span<const std::uint32_t> ids,
                     const ClusterSettings& settings, const ChainList* names, Log& log) {
    const ClusterAssignment found = clusterModels(matrix, ids, settings, names, log);
    if (settings.method == 0) {
        FUZZ_REQUIRE(found.cluster.empty() && found.count == 0);
        return;
    }
    const bool isByNeighbours = settings.method >= 4;
    FUZZ_REQUIRE(found.cluster.size() == ids.size());
    std::set<std::uint32_t> numbers(found.cluster.begin(), found.cluster.end());
    if (isByNeighbours) numbers.erase(0);  // stands for none
    FUZZ_REQUIRE(numbers.size() == found.count);
    if (found.count == 0) return;
    FUZZ_REQUIRE(*numbers.begin() == (isByNeighbours ? 1U : 0U));
    FUZZ_REQUIRE(*numbers.rbegin() == found.count - (isByNeighbours ? 0U : 1U));
}

}  // namespace tervolanda::fuzz
