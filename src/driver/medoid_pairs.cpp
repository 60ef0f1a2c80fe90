// Medoids are known when all pairs have been compared, and to keep the superpositions of all until
// then would take gigabytes of a long list.  So the few that are wanted, one per model, are
// computed once more.  A run that merges parts, which hold no superpositions, does the same.
#include "driver/medoid_pairs.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <vector>

#include "base/log.h"
#include "compare/fit/kernels.h"
#include "driver/read_plan.h"

namespace tervolanda {

namespace {

struct Cluster {
    std::optional<std::size_t> medoid;
    std::vector<std::size_t> members;  // the others
};

// By their numbers; models in no cluster are in none here.
std::map<std::uint32_t, Cluster> clustersOf(std::span<const RankedModel> ranking) {
    std::map<std::uint32_t, Cluster> clusters;
    for (const RankedModel& ranked : ranking) {
        if (!ranked.cluster) continue;
        Cluster& cluster = clusters[*ranked.cluster];
        if (ranked.isMedoid) {
            cluster.medoid = ranked.model;
        } else {
            cluster.members.push_back(ranked.model);
        }
    }
    for (auto& [number, cluster] : clusters)
        std::sort(cluster.members.begin(), cluster.members.end());
    return clusters;
}

// A comparison as the run has it, but for what it prints and writes.
class QuietComparison {
 public:
    QuietComparison(const Settings& settings, PairViewer& viewer)
        : settings_(settings),
          parameters_(settings.comparison),
          viewer_(viewer),
          workspace_(kernelsOr(settings.workforce.kernels)) {
        parameters_.similarityMatrix = false;
        parameters_.measures = {};  // superpositions are what is wanted
    }

    CoordinateSet prepare(const Chain& chain) {
        return prepareChain(chain, readPlan(settings_).atoms, parameters_, report_);
    }
    // Shows the viewer what the run itself would have found of this pair.
    void compare(const ComparedPair& pair) {
        switch (comparisonKind(settings_)) {
            case ComparisonKind::MaxSub:
                compareMaxSub(pair.experiment, pair.prediction, parameters_, workspace_, report_,
                              search_);
                return viewer_.seeMaxSub(pair, search_);
            case ComparisonKind::Gdt: {
                const GdtResult found = compareGdt(pair.experiment, pair.prediction, parameters_,
                                                   workspace_, report_, search_);
                return viewer_.seeGdt(pair, found, search_);
            }
            case ComparisonKind::Rmsd:
            case ComparisonKind::Measure:
                return compareByRmsd(pair);
        }
        std::abort();
    }

 private:
    void compareByRmsd(const ComparedPair& pair) {
        RmsdOptions options = rmsdOptions(settings_);
        options.reportTooFew = false;
        options.measures = {};
        compareRmsd(pair.experiment, pair.prediction, options, workspace_, report_, fit_);
        viewer_.seeRmsd(pair, listedRmsd(fit_, pair.prediction), fit_.matched);
    }

    const Settings& settings_;
    ComparisonParameters parameters_;
    PairViewer& viewer_;
    ComparisonWorkspace workspace_;
    ComparisonResult search_;
    RmsdResult fit_;
    Log log_;  // of no sink
    Report report_{log_, 0};
};

}  // namespace

void compareWithMedoids(std::span<const Chain* const> models, std::span<const RankedModel> ranking,
                        const Settings& settings, PairViewer& viewer) {
    QuietComparison comparison(settings, viewer);
    for (const auto& [number, cluster] : clustersOf(ranking)) {
        if (!cluster.medoid) continue;
        const CoordinateSet medoid = comparison.prepare(*models[*cluster.medoid]);
        for (const std::size_t member : cluster.members) {
            const CoordinateSet moved = comparison.prepare(*models[member]);
            comparison.compare({{*cluster.medoid, member}, medoid, moved});
        }
    }
}

}  // namespace tervolanda
