// A search is a loop of passes: map the residues, find the best subset of the mapped pairs (the
// seeds: seed_search.h), score it; with re-mapping allowed, map anew from the superposition found
// and go on while that helps.  The best pass is scored once more, and that is the result.
#include "compare/maxsub.h"

#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "base/log.h"
#include "compare/fit/tm_scale.h"
#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestMapped = 5;    // a search needs as many mapped pairs
constexpr std::size_t kFewestSelected = 3;  // a smaller selection is none
constexpr double kConvergedTm = 0.001;      // passes that change the TM-score less are the last
constexpr std::uint32_t kFreePasses = 100;  // after so many a mapping that returns ends the passes

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

MappingTask mappingTask(const CoordinateSet& experiment, const CoordinateSet& prediction,
                        const ComparisonParameters& parameters, const SearchTask& task) {
    return {experiment,
            prediction,
            {parameters.gapOpen, parameters.gapAffine},
            parameters.thresholdScale,
            parameters.similarityMatrix,
            task.iteration,
            task.thorough};
}

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
    const double inside = inclusiveLimit(cutoffSquared), outside = exclusiveLimit(cutoffSquared);
    std::vector<std::uint32_t>& counted = workspace.current;
    counted.clear();
    double total = 0.0, subsetTotal = 0.0, tmSum = 0.0, maxsubSum = 0.0;
    for (std::uint32_t i = 0; i < workspace.pairs.size(); ++i) {
        const double squared = workspace.squaredDeviation[i];
        total += squared;
        tmSum += 1.0 / (1.0 + squared / scale.tmScaleSquared);
        const bool counts = limit == CutoffLimit::Inclusive ? squared <= inside : squared < outside;
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
            if (pass > 1 && recalibrates()) calibrate();
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
        } else if (task_.cutoff != 0.0) {
            scale_.cutoff = task_.cutoff;
        } else if (parameters_.maximiseTM) {
            scale_.cutoff = clampedDistanceScale(mapped, parameters_.thresholdScale);
        } else {
            scale_.cutoff = distanceScale(mapped, parameters_.thresholdScale);
        }
    }

    bool recalibrates() const {
        return parameters_.maximiseTM && task_.calibration == Calibration::EverySearch;
    }

    // One search and its scoring; false when there is no subset to go on with.  In the search by
    // TM-score that is the set with the highest score, however few of its pairs the cut-off leaves.
    bool runPass(std::uint32_t pass) {
        workspace_.placePairs(experiment_, prediction_, workspace_.mapping.pairs);
        report_.report(ReportLevel::Passes,
                       "Opt  %u: Experiment and Prediction share %d C-alpha atoms\n", pass,
                       static_cast<int>(workspace_.mapping.size()));
        report_.report(ReportLevel::Passes, "Opt  %u: Distance Cut-off %.3f\n", pass,
                       scale_.cutoff);
        score_ = SubsetScore{};
        if (findSubset()) {
            const auto scored = scoreSubset(scale_, CutoffLimit::Inclusive, parameters_.scorePoor,
                                            parameters_.maximiseTM, workspace_, workspace_.best);
            if (scored) score_ = scored->score;
            if (!scored) workspace_.best.clear();
        } else {
            report_.report(ReportLevel::Alignment, "Failed to find a subset!\n");
        }
        if (workspace_.best.size() < kFewestSelected) return false;
        rememberIfBest();
        report_.report(
            ReportLevel::Passes,
            "Opt  %u: Pairs=%4d, RMSD=%6.3f, MAXSUB=%5.3f. Len=%4d. gRMSD=%6.3f, TM=%5.3f\n", pass,
            static_cast<int>(score_.pairs), score_.rmsd, score_.maxsub,
            static_cast<int>(workspace_.mapping.size()), score_.grmsd, score_.tm);
        return true;
    }

    // The best subset of the mapped pairs, into workspace_.best; false when there is none.
    bool findSubset() {
        const SeedSearchTask task{.cutoff = scale_.cutoff,
                                  .tmScaleSquared = scale_.tmScaleSquared,
                                  .normLength = scale_.normLength,
                                  .seedLevels = parameters_.seedLevels,
                                  .maximiseTM = parameters_.maximiseTM,
                                  .byRmsd = parameters_.maxRMSD};
        if (searchSeeds(workspace_.pairs, task, workspace_.kernels(), workspace_.seeds,
                        workspace_.best)) {
            report_.report(ReportLevel::Passes, "Complete maxsub found\n");
        }
        return !workspace_.best.empty();
    }

    void rememberIfBest() {
        const bool better = parameters_.maximiseTM ? isHigherTm(score_.tm, bestPass_.tm)
                                                   : score_.pairs > bestPass_.pairs;
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
        report_.report(ReportLevel::Mapping, "Opt  %u: Mapping has converged\n", pass);
        return true;
    }

    // A new mapping from the superposition of this pass; false when the loop ends.
    bool remap(std::uint32_t pass) {
        const auto fit =
            fitPairs(workspace_.pairs, workspace_.best, workspace_.kernels(), workspace_.gathered);
        if (!fit) return false;
        ResidueMapping& next = workspace_.nextMapping;
        workspace_.mapper.mapByDistance(mappingTask(experiment_, prediction_, parameters_, task_),
                                        asSuperposition(workspace_.pairs, *fit), pass, next,
                                        report_);
        if (next.size() < kFewestMapped) {
            report_.report(ReportLevel::Passes, "Opt  %u: Less than %d mapped residues\n", pass,
                           static_cast<int>(kFewestMapped));
            return false;
        }
        if (next == workspace_.mapping) {
            report_.report(ReportLevel::Mapping, "Opt  %u: Mapping has converged\n", pass);
            return false;
        }
        std::swap(workspace_.mapping, next);
        return !hasReturned(pass);
    }

    // Whether the mapping after `pass` is one of earlier passes.  What a pass finds depends on its
    // mapping alone, so nothing new would come.  Mappings are compared with one that is renewed
    // whenever the number of passes has doubled: that finds a circle of any length (Brent 1980).
    bool hasReturned(std::uint32_t pass) {
        if (pass < kFreePasses) return false;
        if (workspace_.mapping == remembered_) return true;
        if (pass != rememberAt_) return false;
        remembered_ = workspace_.mapping;
        rememberAt_ = 2 * pass;
        return false;
    }

    // The final scoring, with the mapping and the subset of the best pass.
    SearchResult finish() {
        SearchResult result;
        result.mapped = static_cast<std::uint32_t>(workspace_.mapping.size());
        result.distanceCutoff = scale_.cutoff;
        if (!found_) {
            // Too few pairs lie within the cut-off; the superposition was scored all the same.
            result.rmsd = score_.rmsd;
            result.grmsd = score_.grmsd;
            result.tm = score_.tm;
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
    ResidueMapping remembered_;
    std::uint32_t rememberAt_ = kFreePasses;  // passes
};

// The passes of a sequence-independent search: those from the start that ends best.  What a start
// promises says too little about that, so all of them are tried, in silence.
class StartTrials {
 public:
    StartTrials(const CoordinateSet& experiment, const CoordinateSet& prediction,
                const ComparisonParameters& parameters, const SearchTask& task,
                ComparisonWorkspace& workspace, Report& report)
        : chains_(mappingTask(experiment, prediction, parameters, task)),
          task_(task),
          workspace_(workspace),
          report_(report),
          silent_(report.silent()),
          silentParameters_(parameters) {
        silentParameters_.similarityMatrix = false;
    }

    // Leaves the best start in workspace_.mapping.  The result of its passes if they are made, and
    // if there is nothing to report of them.
    std::optional<SearchResult> run() {
        const auto starts = workspace_.mapper.findStarts(chains_, workspace_.kernels(), report_);
        std::size_t best = 0;
        for (std::size_t i = 0; i < starts.size() && starts.size() > 1; ++i) {
            if (improves(starts[i])) best = i;
        }
        setMapping(starts[best], chains_, workspace_.mapping);
        report_.report(ReportLevel::Alignment, "Iter %u: Initial mapping %u residues\n",
                       task_.iteration, static_cast<unsigned>(workspace_.mapping.size()));
        if (report_.reports(ReportLevel::Alignment) || chains_.similarityMatrix)
            return std::nullopt;
        if (best_) {
            std::swap(mapping_, workspace_.bestMapping);
            std::swap(subset_, workspace_.bestPassSubset);
        }
        return best_;
    }

 private:
    bool improves(const Pairing& start) {
        setMapping(start, chains_, workspace_.mapping);
        if (workspace_.mapping.size() < kFewestMapped) return false;
        const SearchResult found = PassLoop(chains_.experiment, chains_.prediction,
                                            silentParameters_, task_, workspace_, silent_)
                                       .run();
        if (best_ && !isBetter(found, *best_)) return false;
        best_ = found;
        std::swap(mapping_, workspace_.bestMapping);
        std::swap(subset_, workspace_.bestPassSubset);
        return true;
    }

    // A result that counts is better than one that does not.
    bool isBetter(const SearchResult& found, const SearchResult& other) const {
        const bool counts = isSignificant(found);
        return counts == isSignificant(other) ? isHigherTm(found.tm, other.tm) : counts;
    }
    bool isSignificant(const SearchResult& found) const {
        return significantScore(found, silentParameters_, task_.experimentLength) != 0.0;
    }

    MappingTask chains_;
    const SearchTask& task_;
    ComparisonWorkspace& workspace_;
    Report& report_;
    Report silent_;
    ComparisonParameters silentParameters_;
    std::optional<SearchResult> best_;
    ResidueMapping mapping_;  // of the best result's best pass
    std::vector<std::uint32_t> subset_;
};

}  // namespace

