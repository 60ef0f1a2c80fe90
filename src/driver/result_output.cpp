// Small things that more than one run mode prints or decides.
#include "driver/result_output.h"

#include <algorithm>
#include <cmath>

#include "base/format.h"
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

int numberWidth(std::size_t entries) {
    int width = 1;
    for (std::size_t rest = entries / 10; rest > 0; rest /= 10)
        ++width;
    return width;
}

int nameWidth(const ChainList& models) {
    std::size_t longest = 0;
    for (const Chain& model : models.chains)
        longest = std::max(longest, model.fileName.size());
    return static_cast<int>(longest);
}

RmsdFigures rmsdFigures(std::optional<double> rmsd, std::uint32_t pairs, double urmsd,
                        double experimentGyration, double predictionGyration) {
    RmsdFigures figures;
    figures.pairs = pairs;
    if (!rmsd) return figures;
    figures.rmsd = *rmsd;
    figures.relative = relativeRmsd(*rmsd, experimentGyration, predictionGyration, pairs);
    figures.urmsd = urmsd;
    figures.relativeUrmsd = relativeUrmsd(urmsd, pairs);
    return figures;
}

std::string rmsdText(const RmsdFigures& figures) {
    return format("%6.3f (Pairs=%4u, rRMSD=%5.3f (%6.2f)), URMSD=%6.3f (rURMSD=%5.3f)",
                  figures.rmsd, figures.pairs, figures.relative.ratio,
                  withoutNegativeZero(figures.relative.standardScore, 2), figures.urmsd,
                  figures.relativeUrmsd);
}

std::string contactText(const Chain& experiment, const Chain& prediction,
                        const ComparisonParameters& parameters) {
    const NativeContacts contacts =
        nativeContacts(prediction, experiment, parameters.contactDistance, parameters.contactGap);
    return format("NC=%6.2f%% (%u/%u)", contacts.percentage(), contacts.matched, contacts.native);
}

void rankAndPrint(const DistanceMatrix& scores, const PairMatrix& pairs, const ChainList& chains,
                  const Settings& settings, Log& log) {
    const std::vector<JuryScore> ranking =
        rankByJury(scores, pairs, settings.juryScore, asCount(settings.juryPairs));
    printJuryTable(ranking, {settings.juryScore, settings.juryPairs}, chains, log);
}

void clusterAndPrint(DistanceMatrix& matrix, MatrixValues values, const ModelLabels& models,
                     const Settings& settings, Log& log) {
    const std::optional<ClusterMethod> method = clusterMethod(settings.clusterMethod);
    if (!method) return;
    ClusterSettings asked;
    asked.method = *method;
    asked.values = values;
    asked.threshold = settings.threshold;
    asked.maxThreshold = settings.maxThreshold;
    asked.thresholdStep = settings.thresholdStep;
    asked.initialSize = asCount(settings.initialClusterSize);
    asked.minSize = asCount(settings.minClusterSize);
    asked.triedOneByOne = log.logLevel() > 2 ? kMostPrintedThresholds : 0;
    if (const std::optional<Clustering> found = clusterModels(matrix, asked)) {
        printClustering(*found, models, log);
    } else {
        log.error(0, "Unable to converge %f to %f using adjustment %f", settings.threshold,
                  settings.maxThreshold, settings.thresholdStep);
    }
}

int exitStatus(FileOutcome outcome) {
    return outcome == FileOutcome::Incomplete ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace tervolanda
