// The search written down step by step, with flags and plain loops, and a superposition by singular
// values: slow, and independent of everything in the compare room but its parameters.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "compare/compare.h"

namespace tervolanda::test {

using Place = std::array<double, 3>;

struct LiteralFit {
    std::array<double, 9> rotation;
    Place predictionCentre, experimentCentre;
    double rmsd;
    Place apply(const Place& p) const;
};

// Kabsch's rotation from the eigenvectors of the squared correlation matrix.
LiteralFit literalFit(const std::vector<Place>& prediction, const std::vector<Place>& experiment);

// Paired points in mapped order.
struct LiteralPairs {
    std::vector<Place> prediction, experiment;
    std::size_t experimentLength = 0;
};

struct LiteralResult {
    std::vector<bool> subset;  // by position in mapped order
    std::uint32_t pairs = 0;
    double rmsd = 0.0, grmsd = 0.0, maxsub = 0.0, tm = 0.0;
};

// One pass of the search and its final scoring.
LiteralResult literalSearch(const LiteralPairs& pairs, const ComparisonParameters& parameters);

double literalScale(double length, double factor);

}  // namespace tervolanda::test
