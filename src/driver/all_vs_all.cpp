// The models of a list against each other.  A batch fills matrices; from these come the lines of
// the pairs, their average, the result files, the consensus ranking and the clusters, in this
// order, which is that of the lines in the log.
//
// Row i of a score matrix is relative to the length of model i, so the line of a pair shows the
// score by the length of the model that it names first.  An N x N matrix of N = 10,000 models has
// 400 MB, and there are up to three: none is copied but for a file that shows it
// (RunExports::keepScores()), and clustering works in place.
#include <cstdlib>
#include <functional>
#include <optional>
#include <vector>

#include "base/log.h"
#include "cluster/batch/batch.h"
#include "driver/abend.h"
#include "driver/blocks.h"
#include "driver/model_input.h"
#include "driver/modes.h"
#include "driver/read_plan.h"
#include "driver/residue_names.h"
#include "driver/result_output.h"
#include "driver/result_rows.h"
#include "driver/run_exports.h"
#include "driver/timer.h"
#include "export/values.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

// The figures of a pair of matrix positions.
using PairFigures = std::function<Figures(std::size_t i, std::size_t j)>;

// A line for every pair, in matrix order, at log level 2.  The level is asked first: a list of a
// thousand models has half a million lines that nobody would see.
void printPairs(const ChainList& models, const PairFigures& figures, Log& log) {
    if (log.logLevel() <= 1) return;
    const ColumnWidths widths = columnWidths(models);
    for (std::size_t i = 0; i < models.chains.size(); ++i) {
        for (std::size_t j = i + 1; j < models.chains.size(); ++j) {
            const PairRow row{models.chains[i], models.chains[j], figures(i, j)};
            log.info(1, "%s", pairLine(row, widths).c_str());
        }
    }
}

// The mean over the pairs of a matrix, row by row above the diagonal, so that an unsymmetric matrix
// counts the score by the length of the earlier model.  Negative values mark pairs without one and
// are left out.  In double precision and in one order: the mean of a million floats would lose its
// last digits.
AverageRow averageOfPairs(const DistanceMatrix& matrix, ComparisonKind kind) {
    double sum = 0.0;
    AverageRow average{kind};
    for (std::size_t i = 0; i < matrix.rows(); ++i) {
        for (std::size_t j = i + 1; j < matrix.columns(); ++j) {
            const float value = matrix.at(i, j);
            if (value < 0.0F) continue;
            sum += static_cast<double>(value);
            ++average.count;
        }
    }
    if (average.count > 0) average.mean = sum / static_cast<double>(average.count);
    return average;
}

void printAverage(const DistanceMatrix& matrix, const Settings& settings, Log& log) {
    if (!settings.output.average) return;
    const AverageRow average = averageOfPairs(matrix, comparisonKind(settings));
    if (average.count > 0) log.info(0, "%s", averageLine(average).c_str());
}

// The ranking that exports show, which are given the scores, too; empty where there are none.
std::vector<RankedModel> ranking(const DistanceMatrix& scores, MatrixValues values,
                                 std::span<const JuryScore> jury, RunExports& exports) {
    if (!exports.isWanted()) return {};
    exports.keepScores(scores, values);
    return rankedModels(scores, values, jury);
}

// Who sees the pairs of a merge: parts hold all of a pair only where files show it, and else the
// pairs without a fit are counted as their records come.
PairViewer* viewerOfMerge(RunExports& exports) {
    return exports.showsPairs() ? exports.viewer() : nullptr;
}

// What a merged pair's positions are held against.
SetSizes sizesOf(const PreparedList& models, BatchPair pair) {
    return {models.sets()[pair.experiment].size(), models.sets()[pair.prediction].size()};
}

// Each batch is computed, or merged from the parts of an earlier computation: then give() takes the
// outcomes out of the parts in the very order in which the batch asks for them, and all that
// follows is that of the ordinary run.

MaxSubBatch maxSubOfAll(const PreparedList& models, PairRecorder* recorder,
                        const Settings& settings, RunExports& exports, Log& log, Report& report) {
    const ComparisonParameters& parameters = settings.comparison;
    if (!settings.blocks.mergeFolder) {
        return compareAllMaxSub(models, parameters, recorder, log, report,
                                {settings.workforce, exports.viewer()});
    }
    PairViewer* const viewer = viewerOfMerge(exports);
    MergedPairs merged(settings, models.models(), log);
    const auto give = [&](BatchPair pair, ComparisonResult& result) {
        merged.next(sizesOf(models, pair), result);
        if (viewer == nullptr) exports.count(result.hasFit());
    };
    MaxSubBatch batch = collectAllMaxSub(models, parameters, {recorder, viewer}, give, log, report);
    merged.finish();
    return batch;
}

