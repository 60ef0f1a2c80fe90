// A prediction can match the experiment well in one domain and badly in another.  The search is
// repeated among the residues that no earlier search matched, so that each finds a further rigid
// superposition; scores and pairs add up.
//
// Scores of all iterations are divided by the length of the whole experiment, and so can be added:
// what two halves score, each moved by itself, is what the whole would score if it were one rigid
// body.
#include <algorithm>

#include "base/log.h"
#include "compare/maxsub.h"
#include "compare/measures.h"

namespace tervolanda {

namespace {

// Pairs below which an iteration has found a scrap.  What follows a scrap are scraps, hundreds of
// them where the cut-off is absurdly small, and not worth a thorough search.
// A thorough search tries other starts (starting_pairings.h).
constexpr std::uint32_t kSmallestDomain = 20;

// Invariant: result_ has what the iterations so far found, in records of the whole chains.
class DomainIterations {
 public:
    DomainIterations(const SearchTask& whole, ComparisonScratch& scratch, Report& report,
                     ComparisonResult& result)
        : whole_(whole),
          experimentLength_(whole.experiment.size()),
          scratch_(scratch),
          report_(report),
          result_(result),
          most_(std::max(whole.parameters.iterations, 1U)) {}

    // Iterations end when the limit is reached, when one finds nothing that counts, or when no
    // three residues of the experiment are left: fewer have no superposition.
    void run() {
        result_.clear();
        for (std::uint32_t iteration = 1; iteration <= most_; ++iteration) {
            const SearchResult& found = search(iteration);
            if (iteration == 1) keepFirst(found);
            foundDomain_ = found.scores.pairs >= kSmallestDomain;
            if (whole_.calibration == Calibration::Once) cutoff_ = found.distanceCutoff;
            const double score = significantScore(found, whole_.parameters, experimentLength_);
            if (score == 0.0) {
                report_.report(ReportLevel::Alignment, "\n");
                report_.report(ReportLevel::Alignment,
                               "Exiting iterations at %u / %u - Insignificant MAXSUB scores\n",
                               iteration, most_);
                return;
            }
            accumulate(found, score, iteration);
            report_.report(
                ReportLevel::Numbers,
                "Iter %u: Pairs=%4d, RMSD=%6.3f, MAXSUB=%5.3f. Len=%4d. gRMSD=%6.3f, TM=%5.3f\n",
                iteration, static_cast<int>(found.scores.pairs), found.scores.rmsd,
                found.scores.maxsub, static_cast<int>(found.mapped), found.scores.grmsd,
                found.scores.tm);
            reportSuperposition(found.superposition, ReportLevel::Passes, report_);
            if (result_.matched.size() + 2 >= experimentLength_) {
                report_.report(
                    ReportLevel::Alignment,
                    "Exiting iterations at %u / %u - No more subsets (%u / %u matched)\n",
                    iteration, most_, static_cast<unsigned>(result_.matched.size()),
                    static_cast<unsigned>(experimentLength_));
                return;
            }
        }
    }

 private:
    // The search of one iteration.  Those after the first know only what is left of both chains,
    // but divide their scores by the length of the whole experiment, so that scores add up.
    const SearchResult& search(std::uint32_t iteration) {
        if (iteration == 1) {
            searchMaxSub(whole_, scratch_, report_, scratch_.first);
            return scratch_.first;
        }
        WorkingSets& working = scratch_.working;
        markLeft(working);
        selectRecords(whole_.experiment, working.experimentLeft, working.experiment,
                      working.experimentRecord);
        selectRecords(whole_.prediction, working.predictionLeft, working.prediction,
                      working.predictionRecord);
        const SearchTask rest{.experiment = working.experiment,
                              .prediction = working.prediction,
                              .parameters = whole_.parameters,
                              .matrices = whole_.matrices,
                              .experimentLength = whole_.experimentLength,
                              .iteration = iteration,
                              .calibration = whole_.calibration,
                              .cutoff = cutoff_,
                              .thorough = foundDomain_};
        searchMaxSub(rest, scratch_, report_, scratch_.further);
        return scratch_.further;
    }

