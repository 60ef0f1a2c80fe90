// How the tree of joins is found, before it is put in order.
#pragma once

#include <cstdint>
#include <vector>

#include "cluster/hierarchical.h"

namespace tervolanda {

// The clusters of two models join, at this distance.
struct Merge {
    std::uint32_t a = 0, b = 0;
    double distance = 0.0;
};

// How threads share the steps of a linkage.
struct StepSharing {
    std::size_t threads = 1;
    // Measured: with fewer a step is over before a second thread has begun to help.
    std::size_t fewestSlots = 4000;
    std::size_t slotsOfShare = 512;  // that follow each other and are done by one thread
};

// The N - 1 merges of N models.  At equal distances they stand in a possible order: each joins two
// clusters that are as near to each other as no two others.  The others are in any order.
std::vector<Merge> mergeBySingleLinkage(const DistanceView& distances);
std::vector<Merge> mergeByAverageLinkage(const DistanceView& distances, const StepSharing& sharing);
std::vector<Merge> mergeByMaximumLinkage(const DistanceView& distances, const StepSharing& sharing);

// Clusters of models by union and find; the first model of a cluster stands for it.
class FirstModels {
 public:
    explicit FirstModels(std::size_t models) : earlier_(models) {
        for (std::uint32_t i = 0; i < models; ++i)
            earlier_[i] = i;
    }
    std::uint32_t of(std::uint32_t model) {
        while (earlier_[model] != model) {
            earlier_[model] = earlier_[earlier_[model]];
            model = earlier_[model];
        }
        return model;
    }
    // Both are first models, `first` < `second`.
    void unite(std::uint32_t first, std::uint32_t second) { earlier_[second] = first; }

 private:
    std::vector<std::uint32_t> earlier_;  // a model of the same cluster; itself for the first
};

}  // namespace tervolanda
