// Clustering of the distances that an earlier run, or another program, has written down (-F). Their
// file may name structures, but these are not asked for: the lines show IDs alone.
//
// Nothing is compared, so nothing is known of the models but their distances: no ranking is
// printed, and none of the files that show pairs has a meaning.  What the distances are of is not
// known either, so that thresholds without an option are those of Å (settings.cpp).
#include <cstdlib>
#include <optional>

#include "base/log.h"
#include "driver/modes.h"
#include "driver/result_output.h"
#include "driver/run_exports.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

// A model a row with the name that the file gives it, for the exports; the lines of this mode show
// IDs alone.
ChainList namedModels(DistanceFile& file) {
    ChainList models;
    for (const std::uint32_t id : file.ids) {
        Chain& model = models.chains.emplace_back();
        model.number = id;
        if (const auto name = file.names.find(id); name != file.names.end())
            model.fileName = std::move(name->second);
    }
    return models;
}

}  // namespace

int runClusterOnly(const Settings& settings, RunExports& exports, Log& log) {
    std::optional<DistanceFile> file =
        orAbend(readDistanceFile(*settings.input.distanceFile, nullptr, log));
    if (!file) {  // a file with gaps is reported and is no failure
        exports.giveUp();
        return settings.strict ? static_cast<int>(Fault::Input) : EXIT_SUCCESS;
    }
    ChainList named;
    if (exports.isWanted()) named = namedModels(*file);
    exports.startMatrix(file->ids, &named, nullptr);
    std::vector<RankedModel> ranked;
    if (exports.isWanted()) ranked = rankedModels(file->matrix, MatrixValues::Distances, {});
    clusterAndFinish({std::move(file->matrix), MatrixValues::Distances, {file->ids}},
                     std::move(ranked), settings, exports, log);
    return EXIT_SUCCESS;
}

}  // namespace tervolanda
