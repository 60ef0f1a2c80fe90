// Batches: all models of a list compared with each other, or with one experiment.
//
// Each batch writes its progress to `log`, as "Processed 20 of 190 MAXSUBs" before every twentieth
// comparison; at report level 3 the names of the two models and the details of their comparison
// follow.  Pairs are brought in in their specified order, and whatever the number of threads that
// compare them, results and lines are the same to the last bit.  Nothing is allocated for a
// pair of a list with itself, but for models larger than all before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/compare.h"

namespace tervolanda {

class Log;
class Report;

// The models of a list as comparisons need them, prepared once for all who look at them.  The list
// is lent.
class PreparedList {
 public:
    // At report level 5 the chains are printed.
    PreparedList(const ChainList& models, AtomSelection selection,
                 const ComparisonParameters& parameters, Report& report);

    std::size_t size() const { return sets_.size(); }
    AtomSelection selection() const { return selection_; }
    const ChainList& models() const { return models_; }
    // One per model, in list order.
    std::span<const CoordinateSet> sets() const { return sets_; }

 private:
    const ChainList& models_;
    AtomSelection selection_;
    std::vector<CoordinateSet> sets_;
};

// A comparison of a batch: positions in the list of experiments and in that of predictions, which
// in a batch of all pairs are one.
struct BatchPair {
    std::size_t experiment = 0;
    std::size_t prediction = 0;
};

// What computes the pairs of a batch: no matrix and no line depends on it.
struct Workforce {
    std::size_t threads = 1;
    const Kernels* kernels = nullptr;  // lent; none for the fastest of this processor
};

// A pair that has been compared, with its coordinate sets, lent.
struct ComparedPair {
    BatchPair at;
    const CoordinateSet& experiment;
    const CoordinateSet& prediction;
};

struct ListedRmsd;

// What a comparison by GDT leaves.
struct GdtOutcome {
    GdtResult found;
    bool hasFit = false;      // in batches of all pairs
    ComparisonResult search;  // that the superposition comes from
};

// Sees every pair, in order, after its comparison, with all that is known of it: for output that
// shows more than matrices and listed figures hold.  It is called by the thread that called the
// batch, and what it is shown is gone after the call.
class PairViewer {
 public:
    virtual void seeMaxSub(const ComparedPair& pair, const ComparisonResult& result) = 0;
    // `search` is the MaxSub search that the superposition comes from.
    virtual void seeGdt(const ComparedPair& pair, const GdtResult& found,
                        const ComparisonResult& search) = 0;
    // By RMSD, of a batch of all pairs without superposition and `matched`; or by a measure, with
    // the least-squares fit of the pairs that it looks at.
    virtual void seeRmsd(const ComparedPair& pair, const ListedRmsd& found,
                         std::span<const MatchedPair> matched) = 0;

 protected:
    PairViewer() = default;
    PairViewer(const PairViewer&) = default;
    PairViewer& operator=(const PairViewer&) = default;
    ~PairViewer() = default;
};

// --- All models with each other ------------------------------------------------------------------
//
// Model i is compared as the experiment with the models before it: (1, 0), (2, 1), (2, 0), (3, 2)
// and so on.

// Keeps what no matrix holds: superpositions and residue pairs.  Called as a PairViewer is, before
// it.
class PairRecorder {
 public:
    // Called for every pair, in order, after its comparison.
    virtual void record(BatchPair pair, const ComparisonResult& result) = 0;

