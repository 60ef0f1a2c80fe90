// Pairing residues by their sequences instead of by number (--pair=sequence).
//
// The sets of both chains get the columns of their alignment for residue keys, and all that pairs
// by key goes on unchanged.  What a user sees are the numbers of the chains, which stay as they
// are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "compare/pairing/pairing.h"
#include "compare/pairing/sequence_alignment.h"

namespace tervolanda {

// Fills what the set shows of the sequences of its chains.
void addSequence(CoordinateSet& set);
// One letter a residue of a chain, as addSequence() has filled them in or would.
std::string lettersOf(const CoordinateSet& set, const Subunit& subunit);

// Gives the records of a chain the columns of an alignment for keys, `base` added.  The set is not
// sorted by them.
void setColumnKeys(const Subunit& subunit, const std::vector<std::int32_t>& columns,
                   std::int64_t base, CoordinateSet& set);

// How much two sequences have in common by their alignment.
struct SequenceAgreement {
    std::uint32_t pairs = 0;      // residues that stand in one column
    std::uint32_t identical = 0;  // of these: the same amino acid, and a known one
    std::size_t experimentResidues = 0;
    std::size_t predictionResidues = 0;

    // All per cent; identity is of the pairs, and none where there are none.
    std::optional<double> identity() const;
    double experimentCoverage() const;
    double predictionCoverage() const;
    // Together with that of other chains.
    void add(const SequenceAgreement& other);
    // One line at report level 3.
    void report(Report& report) const;
};

SequenceAgreement agreementOf(std::string_view experiment, std::string_view prediction,
                              const AlignedColumns& aligned);

// Gives residues that belong together by sequence one key, so that all that pairs residues by
// number goes on with them as if they had equal numbers.
class SequencePairing {
 public:
    struct Keyed {
        const CoordinateSet& experiment;
        const CoordinateSet& prediction;
    };

    // The sets with columns of the alignment for residue keys, good until the next call.  Numbers
    // and places stay those of the chains.  One line at report level 3.
    Keyed align(const CoordinateSet& experiment, const CoordinateSet& prediction, Report& report);

    // The same alignment in figures.
    SequenceAgreement agreement(const CoordinateSet& experiment, const CoordinateSet& prediction);
    // The alignment of two chains of these letters, good until the next call.
    const AlignedColumns& columnsOf(std::string_view experiment, std::string_view prediction);

 private:
    using Sequences = std::pair<std::string, std::string>;  // experiment, prediction

    // The chains of sets that are no complexes.
    const AlignedColumns& columnsOf(const CoordinateSet& experiment,
                                    const CoordinateSet& prediction);

    // Alignments of different sequences, as long as their columns are not more than this: in a
    // list they come again and again.
    static constexpr std::size_t kMostKept = std::size_t{1} << 22;

    SequenceAligner aligner_;
    std::map<Sequences, AlignedColumns> kept_;
    std::size_t keptColumns_ = 0;
    Sequences asked_;
    AlignedColumns latest_;
    CoordinateSet experiment_, prediction_;
};

}  // namespace tervolanda
