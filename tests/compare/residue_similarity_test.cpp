#include "compare/residue_similarity.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

using Vector = std::array<double, 3>;

const double kExpected = std::sqrt(2.0 - 2.84 / std::sqrt(7.0));

Points pointsOf(const std::vector<Vector>& vectors) {
    Points points;
    for (const Vector& v : vectors)
        points.append(v[0], v[1], v[2]);
    return points;
}

float scoreOf(const std::vector<Vector>& experiment, const std::vector<Vector>& prediction) {
    Matrix<float> scores;
    scoreFragments(pointsOf(experiment), pointsOf(prediction), scores);
    EXPECT_EQ(scores.values().size(), 1U);
    return scores.at(0, 0);
}

double asScore(double rmsd) {
    return 10.0 * std::max(0.0, (kExpected - rmsd) / kExpected);
}

// Unit vectors that turn by `angle` each about z and have the rise `z`.
std::vector<Vector> turning(double angle, double z) {
    std::vector<Vector> vectors;
    const double radius = std::sqrt(1.0 - z * z);
    for (int k = 0; k < 7; ++k)
        vectors.push_back({radius * std::cos(k * angle), radius * std::sin(k * angle), z});
    return vectors;
}

// The largest eigenvalue of Horn's matrix by a slow, safe road: powers of the matrix, shifted so
// that no eigenvalue is negative.
double slowRmsd(const std::vector<Vector>& experiment, const std::vector<Vector>& prediction) {
    double m[3][3] = {};
    double squares = 0.0;
    for (std::size_t k = 0; k < 7; ++k) {
        for (std::size_t a = 0; a < 3; ++a) {
            squares += prediction[k][a] * prediction[k][a] + experiment[k][a] * experiment[k][a];
            for (std::size_t b = 0; b < 3; ++b)
                m[a][b] += prediction[k][a] * experiment[k][b];
        }
    }
    const double horn[4][4] = {
        {m[0][0] + m[1][1] + m[2][2], m[1][2] - m[2][1], m[2][0] - m[0][2], m[0][1] - m[1][0]},
        {m[1][2] - m[2][1], m[0][0] - m[1][1] - m[2][2], m[0][1] + m[1][0], m[2][0] + m[0][2]},
        {m[2][0] - m[0][2], m[0][1] + m[1][0], -m[0][0] + m[1][1] - m[2][2], m[1][2] + m[2][1]},
        {m[0][1] - m[1][0], m[2][0] + m[0][2], m[1][2] + m[2][1], -m[0][0] - m[1][1] + m[2][2]}};
    std::array<double, 4> q = {0.5, 0.4, 0.3, 0.2};
    double root = 0.0;
    for (int step = 0; step < 20000; ++step) {
        std::array<double, 4> next{};
        double length = 0.0;
        for (std::size_t a = 0; a < 4; ++a) {
            next[a] = 7.0 * q[a];
            for (std::size_t b = 0; b < 4; ++b)
                next[a] += horn[a][b] * q[b];
            length += next[a] * next[a];
        }
        length = std::sqrt(length);
        for (std::size_t a = 0; a < 4; ++a)
            q[a] = next[a] / length;
        root = length - 7.0;
    }
    return std::sqrt(std::max(0.0, squares - 2.0 * root) / 7.0);
}

