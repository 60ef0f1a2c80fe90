// What the kernels need of two chains is laid out here once for all rows; they do the rest.
#include "compare/pairing/residue_similarity.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/elementary.h"

namespace tervolanda {

namespace {

constexpr double kHighestFragmentScore = 10.0;
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

// The unit-vector RMSD that unrelated fragments have on average (Ortiz, Strauss & Olmea 2002).
double expectedRmsd() {
    return std::sqrt(2.0 - 2.84 / std::sqrt(static_cast<double>(kFragmentLength)));
}

// The coordinates with kPadding zeros after each axis.
std::array<std::vector<double>, 3> padded(const Points& points) {
    std::array<std::vector<double>, 3> axes = {points.x, points.y, points.z};
    for (std::vector<double>& axis : axes)
        axis.resize(points.size() + kPadding, 0.0);
    return axes;
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

FragmentScores::FragmentScores(const Points& experimentVectors, const Points& predictionVectors,
                               const PairingKernels& kernels)
    : kernels_(kernels),
      prediction_(predictionVectors),
      experiment_(padded(experimentVectors)),
      experimentSquares_(fragmentSquares(experimentVectors)),
      predictionSquares_(fragmentSquares(predictionVectors)) {
    if (experimentSquares_.empty() || predictionSquares_.empty()) {
        experimentSquares_.clear();
        predictionSquares_.clear();
    }
    columns_ = experimentSquares_.size();
    experimentSquares_.resize(columns_ + kPadding, 0.0);
}

void FragmentScores::fillRow(std::size_t row, std::span<float> scores) const {
    kernels_.fragmentScores(
        {.prediction = {prediction_.x.data() + row, prediction_.y.data() + row,
                        prediction_.z.data() + row},
         .predictionSquares = predictionSquares_[row],
         .experiment = {experiment_[0].data(), experiment_[1].data(), experiment_[2].data()},
         .experimentSquares = experimentSquares_.data(),
         .fragments = columns_,
         .highest = kHighestFragmentScore,
         .expected = expectedRmsd()},
        scores.data());
}

// 7 Å for 20 residues, 9.5 Å for 100, 12 Å for 300: for usual chains two to three times the scale
// of the TM-score, so that what is cut off has a similarity of a fifth at most.
double similarityReach(double length) {
    return 1.5 * power(length, 0.3) + 3.5;
}

DistanceScores::DistanceScores(const CoordinateSet& experiment, const CoordinateSet& prediction,
                               const Superposition& superposition, const PairingKernels& kernels,
                               const SimilarityScale& scale)
    : kernels_(kernels),
      prediction_(prediction),
      superposition_(superposition),
      columns_(experiment.size()),
      experiment_(padded(experiment.points)),
      perScaleSquared_(1.0 / (scale.half * scale.half)),
      limit_(scale.reach * scale.reach) {
    // A little is added, so that rounding does not decide.
    constexpr double kMargin = 0.01;  // Å
    const Points& points = experiment.points;
    for (std::size_t first = 0; first < points.size(); first += kResidueGroup) {
        const std::size_t middle = std::min(first + kResidueGroup / 2, points.size() - 1);
        const std::size_t end = std::min(first + kResidueGroup, points.size());
        double radiusSquared = 0.0;
        for (std::size_t j = first; j < end; ++j)
            radiusSquared = std::max(
                radiusSquared,
                squaredDistance(points, j, points.x[middle], points.y[middle], points.z[middle]));
        const double far = std::sqrt(radiusSquared) + scale.reach + kMargin;
        farSquared_.push_back(far * far);
    }
}

void DistanceScores::fillRow(std::size_t row, std::span<float> scores) const {
    const Points& from = prediction_.points;
    const auto [x, y, z] = superposition_.apply(from.x[row], from.y[row], from.z[row]);
    kernels_.distanceScores(
        {.x = x,
         .y = y,
         .z = z,
         .experiment = {experiment_[0].data(), experiment_[1].data(), experiment_[2].data()},
         .residues = columns_,
         .farSquared = farSquared_.data(),
         .perScaleSquared = perScaleSquared_,
         .limit = limit_},
        scores.data());
}

}  // namespace tervolanda
