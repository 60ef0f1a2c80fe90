// All models of a list with each other by a measure on demand.  A pair is the least-squares fit of
// its residue pairs, from which the superposition comes that files show, and the measure of these.
#include "cluster/batch/all_pairs.h"

namespace tervolanda {

namespace {

class Measurements : public AllPairs {
 public:
    using Outcome = MeasuredOutcome;
    static constexpr const char* kName = "SCORE";

    Measurements(AllPairs pairs, const MeasureOptions& options, PairViewer* wanted)
        : AllPairs(pairs), viewer(wanted), options_(options) {
        options_.fit.reportTooFew = false;  // usual in a list and not worth a line each
    }

    ChunkNeeds chunkNeeds() const {
        return viewer == nullptr ? ChunkNeeds{} : needsOfSearches(sizeof(Outcome));
    }

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& outcome = outcomes.front();
        RmsdResult& fit = viewer == nullptr ? worker.fit : outcome.fit;
        compareRmsd(sets[pair.experiment], sets[pair.prediction], options_.fit, worker.workspace,
                    worker.report, fit);
        outcome.value = fit.measures.value(options_.measure).value_or(0.0);
        outcome.hasFit = fit.rmsd.has_value();
        worker.finishPair();
    }

 protected:
    PairViewer* viewer;

 private:
    MeasureOptions options_;
};

class MeasuredPairs : public Measurements {
 public:
    MeasuredPairs(const PreparedList& list, const MeasureOptions& options, PairViewer* wanted)
        : Measurements(AllPairs(list), options, wanted),
          found{matrixWithDiagonal(list.size(), isPercentage(options.measure) ? 100.0F : 1.0F)} {}

    void consume(BatchPair pair, const Outcome& outcome) {
        setBoth(found.values, pair, static_cast<float>(outcome.value));
        if (viewer == nullptr) return;
        viewer->seeRmsd(compared(pair), listedRmsd(outcome.fit, sets[pair.prediction]),
                        outcome.fit.matched);
    }

    MeasureBatch found;
};

}  // namespace

MeasureBatch compareAllByMeasure(const PreparedList& models, const MeasureOptions& options,
                                 Log& log, Report& report, const BatchRun& run) {
    MeasuredPairs pairs(models, options, run.viewer);
    runBatch(pairs, run.workforce, log, report);
    return std::move(pairs.found);
}

void compareByMeasure(const PairSlice& slice, const MeasureOptions& options,
                      const TakePair<MeasuredOutcome>& take, Log& log, Report& report,
                      const Workforce& workforce) {
    TakenPairs pairs(Measurements(AllPairs(slice), options, nullptr), take);
    runBatch(pairs, workforce, log, report);
}

MeasureBatch collectAllByMeasure(const PreparedList& models, const MeasureOptions& options,
                                 const GivePair<MeasuredOutcome>& give, Log& log, Report& report) {
    GivenPairs<MeasuredPairs> pairs(give, models, options, nullptr);
    runBatch(pairs, {}, log, report);
    return std::move(pairs.found);
}

}  // namespace tervolanda
