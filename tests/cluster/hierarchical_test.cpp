#include "cluster/hierarchical.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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
using testing::ElementsAre;
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
        Members joined = first;
        joined.insert(joined.end(), second.begin(), second.end());
        std::sort(joined.begin(), joined.end());
        first.clear();
        second.clear();
        clusters.push_back(joined);
    }
}

constexpr Linkage kLinkages[] = {Linkage::Single, Linkage::Average, Linkage::Maximum};

TEST(Tree, AlwaysJoinsTheTwoNearestClusters) {
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

TEST(Tree, SurvivesEntriesOfEveryKind) {
    std::mt19937 generator(3);
    for (int round = 0; round < 50; ++round) {
        DistanceMatrix matrix = randomMatrix(50, static_cast<std::uint32_t>(round));
        const float kinds[] = {kNaN,   -1.0F, kInfinite, 3e38F, -3e38F,
                               1e-45F, -0.0F, 0.0F,      1e20F, 16777217.0F};
        for (float& entry : matrix.values()) {
            if (generator() % 3U != 0) entry = kinds[generator() % std::size(kinds)];
        }
        for (const Linkage linkage : kLinkages) {
            const std::vector<Join> tree = buildTree(DistanceView(matrix, true), linkage);
            ASSERT_EQ(tree.size(), 49U);
            for (std::size_t k = 1; k < tree.size(); ++k)
                ASSERT_LE(tree[k - 1].distance, tree[k].distance);
        }
    }
}

TEST(Cut, JoinsModelsThatAChainOfShortDistancesConnects) {
    // Single linkage at a threshold: the connected components of the graph of short distances.
    const DistanceMatrix matrix = randomMatrix(60, 11, 100);
    const std::vector<Join> tree = buildTree(DistanceView(matrix, true), Linkage::Single);
    for (const double threshold : {0.0, 1.0, 2.0, 2.5, 3.0, 99.0}) {
        std::vector<std::uint32_t> component(60);
        for (std::uint32_t i = 0; i < 60; ++i)
            component[i] = i;
        for (std::size_t round = 0; round < 60; ++round) {
            for (std::size_t i = 0; i < 60; ++i) {
                for (std::size_t j = 0; j < i; ++j) {
                    if (static_cast<double>(matrix.at(i, j)) > threshold) continue;
                    component[i] = component[j] = std::min(component[i], component[j]);
                }
            }
        }
        const std::size_t joins = joinsWithin(tree, threshold);
        const ClusterAssignment clusters = cutTree(tree, 60, joins);
        EXPECT_EQ(clusters.count, 60 - joins);
        std::vector<std::uint32_t> sizes(60);
        std::uint32_t next = 0;  // clusters are numbered as their first models come
        for (std::size_t i = 0; i < 60; ++i) {
            ++sizes[clusters.cluster[i]];
            EXPECT_EQ(clusters.cluster[i],
                      component[i] == i ? next++ : clusters.cluster[component[i]]);
        }
        EXPECT_EQ(largestClusters(tree, 60)[joins], *std::max_element(sizes.begin(), sizes.end()));
    }
}

TEST(Medoids, HaveTheSmallestSumOfDistances) {
    // Cluster 0 is 0, 2, 3 with the sums 3, 4, 5; in cluster 1 the sums of 1 and 4 are equal.
    DistanceMatrix matrix = symmetricMatrix(6, {9, 1, 9, 2, 9, 3, 9, 6, 9, 9, 9, 9, 9, 9, 9});
    matrix.at(0, 2) = 100.0F;  // not in the lower triangle
    const ClusterAssignment clusters{{0, 1, 0, 0, 1, 2}, 3};
    const std::vector<Medoid> medoids = findMedoids(DistanceView(matrix, true), clusters);
    ASSERT_EQ(medoids.size(), 3U);
    EXPECT_EQ(medoids[0].model, 0U);
    EXPECT_EQ(medoids[0].size, 3U);
    EXPECT_DOUBLE_EQ(medoids[0].spread, 1.0);
    EXPECT_EQ(medoids[1].model, 1U);
    EXPECT_DOUBLE_EQ(medoids[1].spread, 3.0);
    EXPECT_EQ(medoids[2].model, 5U);
    EXPECT_DOUBLE_EQ(medoids[2].spread, 0.0);
}

// Distances 1 (models 0, 1), 2 (models 2, 3) and between these pairs 4, 5, 6, 7.
DistanceMatrix twoPairs() {
    return symmetricMatrix(4, {1, 4, 6, 5, 7, 2});
}

std::string printed(DistanceMatrix matrix, const ClusterSettings& settings, int logLevel = 1) {
    test::CapturedLog captured(logLevel);
    clusterModels(matrix, countedIds(matrix.rows()), settings, nullptr, captured.log);
    EXPECT_EQ(captured.error(), "");
    return captured.output();
}

TEST(HierarchicalClustering, EndsItsSearchWhereItShould) {
    struct Case {
        const char* name;
        double threshold, most, step;
        std::uint32_t wanted;
        const char* line;
    };
    // Single linkage joins at 1, 2 and 4.
    const Case cases[] = {
        {"maximum raised", 5.0, 3.0, 0.5, 9, "1 Clusters @ Threshold  5.000 (5)"},
        {"wanted size 1", 0.5, 3.0, 0.5, 1, "4 Clusters @ Threshold  0.500 (0.5)"},
        {"wanted size 0", 0.5, 3.0, 0.5, 0, "4 Clusters @ Threshold  0.500 (0.5)"},
        {"at the distance", 1.0, 3.0, 0.5, 2, "3 Clusters @ Threshold  1.000 (1)"},
        {"more than there are", 0.5, 6.0, 2.0, 5, "1 Clusters @ Threshold  6.500 (6.5)"},
        {"above the maximum", 0.5, 3.0, 2.0, 3, "1 Clusters @ Threshold  4.500 (4.5)"},
        {"step 0", 0.5, 3.0, 0.0, 3, "4 Clusters @ Threshold  0.500 (0.5)"},
        {"negative step", 0.5, 3.0, -1.0, 3, "4 Clusters @ Threshold  0.500 (0.5)"},
        {"step without effect", 0.5, 3.0, 1e-300, 3, "4 Clusters @ Threshold  0.500 (0.5)"},
        {"tiny steps", 0.5, 3.0, 1e-14, 2, "3 Clusters @ Threshold  1.000 (1)"},
        {"huge", 1e308, 1.1e308, 1e308, 9, "1 Clusters @ Threshold    inf (inf)"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const ClusterSettings settings{
            test.threshold, test.most, test.step, test.wanted, 5, 1, 0.0};
        EXPECT_THAT(printed(twoPairs(), settings), testing::HasSubstr(test.line));
    }
    // Every other code is single linkage, too.
    EXPECT_THAT(printed(twoPairs(), {3.0, 8.0, 1.0, 4, 5, 9, 0.0}),
                testing::HasSubstr("Pairwise single linkage clustering\n"));
}

TEST(HierarchicalClustering, EndsAtTheSameCutWhetherStepsArePrintedOrNot) {
    for (int method = 1; method <= 3; ++method) {
        for (std::uint32_t wanted = 0; wanted < 42; wanted += 3) {
            const ClusterSettings settings{0.1, 6.0, 0.037, wanted, 5, method, 0.0};
            const DistanceMatrix matrix = randomMatrix(40, wanted + 1);
            const std::string quiet = printed(matrix, settings);
            const std::string steps = printed(matrix, settings, 3);
            EXPECT_EQ(quiet.substr(quiet.find(" Clusters @") - 2),
                      steps.substr(steps.find(" Clusters @") - 2));
        }
    }
    // Not each of 10^16 steps is printed.
    for (const int method : {1, 5}) {
        const std::string steps = printed(twoPairs(), {0.5, 1e300, 0.05, 9, 9, method, 0.0}, 3);
        EXPECT_NEAR(static_cast<double>(std::count(steps.begin(), steps.end(), '\n')), 10000.0,
                    50.0);
    }
}

TEST(HierarchicalClustering, OfNoModelOrOneIsATableOfThatSize) {
    const ClusterSettings settings{1.0, 2.0, 0.5, 50, 5, 1, 0.0};
    EXPECT_THAT(printed(DistanceMatrix(1, 1, 1.0F), settings),
                testing::HasSubstr("INFO  : 1 Clusters @ Threshold  2.000 (2)\n"));
    EXPECT_THAT(printed(DistanceMatrix(), settings),
                testing::HasSubstr("INFO  : 0 Clusters @ Threshold  2.000 (2)\n"));
}

}  // namespace
}  // namespace tervolanda
