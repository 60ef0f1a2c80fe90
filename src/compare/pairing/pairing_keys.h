// Keys by which residues of two structures belong together, whatever way they are paired.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/pairing/pairing.h"
#include "compare/pairing/sequence_pairing.h"
#include "compare/pairing/subunit_mapper.h"

namespace tervolanda {

struct PairingRules {
    bool bySequence = false;  // residues by an alignment, else by number
    bool mapsChains = false;  // chains of complexes by sequence and place, else by name
};

// Gives residues that belong together one key, so that all that pairs residues by number goes on
// with the sets as if they had equal numbers: mapByResidue() and the searches of later domains know
// nothing else.
class PairingKeys {
 public:
    // Good until the next call.  Numbers, places and records stay those of the structures.
    struct Keyed {
        const CoordinateSet& experiment;
        const CoordinateSet& prediction;
        // Of complexes, the chains that belong together, in the prediction's order; empty for
        // single chains.
        std::span<const SubunitPair> subunits;
    };

    // Lines at report level 3: of complexes which chains belong together, and of alignments how
    // alike the sequences are.
    Keyed make(const CoordinateSet& experiment, const CoordinateSet& prediction,
               const PairingRules& rules, const Kernels& kernels, Report& report);

    // The same pairing in figures, for tables.
    struct Summary {
        std::span<const SubunitPair> subunits;       // as above
        std::optional<SequenceAgreement> agreement;  // of pairing by sequence
    };
    Summary summarise(const CoordinateSet& experiment, const CoordinateSet& prediction,
                      const PairingRules& rules, const Kernels& kernels);

 private:
    void pairSubunits(const CoordinateSet& experiment, const CoordinateSet& prediction,
                      const PairingRules& rules, const Kernels& kernels);
    SequenceAgreement agreementOfSubunits(const CoordinateSet& experiment,
                                          const CoordinateSet& prediction);
    bool areKeysOfBoth(const CoordinateSet& experiment, const CoordinateSet& prediction) const;
    void keyByNumber();
    void keyBySequence();

    SequencePairing sequences_;
    SubunitMapper mapper_;
    std::vector<SubunitPair> subunits_;      // in the order in which their residues are mapped
    std::vector<SubunitPair> shown_;         // in the prediction's order
    CoordinateSet experiment_, prediction_;  // with other keys
};

}  // namespace tervolanda