double significantScore(const SearchResult& found, const ComparisonParameters& parameters,
                        std::size_t experimentLength) {
    if (found.mapped == 0) return 0.0;
    const double relative =
        found.maxsub * static_cast<double>(experimentLength) / static_cast<double>(found.mapped);
    const bool fewPairs = static_cast<std::int64_t>(found.pairs) <
                          static_cast<std::int64_t>(parameters.minIterationPairs);
    return relative < parameters.minIterationScore && fewPairs ? 0.0 : found.maxsub;
}

SearchResult searchMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                          const ComparisonParameters& parameters, const SearchTask& task,
                          ComparisonWorkspace& workspace, Report& report) {
    report.report(ReportLevel::Alignment, "Iter %u: Prediction size=%4d\n", task.iteration,
                  static_cast<int>(prediction.size()));
    report.report(ReportLevel::Alignment, "Iter %u: Experiment size=%4d\n", task.iteration,
                  static_cast<int>(experiment.size()));
    if (parameters.sequenceIndependent) {
        const auto found =
            StartTrials(experiment, prediction, parameters, task, workspace, report).run();
        if (found) return *found;
    } else {
        mapByResidue(experiment, prediction, workspace.mapping, report);
    }
    if (workspace.mapping.size() < kFewestMapped) {
        report.report(ReportLevel::Alignment,
                      "Iter %u: Less than %d mapped residues - NOTHING DONE!\n", task.iteration,
                      static_cast<int>(kFewestMapped));
        workspace.bestMapping = workspace.mapping;
        workspace.bestPassSubset.clear();
        SearchResult nothing;
        return nothing;
    }
    return PassLoop(experiment, prediction, parameters, task, workspace, report).run();
}

}  // namespace tervolanda
