#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

using testing::HasSubstr;

// A chain whose second half is turned by 60 degrees about its middle atom.
Chain hinged(Chain chain) {
    const std::size_t middle = chain.atoms.size() / 2;
    const Atom hinge = chain.atoms[middle];
    const double c = 0.5, s = std::sqrt(0.75);
    for (std::size_t i = middle; i < chain.atoms.size(); ++i) {
        Atom& atom = chain.atoms[i];
        const double x = atom.x - hinge.x, y = atom.y - hinge.y;
        atom.x = hinge.x + c * x - s * y;
        atom.y = hinge.y + s * x + c * y;
    }
    return chain;
}

ComparisonParameters iterating(unsigned iterations) {
    ComparisonParameters parameters = defaultParameters();
    parameters.iterations = iterations;
    return parameters;
}

TEST(DomainIterations, FindBothHalvesOfAHingedChain) {
    const Chain chain = coil(120, 4);
    const Compared single = compare(chain, hinged(chain), iterating(1));
    const Compared both = compare(chain, hinged(chain), iterating(2), 3);
    ASSERT_EQ(both.result.iterations.size(), 2U);
    EXPECT_GT(both.result.maxsub, single.result.maxsub + 0.2);
    EXPECT_EQ(both.result.tm, single.result.tm);
    const double first = both.result.iterations[0].score;
    const double second = both.result.iterations[1].score;
    EXPECT_DOUBLE_EQ(both.result.maxsub, first + second);
    EXPECT_DOUBLE_EQ(both.result.msi, first + (first + second));
    EXPECT_EQ(both.result.pairs, both.result.matched.size());
    // No residue is in two domains, and each domain's pairs lie on each other under its own fit.
    std::vector<int> used(120);
    for (const MatchedPair& pair : both.result.matched) {
        EXPECT_EQ(pair.experiment, pair.prediction);
        EXPECT_EQ(++used[pair.prediction], 1);
        const DomainIteration& iteration = both.result.iterations[pair.iteration];
        const Place p = placeOf(both.prediction, pair.prediction);
        const Place e = placeOf(both.experiment, pair.experiment);
        const Place q = iteration.superposition.apply(p[0], p[1], p[2]);
        EXPECT_LT(std::hypot(q[0] - e[0], q[1] - e[1], q[2] - e[2]), iteration.distanceCutoff);
    }
    EXPECT_THAT(both.lines, HasSubstr("\nIter 2: Pairs="));
}

TEST(DomainIterations, CountAtTheThresholdsThemselves) {
    const Chain chain = coil(60, 4);  // scores 1 with 60 pairs
    for (const auto& [score, pairs, count] :
         {std::tuple(1.0, 1000, 1U), {1.001, 1000, 0U}, {2.0, 60, 1U}, {2.0, 61, 0U}}) {
        ComparisonParameters parameters = iterating(2);
        parameters.minIterationScore = score;
        parameters.minIterationPairs = pairs;
        EXPECT_EQ(compare(chain, chain, parameters).result.iterations.size(), count) << pairs;
    }
}

// The cut-off follows from all mapped pairs, and later iterations have fewer.
TEST(CompareGdt, CalibratesTheCutoffOnceForAllIterations) {
    const Chain chain = coil(120, 4);
    const CoordinateSet experiment = prepared(chain), prediction = prepared(hinged(chain));
    for (const bool maximiseTM : {false, true}) {
        CapturedLog log;
        ComparisonParameters parameters = iterating(2);
        parameters.maximiseTM = maximiseTM;
        parameters.thresholdScale = 1.5;  // beyond the least cut-off with maximiseTM
        ComparisonWorkspace workspace;
        ComparisonResult result;
        compareMaxSub(experiment, prediction, parameters, workspace, log.report, result);
        ASSERT_EQ(result.iterations.size(), 2U);
        const double first = result.iterations[0].distanceCutoff;
        EXPECT_LT(result.iterations[1].distanceCutoff, first);
        compareGdt(experiment, prediction, parameters, workspace, log.report, result);
        ASSERT_EQ(result.iterations.size(), 2U);
        EXPECT_EQ(result.iterations[0].distanceCutoff, first);
        EXPECT_EQ(result.iterations[1].distanceCutoff, first);
    }
}

TEST(CompareGdt, AgreesWithACountUnderItsSuperposition) {
    const Chain experiment = coil(100, 9);
    const auto gdtOf = [&](const Chain& prediction, double cutoff) {
        CapturedLog log;
        ComparisonParameters parameters = defaultParameters();
        parameters.gdtCutoff = cutoff;
        ComparisonWorkspace workspace;
        ComparisonResult result;
        GdtResult gdt = compareGdt(prepared(experiment), prepared(prediction), parameters,
                                   workspace, log.report, result);
        if (gdt.superposition) {
            const Rotation& rotation = result.iterations.at(0).superposition.rotation;
            for (std::size_t k = 0; k < 9; ++k)
                EXPECT_NEAR(gdt.superposition->rotation[k], rotation[k], 1e-9);
        }
        return gdt;
    };
    const Chain prediction = moved(withoutResidues(shaken(experiment, 4.0, 3), 0, 10));
    for (const double cutoff : {4.0, 6.0}) {
        const GdtResult gdt = gdtOf(prediction, cutoff);
        ASSERT_TRUE(gdt.superposition);
        Chain placed = prediction;
        applySuperposition(*gdt.superposition, placed);
        double sum = 0.0;  // of 100 residues at four distances
        for (const double factor : {0.25, 0.5, 1.0, 2.0}) {
            for (std::size_t i = 0; i < placed.atoms.size(); ++i) {
                const Atom &a = placed.atoms[i], &b = experiment.atoms[i + 10];
                const double distance = std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
                sum += distance < factor * cutoff ? 0.25 : 0.0;
            }
        }
        EXPECT_NEAR(gdt.gdt, sum, 1e-9);
        EXPECT_GT(gdt.gdt, 10.0);
        EXPECT_LT(gdt.gdt, 80.0);
    }
    EXPECT_EQ(gdtOf(experiment, 0.0).gdt, 0.0);  // nothing is below 0
    EXPECT_FALSE(gdtOf(withoutResidues(experiment, 3, 100), 4.0).superposition);
}

}  // namespace
}  // namespace tervolanda::test
