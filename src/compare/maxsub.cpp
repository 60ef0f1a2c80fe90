// The search tries many short fragments as seeds.  Each is superposed, pairs that come to lie near
// each other are taken in, the larger set is superposed again, with a radius that grows to the
// cut-off, until the set no longer grows.  The largest set wins; of equal ones that with the lower
// RMSD; of equals again the earlier.  With maximiseTM every superposition on the way is scored and
// the set with the highest TM-score wins.
#include "compare/maxsub.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "driver/log.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestMapped = 5;    // a search needs as many mapped pairs
constexpr std::size_t kFewestSelected = 3;  // a smaller selection is none
constexpr std::uint32_t kShortestSeed = 4;
constexpr int kGrowthSteps = 4;          // radii of 1/4, 2/4, 3/4 and 4/4 of the cut-off
constexpr double kSmallestRadius = 0.5;  // Å; growth skips smaller ones
constexpr int kMostSelections = 21;      // of one refinement
constexpr double kConvergedTm = 0.001;   // passes that change the TM-score less are the last

// The constants of one pass.
struct PassScale {
    double cutoff;            // Å
    double tmScaleSquared;    // Å^2
    double experimentLength;  // divides MaxSub
    double normLength;        // divides the TM-score
};

struct SubsetScore {
    std::uint32_t pairs = 0;
    double rmsd = 0.0;
    double grmsd = 0.0;
    double maxsub = 0.0;
    double tm = 0.0;
};

// One search over one mapping: the pairs lie in the workspace.
class SubsetSearch {
 public:
    SubsetSearch(const ComparisonParameters& parameters, const PassScale& scale,
                 ComparisonWorkspace& workspace, Report& report)
        : parameters_(parameters), scale_(scale), workspace_(workspace), report_(report) {}

    // Leaves the best subset in the workspace; false when none was accepted.
    bool run() {
        workspace_.best.clear();
        bestRmsd_ = 0.0;
        bestTm_ = 0.0;
        const auto n = static_cast<std::uint32_t>(workspace_.pairs.size());
        for (const std::uint32_t length : seedLengths(n, parameters_.seedLevels)) {
            for (std::uint32_t start = 0; start + length <= n; start += length / 2) {
                startFrom(start, length);
                if (parameters_.maximiseTM) {
                    extendForTm();
                    continue;
                }
                extend();
                if (workspace_.best.size() == n) {
                    report_.reportFrom(5, "Complete maxsub found\n");
                    return true;
                }
            }
        }
        return !workspace_.best.empty();
    }

 private:
    void startFrom(std::uint32_t start, std::uint32_t length) {
        workspace_.seed.resize(length);
        std::iota(workspace_.seed.begin(), workspace_.seed.end(), start);
        workspace_.current = workspace_.seed;
    }

    // Superposes on the current set; false when that failed.
    bool fitCurrent() {
        const auto fit = fitPairs(workspace_.pairs, workspace_.current, workspace_.kernels(),
                                  workspace_.gathered);
        if (!fit) return false;
        squaredDeviations(workspace_.pairs, *fit, workspace_.kernels(),
                          workspace_.squaredDeviation);
        return true;
    }

    void select(double radius) {
        if (parameters_.maxRMSD && !parameters_.maximiseTM) {
            selectByRmsd(workspace_.squaredDeviation, radius, workspace_.order, workspace_.current);
        } else {
            selectWithin(workspace_.squaredDeviation, radius, workspace_.current);
        }
    }

    // Selects; a selection that is too small gives way to the seed and is false.
    bool selectOrReturnToSeed(double radius) {
        select(radius);
        if (workspace_.current.size() >= kFewestSelected) return true;
        workspace_.current = workspace_.seed;
        return false;
    }

    double growthRadius(int step) const { return step * scale_.cutoff * 0.25; }

    void extend() {
        for (int step = 1; step <= kGrowthSteps; ++step) {
            if (fitCurrent() && growthRadius(step) >= kSmallestRadius) {
                selectOrReturnToSeed(growthRadius(step));
            }
        }
        for (int selections = 0; selections < kMostSelections; ++selections) {
            const std::size_t size = workspace_.current.size();
            if (!fitCurrent() || !selectOrReturnToSeed(scale_.cutoff)) break;
            if (workspace_.current.size() <= size) break;
        }
        if (!fitCurrent()) return;
        select(scale_.cutoff);
        considerCurrent();
    }

    void considerCurrent() {
        const std::vector<std::uint32_t>& current = workspace_.current;
        if (current.size() <= kFewestSelected || current.size() < workspace_.best.size()) return;
        const double rmsd = currentRmsd();
        if (current.size() == workspace_.best.size() && !(rmsd < bestRmsd_)) return;
        workspace_.best = current;
        bestRmsd_ = rmsd;
    }