 protected:
    PairRecorder() = default;
    PairRecorder(const PairRecorder&) = default;
    PairRecorder& operator=(const PairRecorder&) = default;
    ~PairRecorder() = default;
};

// Who computes a batch of all pairs, and who sees its pairs, if anybody.
struct BatchRun {
    Workforce workforce;
    PairViewer* viewer = nullptr;
};

// All pairs of a list by the MaxSub search.
struct MaxSubBatch {
    // TM-score, or MaxSub when ranking by it; 1 on the diagonal.  (j, i) is (i, j) renormalised to
    // the other model's length: not symmetric.
    DistanceMatrix scores;
    DistanceMatrix rmsd;  // of the subsets, Å; 0 with several domain iterations
    PairMatrix pairs;
};
// Without a recorder nothing else is kept.
MaxSubBatch compareAllMaxSub(const PreparedList& models, const ComparisonParameters& parameters,
                             PairRecorder* recorder, Log& log, Report& report,
                             const BatchRun& run = {});

// A score over the residues of one chain as one over those of another; as it is where that has
// none.
double renormalised(double score, std::size_t residues, std::size_t otherResidues);

struct GdtBatch {
    DistanceMatrix gdt;  // 0 to 100, symmetric, 100 on the diagonal
};
GdtBatch compareAllGdt(const PreparedList& models, const ComparisonParameters& parameters, Log& log,
                       Report& report, const BatchRun& run = {});

struct RmsdBatch {
    DistanceMatrix rmsd;   // Å; -1 where no fit was possible; 1 on the diagonal
    DistanceMatrix urmsd;  // 0 on the diagonal, and where it was not asked for
    PairMatrix pairs;      // 0 for fewer than 3
};
RmsdBatch compareAllRmsd(const PreparedList& models, const RmsdOptions& options, Log& log,
                         Report& report, const BatchRun& run = {});

// By a measure on demand, for which `fit` has to ask, too.
struct MeasureOptions {
    Measure measure = Measure::Lddt;
    RmsdOptions fit;
};
// What a comparison by a measure came to.  A pair that no motion fits may have a value all the
// same: lDDT superposes nothing.
struct MeasuredOutcome {
    double value = 0.0;  // 0 without one
    bool hasFit = false;
    RmsdResult fit;  // where somebody looks at it
};
struct MeasureBatch {
    // Of pairs without a value 0; symmetric, the highest value on the diagonal.
    DistanceMatrix values;
};
MeasureBatch compareAllByMeasure(const PreparedList& models, const MeasureOptions& options,
                                 Log& log, Report& report, const BatchRun& run = {});

// --- Some of the pairs, here or elsewhere --------------------------------------------------------

// Pairs that follow each other in the order of all pairs, which are counted from 0: what a block of
// a run computes, and in 64 bits, as a list may have more pairs than an address of 32 bits has
// values.
struct PairRange {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
};

// Pairs of n models: of a list that is too long for this machine, too.
inline std::uint64_t pairsOf(std::uint64_t n) {
    return n == 0 ? 0 : n * (n - 1) / 2;
}

// The pairs of a list that a range counts, which there are; the list is lent.
struct PairSlice {
    const PreparedList& models;
    PairRange range;
};

// What a comparison by RMSD came to, in the precision of the matrices of an RmsdBatch.
struct RmsdCells {
    float rmsd = 0.0F;  // -1 without a fit
    float urmsd = 0.0F;
    std::uint32_t pairs = 0;  // mapped; without a fit, fewer than 3 are 0 in the matrix alone
};

// The GDT of a pair without a fit, whose cell in the matrix is 0: a fit can have that, too.
inline constexpr double kNoGdt = -1.0;

// Takes the outcome of each pair, and gives it, in pair order.
template <typename Outcome>
using TakePair = std::function<void(BatchPair pair, const Outcome& outcome)>;
template <typename Outcome>
using GivePair = std::function<void(BatchPair pair, Outcome& outcome)>;

// The pairs of a slice, compared as in the batch of all pairs.
void compareMaxSub(const PairSlice& slice, const ComparisonParameters& parameters,
                   const TakePair<ComparisonResult>& take, Log& log, Report& report,
                   const Workforce& workforce = {});
void compareGdt(const PairSlice& slice, const ComparisonParameters& parameters,
                const TakePair<GdtOutcome>& take, Log& log, Report& report,
                const Workforce& workforce = {});
void compareRmsd(const PairSlice& slice, const RmsdOptions& options,
                 const TakePair<RmsdCells>& take, Log& log, Report& report,
                 const Workforce& workforce = {});
void compareByMeasure(const PairSlice& slice, const MeasureOptions& options,
                      const TakePair<MeasuredOutcome>& take, Log& log, Report& report,
                      const Workforce& workforce = {});

// Who is shown the pairs of a batch; null for nobody.
struct PairListeners {
    PairRecorder* recorder = nullptr;
    PairViewer* viewer = nullptr;
};

// The batches of all pairs from outcomes that such a comparison took.  Of a ComparisonResult pairs,
// rmsd, maxsub and tm count, for the recorder the first iteration's superposition and the matched
// pairs, and for a viewer, who asks for no distances, all but the partners; of a GdtOutcome without
// a viewer the GDT, of a MeasuredOutcome the value.
MaxSubBatch collectAllMaxSub(const PreparedList& models, const ComparisonParameters& parameters,
                             const PairListeners& listeners, const GivePair<ComparisonResult>& give,
                             Log& log, Report& report);
GdtBatch collectAllGdt(const PreparedList& models, const ComparisonParameters& parameters,
                       const GivePair<GdtOutcome>& give, Log& log, Report& report,
                       PairViewer* viewer = nullptr);
RmsdBatch collectAllRmsd(const PreparedList& models, const RmsdOptions& options,
                         const GivePair<RmsdCells>& give, Log& log, Report& report,
                         PairViewer* viewer = nullptr);
MeasureBatch collectAllByMeasure(const PreparedList& models, const MeasureOptions& options,
                                 const GivePair<MeasuredOutcome>& give, Log& log, Report& report);

// --- One experiment with all models --------------------------------------------------------------

// What all comparisons of a list with one experiment share, lent.  Models are prepared one by one,
// as their turn comes.
struct ListComparison {
    const Chain& experiment;
    const CoordinateSet& experimentSet;
    const ChainList& models;
    AtomSelection selection = AtomSelection::Calpha;
    const ComparisonParameters& parameters;
    PairViewer* viewer = nullptr;
};

// Results come one per model, in list order.
struct ListedMaxSub {
    std::uint32_t pairs = 0;
    double rmsd = 0.0;
    double maxsub = 0.0;
    double tm = 0.0;
    double msi = 0.0;
    std::optional<Superposition> superposition;  // of the first domain, if any
    MeasureFigures measures{};
};
std::vector<ListedMaxSub> compareListMaxSub(const ListComparison& list, Log& log, Report& report,
                                            const Workforce& workforce = {});

std::vector<GdtResult> compareListGdt(const ListComparison& list, Log& log, Report& report,
                                      const Workforce& workforce = {});

struct ListedRmsd {
    std::optional<double> rmsd;  // Å; none without a fit
    std::uint32_t pairs = 0;
    double urmsd = 0.0;
    double gyrationRadius = 0.0;             // of the model, Å
    std::optional<NativeContacts> contacts;  // where the parameters ask for them
    std::optional<Superposition> superposition;
    MeasureValues measures{};  // of residues only as a viewer sees them
};
// What is listed of a fit onto the experiment; without contacts.
ListedRmsd listedRmsd(const RmsdResult& fit, const CoordinateSet& prediction);
std::vector<ListedRmsd> compareListRmsd(const ListComparison& list, const RmsdOptions& options,
                                        Log& log, Report& report, const Workforce& workforce = {});
// By a measure that the options ask for: the same, with the progress lines of measures.
std::vector<ListedRmsd> compareListByMeasure(const ListComparison& list, const RmsdOptions& options,
                                             Log& log, Report& report,
                                             const Workforce& workforce = {});

// The model IDs in matrix order.
std::vector<std::uint32_t> modelIds(const ChainList& models);

}  // namespace tervolanda
