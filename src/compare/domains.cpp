// A prediction can match the experiment well in one domain and badly in another.  The search is
// repeated among the residues that no earlier search matched, so that each finds a further rigid
// superposition; scores and pairs add up.
#include <algorithm>

#include "base/log.h"
#include "compare/maxsub.h"

namespace tervolanda {

namespace {

// Pairs below which an iteration has found a scrap.  What follows a scrap are scraps, hundreds of
// them where the cut-off is absurdly small, and not worth a thorough search.
constexpr std::uint32_t kSmallestDomain = 20;

class DomainIterations {
 public:
    DomainIterations(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const ComparisonParameters& parameters, Calibration calibration,
                     ComparisonWorkspace& workspace, Report& report, ComparisonResult& result)
        : experiment_(experiment),
          prediction_(prediction),
          parameters_(parameters),
          calibration_(calibration),
          workspace_(workspace),
          report_(report),
          result_(result),
          most_(std::max(parameters.iterations, 1U)) {}

    void run() {
        result_.clear();
        for (std::uint32_t iteration = 1; iteration <= most_; ++iteration) {
            const SearchResult found = search(iteration);
            if (iteration == 1) keepFirst(found);
            foundDomain_ = found.pairs >= kSmallestDomain;
            if (calibration_ == Calibration::Once) cutoff_ = found.distanceCutoff;
            const double score = significantScore(found, parameters_, experiment_.size());
            if (score == 0.0) {
                // Without a superposition no residue counts as paired.
                if (iteration == 1) result_.partners.assign(prediction_.size(), -1);
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
                iteration, static_cast<int>(found.pairs), found.rmsd, found.maxsub,
                static_cast<int>(found.mapped), found.grmsd, found.tm);
            reportSuperposition(found.superposition, ReportLevel::Passes, report_);
            if (result_.matched.size() + 2 >= experiment_.size()) {
                report_.report(
                    ReportLevel::Alignment,
                    "Exiting iterations at %u / %u - No more subsets (%u / %u matched)\n",
                    iteration, most_, static_cast<unsigned>(result_.matched.size()),
                    static_cast<unsigned>(experiment_.size()));
                return;
            }
        }
    }

 private:
    SearchResult search(std::uint32_t iteration) {
        const SearchTask task{iteration, experiment_.size(), calibration_, cutoff_,
                              iteration == 1 || foundDomain_};
        if (iteration == 1) {
            return searchMaxSub(experiment_, prediction_, parameters_, task, workspace_, report_);
        }
        WorkingSets& working = workspace_.working;
        markLeft(working);
        selectRecords(experiment_, working.experimentLeft, working.experiment,
                      working.experimentRecord);
        selectRecords(prediction_, working.predictionLeft, working.prediction,
                      working.predictionRecord);
        return searchMaxSub(working.experiment, working.prediction, parameters_, task, workspace_,
                            report_);
    }

    void markLeft(WorkingSets& working) const {
        working.experimentLeft.assign(experiment_.size(), 1);
        working.predictionLeft.assign(prediction_.size(), 1);
        for (const MatchedPair& pair : result_.matched) {
            working.experimentLeft[pair.experiment] = 0;
            working.predictionLeft[pair.prediction] = 0;
        }
    }

    // What is reported of the first iteration whatever its score.
    void keepFirst(const SearchResult& found) {
        result_.mapped = found.mapped;
        result_.rmsd = found.rmsd;
        result_.grmsd = found.grmsd;
        result_.tm = found.tm;
        result_.partners = workspace_.bestMapping.predictionPartner;
    }

    void accumulate(const SearchResult& found, double score, std::uint32_t iteration) {
        result_.maxsub += score;
        result_.msi += result_.maxsub;
        result_.pairs += found.pairs;
        result_.iterations.push_back(
            {found.superposition, found.pairs, score, found.distanceCutoff});
        for (const std::uint32_t position : workspace_.bestPassSubset) {
            MatchedPair pair = workspace_.bestMapping.pairs[position];
            if (iteration > 1) {
                pair.experiment = workspace_.working.experimentRecord[pair.experiment];
                pair.prediction = workspace_.working.predictionRecord[pair.prediction];
            }
            pair.iteration = iteration - 1;
            result_.matched.push_back(pair);
        }
    }

    const CoordinateSet& experiment_;
    const CoordinateSet& prediction_;
    const ComparisonParameters& parameters_;
    Calibration calibration_;
    double cutoff_ = 0.0;  // of all iterations, Å; 0 as long as each makes its own
    ComparisonWorkspace& workspace_;
    Report& report_;
    ComparisonResult& result_;
    std::uint32_t most_;
    bool foundDomain_ = false;  // by the latest iteration
};

}  // namespace

void ComparisonResult::clear() {
    pairs = 0;
    mapped = 0;
    rmsd = grmsd = maxsub = tm = msi = 0.0;
    iterations.clear();
    matched.clear();
    partners.clear();
}

void searchDomains(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const ComparisonParameters& parameters, Calibration calibration,
                   ComparisonWorkspace& workspace, Report& report, ComparisonResult& result) {
    DomainIterations(experiment, prediction, parameters, calibration, workspace, report, result)
        .run();
}

void compareMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                   Report& report, ComparisonResult& result) {
    searchDomains(experiment, prediction, parameters, Calibration::EverySearch, workspace, report,
                  result);
}

}  // namespace tervolanda
