// What is recorded of a run says all that its results depend on, given or by default.
//
// An option of which results depend has its row here and, where it concerns a pair, in
// optionsText() of blocks.cpp.
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

}  // namespace

std::vector<RecordedOption> recordedOptions(const Settings& settings) {
    const InputSettings& input = settings.input;
    const ComparisonParameters& comparison = settings.comparison;
    const MeasureSettings& measure = settings.measure;
    const ClusteringSettings& clustering = settings.clustering;
    const OutputSettings& output = settings.output;
    return {
        {"-e", text(input.experimentFile)},
        {"-p", text(input.predictionFile)},
        {"-l", text(input.listFile)},
        {"-F", text(input.distanceFile)},
        {"-M", text(input.transformFile)},
        {"-exclude", text(input.exclusionFile)},
        {"--chain-e", input.experimentChain},
        {"--chain-p", input.predictionChain},
        {"-all", input.allAtoms},
        {"-L", count(output.logLevel)},
        {"-d", comparison.distanceCutoff},
        {"-N", count(comparison.normLength)},
        {"-rmsd", measure.rmsdOnly},
        {"-gdt", measure.gdt ? Value(comparison.gdtCutoff) : Value()},
        {"-i", count(comparison.iterations)},
        {"-in", comparison.sequenceIndependent},
        {"--pair", comparison.pairBySequence ? Value("sequence") : Value()},
        {"-C", count(clustering.clusterMethod)},
        {"-T", clustering.threshold},
        {"-Tm", clustering.maxThreshold},
        {"-a", clustering.thresholdStep},
        {"-is", count(clustering.initialClusterSize)},
        {"-ms", count(clustering.minClusterSize)},
        {"-s", clustering.juryScore},
        {"-P", count(clustering.juryPairs)},
        {"-nosort", output.noSort},
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

}  // namespace tervolanda
