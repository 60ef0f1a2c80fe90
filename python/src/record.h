// What against() keeps beside its table, for a page that shows more than it.
#pragma once

#include <memory>
#include <vector>

#include "cluster/batch/batch.h"
#include "comparing.h"
#include "export/values.h"

namespace tervolanda::python {

// Sees the pairs of a list and keeps their figures; not their residues, of which a page shows one
// pair's only, and which take a hundred times the memory.
class ListRecord final : public PairViewer {
 public:
    // By a search, or by the fit of all pairs and what is measured of these.
    ListRecord(ScoreKind kind, const ComparisonParameters& parameters)
        : kind_(kind), parameters_(parameters), fit_{.pairing = pairingOf(parameters)} {}
    explicit ListRecord(const FitChoice& fit)
        : kind_(fit.measure ? scoreKindOf(*fit.measure) : ScoreKind::Rmsd), fit_(fit) {}
    ListRecord(const ListRecord&) = delete;
    ListRecord& operator=(const ListRecord&) = delete;

    // Without `models` and pairs it is a record of nothing.
    void setStructures(StructurePtr experiment, std::vector<StructurePtr> models) {
        experiment_ = std::move(experiment);
        models_ = std::move(models);
    }

    void seeMaxSub(const ComparedPair& pair, const ComparisonResult& result) override;
    void seeGdt(const ComparedPair& pair, const GdtResult& found,
                const ComparisonResult& search) override;
    void seeRmsd(const ComparedPair& pair, const ListedRmsd& found,
                 std::span<const MatchedPair> matched) override;

    ScoreKind kind() const { return kind_; }
    const ComparisonParameters& parameters() const { return parameters_; }
    const FitChoice& fit() const { return fit_; }
    const StructurePtr& experiment() const { return experiment_; }
    const std::vector<StructurePtr>& models() const { return models_; }
    const std::vector<PairResult>& pairs() const { return pairs_; }

 private:
    PairResult& next(const ComparedPair& pair);
    void showPairing(const ComparedPair& pair);
    PairForm form() const { return {.parameters = parameters_, .hasUrmsd = fit_.urmsd}; }

    ScoreKind kind_;
    ComparisonParameters parameters_;
    FitChoice fit_;
    StructurePtr experiment_;
    std::vector<StructurePtr> models_;
    PairingKeys keys_;
    std::vector<PairResult> pairs_;  // one a model, in list order
};

using ListRecordPtr = std::shared_ptr<ListRecord>;

}  // namespace tervolanda::python
