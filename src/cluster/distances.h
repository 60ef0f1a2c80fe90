// How the clustering methods read a matrix: which entries are distances, and between whom.
//
// Every method reads its matrix through a DistanceView, so that what counts as no distance is
// decided once.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <span>

#include "cluster/cluster.h"

namespace tervolanda {

// A matrix of distances, lent.  A pair without a distance (a fit that failed, a value that is not a
// finite number) is infinitely far: nothing brings it within a threshold.
class DistanceView {
 public:
    // With `hasFailedFits` an entry of exactly -1 is the mark of a failed fit; without, it is a
    // number like any other (1 - similarity may well be negative).  Reading on ends when `stop` is
    // set.
    DistanceView(const DistanceMatrix& matrix, bool hasFailedFits, const StopFlag* stop = nullptr)
        : matrix_(&matrix),
          stop_(stop),
          failedFit_(hasFailedFits ? -1.0F : std::numeric_limits<float>::quiet_NaN()) {}

    std::size_t size() const { return matrix_->rows(); }
    // The entries of a row as they stand in the matrix.
    std::span<const float> row(std::size_t i) const {
        throwIfStopped(stop_);
        return entries(i);
    }
    // The same without a look at the stop flag, where nothing may be thrown.
    std::span<const float> entries(std::size_t i) const { return matrix_->row(i); }
    const StopFlag* stop() const { return stop_; }

    // Both tests are always made, without a branch: the loops over rows can then be vectorised.
    bool isDistance(float entry) const {
        const auto isFinite =
            static_cast<unsigned>(std::fabs(entry) <= std::numeric_limits<float>::max());
        const auto isFit = static_cast<unsigned>(entry != failedFit_);
        return (isFinite & isFit) != 0;
    }
    // An entry as a distance, infinite where it is none.
    float read(float entry) const {
        return isDistance(entry) ? entry : std::numeric_limits<float>::infinity();
    }

 private:
    const DistanceMatrix* matrix_;
    const StopFlag* stop_;
    float failedFit_;  // what no entry equals when there is no such mark
};

// The largest single-precision number that is not above `threshold`: entry <= that number exactly
// when double(entry) <= threshold.  Finite for every threshold of at least -3.4e38, so that an
// infinite distance is never within it.
inline float singlePrecisionLimit(double threshold) {
    constexpr float kMost = std::numeric_limits<float>::max();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    if (threshold >= static_cast<double>(kMost)) return kMost;
    if (!(threshold >= -static_cast<double>(kMost))) return -kInfinity;
    const auto nearest = static_cast<float>(threshold);
    return static_cast<double>(nearest) > threshold ? std::nextafter(nearest, -kInfinity) : nearest;
}

}  // namespace tervolanda
