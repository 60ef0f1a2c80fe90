// Clustering of the distances that an earlier run, or another program, has written down.  Their
// file may name structures, but these are not asked for: the lines show IDs alone.
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "driver/modes.h"
#include "driver/result_output.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

int runClusterOnly(const Settings& settings, Log& log) {
    std::optional<DistanceFile> file =
        orAbend(readDistanceFile(*settings.input.distanceFile, nullptr, log));
    if (!file) return EXIT_SUCCESS;  // a file with gaps is reported and is no failure
    clusterAndPrint(file->matrix, MatrixValues::Distances, {file->ids}, settings, log);
    return EXIT_SUCCESS;
}

}  // namespace tervolanda
