// What the run modes have in common on the way out: columns, figures, tables, clusters, and what
// result files mean for the exit status.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
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

// Width of a column of model numbers: the smallest i >= 1 for which 10^i exceeds the entries.
int numberWidth(std::size_t entries);

// Width of a column of file names: the longest name of the list.
int nameWidth(const ChainList& models);

// The numbers of an RMSD comparison as they are printed: -1 and zeros for a failed fit.
struct RmsdFigures {
    double rmsd = -1.0;  // Å
    std::uint32_t pairs = 0;
    RelativeRmsd relative;
    double urmsd = 0.0;
    double relativeUrmsd = 0.0;
};

// The radii of gyration are those of the two chains, Å.
RmsdFigures rmsdFigures(std::optional<double> rmsd, std::uint32_t pairs, double urmsd,
                        double experimentGyration, double predictionGyration);

// "1.234 (Pairs= ..." and so on up to the relative URMSD.
std::string rmsdText(const RmsdFigures& figures);

// "NC= ..." for the two chains of an RMSD comparison.
std::string contactText(const Chain& experiment, const Chain& prediction,
                        const ComparisonParameters& parameters);

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
