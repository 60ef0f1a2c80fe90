// How alike the residues of two chains are, by the shapes of the backbones around them or by their
// distances under a superposition.
//
// Both kinds make a row when it is asked for: a matrix of two chains of 10,000 residues would have
// 400 MB.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "compare/pairing/local_alignment.h"
#include "compare/pairing/pairing.h"

namespace tervolanda {

// Unit vectors of a fragment.
inline constexpr std::size_t kFragmentLength = 7;

// The vectors from each point to the next, of length 1; a vector shorter than 1e-6 Å stays as it
// is, and one whose length is not finite is 0.  One fewer than points.  makeUnitVectors(), which is
// for whole chains, gives such a vector a direction; here it must not lend a fragment a shape.
Points unitVectors(const Points& points);

// The scores of all fragments of two sets of unit vectors, prediction fragments by experiment
// fragments: 10 max(0, (U - u) / U), u the RMSD of the two fragments of 7 vectors after the best
// rotation about their common origin and U its expected value for unrelated fragments (Ortiz,
// Strauss & Olmea 2002).  Empty when either set has fewer than 7 vectors.  The vectors are lent.
class FragmentScores final : public SimilarityRows {
 public:
    FragmentScores(const Points& experimentVectors, const Points& predictionVectors);
    std::size_t rows() const override { return predictionSquares_.size(); }
    std::size_t columns() const override { return experimentSquares_.size(); }
    void fillRow(std::size_t row, std::span<float> scores) const override;

 private:
    const Points& experiment_;
    const Points& prediction_;
    std::vector<double> experimentSquares_, predictionSquares_;  // one a fragment
};

// Distance beyond which residues of chains of this length are not alike, Å.
double similarityReach(double length);

// The similarities of all residues under a superposition, prediction by experiment:
// 1 / (1 + (d / scale)^2) for a pair at distance d of at most `reach`, else 0.  Scale and reach in
// Å.  The sets are lent.
class DistanceScores final : public SimilarityRows {
 public:
    DistanceScores(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const Superposition& superposition, double scale, double reach);
    std::size_t rows() const override { return prediction_.size(); }
    std::size_t columns() const override { return experiment_.size(); }
    void fillRow(std::size_t row, std::span<float> scores) const override;

 private:
    // Successive experiment residues lie together: what is far from one of them is far from all.
    static constexpr std::size_t kGroup = 8;
    struct Group {
        std::size_t middle;  // the residue that stands for the others
        std::size_t end;     // after the last one
        double farSquared;   // Å^2, to the middle: beyond, none is within reach
    };

    const CoordinateSet& experiment_;
    const CoordinateSet& prediction_;
    Superposition superposition_;
    double perScaleSquared_;  // Å^-2
    double limit_;            // Å^2
    std::vector<Group> groups_;
};

}  // namespace tervolanda
