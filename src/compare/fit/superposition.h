// The least-squares superposition of paired points (Kabsch 1976, 1978), solved by the quaternion
// form of the problem (Horn 1987; Theobald 2005).
//
// This is the way for one fit, with every case that can occur: points on a line, mirror images,
// coinciding points, absurd coordinates.  The loops of a search solve eight at a time by the same
// formulae (kernels.h) and leave to this one what these cannot.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "compare/fit/fit.h"
#include "compare/fit/kernels.h"

namespace tervolanda {

using Rotation = std::array<double, 9>;    // row by row
using Quaternion = std::array<double, 4>;  // x, y, z, w

// A rotation and the share of the squared distances that it leaves.
struct BestRotation {
    Rotation rotation;
    double residual;  // residual sum of squares over the total, 0..1; inexact below about 1e-12
};

// The proper rotation that puts centred prediction points best onto centred experiment points.
// `covariance` is the sum of p_a e_b at 3 a + b and `squares` the sum of |p|^2 + |e|^2, both about
// the centroids.  None for sums that are not finite, and for mirror images: sets that a reflection
// superposes exactly (to 1e-7 of the total) and no rotation does.
std::optional<BestRotation> bestRotation(const std::array<double, 9>& covariance, double squares);

// No structure lies farther out, Å: means beyond are those of absurd coordinates.
inline constexpr double kFarthestOrigin = 1e7;

// The mapped pairs of a comparison in mapped order, each side about its own origin: one-pass sums
// over coordinates near zero lose no digits.
struct PairedPoints {
    Points experiment;                         // Å, about experimentOrigin
    Points prediction;                         // Å, about predictionOrigin
    std::array<double, 3> experimentOrigin{};  // centroids of all pairs
    std::array<double, 3> predictionOrigin{};

    std::size_t size() const { return experiment.size(); }
    PairedArrays arrays() const {
        return {prediction.x.data(), prediction.y.data(), prediction.z.data(),
                experiment.x.data(), experiment.y.data(), experiment.z.data()};
    }
    // Takes n pairs of points and moves both sides to their origins.  pairAt(k) gives the positions
    // of pair k, experiment first.
    template <typename PairAt>
    void place(const Points& fromExperiment, const Points& fromPrediction, std::size_t n,
               PairAt pairAt) {
        experiment.resize(n);
        prediction.resize(n);
        for (std::size_t k = 0; k < n; ++k) {
            const auto [e, p] = pairAt(k);
            experiment.x[k] = fromExperiment.x[e];
            experiment.y[k] = fromExperiment.y[e];
            experiment.z[k] = fromExperiment.z[e];
            prediction.x[k] = fromPrediction.x[p];
            prediction.y[k] = fromPrediction.y[p];
            prediction.z[k] = fromPrediction.z[p];
        }
        centre();
    }
    // Moves both sides, which hold coordinates as read, to their origins.
    void centre();
};

// A fit in the frames of PairedPoints: p' = rotation (p - predictionCentre) + experimentCentre.
struct Fit {
    Rotation rotation{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
    std::array<double, 3> experimentCentre{};
    std::array<double, 3> predictionCentre{};
    double residual = 0.0;  // share of the squares, as in BestRotation
    double squares = 0.0;   // sum of squares about the centroids, Å^2
};

// The fit of n pairs from their sums; none when no proper rotation fits.
std::optional<Fit> fitFromSums(const CorrelationSums& sums, std::size_t n);

Motion asMotion(const Fit& fit);

// Fits the pairs of `subset` (positions), or all pairs.  None when no proper rotation fits.
// `gathered` is scratch.
std::optional<Fit> fitPairs(const PairedPoints& pairs, const Kernels& kernels);
std::optional<Fit> fitPairs(const PairedPoints& pairs, std::span<const std::uint32_t> subset,
                            const Kernels& kernels, PairedPoints& gathered);

// Squared distances of all pairs under a fit, Å^2.
void squaredDeviations(const PairedPoints& pairs, const Fit& fit, const Kernels& kernels,
                       std::span<double> squared);

// RMSD of a fit of all pairs, Å: exactly 0 for identical sets.  `squared` holds the deviations
// under that fit.
double fitRmsd(const Fit& fit, std::span<const double> squared);

// The fit in the coordinates as read.
Superposition asSuperposition(const PairedPoints& pairs, const Fit& fit);

double determinant(const Rotation& rotation);
Quaternion asQuaternion(const Rotation& rotation);
// Of any length but 0.
Rotation asRotation(const Quaternion& quaternion);

// The rotation that does first `first` and then `second`, by way of quaternions.
Rotation compose(const Rotation& second, const Rotation& first);

// Replaces points by the vectors from each to the next, of length 1; those shorter than 1e-6 Å keep
// their length, and those of absurd coordinates have a direction as long as they are numbers.  The
// vectors of fragments (unitVectors(), compare/pairing) have other rules and other last digits.
void makeUnitVectors(Points& points);

}  // namespace tervolanda
