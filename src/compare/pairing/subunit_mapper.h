// Which chain of one complex is which of another, where names do not say it: predictors name the
// copies of a chain as they come, and entries have them in any order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/pairing/pairing.h"
#include "compare/pairing/sequence_pairing.h"
#include "compare/pairing/subunit_likeness.h"

namespace tervolanda {

// Copies of a chain of which every order is considered; of more the nearest are taken one by one.
inline constexpr std::size_t kMostExactCopies = 6;
// Chains of a complex that are mapped; a structure of more is paired by name.
inline constexpr std::size_t kMostMappedChains = 512;

// The chains of equal or similar sequence in one complex are candidates for one in the other.  For
// each pair of candidates the two are superposed, and under that motion every other chain gets the
// nearest candidate that is left.  Of the assignments that come of this the one with the highest
// TM-score counts; of equal ones that which leaves the chains their names, then the first.
//
// Chains are taken in the order of their coordinates, so that neither names nor the order in a file
// decide anything but ties.
class SubunitMapper {
 public:
    // Fills `pairs` in the order of the experiment's coordinates.  Chains without a candidate pair
    // by name where they can.  Residues of two chains belong together by number, or `bySequence`.
    void map(const CoordinateSet& experiment, const CoordinateSet& prediction, bool bySequence,
             SequencePairing& sequences, const Kernels& kernels, std::vector<SubunitPair>& pairs);

 private:
    // For each subunit of the prediction that of the experiment, or kNone.
    using Assignment = std::vector<std::uint32_t>;
    static constexpr std::uint32_t kNone = UINT32_MAX;

    // The highest sum of TM terms of an assignment that was found, and the motion it is under.
    struct Judgement {
        double tmSum = 0.0;
        Superposition motion{};
    };

    const SubunitSide& experiment() const { return likeness_.experiment(); }
    const SubunitSide& prediction() const { return likeness_.prediction(); }
    Assignment bestAssignment(const Kernels& kernels);
    Assignment byName() const;
    void addFromSeeds(const Kernels& kernels);
    void addAssignment(Assignment assignment);
    double gainOf(const Superposition& motion, std::uint32_t e, std::uint32_t p) const;
    double nearnessOf(const Superposition& motion, std::uint32_t e, std::uint32_t p) const;
    Assignment assignUnder(const Superposition& motion) const;
    static void assignExactly(const SubunitGroup& group, const std::vector<double>& gains,
                              Assignment& assignment);
    static void assignGreedily(const SubunitGroup& group, const std::vector<double>& gains,
                               Assignment& assignment);
    void placeAssigned(const Assignment& assignment);
    Judgement judge(const Assignment& assignment, const Kernels& kernels);
    void climb(const Kernels& kernels, Judgement& best);

    double scale_ = 0.0;  // of the TM-score, Å
    SubunitLikeness likeness_;
    std::vector<Assignment> assignments_;
    // The pairs of an assignment, as placeAssigned() leaves them, and scratch.
    std::vector<MatchedPair> residues_;
    std::vector<std::uint32_t> ends_;  // of the residues of each chain pair
    PairedPoints pairs_, gathered_;
    std::vector<double> squared_;
    std::vector<std::uint32_t> subset_, next_;
};

}  // namespace tervolanda
