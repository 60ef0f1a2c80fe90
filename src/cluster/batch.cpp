// Batches: every model of a list is compared with every other one.  A model's coordinates are
// prepared once, a pair is compared once, and all pairs share one workspace and one result object,
// so that nothing is allocated per pair.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "cluster/cluster.h"
#include "compare/positional_rmsd.h"
#include "compare/workspace.h"
#include "driver/log.h"

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
// and, in verbose runs, the names of the two models.
// Before the pairs of model i it calls begin(i).
template <typename Begin, typename Compare>
void forAllPairs(const ChainList& models, const char* what, Log& log, Report& report,
                 const Begin& begin, const Compare& compare) {
    const auto n = static_cast<long>(models.chains.size());
    const long total = n * (n - 1) / 2;
    long counter = 0;
    for (std::size_t i = 1; i < models.chains.size(); ++i) {
        begin(i);
        for (std::size_t j = i; j-- > 0;) {
            if (counter % kPairsPerProgressLine == 0) {
                log.progress(0, "Processed %ld of %ld %ss", counter, total, what);
            }
            report.reportFrom(3, "%s vs. %s\n", models.chains[j].fileName.c_str(),
                              models.chains[i].fileName.c_str());
            compare(i, j);
            ++counter;
        }
    }
    log.endProgress();
}

constexpr auto kNothingToBegin = [](std::size_t) {};

void reportSuperposition(const Superposition& superposition, Report& report) {
    const auto& experiment = superposition.experimentCentre;
    const auto& prediction = superposition.predictionCentre;
    const auto& r = superposition.rotation;
    report.reportFrom(3, "Center Pred. %10.6f %10.6f %10.6f\n", prediction[0], prediction[1],
                      prediction[2]);
    report.reportFrom(3, "Center Exp.  %10.6f %10.6f %10.6f\n", experiment[0], experiment[1],
                      experiment[2]);
    report.reportFrom(3, "Translation  %10.6f %10.6f %10.6f\n", experiment[0] - prediction[0],
                      experiment[1] - prediction[1], experiment[2] - prediction[2]);
    report.reportFrom(3, "Rot. Mat.    %10.6f %10.6f %10.6f\n", r[0], r[1], r[2]);
    report.reportFrom(3, "             %10.6f %10.6f %10.6f\n", r[3], r[4], r[5]);
    report.reportFrom(3, "             %10.6f %10.6f %10.6f\n", r[6], r[7], r[8]);
}

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

void recordRmsd(std::size_t i, std::size_t j, const RmsdResult& result, RmsdBatch& batch) {
    const bool isMapped = result.rmsd || result.pairs >= kFewestPairs;
    setBoth(batch.rmsd, i, j, static_cast<float>(result.rmsd.value_or(kNoFit)));
    setBoth(batch.urmsd, i, j, static_cast<float>(result.rmsd ? result.urmsd : 0.0));
    setBoth(batch.pairs, i, j, isMapped ? result.pairs : 0U);
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
            report.reportFrom(3, "Total: Pairs=%4d. MAXSUB=%5.3f. MSI=%5.3f\n\n",
                              static_cast<int>(result.pairs), result.maxsub, result.msi);
        }
        if (!sink) return;
        if (!result.iterations.empty()) {
            reportSuperposition(result.iterations.front().superposition, report);
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
    const bool wantsDetails = report.reportsFrom(5) || options.selection != AtomSelection::Calpha;
    const PositionalRmsd positional(wantsDetails ? std::span<const CoordinateSet>() : sets,
                                    rmsdOptions.urmsd, workspace.kernels());
    RmsdRow row;
    const auto begin = [&](std::size_t i) {
        if (!wantsDetails) positional.compareWithEarlier(i, row);
    };
    RmsdResult result;
    forAllPairs(models, "RMSD", log, report, begin, [&](std::size_t i, std::size_t j) {
        if (!wantsDetails && !std::isnan(row.rmsd[j]) && !std::isnan(row.urmsd[j])) {
            result.rmsd = row.rmsd[j];
            result.urmsd = row.urmsd[j];
            result.pairs = static_cast<std::uint32_t>(sets[i].size());
        } else {
            compareRmsd(sets[i], sets[j], rmsdOptions, workspace, report, result);
        }
        recordRmsd(i, j, result, batch);
    });
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
