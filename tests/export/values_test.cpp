// What comparisons and clusterings found, as the values that files of results show.
#include "export/values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "support/support.h"

namespace tervolanda {
namespace {

// Two chains and the search of the one in the other.
struct Searched {
    Searched(Chain of, Chain with) : experiment(std::move(of)), prediction(std::move(with)) {
        gdt = compareGdt(sets[0], sets[1], parameters, workspace, log.report, found);
    }

    Chain experiment, prediction;
    test::CapturedLog log;
    ComparisonParameters parameters;
    CoordinateSet sets[2] = {
        prepareChain(experiment, AtomSelection::Calpha, parameters, log.report),
        prepareChain(prediction, AtomSelection::Calpha, parameters, log.report)};
    ComparisonWorkspace workspace;
    ComparisonResult found;
    GdtResult gdt;
    ComparedPair pair{{}, sets[0], sets[1]};
    PairForm form{.parameters = parameters, .detail = PairDetail::Residues};
};

TEST(PairValues, HaveEveryPairAndItsDistanceInTheSubsetOrNot) {
    const Chain chain = test::coil(30, 1);
    Chain bent = test::moved(chain);
    for (std::size_t i = 24; i < 30; ++i)
        bent.atoms[i].x += 20.0;
    Searched searched(chain, bent);
    PairResult result;
    fillPair(searched.pair, searched.found, searched.form, result);
    std::set<std::uint32_t> subset;
    for (const MatchedPair& matched : searched.found.matched)
        subset.insert(matched.experiment);
    EXPECT_THAT(subset.size(), testing::AllOf(testing::Ge(20U), testing::Le(24U)));
    ASSERT_EQ(result.residues.size(), 30U);
    for (std::uint32_t i = 0; i < 30; ++i) {
        const Atom& a = chain.atoms[i];
        const Atom& b = bent.atoms[i];
        const auto at = searched.found.iterations.front().superposition.apply(b.x, b.y, b.z);
        EXPECT_EQ(result.residues[i].domain, subset.count(i)) << i;
        EXPECT_NEAR(result.residues[i].distance, std::hypot(at[0] - a.x, at[1] - a.y, at[2] - a.z),
                    1e-9);
    }
}

TEST(PairValues, EndAStretchAtGapsAndInsertionCodes) {
    Chain chain = test::coil(30, 1);
    for (std::size_t i = 10; i < 30; ++i)
        chain.atoms[i].residueNumber = static_cast<std::int16_t>(i + 6);
    chain.atoms[20].residueNumber = 25;
    chain.atoms[20].insertionCode = 'A';
    Searched searched(chain, test::moved(chain));
    for (const PairDetail detail : {PairDetail::Matched, PairDetail::Residues}) {
        searched.form.detail = detail;
        PairResult result;
        fillPair(searched.pair, searched.found, searched.form, result);
        std::vector<std::pair<int, int>> found;
        for (const MatchedStretch& at : result.stretches) {
            EXPECT_TRUE(at.experimentFirst == at.predictionFirst && at.domain == 1);
            found.emplace_back(at.experimentFirst.number, at.predictionLast.number);
        }
        EXPECT_THAT(found, testing::ElementsAre(std::pair(1, 10), std::pair(16, 25),
                                                std::pair(25, 25), std::pair(27, 35)));
    }
}

TEST(PairValues, SayThatResiduesDoNotPairAndNotThatTheyDoNotFit) {
    const Searched searched(test::helix(20), test::renumbered(test::helix(20), 100));
    PairResult result;
    fillPair(searched.pair, searched.gdt, searched.found, searched.form, result);
    EXPECT_EQ(result.status, PairStatus::NoPairs);
}

TEST(PairValues, OfEqualPairsNoneIsBetter) {
    PairResult pair, other;
    EXPECT_FALSE(isBetter(pair, other, ScoreKind::Tm));
    pair.tm1 = pair.rmsd = 0.5;
    EXPECT_TRUE(isBetter(pair, other, ScoreKind::Tm) && isBetter(pair, other, ScoreKind::Rmsd));
    EXPECT_FALSE(isBetter(other, pair, ScoreKind::Tm) || isBetter(other, pair, ScoreKind::Rmsd));
    other = pair;
    EXPECT_FALSE(isBetter(pair, other, ScoreKind::Tm) || isBetter(pair, other, ScoreKind::Rmsd));
    other.tm1 = other.rmsd = 0.6;
    EXPECT_TRUE(isBetter(other, pair, ScoreKind::Tm) && isBetter(pair, other, ScoreKind::Rmsd));
}

// By linkage clusters are counted from 0, by neighbours from 1.
TEST(ModelValues, NumberClustersAsTheTablesDo) {
    Clustering clustering;
    clustering.centroids = {{.model = 2}, {.model = 1}};
    const auto numbers = [&clustering](ClusterMethod method, std::vector<std::uint32_t> clusters) {
        clustering.settings.method = method;
        clustering.clusters.cluster = std::move(clusters);
        std::vector<RankedModel> ranking(3);
        for (std::size_t i = 0; i < 3; ++i)
            ranking[i].model = i;
        addClusters(clustering, ranking);
        EXPECT_TRUE(ranking[2].isMedoid && !ranking[0].isMedoid);
        std::vector<std::uint32_t> found;
        for (const RankedModel& model : ranking)
            found.push_back(model.cluster.value_or(0));
        return found;
    };
    EXPECT_THAT(numbers(ClusterMethod::SingleLinkage, {0, 1, 0}), testing::ElementsAre(1, 2, 1));
    EXPECT_THAT(numbers(ClusterMethod::NeighboursMinSize, {0, 2, 1}),
                testing::ElementsAre(0, 2, 1));
}

// Each chain of a complex beside its own partner, whatever their order.
TEST(PageOfAPair, AlignsComplexesChainByChain) {
    const auto named = [](Chain chain, const char* name) {
        chain.name = name;
        return chain;
    };
    const std::vector<std::array<double, 3>> places = {
        {0, 0, 0}, {3, 2, 0}, {6, 0, 2}, {9, 3, 1}, {12, 1, 4}};
    auto others = places;
    for (auto& place : others)
        place[1] += 12.0;
    const Chain a = test::calphaChain(places, "ACDEF"), b = test::calphaChain(others, "GHIKL");
    const Chain shorter = test::calphaChain({others.begin(), others.end() - 1}, "GHIK");
    Searched searched(joinChains({named(a, "A"), named(shorter, "B")}),
                      joinChains({named(b, "B"), named(a, "A")}));
    std::vector<PairResult> results(1);
    fillPair(searched.pair, searched.found, searched.form, results[0]);
    PairingKeys keys;
    fillPairing(searched.pair, {}, keys, results[0]);
    results[0].prediction = 1;
    RunInputs inputs;
    inputs.chains = {&searched.experiment, &searched.prediction};
    inputs.structures = {inputOf(searched.experiment), inputOf(searched.prediction)};
    const test::TemporaryFolder folder;
    const auto page = makeReportPage(folder / "page.html");
    page->start(inputs);
    page->take(results[0]);
    page->finish({});
    ASSERT_TRUE(page->commit());
    EXPECT_THAT(test::readFile(folder.path() / "page.html"),
                testing::HasSubstr(R"("alignment":["GHIKLACDEF","|||| |||||","GHIK.ACDEF"])"));
}

}  // namespace
}  // namespace tervolanda