    // Residues that an earlier iteration matched take no further part.
    void markLeft(WorkingSets& working) const {
        working.experimentLeft.assign(experimentLength_, 1);
        working.predictionLeft.assign(whole_.prediction.size(), 1);
        for (const MatchedPair& pair : result_.matched) {
            working.experimentLeft[pair.experiment] = 0;
            working.predictionLeft[pair.prediction] = 0;
        }
    }

    // What is reported of the first iteration whatever its score.
    void keepFirst(const SearchResult& found) {
        static_cast<Scores&>(result_) = found.scores;
        result_.pairs = 0;
        result_.maxsub = 0.0;
        result_.mapped = found.mapped;
        result_.partners = found.mapping.predictionPartner;
    }

    // Adds what an iteration found.  The MaxSub index sums the totals after each iteration: domains
    // that are found early count more than once.
    void accumulate(const SearchResult& found, double score, std::uint32_t iteration) {
        result_.maxsub += score;
        result_.msi += result_.maxsub;
        result_.pairs += found.scores.pairs;
        result_.iterations.push_back(
            {found.superposition, found.scores.pairs, score, found.distanceCutoff});
        for (const std::uint32_t position : found.subset) {
            MatchedPair pair = found.mapping.pairs[position];
            if (iteration > 1) {
                pair.experiment = scratch_.working.experimentRecord[pair.experiment];
                pair.prediction = scratch_.working.predictionRecord[pair.prediction];
            }
            pair.iteration = iteration - 1;
            result_.matched.push_back(pair);
        }
    }

    const SearchTask& whole_;
    std::size_t experimentLength_;
    double cutoff_ = 0.0;  // of all iterations, Å; 0 as long as each makes its own
    ComparisonScratch& scratch_;
    Report& report_;
    ComparisonResult& result_;
    std::uint32_t most_;
    bool foundDomain_ = false;  // by the latest iteration
};

}  // namespace

void ComparisonResult::clear() {
    static_cast<Scores&>(*this) = {};
    mapped = 0;
    msi = 0.0;
    iterations.clear();
    matched.clear();
    partners.clear();
    measures.clear();
    subunits.clear();
}

SearchTask wholeChains(const CoordinateSet& experiment, const CoordinateSet& prediction,
                       const ComparisonParameters& parameters) {
    return {.experiment = experiment,
            .prediction = prediction,
            .parameters = parameters,
            .matrices = parameters.similarityMatrix ? parameters.similaritySink : nullptr,
            .experimentLength = experiment.size()};
}

const SearchResult& searchDomains(const SearchTask& whole, ComparisonScratch& scratch,
                                  Report& report, ComparisonResult& result) {
    const ComparisonParameters& parameters = whole.parameters;
    const auto keyed = scratch.pairingKeys.make(
        whole.experiment, whole.prediction,
        {.bySequence = parameters.pairBySequence, .mapsChains = parameters.mapChains},
        scratch.kernels, report);
    const SearchTask task{.experiment = keyed.experiment,
                          .prediction = keyed.prediction,
                          .parameters = parameters,
                          .matrices = whole.matrices,
                          .experimentLength = whole.experimentLength,
                          .calibration = whole.calibration};
    DomainIterations(task, scratch, report, result).run();
    if (!parameters.measures.wanted.isEmpty()) {
        MeasureRequest request = parameters.measures;
        request.stop = parameters.stop;
        measurePairs(whole.experiment, whole.prediction, scratch.first.mapping.predictionPartner,
                     request, scratch, result.measures);
    }
    result.subunits.assign(keyed.subunits.begin(), keyed.subunits.end());
    return scratch.first;
}

void compareMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                   Report& report, ComparisonResult& result) {
    searchDomains(wholeChains(experiment, prediction, parameters), workspace.scratch(), report,
                  result);
}

}  // namespace tervolanda
