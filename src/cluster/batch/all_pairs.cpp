// All models of a list with each other.  By MaxSub and GDT a pair is a search, computed alone.  An
// RMSD is a ten-thousandth of that, and rows of pairs are computed together: a group of chains is
// then fetched once for all of them (compare/fit/chain_groups.h).
//
// The classes here are batches in the sense of run_batch.h, in three layers.  AllPairs
// (all_pairs.h) is the pair order and nothing else.  MaxSubSearches, GdtSearches and RmsdFits add
// compute().  On top stands what becomes of an outcome: MaxSubPairs, GdtPairs and RmsdPairs fill
// matrices, TakenPairs hands outcomes to a caller (who writes them to a part file), and GivenPairs
// puts outcomes that a caller has (out of part files) in place of compute().
//
// More than 400 lines, because a layer is only understood beside the one it stands on.
#include <algorithm>
#include <limits>
#include <utility>

#include "cluster/batch/all_pairs.h"
#include "compare/pairing/mapping.h"

namespace tervolanda {

namespace {

// Residues and not atoms of the set, of which there are four a residue by backbone.
std::uint32_t residueCount(const CoordinateSet& set) {
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(set.residues, std::numeric_limits<std::uint32_t>::max()));
}

// Pair counts; a model shares all its residues with itself.
PairMatrix pairMatrix(std::span<const CoordinateSet> sets) {
    PairMatrix pairs(sets.size(), sets.size(), 0U);
    for (std::size_t i = 0; i < sets.size(); ++i)
        pairs.at(i, i) = residueCount(sets[i]);
    return pairs;
}

class MaxSubSearches : public AllPairs {
 public:
    using Outcome = ComparisonResult;
    static constexpr const char* kName = "MAXSUB";

    MaxSubSearches(AllPairs pairs, const ComparisonParameters& given,
                   bool reportsSuperpositions = false)
        : AllPairs(pairs),
          parameters(given),
          hasIterations(given.iterations > 1),
          reportsSuperpositions_(reportsSuperpositions) {}

    ChunkNeeds chunkNeeds() const { return needsOfSearches(sizeof(Outcome)); }

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& result = outcomes.front();
        compareMaxSub(sets[pair.experiment], sets[pair.prediction], parameters, worker.workspace,
                      worker.report, result);
        if (hasIterations) reportTotal(result, worker.report);
        if (reportsSuperpositions_ && !result.iterations.empty()) {
            reportSuperposition(result.iterations.front().superposition, ReportLevel::Numbers,
                                worker.report);
        }
        worker.finishPair();
    }

 protected:
    const ComparisonParameters& parameters;
    bool hasIterations;

 private:
    bool reportsSuperpositions_;
};

class MaxSubPairs : public MaxSubSearches {
 public:
    MaxSubPairs(const PreparedList& list, const ComparisonParameters& given, PairRecorder* recorder,
                PairViewer* viewer)
        : MaxSubSearches(AllPairs(list), given, recorder != nullptr),
          found{matrixWithDiagonal(list.size(), 1.0F), matrixWithDiagonal(list.size(), 0.0F),
                pairMatrix(list.sets())},
          ranksByTM_(given.rankByTM && !hasIterations),
          // A given normalisation length is the same for both models of a pair.
          keepsLength_(ranksByTM_ && given.normLength > 0),
          recorder_(recorder),
          viewer_(viewer) {}

    void consume(BatchPair pair, const Outcome& result) {
        const auto [i, j] = pair;
        const double score = ranksByTM_ ? result.tm : result.maxsub;
        const double mirrored =
            keepsLength_ ? score : renormalised(score, sets[i].residues, sets[j].residues);
        found.scores.at(i, j) = static_cast<float>(score);
        found.scores.at(j, i) = static_cast<float>(mirrored);
        setBoth(found.rmsd, pair, hasIterations ? 0.0F : static_cast<float>(result.rmsd));
        setBoth(found.pairs, pair, result.pairs);
        if (recorder_ != nullptr) recorder_->record(pair, result);
        if (viewer_ != nullptr) viewer_->seeMaxSub(compared(pair), result);
    }

    MaxSubBatch found;

 private:
    bool ranksByTM_;
    bool keepsLength_;
    PairRecorder* recorder_;
    PairViewer* viewer_;
};

class GdtSearches : public AllPairs {
 public:
    using Outcome = GdtOutcome;
    static constexpr const char* kName = "GDT";

