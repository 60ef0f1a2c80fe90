#include "cluster/neighbours.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "base/format.h"
#include "base/log.h"
#include "cluster/matrices.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using test::countedIds;
using test::kInfinite;
using test::kNaN;
using test::randomMatrix;
using test::symmetricMatrix;
using testing::HasSubstr;

struct Printed {
    ClusterAssignment clusters;
    std::string text;
    std::string error;
};

Printed clusterAtLevel(int logLevel, DistanceMatrix matrix, const ClusterSettings& settings) {
    test::CapturedLog captured(logLevel);
    ClusterAssignment clusters =
        clusterModels(matrix, countedIds(matrix.rows()), settings, nullptr, captured.log);
    return {std::move(clusters), captured.output(), captured.error()};
}

// The same clustering as one would do it by hand: every count anew at every step.
struct CountedAnew {
    const DistanceMatrix& matrix;
    const ClusterSettings& settings;
    std::vector<std::uint32_t> cluster = std::vector<std::uint32_t>(matrix.rows());
    std::uint32_t count = 0;
    double threshold = 0.0;

    bool isNeighbour(std::size_t i, std::size_t j) const {
        const float d = matrix.at(i, j);
        return i != j && std::isfinite(d) && d != -1.0F && static_cast<double>(d) <= threshold;
    }
    // The first free model with the most free neighbours, and its size; 0 without any neighbour.
    std::pair<std::size_t, std::size_t> best() const {
        std::pair<std::size_t, std::size_t> found{0, 0};
        for (std::size_t i = 0; i < cluster.size(); ++i) {
            std::size_t size = 1;
            for (std::size_t j = 0; j < cluster.size(); ++j)
                size += isNeighbour(i, j) && cluster[j] == 0 ? 1U : 0U;
            if (cluster[i] == 0 && size > 1 && size > found.second) found = {i, size};
        }
        return found;
    }
    std::size_t form(std::size_t centroid) {
        std::vector<std::pair<float, std::size_t>> near;
        for (std::size_t j = 0; j < cluster.size(); ++j) {
            if (cluster[j] == 0 && isNeighbour(centroid, j))
                near.emplace_back(matrix.at(centroid, j), j);
        }
        std::sort(near.begin(), near.end());
        cluster[centroid] = ++count;
        std::size_t size = 1;
        for (const auto& neighbour : near) {
            if (settings.method == 5 && size >= settings.initialSize) break;
            cluster[neighbour.second] = count;
            ++size;
        }
        return size;
    }
    void run() {
        std::size_t size = 0;
        for (threshold = settings.threshold;; threshold += settings.thresholdStep) {
            const auto [model, candidate] = best();
            size = candidate;
            if (size > 0 && size >= settings.initialSize) {
                size = form(model);
                break;
            }
            if (settings.maxThreshold <= threshold) break;
        }
        while (size > 0 && size >= settings.minSize) {
            const auto [model, candidate] = best();
            if (candidate == 0 || candidate < settings.minSize) break;
            size = form(model);
        }
    }
};

TEST(NeighbourClustering, AgreesWithCountingAnewAtEveryStep) {
    std::mt19937 generator(7);
    for (int round = 0; round < 400; ++round) {
        const std::size_t n = 1 + generator() % 40U;
        const int levels = round % 3 == 0 ? 4 : 0;
        DistanceMatrix matrix = randomMatrix(n, static_cast<std::uint32_t>(round), levels);
        for (float& entry : matrix.values()) {
            if (generator() % 8U == 0) entry = generator() % 2U == 0 ? kNaN : -1.0F;
        }
        ClusterSettings settings;
        settings.threshold = static_cast<double>(generator() % 30U) / 10.0;
        settings.maxThreshold = settings.threshold + static_cast<double>(generator() % 40U) / 10.0;
        settings.thresholdStep = 0.1 + static_cast<double>(generator() % 10U) / 10.0;
        settings.initialSize = static_cast<std::uint32_t>(generator() % (n + 3));
        settings.minSize = static_cast<std::uint32_t>(generator() % 6U);
        settings.method = 4 + round % 2;
        CountedAnew expected{matrix, settings};
        expected.run();
        for (const int logLevel : {1, 3}) {
            const Printed found = clusterAtLevel(logLevel, matrix, settings);
            ASSERT_EQ(found.clusters.cluster, expected.cluster) << "round " << round;
            EXPECT_EQ(found.clusters.count, expected.count);
            EXPECT_THAT(found.text,
                        HasSubstr(expected.count > 0
                                      ? format(" @ Threshold %6.3f (Ass", expected.threshold)
                                      : format("upper threshold %.3f\n", expected.threshold)));
        }
    }
}

// Models 0 to 3 lie around 1, which is nearest to them; 4 and 5 are a pair; 6 is alone.
DistanceMatrix starAndPair() {
    return symmetricMatrix(7, {1.0F,                          //
                               4.0F, 1.5F,                    //
                               4.0F, 2.0F, 4.0F,              //
                               9.0F, 9.0F, 9.0F, 9.0F,        //
                               9.0F, 9.0F, 9.0F, 9.0F, 0.5F,  //
                               9.0F, 9.0F, 9.0F, 9.0F, 9.0F, 9.0F});
}

TEST(NeighbourClustering, SaysWhenNoClusterIsAssigned) {
    const auto lastLine = [](const ClusterSettings& settings, const DistanceMatrix& matrix) {
        const Printed printed = clusterAtLevel(1, matrix, settings);
        EXPECT_EQ(printed.clusters.count, 0U);
        return printed.text.substr(printed.text.rfind('\n', printed.text.size() - 2) + 1);
    };
    const char* const atTwo = "INFO  : No clusters assigned at upper threshold 2.000\n";
    const ClusterSettings settings{1.0, 2.0, 0.25, 9, 5, 5, 0.0};
    EXPECT_EQ(lastLine(settings, starAndPair()), atTwo);
    EXPECT_EQ(lastLine(settings, DistanceMatrix()), atTwo);
    EXPECT_EQ(lastLine({1.0, 2.0, 0.25, 0, 0, 5, 0.0}, DistanceMatrix(1, 1, 0.0F)), atTwo);
    // Nothing brings models without a distance together.
    for (const float none : {-1.0F, kNaN, kInfinite, -kInfinite}) {
        EXPECT_EQ(lastLine({2.0, 2.0, 0.25, 2, 0, 4, 0.0}, DistanceMatrix(5, 5, none)), atTwo);
    }
    // Steps that do not raise the threshold.
    const char* const atOne = "INFO  : No clusters assigned at upper threshold 1.000\n";
    for (const double step : {0.0, 1e-300})
        EXPECT_EQ(lastLine({1.0, 2.0, step, 9, 5, 5, 0.0}, starAndPair()), atOne);
}

TEST(NeighbourClustering, RefusesAThresholdThatFallsAwayFromTheMaximum) {
    ClusterSettings settings{1.0, 2.0, -0.25, 2, 2, 5, 0.0};
    const Printed refused = clusterAtLevel(1, starAndPair(), settings);
    EXPECT_EQ(refused.error,
              "ERROR : Unable to converge 1.000000 to 2.000000 using adjustment -0.250000\n");
    EXPECT_EQ(refused.text, "");
    EXPECT_EQ(refused.clusters.count, 0U);
    settings.maxThreshold = 0.5;  // raised to the threshold, so that there is nothing to refuse
    EXPECT_EQ(clusterAtLevel(1, starAndPair(), settings).error, "");
}

}  // namespace
}  // namespace tervolanda
