// Every model of a list against one experiment: a line for each, the best one last, so that it is
// what a terminal shows when the run is over.  The three kinds of comparison differ in the figures
// of a line and in what "best" means; all else is common.
//
// Lines are printed when all models have been compared, as their order is only known then; until
// then the progress counter tells that something happens.  What is kept of a model is a record of
// some 200 bytes, whatever its length.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "base/log.h"
#include "cluster/batch/batch.h"
#include "driver/model_input.h"
#include "driver/modes.h"
#include "driver/outputs.h"
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

// What one model is listed by.  The model is lent by the list.
struct ModelRecord {
    const Chain* model = nullptr;
    double score = 0.0;  // TM-score, MaxSub, GDT, RMSD or a measure on demand
    Figures figures;
    std::optional<Superposition> superposition;
    MeasureFigures beside{};  // measures that the run is not by
};

// What each kind of comparison found of a model, as its record.
ModelRecord recordOf(const ListedMaxSub& found, const ComparisonParameters& parameters) {
    ModelRecord record;
    record.score = parameters.rankByTM ? found.tm : found.maxsub;
    record.figures = MaxSubFigures{found.pairs, found.rmsd, found.maxsub, found.tm, found.msi};
    record.superposition = found.superposition;
    record.beside = found.measures;
    return record;
}

ModelRecord recordOf(const GdtResult& found) {
    ModelRecord record;
    record.score = found.gdt;
    record.figures = GdtFigures{found.gdt};
    record.superposition = found.superposition;
    record.beside = found.measures;
    return record;
}

ModelRecord recordOf(const ListedRmsd& found, const CoordinateSet& experiment) {
    RmsdFigures figures = rmsdFigures(found.rmsd, found.pairs, found.urmsd,
                                      experiment.gyrationRadius, found.gyrationRadius);
    figures.contacts = found.contacts;
    ModelRecord record;
    record.score = figures.rmsd;
    record.figures = figures;
    record.superposition = found.superposition;
    record.beside = found.measures.values;
    return record;
}

ModelRecord recordOf(const ListedRmsd& found, Measure measure) {
    ModelRecord record;
    record.score = found.measures.value(measure).value_or(0.0);
    record.figures = MeasuredFigures{measure, record.score, found.pairs};
    record.superposition = found.superposition;
    record.beside = found.measures.values;
    record.beside[static_cast<std::size_t>(measure)].reset();
    return record;
}

// One record per model, in list order.  The three batches differ in what they find; here all become
// records.
std::vector<ModelRecord> compareModels(const ListComparison& list, const Settings& settings,
                                       Log& log, Report& report) {
    std::vector<ModelRecord> records;
    records.reserve(list.models.chains.size());
    switch (comparisonKind(settings)) {
        case ComparisonKind::MaxSub:
            for (const ListedMaxSub& found :
                 compareListMaxSub(list, log, report, settings.workforce))
                records.push_back(recordOf(found, list.parameters));
            break;
        case ComparisonKind::Gdt:
            for (const GdtResult& found : compareListGdt(list, log, report, settings.workforce))
                records.push_back(recordOf(found));
            break;
        case ComparisonKind::Rmsd:
            for (const ListedRmsd& found :
                 compareListRmsd(list, rmsdOptions(settings), log, report, settings.workforce))
                records.push_back(recordOf(found, list.experimentSet));
            break;
        case ComparisonKind::Measure:
            for (const ListedRmsd& found :
                 compareListByMeasure(list, rmsdOptions(settings), log, report, settings.workforce))
                records.push_back(recordOf(found, *settings.measure.by));
            break;
    }
    for (std::size_t i = 0; i < records.size(); ++i)
        records[i].model = &list.models.chains[i];
    return records;
}

// The models in the order of their lines.  One without a fit has no score in the files that are
// asked for, and is ranked without; the lines show 0, or -1 for an RMSD.
std::vector<RankedModel> ranking(const std::vector<ModelRecord>& records,
                                 const Settings& settings) {
    std::vector<std::optional<double>> scores(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (records[i].superposition || records[i].score > 0.0) scores[i] = records[i].score;
    }
    const bool byRmsd = comparisonKind(settings) == ComparisonKind::Rmsd;
    std::vector<RankedModel> ranked =
        rankedByScore(scores, byRmsd ? MatrixValues::Distances : MatrixValues::Similarities);
    if (settings.output.noSort) {
        std::sort(ranked.begin(), ranked.end(),
                  [](const RankedModel& a, const RankedModel& b) { return a.model < b.model; });
    }
    return ranked;
}

// The best models in the order of the list of lines: with -nosort these are the first of the list.
int writeSuperScript(const Chain& experiment, const std::vector<ModelRecord>& records,
                     std::span<const RankedModel> ranked, const Settings& settings, Log& log) {
    if (settings.output.superTop <= 0) return EXIT_SUCCESS;
    const std::size_t shown =
        std::min(static_cast<std::size_t>(settings.output.superTop), ranked.size());
    SuperScript script(experiment);
    for (const RankedModel& at : ranked.first(shown)) {
        const ModelRecord& record = records[at.model];
        script.add(*record.model, record.score, record.superposition);
    }
    return exitStatus(script.write(kListScript, log), settings);
}

// From the last of the ranking to the first.
void printRecords(const ListComparison& list, const std::vector<ModelRecord>& records,
                  std::span<const RankedModel> ranked, Log& log) {
    const ColumnWidths widths = columnWidths(list.models);
    for (std::size_t position = ranked.size(); position > 0; --position) {
        const ModelRecord& record = records[ranked[position - 1].model];
        const ListRow row{position, list.experiment, *record.model, record.figures, record.beside};
        log.info(0, "%s", listLine(row, widths).c_str());
    }
}

}  // namespace

int runOneVsList(const Settings& settings, const ResidueExclusions& exclusions, RunExports& exports,
                 Log& log) {
    Report report(log, settings.output.logLevel);
    const ReadPlan plan = readPlan(settings);
    const ChainList models = readModels(settings, exclusions, log, exports.unread());
    const Chain experiment =
        readStructure(*settings.input.experimentFile, plan.experiment, exclusions, log);
    checkResidueNames(&experiment, models.chains, settings);
    const CoordinateSet experimentSet =
        prepareChain(experiment, plan.atoms, settings.comparison, report);
    log.info(0, "Processing PDB %s vs. List %s", settings.input.experimentFile->c_str(),
             settings.input.listFile->c_str());
    exports.startList(experiment, models);
    const ListComparison list{experiment, experimentSet,       models,
                              plan.atoms, settings.comparison, exports.viewer()};
    const RunTimer timer;
    const std::vector<ModelRecord> records = compareModels(list, settings, log, report);
    timer.stop(log);
    RunResults results;
    results.ranking = ranking(records, settings);
    const int status = writeSuperScript(experiment, records, results.ranking, settings, log);
    printRecords(list, records, results.ranking, log);
    exports.finish(std::move(results));
    return status;
}

}  // namespace tervolanda
