// A pass finds the best subset of the mapped pairs (the seeds: seed_search.h) and scores it.  The
// first pass has the mapping that it was given, each further one a mapping from the superposition
// of the one before.  The best pass is scored once more, and that is the result.
#include "compare/passes.h"

#include <cmath>
#include <utility>

#include "base/log.h"
#include "compare/fit/tm_scale.h"
#include "compare/fit/tolerance.h"
#include "compare/scoring.h"
#include "compare/seed_path.h"

namespace tervolanda {

namespace {

constexpr double kConvergedTm = 0.001;  // passes that change the TM-score less are the last
// Far more than converging passes need, so that looking for circles costs the usual run nothing.
constexpr std::uint32_t kFreePasses = 100;  // after so many a mapping that returns ends the passes

// Invariant: with found_ the best pass so far is in result_; the mapping of the latest one is in
// the scratch.
class PassLoop {
 public:
    // The scales of all scorings are those of the whole experiment, whatever the iteration.
    PassLoop(const SearchTask& task, ComparisonScratch& scratch, Report& report,
             SearchResult& result)
        : task_(task),
          parameters_(task.parameters),
          scratch_(scratch),
          report_(report),
          result_(result) {
        const double normLength = parameters_.normLength >= 1
                                      ? static_cast<double>(parameters_.normLength)
                                      : static_cast<double>(task.experimentLength);
        const double tmScale = distanceScale(normLength, parameters_.thresholdScale);
        scale_ = {.cutoff = 0.0,
                  .tmScaleSquared = tmScale * tmScale,
                  .experimentLength = static_cast<double>(task.experimentLength),
                  .normLength = normLength,
                  .scorePoor = parameters_.scorePoor};
        result_.clear();
    }

    // The mapping of the first pass lies in the scratch.  A pass without a subset ends the loop,
    // and what the passes before it found counts.
    void run() {
        calibrate();
        double previousTm = 0.0;
        for (std::uint32_t pass = 1;; ++pass) {
            if (pass > 1 && recalibrates()) calibrate();
            if (!runPass(pass)) break;
            if (isLastPass(pass, previousTm)) break;
            previousTm = score_.tm;
            if (!remap(pass)) break;
        }
        finish();
    }

 private:
    // The cut-off from the number of mapped pairs, unless one was given.
    void calibrate() {
        const auto mapped = static_cast<double>(scratch_.mapping.size());
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

    // In the search by TM-score each pass has the cut-off of the pairs that it maps.
    bool recalibrates() const {
        return parameters_.maximiseTM && task_.calibration == Calibration::EverySearch;
    }

    // One search and its scoring; false when there is no subset to go on with.  In the search by
    // TM-score that is the set with the highest score, however few of its pairs the cut-off leaves.
    bool runPass(std::uint32_t pass) {
        scratch_.placePairs(task_.experiment, task_.prediction, scratch_.mapping.pairs);
        report_.report(ReportLevel::Passes,
                       "Opt  %u: Experiment and Prediction share %d C-alpha atoms\n", pass,
                       static_cast<int>(scratch_.mapping.size()));
        report_.report(ReportLevel::Passes, "Opt  %u: Distance Cut-off %.3f\n", pass,
                       scale_.cutoff);
        score_ = Scores{};
        if (findSubset()) {
            scoreBest();
        } else {
            report_.report(ReportLevel::Alignment, "Failed to find a subset!\n");
        }
        if (scratch_.best.size() < kFewestSelected) return false;
        rememberIfBest();
        report_.report(
            ReportLevel::Passes,
            "Opt  %u: Pairs=%4d, RMSD=%6.3f, MAXSUB=%5.3f. Len=%4d. gRMSD=%6.3f, TM=%5.3f\n", pass,
            static_cast<int>(score_.pairs), score_.rmsd, score_.maxsub,
            static_cast<int>(scratch_.mapping.size()), score_.grmsd, score_.tm);
        return true;
    }

    // The best subset of the mapped pairs, into scratch_.best; false when there is none.
    bool findSubset() {
        const SeedSearchTask task{.cutoff = scale_.cutoff,
                                  .tmScaleSquared = scale_.tmScaleSquared,
                                  .normLength = scale_.normLength,
                                  .seedLevels = parameters_.seedLevels,
                                  .maximiseTM = parameters_.maximiseTM,
                                  .byRmsd = parameters_.maxRMSD,
                                  .stop = parameters_.stop};
        if (searchSeeds(scratch_.pairs, task, scratch_.kernels, scratch_.seeds, scratch_.best)) {
            report_.report(ReportLevel::Passes, "Complete maxsub found\n");
        }
        return !scratch_.best.empty();
    }

    // The scores of the best subset, which becomes the pairs within the cut-off; in the search by
    // TM-score it stays.  Of a subset that stays, or becomes what it was, with no pair on the
    // cut-off this is the final scoring, too, which need not be made again: 3 % of a search.
    void scoreBest() {
        const auto scored =
            scoreSubset(scratch_.best, scale_, CutoffLimit::Inclusive, scratch_, scratch_.counted);
        if (!scored) {
            scratch_.best.clear();
            return;
        }
        score_ = scored->scores;
        superposition_ = scored->superposition;
        const bool staysSame = parameters_.maximiseTM || scratch_.best == scratch_.counted;
        isFinal_ = staysSame && scored->isOfAnyLimit;
        if (!parameters_.maximiseTM) std::swap(scratch_.best, scratch_.counted);
    }

    // The first of equals stays.
    void rememberIfBest() {
        const bool better = parameters_.maximiseTM ? isHigherTm(score_.tm, result_.scores.tm)
                                                   : score_.pairs > result_.scores.pairs;
        if (found_ && !better) return;
        found_ = true;
        result_.scores = score_;
        result_.distanceCutoff = scale_.cutoff;
        result_.mapping = scratch_.mapping;
        result_.superposition = superposition_;
        isResultFinal_ = isFinal_;
        result_.subset = isFinal_ ? scratch_.counted : scratch_.best;
    }

    // Whether the loop ends after a pass that found a subset.
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
            fitPairs(scratch_.pairs, scratch_.best, scratch_.kernels, scratch_.gathered);
        if (!fit) return false;
        ResidueMapping& next = scratch_.nextMapping;
        scratch_.mapper.mapByDistance(mappingTask(task_), asSuperposition(scratch_.pairs, *fit),
                                      pass, next, report_);
        if (next.size() < kFewestMapped) {
            report_.report(ReportLevel::Passes, "Opt  %u: Less than %d mapped residues\n", pass,
                           static_cast<int>(kFewestMapped));
            return false;
        }
        if (next == scratch_.mapping) {
            report_.report(ReportLevel::Mapping, "Opt  %u: Mapping has converged\n", pass);
            return false;
        }
        std::swap(scratch_.mapping, next);
        return !hasReturned(pass);
    }