    // Searches stay with the worker unless somebody looks at them.
    GdtSearches(AllPairs pairs, const ComparisonParameters& parameters, bool keepsSearches)
        : AllPairs(pairs), parameters_(parameters), keepsSearches_(keepsSearches) {}

    ChunkNeeds chunkNeeds() const { return needsOfSearches(sizeof(Outcome)); }

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& outcome = outcomes.front();
        ComparisonResult& search = keepsSearches_ ? outcome.search : worker.result;
        outcome.found = compareGdt(sets[pair.experiment], sets[pair.prediction], parameters_,
                                   worker.workspace, worker.report, search);
        // A subset may be one that no motion fits; one that counts as nothing is a fit.
        const bool isMoved = search.iterations.empty() || outcome.found.superposition;
        outcome.hasFit = search.hasFit() && isMoved;
        worker.finishPair();
    }

 private:
    const ComparisonParameters& parameters_;
    bool keepsSearches_;
};

class GdtPairs : public GdtSearches {
 public:
    GdtPairs(const PreparedList& list, const ComparisonParameters& parameters, PairViewer* viewer)
        : GdtSearches(AllPairs(list), parameters, viewer != nullptr),
          found{matrixWithDiagonal(list.size(), 100.0F)},
          viewer_(viewer) {}

    void consume(BatchPair pair, const Outcome& outcome) {
        setBoth(found.gdt, pair, static_cast<float>(outcome.found.gdt));
        if (viewer_ != nullptr) viewer_->seeGdt(compared(pair), outcome.found, outcome.search);
    }

    GdtBatch found;

 private:
    PairViewer* viewer_;
};

PositionalRmsd positionalRmsd(std::span<const CoordinateSet> sets, const RmsdOptions& options,
                              const Kernels& kernels) {
    const std::vector<std::uint32_t> kinds = positionalKinds(sets);
    std::vector<PositionalChain> chains;
    chains.reserve(sets.size());
    for (std::size_t i = 0; i < sets.size(); ++i)
        chains.push_back({&sets[i].points, kinds[i]});
    const auto measures =
        options.urmsd ? PositionalMeasures::RmsdAndUrmsd : PositionalMeasures::Rmsd;
    return {chains, measures, kernels};
}

class RmsdFits : public AllPairs {
 public:
    using Outcome = RmsdCells;
    static constexpr const char* kName = "RMSD";

    RmsdFits(AllPairs pairs, AtomSelection selection, const RmsdOptions& options, bool wantsDetails,
             const Kernels& kernels)
        : AllPairs(pairs),
          options_(options),
          // The details of a fit are known to a comparison of its own only; and complexes have
          // their chains in any order, and no direction from one to the next.
          byPosition_(!wantsDetails && selection == AtomSelection::Calpha &&
                      std::none_of(sets.begin(), sets.end(),
                                   [](const CoordinateSet& set) { return set.isComplex; })),
          positional_(positionalRmsd(byPosition_ ? sets : std::span<const CoordinateSet>(), options,
                                     kernels)) {
        options_.reportTooFew = false;  // usual in a list and not worth a line each
    }

    // Those of the rows that are computed together.
    std::size_t together(BatchPair from) const {
        if (!byPosition_) return 1;
        const std::size_t end = endOfRows(from.experiment);
        return static_cast<std::size_t>(pairsOf(end) - pairsOf(from.experiment)) -
               (from.experiment - 1 - from.prediction);
    }
    ChunkNeeds chunkNeeds() const {
        if (!byPosition_) return {};
        return {2000, kRows * sets.size(), sizeof(Outcome)};
    }
    void compute(BatchPair from, std::span<Outcome> outcomes, BatchWorker& worker) const;

 private:
    static constexpr std::size_t kRows = PositionalRmsd::kRowsAtOnce;

    // One after the last of the rows that are computed together with `row`.
    std::size_t endOfRows(std::size_t row) const {
        return std::min(row - row % kRows + kRows, sets.size());
    }
    Outcome compare(BatchPair pair, BatchWorker& worker) const;

    RmsdOptions options_;
    bool byPosition_;
    PositionalRmsd positional_;
};

