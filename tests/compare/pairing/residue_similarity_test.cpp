#include "compare/pairing/residue_similarity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "base/matrix.h"
#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

Points pointsOf(const std::vector<Place>& vectors) {
    Points points;
    for (const Place& v : vectors)
        points.append(v[0], v[1], v[2]);
    return points;
}

Matrix<float> matrixOf(const SimilarityRows& similarity) {
    Matrix<float> matrix(similarity.rows(), similarity.columns());
    for (std::size_t i = 0; i < matrix.rows(); ++i)
        similarity.fillRow(i, matrix.row(i));
    return matrix;
}

// Fails where the tables of two instruction sets differ in a bit.
template <typename Make>
Matrix<float> ofEveryTable(const Make& make) {
    const auto portable = matrixOf(make(pairingKernels(InstructionSet::Portable)));
    for (const Kernels* kernels : runnableKernels()) {
        const auto scores = matrixOf(make(pairingKernels(kernels->instructionSet)));
        EXPECT_TRUE(std::ranges::equal(scores.values(), portable.values()));
    }
    return portable;
}

Matrix<float> fragmentScores(const Points& experiment, const Points& prediction) {
    return ofEveryTable([&](const PairingKernels& kernels) {
        return FragmentScores(experiment, prediction, kernels);
    });
}

Matrix<float> distanceScores(const CoordinateSet& experiment, const CoordinateSet& prediction,
                             const Superposition& motion, const SimilarityScale& scale) {
    return ofEveryTable([&](const PairingKernels& kernels) {
        return DistanceScores(experiment, prediction, motion, kernels, scale);
    });
}

float scoreOf(const std::vector<Place>& experiment, const std::vector<Place>& prediction) {
    const auto scores = fragmentScores(pointsOf(experiment), pointsOf(prediction));
    EXPECT_EQ(scores.values().size(), 1U);
    return scores.at(0, 0);
}

// The RMSD of two fragments about their common origin: with the opposite of every vector added,
// that is their centre.
double literalRmsd(const Points& experiment, std::size_t j, const Points& prediction,
                   std::size_t i) {
    const auto both = [](const Points& points, std::size_t first) {
        std::vector<Place> places;
        for (std::size_t k = first; k < first + kFragmentLength; ++k) {
            places.push_back({points.x[k], points.y[k], points.z[k]});
            places.push_back({-points.x[k], -points.y[k], -points.z[k]});
        }
        return places;
    };
    return literalFit(both(prediction, i), both(experiment, j)).rmsd;
}

// Unit vectors that turn by `angle` each about z and have the rise `z`.
std::vector<Place> turning(double angle, double z) {
    std::vector<Place> vectors;
    const double radius = std::sqrt(1.0 - z * z);
    for (int k = 0; k < 7; ++k)
        vectors.push_back({radius * std::cos(k * angle), radius * std::sin(k * angle), z});
    return vectors;
}

TEST(FragmentScores, AreTenForOneShapeInAnyOrientation) {
    const auto helix = turning(1.745, 0.4);
    auto turned = helix;
    for (Place& v : turned)
        v = {v[2], v[0], v[1]};
    EXPECT_FLOAT_EQ(scoreOf(helix, helix), 10.0F);
    EXPECT_NEAR(scoreOf(helix, turned), 10.0, 1e-5);
    // A straight fragment has a double eigenvalue: it may turn about itself.
    const auto straight = turning(0.0, 0.0);
    EXPECT_NEAR(scoreOf(straight, straight), 10.0, 1e-5);
    // The mirror image of a planar fragment is the fragment turned over; that of a helix is not.
    EXPECT_NEAR(scoreOf(turning(0.5, 0.0), turning(-0.5, 0.0)), 10.0, 1e-5);
    EXPECT_LT(scoreOf(turning(1.745, 0.4), turning(-1.745, 0.4)), 6.0F);
}

TEST(FragmentScores, AgreeWithALiteralFitAtEveryPlaceOfTheMatrix) {
    const Points experiment = unitVectors(prepared(coil(81, 5)).points);  // more than one block
    const Points prediction = unitVectors(prepared(coil(10, 6)).points);
    const double unrelated = std::sqrt(2.0 - 2.84 / std::sqrt(7.0));
    const auto scores = fragmentScores(experiment, prediction);
    ASSERT_EQ(scores.rows(), 3U);
    ASSERT_EQ(scores.columns(), 74U);
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 74; j += 7) {
            const double rmsd = literalRmsd(experiment, j, prediction, i);
            const double expected = 10.0 * std::max(0.0, (unrelated - rmsd) / unrelated);
            EXPECT_NEAR(scores.at(i, j), expected, 1e-4) << i << ", " << j;
        }
    }
}

TEST(UnitVectors, HaveLengthOneUnlessThePointsNearlyCoincide) {
    const Points vectors =
        unitVectors(pointsOf({{0, 0, 0}, {0, 3, 4}, {0, 3, 4 + 1e-7}, {0, 3, 4 + 3e-6}}));
    ASSERT_EQ(vectors.size(), 3U);
    EXPECT_DOUBLE_EQ(vectors.y[0], 0.6);
    EXPECT_DOUBLE_EQ(vectors.z[0], 0.8);
    EXPECT_NEAR(vectors.z[1], 1e-7, 1e-12);
    EXPECT_NEAR(vectors.z[2], 1.0, 1e-12);
    EXPECT_EQ(unitVectors(Points{}).size(), 0U);
}

TEST(DistanceScores, CountTheReachItselfAndNothingBeyond) {
    const CoordinateSet experiment =
        prepared(calphaChain({{0, 0, 0}, {3, 0, 0}, {6, 0, 0}, {6.001, 0, 0}, {1e200, 0, 0}}));
    const CoordinateSet prediction = prepared(calphaChain({{1, 0, 0}, {1, 5, 0}}));
    Superposition shift;
    shift.predictionCentre = {1.0, 0.0, 0.0};
    const auto scores = distanceScores(experiment, prediction, shift, {3.0, 6.0});
    ASSERT_EQ(scores.rows(), 2U);
    ASSERT_EQ(scores.columns(), 5U);
    EXPECT_FLOAT_EQ(scores.at(0, 0), 1.0F);
    EXPECT_FLOAT_EQ(scores.at(0, 1), 0.5F);
    EXPECT_FLOAT_EQ(scores.at(0, 2), 0.2F);
    EXPECT_EQ(scores.at(0, 3), 0.0F);
    EXPECT_EQ(scores.at(0, 4), 0.0F);
    EXPECT_FLOAT_EQ(scores.at(1, 0), static_cast<float>(9.0 / 34.0));
    EXPECT_DOUBLE_EQ(similarityReach(1024.0), 15.5);  // 1024^0.3 is 8
}

TEST(DistanceScores, AgreeWithTheFormulaWhereverTheChainsLie) {
    const CoordinateSet experiment = prepared(coil(83, 5));
    const CoordinateSet prediction = prepared(coil(40, 6));
    const auto scores = distanceScores(experiment, prediction, Superposition(), {3.0, 12.0});
    for (std::size_t i = 0; i < 40; ++i) {
        for (std::size_t j = 0; j < 83; ++j) {
            const Place p = placeOf(prediction, i);
            const Place e = placeOf(experiment, j);
            const double d = std::hypot(p[0] - e[0], p[1] - e[1], p[2] - e[2]);
            EXPECT_NEAR(scores.at(i, j), d <= 12.0 ? 9.0 / (9.0 + d * d) : 0.0, 1e-6);
        }
    }
}

}  // namespace
}  // namespace tervolanda::test
