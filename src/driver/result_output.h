// What the run modes have in common on the way out: tables, clusters, the values of both, and what
// result files mean for the exit status.
#pragma once

#include <utility>
#include <variant>
#include <vector>

#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/compare.h"
#include "driver/abend.h"
#include "driver/settings.h"
#include "export/export.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

class Log;
class RunExports;

// Ranks the models by 3D-Jury and prints the table.  `chains` holds the models in matrix order.
std::vector<JuryScore> rankAndPrint(const DistanceMatrix& scores, const PairMatrix& pairs,
                                    const ChainList& chains, const Settings& settings, Log& log);

// What a run clusters, and what it says.
struct LabelledMatrix {
    DistanceMatrix cells;  // N x N
    MatrixValues values = MatrixValues::Distances;
    ModelLabels models;  // of its rows, lent
};

// Clusters the models of a matrix and prints the clusters, none for method 0, and completes the
// exports, for which the ranking is.  The matrix comes by value because clustering overwrites it,
// with distances in place of similarities.
void clusterAndFinish(LabelledMatrix matrix, std::vector<RankedModel> ranking,
                      const Settings& settings, RunExports& exports, Log& log);

// What a writer or reader of result files made; a format error is fatal.
template <typename Made>
Made orAbend(std::variant<Made, FormatError> made) {
    if (const auto* error = std::get_if<FormatError>(&made)) abend("%s", error->message.c_str());
    return std::get<Made>(std::move(made));
}

// The exit status that follows from writing a result file: 1 for one that is not complete and, in
// strict runs, for one that could not be created.
int exitStatus(FileOutcome outcome, const Settings& settings);

}  // namespace tervolanda
