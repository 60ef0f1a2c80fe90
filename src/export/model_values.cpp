// Models in the order in which files show them.  What the numbers mean, similarities or distances,
// decides which end is the better one and what a missing number counts as.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "export/values.h"

namespace tervolanda {

namespace {

// No score, as batches and distance files mark it; a similarity may be any number.
bool isMissing(float score, MatrixValues values) {
    constexpr float kFailedFit = -1.0F;
    return (values == MatrixValues::Distances && score == kFailedFit) || !std::isfinite(score);
}

// The mean over the other models that the model has a score with.
std::optional<double> meanScore(const DistanceMatrix& scores, std::size_t model,
                                MatrixValues values) {
    double sum = 0.0;
    std::size_t count = 0;
    for (std::size_t j = 0; j < scores.columns(); ++j) {
        const float score = scores.at(model, j);
        if (j == model || isMissing(score, values)) continue;
        sum += static_cast<double>(score);
        ++count;
    }
    if (count == 0) return std::nullopt;
    return sum / static_cast<double>(count);
}

// Quantiles as NumPy and R have them by default (Hyndman & Fan 1996, type 7).  The values come in
// any order and are left in another: each quantile is selected from those that are not below the
// one before, since to sort the 50 million scores of 10,000 models takes seconds.
// REQUIRES: there is a value.
void setQuantiles(std::vector<float>& values, SetFigures& set, const StopFlag* stop) {
    const auto isLess = [stop](float a, float b) {
        throwIfStopped(stop);
        return a < b;
    };
    auto begin = values.begin();
    for (std::size_t k = 0; k < set.quantiles.size(); ++k) {
        const double place = static_cast<double>((values.size() - 1) * k) /
                             static_cast<double>(set.quantiles.size() - 1);
        const double below = std::floor(place);
        const auto at = values.begin() + static_cast<std::ptrdiff_t>(below);
        std::nth_element(begin, at, values.end(), isLess);
        const auto next = std::min_element(std::next(at), values.end(), isLess);
        const auto low = static_cast<double>(*at);
        const double high = next == values.end() ? low : static_cast<double>(*next);
        set.quantiles[k] = low + (place - below) * (high - low);
        begin = at;
    }
}

}  // namespace

// A blank as the name of a chain, as in old PDB files, is no name.
InputStructure inputOf(const Chain& chain) {
    InputStructure input;
    input.file = chain.fileName;
    input.path = chain.path();
    input.modelPlace = chain.modelPlace;
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
                                      std::span<const JuryScore> jury, const StopFlag* stop) {
    std::vector<RankedModel> ranking(scores.rows());
    for (std::size_t i = 0; i < ranking.size(); ++i) {
        throwIfStopped(stop);
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

std::optional<SetFigures> setFigures(const DistanceMatrix& scores, MatrixValues values,
                                     const StopFlag* stop) {
    std::vector<float> found;
    double sum = 0.0;
    for (std::size_t i = 0; i < scores.rows(); ++i) {
        throwIfStopped(stop);
        for (std::size_t j = i + 1; j < scores.columns(); ++j) {
            const float score = scores.at(i, j);
            if (isMissing(score, values)) continue;
            found.push_back(score);
            sum += static_cast<double>(score);
        }
    }
    if (found.empty()) return std::nullopt;
    SetFigures set;
    set.pairs = found.size();
    set.mean = sum / static_cast<double>(found.size());
    setQuantiles(found, set, stop);
    set.medoid = rankedModels(scores, values, {}, stop).front().model;
    return set;
}

std::vector<ThresholdTrial> clustersByThreshold(const Clustering& clustering) {
    constexpr int kThresholds = 20;
    std::vector<ThresholdTrial> counts;
    double highest = 0.0;  // infinite joins are of models without a fit
    for (const Join& join : clustering.tree) {
        if (std::isfinite(join.distance)) highest = std::max(highest, join.distance);
    }
    std::size_t joined = 0;
    for (int k = 1; k <= kThresholds && highest > 0.0; ++k) {
        const double threshold = highest * k / kThresholds;
        while (joined < clustering.tree.size() && clustering.tree[joined].distance <= threshold)
            ++joined;
        const std::size_t clusters = clustering.tree.size() + 1 - joined;
        counts.push_back({threshold, static_cast<std::uint32_t>(clusters), 0});
    }
    return counts;
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
