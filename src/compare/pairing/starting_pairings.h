// The pairings of residues that a search without residue numbers begins with.
//
// A search only improves what it is given, so that a wrong start ends in a wrong superposition that
// looks like two proteins without a common fold.  Starts are cheap beside a search: any number of
// them are judged roughly, and at most four are searched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/pairing/local_alignment.h"
#include "compare/pairing/pairing.h"

namespace tervolanda {

using Pairing = std::vector<AlignedPair>;  // rows: prediction, columns: experiment; both ascending

// Scratch of the choice, kept from call to call; nothing in it means anything between calls.
struct StartScratch {
    explicit StartScratch(const Kernels& fastest)
        : kernels(fastest),
          pairingKernels(tervolanda::pairingKernels(fastest.instructionSet)),
          aligner(pairingKernels) {}

    const Kernels& kernels;
    const PairingKernels& pairingKernels;
    PairedPoints pairs, gathered;
    std::vector<double> squared;
    std::vector<std::uint32_t> subset;
    LocalAligner aligner;
    Pairing candidate, next;
    const StopFlag* stop = nullptr;  // of the search under way
};

// Looks for pairings to begin with beside the one by shape: the best shift of one chain along the
// other, and those that follow from superposing short fragments.  Each is judged by the TM-score
// that a few rounds of fitting and aligning by distance lead to.
class StartingPairings {
 public:
    StartingPairings(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const GapPenalties& penalties, StartScratch& scratch);

    // The pairing by shape, then the most promising others, best first: few, and none when the
    // pairing by shape leads to a good TM-score.
    std::vector<Pairing> find(const Pairing& byShape);

 private:
    struct Judged {
        double tm = 0.0;  // by the length of the shorter chain
        Superposition superposition;
    };
    // A superposition of two fragments and how well the chains around them agree.
    struct FragmentStart {
        double agreement = 0.0;
        Superposition superposition;
    };

    struct Candidate {
        double tm = 0.0;
        Pairing pairing;
    };

    void place(const Pairing& pairing);
    Judged judge(const Pairing& pairing);
    Judged refine(Pairing& pairing);
    void align(const Superposition& superposition, Pairing& pairing);
    double considerCandidate();
    void considerShifts();
    void considerFragments();
    std::vector<FragmentStart> superposeFragments();
    double agreement(const Superposition& superposition, std::ptrdiff_t shift) const;

    // Invariant: `candidates_` has what was judged better than nothing, in the order of trial; ties
    // keep it.
    const CoordinateSet& experiment_;
    const CoordinateSet& prediction_;
    GapPenalties penalties_;
    StartScratch& scratch_;
    double length_;  // of the shorter chain
    double scale_;   // of the TM-score, Å
    std::vector<Candidate> candidates_;
};

}  // namespace tervolanda
