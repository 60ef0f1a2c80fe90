// Every model of a list against one experiment: a line for each, the best one last, so that it is
// what a terminal shows when the run is over.  The three kinds of comparison differ in the figures
// of a line and in what "best" means; all else is common.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
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
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

// What one model is listed by.
// The model is lent by the list.
struct ModelRecord {
    const Chain* model = nullptr;
    double score = 0.0;    // TM-score, MaxSub, GDT or RMSD
    double sortKey = 0.0;  // ascending, the best first; not a number comes last
    Figures figures;
    std::optional<Superposition> superposition;
};

ModelRecord recordOf(const ListedMaxSub& found, const ComparisonParameters& parameters) {
    ModelRecord record;
    record.score = parameters.rankByTM ? found.tm : found.maxsub;
    record.sortKey = -record.score;
    record.figures = MaxSubFigures{found.pairs, found.rmsd, found.maxsub, found.tm, found.msi};
    record.superposition = found.superposition;
    return record;
}

ModelRecord recordOf(const GdtResult& found) {
    ModelRecord record;
    record.score = found.gdt;
    record.sortKey = -found.gdt;
    record.figures = GdtFigures{found.gdt};
    record.superposition = found.superposition;
    return record;
}

ModelRecord recordOf(const ListedRmsd& found, const CoordinateSet& experiment) {
    RmsdFigures figures = rmsdFigures(found.rmsd, found.pairs, found.urmsd,
                                      experiment.gyrationRadius, found.gyrationRadius);
    figures.contacts = found.contacts;
    ModelRecord record;
    record.score = figures.rmsd;
    // A fit that failed is shown as -1, which would come first.
    record.sortKey = found.rmsd.value_or(std::numeric_limits<double>::infinity());
    record.figures = figures;
    record.superposition = found.superposition;
    return record;
}

// One record a model, in list order.
// The three batches differ in what they find; here all become records.
std::vector<ModelRecord> compareModels(const ListComparison& list, const Settings& settings,
                                       Log& log, Report& report) {
    std::vector<ModelRecord> records;
    records.reserve(list.models.chains.size());
    switch (comparisonKind(settings)) {
        case ComparisonKind::MaxSub:
            for (const ListedMaxSub& found : compareListMaxSub(list, log, report, settings.threads))
                records.push_back(recordOf(found, list.parameters));
            break;
        case ComparisonKind::Gdt:
            for (const GdtResult& found : compareListGdt(list, log, report, settings.threads))
                records.push_back(recordOf(found));
            break;
        case ComparisonKind::Rmsd:
            for (const ListedRmsd& found :
                 compareListRmsd(list, rmsdOptions(settings), log, report, settings.threads))
                records.push_back(recordOf(found, list.experimentSet));
            break;
    }
    for (std::size_t i = 0; i < records.size(); ++i)
        records[i].model = &list.models.chains[i];
    return records;
}

// Best first; equal ones keep list order.  The exact values are compared: a tolerance would make
// the order depend on the sort.
void sortRecords(std::vector<ModelRecord>& records) {
    std::stable_sort(records.begin(), records.end(),
                     [](const ModelRecord& a, const ModelRecord& b) {
                         if (std::isnan(b.sortKey)) return !std::isnan(a.sortKey);
                         return a.sortKey < b.sortKey;
                     });
}

// The best models in the order of the list of lines: with -nosort these are the first of the list.
int writeSuperScript(const Chain& experiment, const std::vector<ModelRecord>& records,
                     const Settings& settings, Log& log) {
    if (settings.output.superTop <= 0) return EXIT_SUCCESS;
    const std::size_t shown =
        std::min(static_cast<std::size_t>(settings.output.superTop), records.size());
    SuperScript script(experiment);
    for (std::size_t i = 0; i < shown; ++i) {
        script.add(*records[i].model, records[i].score, records[i].superposition);
    }
    return exitStatus(script.write(kListScript, log), settings);
}

// From the last record to the first.
void printRecords(const ListComparison& list, const std::vector<ModelRecord>& records, Log& log) {
    const ColumnWidths widths = columnWidths(list.models);
    for (std::size_t position = records.size(); position > 0; --position) {
        const ModelRecord& record = records[position - 1];
        const ListRow row{position, list.experiment, *record.model, record.figures};
        log.info(0, "%s", listLine(row, widths).c_str());
    }
}

// A model without a fit has no score in the files that are asked for; the lines show 0, or -1 for
// an RMSD.
RunResults resultsOf(const std::vector<ModelRecord>& records, const ChainList& models) {
    RunResults results;
    for (const ModelRecord& record : records) {
        RankedModel ranked;
        ranked.model = static_cast<std::size_t>(record.model - models.chains.data());
        if (record.superposition || record.score > 0.0) ranked.score = record.score;
        results.ranking.push_back(ranked);
    }
    return results;
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
    std::vector<ModelRecord> records = compareModels(list, settings, log, report);
    timer.stop(log);
    if (!settings.output.noSort) sortRecords(records);
    const int status = writeSuperScript(experiment, records, settings, log);
    printRecords(list, records, log);
    if (exports.isWanted()) exports.finish(resultsOf(records, models));
    return status;
}

}  // namespace tervolanda
