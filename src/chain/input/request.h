// What the bits of a request say, taken apart: which atoms are kept, and what is checked of them.
// Callers set bits, as the interface is given; inside the room nobody looks at one (selectionOf(),
// checksOf()).
#pragma once

#include <cstdint>

#include "chain/input/input.h"

namespace tervolanda {

enum class AtomKinds : std::uint8_t { All, BackboneAndBeta, Calpha };

// Which atoms of a file become part of its chains.
struct Selection {
    AtomKinds kinds = AtomKinds::All;
    bool takesHydrogens = true;

    bool takes(std::uint32_t classification) const {
        if (!takesHydrogens && (classification & NameElementH) != 0) return false;
        if (kinds == AtomKinds::All) return true;
        if (kinds == AtomKinds::Calpha) return (classification & kMaskCA) == kMaskCA;
        return (classification & NameBackboneOrBeta) != 0;
    }
};

// Which checks a chain has to pass, and their limits.
struct Checks {
    bool any = false;         // the gap, insertion-code and radius tests do not run on their own
    bool reportsAll = false;  // goes on after the first fault
    bool gaps = false;
    bool duplicates = false;
    bool calphaDistances = false;
    bool backbone = false;        // residues without a whole one are removed, a missing CB is built
    bool strictBackbone = false;  // and either makes the chain invalid
    bool calphasSuffice = false;  // a residue with its C-alpha atom is whole
    bool insertionCodes = false;  // all have to be the same
    bool breaks = false;          // see markBreaks()
    bool radius = false;          // see compactness()
    std::string templateSequence;  // the rest as in ReadRequest
    std::size_t minimumCalphas = 0;
    int maximumGap = 1;
    double maximumCompactness = 0.0;
};

// The first of ReadAllAtoms, ReadBackboneAndBeta and ReadCalphaOnly that is set decides; without
// any, all atoms are kept.
Selection selectionOf(std::uint16_t options);

Checks checksOf(const ReadRequest& request);

}  // namespace tervolanda
