// Chains as comparisons see them, and pairs of their residues.
//
// Comparisons see chains in this form only: arrays of coordinates for the inner loops, and what
// pairs residues and names them in lines.  A set is made once a chain (PreparedList in lists) and
// not changed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "chain/chain.h"
#include "compare/fit/fit.h"

namespace tervolanda {

class Report;
struct HeavyAtoms;

// Which atoms of a residue become records: the C-alpha atom, or N, CA, C and O as far as they are
// there.  A residue without any of them has no record.
enum class AtomSelection : std::uint8_t { Calpha, Backbone };

// The records of one chain of a complex, [first, end): none of a chain without selected atoms.
struct Subunit {
    std::string name;
    std::uint32_t first = 0, end = 0;
    std::string residueLetters;  // as those of the set, of this chain alone
};

// The selected atoms of a chain or a complex, a record each, in chain order.  All arrays have one
// entry a record unless they say otherwise.
struct CoordinateSet {
    Points points;  // Å
    std::vector<std::int32_t> residueNumber;
    std::vector<char> insertionCode;
    std::vector<std::uint32_t> residueIndex;  // position of the residue in its chain
    std::vector<std::int64_t> residueKey;     // ResidueId::key(), or what pairs in its place
    std::vector<std::uint8_t> atomKey;        // which backbone atom: 1 is the C-alpha
    // Where the stretch that a record is in ends: the first record after it that is not the residue
    // after that of the record before, by its number, without insertion codes, in the same chain.
    // Filled by prepareChain().
    std::vector<std::uint32_t> stretchEnd;
    std::vector<std::uint32_t> byKey;  // record numbers sorted by residue and atom key
    bool ascends = false;              // all keys differ and are sorted as they stand
    std::string sequence;              // one-letter codes
    std::string residueLetters;        // one a residue, lower case where the chain is broken
                                       // after it; filled for pairing by sequence
    std::string secondaryStructure;    // H, E or C; filled in sequence-independent mode
    // Shared by copies of the set; filled for measures that look at side chains.
    std::shared_ptr<const HeavyAtoms> heavyAtoms;
    double gyrationRadius = 0.0;    // Å, all C-alpha atoms of the chain
    std::size_t residues = 0;       // of the chain, with or without a selected atom
    std::int64_t firstResidue = 0;  // residue key of the chain's first
    std::int64_t lastResidue = 0;   // and last residue
    bool isComplex = false;
    std::vector<Subunit> subunits;  // of a complex its chains, in record order; else the chain

    std::size_t size() const { return points.size(); }
    // Whether record `b` is the residue after that of record `a`, by its number, too, and in the
    // same chain.  A gap in the numbering ends a stretch even where the chain goes on, and so does
    // an insertion code: a range has to mean its residues by number to whoever reads it.
    bool isNext(std::size_t a, std::size_t b) const;
    // Position of the chain that a record belongs to.
    std::uint16_t subunitOf(std::size_t record) const;
};

inline constexpr std::uint8_t kCalphaKey = 1;

// Whether a coordinate set carries the secondary structure: pairing by structure shows it.
enum class SecondaryStructure : std::uint8_t { Omitted, Assigned };

// Turns a chain into its coordinate set.  At report level 5 the chain is printed in FASTA form.
CoordinateSet prepareChain(const Chain& chain, AtomSelection selection,
                           SecondaryStructure structure, Report& report);

// Chains of two complexes that belong together: positions among the subunits of either.
struct SubunitPair {
    std::uint16_t experiment = 0;
    std::uint16_t prediction = 0;
    bool operator==(const SubunitPair&) const = default;
};

// A structure has fewer than 2^16 chains.
inline SubunitPair subunitPair(std::size_t experiment, std::size_t prediction) {
    return {static_cast<std::uint16_t>(experiment), static_cast<std::uint16_t>(prediction)};
}

// One residue pair of a MaxSub subset: record positions, 0-based, and the domain iteration (0 for
// the first) whose subset it is in.
struct MatchedPair {
    std::uint32_t experiment = 0;
    std::uint32_t prediction = 0;
    std::uint32_t iteration = 0;
};

}  // namespace tervolanda
