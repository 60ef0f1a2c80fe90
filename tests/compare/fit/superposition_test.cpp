#include "compare/fit/superposition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

PairedPoints paired(const Chain& experiment, const Chain& prediction) {
    PairedPoints pairs;
    for (const Atom& a : experiment.atoms)
        pairs.experiment.append(a.x, a.y, a.z);
    for (const Atom& a : prediction.atoms)
        pairs.prediction.append(a.x, a.y, a.z);
    pairs.centre();
    return pairs;
}

std::optional<double> rmsdOf(const Chain& experiment, const Chain& prediction) {
    const PairedPoints pairs = paired(experiment, prediction);
    const auto fit = fitPairs(pairs, bestKernels());
    if (!fit) return std::nullopt;
    std::vector<double> squared(pairs.size());
    squaredDeviations(pairs, *fit, bestKernels(), squared);
    return fitRmsd(*fit, squared);
}

TEST(Superposition, AgreesWithSingularValuesOnChainsOfEverySize) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const std::size_t n = 4 + seed % 60;
        const Chain experiment = coil(n, seed);
        const Chain prediction =
            seed % 2 == 0 ? moved(shaken(experiment, 0.05 * seed, seed + 1)) : coil(n, seed + 1000);
        std::vector<Place> p, e;
        for (const Atom& a : prediction.atoms)
            p.push_back({a.x, a.y, a.z});
        for (const Atom& a : experiment.atoms)
            e.push_back({a.x, a.y, a.z});
        const LiteralFit expected = literalFit(p, e);
        const PairedPoints pairs = paired(experiment, prediction);
        const auto fit = fitPairs(pairs, bestKernels());
        ASSERT_TRUE(fit) << seed;
        EXPECT_NEAR(*rmsdOf(experiment, prediction), expected.rmsd, 1e-9) << seed;
        const Superposition found = asSuperposition(pairs, *fit);
        for (std::size_t k = 0; k < 9; ++k) {
            EXPECT_NEAR(found.rotation[k], expected.rotation[k], 1e-7) << seed;
        }
    }
}

TEST(Superposition, OfIdenticalAndMovedSetsIsExact) {
    const Chain chain = coil(50, 3);
    EXPECT_EQ(rmsdOf(chain, chain), 0.0);
    const auto fit = fitPairs(paired(chain, chain), bestKernels());
    for (std::size_t k = 0; k < 9; ++k) {
        EXPECT_NEAR(fit->rotation[k], k % 4 == 0 ? 1.0 : 0.0, 1e-12);
    }
    EXPECT_LT(*rmsdOf(chain, moved(chain)), 1e-12);
}

TEST(Superposition, NeverFitsAMirrorImageOrInfinity) {
    EXPECT_FALSE(rmsdOf(helix(30), mirrored(helix(30))));
    EXPECT_FALSE(rmsdOf(coil(40, 1), moved(mirrored(coil(40, 1)))));
    Chain huge = coil(10, 1);  // nor what is not finite
    huge.atoms[4].x = 1e300;
    EXPECT_FALSE(rmsdOf(coil(10, 1), huge));
    // Nearly a mirror image is a bad fit, but one.
    EXPECT_GT(rmsdOf(coil(40, 1), mirrored(shaken(coil(40, 1), 0.1, 2))).value_or(-1.0), 1.0);
}

TEST(Superposition, OfPlanarAndCollinearSetsIsAProperRotation) {
    const std::vector<std::vector<Place>> sets = {
        {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}},                          // collinear
        {{0, 0, 0}, {3.8, 0, 0}, {3.8, 3.8, 0}, {7.6, 3.8, 0}},     // planar
        {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}},                          // one place
        {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, -1, -1}}  // symmetric
    };
    for (const auto& places : sets) {
        const Chain chain = calphaChain(places);
        const PairedPoints pairs = paired(chain, moved(chain));
        const auto fit = fitPairs(pairs, bestKernels());
        ASSERT_TRUE(fit);
        EXPECT_NEAR(determinant(fit->rotation), 1.0, 1e-9);
        EXPECT_NEAR(*rmsdOf(chain, moved(chain)), 0.0, 1e-7);
    }
}

// On a line the two largest eigenvalues are one, and Newton's method has nothing to go by.
TEST(Superposition, OfALineOntoItselfIsExactInEveryDirection) {
    std::mt19937 engine(1);
    for (std::size_t round = 0; round < 2000; ++round) {
        Place step;
        for (double& component : step)
            component = static_cast<double>(engine()) / 2147483648.0 - 1.0;
        std::vector<Place> places(4 + round % 30);
        for (std::size_t i = 0; i < places.size(); ++i) {
            for (std::size_t k = 0; k < 3; ++k)
                places[i][k] = 3.8 * static_cast<double>(i) * step[k];
        }
        const Chain line = calphaChain(places);
        ASSERT_LT(rmsdOf(line, line).value_or(1.0), 1e-7) << round;
    }
}

}  // namespace
}  // namespace tervolanda::test
