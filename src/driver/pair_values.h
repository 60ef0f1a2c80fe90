// What a comparison found, as the values that files of results take.
//
// run_exports.cpp calls these between a comparison and the files that show it.
#pragma once

#include "cluster/batch/batch.h"
#include "compare/compare.h"
#include "driver/settings.h"
#include "export/export.h"

namespace tervolanda {

// How the pairs of a run become values.
struct PairForm {
    const ComparisonParameters& parameters;
    bool hasUrmsd = true;                  // the run computes it
    std::optional<ScoreKind> matrixScore;  // of a batch of all pairs: what its matrix holds
    PairDetail detail = PairDetail::Figures;
};

// Each fills in all but the positions among the inputs.
void fillPair(const ComparedPair& pair, const ComparisonResult& found, const PairForm& form,
              PairResult& result);
void fillPair(const ComparedPair& pair, const GdtResult& found, const ComparisonResult& search,
              const PairForm& form, PairResult& result);
void fillPair(const ComparedPair& pair, const ListedRmsd& found,
              std::span<const MatchedPair> matched, const PairForm& form, PairResult& result);

InputStructure inputOf(const Chain& chain);

}  // namespace tervolanda
