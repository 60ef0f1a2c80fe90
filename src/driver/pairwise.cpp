// One prediction against one experiment.  The results go to standard output without a prefix, as
// people read them; the superposition goes to a script in the working directory, as a viewer reads
// it.
//
// The level of detail is another than in list runs: who compares two structures wants to see how.
// All atoms are read, since the script shows them (read_plan.cpp).
#include <cassert>
#include <cstdlib>
#include <string>

#include "base/log.h"
#include "compare/compare.h"
#include "compare/fit/kernels.h"
#include "driver/model_input.h"
#include "driver/modes.h"
#include "driver/outputs.h"
#include "driver/read_plan.h"
#include "driver/residue_names.h"
#include "driver/result_output.h"
#include "driver/result_rows.h"
#include "driver/run_exports.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

// Single comparisons show their details unless a log level says otherwise.
int pairwiseReportLevel(const Settings& settings) {
    if (settings.output.logLevel > 1) return settings.output.logLevel;
    const ComparisonKind kind = comparisonKind(settings);
    const bool isLine = kind == ComparisonKind::Gdt || kind == ComparisonKind::Measure;
    return static_cast<int>(isLine ? ReportLevel::Numbers : ReportLevel::Alignment);
}

// For MaxSub runs alone; GDT and RMSD runs are one line.
void printBanner(Report& report) {
    const std::string separator = "\n " + std::string(79, '_') + "\n\n";
    report.report(ReportLevel::Results, "%s", separator.c_str());
    report.report(ReportLevel::Results, "%37s%s\n", "", "TervoLanda");
    report.report(ReportLevel::Results, "\n");
    report.report(ReportLevel::Results, "%21s%s\n", "",
                  "Protein structure comparison and clustering");
    report.report(ReportLevel::Results, "%s", separator.c_str());
}

// Which atoms the script shows, by -O.  Where a single subset was found and nothing else is wanted
// there is room for the whole chains.
ScriptAtoms scriptAtoms(const Settings& settings, const ComparisonResult& result) {
    if (!settings.output.outputOptionGiven && result.iterations.size() == 1)
        return ScriptAtoms::All;
    if (settings.output.outputOption <= 0) return ScriptAtoms::Matched;
    return settings.output.outputOption == 1 ? ScriptAtoms::Spanned : ScriptAtoms::All;
}

// For viewers there is one pair, of positions 0 and 0.
ComparedPair comparedPair(const ScriptSubject& subject) {
    return {{}, subject.experimentSet, subject.predictionSet};
}

// The measures on demand beside what the run is by.
void reportMeasures(const MeasureFigures& figures, Report& report) {
    const std::string text = measuresText(figures);
    if (!text.empty()) report.report(ReportLevel::Results, "Scores: %s\n", text.c_str());
}

// The lines of the search come from the search itself, as it goes on; here follow the alignment and
// the script.  A search without a subset has neither script nor status of failure.
int comparePairMaxSub(const ScriptSubject& subject, const Settings& settings, PairViewer* viewer,
                      ComparisonWorkspace& workspace, Log& log, Report& report) {
    ComparisonResult result;
    compareMaxSub(subject.experimentSet, subject.predictionSet, settings.comparison, workspace,
                  report, result);
    printAlignment(subject.experimentSet, subject.predictionSet, result, settings.comparison,
                   settings.output.lineWrap, report);
    reportMeasures(result.measures.values, report);
    if (viewer != nullptr) viewer->seeMaxSub(comparedPair(subject), result);
    if (result.iterations.empty() || !settings.output.alignOutput) return EXIT_SUCCESS;
    const MaxSubScene scene{result, settings.comparison, scriptAtoms(settings, result)};
    return exitStatus(writeMaxSubScript(kPairScript, subject, scene, log, report), settings);
}

// One figure, and no script.
int comparePairGdt(const ScriptSubject& subject, const Settings& settings, PairViewer* viewer,
                   ComparisonWorkspace& workspace, Report& report) {
    ComparisonResult result;
    const GdtResult gdt = compareGdt(subject.experimentSet, subject.predictionSet,
                                     settings.comparison, workspace, report, result);
    report.report(ReportLevel::Results, "%s\n", singleLine(GdtFigures{gdt.gdt}).c_str());
    reportMeasures(gdt.measures, report);
    if (viewer != nullptr) viewer->seeGdt(comparedPair(subject), gdt, result);
    return EXIT_SUCCESS;
}

