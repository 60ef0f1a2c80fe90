// All models of a list with each other.  By MaxSub and GDT a pair is a search, computed alone.  An
// RMSD is a ten-thousandth of that, and four rows of pairs are computed at once: each chain is then
// fetched once for four comparisons.
#include <algorithm>
#include <cmath>
#include <limits>

#include "cluster/batch/run_batch.h"
#include "compare/pairing/mapping.h"

namespace tervolanda {

namespace {

std::uint32_t residueCount(const CoordinateSet& set) {
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(set.residues, std::numeric_limits<std::uint32_t>::max()));
}

template <typename Value>
void setBoth(Matrix<Value>& matrix, BatchPair pair, Value value) {
    matrix.at(pair.experiment, pair.prediction) = value;
    matrix.at(pair.prediction, pair.experiment) = value;
}

// Pair counts; a model shares all its residues with itself.
PairMatrix pairMatrix(std::span<const CoordinateSet> sets) {
    PairMatrix pairs(sets.size(), sets.size(), 0U);
    for (std::size_t i = 0; i < sets.size(); ++i)
        pairs.at(i, i) = residueCount(sets[i]);
    return pairs;
}

// An N x N matrix of zeros but for its diagonal.
DistanceMatrix matrixWithDiagonal(std::size_t n, float diagonal) {
    DistanceMatrix matrix(n, n, 0.0F);
    for (std::size_t i = 0; i < n; ++i)
        matrix.at(i, i) = diagonal;
    return matrix;
}

// The order of the pairs, for batches of all kinds.
class AllPairs {
 public:
    explicit AllPairs(const PreparedList& list) : sets(list.sets()), list_(list) {}

    std::size_t count() const {
        const std::size_t n = list_.size();
        return n == 0 ? 0 : n * (n - 1) / 2;
    }
    static BatchPair first() { return {1, 0}; }
    static BatchPair next(BatchPair pair) {
        if (pair.prediction > 0) return {pair.experiment, pair.prediction - 1};
        return {pair.experiment + 1, pair.experiment};
    }
    static BatchPair skip(BatchPair pair, std::size_t count) {
        while (count > pair.prediction) {
            count -= pair.prediction + 1;
            pair = {pair.experiment + 1, pair.experiment};
        }
        return {pair.experiment, pair.prediction - count};
    }
    static std::size_t together(BatchPair) { return 1; }
    const Chain& experiment(BatchPair pair) const { return chain(pair.experiment); }
    const Chain& prediction(BatchPair pair) const { return chain(pair.prediction); }

 protected:
    // For outcomes that hold what a search found.
    ChunkNeeds needsOfSearches(std::size_t bytesOfOutcome) const {
        std::size_t longest = 0;
        for (const CoordinateSet& set : sets)
            longest = std::max(longest, set.size());
        ChunkNeeds needs;
        needs.bytesOfPair = bytesOfOutcome + longest * kBytesOfSearch;
        return needs;
    }
    ComparedPair compared(BatchPair pair) const {
        return {pair, sets[pair.experiment], sets[pair.prediction]};
    }

    const std::span<const CoordinateSet> sets;

 private:
    const Chain& chain(std::size_t i) const { return list_.models().chains[i]; }

    const PreparedList& list_;
};

class MaxSubPairs : public AllPairs {
 public:
    using Outcome = ComparisonResult;
    static constexpr const char* kName = "MAXSUB";

    MaxSubPairs(const PreparedList& list, const ComparisonParameters& parameters,
                PairRecorder* recorder, PairViewer* viewer)
        : AllPairs(list),
          parameters_(parameters),
          hasIterations_(parameters.iterations > 1),
          ranksByTM_(parameters.rankByTM && !hasIterations_),
          // A given normalisation length is the same for both models of a pair.
          keepsLength_(ranksByTM_ && parameters.normLength > 0),
          recorder_(recorder),
          viewer_(viewer),
          found{matrixWithDiagonal(list.size(), 1.0F), matrixWithDiagonal(list.size(), 0.0F),
                pairMatrix(list.sets())} {}

    ChunkNeeds chunkNeeds() const { return needsOfSearches(sizeof(Outcome)); }

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& result = outcomes.front();
        compareMaxSub(sets[pair.experiment], sets[pair.prediction], parameters_, worker.workspace,
                      worker.report, result);
        if (hasIterations_) reportTotal(result, worker.report);
        if (recorder_ != nullptr && !result.iterations.empty()) {
            reportSuperposition(result.iterations.front().superposition, ReportLevel::Numbers,
                                worker.report);
        }
        worker.finishPair();
    }

