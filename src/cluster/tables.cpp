// Lines come by the ten thousand, so a name is looked up in an index and not searched for in the
// list.
#include "cluster/tables.h"

#include <algorithm>
#include <climits>

#include "base/log.h"

namespace tervolanda {

ClusterTables::ClusterTables(std::span<const std::uint32_t> ids, const ChainList* models, Log& log)
    : ids_(ids), haveNames_(models != nullptr), log_(&log) {
    if (!haveNames_) return;
    std::size_t longest = 0;
    nameOf_.reserve(models->chains.size());
    for (const Chain& chain : models->chains) {
        nameOf_.emplace(chain.number, chain.fileName.c_str());
        longest = std::max(longest, chain.fileName.size());
    }
    nameWidth_ = static_cast<int>(std::min<std::size_t>(longest, INT_MAX));
}

const char* ClusterTables::name(std::size_t model) const {
    const auto found = nameOf_.find(ids_[model]);
    return found == nameOf_.end() ? "" : found->second;
}

void ClusterTables::printRule(int detail) {
    log_->info(detail, "======================================");
}

void ClusterTables::printItemHeader() {
    log_->info(0, "%-5s    %-7s", "Item", "Cluster");
}

void ClusterTables::printItem(std::size_t model, std::uint32_t cluster) {
    if (haveNames_) {
        log_->info(0, "%5u :  %7u                        %-s", id(model), cluster, name(model));
    } else {
        log_->info(0, "%5u :  %7u", id(model), cluster);
    }
}

void ClusterTables::printCentroidHeader() {
    log_->info(0, "Centroids");
    printRule();
    log_->info(0, "%-7s  %-7s  %-7s     %s", "Cluster", "Centroid", "Size", "Spread");
}

void ClusterTables::printCentroid(std::uint32_t cluster, std::size_t model, std::size_t size,
                                  double spread) {
    if (haveNames_) {
        log_->info(0, "%5u :  %7u  %7zu       %6.3f  %-s", cluster, id(model), size, shown(spread),
                   name(model));
    } else {
        log_->info(0, "%5u :  %7u  %7zu       %6.3f", cluster, id(model), size, shown(spread));
    }
}

}  // namespace tervolanda
