// Residues without a whole backbone are removed, and beta carbons that are missing are built: for
// callers that ask for whole residues (Checks::backbone).  Whatever is done is said in a line.
#pragma once

#include <cstddef>
#include <set>
#include <vector>

#include "chain/input/request.h"

namespace tervolanda {

class Log;

// The repairs of one chain, residue by residue while somebody walks along it.  They are noted, and
// made after the walk in one pass: made one by one they would take quadratic time.  Until then an
// atom that isRemoved() counts as gone.
class BackboneRepairs {
 public:
    // All of them are lent.
    BackboneRepairs(Chain& chain, const Checks& checks, Log& log)
        : chain_(chain), checks_(checks), log_(log) {}

    // The end of the residue whose atoms begin at `first`; removed atoms do not interrupt it.
    std::size_t endOfResidue(std::size_t first) const;
    bool isRemoved(std::size_t atom) const {
        return !removed_.empty() && removed_.contains(chain_.atoms[atom].residueId());
    }
    // Looks at the residue of the atoms [first, end) and notes what it needs, with an ERROR line
    // for each; false when the chain is invalid by it.
    bool repair(std::size_t first, std::size_t end);
    // Makes the repairs.  A chain that needed any is then without residues.
    void apply();

 private:
    // The last atom of each kind.
    struct Backbone {
        const Atom* n = nullptr;
        const Atom* ca = nullptr;
        const Atom* c = nullptr;
        const Atom* o = nullptr;
        const Atom* cb = nullptr;
        bool isGlycine = false;
    };
    struct BuiltBeta {
        std::size_t place;  // goes before the atom of this position
        Atom atom;
    };

    Backbone backboneOf(std::size_t first, std::size_t end) const;
    void reportMissing(const Backbone& found, int number, bool isLast);
    bool addBeta(const Backbone& found, std::size_t end);

    Chain& chain_;
    const Checks& checks_;
    Log& log_;
    std::set<ResidueId> removed_;   // without a whole backbone
    std::vector<BuiltBeta> betas_;  // ascending places
};

}  // namespace tervolanda