// Cells are filled below the diagonal, row by row, and mirrored at the end.
class RmsdPairs : public RmsdFits {
 public:
    RmsdPairs(const PreparedList& list, const RmsdOptions& options, bool wantsDetails,
              PairViewer* viewer, const Kernels& kernels)
        : RmsdFits(AllPairs(list), list.selection(), withoutMeasures(options), wantsDetails,
                   kernels),
          found{matrixWithDiagonal(list.size(), 1.0F), matrixWithDiagonal(list.size(), 0.0F),
                pairMatrix(list.sets())},
          measured_(options),
          workspace_(kernels),
          viewer_(viewer) {}

    void consume(BatchPair pair, const Outcome& cells) {
        const auto [i, j] = pair;
        found.rmsd.at(i, j) = cells.rmsd;
        if (measured_.urmsd) found.urmsd.at(i, j) = cells.urmsd;
        // Fewer than three atoms determine no rotation, and the matrix then shows no pairs; two
        // residues with their backbones have a fit.
        const bool isMapped = cells.rmsd >= 0.0F || cells.pairs >= kFewestPairs;
        found.pairs.at(i, j) = isMapped ? cells.pairs : 0U;
        if (viewer_ != nullptr) viewer_->seeRmsd(compared(pair), asListed(pair, cells), {});
    }

    RmsdBatch found;

 private:
    static constexpr std::uint32_t kFewestPairs = 3;

    static RmsdOptions withoutMeasures(RmsdOptions options) {
        options.measures = {};
        return options;
    }
    // For viewers; the cells are single precision, as the matrix is that their files have to agree
    // with.
    ListedRmsd asListed(BatchPair pair, const Outcome& cells);

    // Measures on demand are computed where they are seen: outcomes of a few bytes, of which a
    // chunk has thousands, have no room for them.
    RmsdOptions measured_;
    ComparisonWorkspace workspace_;
    RmsdResult fit_;
    PairViewer* viewer_;
};

ListedRmsd RmsdPairs::asListed(BatchPair pair, const RmsdCells& cells) {
    ListedRmsd listed;
    if (cells.rmsd >= 0.0F) listed.rmsd = static_cast<double>(cells.rmsd);
    listed.pairs = cells.pairs;
    listed.urmsd = static_cast<double>(cells.urmsd);
    listed.gyrationRadius = sets[pair.prediction].gyrationRadius;
    if (measured_.measures.wanted.isEmpty()) return listed;
    Log log;
    Report silent(log, 0);
    compareRmsd(sets[pair.experiment], sets[pair.prediction], measured_, workspace_, silent, fit_);
    listed.measures = fit_.measures;
    return listed;
}

// A pair by a fit of its own.
RmsdCells RmsdFits::compare(BatchPair pair, BatchWorker& worker) const {
    constexpr double kNoFit = -1.0;
    RmsdResult& fit = worker.fit;
    compareRmsd(sets[pair.experiment], sets[pair.prediction], options_, worker.workspace,
                worker.report, fit);
    return {static_cast<float>(fit.rmsd.value_or(kNoFit)),
            static_cast<float>(fit.rmsd ? fit.urmsd : 0.0), fit.pairs};
}

// The range may begin and end within a row, so the rows are filled whole and the outcomes taken
// from where the range begins; what PositionalRmsd left open is compared by a fit of its own.
void RmsdFits::compute(BatchPair from, std::span<Outcome> outcomes, BatchWorker& worker) const {
    if (!byPosition_) {
        outcomes.front() = compare(from, worker);
        worker.finishPair();
        return;
    }
    const BatchPair last = skip(from, outcomes.size() - 1);
    const auto rows = std::span(worker.rows).first(last.experiment + 1 - from.experiment);
    positional_.compareWithEarlier(from.experiment, rows);
    auto outcome = outcomes.begin();
    std::size_t j = from.prediction + 1;
    for (std::size_t i = from.experiment; outcome != outcomes.end(); j = ++i) {
        const RmsdRow& row = rows[i - from.experiment];
        const auto atoms = static_cast<std::uint32_t>(sets[i].size());
        for (; j-- > 0 && outcome != outcomes.end(); ++outcome) {
            *outcome = row.has(j) ? RmsdCells{static_cast<float>(row.rmsd[j]),
                                              static_cast<float>(row.urmsd[j]), atoms}
                                  : compare({i, j}, worker);
            worker.finishPair();
        }
    }
}

