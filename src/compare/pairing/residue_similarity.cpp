// All fragments of one chain against all of another are some 100,000 small superpositions, done
// here many at a time.  Of the best rotation only what it leaves is wanted: the sum of squares less
// twice the largest eigenvalue of Horn's 4x4 matrix (Horn 1987).  Its characteristic polynomial
// x^4 + c2 x^2 + c1 x + c0 follows from the 3x3 correlation matrix M without building the 4x4 one:
// with the singular values of M written out the roots are s1 + s2 + s3, s1 - s2 - s3 and so on, so
// c2 = -2 |M|^2, c1 = -8 det M, and c0 = |M|^4 - 4 |cof M|^2, |.| being the root of the sum of
// squares.  Newton's method finds the largest root from above (Theobald 2005).  The loops run over
// a block of experiment fragments, so that the compiler turns them into vector instructions.
#include "compare/pairing/residue_similarity.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/elementary.h"

namespace tervolanda {

namespace {

constexpr double kHighestFragmentScore = 10.0;
constexpr std::size_t kBlock = 64;  // fragments at a time: the block's arrays fit the first cache

using Lane = std::array<double, kBlock>;

// What a block needs and leaves.
struct Block {
    std::size_t count;                // fragments, at most kBlock
    std::array<Lane, 9> correlation;  // prediction by experiment, divided by half the squares
    Lane halfSquares;                 // half the sum of squares of both fragments
    Lane c2, c1, c0;                  // the polynomial
    Lane root, change;                // its largest root, and how far the last step moved it
};

// Sums of squares of every fragment.
std::vector<double> fragmentSquares(const Points& vectors) {
    if (vectors.size() < kFragmentLength) return {};
    std::vector<double> squares(vectors.size() - kFragmentLength + 1, 0.0);
    for (std::size_t i = 0; i < squares.size(); ++i) {
        for (std::size_t k = i; k < i + kFragmentLength; ++k) {
            squares[i] += vectors.x[k] * vectors.x[k] + vectors.y[k] * vectors.y[k] +
                          vectors.z[k] * vectors.z[k];
        }
    }
    return squares;
}

// Correlates prediction fragment i with the experiment fragments from j on.
void correlate(const Points& experiment, std::size_t j, const Points& prediction, std::size_t i,
               Block& block) {
    const std::array<const double*, 3> p = {prediction.x.data() + i, prediction.y.data() + i,
                                            prediction.z.data() + i};
    const std::array<const double*, 3> e = {experiment.x.data() + j, experiment.y.data() + j,
                                            experiment.z.data() + j};
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b < 3; ++b) {
            Lane& sums = block.correlation[3 * a + b];
            for (std::size_t lane = 0; lane < block.count; ++lane) {
                const double* const from = e[b] + lane;
                sums[lane] = ((p[a][0] * from[0] + p[a][1] * from[1]) +
                              (p[a][2] * from[2] + p[a][3] * from[3])) +
                             ((p[a][4] * from[4] + p[a][5] * from[5]) + p[a][6] * from[6]);
            }
        }
    }
}

// Scales the correlations, so that no root is above 1, and makes the polynomials of them.
void makePolynomials(Block& block) {
    auto& m = block.correlation;
    for (std::size_t i = 0; i < block.count; ++i) {
        const double scale = 1.0 / block.halfSquares[i];
        const double xx = m[0][i] * scale, xy = m[1][i] * scale, xz = m[2][i] * scale;
        const double yx = m[3][i] * scale, yy = m[4][i] * scale, yz = m[5][i] * scale;
        const double zx = m[6][i] * scale, zy = m[7][i] * scale, zz = m[8][i] * scale;
        const double squares = ((xx * xx + xy * xy + xz * xz) + (yx * yx + yy * yy + yz * yz)) +
                               (zx * zx + zy * zy + zz * zz);
        const double a = yy * zz - yz * zy, b = yz * zx - yx * zz, c = yx * zy - yy * zx;
        const double d = xz * zy - xy * zz, e = xx * zz - xz * zx, f = xy * zx - xx * zy;
        const double g = xy * yz - xz * yy, h = xz * yx - xx * yz, k = xx * yy - xy * yx;
        const double cofactors =
            ((a * a + b * b + c * c) + (d * d + e * e + f * f)) + (g * g + h * h + k * k);
        block.c2[i] = -2.0 * squares;
        block.c1[i] = -8.0 * (xx * a + xy * b + xz * c);
        block.c0[i] = squares * squares - 4.0 * cofactors;
    }
}

// One step of Newton's method, from above and never upwards; 0 where the polynomial is flat.
double newtonStep(double x, double c2, double c1, double c0) {
    const double value = ((x * x + c2) * x + c1) * x + c0;
    const double slope = (4.0 * x * x + 2.0 * c2) * x + c1;
    return value > 0.0 && slope > 0.0 ? value / slope : 0.0;
}

// The largest root of every polynomial.  A few steps are enough but for nearly double roots, where
// each step only halves the distance; those go on alone.
void findRoots(Block& block) {
    constexpr int kUsualSteps = 6;
    constexpr int kMostSteps = 80;
    constexpr double kSmallStep = 1e-9;  // the step after such a one changes nothing
    block.root.fill(1.0);
    for (int step = 0; step < kUsualSteps; ++step) {
        for (std::size_t i = 0; i < block.count; ++i) {
            block.change[i] = newtonStep(block.root[i], block.c2[i], block.c1[i], block.c0[i]);
            block.root[i] -= block.change[i];
        }
    }
    for (std::size_t i = 0; i < block.count; ++i) {
        for (int step = kUsualSteps; step < kMostSteps && block.change[i] > kSmallStep; ++step) {
            block.change[i] = newtonStep(block.root[i], block.c2[i], block.c1[i], block.c0[i]);
            block.root[i] -= block.change[i];
        }
    }
}

