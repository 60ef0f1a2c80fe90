// What leaves the program and is not read back by it: a file of this room for each form.  Nothing
// here computes: everything shown is in the values handed over.
#pragma once

#include <cstdint>
#include <span>

#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/pairing/similarity.h"

namespace tervolanda {

class Log;

// The models behind the positions of a matrix, lent.
struct ModelLabels {
    std::span<const std::uint32_t> ids;  // one a position
    // Chains whose file names are shown, found by their numbers; an ID without a chain has an empty
    // name.  Without a list lines have their short forms, without names.
    const ChainList* chains = nullptr;
};

// The heading of the method; by linkage the tree, the clusters and their medoids; by neighbours the
// centroids and the clusters.  At log level 3 the thresholds tried, too.
void printClustering(const Clustering& clustering, const ModelLabels& models, Log& log);
// Nobody reads more of the thresholds.
inline constexpr std::size_t kMostPrintedThresholds = 10000;

// The 3D-Jury table.  The thresholds are those of the ranking, as they were asked for; `chains`
// holds the models by position.
struct JuryThresholds {
    double score = 0.0;
    int pairs = 0;
};
void printJuryTable(std::span<const JuryScore> ranking, const JuryThresholds& thresholds,
                    const ChainList& chains, Log& log);

// Each similarity matrix as "align.matrix.<iteration>.<pass>" in the working folder, where every
// comparison writes over the files of those before.  After a file that cannot be written there are
// no others: one that cannot be opened is a line at report level 5, one that cannot be written to
// its end an ERROR.
class SimilarityMatrixFiles final : public SimilaritySink {
 public:
    explicit SimilarityMatrixFiles(Log& log) : log_(log) {}
    void take(const SimilarityMatrix& matrix, Report& report) override;

 private:
    Log& log_;
    bool hasFailed_ = false;
};

}  // namespace tervolanda
