// Which chains of two complexes may belong together, by their names or by their sequences.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "compare/pairing/pairing.h"
#include "compare/pairing/sequence_pairing.h"

namespace tervolanda {

// The chains of equal names, in the experiment's order; two single chains whatever their names.
void pairByName(const CoordinateSet& experiment, const CoordinateSet& prediction,
                std::vector<SubunitPair>& pairs);

// The chains of one complex.  Those that have the same residues are of one kind.  The set is lent.
struct SubunitSide {
    const CoordinateSet* set = nullptr;
    std::vector<std::uint32_t> order;             // subunits by their coordinates
    std::vector<std::uint32_t> kind;              // of each subunit
    std::vector<std::uint32_t> shown;             // of each kind, a subunit
    std::vector<std::array<double, 3>> centroid;  // of each subunit, as read, Å

    const Subunit& of(std::uint32_t subunit) const { return set->subunits[subunit]; }
};

// Subunits that are candidates for each other, directly or by way of others.
struct SubunitGroup {
    std::vector<std::uint32_t> experiment, prediction;  // in the order of their coordinates

    bool hasChoice() const { return experiment.size() > 1 || prediction.size() > 1; }
};

// Invariant after compare(): likeness_ has an entry for each pair of kinds, and each candidate is
// in one of the groups.
class SubunitLikeness {
 public:
    // Records of a pair of C-alpha atoms, counted from the first record of either chain: they serve
    // all pairs of chains of the same two kinds.
    struct Offsets {
        std::uint32_t experiment = 0, prediction = 0;
    };
    // Two kinds of chains.
    struct Likeness {
        double identity = 0.0;  // equal residues of the shorter chain, 0..1
        std::vector<Offsets> residues{};
        bool isCandidate = false;
    };

    // Candidates have a quarter of the residues of the shorter chain in common, and nine tenths of
    // what the best partner of either has.  Residues belong together by number, or `bySequence`.
    void compare(const CoordinateSet& experiment, const CoordinateSet& prediction, bool bySequence,
                 SequencePairing& sequences);

    const SubunitSide& experiment() const { return experiment_; }
    const SubunitSide& prediction() const { return prediction_; }
    // Each has subunits of both sides.
    const std::vector<SubunitGroup>& groups() const { return groups_; }
    // Of two subunits.
    const Likeness& of(std::uint32_t e, std::uint32_t p) const {
        return likeness_[prediction_.kind[p] * experiment_.shown.size() + experiment_.kind[e]];
    }

 private:
    static void takeSide(const CoordinateSet& set, SubunitSide& side);
    void compareKinds(bool bySequence, SequencePairing& sequences);
    void compareBySequence(std::uint32_t e, std::uint32_t p, SequencePairing& sequences);
    void compareByNumber(std::uint32_t e, std::uint32_t p);
    void chooseCandidates();
    void makeGroups();
    Likeness& likeness(std::uint32_t experimentKind, std::uint32_t predictionKind) {
        return likeness_[predictionKind * experiment_.shown.size() + experimentKind];
    }

    SubunitSide experiment_, prediction_;
    std::vector<Likeness> likeness_;  // prediction kinds x experiment kinds
    std::vector<SubunitGroup> groups_;
};

}  // namespace tervolanda
