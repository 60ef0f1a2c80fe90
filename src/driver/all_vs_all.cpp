// The models of a list against each other.  A batch fills matrices; from these come the lines of
// the pairs, their average, the result files, the consensus ranking and the clusters.  Row i of a
// score matrix is relative to the length of model i, so the line of a pair shows the score by the
// length of the model that it names first.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/format.h"
#include "base/log.h"
#include "cluster/batch/batch.h"
#include "driver/abend.h"
#include "driver/model_input.h"
#include "driver/modes.h"
#include "driver/result_output.h"
#include "driver/timer.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

// The figures of a pair of matrix positions, as they end its line.
using PairText = std::function<std::string(std::size_t i, std::size_t j)>;

// A line for every pair, in matrix order.
void printPairs(const ChainList& models, const PairText& figures, Log& log) {
    if (log.logLevel() <= 1) return;
    const int numbers = numberWidth(models.chains.size());
    const int names = nameWidth(models);
    for (std::size_t i = 0; i < models.chains.size(); ++i) {
        const Chain& first = models.chains[i];
        for (std::size_t j = i + 1; j < models.chains.size(); ++j) {
            const Chain& second = models.chains[j];
            log.info(1, "Model %*u %-*s vs. Model %*u %-*s%s", numbers, first.number, names,
                     first.fileName.c_str(), numbers, second.number, names, second.fileName.c_str(),
                     figures(i, j).c_str());
        }
    }
}

// The mean over the pairs of a matrix, row by row above the diagonal.
struct Average {
    double mean = 0.0;
    std::size_t count = 0;
};

