// What two structures were found to share, with the structures: what depends on single residues is
// made when it is asked for.
#pragma once

#include <optional>

#include "bindings.h"
#include "compare/compare.h"
#include "compare/pairing/pairing_keys.h"
#include "structure.h"

namespace tervolanda::python {

struct Pair {
    StructurePtr experiment, prediction;
};

struct Comparison : Pair {
    ComparisonResult found;
    ComparisonParameters parameters;
    std::optional<Superposition> superposition;  // of the first domain
};

struct Gdt : Pair {
    double gdt = 0.0;
    std::optional<Superposition> superposition;
    ComparisonResult search;  // that the superposition comes from
    ComparisonParameters parameters;
};

// How a search pairs residues, if it does not pair them by structure.
inline PairingRules pairingOf(const ComparisonParameters& parameters) {
    return {.bySequence = parameters.pairBySequence, .mapsChains = parameters.mapChains};
}

// How all residue pairs are fitted, and what else is computed of them.
struct FitChoice {
    bool backbone = false;  // N, CA, C and O in place of CA
    bool urmsd = true;      // is computed, too
    bool urmsdRotation = false;
    PairingRules pairing{};
    // A measure on demand, for which residues pair by number also where both chains have the same
    // ends.
    std::optional<Measure> measure{};

    AtomSelection atoms() const {
        return backbone ? AtomSelection::Backbone : AtomSelection::Calpha;
    }
    RmsdOptions options() const;
    // What structures are prepared by.
    ComparisonParameters parameters() const;
    // The structure as it is prepared for this choice.
    const CoordinateSet& setOf(const Structure& structure) const {
        return measure == Measure::LddtAll ? structure.allAtoms() : structure.set(atoms());
    }
};

struct Rmsd : Pair {
    FitChoice choice;
    RmsdResult found;
    RelativeRmsd relative;
    std::optional<Superposition> superposition;

    const CoordinateSet& experimentSet() const { return choice.setOf(*experiment); }
    const CoordinateSet& predictionSet() const { return choice.setOf(*prediction); }
};

// Throws for a pairing by structure of complexes, which runs along one chain.
void requirePairing(const ComparisonParameters& parameters, const Structure& structure);

// Called with the interpreter's lock, which they give up; a signal's exception ends long ones.
Comparison compare(const StructurePtr& experiment, const StructurePtr& prediction,
                   const ComparisonParameters& parameters);
Gdt gdt(const StructurePtr& experiment, const StructurePtr& prediction,
        const ComparisonParameters& parameters);
Rmsd rmsd(const StructurePtr& experiment, const StructurePtr& prediction, const FitChoice& choice);

}  // namespace tervolanda::python
