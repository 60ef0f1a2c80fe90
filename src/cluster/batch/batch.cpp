// Batches: every model of a list is compared with every other one.  A model's coordinates are
// prepared once, a pair is compared once, and all pairs share one workspace and one result object,
// so that nothing is allocated per pair.
#include "cluster/batch/batch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

#include "base/log.h"
#include "compare/positional_rmsd.h"
#include "compare/workspace.h"

namespace tervolanda {

namespace {

constexpr long kPairsPerProgressLine = 20;

std::vector<CoordinateSet> prepareModels(const ChainList& models, AtomSelection selection,
                                         const ComparisonParameters& parameters, Report& report) {
    std::vector<CoordinateSet> sets;
    sets.reserve(models.chains.size());
    for (const Chain& chain : models.chains) {
        sets.push_back(prepareChain(chain, selection, parameters, report));
    }
    return sets;
}

std::uint32_t residueCount(const CoordinateSet& set) {
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(set.residues, std::numeric_limits<std::uint32_t>::max()));
}

template <typename Value>
void setBoth(Matrix<Value>& matrix, std::size_t i, std::size_t j, Value value) {
    matrix.at(i, j) = value;
    matrix.at(j, i) = value;
}

// Pair counts; a model shares all its residues with itself.
PairMatrix pairMatrix(const std::vector<CoordinateSet>& sets) {
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

// Calls compare(i, j) for all i > j, with the progress lines of a batch ("Processed ... `what`s")
// and, in verbose runs, the names of the two models.  Before the pairs of model i comes begin(i).
template <typename Begin, typename Compare>
void forAllPairs(const ChainList& models, const char* what, Log& log, Report& report,
                 const Begin& begin, const Compare& compare) {
    const auto n = static_cast<long>(models.chains.size());
    const long total = n * (n - 1) / 2;
    const bool namesModels = report.reports(ReportLevel::Numbers);
    long counter = 0;
    for (std::size_t i = 1; i < models.chains.size(); ++i) {
        begin(i);
        for (std::size_t j = i; j-- > 0;) {
            if (counter % kPairsPerProgressLine == 0) {
                log.progress(0, "Processed %ld of %ld %ss", counter, total, what);
            }
            if (namesModels) {
                report.report(ReportLevel::Numbers, "%s vs. %s\n",
                              models.chains[j].fileName.c_str(), models.chains[i].fileName.c_str());
            }
            compare(i, j);
            ++counter;
        }
    }
    log.endProgress();
}

constexpr auto kNothingToBegin = [](std::size_t) {};

// Puts the results of MaxSub searches into the matrices.
class MaxSubRecorder {
 public:
    MaxSubRecorder(const std::vector<CoordinateSet>& sets, const ComparisonParameters& parameters,
                   MaxSubBatch& batch)
        : sets_(sets),
          hasIterations_(parameters.iterations > 1),
          ranksByTM_(parameters.rankByTM && !hasIterations_),
          // A given normalisation length is the same for both models of a pair.
          keepsLength_(ranksByTM_ && parameters.normLength > 0),
          batch_(batch) {}

    void record(std::size_t i, std::size_t j, const ComparisonResult& result) {
        const double score = ranksByTM_ ? result.tm : result.maxsub;
        batch_.scores.at(i, j) = static_cast<float>(score);
        batch_.scores.at(j, i) = static_cast<float>(renormalised(score, i, j));
        setBoth(batch_.rmsd, i, j, hasIterations_ ? 0.0F : static_cast<float>(result.rmsd));
        setBoth(batch_.pairs, i, j, result.pairs);
    }

 private:
    // A score over the residues of model i as one over those of model j.
    double renormalised(double score, std::size_t i, std::size_t j) const {
        if (keepsLength_ || sets_[j].residues == 0) return score;
        return score * static_cast<double>(sets_[i].residues) /
               static_cast<double>(sets_[j].residues);
    }

    const std::vector<CoordinateSet>& sets_;
    bool hasIterations_;
    bool ranksByTM_;
    bool keepsLength_;
    MaxSubBatch& batch_;
};

// What the RMSD matrix holds for a pair without a fit.
constexpr double kNoFit = -1.0;
constexpr std::uint32_t kFewestPairs = 3;

// Pairs are recorded below the diagonal, row by row, and mirrored at the end.
void recordRmsd(std::size_t i, std::size_t j, const RmsdResult& result, RmsdBatch& batch) {
    const bool isMapped = result.rmsd || result.pairs >= kFewestPairs;
    batch.rmsd.at(i, j) = static_cast<float>(result.rmsd.value_or(kNoFit));
    batch.urmsd.at(i, j) = static_cast<float>(result.rmsd ? result.urmsd : 0.0);
    batch.pairs.at(i, j) = isMapped ? result.pairs : 0U;
}

// Records a row of pairs that have all atoms of their models in common.  The RMSD of a pair that
// needs a comparison of its own becomes NaN.
void recordRow(std::size_t i, const RmsdRow& row, std::uint32_t atoms, RmsdBatch& batch) {
    for (std::size_t j = 0; j < i; ++j) {
        const double rmsd = std::isnan(row.urmsd[j]) ? row.urmsd[j] : row.rmsd[j];
        batch.rmsd.at(i, j) = static_cast<float>(rmsd);
        batch.urmsd.at(i, j) = static_cast<float>(row.urmsd[j]);
        batch.pairs.at(i, j) = atoms;
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

MaxSubBatch compareAllMaxSub(const ChainList& models, const ComparisonParameters& parameters,
                             const PairSink& sink, Log& log, Report& report) {
    const std::vector<CoordinateSet> sets =
        prepareModels(models, AtomSelection::Calpha, parameters, report);
    MaxSubBatch batch{matrixWithDiagonal(sets.size(), 1.0F), matrixWithDiagonal(sets.size(), 0.0F),
                      pairMatrix(sets)};
    MaxSubRecorder recorder(sets, parameters, batch);
    ComparisonWorkspace workspace;
    ComparisonResult result;
    forAllPairs(models, "MAXSUB", log, report, kNothingToBegin, [&](std::size_t i, std::size_t j) {
        compareMaxSub(sets[i], sets[j], parameters, workspace, report, result);
        recorder.record(i, j, result);
        if (parameters.iterations > 1) {
            report.report(ReportLevel::Numbers, "Total: Pairs=%4d. MAXSUB=%5.3f. MSI=%5.3f\n\n",
                          static_cast<int>(result.pairs), result.maxsub, result.msi);
        }
        if (!sink) return;
        if (!result.iterations.empty()) {
            reportSuperposition(result.iterations.front().superposition, ReportLevel::Numbers,
                                report);
        }
        sink(i, j, result);
    });
    return batch;
}

GdtBatch compareAllGdt(const ChainList& models, const ComparisonParameters& parameters, Log& log,
                       Report& report) {
    const std::vector<CoordinateSet> sets =
        prepareModels(models, AtomSelection::Calpha, parameters, report);
    GdtBatch batch{matrixWithDiagonal(sets.size(), 100.0F)};
    ComparisonWorkspace workspace;
    ComparisonResult result;
    forAllPairs(models, "GDT", log, report, kNothingToBegin, [&](std::size_t i, std::size_t j) {
        const GdtResult found = compareGdt(sets[i], sets[j], parameters, workspace, report, result);
        setBoth(batch.gdt, i, j, static_cast<float>(found.gdt));
    });
    return batch;
}

RmsdBatch compareAllRmsd(const ChainList& models, const ComparisonParameters& parameters,
                         const RmsdBatchOptions& options, Log& log, Report& report) {
    const std::vector<CoordinateSet> sets =
        prepareModels(models, options.selection, parameters, report);
    RmsdBatch batch{matrixWithDiagonal(sets.size(), 1.0F), matrixWithDiagonal(sets.size(), 0.0F),
                    pairMatrix(sets)};
    // Pairs with too little in common are usual in a list and not worth a line each.
    RmsdOptions rmsdOptions = options.rmsd;
    rmsdOptions.reportTooFew = false;
    ComparisonWorkspace workspace;
    // The details of a fit are known to a comparison of its own only.
    const bool wantsDetails =
        report.reports(ReportLevel::Passes) || options.selection != AtomSelection::Calpha;
    const PositionalRmsd positional(wantsDetails ? std::span<const CoordinateSet>() : sets,
                                    rmsdOptions.urmsd, workspace.kernels());
    constexpr std::size_t kRows = PositionalRmsd::kRowsAtOnce;
    std::array<RmsdRow, kRows> rows;
    const auto begin = [&](std::size_t i) {
        if (wantsDetails) return;
        if (i == 1 || i % kRows == 0) {
            const std::size_t first = i - i % kRows;
            const std::size_t count = std::min(kRows, sets.size() - first);
            positional.compareWithEarlier(first, std::span(rows).first(count));
        }
        recordRow(i, rows[i % kRows], static_cast<std::uint32_t>(sets[i].size()), batch);
    };
    RmsdResult result;
    forAllPairs(models, "RMSD", log, report, begin, [&](std::size_t i, std::size_t j) {
        if (!wantsDetails && !std::isnan(batch.rmsd.at(i, j))) return;
        compareRmsd(sets[i], sets[j], rmsdOptions, workspace, report, result);
        recordRmsd(i, j, result, batch);
    });
    mirror(batch.rmsd);
    if (rmsdOptions.urmsd) mirror(batch.urmsd);
    mirror(batch.pairs);
    return batch;
}

std::vector<std::uint32_t> modelIds(const ChainList& models) {
    std::vector<std::uint32_t> ids;
    ids.reserve(models.chains.size());
    for (const Chain& chain : models.chains)
        ids.push_back(chain.number);
    return ids;
}

}  // namespace tervolanda
