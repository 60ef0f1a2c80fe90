// Which residue of the prediction belongs to which of the experiment, by number or by position.  By
// structure it is StructureMapper (sequence_independent.h), by sequence SequencePairing; both end
// in a ResidueMapping, too, and who searches does not know where that came from.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "compare/pairing/pairing.h"

namespace tervolanda {

// The pairing of two coordinate sets.  Both directions agree: prediction record i has partner j
// exactly when experiment record j has partner i.  Mapped order is the order of prediction records,
// of complexes that of keys: chain pair by chain pair, whatever their order in the files.
struct ResidueMapping {
    std::vector<std::int32_t> predictionPartner;  // per prediction record: experiment record or -1
    std::vector<std::int32_t> experimentPartner;  // per experiment record: prediction record or -1
    std::vector<MatchedPair> pairs;               // in mapped order; `iteration` is not used

    std::size_t size() const { return pairs.size(); }
    // No pairs, for sets of these sizes.
    void reset(std::size_t experimentRecords, std::size_t predictionRecords);
    // Fills `pairs` from the partners of the prediction.
    void collectPairs();
    bool operator==(const ResidueMapping& other) const {
        return predictionPartner == other.predictionPartner;
    }
};

// Makes `byKey` anew after a change of keys; prepareChain() and selectRecords() have done so
// already.
void sortByKey(CoordinateSet& set);

// Pairs records of equal residue and atom key: of complexes after PairingKeys has made keys that
// mean the same in both.  Of several experiment records with one key the
// later ones are taken first, by the prediction's records in their order.  Linear in the number of
// records.  Each prediction record without partner is a line at report level 6 or more.
void mapByResidue(const CoordinateSet& experiment, const CoordinateSet& prediction,
                  ResidueMapping& mapping, Report& report);

// Pairs record i with record i; the sets have equal length.
void mapByPosition(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   ResidueMapping& mapping);

// True when the sets have as many records and their chains the same first and last residue; never
// for complexes.
bool haveSameEnds(const CoordinateSet& experiment, const CoordinateSet& prediction);

// One number a set, none of them a complex, the same for sets that pair by position: those that
// have the same ends or, where they are paired by it, the same sequence.
std::vector<std::uint32_t> positionalKinds(std::span<const CoordinateSet> sets);

// The records of `set` for which `left[record]` is not 0, in order; `original` receives their
// numbers in `set`.
void selectRecords(const CoordinateSet& set, const std::vector<std::uint8_t>& left,
                   CoordinateSet& selected, std::vector<std::uint32_t>& original);

}  // namespace tervolanda