// The same value that a list run would keep, so that viewers need not know the mode.
void showRmsd(const ScriptSubject& subject, const RmsdResult& result, const RmsdFigures& figures,
              PairViewer& viewer) {
    ListedRmsd listed = listedRmsd(result, subject.predictionSet);
    listed.contacts = figures.contacts;
    viewer.seeRmsd(comparedPair(subject), listed, result.matched);
}

// Contacts are counted here, as they need the chains and not their coordinate sets alone.
int comparePairRmsd(const ScriptSubject& subject, const Settings& settings, PairViewer* viewer,
                    ComparisonWorkspace& workspace, Log& log, Report& report) {
    RmsdResult result;
    compareRmsd(subject.experimentSet, subject.predictionSet, rmsdOptions(settings), workspace,
                report, result);
    RmsdFigures figures =
        rmsdFigures(result.rmsd, result.pairs, result.urmsd, subject.experimentSet.gyrationRadius,
                    subject.predictionSet.gyrationRadius);
    figures.contacts = sharedContacts(subject.experiment, subject.experimentSet, subject.prediction,
                                      subject.predictionSet, result, settings.comparison);
    report.report(ReportLevel::Results, "%s\n", singleLine(figures).c_str());
    reportMeasures(result.measures.values, report);
    if (viewer != nullptr) showRmsd(subject, result, figures, *viewer);
    if (!result.rmsd || !settings.output.alignOutput) return EXIT_SUCCESS;
    return exitStatus(writeRmsdScript(kPairScript, subject, result, log, report), settings);
}

int comparePairByMeasure(const ScriptSubject& subject, const Settings& settings, PairViewer* viewer,
                         ComparisonWorkspace& workspace, Report& report) {
    const Measure measure = *settings.measure.by;
    RmsdResult result;
    compareRmsd(subject.experimentSet, subject.predictionSet, rmsdOptions(settings), workspace,
                report, result);
    const MeasuredFigures figures{measure, result.measures.value(measure).value_or(0.0),
                                  result.pairs};
    report.report(ReportLevel::Results, "%s\n", singleLine(figures).c_str());
    MeasureFigures beside = result.measures.values;
    beside[static_cast<std::size_t>(measure)].reset();
    reportMeasures(beside, report);
    if (viewer != nullptr) {
        viewer->seeRmsd(comparedPair(subject), listedRmsd(result, subject.predictionSet),
                        result.matched);
    }
    return EXIT_SUCCESS;
}

// One workspace for the pair: nothing is shared with other comparisons of the process.
int comparePair(const ScriptSubject& subject, const Settings& settings, PairViewer* viewer,
                Log& log, Report& report) {
    ComparisonWorkspace workspace(kernelsOr(settings.workforce.kernels));
    switch (comparisonKind(settings)) {
        case ComparisonKind::Gdt:
            return comparePairGdt(subject, settings, viewer, workspace, report);
        case ComparisonKind::Rmsd:
            return comparePairRmsd(subject, settings, viewer, workspace, log, report);
        case ComparisonKind::Measure:
            return comparePairByMeasure(subject, settings, viewer, workspace, report);
        case ComparisonKind::MaxSub:
            return comparePairMaxSub(subject, settings, viewer, workspace, log, report);
    }
    std::abort();
}

}  // namespace

int runPairwise(const Settings& settings, const ResidueExclusions& exclusions, RunExports& exports,
                Log& log) {
    assert(settings.input.experimentFile && settings.input.predictionFile);
    Report report(log, pairwiseReportLevel(settings));
    const ReadPlan plan = readPlan(settings);
    const Chain experiment =
        readStructure(*settings.input.experimentFile, plan.experiment, exclusions, log);
    const Chain prediction =
        readStructure(*settings.input.predictionFile, plan.models, exclusions, log);
    checkResidueNames(&experiment, std::span(&prediction, 1), settings);

    const ComparisonKind kind = comparisonKind(settings);
    if (kind == ComparisonKind::MaxSub) printBanner(report);
    const CoordinateSet experimentSet =
        prepareChain(experiment, plan.atoms, settings.comparison, report);
    const CoordinateSet predictionSet =
        prepareChain(prediction, plan.atoms, settings.comparison, report);
    const ScriptSubject subject{experiment, experimentSet, prediction, predictionSet};
    exports.startPair(experiment, prediction);
    const int status = comparePair(subject, settings, exports.viewer(), log, report);
    exports.finish({});
    return status;
}

}  // namespace tervolanda
