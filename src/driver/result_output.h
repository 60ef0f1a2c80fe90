// What the run modes have in common on the way out: tables, clusters, and what result files mean
// for the exit status.
#pragma once

#include <utility>
#include <variant>

#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/compare.h"
#include "driver/abend.h"
#include "driver/settings.h"
#include "export/export.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

class Log;

RmsdOptions rmsdOptions(const Settings& settings);

// Ranks the models by 3D-Jury and prints the table.  `chains` holds the models in matrix order.
void rankAndPrint(const DistanceMatrix& scores, const PairMatrix& pairs, const ChainList& chains,
                  const Settings& settings, Log& log);

// Clusters the models of a matrix, in which distances take the place of similarities, and prints
// the clusters.  Nothing for method 0.
void clusterAndPrint(DistanceMatrix& matrix, MatrixValues values, const ModelLabels& models,
                     const Settings& settings, Log& log);

// What a writer or reader of result files made; a format error is fatal.
template <typename Made>
Made orAbend(std::variant<Made, FormatError> made) {
    if (const auto* error = std::get_if<FormatError>(&made)) abend("%s", error->message.c_str());
    return std::get<Made>(std::move(made));
}

// The exit status that follows from writing a result file: 1 for one that is not complete.
int exitStatus(FileOutcome outcome);

}  // namespace tervolanda