GdtBatch gdtOfAll(const PreparedList& models, const Settings& settings, RunExports& exports,
                  Log& log, Report& report) {
    const ComparisonParameters& parameters = settings.comparison;
    if (!settings.blocks.mergeFolder) {
        return compareAllGdt(models, parameters, log, report,
                             {settings.workforce, exports.viewer()});
    }
    PairViewer* const viewer = viewerOfMerge(exports);
    MergedPairs merged(settings, models.models(), log);
    const auto give = [&](BatchPair pair, GdtOutcome& outcome) {
        merged.next(sizesOf(models, pair), outcome);
        if (viewer == nullptr) exports.count(outcome.hasFit);
    };
    GdtBatch batch = collectAllGdt(models, parameters, give, log, report, viewer);
    merged.finish();
    return batch;
}

RmsdBatch rmsdOfAll(const PreparedList& models, const Settings& settings, RunExports& exports,
                    Log& log, Report& report) {
    const RmsdOptions options = rmsdOptions(settings);
    if (!settings.blocks.mergeFolder) {
        return compareAllRmsd(models, options, log, report, {settings.workforce, exports.viewer()});
    }
    PairViewer* const viewer = viewerOfMerge(exports);
    MergedPairs merged(settings, models.models(), log);
    const auto give = [&](BatchPair, RmsdCells& cells) {
        merged.next(cells);
        if (viewer == nullptr) exports.count(cells.rmsd >= 0.0F);
    };
    RmsdBatch batch = collectAllRmsd(models, options, give, log, report, viewer);
    merged.finish();
    return batch;
}

MeasureBatch measuresOfAll(const PreparedList& models, const Settings& settings,
                           RunExports& exports, Log& log, Report& report) {
    const MeasureOptions options = measureOptions(settings);
    if (!settings.blocks.mergeFolder) {
        return compareAllByMeasure(models, options, log, report,
                                   {settings.workforce, exports.viewer()});
    }
    MergedPairs merged(settings, models.models(), log);
    const auto give = [&](BatchPair, MeasuredOutcome& outcome) {
        merged.next(outcome);
        exports.count(outcome.hasFit);
    };
    MeasureBatch batch = collectAllByMeasure(models, options, give, log, report);
    merged.finish();
    return batch;
}

// The spool is filled while the pairs are compared and read when the file is written; clustering
// comes last, since it overwrites the scores.
int compareListMaxSub(const ChainList& models, const Settings& settings, RunExports& exports,
                      Log& log, Report& report) {
    const RunTimer timer;
    const PreparedList prepared(models, AtomSelection::Calpha, settings.comparison, report);
    // Superpositions and residue pairs are kept for the full file alone, and then on disk.
    std::optional<TransformationSpool> spool;
    if (settings.output.resultFile) spool.emplace(*settings.output.resultFile, prepared.sets());
    PairRecorder* const recorder = spool ? &*spool : nullptr;
    MaxSubBatch batch = maxSubOfAll(prepared, recorder, settings, exports, log, report);
    timer.stop(log);
    const auto figures = [&batch](std::size_t i, std::size_t j) {
        return MaxSubFigures{.pairs = batch.pairs.at(i, j),
                             .rmsd = static_cast<double>(batch.rmsd.at(i, j)),
                             .maxsub = static_cast<double>(batch.scores.at(i, j)),
                             .tm = std::nullopt,
                             .msi = std::nullopt};
    };
    printPairs(models, figures, log);
    printAverage(batch.scores, settings, log);
    const std::vector<std::uint32_t> ids = modelIds(models);
    const MaxSubTable table{models, batch.scores, batch.pairs, ids};
    int status = EXIT_SUCCESS;
    if (settings.output.resultFile) {
        status |= exitStatus(
            orAbend(writeFullMaxSubFile(*settings.output.resultFile, table, *spool, log)),
            settings);
    }
    if (settings.output.liteResultFile) {
        status |=
            exitStatus(writeLiteMaxSubFile(*settings.output.liteResultFile, table, log), settings);
    }
    const auto jury = rankAndPrint(batch.scores, batch.pairs, models, settings, log);
    auto ranked = ranking(batch.scores, MatrixValues::Similarities, jury, exports);
    clusterAndFinish({std::move(batch.scores), MatrixValues::Similarities, {ids, &models}},
                     std::move(ranked), settings, exports, log);
    return status;
}

// The matrix stays on the scale of 0 to 100 until the lines and the distance file are written.
int compareListGdt(const ChainList& models, const Settings& settings, RunExports& exports, Log& log,
                   Report& report) {
    log.info(0, "All vs. All GDT");
    const RunTimer timer;
    const PreparedList prepared(models, AtomSelection::Calpha, settings.comparison, report);
    GdtBatch batch = gdtOfAll(prepared, settings, exports, log, report);
    timer.stop(log);
    const auto figures = [&batch](std::size_t i, std::size_t j) {
        return GdtFigures{static_cast<double>(batch.gdt.at(i, j))};
    };
    printPairs(models, figures, log);
    printAverage(batch.gdt, settings, log);
    const std::vector<std::uint32_t> ids = modelIds(models);
    int status = EXIT_SUCCESS;
    if (settings.output.resultFile) {
        status = exitStatus(
            writeDistanceFile(*settings.output.resultFile, models, batch.gdt, ids, log), settings);
    }
    auto ranked = ranking(batch.gdt, MatrixValues::Similarities, {}, exports);
    // Clustering takes similarities from 0 to 1.
    for (float& value : batch.gdt.values())
        value /= 100.0F;
    clusterAndFinish({std::move(batch.gdt), MatrixValues::Similarities, {ids, &models}},
                     std::move(ranked), settings, exports, log);
    return status;
}

