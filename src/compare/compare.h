// Comparison of two chains: the parameters, the coordinate sets that chains are turned into, the
// scratch that comparisons share, and the measures.  Nothing here ends the process or keeps state
// between calls; what a call may touch stands in its signature.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/stop.h"
#include "chain/chain.h"
#include "compare/fit/fit.h"
#include "compare/pairing/pairing.h"

namespace tervolanda {

class Report;
enum class ReportLevel : int;
class SimilaritySink;  // compare/pairing/similarity.h
struct Kernels;        // compare/fit/kernels.h
struct ComparisonScratch;

// Measures that a comparison computes on demand, beside its own and of the same residue pairs.
enum class Measure : std::uint8_t {
    Lddt,     // local distance difference test (Mariani et al. 2013), C-alpha atoms, 0 to 1
    LddtAll,  // the same of all atoms but hydrogens
    GdtTs,    // Global Distance Test (Zemla 2003), total score: the mean of the largest shares of
              // the experiment within 1, 2, 4 and 8 Å, each under its own superposition, 0 to 100
    GdtHa,    // the same, high accuracy: within 0.5, 1, 2 and 4 Å
};
inline constexpr std::array<Measure, 4> kMeasures = {Measure::Lddt, Measure::LddtAll,
                                                     Measure::GdtTs, Measure::GdtHa};

class MeasureSet {
 public:
    void add(Measure measure) { bits_ |= bitOf(measure); }
    bool has(Measure measure) const { return (bits_ & bitOf(measure)) != 0; }
    bool isEmpty() const { return bits_ == 0; }
    std::size_t size() const { return static_cast<std::size_t>(std::popcount(bits_)); }

 private:
    static unsigned bitOf(Measure measure) { return 1U << static_cast<unsigned>(measure); }
    unsigned bits_ = 0;
};

struct MeasureRequest {
    MeasureSet wanted{};
    // The lDDT of two models, neither of which is the truth: the mean of both as the reference.
    // Without it the experiment is.
    bool bothWays = false;
    bool perResidue = false;         // the lDDT of each residue of the experiment, too
    const StopFlag* stop = nullptr;  // for callers of the library: ends a search when it is set
};

// By measure; empty for what was not asked for, and for what cannot be said of the pair.
using MeasureFigures = std::array<std::optional<double>, kMeasures.size()>;
inline std::optional<double> figureOf(const MeasureFigures& figures, Measure measure) {
    return figures[static_cast<std::size_t>(measure)];
}

// The name of a measure, as options and files have it: "lddt", "lddt_all", "gdt_ts", "gdt_ha".
std::string_view measureName(Measure measure);
// Whether it goes from 0 to 100, and not to 1.
inline bool isPercentage(Measure measure) {
    return measure == Measure::GdtTs || measure == Measure::GdtHa;
}

struct MeasureValues {
    MeasureFigures values;
    // One a record of the experiment, by all atoms where that was asked for; not a number for a
    // residue that has no neighbours.
    std::vector<double> residues;

    std::optional<double>& value(Measure measure) {
        return values[static_cast<std::size_t>(measure)];
    }
    std::optional<double> value(Measure measure) const { return figureOf(values, measure); }
    void clear() {
        values.fill(std::nullopt);
        residues.clear();
    }
};

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
    bool pairBySequence = false;       // pair residues by an alignment of the sequences
    bool mapChains = false;            // pair the chains of complexes by sequence and place
    bool similarityMatrix = false;     // show the similarity matrices to the sink
    int optimisations = 0;             // passes of re-mapping
    double gapOpen = -0.6;
    double gapAffine = 0.0;
    int seedLevels = 1;      // seed lengths are the pairs / 2^i, i = 0 .. seedLevels
    double gdtCutoff = 4.0;  // GDT looks at 1/4, 1/2, 1 and 2 times this, Å
    MeasureRequest measures;
    // Takes the similarity matrices of sequence-independent searches, lent.  Comparisons that share
    // a sink must not run side by side.
    SimilaritySink* similaritySink = nullptr;
    const StopFlag* stop = nullptr;  // for callers of the library: ends a search when it is set
};

// The scratch of one comparison at a time.  It grows to the largest pair of chains seen and is
// reused, so that a batch allocates nothing per pair.  Comparisons may run side by side when each
// has a workspace of its own.
class ComparisonWorkspace {
 public:
    ComparisonWorkspace();  // with the fastest loops of this processor
    explicit ComparisonWorkspace(const Kernels& kernels);
    ComparisonWorkspace(const ComparisonWorkspace&) = delete;
    ComparisonWorkspace& operator=(const ComparisonWorkspace&) = delete;
    ~ComparisonWorkspace();

