// Single linkage in one pass over the matrix, row after row, with three values per model (SLINK;
// Sibson 1973, Computer J. 16:30): for every model the level at which it stops being the last
// member of its cluster, and the last member of the cluster it then joins.
//
// That tells which clusters join at which distance, but not by which two models.  Where three or
// more join at the same distance, not every two of them need be so near; there, and only there, the
// matrix is asked which are.
#include <algorithm>
#include <limits>
#include <utility>

#include "cluster/merges.h"

namespace tervolanda {

namespace {

// What is known of a model's place among the models so far.
struct SingleLinkageState {
    std::vector<float> level;           // where the model stops being its cluster's last member
    std::vector<std::uint32_t> joined;  // the last member of the cluster it joins there
    std::vector<float> reach;           // scratch: from the cluster at that level to a new model
};

// Brings in model i, whose distances to the models before it stand in `reach`.  In the published
// form a second loop follows, that hands those whose partner now leaves at their own level or below
// on to model i; here the loop of the next model does it, before it looks at the partner.
void addModel(std::uint32_t i, SingleLinkageState& state) {
    float* const level = state.level.data();
    std::uint32_t* const joined = state.joined.data();
    float* const reach = state.reach.data();
    joined[i] = i;
    for (std::size_t j = 0; j < i; ++j) {
        const float old = level[j];
        const std::uint32_t last = old >= level[joined[j]] ? i - 1 : joined[j];
        const float mine = reach[j];
        reach[last] = std::min(reach[last], std::max(old, mine));
        level[j] = std::min(old, mine);
        joined[j] = mine <= old ? i : last;
    }
}

// What the algorithm knows at the end, as merges by ascending level.  Model j joins the cluster
// whose last member is joined[j]; where that one has itself joined another cluster by then, the
// last member is the last model of all.
std::vector<Merge> mergesByLevel(const DistanceView& distances) {
    const std::size_t n = distances.size();
    SingleLinkageState state;
    state.level.assign(n, std::numeric_limits<float>::infinity());
    state.joined.resize(n);
    state.reach.resize(n);
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::span<const float> row = distances.row(i);
        for (std::size_t j = 0; j < i; ++j)
            state.reach[j] = distances.read(row[j]);
        addModel(i, state);
    }
    std::vector<Merge> merges;
    merges.reserve(n);
    for (std::uint32_t j = 0; j + 1 < n; ++j) {
        const std::uint32_t last = state.joined[j];
        const bool leavesLater = state.level[j] >= state.level[last];
        merges.push_back({j, leavesLater ? static_cast<std::uint32_t>(n - 1) : last,
                          static_cast<double>(state.level[j])});
    }
    std::stable_sort(merges.begin(), merges.end(),
                     [](const Merge& a, const Merge& b) { return a.distance < b.distance; });
    return merges;
}

// Replaces merges of equal distance by such as join clusters with two models at that distance.
class TiedMerges {
 public:
    explicit TiedMerges(const DistanceView& distances)
        : distances_(distances),
          before_(distances.size()),
          after_(distances.size()),
          members_(distances.size()) {
        for (std::uint32_t i = 0; i < members_.size(); ++i)
            members_[i] = {i};
    }
    // Takes the merges of one distance; the distances of successive calls ascend.
    void replace(std::span<Merge> merges);

 private:
    bool touch(std::uint32_t a, std::uint32_t b, double distance) const;
    std::size_t connect(std::vector<std::uint32_t> clusters, std::span<Merge> merges) const;
    void unite(const Merge& merge);

    const DistanceView& distances_;
    FirstModels before_;                               // clusters below the distance
    FirstModels after_;                                // and with its merges
    std::vector<std::vector<std::uint32_t>> members_;  // of the former, by first model
    std::vector<std::uint32_t> clusters_;              // scratch
};

// Whether a model of one cluster is exactly so far from a model of the other.
bool TiedMerges::touch(std::uint32_t a, std::uint32_t b, double distance) const {
    for (const std::uint32_t i : members_[a]) {
        for (const std::uint32_t j : members_[b]) {
            const float entry = distances_.row(std::max(i, j))[std::min(i, j)];
            if (static_cast<double>(distances_.read(entry)) == distance) return true;
        }
    }
    return false;
}

// Writes the merges that make clusters into one, by visiting from each the ones it touches, the
// first cluster first; returns how many.  Since the clusters become one, each of their pairs is
// looked at here and never again: all calls together look at N (N - 1) / 2 pairs of models at most.
std::size_t TiedMerges::connect(std::vector<std::uint32_t> clusters,
                                std::span<Merge> merges) const {
    const double distance = merges.front().distance;
    const std::size_t count = clusters.size() - 1;
    if (count == 1) {
        merges.front() = {clusters[0], clusters[1], distance};
        return count;
    }
    std::size_t visited = 1;  // clusters before this one; those before `from` are done with
    for (std::size_t from = 0; from < visited; ++from) {
        for (std::size_t to = visited; to < clusters.size(); ++to) {
            if (!touch(clusters[from], clusters[to], distance)) continue;
            merges[visited - 1] = {clusters[from], clusters[to], distance};
            std::swap(clusters[visited++], clusters[to]);
        }
    }
    return count;
}

void TiedMerges::unite(const Merge& merge) {
    const auto [first, second] = std::minmax({before_.of(merge.a), before_.of(merge.b)});
    before_.unite(first, second);
    std::vector<std::uint32_t>& all = members_[first];
    std::vector<std::uint32_t>& others = members_[second];
    if (all.size() < others.size()) all.swap(others);
    all.insert(all.end(), others.begin(), others.end());
    others = {};
}

// With one merge of a distance there is nothing to replace: the two clusters touch, whichever
// models name them.
void TiedMerges::replace(std::span<Merge> merges) {
    if (merges.size() > 1) {
        clusters_.clear();
        for (const Merge& merge : merges) {
            clusters_.push_back(before_.of(merge.a));
            clusters_.push_back(before_.of(merge.b));
            const auto [first, second] = std::minmax({after_.of(merge.a), after_.of(merge.b)});
            after_.unite(first, second);
        }
        // Those that become one cluster stand together, by their first models.
        const auto order = [this](std::uint32_t a, std::uint32_t b) {
            return std::pair(after_.of(a), a) < std::pair(after_.of(b), b);
        };
        std::sort(clusters_.begin(), clusters_.end(), order);
        clusters_.erase(std::unique(clusters_.begin(), clusters_.end()), clusters_.end());
        std::size_t written = 0;
        for (auto begin = clusters_.begin(); begin != clusters_.end();) {
            const auto end = std::find_if(begin, clusters_.end(), [this, begin](std::uint32_t c) {
                return after_.of(c) != after_.of(*begin);
            });
            written += connect({begin, end}, merges.subspan(written));
            begin = end;
        }
    } else {
        const auto [first, second] = std::minmax({after_.of(merges[0].a), after_.of(merges[0].b)});
        after_.unite(first, second);
    }
    for (const Merge& merge : merges)
        unite(merge);
}

}  // namespace

std::vector<Merge> mergeBySingleLinkage(const DistanceView& distances) {
    std::vector<Merge> merges = mergesByLevel(distances);
    TiedMerges tied(distances);
    for (auto begin = merges.begin(); begin != merges.end();) {
        const auto end = std::find_if(begin, merges.end(), [begin](const Merge& merge) {
            return merge.distance != begin->distance;
        });
        tied.replace({begin, end});
        begin = end;
    }
    return merges;
}

}  // namespace tervolanda