    // Whether the mapping after `pass` is one of earlier passes.  What a pass finds depends on its
    // mapping alone, so nothing new would come.  Mappings are compared with one that is renewed
    // whenever the number of passes has doubled: that finds a circle of any length (Brent 1980).
    bool hasReturned(std::uint32_t pass) {
        if (pass < kFreePasses) return false;
        if (scratch_.mapping == remembered_) return true;
        if (pass != rememberAt_) return false;
        remembered_ = scratch_.mapping;
        rememberAt_ = 2 * pass;
        return false;
    }

    // The final scoring, with the mapping and the subset of the best pass.
    void finish() {
        if (!found_) {
            // Too few pairs lie within the cut-off; the superposition was scored all the same.
            result_.scores = {.rmsd = score_.rmsd, .grmsd = score_.grmsd, .tm = score_.tm};
            result_.distanceCutoff = scale_.cutoff;
            result_.mapping = scratch_.mapping;
        }
        result_.mapped = static_cast<std::uint32_t>(result_.mapping.size());
        if (!found_ || isResultFinal_) return;
        // The cut-off of the best pass, which may not be that of the last.
        scale_.cutoff = result_.distanceCutoff;
        scratch_.placePairs(task_.experiment, task_.prediction, result_.mapping.pairs);
        const auto scored =
            scoreSubset(result_.subset, scale_, CutoffLimit::Exclusive, scratch_, scratch_.counted);
        if (!scored) {
            result_.scores = {};
            result_.subset.clear();
            return;
        }
        result_.scores = scored->scores;
        result_.superposition = scored->superposition;
        std::swap(result_.subset, scratch_.counted);
    }

    const SearchTask& task_;
    const ComparisonParameters& parameters_;
    ComparisonScratch& scratch_;
    Report& report_;
    SearchResult& result_;
    ScoringScale scale_;
    Scores score_;  // of the latest pass, with its superposition
    Superposition superposition_;
    bool isFinal_ = false;        // whether the final scoring would find the same,
    bool isResultFinal_ = false;  // and of the best pass
    bool found_ = false;
    ResidueMapping remembered_;               // of a pass long ago, to find circles
    std::uint32_t rememberAt_ = kFreePasses;  // passes
};

}  // namespace

MappingTask mappingTask(const SearchTask& task) {
    const ComparisonParameters& parameters = task.parameters;
    return {.experiment = task.experiment,
            .prediction = task.prediction,
            .penalties = {parameters.gapOpen, parameters.gapAffine},
            .thresholdScale = parameters.thresholdScale,
            .matrices = task.matrices,
            .iteration = task.iteration,
            .thorough = task.thorough,
            .stop = parameters.stop};
}

void runPasses(const SearchTask& task, ComparisonScratch& scratch, Report& report,
               SearchResult& found) {
    PassLoop(task, scratch, report, found).run();
}

}  // namespace tervolanda
