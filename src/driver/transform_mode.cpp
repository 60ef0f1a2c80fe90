// Consensus and clusters from the MaxSub file of an earlier run, with other thresholds for example.
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "driver/modes.h"
#include "driver/result_output.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

int runTransformMode(const Settings& settings, Log& log) {
    std::optional<MaxSubFile> file = orAbend(readMaxSubFile(*settings.input.transformFile, log));
    if (!file) return EXIT_FAILURE;
    rankAndPrint(file->scores, file->pairs, file->chains, settings, log);
    clusterAndPrint(file->scores, MatrixValues::Similarities, {file->ids, &file->chains}, settings,
                    log);
    return EXIT_SUCCESS;
}

}  // namespace tervolanda