// Copies what is below the diagonal to above it, in tiles that the cache holds: column by column
// each value would fetch a line of its own.
template <typename Value>
void mirror(Matrix<Value>& matrix) {
    constexpr std::size_t kTile = 32;
    const std::size_t n = matrix.rows();
    for (std::size_t top = 0; top < n; top += kTile) {
        for (std::size_t left = 0; left <= top; left += kTile) {
            for (std::size_t i = top; i < std::min(top + kTile, n); ++i) {
                for (std::size_t j = left; j < std::min(left + kTile, i); ++j)
                    matrix.at(j, i) = matrix.at(i, j);
            }
        }
    }
}

// The matrix of URMSD is all zeros where it was not asked for.
RmsdBatch mirrored(RmsdBatch found, const RmsdOptions& options) {
    mirror(found.rmsd);
    if (options.urmsd) mirror(found.urmsd);
    mirror(found.pairs);
    return found;
}

}  // namespace

double renormalised(double score, std::size_t residues, std::size_t otherResidues) {
    if (otherResidues == 0) return score;
    return score * static_cast<double>(residues) / static_cast<double>(otherResidues);
}

MaxSubBatch compareAllMaxSub(const PreparedList& models, const ComparisonParameters& parameters,
                             PairRecorder* recorder, Log& log, Report& report,
                             const BatchRun& run) {
    MaxSubPairs pairs(models, parameters, recorder, run.viewer);
    runBatch(pairs, workforceFor(parameters, run.workforce), log, report);
    return std::move(pairs.found);
}

GdtBatch compareAllGdt(const PreparedList& models, const ComparisonParameters& parameters, Log& log,
                       Report& report, const BatchRun& run) {
    GdtPairs pairs(models, parameters, run.viewer);
    runBatch(pairs, workforceFor(parameters, run.workforce), log, report);
    return std::move(pairs.found);
}

RmsdBatch compareAllRmsd(const PreparedList& models, const RmsdOptions& options, Log& log,
                         Report& report, const BatchRun& run) {
    RmsdPairs pairs(models, options, report.reports(ReportLevel::Passes), run.viewer,
                    kernelsOr(run.workforce.kernels));
    runBatch(pairs, run.workforce, log, report);
    return mirrored(std::move(pairs.found), options);
}

void compareMaxSub(const PairSlice& slice, const ComparisonParameters& parameters,
                   const TakePair<ComparisonResult>& take, Log& log, Report& report,
                   const Workforce& workforce) {
    TakenPairs pairs(MaxSubSearches(AllPairs(slice), parameters), take);
    runBatch(pairs, workforceFor(parameters, workforce), log, report);
}

void compareGdt(const PairSlice& slice, const ComparisonParameters& parameters,
                const TakePair<GdtOutcome>& take, Log& log, Report& report,
                const Workforce& workforce) {
    TakenPairs pairs(GdtSearches(AllPairs(slice), parameters, true), take);
    runBatch(pairs, workforceFor(parameters, workforce), log, report);
}

void compareRmsd(const PairSlice& slice, const RmsdOptions& options,
                 const TakePair<RmsdCells>& take, Log& log, Report& report,
                 const Workforce& workforce) {
    TakenPairs pairs(RmsdFits(AllPairs(slice), slice.models.selection(), options,
                              report.reports(ReportLevel::Passes), kernelsOr(workforce.kernels)),
                     take);
    runBatch(pairs, workforce, log, report);
}

MaxSubBatch collectAllMaxSub(const PreparedList& models, const ComparisonParameters& parameters,
                             const PairListeners& listeners, const GivePair<ComparisonResult>& give,
                             Log& log, Report& report) {
    GivenPairs<MaxSubPairs> pairs(give, models, parameters, listeners.recorder, listeners.viewer);
    runBatch(pairs, {}, log, report);
    return std::move(pairs.found);
}

GdtBatch collectAllGdt(const PreparedList& models, const ComparisonParameters& parameters,
                       const GivePair<GdtOutcome>& give, Log& log, Report& report,
                       PairViewer* viewer) {
    GivenPairs<GdtPairs> pairs(give, models, parameters, viewer);
    runBatch(pairs, {}, log, report);
    return std::move(pairs.found);
}

RmsdBatch collectAllRmsd(const PreparedList& models, const RmsdOptions& options,
                         const GivePair<RmsdCells>& give, Log& log, Report& report,
                         PairViewer* viewer) {
    // Nothing is computed.
    GivenPairs<RmsdPairs> pairs(give, models, options, report.reports(ReportLevel::Passes), viewer,
                                bestKernels());
    runBatch(pairs, {}, log, report);
    return mirrored(std::move(pairs.found), options);
}

}  // namespace tervolanda
