// Local alignment of two chains by a matrix of similarities.
//
// For pairing by structure, where nothing is known of residue numbers: the first pairing aligns
// scores of fragments, every later one similarities by distance (sequence_independent.cpp).
// Sequences are aligned globally and in whole numbers, by sequence_alignment.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/stop.h"
#include "compare/pairing/pairing_kernels.h"
#include "compare/pairing/similarity.h"

namespace tervolanda {

// What a gap adds to the score of an alignment: `open` for its first residue and `affine` for each
// further one, both negative or zero.  Gaps are never rewarded: positive values count as zero.  Nor
// does a residue cost more than a gap of its own: an `affine` below `open` counts as `open`.
struct GapPenalties {
    double open = 0.0;
    double affine = 0.0;
};

// Two residues that an alignment puts together.
struct AlignedPair {
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    bool operator==(const AlignedPair&) const = default;
};

// The local alignment of highest score (Smith & Waterman 1981) with affine gaps (Gotoh 1982).
// Keeps its memory from call to call, a byte for each pair of a row and a column.
class LocalAligner {
 public:
    explicit LocalAligner(const PairingKernels& kernels) : kernels_(kernels) {}

    // Aligns the rows of `similarity` (prediction) with its columns (experiment) and stores in
    // `pairs` the pairs of non-zero similarity, rows and columns ascending; none when no similarity
    // is positive.  Among equal steps the diagonal is preferred, then skipping a column; of equal
    // ends the first, row by row, is taken.  Returns the score.
    float align(const SimilarityRows& similarity, const GapPenalties& penalties,
                std::vector<AlignedPair>& pairs, const StopFlag* stop = nullptr);

 private:
    struct Cell {
        std::size_t row = 0;
        std::size_t column = 0;
    };

    void prepare(std::size_t rows, std::size_t columns);
    // The arrays as a kernel takes them, for row `i`.
    AlignmentRow rowOf(std::size_t i, float open, float affine);
    void traceBack(Cell end, std::vector<AlignedPair>& pairs) const;

    const PairingKernels& kernels_;
    std::size_t columns_ = 0;
    // See AlignmentRow for what they hold.
    std::vector<float> similarity_, scores_, unskipped_, paired_, rowGap_, columnGap_;
    std::vector<std::uint8_t> steps_;  // rows x columns, then room for what a kernel overwrites
};

}  // namespace tervolanda