    void consume(BatchPair pair, const Outcome& result) {
        const auto [i, j] = pair;
        const double score = ranksByTM_ ? result.tm : result.maxsub;
        const double mirrored =
            keepsLength_ ? score : renormalised(score, sets[i].residues, sets[j].residues);
        found.scores.at(i, j) = static_cast<float>(score);
        found.scores.at(j, i) = static_cast<float>(mirrored);
        setBoth(found.rmsd, pair, hasIterations_ ? 0.0F : static_cast<float>(result.rmsd));
        setBoth(found.pairs, pair, result.pairs);
        if (recorder_ != nullptr) recorder_->record(pair, result);
        if (viewer_ != nullptr) viewer_->seeMaxSub(compared(pair), result);
    }

 private:
    const ComparisonParameters& parameters_;
    bool hasIterations_;
    bool ranksByTM_;
    bool keepsLength_;
    PairRecorder* recorder_;
    PairViewer* viewer_;

 public:
    MaxSubBatch found;
};

class GdtPairs : public AllPairs {
 public:
    using Outcome = GdtOutcome;
    static constexpr const char* kName = "GDT";

    GdtPairs(const PreparedList& list, const ComparisonParameters& parameters, PairViewer* viewer)
        : AllPairs(list),
          parameters_(parameters),
          viewer_(viewer),
          found{matrixWithDiagonal(list.size(), 100.0F)} {}

    ChunkNeeds chunkNeeds() const { return needsOfSearches(sizeof(Outcome)); }

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& outcome = outcomes.front();
        ComparisonResult& search = viewer_ == nullptr ? worker.result : outcome.search;
        outcome.found = compareGdt(sets[pair.experiment], sets[pair.prediction], parameters_,
                                   worker.workspace, worker.report, search);
        worker.finishPair();
    }

    void consume(BatchPair pair, const Outcome& outcome) {
        setBoth(found.gdt, pair, static_cast<float>(outcome.found.gdt));
        if (viewer_ != nullptr) viewer_->seeGdt(compared(pair), outcome.found, outcome.search);
    }

 private:
    const ComparisonParameters& parameters_;
    PairViewer* viewer_;

 public:
    GdtBatch found;
};

// The cells of a pair, as the matrices hold them.
struct RmsdCells {
    float rmsd = 0.0F;
    float urmsd = 0.0F;
    std::uint32_t pairs = 0;
};

PositionalRmsd positionalRmsd(std::span<const CoordinateSet> sets, const RmsdOptions& options) {
    const std::vector<std::uint32_t> kinds = positionalKinds(sets);
    std::vector<PositionalChain> chains;
    chains.reserve(sets.size());
    for (std::size_t i = 0; i < sets.size(); ++i)
        chains.push_back({&sets[i].points, kinds[i]});
    const auto measures =
        options.urmsd ? PositionalMeasures::RmsdAndUrmsd : PositionalMeasures::Rmsd;
    return {chains, measures, bestKernels()};
}

// Cells are filled below the diagonal, row by row, and mirrored at the end.
class RmsdPairs : public AllPairs {
 public:
    using Outcome = RmsdCells;
    static constexpr const char* kName = "RMSD";

    RmsdPairs(const PreparedList& list, const RmsdOptions& options, bool wantsDetails,
              PairViewer* viewer)
        : AllPairs(list),
          options_(options),
          viewer_(viewer),
          // The details of a fit are known to a comparison of its own only.
          byPosition_(!wantsDetails && list.selection() == AtomSelection::Calpha),
          positional_(positionalRmsd(byPosition_ ? list.sets() : std::span<const CoordinateSet>(),
                                     options)),
          found{matrixWithDiagonal(list.size(), 1.0F), matrixWithDiagonal(list.size(), 0.0F),
                pairMatrix(list.sets())} {
        options_.reportTooFew = false;  // usual in a list and not worth a line each
    }

