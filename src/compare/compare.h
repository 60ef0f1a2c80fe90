// Comparison of two chains: the parameters, the coordinate sets that chains are turned into, the
// scratch that comparisons share, and the measures.  Nothing here ends the process or keeps state
// between calls; what a call may touch stands in its signature.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "chain/chain.h"

namespace tervolanda {

class Report;
class ComparisonWorkspace;  // compare/workspace.h

// What a comparison is asked to do.  The initial values are those of a block that no command line
// has filled.
struct ComparisonParameters {
    double distanceCutoff = 0.0;  // MaxSub distance cut-off, Å; 0 calibrates it
    int normLength = 0;           // TM-score normalisation length; below 1: the experiment's
    unsigned int iterations = 1;  // MaxSub domain iterations; 0 counts as 1
    int reserved1 = 1;
    double thresholdScale = 1.0;  // factor on the length-dependent distance scale
    bool reserved2 = false;
    bool scorePoor = true;             // score poor alignments, too
    bool rankByTM = true;              // rank by TM-score instead of MaxSub
    double contactDistance = 7.5;      // CB-CB distance of a native contact, Å
    int contactGap = 5;                // smallest sequence separation of a contact
    bool contacts = false;             // compute native contacts
    bool maximiseTM = false;           // search the subset with the highest TM-score
    int minIterationPairs = 0;         // an iteration with fewer pairs and a score
    double minIterationScore = 0.0;    // below this counts as 0
    bool maxRMSD = false;              // select by RMSD instead of by distance
    bool sequenceIndependent = false;  // pair residues by structure
    bool similarityMatrix = false;     // dump the similarity matrices
    int optimisations = 0;             // passes of re-mapping
    double gapOpen = -0.6;
    double gapAffine = 0.0;
    int seedLevels = 1;      // seed lengths are the pairs / 2^i, i = 0 .. seedLevels
    double gdtCutoff = 4.0;  // GDT looks at 1/4, 1/2, 1 and 2 times this, Å
};

// A rigid motion that puts the prediction onto the experiment:
// p' = rotation (p - predictionCentre) + experimentCentre.  Å; the rotation row by row.
struct Superposition {
    std::array<double, 3> experimentCentre{};
    std::array<double, 3> predictionCentre{};
    std::array<double, 9> rotation{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

    std::array<double, 3> apply(double x, double y, double z) const {
        const double px = x - predictionCentre[0];
        const double py = y - predictionCentre[1];
        const double pz = z - predictionCentre[2];
        return {rotation[0] * px + rotation[1] * py + rotation[2] * pz + experimentCentre[0],
                rotation[3] * px + rotation[4] * py + rotation[5] * pz + experimentCentre[1],
                rotation[6] * px + rotation[7] * py + rotation[8] * pz + experimentCentre[2]};
    }
};

// Moves every atom of a chain.
void applySuperposition(const Superposition& superposition, Chain& chain);

// Coordinates as the kernels want them, Å: three arrays of one length.
struct Points {
    std::vector<double> x, y, z;

    std::size_t size() const { return x.size(); }
    void resize(std::size_t n) {
        x.resize(n);
        y.resize(n);
        z.resize(n);
    }
    void append(double px, double py, double pz) {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }
};

enum class AtomSelection : std::uint8_t { Calpha, Backbone };

// The selected atoms of a chain, a record each, in chain order.  All arrays have one entry a record
// unless they say otherwise.
struct CoordinateSet {
    Points points;  // Å
    std::vector<std::int32_t> residueNumber;
    std::vector<char> insertionCode;
    std::vector<std::uint32_t> residueIndex;  // position of the residue in its chain
    std::vector<std::int32_t> residueKey;     // residue number x 256 + insertion code
    std::vector<std::uint8_t> atomKey;        // which backbone atom: 1 is the C-alpha
    std::vector<std::uint32_t> byKey;         // record numbers sorted by residue and atom key
    std::string sequence;                     // one-letter codes
    std::string secondaryStructure;           // H, E or C; filled in sequence-independent mode
    double gyrationRadius = 0.0;              // Å, all C-alpha atoms of the chain
    std::size_t residues = 0;                 // of the chain, with or without a selected atom
    std::int64_t firstResidue = 0;            // residue key of the chain's first
    std::int64_t lastResidue = 0;             // and last residue

