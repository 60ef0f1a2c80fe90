// Matrices for the tests of the clusterings.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

#include "cluster/cluster.h"

namespace tervolanda::test {

inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
inline constexpr float kInfinite = std::numeric_limits<float>::infinity();

// A symmetric matrix from its strict lower triangle, row by row; the diagonal is 0.
inline DistanceMatrix symmetricMatrix(std::size_t n, std::initializer_list<float> triangle) {
    DistanceMatrix matrix(n, n, 0.0F);
    auto value = triangle.begin();
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < i; ++j)
            matrix.at(i, j) = matrix.at(j, i) = *value++;
    }
    return matrix;
}

// Entries evenly distributed between 0 and 10, each its own; `levels` above 0 leaves as many
// different values, so that there are ties.  Not symmetric, like a matrix of TM-scores.
inline DistanceMatrix randomMatrix(std::size_t n, std::uint32_t seed, int levels = 0) {
    std::mt19937 generator(seed);
    DistanceMatrix matrix(n, n, 0.0F);
    for (float& entry : matrix.values()) {
        const auto number = static_cast<float>(generator() >> 8U);
        entry = 10.0F * number / 16777216.0F;
        if (levels > 0) entry = static_cast<float>(static_cast<int>(generator() % 1000U) % levels);
    }
    return matrix;
}

// A search for clusters from the threshold `first` on, by single linkage.
inline ClusterSettings searching(double first, double most, double step, std::uint32_t wanted) {
    ClusterSettings settings;
    settings.method = ClusterMethod::SingleLinkage;
    settings.threshold = first;
    settings.maxThreshold = most;
    settings.thresholdStep = step;
    settings.initialSize = wanted;
    return settings;
}

}  // namespace tervolanda::test
