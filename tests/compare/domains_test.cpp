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

TEST(DomainIterations, EndWhereBothThresholdsAreMissed) {
    const Chain chain = coil(120, 4);
    struct Case {
        double score;
        int pairs;
        std::size_t iterations;
    };
    // The second half scores about 1 of its own pairs, and has about 60 of them.
    for (const Case& c : {Case{0.0, 1000, 2}, Case{2.0, 4, 2}, Case{2.0, 1000, 0}}) {
        ComparisonParameters parameters = iterating(2);
        parameters.minIterationScore = c.score;
        parameters.minIterationPairs = c.pairs;
        const Compared compared = compare(chain, hinged(chain), parameters, 4);
        EXPECT_EQ(compared.result.iterations.size(), c.iterations);
        if (c.iterations == 0) {
            EXPECT_THAT(
                compared.lines,
                HasSubstr("\n\nExiting iterations at 1 / 2 - Insignificant MAXSUB scores\n"));
        }
    }
}

TEST(DomainIterations, StopWhenNearlyAllIsMatched) {
    const Compared compared = compare(coil(50, 1), coil(50, 1), iterating(7), 4);
    EXPECT_EQ(compared.result.iterations.size(), 1U);
    EXPECT_THAT(compared.lines,
                HasSubstr("Exiting iterations at 1 / 7 - No more subsets (50 / 50 matched)\n"));
}

GdtResult gdtOf(const Chain& experiment, const Chain& prediction, std::string* lines = nullptr,
                double cutoff = 4.0) {
    CapturedLog log(1, 3);
    ComparisonParameters parameters = defaultParameters();
    parameters.gdtCutoff = cutoff;
    ComparisonWorkspace workspace;
    ComparisonResult result;
    GdtResult gdt = compareGdt(prepared(experiment), prepared(prediction), parameters, workspace,
                               log.report, result);
    if (lines != nullptr) *lines = log.reported();
    return gdt;
}

TEST(CompareGdt, CountsResiduesOfTheExperimentWithinFourDistances) {
    std::string lines;
    EXPECT_EQ(gdtOf(coil(40, 1), coil(40, 1), &lines).gdt, 100.0);
    EXPECT_THAT(lines, HasSubstr("Percentage aligned at distance 1.000 = 100.00\n"
                                 "Percentage aligned at distance 2.000 = 100.00\n"
                                 "Percentage aligned at distance 4.000 = 100.00\n"
                                 "Percentage aligned at distance 8.000 = 100.00\n"));
    // Ten of forty residues are missing, and of the rest nothing deviates.
    EXPECT_DOUBLE_EQ(gdtOf(coil(40, 1), withoutResidues(coil(40, 1), 0, 10)).gdt, 75.0);
    EXPECT_EQ(gdtOf(coil(40, 1), coil(40, 1), nullptr, 0.0).gdt, 0.0);  // nothing is below 0
}

TEST(CompareGdt, AgreesWithACountUnderItsSuperposition) {
    const Chain experiment = coil(100, 9);
    const Chain prediction = moved(shaken(experiment, 4.0, 3));
    const GdtResult gdt = gdtOf(experiment, prediction);
    ASSERT_TRUE(gdt.superposition);
    Chain placed = prediction;
    applySuperposition(*gdt.superposition, placed);
    double sum = 0.0;
    for (const double r : {1.0, 2.0, 4.0, 8.0}) {
        for (std::size_t i = 0; i < 100; ++i) {
            const Atom &a = placed.atoms[i], &b = experiment.atoms[i];
            sum += std::hypot(a.x - b.x, a.y - b.y, a.z - b.z) < r ? 0.25 : 0.0;
        }
    }
    EXPECT_NEAR(gdt.gdt, sum, 1e-9);
    EXPECT_GT(gdt.gdt, 10.0);
    EXPECT_FALSE(gdtOf(helix(3), helix(3)).superposition);
}

}  // namespace
}  // namespace tervolanda::test
