#include "cluster/cluster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/format.h"
#include "cluster/matrices.h"

namespace tervolanda {
namespace {

using test::kNaN;
using test::symmetricMatrix;
using testing::ElementsAre;

TEST(ClusterModels, ConvertsSimilaritiesInPlace) {
    DistanceMatrix matrix = symmetricMatrix(3, {0.75F, 0.25F, 0.5F});
    for (std::size_t i = 0; i < 3; ++i)
        matrix.at(i, i) = 1.0F;
    ClusterSettings settings;
    settings.method = ClusterMethod::SingleLinkage;
    settings.values = MatrixValues::Similarities;
    settings.threshold = 0.5;
    EXPECT_THAT(clusterModels(matrix, settings)->clusters.cluster, ElementsAre(0, 0, 0));
    EXPECT_THAT(matrix.values(),
                ElementsAre(0.0F, 0.25F, 0.75F, 0.25F, 0.0F, 0.5F, 0.75F, 0.5F, 0.0F));
}

TEST(Jury, CountsPairsFromBothThresholdsOn) {
    DistanceMatrix scores = symmetricMatrix(4, {0.5F, 0.49F, 0.5F, kNaN, 0.9F, 0.9F});
    PairMatrix pairs(4, 4, 30U);
    for (std::size_t i = 0; i < 4; ++i)
        scores.at(i, i) = 1.0F;
    pairs.at(3, 3) = 19;  // its own pairs are too few
    pairs.at(1, 0) = 20;  // just enough
    pairs.at(3, 1) = 19;  // too few
    std::string ranking;
    for (const JuryScore& entry : rankByJury(scores, pairs, 0.5, 20))
        ranking += format("%u: %u, ", entry.model, entry.score);
    // Model 0: itself and 1; 1: 0 (20), itself, 2 and 3; 2: 1, itself and 3; 3: 2 only.
    EXPECT_EQ(ranking, "1: 110, 2: 90, 0: 60, 3: 30, ");
}

TEST(Jury, ComparesScoresAsDoublesAndSaturates) {
    // The float nearest to 0.2 is above 0.2, that nearest to 0.7 below 0.7.
    const PairMatrix pairs(1, 1, 7U);
    EXPECT_EQ(rankByJury(DistanceMatrix(1, 1, 0.2F), pairs, 0.2, 0)[0].score, 7U);
    EXPECT_EQ(rankByJury(DistanceMatrix(1, 1, 0.7F), pairs, 0.7, 0)[0].score, 0U);
    EXPECT_EQ(rankByJury(DistanceMatrix(1, 1, kNaN), pairs, 0.0, 0)[0].score, 0U);
    const PairMatrix huge(3, 3, 0x80000000U);
    EXPECT_EQ(rankByJury(DistanceMatrix(3, 3, 1.0F), huge, 0.0, 0)[2].score, 0xFFFFFFFFU);
    EXPECT_TRUE(rankByJury(DistanceMatrix(), PairMatrix(), 0.0, 0).empty());
    const StopFlag stop{true};
    EXPECT_THROW(rankByJury(DistanceMatrix(1, 1, 1.0F), pairs, 0.0, 0, &stop), Stopped);
    // Equal scores keep list order.
    const std::vector<JuryScore> equal =
        rankByJury(DistanceMatrix(20, 20, 1.0F), PairMatrix(20, 20, 1U), 0.0, 0);
    for (std::uint32_t i = 0; i < 20; ++i)
        EXPECT_EQ(equal[i].model, i);
}

TEST(OrderByRowSum, KeepsListOrderOfEqualSumsAndPutsNaNLast) {
    DistanceMatrix matrix(5, 2, 0.0F);
    const float values[] = {1, 2, kNaN, 0, 4, 1, 2, 1, -1, 0};
    std::copy(std::begin(values), std::end(values), matrix.values().begin());
    EXPECT_THAT(orderByRowSum(matrix, false), ElementsAre(4, 0, 3, 2, 1));
    EXPECT_THAT(orderByRowSum(matrix, true), ElementsAre(2, 0, 3, 4, 1));
    PairMatrix pairs(3, 2, 0xFFFFFFFFU);  // sums beyond 32 bits
    pairs.at(1, 0) = 5;
    EXPECT_THAT(orderByRowSum(pairs, false), ElementsAre(1, 0, 2));
    EXPECT_THAT(orderByRowSum(pairs, true), ElementsAre(0, 2, 1));
}

}  // namespace
}  // namespace tervolanda
