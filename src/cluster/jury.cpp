// 3D-Jury (Ginalski et al. 2003, Bioinformatics 19:1015): the model that most others resemble is
// the best guess at the native structure.  Each resemblance weighs as much as it covers residues.
//
// Row i of the scores is relative to the length of model i, so that a short model which matches a
// part of a long one resembles it, and not the other way round.
#include <algorithm>
#include <limits>

#include "cluster/cluster.h"

namespace tervolanda {

namespace {

// The model's cell with itself is an entry like the others.
std::uint32_t juryScore(std::span<const float> scores, std::span<const std::uint32_t> pairs,
                        double scoreThreshold, std::uint32_t pairThreshold) {
    std::uint64_t sum = 0;  // 2^32 models with 2^32 pairs each just fit
    for (std::size_t j = 0; j < scores.size(); ++j) {
        const bool counts =
            static_cast<double>(scores[j]) >= scoreThreshold && pairs[j] >= pairThreshold;
        sum += counts ? pairs[j] : 0U;
    }
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(sum, kMost));
}

}  // namespace

std::vector<JuryScore> rankByJury(const DistanceMatrix& scores, const PairMatrix& pairs,
                                  double scoreThreshold, std::uint32_t pairThreshold,
                                  const StopFlag* stop) {
    std::vector<JuryScore> ranking(scores.rows());
    for (std::uint32_t i = 0; i < ranking.size(); ++i) {
        throwIfStopped(stop);
        ranking[i] = {juryScore(scores.row(i), pairs.row(i), scoreThreshold, pairThreshold), i};
    }
    std::stable_sort(ranking.begin(), ranking.end(),
                     [](const JuryScore& a, const JuryScore& b) { return a.score > b.score; });
    return ranking;
}

}  // namespace tervolanda
