// One experiment with each model of a list.  A model is prepared where it is compared: it takes
// part in one comparison only, and a list may be longer than memory has room for coordinate sets.
//
// What is kept of a model is small (ListedMaxSub and so on): a line, and a superposition for the
// script of the best ones.  With a viewer, who may want residues, outcomes carry the model to where
// it looks.
#include <algorithm>
#include <utility>

#include "cluster/batch/run_batch.h"

namespace tervolanda {

namespace {

// The order of the pairs, for batches of all kinds: pair k is the experiment and model k; skip()
// and next() are additions.
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
    // Where somebody looks at the pairs, outcomes hold searches and models.
    ChunkNeeds chunkNeeds() const {
        constexpr std::size_t kBackboneAtoms = 4;
        constexpr std::size_t kBytesOfRecord = 128;  // of a CoordinateSet, with room to grow
        ChunkNeeds needs;
        if (list.viewer == nullptr) return needs;
        std::size_t longest = 0;
        for (const Chain& model : list.models.chains)
            longest = std::max(longest, model.residues.size());
        needs.bytesOfPair = longest * kBackboneAtoms * (kBytesOfRecord + kBytesOfSearch);
        return needs;
    }
    const Chain& experiment(BatchPair) const { return list.experiment; }
    const Chain& prediction(BatchPair pair) const { return list.models.chains[pair.prediction]; }

 protected:
    // Prepared by the worker, with its report: lines about a model stand among those of its
    // comparison.
    CoordinateSet prepare(BatchPair pair, BatchWorker& worker) const {
        return prepareChain(prediction(pair), list.selection, list.parameters, worker.report);
    }

    const ListComparison& list;
};

// Outcomes hold the model only where somebody looks at it.
void keep(std::optional<CoordinateSet>& kept, CoordinateSet& model, const ListComparison& list) {
    if (list.viewer != nullptr) kept = std::move(model);
}

class ListedMaxSubPairs : public ListPairs {
 public:
    struct Outcome {
        ListedMaxSub found;
        ComparisonResult search;
        std::optional<CoordinateSet> model;
    };
    static constexpr const char* kName = "MAXSUB";

    using ListPairs::ListPairs;

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& outcome = outcomes.front();
        ComparisonResult& result = list.viewer == nullptr ? worker.result : outcome.search;
        CoordinateSet model = prepare(pair, worker);
        compareMaxSub(list.experimentSet, model, list.parameters, worker.workspace, worker.report,
                      result);
        if (list.parameters.iterations > 1) reportTotal(result, worker.report);
        outcome.found = {result.pairs, result.rmsd,  result.maxsub,         result.tm,
                         result.msi,   std::nullopt, result.measures.values};
        if (!result.iterations.empty()) {
            outcome.found.superposition = result.iterations.front().superposition;
        }
        keep(outcome.model, model, list);
        worker.finishPair();
    }

    void consume(BatchPair pair, const Outcome& outcome) {
        found.push_back(outcome.found);
        if (list.viewer == nullptr) return;
        list.viewer->seeMaxSub({pair, list.experimentSet, *outcome.model}, outcome.search);
    }

    std::vector<ListedMaxSub> found;
};

class ListedGdtPairs : public ListPairs {
 public:
    struct Outcome : GdtOutcome {
        std::optional<CoordinateSet> model;
    };
    static constexpr const char* kName = "GDT";

    using ListPairs::ListPairs;

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        Outcome& outcome = outcomes.front();
        CoordinateSet model = prepare(pair, worker);
        ComparisonResult& search = list.viewer == nullptr ? worker.result : outcome.search;
        outcome.found = compareGdt(list.experimentSet, model, list.parameters, worker.workspace,
                                   worker.report, search);
        keep(outcome.model, model, list);
        worker.finishPair();
    }

    void consume(BatchPair pair, const Outcome& outcome) {
        found.push_back(outcome.found);
        if (list.viewer == nullptr) return;
        list.viewer->seeGdt({pair, list.experimentSet, *outcome.model}, outcome.found,
                            outcome.search);
    }

    std::vector<GdtResult> found;
};

class ListedRmsdPairs : public ListPairs {
 public:
    struct Outcome {
        ListedRmsd found;
        std::vector<MatchedPair> matched;
        std::optional<CoordinateSet> model;
    };
    static constexpr const char* kName = "RMSD";

    ListedRmsdPairs(const ListComparison& comparison, const RmsdOptions& options)
        : ListPairs(comparison), options_(options) {}

    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        CoordinateSet model = prepare(pair, worker);
        RmsdResult& fit = worker.fit;
        compareRmsd(list.experimentSet, model, options_, worker.workspace, worker.report, fit);
        Outcome& outcome = outcomes.front();
        ListedRmsd& listed = outcome.found;
        listed = listedRmsd(fit, model);
        listed.contacts = sharedContacts(list.experiment, list.experimentSet, prediction(pair),
                                         model, fit, list.parameters);
        if (list.viewer != nullptr) outcome.matched = fit.matched;
        keep(outcome.model, model, list);
        worker.finishPair();
    }

    void consume(BatchPair pair, const Outcome& outcome) {
        found.push_back(outcome.found);
        found.back().measures.residues = {};  // of a whole list they would be many
        if (list.viewer == nullptr) return;
        list.viewer->seeRmsd({pair, list.experimentSet, *outcome.model}, outcome.found,
                             outcome.matched);
    }

    std::vector<ListedRmsd> found;

 private:
    const RmsdOptions& options_;
};

class MeasuredListPairs final : public ListedRmsdPairs {
 public:
    static constexpr const char* kName = "SCORE";
    using ListedRmsdPairs::ListedRmsdPairs;
};

template <typename Pairs>
auto run(Pairs pairs, const Workforce& workforce, Log& log, Report& report) {
    pairs.found.reserve(pairs.count());
    runBatch(pairs, workforce, log, report);
    return std::move(pairs.found);
}

}  // namespace

ListedRmsd listedRmsd(const RmsdResult& fit, const CoordinateSet& prediction) {
    ListedRmsd listed{fit.rmsd,     fit.pairs,    fit.urmsd,   prediction.gyrationRadius,
                      std::nullopt, std::nullopt, fit.measures};
    if (fit.rmsd) listed.superposition = fit.superposition;
    return listed;
}

std::vector<ListedMaxSub> compareListMaxSub(const ListComparison& list, Log& log, Report& report,
                                            const Workforce& workforce) {
    return run(ListedMaxSubPairs(list), workforceFor(list.parameters, workforce), log, report);
}

std::vector<GdtResult> compareListGdt(const ListComparison& list, Log& log, Report& report,
                                      const Workforce& workforce) {
    return run(ListedGdtPairs(list), workforceFor(list.parameters, workforce), log, report);
}

std::vector<ListedRmsd> compareListRmsd(const ListComparison& list, const RmsdOptions& options,
                                        Log& log, Report& report, const Workforce& workforce) {
    return run(ListedRmsdPairs(list, options), workforce, log, report);
}

std::vector<ListedRmsd> compareListByMeasure(const ListComparison& list, const RmsdOptions& options,
                                             Log& log, Report& report, const Workforce& workforce) {
    return run(MeasuredListPairs(list, options), workforce, log, report);
}

}  // namespace tervolanda
