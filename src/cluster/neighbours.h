// Nearest-neighbour clustering: the model with the most neighbours takes them, then the next.
#pragma once

#include <cstddef>

#include "cluster/distances.h"
#include "cluster/tables.h"

namespace tervolanda {

// The smallest threshold at which some model has `wanted` neighbours, that is other models within
// the threshold; infinite when no threshold gives as many.  REQUIRES: wanted > 0.
double thresholdForNeighbours(const DistanceView& distances, std::size_t wanted);

// Clusters by method 4 (clusters of any size) or 5 (clusters of the wanted size at most) and prints
// the clusters.  The whole matrix is read, row by row, but for its diagonal.
ClusterAssignment clusterByNeighbours(const DistanceView& distances,
                                      const ClusterSettings& settings, ClusterTables& tables);

}  // namespace tervolanda
