// A run reads all its structures before it compares any; what cannot be read ends it.  Which text
// it ends with differs by the kind of run, and is kept: scripts look for it.
#include "driver/model_input.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "base/log.h"
#include "driver/abend.h"
#include "driver/read_plan.h"

namespace tervolanda {

Chain readStructure(const std::string& path, const ReadRequest& request,
                    const ResidueExclusions& exclusions, Log& log) {
    std::optional<Chain> chain = readChain(path, request, exclusions, log);
    if (!chain) abend("Failed to read PDB file '%s'", path.c_str());
    return std::move(*chain);
}

ChainList readModels(const Settings& settings, const ResidueExclusions& exclusions, Log& log,
                     std::vector<UnreadModel>* unread) {
    const std::string& path = *settings.input.listFile;
    const ComparisonKind kind = comparisonKind(settings);
    ChainList models;
    std::uint32_t counter = 0;
    const ReadRequest structure = readPlan(settings).models;
    const ListRequest request{structure, exclusions, settings.workforce.threads, unread};
    const std::size_t read = settings.input.listIsPath
                                 ? readModelsAt(path, counter, request, models, log)
                                 : readModelList(path, counter, request, models, log);
    if (read == 0 && kind == ComparisonKind::Rmsd) {
        abend("Failed to read PDB list file '%s'", path.c_str());
    }
    if (read == 0) abend("Failed to read PDB list file");
    if (settings.strict && read < counter) {
        abend("%zu of the %u structures of the list cannot be read", counter - read, counter);
    }
    log.info(0, "Successfully read %zu %s structures", read,
             kind == ComparisonKind::MaxSub ? "Chain" : "PDB");
    return models;
}

}  // namespace tervolanda
