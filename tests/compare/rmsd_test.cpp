#include <gtest/gtest.h>

#include <cmath>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

TEST(CompareRmsd, PairsByPositionWhenTheEndsAgreeAndByResidueOtherwise) {
    Chain experiment = coil(10, 1);
    Chain prediction = experiment;
    // Two numbers in the middle exchanged: by position the chains are the same.
    std::swap(prediction.atoms[4].residueNumber, prediction.atoms[5].residueNumber);
    EXPECT_EQ(compareByRmsd(experiment, prediction).rmsd, 0.0);
    prediction.atoms.back().residueNumber = 11;
    const RmsdResult byResidue = compareByRmsd(experiment, prediction);
    EXPECT_EQ(byResidue.pairs, 9U);
    EXPECT_GT(*byResidue.rmsd, 0.1);
}

TEST(CompareRmsd, FailsForMirrorImages) {
    CapturedLog log(1, 3);
    ComparisonWorkspace workspace;
    RmsdResult result;
    compareRmsd(prepared(helix(20)), prepared(mirrored(helix(20))), {}, workspace, log.report,
                result);
    EXPECT_FALSE(result.rmsd);
    EXPECT_EQ(log.reported(), "RMSD failed, unable to converge\n");
}

// The fit of the unit vectors along the chains, by singular values.
LiteralFit unitVectorFit(const Chain& experiment, const Chain& prediction) {
    const auto vectors = [](const Chain& chain) {
        std::vector<Place> unit;
        for (std::size_t i = 0; i + 1 < chain.atoms.size(); ++i) {
            const Atom& a = chain.atoms[i];
            const Atom& b = chain.atoms[i + 1];
            const double length = std::hypot(b.x - a.x, b.y - a.y, b.z - a.z);
            unit.push_back({(b.x - a.x) / length, (b.y - a.y) / length, (b.z - a.z) / length});
        }
        return unit;
    };
    return literalFit(vectors(prediction), vectors(experiment));
}

TEST(CompareRmsd, UnitVectorRmsdFollowsItsDefinition) {
    const Chain experiment = coil(40, 1);
    const Chain prediction = moved(shaken(experiment, 3.0, 5));
    RmsdOptions options;
    options.urmsdRotation = true;
    const RmsdResult plain = compareByRmsd(experiment, prediction);
    const RmsdResult turned = compareByRmsd(experiment, prediction, options);
    const LiteralFit expected = unitVectorFit(experiment, prediction);
    EXPECT_NEAR(plain.urmsd, expected.rmsd, 1e-9);
    EXPECT_EQ(plain.rmsd, turned.rmsd);
    EXPECT_EQ(plain.superposition.experimentCentre, turned.superposition.experimentCentre);
    for (std::size_t k = 0; k < 9; ++k)
        EXPECT_NEAR(turned.superposition.rotation[k], expected.rotation[k], 1e-9);
    EXPECT_GT(std::abs(plain.superposition.rotation[0] - expected.rotation[0]), 1e-4);
    EXPECT_EQ(compareByRmsd(coil(3, 1), coil(3, 2)).urmsd, 0.0);
    EXPECT_GT(compareByRmsd(coil(4, 1), coil(4, 2)).urmsd, 0.0);
}

TEST(RelativeRmsd, FollowsThePublishedFormula) {
    // n = 38: x = -37, so that exp(x / 37) = 1/e; worked by hand with a = b = 12 Å.
    const double q = 0.42 + 0.05 * -37.0 * std::exp(-37.0 / 4.7) + 0.63 * 0.36787944117144233;
    const double expected = 12.0 * std::sqrt(2.0 * (1.0 - q));
    const double s = 0.09 + 0.25 * std::exp(-37.0 / 36.0);  // the other term is below 1e-10
    const RelativeRmsd relative = relativeRmsd(6.0, 12.0, 12.0, 38);
    EXPECT_NEAR(relative.ratio, 6.0 / expected, 1e-12);
    EXPECT_NEAR(relative.standardScore, (6.0 / expected - 1.0) / s, 1e-8);
    for (const RelativeRmsd& none :
         {relativeRmsd(0.0, 12.0, 12.0, 38), relativeRmsd(6.0, 12.0, 12.0, 2),
          relativeRmsd(6.0, 0.0, 0.0, 38)}) {
        EXPECT_EQ(none.ratio, 0.0);
        EXPECT_EQ(none.standardScore, 0.0);
    }
    EXPECT_NEAR(relativeUrmsd(1.0, 100), 1.0 / std::sqrt(2.0 - 0.284), 1e-12);
    EXPECT_EQ(relativeUrmsd(1.0, 2), 0.0);
}

}  // namespace
}  // namespace tervolanda::test
