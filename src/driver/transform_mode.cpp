// Consensus and clusters from the MaxSub file of an earlier run, with other thresholds for example.
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "cluster/cluster.h"
#include "driver/modes.h"
#include "driver/result_output.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

int runTransformMode(const Settings& settings, Log& log) {
    std::optional<MaxSubFile> file = readMaxSubFile(*settings.transformFile, log);
    if (!file) return EXIT_FAILURE;
    printJuryTable(file->scores, file->pairs, file->chains, settings, log);
    if (settings.clusterMethod != 0) {
        clusterModels(file->scores, file->ids, clusterSettings(settings, 1.0), &file->chains, log);
    }
    return EXIT_SUCCESS;
}

}  // namespace tervolanda
