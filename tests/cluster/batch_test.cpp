#include "cluster/batch/batch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "compare/workspace.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using testing::ElementsAre;

// A coil, two shaken copies of it, one of them without its tail, and an unrelated chain.
ChainList fourModels() {
    const Chain whole = test::coil(60, 3);
    return {{whole, test::moved(test::shaken(whole, 1.5, 1)),
             test::moved(test::shaken(test::coil(45, 3), 0.5, 2)), test::coil(50, 9)}};
}

MaxSubBatch maxSubOf(const ChainList& models, const ComparisonParameters& parameters,
                     const PairSink& sink = nullptr) {
    test::CapturedLog captured;
    return compareAllMaxSub(models, parameters, sink, captured.log, captured.report);
}

RmsdBatch rmsdOf(const ChainList& models, const RmsdBatchOptions& options = {}) {
    test::CapturedLog captured;
    return compareAllRmsd(models, {}, options, captured.log, captured.report);
}

TEST(MaxSubBatch, HoldsTheScoresOfEveryPairInBothDirections) {
    const ChainList models = fourModels();
    test::CapturedLog captured;
    ComparisonWorkspace workspace;
    for (const bool ranksByTM : {true, false}) {
        ComparisonParameters parameters;
        parameters.rankByTM = ranksByTM;
        std::vector<std::pair<std::size_t, std::size_t>> order;
        const PairSink sink = [&order](std::size_t i, std::size_t j, const ComparisonResult&) {
            order.emplace_back(i, j);
        };
        const MaxSubBatch batch = maxSubOf(models, parameters, sink);
        EXPECT_THAT(order, ElementsAre(std::pair(1, 0), std::pair(2, 1), std::pair(2, 0),
                                       std::pair(3, 2), std::pair(3, 1), std::pair(3, 0)));
        for (const auto& [i, j] : order) {
            const auto set = [&](std::size_t model) {
                return prepareChain(models.chains[model], AtomSelection::Calpha, parameters,
                                    captured.report);
            };
            ComparisonResult alone;
            compareMaxSub(set(i), set(j), parameters, workspace, captured.report, alone);
            const double score = ranksByTM ? alone.tm : alone.maxsub;
            const double lengths = static_cast<double>(models.chains[i].residues.size()) /
                                   static_cast<double>(models.chains[j].residues.size());
            EXPECT_FLOAT_EQ(batch.scores.at(i, j), static_cast<float>(score));
            EXPECT_FLOAT_EQ(batch.scores.at(j, i), static_cast<float>(score * lengths));
            EXPECT_FLOAT_EQ(batch.rmsd.at(i, j), static_cast<float>(alone.rmsd));
            EXPECT_FLOAT_EQ(batch.rmsd.at(j, i), static_cast<float>(alone.rmsd));
            EXPECT_EQ(batch.pairs.at(i, j), alone.pairs);
            EXPECT_EQ(batch.pairs.at(j, i), alone.pairs);
        }
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(batch.scores.at(i, i), 1.0F);
        EXPECT_EQ(batch.pairs.at(2, 2), 45U);
        EXPECT_GT(batch.scores.at(2, 0), 0.7F);  // of the shorter model nearly all fits
    }
}

TEST(MaxSubBatch, MirrorsScoresOfAGivenLengthUnchanged) {
    ComparisonParameters parameters;
    parameters.normLength = 60;
    const MaxSubBatch byTM = maxSubOf(fourModels(), parameters);
    EXPECT_GT(byTM.scores.at(2, 0), 0.5F);
    EXPECT_EQ(byTM.scores.at(2, 0), byTM.scores.at(0, 2));
    // The length is that of the TM-score alone.
    parameters.rankByTM = false;
    const MaxSubBatch byMaxSub = maxSubOf(fourModels(), parameters);
    EXPECT_FLOAT_EQ(byMaxSub.scores.at(2, 0) * 0.75F, byMaxSub.scores.at(0, 2));
}

TEST(MaxSubBatch, WithIterationsRanksByMaxSubAndKeepsNoRmsd) {
    ComparisonParameters parameters;
    parameters.iterations = 2;
    double maxsub = 0.0;
    const PairSink sink = [&maxsub](std::size_t, std::size_t, const ComparisonResult& result) {
        maxsub = result.maxsub;
    };
    const MaxSubBatch batch = maxSubOf(fourModels(), parameters, sink);
    EXPECT_FLOAT_EQ(batch.scores.at(3, 0), static_cast<float>(maxsub));
    EXPECT_EQ(batch.rmsd.at(1, 0), 0.0F);
}

TEST(RmsdBatch, HoldsFitsAndMarksPairsWithoutOne) {
    const Chain chain = test::coil(40, 5);
    const Chain strange = test::renumbered(test::coil(30, 8), 1000);
    const ChainList models{{chain, test::moved(chain), test::shaken(chain, 1.0, 4), strange,
                            Chain{}}};  // a model may be without C-alpha atoms
    const RmsdBatch batch = rmsdOf(models);
    EXPECT_NEAR(batch.rmsd.at(1, 0), 0.0F, 1e-5F);
    EXPECT_NEAR(batch.urmsd.at(1, 0), 0.0F, 1e-5F);
    EXPECT_EQ(batch.rmsd.at(2, 0), batch.rmsd.at(0, 2));
    EXPECT_GT(batch.rmsd.at(2, 0), 0.1F);  // at most 1 Å an axis
    EXPECT_LT(batch.rmsd.at(2, 0), 1.8F);
    EXPECT_NEAR(batch.rmsd.at(2, 0), batch.rmsd.at(2, 1), 1e-4F);
    EXPECT_GT(batch.urmsd.at(0, 2), 0.0F);
    for (std::size_t i = 0; i < 5; ++i) {
        for (std::size_t j = 0; j < 5; ++j) {
            const bool isFitted = i < 3 && j < 3;
            EXPECT_EQ(batch.pairs.at(i, j), isFitted ? 40U : i == 3 && j == 3 ? 30U : 0U);
            if (i != j && isFitted) continue;
            EXPECT_EQ(batch.rmsd.at(i, j), i == j ? 1.0F : -1.0F);
            EXPECT_EQ(batch.urmsd.at(i, j), 0.0F);
        }
    }
    RmsdBatchOptions options;
    options.rmsd.urmsd = false;
    EXPECT_EQ(rmsdOf(models, options).urmsd.at(0, 2), 0.0F);
}

TEST(Batch, CountsItsProgressByTwenties) {
    test::CapturedLog captured;
    const ChainList models{std::vector<Chain>(7, test::helix(12))};
    compareAllGdt(models, {}, captured.log, captured.report);
    const std::string first = "INFO  : Processed 0 of 21 GDTs";
    EXPECT_EQ(captured.output(),
              first + std::string(first.size(), '\b') + "INFO  : Processed 20 of 21 GDTs\n");
}

}  // namespace
}  // namespace tervolanda
