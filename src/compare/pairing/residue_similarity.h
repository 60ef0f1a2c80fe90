// How alike the residues of two chains are, by the shapes of the backbones around them or by their
// distances under a superposition: what a local alignment goes by.
//
// Both kinds make a row when it is asked for: a matrix of two chains of 10,000 residues would have
// 400 MB, and an alignment looks at each row once.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "compare/pairing/local_alignment.h"
#include "compare/pairing/pairing.h"
#include "compare/pairing/pairing_kernels.h"

namespace tervolanda {

// The vectors from each point to the next, of length 1; a vector shorter than 1e-6 Å stays as it
// is, and one whose length is not finite is 0.  One fewer than points.  makeUnitVectors(), which is
// for whole chains, gives such a vector a direction; here it must not lend a fragment a shape.
Points unitVectors(const Points& points);

// The scores of all fragments of two sets of unit vectors, prediction fragments by experiment
// fragments: 10 max(0, (U - u) / U), u the RMSD of the two fragments of 7 vectors after the best
// rotation about their common origin and U its expected value for unrelated fragments (Ortiz,
// Strauss & Olmea 2002).  Empty when either set has fewer than 7 vectors.  The prediction's vectors
// are lent.
class FragmentScores final : public SimilarityRows {
 public:
    FragmentScores(const Points& experimentVectors, const Points& predictionVectors,
                   const PairingKernels& kernels);
    std::size_t rows() const override { return predictionSquares_.size(); }
    std::size_t columns() const override { return columns_; }
    void fillRow(std::size_t row, std::span<float> scores) const override;

 private:
    const PairingKernels& kernels_;
    const Points& prediction_;
    std::size_t columns_ = 0;                        // fragments of the experiment
    std::array<std::vector<double>, 3> experiment_;  // x, y, z; padded as kernels want it
    std::vector<double> experimentSquares_;          // one a fragment; padded, too
    std::vector<double> predictionSquares_;          // one a fragment
};

// Distance beyond which residues of chains of this length are not alike, Å.
double similarityReach(double length);

// Distances, in Å, that similarities go by.
struct SimilarityScale {
    double half;   // residues at this distance are half as alike as those that coincide
    double reach;  // beyond, they are not alike
};

// The similarities of all residues under a superposition, prediction by experiment:
// 1 / (1 + (d / half)^2) for a pair at distance d of at most the reach, else 0.  The prediction is
// lent.
class DistanceScores final : public SimilarityRows {
 public:
    DistanceScores(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const Superposition& superposition, const PairingKernels& kernels,
                   const SimilarityScale& scale);
    std::size_t rows() const override { return prediction_.size(); }
    std::size_t columns() const override { return columns_; }
    void fillRow(std::size_t row, std::span<float> scores) const override;

 private:
    const PairingKernels& kernels_;
    const CoordinateSet& prediction_;
    Superposition superposition_;
    std::size_t columns_;                            // residues of the experiment
    std::array<std::vector<double>, 3> experiment_;  // x, y, z; padded as kernels want it
    // Of each kResidueGroup successive experiment residues, which lie together, one stands for the
    // others: Å^2, to it; beyond, none is within reach.
    std::vector<double> farSquared_;
    double perScaleSquared_;  // Å^-2
    double limit_;            // Å^2
};

}  // namespace tervolanda
