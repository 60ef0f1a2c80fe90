// Global alignment of two sequences, for pairing residues by sequence (sequence_pairing.h).
//
// Global, because models of a protein have the same sequence but for tags, mutations and lost ends;
// a local alignment would leave residues at the ends unpaired where they differ.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tervolanda {

// An alignment: for each residue of either sequence its column, ascending.  Residues of one column
// belong together; a column of one residue only is a gap of the other sequence.
struct AlignedColumns {
    std::vector<std::int32_t> experiment, prediction;
};

// The alignment of highest score (Needleman & Wunsch 1970) by BLOSUM62 (Henikoff & Henikoff 1992)
// with affine gaps (Gotoh 1982): a gap of k residues costs 11 + k, and nothing where it stands
// before the first or after the last residue of the other sequence, as tags and lost ends do.
// Keeps its memory from call to call, a byte for each pair of residues.
class SequenceAligner {
 public:
    // The sequences are one-letter codes, lower case where the chain is broken after the residue:
    // residues are likely to be missing there, and a gap costs 4 + k.  Letters other than the
    // twenty are unknown residues, 0 with all others.  Equal sequences pair completely; among equal
    // steps, from the end, a pair is preferred, then skipping an experiment residue.
    void align(std::string_view experiment, std::string_view prediction, AlignedColumns& aligned);

 private:
    // Fills the scores of the row that ends with the i-th prediction residue (0-based) and its
    // steps.
    void fillRow(std::string_view experiment, std::string_view prediction, std::size_t i);
    void traceBack(std::size_t experimentLength, std::size_t predictionLength,
                   AlignedColumns& aligned) const;

    // Scratch, kept from call to call.  The first two have one entry a column, after an entry for
    // no experiment residue at all.
    std::vector<std::int32_t> scores_;  // of the row above, then of the row itself
    std::vector<std::int32_t> rowGap_;  // score that ends with a skipped prediction residue
    std::vector<std::uint8_t> steps_;   // prediction x experiment residues, bits in the .cpp
};

}  // namespace tervolanda
