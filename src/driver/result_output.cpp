// Small things that more than one run mode prints or decides.
#include "driver/result_output.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "base/log.h"

namespace tervolanda {

namespace {

// Counts of the settings are signed, those of clustering are not; below zero is none.
std::uint32_t asCount(int value) {
    return static_cast<std::uint32_t>(std::max(value, 0));
}

// A way of clustering by its number on the command line; none for 0.
std::optional<ClusterMethod> clusterMethod(int number) {
    switch (number) {
        case 0:
            return std::nullopt;
        case 2:
            return ClusterMethod::AverageLinkage;
        case 3:
            return ClusterMethod::MaximumLinkage;
        case 4:
            return ClusterMethod::NeighboursMinSize;
        case 5:
            return ClusterMethod::NeighboursAbsoluteSize;
        default:  // every other number stands for single linkage
            return ClusterMethod::SingleLinkage;
    }
}

}  // namespace

RmsdOptions rmsdOptions(const Settings& settings) {
    return {.urmsd = (settings.measure.urmsdFlags & UrmsdCompute) != 0,
            .urmsdRotation = (settings.measure.urmsdFlags & UrmsdRotate) != 0,
            .reportTooFew = true,
            .pairBySequence = settings.comparison.pairBySequence};
}

void rankAndPrint(const DistanceMatrix& scores, const PairMatrix& pairs, const ChainList& chains,
                  const Settings& settings, Log& log) {
    const std::vector<JuryScore> ranking = rankByJury(scores, pairs, settings.clustering.juryScore,
                                                      asCount(settings.clustering.juryPairs));
    printJuryTable(ranking, {settings.clustering.juryScore, settings.clustering.juryPairs}, chains,
                   log);
}

void clusterAndPrint(DistanceMatrix& matrix, MatrixValues values, const ModelLabels& models,
                     const Settings& settings, Log& log) {
    const std::optional<ClusterMethod> method = clusterMethod(settings.clustering.clusterMethod);
    if (!method) return;
    ClusterSettings asked;
    asked.method = *method;
    asked.values = values;
    asked.threshold = settings.clustering.threshold;
    asked.maxThreshold = settings.clustering.maxThreshold;
    asked.thresholdStep = settings.clustering.thresholdStep;
    asked.initialSize = asCount(settings.clustering.initialClusterSize);
    asked.minSize = asCount(settings.clustering.minClusterSize);
    asked.triedOneByOne = log.logLevel() > 2 ? kMostPrintedThresholds : 0;
    if (const std::optional<Clustering> found = clusterModels(matrix, asked)) {
        printClustering(*found, models, log);
    } else {
        log.error(0, "Unable to converge %f to %f using adjustment %f",
                  settings.clustering.threshold, settings.clustering.maxThreshold,
                  settings.clustering.thresholdStep);
    }
}

int exitStatus(FileOutcome outcome) {
    return outcome == FileOutcome::Incomplete ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace tervolanda
