// A chain takes part in as many comparisons as the list has models, and in the writing of result
// files; its coordinate set is made once for all of them.
#include "cluster/batch/batch.h"

namespace tervolanda {

PreparedList::PreparedList(const ChainList& models, AtomSelection selection,
                           const ComparisonParameters& parameters, Report& report)
    : models_(models), selection_(selection) {
    sets_.reserve(models.chains.size());
    for (const Chain& chain : models.chains) {
        throwIfStopped(parameters.stop);
        sets_.push_back(prepareChain(chain, selection, parameters, report));
    }
}

// IDs are those of the list's lines, so there are gaps where a model could not be read.
std::vector<std::uint32_t> modelIds(const ChainList& models) {
    std::vector<std::uint32_t> ids;
    ids.reserve(models.chains.size());
    for (const Chain& chain : models.chains)
        ids.push_back(chain.number);
    return ids;
}

}  // namespace tervolanda