    ComparisonScratch& scratch() { return *scratch_; }

 private:
    std::unique_ptr<ComparisonScratch> scratch_;
};

// Moves every atom of a chain.
void applySuperposition(const Superposition& superposition, Chain& chain);

// Turns a chain into its coordinate set, as `parameters` ask for it.
CoordinateSet prepareChain(const Chain& chain, AtomSelection selection,
                           const ComparisonParameters& parameters, Report& report);

// One MaxSub domain: the superposition and what was found under it.
struct DomainIteration {
    Superposition superposition;
    std::uint32_t pairs = 0;
    double score = 0.0;           // its share of the total MaxSub
    double distanceCutoff = 0.0;  // Å, as used
};

// The figures of a MaxSub subset and its superposition.
struct Scores {
    std::uint32_t pairs = 0;  // in the subset
    double rmsd = 0.0;        // of the subset, Å
    double grmsd = 0.0;       // of all mapped pairs, Å
    double maxsub = 0.0;      // 0..1
    double tm = 0.0;          // 0..1
};

// What one comparison yields: the scores of the first iteration, but for `pairs` and `maxsub`,
// which are totals over the iterations.  An object that is used again keeps its memory, so that a
// batch does not allocate for every pair.
struct ComparisonResult : Scores {
    std::uint32_t mapped = 0;                 // residue pairs of the mapping, first iteration
    double msi = 0.0;                         // MaxSub index over the iterations
    std::vector<DomainIteration> iterations;  // those that counted, in order
    std::vector<MatchedPair> matched;         // iteration by iteration, in mapped order
    std::vector<std::int32_t> partners;  // per prediction record: experiment record or -1, of the
                                         // first mapping, whatever came of it
    MeasureValues measures;
    std::vector<SubunitPair> subunits;  // of complexes: the chains that belong together

    // A search that failed leaves neither; every fit has a TM-score.
    bool hasFit() const { return !iterations.empty() || tm > 0.0; }
    void clear();
};

// Measures of pairs that a comparison has made, as those would do that are asked for them; others
// have no value.  `partners` has an experiment record, or -1, for each record of the prediction.
void measurePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                  std::span<const std::int32_t> partners, const MeasureRequest& request,
                  ComparisonWorkspace& workspace, MeasureValues& found);

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
    MeasureFigures measures{};
};
// `result` is that of the MaxSub search that it looks at.
GdtResult compareGdt(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                     Report& report, ComparisonResult& result);

struct RmsdOptions {
    bool urmsd = true;           // compute the unit-vector RMSD
    bool urmsdRotation = false;  // report the rotation composed with that of the URMSD fit
    bool reportTooFew = true;    // print a line when fewer than 3 atoms pair
    bool pairBySequence = false;
    bool pairByNumber = false;  // also where both chains have the same ends
    MeasureRequest measures{};  // the sets hold C-alpha atoms
    bool mapChains = false;
};

// The least-squares fit of all residue pairs.
struct RmsdResult {
    std::optional<double> rmsd;  // Å; none when fewer than 3 atoms pair or no rotation fits
    std::uint32_t pairs = 0;     // C-alpha pairs
    double urmsd = 0.0;          // 0 with fewer than 4 C-alpha pairs
    Superposition superposition;
    std::vector<MatchedPair> matched;  // C-alpha pairs in mapped order
    MeasureValues measures;
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
// included; residues of two chains of a complex are far apart whatever their numbers.
NativeContacts nativeContacts(const Chain& experiment, const Chain& prediction, double distance,
                              int gap);
// The native contacts of an RMSD comparison, where the parameters ask for them: residues belong
// together by number or, paired by sequence and in complexes, as `fit` matched them, the
// prediction's then having the numbers of their partners.
std::optional<NativeContacts> sharedContacts(const Chain& experiment,
                                             const CoordinateSet& experimentSet,
                                             const Chain& prediction,
                                             const CoordinateSet& predictionSet,
                                             const RmsdResult& fit,
                                             const ComparisonParameters& parameters);

// The lines of a fit: centres, translation, rotation.  Written at report level `level` or more.
void reportSuperposition(const Superposition& superposition, ReportLevel level, Report& report);

// Prints the two sequences one above the other, "|" between pairs of a MaxSub subset, "'" between
// other mapped pairs, in blocks of `lineWrap` columns; of complexes chain pair by chain pair, and
// then the chains without a partner.  Written at report level 4 or more.
void printAlignment(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    const ComparisonResult& result, const ComparisonParameters& parameters,
                    int lineWrap, Report& report);

}  // namespace tervolanda