    double currentRmsd() const {
        double sum = 0.0;
        for (const std::uint32_t pair : workspace_.current) {
            sum += workspace_.squaredDeviation[pair];
        }
        return std::sqrt(sum / static_cast<double>(workspace_.current.size()));
    }

    void extendForTm() {
        for (int step = 1; step <= kGrowthSteps; ++step) {
            if (fitAndJudge()) selectOrReturnToSeed(growthRadius(step));
        }
        for (int selections = 0; selections < kMostSelections; ++selections) {
            const std::size_t size = workspace_.current.size();
            if (!fitAndJudge() || !selectOrReturnToSeed(scale_.cutoff)) break;
            if (workspace_.current.size() == size) break;
        }
    }

    // Superposes on the current set and keeps it when its TM-score is the best; false when the fit
    // failed.
    bool fitAndJudge() {
        if (!fitCurrent()) return false;
        double sum = 0.0;
        for (const double squared : workspace_.squaredDeviation) {
            sum += 1.0 / (1.0 + squared / scale_.tmScaleSquared);
        }
        const double tm = sum / scale_.normLength;
        if (tm > bestTm_) {
            bestTm_ = tm;
            workspace_.best = workspace_.current;
        }
        return true;
    }

    const ComparisonParameters& parameters_;
    const PassScale& scale_;
    ComparisonWorkspace& workspace_;
    Report& report_;
    double bestRmsd_ = 0.0;
    double bestTm_ = 0.0;
};

// Which pairs a scoring counts.  The limit is inside during the search and outside in the final
// scoring: reported subsets depend on it.
enum class CutoffLimit : std::uint8_t { Inclusive, Exclusive };

// Superposes on `subset` and scores under that fit; the subset becomes the pairs that count, except
// with `keepSubset`.  None when the fit failed.
struct ScoredFit {
    SubsetScore score;
    Superposition superposition;
};

bool isPoor(const SubsetScore& score) {
    constexpr std::uint32_t kEnough = 40;
    constexpr std::uint32_t kFew = 24;
    constexpr double kPoorScore = 0.125;
    return score.pairs < kEnough && (score.pairs <= kFew || score.maxsub < kPoorScore);
}

std::optional<ScoredFit> scoreSubset(const PassScale& scale, CutoffLimit limit, bool scorePoor,
                                     bool keepSubset, ComparisonWorkspace& workspace,
                                     std::vector<std::uint32_t>& subset) {
    const auto fit = fitPairs(workspace.pairs, subset, workspace.kernels(), workspace.gathered);
    if (!fit) return std::nullopt;
    squaredDeviations(workspace.pairs, *fit, workspace.kernels(), workspace.squaredDeviation);
    const double cutoffSquared = scale.cutoff * scale.cutoff;
    std::vector<std::uint32_t>& counted = workspace.current;
    counted.clear();
    double total = 0.0, subsetTotal = 0.0, tmSum = 0.0, maxsubSum = 0.0;
    for (std::uint32_t i = 0; i < workspace.pairs.size(); ++i) {
        const double squared = workspace.squaredDeviation[i];
        total += squared;
        tmSum += 1.0 / (1.0 + squared / scale.tmScaleSquared);
        const bool counts =
            limit == CutoffLimit::Inclusive ? squared <= cutoffSquared : squared < cutoffSquared;
        if (!counts) continue;
        counted.push_back(i);
        subsetTotal += squared;
        // A cut-off so small that its square is 0 still counts pairs that coincide.
        maxsubSum += squared > 0.0 ? 1.0 / (1.0 + squared / cutoffSquared) : 1.0;
    }
    ScoredFit scored{{}, asSuperposition(workspace.pairs, *fit)};
    SubsetScore& score = scored.score;
    score.pairs = static_cast<std::uint32_t>(counted.size());
    score.grmsd = std::sqrt(total / static_cast<double>(workspace.pairs.size()));
    if (score.pairs > 0) score.rmsd = std::sqrt(subsetTotal / static_cast<double>(score.pairs));
    score.maxsub = maxsubSum / scale.experimentLength;
    score.tm = tmSum / scale.normLength;
    if (!scorePoor && isPoor(score)) score.maxsub = 0.0;
    if (!keepSubset) subset = counted;
    return scored;
}

// The passes of one search: map, search, score; with re-mapping allowed, map anew from the
// superposition found and repeat while that helps.
class PassLoop {
 public:
    PassLoop(const CoordinateSet& experiment, const CoordinateSet& prediction,
             const ComparisonParameters& parameters, const SearchTask& task,
             ComparisonWorkspace& workspace, Report& report)
        : experiment_(experiment),
          prediction_(prediction),
          parameters_(parameters),
          task_(task),
          workspace_(workspace),
          report_(report) {
        const double normLength = parameters.normLength >= 1
                                      ? static_cast<double>(parameters.normLength)
                                      : static_cast<double>(task.experimentLength);
        const double tmScale = distanceScale(normLength, parameters.thresholdScale);
        scale_ = {0.0, tmScale * tmScale, static_cast<double>(task.experimentLength), normLength};
    }

