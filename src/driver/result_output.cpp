// Small things that more than one run mode prints or decides.
#include "driver/result_output.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "driver/read_plan.h"
#include "driver/run_exports.h"

namespace tervolanda {

namespace {

// Counts of the settings are signed, those of clustering are not; below zero is none.
// -P -5 asks for no fewer than no pairs.
std::uint32_t asCount(int value) {
    return static_cast<std::uint32_t>(std::max(value, 0));
}

// The mean over the other models that the model has a score with.
std::optional<double> meanScore(const DistanceMatrix& scores, std::size_t model,
                                MatrixValues values) {
    // As batches and distance files mark it; a similarity may be any number.
    constexpr float kFailedFit = -1.0F;
    double sum = 0.0;
    std::size_t count = 0;
    for (std::size_t j = 0; j < scores.columns(); ++j) {
        const float score = scores.at(model, j);
        const bool isFailed = values == MatrixValues::Distances && score == kFailedFit;
        if (j == model || isFailed || !std::isfinite(score)) continue;
        sum += static_cast<double>(score);
        ++count;
    }
    if (count == 0) return std::nullopt;
    return sum / static_cast<double>(count);
}

// Clusters the models of a matrix, in which distances take the place of similarities, and prints
// the clusters.  None for method 0.
// An upper threshold that steps never reach is an ERROR line and no failure: what was computed
// stays.
std::optional<Clustering> clusterAndPrint(LabelledMatrix& matrix, const Settings& settings,
                                          Log& log) {
    const std::optional<ClusterMethod> method = clusterMethod(settings);
    if (!method) return std::nullopt;
    ClusterSettings asked;
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

// The tables number clusters of linkage from 1 and those of neighbours too, where 0 is no cluster;
// within `cluster` the former count from 0.
void addClusters(const Clustering& clustering, std::vector<RankedModel>& ranking) {
    const std::vector<std::uint32_t>& cluster = clustering.clusters.cluster;
    const bool countsFromZero = clustersByLinkage(clustering.settings.method);
    for (RankedModel& ranked : ranking) {
        const std::uint32_t number = cluster[ranked.model] + (countsFromZero ? 1U : 0U);
        if (number == 0) continue;
        ranked.cluster = number;
        ranked.isMedoid = clustering.centroids[number - 1].model == ranked.model;
    }
}

}  // namespace

RmsdOptions rmsdOptions(const Settings& settings) {
    return {.urmsd = (settings.measure.urmsdFlags & UrmsdCompute) != 0,
            .urmsdRotation = (settings.measure.urmsdFlags & UrmsdRotate) != 0,
            .reportTooFew = true,
            .pairBySequence = settings.comparison.pairBySequence};
}

std::vector<JuryScore> rankAndPrint(const DistanceMatrix& scores, const PairMatrix& pairs,
                                    const ChainList& chains, const Settings& settings, Log& log) {
    std::vector<JuryScore> ranking = rankByJury(scores, pairs, settings.clustering.juryScore,
                                                asCount(settings.clustering.juryPairs));
    printJuryTable(ranking, {settings.clustering.juryScore, settings.clustering.juryPairs}, chains,
                   log);
    return ranking;
}

std::vector<RankedModel> rankedModels(const DistanceMatrix& scores, MatrixValues values,
                                      std::span<const JuryScore> jury) {
    std::vector<RankedModel> ranking(scores.rows());
    for (std::size_t i = 0; i < ranking.size(); ++i) {
        const std::size_t model = jury.empty() ? i : jury[i].model;
        ranking[i].model = model;
        if (!jury.empty()) ranking[i].jury = jury[i].score;
        ranking[i].meanScore = meanScore(scores, model, values);
    }
    if (!jury.empty()) return ranking;
    const bool lowestFirst = values == MatrixValues::Distances;
    std::stable_sort(
        ranking.begin(), ranking.end(), [lowestFirst](const RankedModel& a, const RankedModel& b) {
            if (!a.meanScore || !b.meanScore) return a.meanScore.has_value() && !b.meanScore;
            return lowestFirst ? *a.meanScore < *b.meanScore : *a.meanScore > *b.meanScore;
        });
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