// The distance file has distances, as its name says, so that a run of -F clusters it as this one
// does: from 0 to 1.
int compareListByMeasure(const ChainList& models, const Settings& settings, RunExports& exports,
                         Log& log, Report& report) {
    const Measure measure = *settings.measure.by;
    log.info(0, "All vs. All %s", std::string(measureName(measure)).c_str());
    const RunTimer timer;
    const PreparedList prepared(models, AtomSelection::Calpha, settings.comparison, report);
    MeasureBatch batch = measuresOfAll(prepared, settings, exports, log, report);
    timer.stop(log);
    const auto figures = [&batch, measure](std::size_t i, std::size_t j) {
        return MeasuredFigures{measure, static_cast<double>(batch.values.at(i, j)), std::nullopt};
    };
    printPairs(models, figures, log);
    printAverage(batch.values, settings, log);
    const std::vector<std::uint32_t> ids = modelIds(models);
    auto ranked = ranking(batch.values, MatrixValues::Similarities, {}, exports);
    if (isPercentage(measure)) {
        for (float& value : batch.values.values())
            value /= 100.0F;
    }
    int status = EXIT_SUCCESS;
    if (settings.output.resultFile) {
        DistanceMatrix distances = batch.values;
        for (float& value : distances.values())
            value = 1.0F - value;
        status = exitStatus(
            writeDistanceFile(*settings.output.resultFile, models, distances, ids, log), settings);
    }
    clusterAndFinish({std::move(batch.values), MatrixValues::Similarities, {ids, &models}},
                     std::move(ranked), settings, exports, log);
    return status;
}

// The figures are lent: batch and models must outlive the function.
PairFigures rmsdPairFigures(const RmsdBatch& batch, const PreparedList& models) {
    return [&batch, sets = models.sets()](std::size_t i, std::size_t j) {
        const auto rmsd = static_cast<double>(batch.rmsd.at(i, j));
        return rmsdFigures(rmsd < 0.0 ? std::nullopt : std::optional(rmsd), batch.pairs.at(i, j),
                           static_cast<double>(batch.urmsd.at(i, j)), sets[i].gyrationRadius,
                           sets[j].gyrationRadius);
    };
}

// The distances are the same in both forms of file, so -Rl is only another name for -R.
int writeRmsdFiles(const RmsdBatch& batch, const ChainList& models, const Settings& settings,
                   Log& log) {
    int status = EXIT_SUCCESS;
    const std::optional<std::string>& path =
        settings.output.resultFile ? settings.output.resultFile : settings.output.liteResultFile;
    if (path) {
        status |= exitStatus(writeDistanceFile(*path, models, batch.rmsd, modelIds(models), log),
                             settings);
    }
    if (settings.output.urmsdResultFile) {
        status |= exitStatus(writeDistanceFile(*settings.output.urmsdResultFile, models,
                                               batch.urmsd, modelIds(models), log),
                             settings);
    }
    return status;
}

// The fits go into matrices of single precision, and everything that is printed or written comes
// from these: a merged run, which has nothing else, prints the same digits.
int compareListRmsd(const ChainList& models, const Settings& settings, RunExports& exports,
                    Log& log, Report& report) {
    log.info(0, "All vs. All RMSD");
    const RunTimer timer;
    const PreparedList prepared(models, readPlan(settings).atoms, settings.comparison, report);
    RmsdBatch batch = rmsdOfAll(prepared, settings, exports, log, report);
    timer.stop(log);
    printPairs(models, rmsdPairFigures(batch, prepared), log);
    printAverage(batch.rmsd, settings, log);
    const int status = writeRmsdFiles(batch, models, settings, log);
    auto ranked = ranking(batch.rmsd, MatrixValues::Distances, {}, exports);
    const std::vector<std::uint32_t> ids = modelIds(models);
    clusterAndFinish({std::move(batch.rmsd), MatrixValues::Distances, {ids, &models}},
                     std::move(ranked), settings, exports, log);
    return status;
}

}  // namespace

int runAllVsAll(const Settings& settings, const ResidueExclusions& exclusions, RunExports& exports,
                Log& log) {
    Report report(log, settings.output.logLevel);
    const ChainList models = readModels(settings, exclusions, log, exports.unread());
    if (models.chains.size() < 2) abend("Not enough structures for all vs. all clustering");
    checkResidueNames(nullptr, models.chains, settings);
    exports.startAll(models);
    switch (comparisonKind(settings)) {
        case ComparisonKind::Gdt:
            return compareListGdt(models, settings, exports, log, report);
        case ComparisonKind::Rmsd:
            return compareListRmsd(models, settings, exports, log, report);
        case ComparisonKind::Measure:
            return compareListByMeasure(models, settings, exports, log, report);
        case ComparisonKind::MaxSub:
            return compareListMaxSub(models, settings, exports, log, report);
    }
    std::abort();
}

}  // namespace tervolanda
