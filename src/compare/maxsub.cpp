// A search is a mapping and the passes that begin with it (passes.h).  By residue number there is
// one mapping; by structure there are several to begin with, and what a start promises says too
// little about what comes of it: the passes of all of them are made, in silence, and the best
// counts.
#include "compare/maxsub.h"

#include <utility>

#include "base/log.h"
#include "compare/fit/tolerance.h"
#include "compare/passes.h"

namespace tervolanda {

namespace {

// Invariant: with hasFound_ the passes of the best start so far are in found_.
class StartTrials {
 public:
    StartTrials(const SearchTask& task, ComparisonScratch& scratch, Report& report,
                SearchResult& found)
        : task_(task),
          scratch_(scratch),
          report_(report),
          silent_(report.silent()),
          found_(found) {}

    // Leaves the best start in the scratch as mapping.  True when the result of its passes is known
    // and there is nothing to report of them.
    bool run() {
        const MappingTask chains = mappingTask(task_);
        const auto starts = scratch_.mapper.findStarts(chains, report_);
        std::size_t best = 0;
        for (std::size_t i = 0; i < starts.size() && starts.size() > 1; ++i) {
            if (improves(starts[i], chains)) best = i;
        }
        setMapping(starts[best], chains, scratch_.mapping);
        report_.report(ReportLevel::Alignment, "Iter %u: Initial mapping %u residues\n",
                       task_.iteration, static_cast<unsigned>(scratch_.mapping.size()));
        // Passes that are to be seen are made once more, not in silence.
        const bool hasWitness =
            report_.reports(ReportLevel::Alignment) || task_.matrices != nullptr;
        return hasFound_ && !hasWitness;
    }

 private:
    // Makes the passes of one start, and keeps what they found where that is better.
    bool improves(const Pairing& start, const MappingTask& chains) {
        setMapping(start, chains, scratch_.mapping);
        if (scratch_.mapping.size() < kFewestMapped) return false;
        // A start that is given up shows no matrices.
        SearchTask trial = task_;
        trial.matrices = nullptr;
        runPasses(trial, scratch_, silent_, scratch_.trial);
        if (hasFound_ && !isBetter(scratch_.trial, found_)) return false;
        hasFound_ = true;
        std::swap(scratch_.trial, found_);
        return true;
    }

    // A result that counts is better than one that does not.
    bool isBetter(const SearchResult& found, const SearchResult& other) const {
        const bool counts = isSignificant(found);
        return counts == isSignificant(other) ? isHigherTm(found.scores.tm, other.scores.tm)
                                              : counts;
    }
    bool isSignificant(const SearchResult& found) const {
        return significantScore(found, task_.parameters, task_.experimentLength) != 0.0;
    }

    const SearchTask& task_;
    ComparisonScratch& scratch_;
    Report& report_;
    Report silent_;
    SearchResult& found_;
    bool hasFound_ = false;
};

}  // namespace

double significantScore(const SearchResult& found, const ComparisonParameters& parameters,
                        std::size_t experimentLength) {
    if (found.mapped == 0) return 0.0;
    // By the pairs that were mapped: a domain that is short, and matched in full, counts.
    const double relative = found.scores.maxsub * static_cast<double>(experimentLength) /
                            static_cast<double>(found.mapped);
    const bool fewPairs = static_cast<std::int64_t>(found.scores.pairs) <
                          static_cast<std::int64_t>(parameters.minIterationPairs);
    return relative < parameters.minIterationScore && fewPairs ? 0.0 : found.scores.maxsub;
}

void searchMaxSub(const SearchTask& task, ComparisonScratch& scratch, Report& report,
                  SearchResult& found) {
    report.report(ReportLevel::Alignment, "Iter %u: Prediction size=%4d\n", task.iteration,
                  static_cast<int>(task.prediction.size()));
    report.report(ReportLevel::Alignment, "Iter %u: Experiment size=%4d\n", task.iteration,
                  static_cast<int>(task.experiment.size()));
    if (task.parameters.sequenceIndependent) {
        if (StartTrials(task, scratch, report, found).run()) return;
    } else {
        mapByResidue(task.experiment, task.prediction, scratch.mapping, report);
    }
    if (scratch.mapping.size() < kFewestMapped) {
        report.report(ReportLevel::Alignment,
                      "Iter %u: Less than %d mapped residues - NOTHING DONE!\n", task.iteration,
                      static_cast<int>(kFewestMapped));
        found.clear();
        found.mapping = scratch.mapping;
        found.mapped = static_cast<std::uint32_t>(scratch.mapping.size());
        return;
    }
    runPasses(task, scratch, report, found);
}

}  // namespace tervolanda
