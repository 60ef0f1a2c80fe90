#include "cluster/batch/batch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
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

class PairList final : public PairRecorder {
 public:
    void record(BatchPair pair, const ComparisonResult& result) override {
        pairs.emplace_back(pair.experiment, pair.prediction);
        maxsub = result.maxsub;
    }
    std::vector<std::pair<std::size_t, std::size_t>> pairs;
    double maxsub = 0.0;  // of the last
};

MaxSubBatch maxSubOf(const ChainList& models, const ComparisonParameters& parameters,
                     PairRecorder* recorder = nullptr) {
    test::CapturedLog captured;
    const PreparedList prepared(models, AtomSelection::Calpha, parameters, captured.report);
    return compareAllMaxSub(prepared, parameters, recorder, captured.log, captured.report);
}

RmsdBatch rmsdOf(const ChainList& models, const RmsdOptions& options = {}) {
    test::CapturedLog captured;
    const PreparedList prepared(models, AtomSelection::Calpha, {}, captured.report);
    return compareAllRmsd(prepared, options, captured.log, captured.report);
}

TEST(MaxSubBatch, HoldsTheScoresOfEveryPairInBothDirections) {
    const ChainList models = fourModels();
    test::CapturedLog captured;
    ComparisonWorkspace workspace;
    for (const bool ranksByTM : {true, false}) {
        ComparisonParameters parameters;
        parameters.rankByTM = ranksByTM;
        PairList order;
        const MaxSubBatch batch = maxSubOf(models, parameters, &order);
        EXPECT_THAT(order.pairs, ElementsAre(std::pair(1, 0), std::pair(2, 1), std::pair(2, 0),
                                             std::pair(3, 2), std::pair(3, 1), std::pair(3, 0)));
        const PreparedList prepared(models, AtomSelection::Calpha, parameters, captured.report);
        for (const auto& [i, j] : order.pairs) {
            ComparisonResult alone;
            compareMaxSub(prepared.sets()[i], prepared.sets()[j], parameters, workspace,
                          captured.report, alone);
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
    PairList list;
    const MaxSubBatch batch = maxSubOf(fourModels(), parameters, &list);
    EXPECT_FLOAT_EQ(batch.scores.at(3, 0), static_cast<float>(list.maxsub));
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
    RmsdOptions options;
    options.urmsd = false;
    EXPECT_EQ(rmsdOf(models, options).urmsd.at(0, 2), 0.0F);
}

TEST(Batch, PrintsTheLinesOfEachPairAfterItsNames) {
    // Rows are computed four at a time, but the pairs without a fit speak up in their places.
    const Chain chain = test::coil(12, 1);
    Chain mirrored = chain;
    for (Atom& atom : mirrored.atoms)
        atom.z = -atom.z;
    ChainList models{{chain, mirrored, test::moved(chain), mirrored, chain, mirrored}};
    std::string expected;
    for (std::size_t i = 0; i < 6; ++i) {
        models.chains[i].fileName = std::to_string(i);
        for (std::size_t j = i; j-- > 0;) {
            expected += std::to_string(j) + " vs. " + std::to_string(i) + "\n";
            if (i % 2 != j % 2) expected += "RMSD failed, unable to converge\n";
        }
    }
    test::CapturedLog captured(1, 3);
    const PreparedList prepared(models, AtomSelection::Calpha, {}, captured.report);
    compareAllRmsd(prepared, {}, captured.log, captured.report);
    EXPECT_EQ(captured.reported(), expected);
}

TEST(Batch, CountsItsProgressByTwenties) {
    test::CapturedLog captured;
    const ChainList models{std::vector<Chain>(7, test::helix(12))};
    const PreparedList prepared(models, AtomSelection::Calpha, {}, captured.report);
    compareAllGdt(prepared, {}, captured.log, captured.report);
    const std::string first = "INFO  : Processed 0 of 21 GDTs";
    EXPECT_EQ(captured.output(),
              first + std::string(first.size(), '\b') + "INFO  : Processed 20 of 21 GDTs\n");
}

}  // namespace
}  // namespace tervolanda
