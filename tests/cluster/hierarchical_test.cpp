#include "cluster/hierarchical.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <utility>

#include "base/format.h"
#include "cluster/matrices.h"
#include "cluster/merges.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using test::kInfinite;
using test::kNaN;
using test::randomMatrix;
using test::searching;
using test::symmetricMatrix;
using Members = std::vector<std::uint32_t>;

// The linkage distance by its definition, from all pairs of members.
double linkageDistance(const DistanceMatrix& matrix, Linkage linkage, const Members& a,
                       const Members& b) {
    double smallest = HUGE_VAL;
    double largest = -HUGE_VAL;
    double sum = 0.0;
    for (const std::uint32_t i : a) {
        for (const std::uint32_t j : b) {
            const auto d = static_cast<double>(matrix.at(std::max(i, j), std::min(i, j)));
            smallest = std::min(smallest, d);
            largest = std::max(largest, d);
            sum += d;
        }
    }
    if (linkage == Linkage::Single) return smallest;
    return linkage == Linkage::Maximum ? largest : sum / static_cast<double>(a.size() * b.size());
}

double smallestLinkageDistance(const DistanceMatrix& matrix, Linkage linkage,
                               const std::vector<Members>& clusters) {
    double smallest = HUGE_VAL;
    for (std::size_t a = 0; a < clusters.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            if (clusters[a].empty() || clusters[b].empty()) continue;
            smallest =
                std::min(smallest, linkageDistance(matrix, linkage, clusters[a], clusters[b]));
        }
    }
    return smallest;
}

// The clusters as a cut of the tree: numbered by their first models.
void expectCut(const std::vector<Join>& tree, std::size_t joins, std::vector<Members> clusters) {
    std::erase_if(clusters, [](const Members& members) { return members.empty(); });
    std::sort(clusters.begin(), clusters.end());
    const ClusterAssignment cut = cutTree(tree, tree.size() + 1, joins);
    EXPECT_EQ(cut.count, clusters.size());
    std::size_t largest = 0;
    for (std::uint32_t c = 0; c < clusters.size(); ++c) {
        largest = std::max(largest, clusters[c].size());
        for (const std::uint32_t model : clusters[c])
            EXPECT_EQ(cut.cluster[model], c);
    }
    EXPECT_EQ(largestClusters(tree, tree.size() + 1)[joins], largest);
}

// Makes the joins one after the other and demands of each that no two clusters are nearer to each
// other than the two it joins.
void expectEachJoinIsTheNearest(const DistanceMatrix& matrix, Linkage linkage) {
    const std::size_t n = matrix.rows();
    const std::vector<Join> tree = buildTree(DistanceView(matrix, true), linkage);
    ASSERT_EQ(tree.size(), n - 1);
    std::vector<Members> clusters(n);  // models, then joins
    for (std::uint32_t i = 0; i < n; ++i)
        clusters[i] = {i};
    for (std::size_t k = 0; k < tree.size(); ++k) {
        expectCut(tree, k, clusters);
        const auto node = [n](std::int64_t child) {
            return static_cast<std::size_t>(child >= 0 ? child
                                                       : static_cast<std::int64_t>(n) - child - 1);
        };
        ASSERT_LT(node(tree[k].first), clusters.size()) << "a child that is yet to be made";
        ASSERT_LT(node(tree[k].second), clusters.size());
        Members& first = clusters[node(tree[k].first)];
        Members& second = clusters[node(tree[k].second)];
        ASSERT_FALSE(first.empty() || second.empty()) << "a child that has a parent already";
        EXPECT_LT(first[0], second[0]);
        EXPECT_NEAR(tree[k].distance, linkageDistance(matrix, linkage, first, second), 1e-12);
        EXPECT_NEAR(tree[k].distance, smallestLinkageDistance(matrix, linkage, clusters), 1e-12);
        EXPECT_LE(tree[k == 0 ? 0 : k - 1].distance, tree[k].distance);
        first.insert(first.end(), second.begin(), second.end());
        second.clear();
        std::sort(first.begin(), first.end());
        clusters.push_back(std::exchange(first, {}));
    }
    expectCut(tree, n - 1, clusters);
}

