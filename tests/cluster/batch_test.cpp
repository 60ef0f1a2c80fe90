#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/format.h"
#include "cluster/cluster.h"
#include "compare/workspace.h"
#include "driver/log.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

ComparisonParameters usualParameters() {
    ComparisonParameters parameters;
    parameters.seedLevels = 2;
    parameters.minIterationPairs = 4;
    return parameters;
}

ChainList asList(std::vector<Chain> chains) {
    ChainList list{std::move(chains)};
    for (std::uint32_t i = 0; i < list.chains.size(); ++i) {
        list.chains[i].number = 10 * i + 1;
        list.chains[i].fileName = format("m%u%%s", i);
    }
    return list;
}

// A coil, two shaken copies of it, one of them without its tail, and an unrelated chain.
ChainList fourModels() {
    Chain shorter = test::coil(45, 3);
    const Chain whole = test::coil(60, 3);
    return asList({whole, test::moved(test::shaken(whole, 1.5, 1)),
                   test::moved(test::shaken(shorter, 0.5, 2)), test::coil(50, 9)});
}

// Residue numbers that no other chain has.
Chain renumbered(Chain chain) {
    for (Atom& atom : chain.atoms)
        atom.residueNumber = static_cast<std::int16_t>(atom.residueNumber + 1000);
    return chain;
}

TEST(MaxSubBatch, HoldsTheScoresOfEveryPairInBothDirections) {
    const ChainList models = fourModels();
    test::CapturedLog captured;
    ComparisonWorkspace workspace;
    for (const bool ranksByTM : {true, false}) {
        ComparisonParameters parameters = usualParameters();
        parameters.rankByTM = ranksByTM;
        std::vector<std::pair<std::size_t, std::size_t>> order;
        const MaxSubBatch batch = compareAllMaxSub(
            models, parameters,
            [&order](std::size_t i, std::size_t j, const ComparisonResult&) {
                order.emplace_back(i, j);
            },
            captured.log, captured.report);
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
    const ChainList models = fourModels();
    test::CapturedLog captured;
    ComparisonParameters parameters = usualParameters();
    parameters.normLength = 60;
    const MaxSubBatch byTM =
        compareAllMaxSub(models, parameters, nullptr, captured.log, captured.report);
    EXPECT_GT(byTM.scores.at(2, 0), 0.5F);
    EXPECT_EQ(byTM.scores.at(2, 0), byTM.scores.at(0, 2));
    // The length is that of the TM-score alone.
    parameters.rankByTM = false;
    const MaxSubBatch byMaxSub =
        compareAllMaxSub(models, parameters, nullptr, captured.log, captured.report);
    EXPECT_FLOAT_EQ(byMaxSub.scores.at(2, 0) * 0.75F, byMaxSub.scores.at(0, 2));
}

TEST(MaxSubBatch, WithIterationsRanksByMaxSubAndKeepsNoRmsd) {
    const ChainList models = fourModels();
    test::CapturedLog captured(1, 3);
    ComparisonParameters parameters = usualParameters();
    parameters.iterations = 2;
    double maxsub = 0.0;
    const MaxSubBatch batch = compareAllMaxSub(
        models, parameters,
        [&maxsub](std::size_t i, std::size_t j, const ComparisonResult& result) {
            if (i == 3 && j == 0) maxsub = result.maxsub;
        },
        captured.log, captured.report);
    EXPECT_FLOAT_EQ(batch.scores.at(3, 0), static_cast<float>(maxsub));
    EXPECT_EQ(batch.rmsd.at(1, 0), 0.0F);
    EXPECT_THAT(
        captured.reported(),
        HasSubstr(format("Total: Pairs=%4u. MAXSUB=%5.3f. MSI=", batch.pairs.at(3, 0), maxsub)));
}

TEST(MaxSubBatch, ShowsNamesAndSuperpositionsInVerboseRuns) {
    const ChainList models = asList({test::helix(30), test::moved(test::helix(30))});
    const auto reported = [&models](int reportLevel, const PairSink& sink) {
        test::CapturedLog captured(1, reportLevel);
        compareAllMaxSub(models, usualParameters(), sink, captured.log, captured.report);
        return captured.reported();
    };
    Superposition kept;
    const PairSink sink = [&kept](std::size_t, std::size_t, const ComparisonResult& result) {
        kept = result.iterations.front().superposition;
    };
    EXPECT_EQ(reported(2, sink), "");
    const std::string text = reported(3, sink);
    EXPECT_THAT(text, testing::StartsWith("m0%s vs. m1%s\n"));
    const auto& e = kept.experimentCentre;
    const auto& p = kept.predictionCentre;
    const auto& r = kept.rotation;
    const auto line = [](const char* head, double x, double y, double z) {
        return format("%-12s %10.6f %10.6f %10.6f\n", head, x, y, z);
    };
    EXPECT_THAT(text, testing::EndsWith(line("Center Pred.", p[0], p[1], p[2]) +
                                        line("Center Exp.", e[0], e[1], e[2]) +
                                        line("Translation", e[0] - p[0], e[1] - p[1], e[2] - p[2]) +
                                        line("Rot. Mat.", r[0], r[1], r[2]) +
                                        line("", r[3], r[4], r[5]) + line("", r[6], r[7], r[8])));
    // Without anyone who keeps it the superposition is not shown.
    EXPECT_THAT(reported(3, nullptr), testing::Not(HasSubstr("Center")));
}

TEST(GdtBatch, IsSymmetricAndKnowsIdenticalModels) {
    const Chain chain = test::coil(40, 5);
    const ChainList models = asList({chain, test::moved(chain), test::coil(40, 6)});
    test::CapturedLog captured;
    ComparisonParameters parameters = usualParameters();
    const GdtBatch batch = compareAllGdt(models, parameters, captured.log, captured.report);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(batch.gdt.at(i, i), 100.0F);
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_EQ(batch.gdt.at(i, j), batch.gdt.at(j, i));
    }
    EXPECT_FLOAT_EQ(batch.gdt.at(1, 0), 100.0F);
    EXPECT_LT(batch.gdt.at(2, 0), 60.0F);
}