    std::size_t size() const { return points.size(); }
};

inline constexpr std::uint8_t kCalphaKey = 1;

// Turns a chain into its coordinate set.  At report level 5 the chain is printed in FASTA form.
CoordinateSet prepareChain(const Chain& chain, AtomSelection selection,
                           const ComparisonParameters& parameters, Report& report);

// One residue pair of a MaxSub subset: record positions, 0-based, and the domain iteration (0 for
// the first) whose subset it is in.
struct MatchedPair {
    std::uint32_t experiment = 0;
    std::uint32_t prediction = 0;
    std::uint32_t iteration = 0;
};

// One MaxSub domain: the superposition and what was found under it.
struct DomainIteration {
    Superposition superposition;
    std::uint32_t pairs = 0;
    double score = 0.0;           // its share of the total MaxSub
    double distanceCutoff = 0.0;  // Å, as used
};

// What one comparison yields.  An object that is used again keeps its memory, so that a batch does
// not allocate for every pair.
struct ComparisonResult {
    std::uint32_t pairs = 0;   // in the MaxSub subset, over all iterations
    std::uint32_t mapped = 0;  // residue pairs of the mapping, first iteration
    double rmsd = 0.0;         // of the subset under its superposition, Å
    double grmsd = 0.0;        // of all mapped pairs under the same superposition, Å
    double maxsub = 0.0;       // 0..1, total over the iterations
    double tm = 0.0;           // 0..1
    double msi = 0.0;          // MaxSub index over the iterations
    std::vector<DomainIteration> iterations;  // those that counted, in order
    std::vector<MatchedPair> matched;         // iteration by iteration, in mapped order
    std::vector<std::int32_t> partners;  // per prediction record: experiment record or -1, first
                                         // iteration

    void clear();
};

// The MaxSub search with its domain iterations (Siew et al. 2000; TM-score: Zhang & Skolnick 2004).
// Prints its lines to `report`.  A comparison that finds nothing leaves zeros and no iteration.
void compareMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                   Report& report, ComparisonResult& result);

// Global Distance Test (Zemla 2003), 0 to 100: mean percentage of experiment residues within 1/4,
// 1/2, 1 and 2 times gdtCutoff under one superposition, that of the first MaxSub subset; 0 and no
// superposition when there is no subset or no fit.
struct GdtResult {
    double gdt = 0.0;
    std::optional<Superposition> superposition;
};
// `result` is that of the MaxSub search behind it.
GdtResult compareGdt(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                     Report& report, ComparisonResult& result);

struct RmsdOptions {
    bool urmsd = true;           // compute the unit-vector RMSD
    bool urmsdRotation = false;  // report the rotation composed with that of the URMSD fit
    bool reportTooFew = true;    // print a line when fewer than 3 atoms pair
};

// The least-squares fit of all residue pairs.
struct RmsdResult {
    std::optional<double> rmsd;  // Å; none when fewer than 3 atoms pair or no rotation fits
    std::uint32_t pairs = 0;     // C-alpha pairs
    double urmsd = 0.0;          // 0 with fewer than 4 C-alpha pairs
    Superposition superposition;
    std::vector<MatchedPair> matched;  // C-alpha pairs in mapped order
};

void compareRmsd(const CoordinateSet& experiment, const CoordinateSet& prediction,
                 const RmsdOptions& options, ComparisonWorkspace& workspace, Report& report,
                 RmsdResult& result);

// RMSD over the RMSD expected of unrelated structures of this size (Betancourt & Skolnick 2001),
// and its standard score.  Both 0 for fewer than 3 pairs or an RMSD of 0.
struct RelativeRmsd {
    double ratio = 0.0;
    double standardScore = 0.0;
};
RelativeRmsd relativeRmsd(double rmsd, double experimentGyration, double predictionGyration,
                          std::uint32_t pairs);

// URMSD over its expected value for unrelated chains, sqrt(2 - 2.84 / sqrt(pairs)) (Ortiz, Strauss
// & Olmea 2002); 0 where that is not positive.
double relativeUrmsd(double urmsd, std::uint32_t pairs);

// Contacts of the experiment that the prediction has, too.
struct NativeContacts {
    std::uint32_t matched = 0;
    std::uint32_t native = 0;  // contacts of the experiment
    double percentage() const {
        return matched == 0 ? 0.0
                            : 100.0 * static_cast<double>(matched) / static_cast<double>(native);
    }
};
// CB atoms (CA of glycine) within `distance` Å, residue numbers at least `gap` apart, both limits
// included.
NativeContacts nativeContacts(const Chain& prediction, const Chain& experiment, double distance,
                              int gap);

// The lines of a fit: centres, translation, rotation.  Written at report level `atLeast` or more.
void reportSuperposition(const Superposition& superposition, int atLeast, Report& report);

// Prints the two sequences one above the other, "|" between pairs of a MaxSub subset, "'" between
// other mapped pairs, in blocks of `lineWrap` columns.  Written at report level 4 or more.
void printAlignment(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    const ComparisonResult& result, const ComparisonParameters& parameters,
                    int lineWrap, Report& report);

}  // namespace tervolanda