    std::size_t together(BatchPair from) const {
        if (!byPosition_) return 1;
        const std::size_t end = endOfRows(from.experiment);
        return end * (end - 1) / 2 - from.experiment * (from.experiment - 1) / 2;
    }
    ChunkNeeds chunkNeeds() const {
        if (!byPosition_) return {};
        return {2000, kRows * sets.size(), sizeof(Outcome)};
    }
    void compute(BatchPair from, std::span<Outcome> outcomes, BatchWorker& worker) const;
    void consume(BatchPair pair, const Outcome& cells) {
        const auto [i, j] = pair;
        found.rmsd.at(i, j) = cells.rmsd;
        found.urmsd.at(i, j) = cells.urmsd;
        found.pairs.at(i, j) = cells.pairs;
        if (viewer_ != nullptr) viewer_->seeRmsd(compared(pair), asListed(pair, cells), {});
    }

 private:
    static constexpr std::size_t kRows = PositionalRmsd::kRowsAtOnce;

    // One after the last of the rows that are computed together with `row`.
    std::size_t endOfRows(std::size_t row) const {
        return std::min(row - row % kRows + kRows, sets.size());
    }
    Outcome compare(BatchPair pair, BatchWorker& worker) const;
    ListedRmsd asListed(BatchPair pair, const Outcome& cells) const;

    RmsdOptions options_;
    PairViewer* viewer_;
    bool byPosition_;
    PositionalRmsd positional_;

 public:
    RmsdBatch found;
};

ListedRmsd RmsdPairs::asListed(BatchPair pair, const RmsdCells& cells) const {
    ListedRmsd listed;
    if (cells.rmsd >= 0.0F) listed.rmsd = static_cast<double>(cells.rmsd);
    listed.pairs = cells.pairs;
    listed.urmsd = static_cast<double>(cells.urmsd);
    listed.gyrationRadius = sets[pair.prediction].gyrationRadius;
    return listed;
}

// A pair by a fit of its own.
RmsdCells RmsdPairs::compare(BatchPair pair, BatchWorker& worker) const {
    constexpr double kNoFit = -1.0;
    constexpr std::uint32_t kFewestPairs = 3;
    RmsdResult& fit = worker.fit;
    compareRmsd(sets[pair.experiment], sets[pair.prediction], options_, worker.workspace,
                worker.report, fit);
    const bool isMapped = fit.rmsd || fit.pairs >= kFewestPairs;
    return {static_cast<float>(fit.rmsd.value_or(kNoFit)),
            static_cast<float>(fit.rmsd ? fit.urmsd : 0.0), isMapped ? fit.pairs : 0U};
}

void RmsdPairs::compute(BatchPair from, std::span<Outcome> outcomes, BatchWorker& worker) const {
    if (!byPosition_) {
        outcomes.front() = compare(from, worker);
        worker.finishPair();
        return;
    }
    const std::size_t end = endOfRows(from.experiment);
    const auto rows = std::span(worker.rows).first(end - from.experiment);
    positional_.compareWithEarlier(from.experiment, rows);
    auto outcome = outcomes.begin();
    for (std::size_t i = from.experiment; i < end; ++i) {
        const RmsdRow& row = rows[i - from.experiment];
        const auto atoms = static_cast<std::uint32_t>(sets[i].size());
        for (std::size_t j = i; j-- > 0; ++outcome) {
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

}  // namespace

double renormalised(double score, std::size_t residues, std::size_t otherResidues) {
    if (otherResidues == 0) return score;
    return score * static_cast<double>(residues) / static_cast<double>(otherResidues);
}

MaxSubBatch compareAllMaxSub(const PreparedList& models, const ComparisonParameters& parameters,
                             PairRecorder* recorder, Log& log, Report& report, std::size_t threads,
                             PairViewer* viewer) {
    MaxSubPairs pairs(models, parameters, recorder, viewer);
    runBatch(pairs, threadsFor(parameters, threads), log, report);
    return std::move(pairs.found);
}

GdtBatch compareAllGdt(const PreparedList& models, const ComparisonParameters& parameters, Log& log,
                       Report& report, std::size_t threads, PairViewer* viewer) {
    GdtPairs pairs(models, parameters, viewer);
    runBatch(pairs, threadsFor(parameters, threads), log, report);
    return std::move(pairs.found);
}

RmsdBatch compareAllRmsd(const PreparedList& models, const RmsdOptions& options, Log& log,
                         Report& report, std::size_t threads, PairViewer* viewer) {
    RmsdPairs pairs(models, options, report.reports(ReportLevel::Passes), viewer);
    runBatch(pairs, threads, log, report);
    mirror(pairs.found.rmsd);
    if (options.urmsd) mirror(pairs.found.urmsd);
    mirror(pairs.found.pairs);
    return std::move(pairs.found);
}

}  // namespace tervolanda
