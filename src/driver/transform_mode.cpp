// Consensus and clusters from the MaxSub file of an earlier run (-M), with other thresholds for
// example.
//
// A MaxSub file has the scores, pair counts and names of the run that wrote it, and so all that the
// ranking and the clusters of that run came from.  Whether the scores are TM-scores or MaxSub the
// file does not say; they are similarities from 0 to 1 either way.
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "driver/modes.h"
#include "driver/result_output.h"
#include "driver/run_exports.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

int runTransformMode(const Settings& settings, RunExports& exports, Log& log) {
    std::optional<MaxSubFile> file = orAbend(readMaxSubFile(*settings.input.transformFile, log));
    if (!file) return settings.strict ? static_cast<int>(Fault::Input) : EXIT_FAILURE;
    exports.startMatrix(file->ids, &file->chains, &file->pairs);
    const auto jury = rankAndPrint(file->scores, file->pairs, file->chains, settings, log);
    exports.keepScores(file->scores, MatrixValues::Similarities);
    std::vector<RankedModel> ranked;
    if (exports.isWanted()) ranked = rankedModels(file->scores, MatrixValues::Similarities, jury);
    clusterAndFinish(
        {std::move(file->scores), MatrixValues::Similarities, {file->ids, &file->chains}},
        std::move(ranked), settings, exports, log);
    return EXIT_SUCCESS;
}

}  // namespace tervolanda