// Negative values mark pairs without one and are left out.
Average averageOfPairs(const DistanceMatrix& matrix) {
    double sum = 0.0;
    Average average;
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

void cluster(DistanceMatrix matrix, MatrixValues values, const ChainList& models,
             const Settings& settings, Log& log) {
    clusterAndPrint(matrix, values, {modelIds(models), &models}, settings, log);
}

MaxSubBatch timedMaxSub(const ChainList& models, const Settings& settings, const PairSink& sink,
                        Log& log, Report& report) {
    const RunTimer timer;
    MaxSubBatch batch = compareAllMaxSub(models, settings.comparison, sink, log, report);
    timer.stop(log);
    return batch;
}

int compareListMaxSub(const ChainList& models, const Settings& settings, Log& log, Report& report) {
    std::optional<TransformationSpool> spool;
    PairSink sink;
    if (settings.resultFile) {
        spool.emplace(*settings.resultFile, models, log);
        sink = [&spool](std::size_t i, std::size_t j, const ComparisonResult& result) {
            spool->add(i, j, result);
        };
    }
    MaxSubBatch batch = timedMaxSub(models, settings, sink, log, report);
    const auto figures = [&batch](std::size_t i, std::size_t j) {
        return format("  Pairs=%4u, RMSD=%6.3f, MaxSub=%5.3f", batch.pairs.at(i, j),
                      static_cast<double>(batch.rmsd.at(i, j)),
                      static_cast<double>(batch.scores.at(i, j)));
    };
    printPairs(models, figures, log);
    const Average average = averageOfPairs(batch.scores);
    if (settings.average && average.count > 0) {
        log.info(0, "All-vs-All average = %.3f (count = %zu)", average.mean, average.count);
    }
    int status = EXIT_SUCCESS;
    if (settings.resultFile) {
        status |= exitStatus(
            orAbend(writeTransformationFile(*settings.resultFile, models, batch.scores, batch.pairs,
                                            *spool, modelIds(models), log)));
    }
    if (settings.liteResultFile) {
        status |= exitStatus(writeMaxSubFile(*settings.liteResultFile, models, batch.scores,
                                             batch.pairs, modelIds(models), log));
    }
    rankAndPrint(batch.scores, batch.pairs, models, settings, log);
    cluster(std::move(batch.scores), MatrixValues::Similarities, models, settings, log);
    return status;
}

int compareListGdt(const ChainList& models, const Settings& settings, Log& log, Report& report) {
    log.info(0, "All vs. All GDT");
    const RunTimer timer;
    GdtBatch batch = compareAllGdt(models, settings.comparison, log, report);
    timer.stop(log);
    const auto figures = [&batch](std::size_t i, std::size_t j) {
        return format(" GDT=%7.3f", static_cast<double>(batch.gdt.at(i, j)));
    };
    printPairs(models, figures, log);
    const Average average = averageOfPairs(batch.gdt);
    if (settings.average && average.count > 0) {
        log.info(0, "All-vs-All average = %7.3f (count = %zu)", average.mean, average.count);
    }
    int status = EXIT_SUCCESS;
    if (settings.resultFile) {
        status = exitStatus(
            writeDistanceFile(*settings.resultFile, models, batch.gdt, modelIds(models), log));
    }
    // Clustering takes similarities from 0 to 1.
    for (float& value : batch.gdt.values())
        value /= 100.0F;
    cluster(std::move(batch.gdt), MatrixValues::Similarities, models, settings, log);
    return status;
}

PairText rmsdPairText(const RmsdBatch& batch, const ChainList& models) {
    std::vector<double> gyration;
    for (const Chain& model : models.chains)
        gyration.push_back(radiusOfGyration(model));
    return [&batch, gyration = std::move(gyration)](std::size_t i, std::size_t j) {
        const auto rmsd = static_cast<double>(batch.rmsd.at(i, j));
        return " = " + rmsdText(rmsdFigures(
                           rmsd < 0.0 ? std::nullopt : std::optional(rmsd), batch.pairs.at(i, j),
                           static_cast<double>(batch.urmsd.at(i, j)), gyration[i], gyration[j]));
    };
}

int writeRmsdFiles(const RmsdBatch& batch, const ChainList& models, const Settings& settings,
                   Log& log) {
    int status = EXIT_SUCCESS;
    const std::optional<std::string>& path =
        settings.resultFile ? settings.resultFile : settings.liteResultFile;
    if (path) {
        status |= exitStatus(writeDistanceFile(*path, models, batch.rmsd, modelIds(models), log));
    }
    if (settings.urmsdResultFile) {
        status |= exitStatus(writeDistanceFile(*settings.urmsdResultFile, models, batch.urmsd,
                                               modelIds(models), log));
    }
    return status;
}

int compareListRmsd(const ChainList& models, const Settings& settings, Log& log, Report& report) {
    log.info(0, "All vs. All RMSD");
    const RmsdBatchOptions options{rmsdOptions(settings), comparedAtoms(settings)};
    const RunTimer timer;
    RmsdBatch batch = compareAllRmsd(models, settings.comparison, options, log, report);
    timer.stop(log);
    printPairs(models, rmsdPairText(batch, models), log);
    const Average average = averageOfPairs(batch.rmsd);
    if (settings.average && average.count > 0) {
        log.info(0, "All-vs-All average            = %6.3f (count = %zu)", average.mean,
                 average.count);
    }
    const int status = writeRmsdFiles(batch, models, settings, log);
    cluster(std::move(batch.rmsd), MatrixValues::Distances, models, settings, log);
    return status;
}

}  // namespace

int runAllVsAll(const Settings& settings, const ResidueExclusions& exclusions, Log& log) {
    Report report(log, settings.logLevel);
    const ChainList models = readModels(settings, exclusions, log);
    if (models.chains.size() < 2) abend("Not enough structures for all vs. all clustering");
    switch (comparisonKind(settings)) {
        case ComparisonKind::Gdt:
            return compareListGdt(models, settings, log, report);
        case ComparisonKind::Rmsd:
            return compareListRmsd(models, settings, log, report);
        case ComparisonKind::MaxSub:
            break;
    }
    return compareListMaxSub(models, settings, log, report);
}

}  // namespace tervolanda
