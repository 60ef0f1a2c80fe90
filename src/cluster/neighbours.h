// Nearest-neighbour clustering: the model with the most neighbours takes them, then the next.
#pragma once

#include <cstddef>
#include <optional>

#include "cluster/distances.h"

namespace tervolanda {

// The smallest threshold at which some model has `wanted` neighbours, that is other models within
// the threshold; infinite when no threshold gives as many.  REQUIRES: wanted > 0.
double thresholdForNeighbours(const DistanceView& distances, std::size_t wanted);

// Clusters by one of the two methods of neighbours; none when the step leads away from the maximum.
// The whole matrix is read, row by row, but for its diagonal.
std::optional<Clustering> clusterByNeighbours(const DistanceView& distances,
                                              const ClusterSettings& settings);

}  // namespace tervolanda