    SearchResult run() {
        calibrate();
        double previousTm = 0.0;
        for (std::uint32_t pass = 1;; ++pass) {
            if (pass > 1 && parameters_.maximiseTM) calibrate();
            if (!runPass(pass)) break;
            if (isLastPass(pass, previousTm)) break;
            previousTm = score_.tm;
            if (!remap(pass)) break;
        }
        return finish();
    }

 private:
    // The cut-off from the number of mapped pairs, unless one was given.
    void calibrate() {
        const auto mapped = static_cast<double>(workspace_.mapping.size());
        if (parameters_.distanceCutoff != 0.0) {
            scale_.cutoff = parameters_.distanceCutoff;
        } else if (parameters_.maximiseTM) {
            scale_.cutoff = clampedDistanceScale(mapped, parameters_.thresholdScale);
        } else {
            scale_.cutoff = distanceScale(mapped, parameters_.thresholdScale);
        }
    }

    // One search and its scoring; false when there is no subset to go on with.
    bool runPass(std::uint32_t pass) {
        workspace_.placePairs(experiment_, prediction_, workspace_.mapping.pairs);
        report_.reportFrom(5, "Opt  %u: Experiment and Prediction share %d C-alpha atoms\n", pass,
                           static_cast<int>(workspace_.mapping.size()));
        report_.reportFrom(5, "Opt  %u: Distance Cut-off %.3f\n", pass, scale_.cutoff);
        score_ = SubsetScore{};
        if (SubsetSearch(parameters_, scale_, workspace_, report_).run()) {
            const auto scored = scoreSubset(scale_, CutoffLimit::Inclusive, parameters_.scorePoor,
                                            parameters_.maximiseTM, workspace_, workspace_.best);
            if (scored) score_ = scored->score;
        } else {
            report_.reportFrom(4, "Failed to find a subset!\n");
        }
        if (score_.pairs < kFewestSelected) return false;
        rememberIfBest();
        report_.reportFrom(
            5, "Opt  %u: Pairs=%4d, RMSD=%6.3f, MAXSUB=%5.3f. Len=%4d. gRMSD=%6.3f, TM=%5.3f\n",
            pass, static_cast<int>(score_.pairs), score_.rmsd, score_.maxsub,
            static_cast<int>(workspace_.mapping.size()), score_.grmsd, score_.tm);
        return true;
    }

    void rememberIfBest() {
        const bool better =
            parameters_.maximiseTM ? score_.tm > bestPass_.tm : score_.pairs > bestPass_.pairs;
        if (found_ && !better) return;
        found_ = true;
        bestPass_ = score_;
        bestCutoff_ = scale_.cutoff;
        workspace_.bestMapping = workspace_.mapping;
        workspace_.bestPassSubset = workspace_.best;
    }

    bool isLastPass(std::uint32_t pass, double previousTm) {
        if (parameters_.optimisations <= 1 ||
            pass >= static_cast<std::uint32_t>(parameters_.optimisations)) {
            return true;
        }
        if (pass == 1 || !(std::abs(score_.tm - previousTm) < kConvergedTm)) return false;
        report_.reportFrom(6, "Opt  %u: Mapping has converged\n", pass);
        return true;
    }

    // A new mapping from the superposition of this pass; false when the loop ends.
    bool remap(std::uint32_t pass) {
        const auto fit = fitPairs(workspace_.pairs, workspace_.best, workspace_.kernels(),
                                  workspace_.gathered);
        if (!fit) return false;
        ResidueMapping& next = workspace_.nextMapping;
        workspace_.mapper.mapByDistance(experiment_, prediction_,
                                        asSuperposition(workspace_.pairs, *fit), parameters_,
                                        {task_.iteration, pass}, next, report_);
        if (next.size() < kFewestMapped) {
            report_.reportFrom(5, "Opt  %u: Less than %d mapped residues\n", pass,
                               static_cast<int>(kFewestMapped));
            return false;
        }
        if (next == workspace_.mapping) {
            report_.reportFrom(6, "Opt  %u: Mapping has converged\n", pass);
            return false;
        }
        std::swap(workspace_.mapping, next);
        return true;
    }