TEST(FragmentScores, AreTenForOneShapeInAnyOrientation) {
    const auto helix = turning(1.745, 0.4);
    auto turned = helix;
    for (Vector& v : turned)
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

TEST(FragmentScores, OfAStraightFragmentFollowFromTheSumOfTheOther) {
    // Against vectors that are all equal the best rotation turns the other's sum along them:
    // u^2 = 2 - 2 |sum| / 7.
    for (const double angle : {0.1, 0.3, 0.5}) {
        const auto arc = turning(angle, 0.0);
        Vector sum{};
        for (const Vector& v : arc) {
            for (std::size_t k = 0; k < 3; ++k)
                sum[k] += v[k];
        }
        const double length = std::hypot(sum[0], sum[1], sum[2]);
        EXPECT_NEAR(scoreOf(turning(0.0, 0.0), arc), asScore(std::sqrt(2.0 - 2.0 * length / 7.0)),
                    1e-5);
    }
}

TEST(FragmentScores, AgreeWithASlowSolutionAtEveryPlaceOfTheMatrix) {
    std::mt19937 engine(5);
    const auto randomVectors = [&](std::size_t count) {
        std::vector<Vector> vectors;
        while (vectors.size() < count) {
            Vector v{};
            for (double& c : v)
                c = static_cast<double>(engine()) / 2147483648.0 - 1.0;
            const double length = std::hypot(v[0], v[1], v[2]);
            if (length < 0.1) continue;
            for (double& c : v)
                c /= length;
            // Neighbours point alike, so that there are scores above 0.
            if (!vectors.empty()) {
                for (std::size_t k = 0; k < 3; ++k)
                    v[k] = vectors.back()[k] + 0.9 * v[k];
                const double sum = std::hypot(v[0], v[1], v[2]);
                for (double& c : v)
                    c /= sum;
            }
            vectors.push_back(v);
        }
        return vectors;
    };
    const auto experiment = randomVectors(80);  // more fragments than one block
    const auto prediction = randomVectors(9);
    Matrix<float> scores;
    scoreFragments(pointsOf(experiment), pointsOf(prediction), scores);
    ASSERT_EQ(scores.rows(), 3U);
    ASSERT_EQ(scores.columns(), 74U);
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 74; j += 7) {
            const std::vector<Vector> p(prediction.begin() + static_cast<std::ptrdiff_t>(i),
                                        prediction.begin() + static_cast<std::ptrdiff_t>(i) + 7);
            const std::vector<Vector> e(experiment.begin() + static_cast<std::ptrdiff_t>(j),
                                        experiment.begin() + static_cast<std::ptrdiff_t>(j) + 7);
            EXPECT_NEAR(scores.at(i, j), asScore(slowRmsd(e, p)), 1e-4) << i << ", " << j;
        }
    }
}

TEST(FragmentScores, StayFiniteForAbsurdVectors) {
    Points far = prepared(coil(12, 3)).points;
    far.x[5] = 1e300;
    far.y[8] = -1e300;
    Points equal;
    for (int i = 0; i < 12; ++i)
        equal.append(1.0, 2.0, 3.0);
    for (const Points& points : {far, equal}) {
        Matrix<float> scores;
        scoreFragments(unitVectors(points), unitVectors(points), scores);
        EXPECT_EQ(scores.rows(), 5U);
        for (const float score : scores.values())
            EXPECT_TRUE(score >= 0.0F && score <= 10.0F);
    }
    Matrix<float> scores(3, 3);
    scoreFragments(unitVectors(prepared(coil(7, 1)).points), unitVectors(far), scores);
    EXPECT_EQ(scores.values().size(), 0U);
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
    Matrix<float> scores;
    scoreDistances(experiment, prediction, shift, 3.0, 6.0, scores);
    ASSERT_EQ(scores.rows(), 2U);
    ASSERT_EQ(scores.columns(), 5U);
    EXPECT_FLOAT_EQ(scores.at(0, 0), 1.0F);
    EXPECT_FLOAT_EQ(scores.at(0, 1), 0.5F);
    EXPECT_FLOAT_EQ(scores.at(0, 2), 0.2F);
    EXPECT_EQ(scores.at(0, 3), 0.0F);
    EXPECT_EQ(scores.at(0, 4), 0.0F);
    EXPECT_FLOAT_EQ(scores.at(1, 0), static_cast<float>(9.0 / 34.0));
}

TEST(SimilarityReach, GrowsWithLength) {
    EXPECT_DOUBLE_EQ(similarityReach(1.0), 5.0);
    EXPECT_DOUBLE_EQ(similarityReach(1024.0), 15.5);  // 1024^0.3 is 8
}

}  // namespace
}  // namespace tervolanda::test
