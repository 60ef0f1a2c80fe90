// Puts the merges that a linkage has found in order, as a tree of joins.  A merge names two models,
// whose clusters join; a join names two children, models or earlier joins, which only sorting
// shows.
//
// Order at equal distances: the order in which the linkage found them.  Single linkage goes through
// the clusters that join at that distance from the one with the earliest model on, average and
// maximum linkage follow their chains; see there.
#include <algorithm>

#include "cluster/merges.h"

namespace tervolanda {

namespace {

// Sorted by distance, the merges are the joins of a tree: what each of the two models has joined so
// far is the cluster of its first model, and the node of that is a child of the join.
std::vector<Join> orderMerges(std::vector<Merge> merges) {
    std::stable_sort(merges.begin(), merges.end(),
                     [](const Merge& a, const Merge& b) { return a.distance < b.distance; });
    FirstModels firstModel(merges.size() + 1);
    std::vector<std::int64_t> node(merges.size() + 1);  // by first model
    for (std::size_t i = 0; i < node.size(); ++i)
        node[i] = static_cast<std::int64_t>(i);
    std::vector<Join> tree;
    tree.reserve(merges.size());
    for (const Merge& merge : merges) {
        const auto [first, second] = std::minmax({firstModel.of(merge.a), firstModel.of(merge.b)});
        tree.push_back({node[first], node[second], merge.distance});
        firstModel.unite(first, second);
        node[first] = -static_cast<std::int64_t>(tree.size());
    }
    return tree;
}

}  // namespace

std::vector<Join> buildTree(const DistanceView& distances, Linkage linkage, std::size_t threads) {
    if (distances.size() < 2) return {};
    switch (linkage) {
        case Linkage::Average:
            return orderMerges(mergeByAverageLinkage(distances, {threads}));
        case Linkage::Maximum:
            return orderMerges(mergeByMaximumLinkage(distances, {threads}));
        case Linkage::Single:
            break;
    }
    return orderMerges(mergeBySingleLinkage(distances));
}

}  // namespace tervolanda
