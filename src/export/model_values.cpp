// Models in the order in which files show them.  What the numbers mean, similarities or distances,
// decides which end is the better one and what a missing number counts as.
#include <algorithm>
#include <cmath>
#include <limits>

#include "export/values.h"

namespace tervolanda {

namespace {

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

}  // namespace

// A blank as the name of a chain, as in old PDB files, is no name.
InputStructure inputOf(const Chain& chain) {
    InputStructure input;
    input.file = chain.fileName;
    input.chain = chain.name == " " ? "" : chain.name;
    input.isSegment = chain.isSegment;
    input.subunits = chain.subunits;
    input.length = chain.residues.size();
    double sum = 0.0;
    std::size_t count = 0;
    for (const Residue& residue : chain.residues) {
        if (residue.ca == kNoAtom) continue;
        sum += chain.atoms[residue.ca].bFactor;
        ++count;
    }
    if (count > 0) input.meanBFactor = sum / static_cast<double>(count);
    return input;
}

std::vector<RankedModel> rankedByScore(std::span<const std::optional<double>> scores,
                                       MatrixValues values) {
    std::vector<RankedModel> ranking(scores.size());
    for (std::size_t i = 0; i < scores.size(); ++i) {
        ranking[i].model = i;
        ranking[i].score = scores[i];
    }
    // Ascending, the best first.
    const auto key = [values](const RankedModel& ranked) {
        if (values == MatrixValues::Similarities) return -ranked.score.value_or(0.0);
        return ranked.score.value_or(std::numeric_limits<double>::infinity());
    };
    std::stable_sort(ranking.begin(), ranking.end(),
                     [key](const RankedModel& a, const RankedModel& b) {
                         if (std::isnan(key(b))) return !std::isnan(key(a));
                         return key(a) < key(b);
                     });
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

}  // namespace tervolanda
