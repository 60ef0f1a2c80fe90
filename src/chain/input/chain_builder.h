// Atoms become chains, whatever format they come from.  A reader says which residue begins and
// offers its atoms by name; what the request, the exclusions and the limits leave out is decided
// here.  Only of an atom that is kept does the reader look at the rest: of the records that a run
// reads for their C-alpha atoms, nine in ten are dropped by their names alone.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chain/input/input.h"
#include "chain/input/request.h"

namespace tervolanda {

// What a file says of a residue, lent for the call.
struct ResidueLabel {
    std::string_view chain;  // as the file names it; atoms of one name are of one chain
    FixedText<3> name;
    ResidueId id;
    std::string_view key;  // as in columns 23 to 27 of a PDB file, for ResidueExclusions
    std::optional<int> type = std::nullopt;  // where it does not follow from the name
};

// Invariant: `model_` holds what the current residue has in common with its atoms, `current_` is
// the position of the chain that took an atom last, and each chain has the place in `places_` that
// it has in `chains_`.
class ChainBuilder {
 public:
    // The exclusions are lent.
    ChainBuilder(const Selection& selection, const ResidueExclusions& exclusions)
        : selection_(selection), exclusions_(exclusions) {}

    // The atoms that follow are of this residue, until another begins.
    void beginResidue(const ResidueLabel& label);
    // Adds the atom of this name (four characters, as in a PDB file) to its chain; nullptr when it
    // is not wanted.  All that follows from name and residue is filled in, the rest is the
    // reader's. Good until the next call.
    Atom* add(std::string_view name);
    // Whether there were more atoms than a file may have; none is added from then on.
    bool exceeds() const { return atoms_ > kMostAtoms; }

    // In order of their first atoms, numbered from 1, residues not built.  No chain is empty.
    std::vector<Chain>& chains() { return chains_; }

 private:
    std::vector<Atom>& currentAtoms();

    Selection selection_;
    const ResidueExclusions& exclusions_;
    std::vector<Chain> chains_;
    std::map<std::string, std::size_t, std::less<>> places_;  // of the chains, by name
    std::size_t atoms_ = 0;                                   // wanted so far
    Atom model_;               // what all atoms of the residue have in common
    std::string chain_;        // name of the residue's chain, which is made with its first atom
    std::size_t current_ = 0;  // position of the chain that took an atom last
    bool isWanted_ = false;    // the residue
};

}  // namespace tervolanda
