// The loops that pairing by structure spends its time in, compiled once per instruction set.  As in
// those of the search the order of every operation stands in the source, so that all tables give
// the same bits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "compare/fit/kernels.h"

namespace tervolanda {

// Unit vectors of a fragment.
inline constexpr std::size_t kFragmentLength = 7;

// Arrays of this many entries more than there are values are padded for any table.
inline constexpr std::size_t kPadding = 16;

// Successive residues that are far together, or not.
inline constexpr std::size_t kResidueGroup = 8;

// One fragment of the prediction, and all of the experiment.
struct FragmentRow {
    const double* prediction[3];      // x, y, z of its kFragmentLength vectors
    double predictionSquares;         // sum of squares of these vectors
    const double* experiment[3];      // x, y, z of all vectors; padded by kPadding
    const double* experimentSquares;  // one a fragment; padded by kPadding
    std::size_t fragments;            // of the experiment
    double highest;                   // score of equal fragments
    double expected;                  // RMSD of unrelated fragments, whose score is 0
};

// A residue of the prediction, moved, and the experiment in groups of kResidueGroup.
struct DistanceRow {
    double x, y, z;               // Å
    const double* experiment[3];  // Å; padded by kPadding
    std::size_t residues;         // of the experiment
    const double* farSquared;     // one a group: beyond, no residue of the group is within reach
    double perScaleSquared;       // Å^-2
    double limit;                 // Å^2: similarity is 0 beyond
};

// A row of a local alignment.  All arrays are padded by kPadding; there `similarity` is minus
// infinity and the others are as they were made.
struct AlignmentRow {
    std::size_t columns;
    const float* similarity;
    float* scores;        // of the row above, then of this row; [0] is the border
    float* unskipped;     // score without a gap of columns at the end; [0] is the border
    float* paired;        // score with the two residues paired
    float* rowGap;        // score that ends in a gap of rows
    float* columnGap;     // score that ends in a gap of columns
    std::uint8_t* steps;  // up to kPadding - 1 entries after the last column are overwritten
    float open, affine;
};

// The steps of a cell of an alignment: its best state, and for either kind of gap whether it goes
// on in the cell that it comes from.
namespace steps {
inline constexpr int kStop = 0;  // no alignment with a positive score ends here
inline constexpr int kPair = 1;
inline constexpr int kSkipColumn = 2;
inline constexpr int kSkipRow = 3;
inline constexpr int kMask = 3;
inline constexpr int kColumnGapOn = 4;  // a gap of columns that ends here began further left
inline constexpr int kRowGapOn = 8;     // a gap of rows that ends here began further up
inline constexpr int kAlike = 16;       // the similarity is not 0
}  // namespace steps

struct PairingKernels {
    // The scores of a fragment with all of the experiment's.
    void (*fragmentScores)(const FragmentRow& row, float* scores);
    // The similarities of a residue to all of the experiment's.
    void (*distanceScores)(const DistanceRow& row, float* similarities);
    // Fills a row of an alignment; returns its highest score, 0 when none is positive.
    float (*alignRow)(const AlignmentRow& row);
};

const PairingKernels& pairingKernels(InstructionSet set);

}  // namespace tervolanda