    // The final scoring, with the mapping and the subset of the best pass.
    SearchResult finish() {
        SearchResult result;
        result.mapped = static_cast<std::uint32_t>(workspace_.mapping.size());
        result.distanceCutoff = scale_.cutoff;
        if (!found_) {
            workspace_.bestMapping = workspace_.mapping;
            workspace_.bestPassSubset.clear();
            return result;
        }
        scale_.cutoff = bestCutoff_;
        result.distanceCutoff = bestCutoff_;
        result.mapped = static_cast<std::uint32_t>(workspace_.bestMapping.size());
        workspace_.placePairs(experiment_, prediction_, workspace_.bestMapping.pairs);
        const auto scored = scoreSubset(scale_, CutoffLimit::Exclusive, parameters_.scorePoor,
                                        false, workspace_, workspace_.bestPassSubset);
        if (!scored) {
            workspace_.bestPassSubset.clear();
            return result;
        }
        result.pairs = scored->score.pairs;
        result.rmsd = scored->score.rmsd;
        result.grmsd = scored->score.grmsd;
        result.maxsub = scored->score.maxsub;
        result.tm = scored->score.tm;
        result.superposition = scored->superposition;
        return result;
    }

    const CoordinateSet& experiment_;
    const CoordinateSet& prediction_;
    const ComparisonParameters& parameters_;
    const SearchTask& task_;
    ComparisonWorkspace& workspace_;
    Report& report_;
    PassScale scale_{};
    SubsetScore score_;  // of the latest pass
    SubsetScore bestPass_;
    double bestCutoff_ = 0.0;
    bool found_ = false;
};

}  // namespace

double distanceScale(double length, double scaleFactor) {
    constexpr double kSmallest = 0.5;
    if (!(length > 14.0)) return kSmallest;
    const double scale = (1.24 * std::pow(length - 15.0, 0.33333) - 1.8) * scaleFactor;
    return std::max(scale, kSmallest);
}

double clampedDistanceScale(double length, double scaleFactor) {
    return std::clamp(distanceScale(length, scaleFactor), 3.5, 8.0);
}

void selectWithin(std::span<const double> squaredDeviation, double radius,
                  std::vector<std::uint32_t>& selected) {
    const double limit = radius * radius;
    selected.resize(squaredDeviation.size());
    std::size_t count = 0;
    for (std::uint32_t i = 0; i < squaredDeviation.size(); ++i) {
        selected[count] = i;
        count += squaredDeviation[i] <= limit ? 1U : 0U;
    }
    selected.resize(count);
}

void selectByRmsd(std::span<const double> squaredDeviation, double radius,
                  std::vector<std::uint32_t>& order, std::vector<std::uint32_t>& selected) {
    order.resize(squaredDeviation.size());
    std::iota(order.begin(), order.end(), 0U);
    // Exact order with ties by position, where any order of near-equal values would do.
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        if (squaredDeviation[a] != squaredDeviation[b]) {
            return squaredDeviation[a] < squaredDeviation[b];
        }
        return a < b;
    });
    const double limit = radius * radius;
    double sum = 0.0;
    std::size_t count = 0;
    while (count < order.size()) {
        sum += squaredDeviation[order[count]];
        if (!(sum / static_cast<double>(count + 1) <= limit)) break;
        ++count;
    }
    selected.assign(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count));
    std::sort(selected.begin(), selected.end());
}

std::vector<std::uint32_t> seedLengths(std::uint32_t pairs, int levels) {
    std::vector<std::uint32_t> lengths;
    float divisor = 1.0F;
    for (int level = 0; level <= levels; ++level, divisor *= 2.0F) {
        const auto length = static_cast<std::uint32_t>(static_cast<float>(pairs) / divisor);
        if (length < kShortestSeed) break;
        lengths.push_back(length);
    }
    lengths.push_back(kShortestSeed);
    return lengths;
}

SearchResult searchMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                          const ComparisonParameters& parameters, const SearchTask& task,
                          ComparisonWorkspace& workspace, Report& report) {
    report.reportFrom(4, "Iter %u: Prediction size=%4d\n", task.iteration,
                      static_cast<int>(prediction.size()));
    report.reportFrom(4, "Iter %u: Experiment size=%4d\n", task.iteration,
                      static_cast<int>(experiment.size()));
    if (parameters.sequenceIndependent) {
        workspace.mapper.mapByShape(experiment, prediction, parameters, task.iteration,
                                    workspace.mapping, report);
    } else {
        mapByResidue(experiment, prediction, workspace.mapping, report);
    }
    if (workspace.mapping.size() < kFewestMapped) {
        report.reportFrom(4, "Iter %u: Less than %d mapped residues - NOTHING DONE!\n",
                          task.iteration, static_cast<int>(kFewestMapped));
        workspace.bestMapping = workspace.mapping;
        workspace.bestPassSubset.clear();
        SearchResult nothing;
        return nothing;
    }
    return PassLoop(experiment, prediction, parameters, task, workspace, report).run();
}

}  // namespace tervolanda
