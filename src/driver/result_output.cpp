// Small things that more than one run mode prints or decides.
#include "driver/result_output.h"

#include <algorithm>
#include <cmath>

#include "base/format.h"
#include "base/log.h"

namespace tervolanda {

namespace {

constexpr const char* kRule = "======================================";

// Counts of the settings are signed, those of clustering are not; below zero is none.
std::uint32_t asCount(int value) {
    return static_cast<std::uint32_t>(std::max(value, 0));
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

void printJuryTable(const DistanceMatrix& scores, const PairMatrix& pairs, const ChainList& chains,
                    const Settings& settings, Log& log) {
    log.info(0, "%s", kRule);
    log.info(0, "3Djury (Threshold: >%6d pairs @ >%6.3f)", settings.juryPairs, settings.juryScore);
    log.info(0, "%s", kRule);
    log.info(0, "%-7s  %-7s  %-7s     %s", "Rank", "Model", "Pairs", "File");
    std::size_t rank = 0;
    for (const JuryScore& entry :
         rankByJury(scores, pairs, settings.juryScore, asCount(settings.juryPairs))) {
        const Chain& model = chains.chains[entry.model];
        log.info(0, "%5zu :  %7u  %7u       %s", ++rank, model.number, entry.score,
                 model.fileName.c_str());
    }
}

ClusterSettings clusterSettings(const Settings& settings, double conversion) {
    ClusterSettings cluster;
    cluster.threshold = settings.threshold;
    cluster.maxThreshold = settings.maxThreshold;
    cluster.thresholdStep = settings.thresholdStep;
    cluster.initialSize = asCount(settings.initialClusterSize);
    cluster.minSize = asCount(settings.minClusterSize);
    cluster.method = settings.clusterMethod;
    cluster.conversion = conversion;
    return cluster;
}

int exitStatus(FileOutcome outcome) {
    return outcome == FileOutcome::Incomplete ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace tervolanda
