// What the targets of both kinds of result file ask of what was read.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/log.h"
#include "cluster/cluster.h"
#include "export/export.h"

namespace tervolanda::fuzz {

// Whether a size record asks for a matrix that is right and too large to be made thousands of times
// a second.  Sizes beyond every memory are none of these: they are refused.
bool declaresUnhandySize(std::string_view text);

void requireDifferentIds(std::span<const std::uint32_t> ids);

// A way to cluster, by a number.
ClusterSettings makeClusterSettings(unsigned int choice, MatrixValues values);

// Clusters a copy of the matrix and prints the tables: every model is in one cluster or, with the
// nearest-neighbour methods, in none; no cluster is empty, and its centroid is one of its members.
void requireClusters(DistanceMatrix matrix, const ModelLabels& models,
                     const ClusterSettings& settings, Log& log);

}  // namespace tervolanda::fuzz
