// The members of each cluster against its medoid, for files that show them laid over it.
#pragma once

#include <span>

#include "cluster/batch/batch.h"
#include "driver/settings.h"
#include "export/results.h"

namespace tervolanda {

// Compares each medoid, as the experiment, with the other members of its cluster, as the run
// compares pairs, and shows every pair to the viewer: clusters by number, members in list order.
// Positions of pairs are those of the models.  Prints nothing.
void compareWithMedoids(std::span<const Chain* const> models, std::span<const RankedModel> ranking,
                        const Settings& settings, PairViewer& viewer);

}  // namespace tervolanda