// The unit-vector RMSD that unrelated fragments have on average (Ortiz, Strauss & Olmea 2002).
double expectedRmsd() {
    return std::sqrt(2.0 - 2.84 / std::sqrt(static_cast<double>(kFragmentLength)));
}

void storeScores(const Block& block, std::span<float> scores) {
    const double expected = expectedRmsd();
    for (std::size_t i = 0; i < scores.size(); ++i) {
        const double left = std::max(0.0, 2.0 * block.halfSquares[i] * (1.0 - block.root[i]));
        const double rmsd = std::sqrt(left / static_cast<double>(kFragmentLength));
        const double score = kHighestFragmentScore * std::max(0.0, (expected - rmsd) / expected);
        scores[i] = static_cast<float>(score);
    }
}

double squaredDistance(const Points& points, std::size_t i, double x, double y, double z) {
    const double dx = x - points.x[i];
    const double dy = y - points.y[i];
    const double dz = z - points.z[i];
    return (dx * dx + dy * dy) + dz * dz;
}

}  // namespace

// Coordinates as far apart as files allow may overflow: such a vector is none.
Points unitVectors(const Points& points) {
    constexpr double kShort = 1e-6;  // Å
    Points vectors;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const double x = points.x[i + 1] - points.x[i];
        const double y = points.y[i + 1] - points.y[i];
        const double z = points.z[i + 1] - points.z[i];
        const double length = std::sqrt(x * x + y * y + z * z);
        if (!std::isfinite(length)) {
            vectors.append(0.0, 0.0, 0.0);
        } else if (length < kShort) {
            vectors.append(x, y, z);
        } else {
            vectors.append(x / length, y / length, z / length);
        }
    }
    return vectors;
}

FragmentScores::FragmentScores(const Points& experimentVectors, const Points& predictionVectors)
    : experiment_(experimentVectors),
      prediction_(predictionVectors),
      experimentSquares_(fragmentSquares(experimentVectors)),
      predictionSquares_(fragmentSquares(predictionVectors)) {
    if (experimentSquares_.empty() || predictionSquares_.empty()) {
        experimentSquares_.clear();
        predictionSquares_.clear();
    }
}

void FragmentScores::fillRow(std::size_t row, std::span<float> scores) const {
    Block block;
    for (std::size_t j = 0; j < scores.size(); j += kBlock) {
        block.count = std::min(kBlock, scores.size() - j);
        for (std::size_t lane = 0; lane < block.count; ++lane) {
            const double half = 0.5 * (predictionSquares_[row] + experimentSquares_[j + lane]);
            block.halfSquares[lane] = half > 0.0 ? half : 1.0;
        }
        correlate(experiment_, j, prediction_, row, block);
        makePolynomials(block);
        findRoots(block);
        storeScores(block, scores.subspan(j, block.count));
    }
}

double similarityReach(double length) {
    return 1.5 * power(length, 0.3) + 3.5;
}

DistanceScores::DistanceScores(const CoordinateSet& experiment, const CoordinateSet& prediction,
                               const Superposition& superposition, double scale, double reach)
    : experiment_(experiment),
      prediction_(prediction),
      superposition_(superposition),
      perScaleSquared_(1.0 / (scale * scale)),
      limit_(reach * reach) {
    // A little is added, so that rounding does not decide.
    constexpr double kMargin = 0.01;  // Å
    const Points& points = experiment.points;
    for (std::size_t first = 0; first < points.size(); first += kGroup) {
        const std::size_t middle = std::min(first + kGroup / 2, points.size() - 1);
        const std::size_t end = std::min(first + kGroup, points.size());
        double radiusSquared = 0.0;
        for (std::size_t j = first; j < end; ++j)
            radiusSquared = std::max(
                radiusSquared,
                squaredDistance(points, j, points.x[middle], points.y[middle], points.z[middle]));
        const double far = std::sqrt(radiusSquared) + reach + kMargin;
        groups_.push_back({middle, end, far * far});
    }
}

void DistanceScores::fillRow(std::size_t row, std::span<float> scores) const {
    const Points& from = prediction_.points;
    const Points& to = experiment_.points;
    const auto [x, y, z] = superposition_.apply(from.x[row], from.y[row], from.z[row]);
    std::array<double, kGroup> squared{};
    std::size_t first = 0;
    for (const Group& group : groups_) {
        const std::size_t count = group.end - first;
        float* const scored = scores.data() + first;
        if (squaredDistance(to, group.middle, x, y, z) > group.farSquared) {
            std::fill_n(scored, count, 0.0F);
        } else {
            for (std::size_t k = 0; k < count; ++k)
                squared[k] = squaredDistance(to, first + k, x, y, z);
            // All of them, so that the compiler can use vector instructions.
            std::array<float, kGroup> similarity;
            for (std::size_t k = 0; k < kGroup; ++k) {
                const auto near = static_cast<float>(1.0 / (1.0 + squared[k] * perScaleSquared_));
                similarity[k] = squared[k] <= limit_ ? near : 0.0F;
            }
            std::copy_n(similarity.data(), count, scored);
        }
        first = group.end;
    }
}

}  // namespace tervolanda
