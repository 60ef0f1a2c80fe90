// One experiment with each model of a list.  A model is prepared where it is compared: it takes
// part in one comparison only, and a list may be longer than memory has room for coordinate sets.
#include <utility>

#include "cluster/batch/run_batch.h"

namespace tervolanda {

namespace {

// The order of the pairs, for batches of all kinds.
class ListPairs {
 public:
    explicit ListPairs(const ListComparison& comparison) : list(comparison) {}

    std::size_t count() const { return list.models.chains.size(); }
    static BatchPair first() { return {0, 0}; }
    static BatchPair next(BatchPair pair) { return {0, pair.prediction + 1}; }
    static BatchPair skip(BatchPair pair, std::size_t count) {
        return {0, pair.prediction + count};
    }
    static std::size_t together(BatchPair) { return 1; }
    static ChunkNeeds chunkNeeds() { return {}; }
    const Chain& experiment(BatchPair) const { return list.experiment; }
    const Chain& prediction(BatchPair pair) const { return list.models.chains[pair.prediction]; }

 protected:
    CoordinateSet prepare(BatchPair pair, BatchWorker& worker) const {
        return prepareChain(prediction(pair), list.selection, list.parameters, worker.report);
    }

    const ListComparison& list;
};

class ListedMaxSubPairs : public ListPairs {
 public:
    using Outcome = ListedMaxSub;
    static constexpr const char* kName = "MAXSUB";

    using ListPairs::ListPairs;

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        ComparisonResult& result = worker.result;
        compareMaxSub(list.experimentSet, prepare(pair, worker), list.parameters, worker.workspace,
                      worker.report, result);
        if (list.parameters.iterations > 1) reportTotal(result, worker.report);
        Outcome& outcome = outcomes.front();
        outcome = {result.pairs, result.rmsd, result.maxsub, result.tm, result.msi, std::nullopt};
        if (!result.iterations.empty()) {
            outcome.superposition = result.iterations.front().superposition;
        }
        worker.finishPair();
    }

    void consume(BatchPair, const Outcome& outcome) { found.push_back(outcome); }

    std::vector<Outcome> found;
};

class ListedGdtPairs : public ListPairs {
 public:
    using Outcome = GdtResult;
    static constexpr const char* kName = "GDT";

    using ListPairs::ListPairs;

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        outcomes.front() = compareGdt(list.experimentSet, prepare(pair, worker), list.parameters,
                                      worker.workspace, worker.report, worker.result);
        worker.finishPair();
    }

    void consume(BatchPair, const Outcome& outcome) { found.push_back(outcome); }

    std::vector<Outcome> found;
};

class ListedRmsdPairs : public ListPairs {
 public:
    using Outcome = ListedRmsd;
    static constexpr const char* kName = "RMSD";

    ListedRmsdPairs(const ListComparison& comparison, const RmsdOptions& options)
        : ListPairs(comparison), options_(options) {}

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        const CoordinateSet model = prepare(pair, worker);
        RmsdResult& fit = worker.fit;
        compareRmsd(list.experimentSet, model, options_, worker.workspace, worker.report, fit);
        Outcome& outcome = outcomes.front();
        outcome = {fit.rmsd,     fit.pairs,   fit.urmsd, model.gyrationRadius,
                   std::nullopt, std::nullopt};
        if (fit.rmsd) outcome.superposition = fit.superposition;
        outcome.contacts = sharedContacts(list.experiment, list.experimentSet, prediction(pair),
                                          model, fit, list.parameters);
        worker.finishPair();
    }

    void consume(BatchPair, const Outcome& outcome) { found.push_back(outcome); }

    std::vector<Outcome> found;

 private:
    const RmsdOptions& options_;
};

template <typename Pairs>
auto run(Pairs pairs, std::size_t threads, Log& log, Report& report) {
    pairs.found.reserve(pairs.count());
    runBatch(pairs, threads, log, report);
    return std::move(pairs.found);
}

}  // namespace

std::vector<ListedMaxSub> compareListMaxSub(const ListComparison& list, Log& log, Report& report,
                                            std::size_t threads) {
    return run(ListedMaxSubPairs(list), threadsFor(list.parameters, threads), log, report);
}

std::vector<GdtResult> compareListGdt(const ListComparison& list, Log& log, Report& report,
                                      std::size_t threads) {
    return run(ListedGdtPairs(list), threadsFor(list.parameters, threads), log, report);
}

std::vector<ListedRmsd> compareListRmsd(const ListComparison& list, const RmsdOptions& options,
                                        Log& log, Report& report, std::size_t threads) {
    return run(ListedRmsdPairs(list, options), threads, log, report);
}

}  // namespace tervolanda
