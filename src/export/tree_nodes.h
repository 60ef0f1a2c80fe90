// A clustering's tree, its clusters and the names of models, as files show them.
//
// Nodes are numbered as SciPy does.  The tables of the log number them in another way, 0, -1, -2
// and so on (cluster_tables.cpp), and `Join` in a third, which needs no number of models.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "export/results.h"

namespace tervolanda {

// A join.  Models are nodes 0 to N - 1, join k is node N + k.
struct TreeNode {
    std::size_t first = 0, second = 0;  // nodes
    std::optional<double> height;       // the distance; none where nothing of one child has a
                                        // distance to the other
    std::size_t size = 0;               // models below it
};

// The joins of a clustering by linkage, in its order, by ascending distance, so that the root is
// the last; empty without a tree.
std::vector<TreeNode> treeNodes(const RunResults& results);

// The positions of the models of each cluster, in list order; clusters in the order of their
// numbers, beside the centroids of the clustering.  Models without a cluster are in none.
std::vector<std::vector<std::size_t>> clusterMembers(const Clustering& clustering);

// What stands for a model: its file or, where none is known, its ID.
std::string modelName(const InputStructure& input);

}  // namespace tervolanda