constexpr Linkage kLinkages[] = {Linkage::Single, Linkage::Average, Linkage::Maximum};

TEST(Tree, AlwaysJoinsTheTwoNearestClustersAndComesApartAgain) {
    // Models in order along a line: chains of nearest neighbours as long as they get.
    DistanceMatrix line(60, 60, 0.0F);
    for (std::size_t i = 0; i < 60; ++i) {
        for (std::size_t j = 0; j < 60; ++j)
            line.at(i, j) = std::fabs(std::pow(1.2F, static_cast<float>(i)) -
                                      std::pow(1.2F, static_cast<float>(j)));
    }
    for (const Linkage linkage : kLinkages) {
        if (linkage != Linkage::Average) expectEachJoinIsTheNearest(line, linkage);
        for (const std::size_t n : {2U, 3U, 7U, 40U}) {
            for (const int levels : {0, 1, 2, 5}) {  // no ties, identical models, many ties
                SCOPED_TRACE(testing::Message()
                             << static_cast<int>(linkage) << " n=" << n << " levels=" << levels);
                for (std::uint32_t seed = 1; seed <= (n < 10 ? 60 : 4); ++seed)
                    expectEachJoinIsTheNearest(randomMatrix(n, seed, levels), linkage);
            }
        }
    }
}

TEST(Tree, IsTheSameByAnyNumberOfThreads) {
    const auto equal = [](const Merge& a, const Merge& b) {
        return a.a == b.a && a.b == b.b && a.distance == b.distance;
    };
    for (const std::size_t n : {2U, 65U, 400U}) {
        for (const int levels : {0, 1, 7}) {
            DistanceMatrix matrix = randomMatrix(n, 3, levels);
            matrix.at(n - 1, n / 2 - 1) = kNaN;
            const DistanceView view(matrix, true);
            for (const auto merge : {mergeByAverageLinkage, mergeByMaximumLinkage}) {
                const std::vector<Merge> alone = merge(view, {1});
                for (const std::size_t threads : {2U, 3U, 7U}) {
                    for (const StepSharing sharing :
                         {StepSharing{threads, 2, 1}, StepSharing{threads, 50, 16}}) {
                        const std::vector<Merge> shared = merge(view, sharing);
                        EXPECT_TRUE(std::equal(alone.begin(), alone.end(), shared.begin(),
                                               shared.end(), equal))
                            << n << " models, levels " << levels << ", " << threads << " threads";
                    }
                }
            }
        }
    }
}

TEST(Tree, PutsPairsWithoutADistanceInfinitelyFar) {
    for (const float none : {-1.0F, kNaN, kInfinite, -kInfinite}) {
        // 0 and 2 are near, 1 has no distance to anybody.
        const DistanceMatrix matrix = symmetricMatrix(3, {none, 0.5F, none});
        for (const Linkage linkage : kLinkages) {
            const std::vector<Join> tree = buildTree(DistanceView(matrix, true), linkage);
            ASSERT_EQ(tree.size(), 2U);
            EXPECT_EQ(tree[0].distance, 0.5);
            EXPECT_EQ(tree[1].distance, HUGE_VAL);
            EXPECT_EQ(joinsWithin(tree, 1e308 * 10), 1U);  // not even within an infinite threshold
        }
    }
    // Where similarities were converted -1 is a distance.
    const DistanceMatrix matrix = symmetricMatrix(2, {-1.0F});
    EXPECT_EQ(buildTree(DistanceView(matrix, false), Linkage::Average)[0].distance, -1.0);
}

