#include "cluster/neighbours.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "cluster/matrices.h"

namespace tervolanda {
namespace {

using test::kInfinite;
using test::kNaN;
using test::randomMatrix;
using test::searching;
using test::symmetricMatrix;

ClusterSettings byNeighbours(ClusterSettings settings, std::uint32_t fewest) {
    settings.method = ClusterMethod::NeighboursAbsoluteSize;
    settings.minSize = fewest;
    return settings;
}

// The same clustering as one would do it by hand: every count anew at every step.
struct CountedAnew {
    const DistanceMatrix& matrix;
    const ClusterSettings& settings;
    std::vector<std::uint32_t> cluster = std::vector<std::uint32_t>(matrix.rows());
    std::uint32_t count = 0;
    double threshold = 0.0;
    bool reachedSize = false;
    std::vector<std::pair<double, std::size_t>> tried{};
    std::vector<std::size_t> centroids{};
    std::vector<double> spreads{};

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
        double sum = 0.0;
        for (const auto& neighbour : near) {
            if (settings.method == ClusterMethod::NeighboursAbsoluteSize &&
                size >= settings.initialSize) {
                break;
            }
            cluster[neighbour.second] = count;
            sum += static_cast<double>(neighbour.first);
            ++size;
        }
        centroids.push_back(centroid);
        spreads.push_back(sum / static_cast<double>(size));
        return size;
    }
    void run() {
        std::size_t size = 0;
        for (threshold = settings.threshold;; threshold += settings.thresholdStep) {
            const auto [model, candidate] = best();
            size = candidate;
            tried.emplace_back(threshold, size);
            if (size > 0 && size >= settings.initialSize) {
                reachedSize = true;
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
        const double first = static_cast<double>(generator() % 30U) / 10.0;
        const double most = first + static_cast<double>(generator() % 40U) / 10.0;
        const double step = 0.1 + static_cast<double>(generator() % 10U) / 10.0;
        const auto wanted = static_cast<std::uint32_t>(generator() % (n + 3));
        ClusterSettings settings = byNeighbours(searching(first, most, step, wanted),
                                                static_cast<std::uint32_t>(generator() % 6U));
        if (round % 2 == 0) settings.method = ClusterMethod::NeighboursMinSize;
        CountedAnew expected{matrix, settings};
        expected.run();
        for (const std::size_t triedOneByOne : {0U, 1000U}) {
            settings.triedOneByOne = triedOneByOne;
            const Clustering found = clusterModels(matrix, settings).value();
            ASSERT_EQ(found.clusters.cluster, expected.cluster) << "round " << round;
            EXPECT_EQ(found.clusters.count, expected.count);
            EXPECT_EQ(found.threshold, expected.threshold);
            EXPECT_EQ(found.reachedSize, expected.reachedSize);
            ASSERT_EQ(found.centroids.size(), expected.count);
            for (std::size_t c = 0; c < expected.count; ++c) {
                EXPECT_EQ(found.centroids[c].model, expected.centroids[c]);
                EXPECT_NEAR(found.centroids[c].spread, expected.spreads[c], 1e-12);
            }
            if (triedOneByOne == 0) continue;
            ASSERT_EQ(found.tried.size(), expected.tried.size());
            for (std::size_t k = 0; k < found.tried.size(); ++k)
                EXPECT_EQ(std::pair(found.tried[k].threshold, std::size_t{found.tried[k].largest}),
                          expected.tried[k]);
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

TEST(NeighbourClustering, EndsWithoutAClusterAtTheLastThreshold) {
    const auto lastOf = [](const ClusterSettings& settings, DistanceMatrix matrix) {
        const Clustering found = clusterModels(matrix, settings).value();
        EXPECT_EQ(found.clusters.count, 0U);
        EXPECT_FALSE(found.reachedSize);
        return found.threshold;
    };
    EXPECT_EQ(lastOf(byNeighbours(searching(1.0, 2.0, 0.25, 9), 5), starAndPair()), 2.0);
    EXPECT_EQ(lastOf(byNeighbours(searching(1.0, 2.0, 0.25, 9), 5), DistanceMatrix()), 2.0);
    EXPECT_EQ(lastOf(byNeighbours(searching(1.0, 2.0, 0.25, 0), 0), DistanceMatrix(1, 1, 0.0F)),
              2.0);
    // Nothing brings models without a distance together.
    ClusterSettings settings = byNeighbours(searching(2.0, 2.0, 0.25, 2), 0);
    settings.method = ClusterMethod::NeighboursMinSize;
    for (const float none : {-1.0F, kNaN, kInfinite, -kInfinite})
        EXPECT_EQ(lastOf(settings, DistanceMatrix(5, 5, none)), 2.0);
    // Steps that do not raise the threshold.
    for (const double step : {0.0, 1e-300})
        EXPECT_EQ(lastOf(byNeighbours(searching(1.0, 2.0, step, 9), 5), starAndPair()), 1.0);
}

TEST(NeighbourClustering, RefusesAThresholdThatFallsAwayFromTheMaximum) {
    DistanceMatrix matrix = starAndPair();
    EXPECT_FALSE(clusterModels(matrix, byNeighbours(searching(1.0, 2.0, -0.25, 2), 2)));
    // A maximum below is raised to the threshold, so that there is nothing to refuse.
    EXPECT_TRUE(clusterModels(matrix, byNeighbours(searching(1.0, 0.5, -0.25, 2), 2)));
}

}  // namespace
}  // namespace tervolanda
