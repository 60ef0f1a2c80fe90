// Hierarchical clustering: the tree of joins, its cuts, and the medoids of the clusters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "cluster/distances.h"

namespace tervolanda {

// The distance between two clusters: the smallest, the mean or the largest of the distances between
// a member of one and a member of the other.
enum class Linkage : std::uint8_t { Single, Average, Maximum };

// The joins of N models, N - 1 of them, by ascending distance; O(N^2) time.  Only the strict lower
// triangle of the matrix is read.  Memory beside the matrix: N values for single linkage, a
// triangle of N (N - 1) / 2 values for maximum (single precision) and average linkage (double
// precision).  The tree does not depend on the number of threads, which share the work of average
// and maximum linkage.
std::vector<Join> buildTree(const DistanceView& distances, Linkage linkage,
                            std::size_t threads = 1);

// The number of joins that are not above a threshold; they are the first of the tree.  An infinite
// distance is above every threshold.
std::size_t joinsWithin(std::span<const Join> tree, double threshold);

// Entry k is the number of members of the largest cluster after the first k joins, k = 0 .. N - 1.
std::vector<std::uint32_t> largestClusters(std::span<const Join> tree, std::size_t models);

// The clusters after the first `joins` joins, numbered from 0 by the position of their first model.
ClusterAssignment cutTree(std::span<const Join> tree, std::size_t models, std::size_t joins);

// The member with the smallest sum of distances to the other members of its cluster; of equal ones
// the first.  The lower triangle is read.
std::vector<Centroid> findMedoids(const DistanceView& distances, const ClusterAssignment& clusters);

// Builds the tree and cuts it at the first threshold that gives a cluster of the wanted size, or at
// the last.
Clustering clusterHierarchically(const DistanceView& distances, Linkage linkage,
                                 const ClusterSettings& settings);

}  // namespace tervolanda