TEST(Medoids, HaveTheSmallestSumOfDistances) {
    // Cluster 0 is 0, 2, 3 with the sums 3, 4, 5; in cluster 1 the sums of 1 and 4 are equal.
    DistanceMatrix matrix = symmetricMatrix(6, {9, 1, 9, 2, 9, 3, 9, 6, 9, 9, 9, 9, 9, 9, 9});
    matrix.at(0, 2) = 100.0F;  // not in the lower triangle
    const ClusterAssignment clusters{{0, 1, 0, 0, 1, 2}, 3};
    std::string found;
    for (const Centroid& medoid : findMedoids(DistanceView(matrix, true), clusters))
        found += format("%u of %u: %.17g, ", medoid.model, medoid.size, medoid.spread);
    EXPECT_EQ(found, "0 of 3: 1, 1 of 2: 3, 5 of 1: 0, ");
}

// Distances 1 (models 0, 1), 2 (models 2, 3) and between these pairs 4, 5, 6, 7.
DistanceMatrix twoPairs() {
    return symmetricMatrix(4, {1, 4, 6, 5, 7, 2});
}

TEST(HierarchicalClustering, EndsItsSearchWhereItShould) {
    for (const auto& row : test::tableRows("cluster/threshold_searches.txt")) {
        std::istringstream words(row.at(1));
        double first = 0.0, most = 0.0, step = 0.0;
        std::uint32_t wanted = 0;
        words >> first >> most >> step >> wanted;
        DistanceMatrix matrix = twoPairs();
        const Clustering found =
            clusterModels(matrix, searching(first, most, step, wanted)).value();
        EXPECT_EQ(format("%u %g %d", found.clusters.count, found.threshold, found.reachedSize),
                  row.at(2))
            << row[0];
        EXPECT_EQ(found.settings.maxThreshold, std::max(first, most)) << row[0];
    }
}

TEST(HierarchicalClustering, EndsAtTheSameCutHoweverManyThresholdsItTries) {
    for (const auto method : {ClusterMethod::SingleLinkage, ClusterMethod::AverageLinkage,
                              ClusterMethod::MaximumLinkage}) {
        for (std::uint32_t wanted = 0; wanted < 42; wanted += 3) {
            DistanceMatrix matrix = randomMatrix(40, wanted + 1);
            ClusterSettings settings = searching(0.1, 6.0, 0.037, wanted);
            settings.method = method;
            const Clustering quick = clusterModels(matrix, settings).value();
            settings.triedOneByOne = 1000;
            const Clustering all = clusterModels(matrix, settings).value();
            EXPECT_EQ(quick.threshold, all.threshold);
            EXPECT_EQ(quick.clusters.cluster, all.clusters.cluster);
            EXPECT_LE(quick.tried.size(), 2U);
            double threshold = 0.1;
            for (const ThresholdTrial& trial : all.tried) {
                EXPECT_EQ(trial.threshold, threshold);
                EXPECT_EQ(trial.clusters, 40 - joinsWithin(all.tree, threshold));
                threshold += 0.037;
            }
            EXPECT_EQ(all.tried.back().threshold, all.threshold);
        }
    }
    // Not each of 10^16 thresholds is tried.
    for (const auto method :
         {ClusterMethod::SingleLinkage, ClusterMethod::NeighboursAbsoluteSize}) {
        DistanceMatrix matrix = twoPairs();
        ClusterSettings settings = searching(0.5, 1e300, 0.05, 9);
        settings.method = method;
        settings.triedOneByOne = 100;
        EXPECT_EQ(clusterModels(matrix, settings)->tried.size(), 101U);
    }
}

TEST(HierarchicalClustering, OfNoModelOrOneHasAsManyClusters) {
    for (const std::uint32_t n : {0U, 1U}) {
        DistanceMatrix matrix(n, n, 1.0F);
        const Clustering found = clusterModels(matrix, searching(1.0, 2.0, 0.5, 50)).value();
        EXPECT_EQ(found.clusters.count, n);
        EXPECT_EQ(found.centroids.size(), n);
        EXPECT_EQ(found.threshold, 2.0);
    }
}

}  // namespace
}  // namespace tervolanda