TEST(RmsdBatch, HoldsFitsAndMarksPairsWithoutOne) {
    const Chain chain = test::coil(40, 5);
    const ChainList models = asList(
        {chain, test::moved(chain), test::shaken(chain, 1.0, 4), renumbered(test::coil(30, 8))});
    test::CapturedLog captured;
    RmsdBatchOptions options;
    const RmsdBatch batch =
        compareAllRmsd(models, usualParameters(), options, captured.log, captured.report);
    EXPECT_NEAR(batch.rmsd.at(1, 0), 0.0F, 1e-5F);
    EXPECT_NEAR(batch.urmsd.at(1, 0), 0.0F, 1e-5F);
    EXPECT_EQ(batch.rmsd.at(2, 0), batch.rmsd.at(0, 2));
    EXPECT_GT(batch.rmsd.at(2, 0), 0.1F);  // at most 1 Å an axis
    EXPECT_LT(batch.rmsd.at(2, 0), 1.8F);
    EXPECT_NEAR(batch.rmsd.at(2, 0), batch.rmsd.at(2, 1), 1e-4F);
    EXPECT_GT(batch.urmsd.at(0, 2), 0.0F);
    EXPECT_EQ(batch.pairs.at(0, 2), 40U);
    for (std::size_t j = 0; j < 3; ++j) {
        EXPECT_EQ(batch.rmsd.at(3, j), -1.0F);
        EXPECT_EQ(batch.rmsd.at(j, 3), -1.0F);
        EXPECT_EQ(batch.urmsd.at(3, j), 0.0F);
        EXPECT_EQ(batch.pairs.at(j, 3), 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(batch.rmsd.at(i, i), 1.0F);
        EXPECT_EQ(batch.urmsd.at(i, i), 0.0F);
        EXPECT_EQ(batch.pairs.at(i, i), i < 3 ? 40U : 30U);
    }
    options.rmsd.urmsd = false;
    EXPECT_EQ(compareAllRmsd(models, usualParameters(), options, captured.log, captured.report)
                  .urmsd.at(0, 2),
              0.0F);
}

TEST(Batch, CountsItsProgressByTwenties) {
    const auto progress = [](std::size_t models, const char* what) {
        ChainList list = asList(std::vector<Chain>(models, test::helix(12)));
        test::CapturedLog captured;
        if (what[0] == 'G') {
            compareAllGdt(list, usualParameters(), captured.log, captured.report);
        } else if (what[0] == 'M') {
            compareAllMaxSub(list, usualParameters(), nullptr, captured.log, captured.report);
        } else {
            compareAllRmsd(list, usualParameters(), {}, captured.log, captured.report);
        }
        return captured.output();
    };
    const std::string backspaces(std::string("INFO  : Processed 0 of 21 RMSDs").size(), '\b');
    EXPECT_EQ(progress(7, "RMSD"), "INFO  : Processed 0 of 21 RMSDs" + backspaces +
                                       "INFO  : Processed 20 of 21 RMSDs\n");
    EXPECT_EQ(progress(3, "MAXSUB"), "INFO  : Processed 0 of 3 MAXSUBs\n");
    EXPECT_EQ(progress(2, "GDT"), "INFO  : Processed 0 of 1 GDTs\n");
    EXPECT_EQ(progress(1, "RMSD"), "");
    EXPECT_EQ(progress(0, "MAXSUB"), "");
}

}  // namespace
}  // namespace tervolanda
