// How alike the residues of two chains are, by the shapes of the backbones around them or by their
// distances under a superposition.
#pragma once

#include <cstddef>

#include "base/matrix.h"
#include "compare/compare.h"

namespace tervolanda {

// Unit vectors of a fragment.
inline constexpr std::size_t kFragmentLength = 7;

// The vectors from each point to the next, of length 1; a vector shorter than 1e-6 Å stays as it
// is, and one that is not finite is 0.  One fewer than points.
Points unitVectors(const Points& points);

// Fills `scores` (prediction fragments x experiment fragments) for two sets of unit vectors:
// 10 max(0, (U - u) / U), u the RMSD of the two fragments of 7 vectors after the best rotation
// about their common origin and U its expected value for unrelated fragments (Ortiz, Strauss &
// Olmea 2002).  Empty when either set has fewer than 7 vectors.
void scoreFragments(const Points& experimentVectors, const Points& predictionVectors,
                    Matrix<float>& scores);

// Distance beyond which residues of chains of this length are not alike, Å.
double similarityReach(double length);

// Fills `scores` (prediction x experiment): 1 / (1 + (d / scale)^2) for a pair at distance d of at
// most `reach` under the superposition, else 0.  Scale and reach in Å.
void scoreDistances(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    const Superposition& superposition, double scale, double reach,
                    Matrix<float>& scores);

}  // namespace tervolanda
