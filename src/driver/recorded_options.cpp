// What is recorded of a run says all that its results depend on, given or by default, so that
// whoever finds the file can make the run again.
//
// An option of which results depend has its row here and, where it concerns a pair, in
// optionsText() of blocks.cpp.  Options that only say where results go, or how fast, have none.
#include "driver/recorded_options.h"

#include <optional>
#include <string>

namespace tervolanda {

namespace {

using Value = decltype(RecordedOption::value);

Value text(const std::optional<std::string>& value) {
    return value ? Value(*value) : Value();
}
Value count(long long value) {
    return value;
}

// In the words of the command line; a model that is not chosen is the first of its file.
Value modelChoice(const EntryRules& rules) {
    if (rules.allModels) return "all";
    return rules.model ? Value(static_cast<long long>(*rules.model)) : Value();
}

Value conformerChoice(const EntryRules& rules) {
    switch (rules.conformers) {
        case Conformers::Best:
            return "best";
        case Conformers::First:
            return "first";
        case Conformers::Lettered:
            break;
    }
    return std::string(1, rules.conformer);
}

// The rows come in groups of the order in which files show them, which is kept for their readers.

// What was read, and what was taken of it.
std::vector<RecordedOption> inputOptions(const InputSettings& input, const OutputSettings& output) {
    return {
        {"-e", text(input.experimentFile)},
        {"-p", text(input.predictionFile)},
        {"-l", input.listIsPath ? Value() : text(input.listFile)},
        {"--models", input.listIsPath ? text(input.listFile) : Value()},
        {"-F", text(input.distanceFile)},
        {"-M", text(input.transformFile)},
        {"-exclude", text(input.exclusionFile)},
        {"--input", input.entry.readsPdb ? Value("auto") : Value()},
        {"--model", modelChoice(input.entry)},
        {"--altloc", conformerChoice(input.entry)},
        {"--chain-e", input.experimentChain},
        {"--chain-p", input.predictionChain},
        {"-all", input.allAtoms},
        {"-L", count(output.logLevel)},
    };
}

// How pairs are compared: what most runs set.
std::vector<RecordedOption> mainOptions(const ComparisonParameters& comparison,
                                        const MeasureSettings& measure) {
    return {
        {"-d", comparison.distanceCutoff},
        {"-N", count(comparison.normLength)},
        {"-rmsd", measure.rmsdOnly},
        {"-gdt", measure.gdt ? Value(comparison.gdtCutoff) : Value()},
        {"-i", count(comparison.iterations)},
        {"-in", comparison.sequenceIndependent},
        {"--pair", comparison.pairBySequence ? Value("sequence") : Value()},
        {"--map-chains", comparison.mapChains},
    };
}

// Thresholds as they were used, the kind of run having had its say.
std::vector<RecordedOption> clusterOptions(const ClusteringSettings& clustering) {
    return {
        {"-C", count(clustering.clusterMethod)},
        {"-T", clustering.threshold},
        {"-Tm", clustering.maxThreshold},
        {"-a", clustering.thresholdStep},
        {"-is", count(clustering.initialClusterSize)},
        {"-ms", count(clustering.minClusterSize)},
        {"-s", clustering.juryScore},
        {"-P", count(clustering.juryPairs)},
    };
}

// The rest, in which runs seldom differ.
std::vector<RecordedOption> finerOptions(const Settings& settings) {
    const ComparisonParameters& comparison = settings.comparison;
    const MeasureSettings& measure = settings.measure;
    return {
        {"-nosort", settings.output.noSort},
        {"-TSF", comparison.thresholdScale},
        {"-rankMS", measure.rankMS},
        {"-noscore", !comparison.scorePoor},
        {"-bb", measure.backbone},
        {"-urmsd", (measure.urmsdFlags & UrmsdRotate) != 0},
        {"-nourmsd", (measure.urmsdFlags & UrmsdCompute) == 0},
        {"-mS", comparison.minIterationScore},
        {"-mP", count(comparison.minIterationPairs)},
        {"-maxRMSD", comparison.maxRMSD},
        {"-TM", comparison.maximiseTM},
        {"-opt", count(comparison.optimisations)},
        {"-open", comparison.gapOpen},
        {"-aff", comparison.gapAffine},
        {"-seed", count(comparison.seedLevels)},
        {"-contact", comparison.contacts},
        {"-dist", comparison.contactDistance},
        {"-gap", count(comparison.contactGap)},
    };
}

}  // namespace

std::vector<RecordedOption> recordedOptions(const Settings& settings) {
    std::vector<RecordedOption> all = inputOptions(settings.input, settings.output);
    for (const auto& more : {mainOptions(settings.comparison, settings.measure),
                             clusterOptions(settings.clustering), finerOptions(settings)})
        all.insert(all.end(), more.begin(), more.end());
    // Recorded where they are given: runs without them have the record that they always had.
    if (const auto by = settings.measure.by)
        all.push_back({"--measure", std::string(measureName(*by))});
    std::string scores;
    for (const Measure measure : kMeasures) {
        if (!settings.comparison.measures.wanted.has(measure)) continue;
        scores += (scores.empty() ? "" : ",") + std::string(measureName(measure));
    }
    if (!scores.empty()) all.push_back({"--scores", scores});
    return all;
}

}  // namespace tervolanda
