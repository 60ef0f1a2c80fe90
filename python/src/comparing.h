// What two structures were found to share, with the structures: what depends on single residues is
// made when it is asked for.
#pragma once

#include <optional>

#include "bindings.h"
#include "compare/compare.h"
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

// How all residue pairs are fitted.
struct FitChoice {
    bool backbone = false;  // N, CA, C and O in place of CA
    bool bySequence = false;
    bool urmsd = true;  // is computed, too
    bool urmsdRotation = false;
    bool mapChains = false;

    AtomSelection atoms() const {
        return backbone ? AtomSelection::Backbone : AtomSelection::Calpha;
    }
    RmsdOptions options() const {
        return {.urmsd = urmsd,
                .urmsdRotation = urmsdRotation,
                .pairBySequence = bySequence,
                .mapChains = mapChains};
    }
};

struct Rmsd : Pair {
    FitChoice choice;
    RmsdResult found;
    RelativeRmsd relative;
    std::optional<Superposition> superposition;

    const CoordinateSet& experimentSet() const { return experiment->set(choice.atoms()); }
    const CoordinateSet& predictionSet() const { return prediction->set(choice.atoms()); }
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
