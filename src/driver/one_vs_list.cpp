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
#include "compare/compare.h"
#include "compare/workspace.h"
#include "driver/model_input.h"
#include "driver/modes.h"
#include "driver/outputs.h"
#include "driver/read_plan.h"
#include "driver/result_output.h"
#include "driver/result_rows.h"
#include "driver/timer.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

constexpr std::size_t kProgressStep = 20;  // models between two progress lines

// What one model is listed by.
struct ModelRecord {
    const Chain* model = nullptr;
    double score = 0.0;    // TM-score, MaxSub, GDT or RMSD
    double sortKey = 0.0;  // ascending, the best first; not a number comes last
    Figures figures;
    std::optional<Superposition> superposition;
};

// The experiment, and what its comparisons share.
struct ListRun {
    const Settings& settings;
    const Chain& experiment;
    CoordinateSet experimentSet;
    ReadPlan plan;
    Report& report;
    ComparisonWorkspace workspace{};
    ComparisonResult result{};
};

ModelRecord compareModelMaxSub(ListRun& run, const CoordinateSet& modelSet) {
    ComparisonResult& result = run.result;
    compareMaxSub(run.experimentSet, modelSet, run.settings.comparison, run.workspace, run.report,
                  result);
    if (run.settings.comparison.iterations > 1) {
        run.report.report(ReportLevel::Numbers, "Total: Pairs=%4u. MAXSUB=%5.3f. MSI=%5.3f\n\n",
                          result.pairs, result.maxsub, result.msi);
    }
    ModelRecord record;
    record.score = run.settings.comparison.rankByTM ? result.tm : result.maxsub;
    record.sortKey = -record.score;
    record.figures = MaxSubFigures{result.pairs, result.rmsd, result.maxsub, result.tm, result.msi};
    if (!result.iterations.empty()) {
        record.superposition = result.iterations.front().superposition;
    }
    return record;
}

ModelRecord compareModelGdt(ListRun& run, const CoordinateSet& modelSet) {
    const GdtResult gdt = compareGdt(run.experimentSet, modelSet, run.settings.comparison,
                                     run.workspace, run.report, run.result);
    ModelRecord record;
    record.score = gdt.gdt;
    record.sortKey = -gdt.gdt;
    record.figures = GdtFigures{gdt.gdt};
    record.superposition = gdt.superposition;
    return record;
}

ModelRecord compareModelRmsd(ListRun& run, const Chain& model, const CoordinateSet& modelSet) {
    RmsdResult result;
    compareRmsd(run.experimentSet, modelSet, rmsdOptions(run.settings), run.workspace, run.report,
                result);
    RmsdFigures figures = rmsdFigures(result.rmsd, result.pairs, result.urmsd,
                                      run.experimentSet.gyrationRadius, modelSet.gyrationRadius);
    figures.contacts = sharedContacts(run.experiment, model, run.settings.comparison);
    ModelRecord record;
    record.score = figures.rmsd;
    record.sortKey = result.rmsd.value_or(std::numeric_limits<double>::infinity());
    record.figures = figures;
    if (result.rmsd) record.superposition = result.superposition;
    return record;
}

ModelRecord compareModel(ListRun& run, const Chain& model) {
    run.report.report(ReportLevel::Numbers, "%s vs. %s\n", model.fileName.c_str(),
                      run.experiment.fileName.c_str());
    const CoordinateSet modelSet =
        prepareChain(model, run.plan.atoms, run.settings.comparison, run.report);
    switch (comparisonKind(run.settings)) {
        case ComparisonKind::MaxSub:
            return compareModelMaxSub(run, modelSet);
        case ComparisonKind::Gdt:
            return compareModelGdt(run, modelSet);
        case ComparisonKind::Rmsd:
            return compareModelRmsd(run, model, modelSet);
    }
    std::abort();
}

const char* comparisonWord(ComparisonKind kind) {
    switch (kind) {
        case ComparisonKind::Gdt:
            return "GDTs";
        case ComparisonKind::Rmsd:
            return "RMSDs";
        case ComparisonKind::MaxSub:
            return "MAXSUBs";
    }
    std::abort();
}

std::vector<ModelRecord> compareModels(ListRun& run, const ChainList& models, Log& log) {
    const char* const word = comparisonWord(comparisonKind(run.settings));
    const RunTimer timer;
    std::vector<ModelRecord> records;
    records.reserve(models.chains.size());
    for (const Chain& model : models.chains) {
        if (records.size() % kProgressStep == 0) {
            log.progress(0, "Processed %zu of %zu %s", records.size(), models.chains.size(), word);
        }
        records.push_back(compareModel(run, model));
        records.back().model = &model;
    }
    timer.stop(log);
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

int writeSuperScript(const ListRun& run, const std::vector<ModelRecord>& records, Log& log) {
    if (run.settings.output.superTop <= 0) return EXIT_SUCCESS;
    const std::size_t shown =
        std::min(static_cast<std::size_t>(run.settings.output.superTop), records.size());
    SuperScript script(run.experiment);
    for (std::size_t i = 0; i < shown; ++i) {
        script.add(*records[i].model, records[i].score, records[i].superposition);
    }
    return exitStatus(script.write(kListScript, log));
}

// From the last record to the first.
void printRecords(const ListRun& run, const std::vector<ModelRecord>& records,
                  const ColumnWidths& widths, Log& log) {
    for (std::size_t position = records.size(); position > 0; --position) {
        const ModelRecord& record = records[position - 1];
        const ListRow row{position, run.experiment, *record.model, record.figures};
        log.info(0, "%s", listLine(row, widths).c_str());
    }
}

}  // namespace

int runOneVsList(const Settings& settings, const ResidueExclusions& exclusions, Log& log) {
    Report report(log, settings.output.logLevel);
    const ReadPlan plan = readPlan(settings);
    const ChainList models = readModels(settings, exclusions, log);
    const Chain experiment =
        readStructure(*settings.input.experimentFile, plan.request, exclusions, log);
    ListRun run{settings, experiment,
                prepareChain(experiment, plan.atoms, settings.comparison, report), plan, report};
    log.info(0, "Processing PDB %s vs. List %s", settings.input.experimentFile->c_str(),
             settings.input.listFile->c_str());
    std::vector<ModelRecord> records = compareModels(run, models, log);
    if (!settings.output.noSort) sortRecords(records);
    const int status = writeSuperScript(run, records, log);
    printRecords(run, records, columnWidths(models), log);
    return status;
}

}  // namespace tervolanda
