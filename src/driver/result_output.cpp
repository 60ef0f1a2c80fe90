// Small things that more than one run mode prints or decides.
#include "driver/result_output.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "driver/read_plan.h"
#include "driver/run_exports.h"
#include "export/values.h"

namespace tervolanda {

namespace {

// Counts of the settings are signed, those of clustering are not: "-P -5" is "-P 0".
std::uint32_t asCount(int value) {
    return static_cast<std::uint32_t>(std::max(value, 0));
}

// Clusters the models of a matrix, in which distances take the place of similarities, and prints
// the clusters.  None for method 0.  An upper threshold that steps never reach is an ERROR line and
// no failure: what was computed stays.
std::optional<Clustering> clusterAndPrint(LabelledMatrix& matrix, const Settings& settings,
                                          Log& log) {
    const std::optional<ClusterMethod> method = clusterMethod(settings);
    if (!method) return std::nullopt;
    ClusterSettings asked;
    asked.threads = settings.workforce.threads;
    asked.method = *method;
    asked.values = matrix.values;
    asked.threshold = settings.clustering.threshold;
    asked.maxThreshold = settings.clustering.maxThreshold;
    asked.thresholdStep = settings.clustering.thresholdStep;
    asked.initialSize = asCount(settings.clustering.initialClusterSize);
    asked.minSize = asCount(settings.clustering.minClusterSize);
    // The thresholds tried are lines at level 3 only, and without them a search may leap over any
    // number.
    asked.triedOneByOne = log.logLevel() > 2 ? kMostPrintedThresholds : 0;
    std::optional<Clustering> found = clusterModels(matrix.cells, asked);
    if (found) {
        printClustering(*found, matrix.models, log);
    } else {
        log.error(0, "Unable to converge %f to %f using adjustment %f",
                  settings.clustering.threshold, settings.clustering.maxThreshold,
                  settings.clustering.thresholdStep);
    }
    return found;
}

}  // namespace

std::vector<JuryScore> rankAndPrint(const DistanceMatrix& scores, const PairMatrix& pairs,
                                    const ChainList& chains, const Settings& settings, Log& log) {
    std::vector<JuryScore> ranking = rankByJury(scores, pairs, settings.clustering.juryScore,
                                                asCount(settings.clustering.juryPairs));
    printJuryTable(ranking, {settings.clustering.juryScore, settings.clustering.juryPairs}, chains,
                   log);
    return ranking;
}

void clusterAndFinish(LabelledMatrix matrix, std::vector<RankedModel> ranking,
                      const Settings& settings, RunExports& exports, Log& log) {
    RunResults results;
    results.clustering = clusterAndPrint(matrix, settings, log);
    if (!exports.isWanted()) return;
    const bool isConverted = clusterMethod(settings).has_value();
    results.matrix = &matrix.cells;
    results.matrixValues = isConverted ? MatrixValues::Distances : matrix.values;
    results.ranking = std::move(ranking);
    if (results.clustering) addClusters(*results.clustering, results.ranking);
    exports.finish(results);
}

// A result file that could not even be created is said and left: the lines of the run are as good
// without it.
int exitStatus(FileOutcome outcome, const Settings& settings) {
    const bool isMissing = outcome == FileOutcome::NotCreated && settings.strict;
    return isMissing || outcome == FileOutcome::Incomplete ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace tervolanda
