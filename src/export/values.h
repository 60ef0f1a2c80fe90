// From what comparisons and clusterings return to the values that files of results take: whoever
// runs comparisons, the program or a caller of the library, fills results.h by these.
//
// What a run did not compute stays empty; nothing here compares or clusters.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "base/stop.h"
#include "cluster/batch/batch.h"
#include "cluster/cluster.h"
#include "compare/compare.h"
#include "compare/pairing/pairing_keys.h"
#include "export/export.h"
#include "export/results.h"

namespace tervolanda {

// What is shown of a structure that was read: path, chain, length, mean B-factor.  ID and checksum
// are the caller's to fill in.
InputStructure inputOf(const Chain& chain);

// --- Pairs ---------------------------------------------------------------------------------------

// How the pairs of a run become values.
struct PairForm {
    const ComparisonParameters& parameters;  // lent
    bool hasUrmsd = true;                    // the run computes it
    std::optional<ScoreKind> matrixScore{};  // of a batch of all pairs: what its matrix holds
    PairDetail detail = PairDetail::Figures;
};

// Each fills in all but the positions among the inputs.
void fillPair(const ComparedPair& pair, const ComparisonResult& found, const PairForm& form,
              PairResult& result);
void fillPair(const ComparedPair& pair, const GdtResult& found, const ComparisonResult& search,
              const PairForm& form, PairResult& result);
void fillPair(const ComparedPair& pair, const ListedRmsd& found,
              std::span<const MatchedPair> matched, const PairForm& form, PairResult& result);

// What pairing found of the pair, by sequence or of complexes: identity, coverage, chains that
// belong together.  The outcome of a comparison has the pairs that it ended with, which -opt may
// have changed, and parts of blocks do not have those of chains; so the pairing is made once more.
// Without kernels by the fastest of this processor.
void fillPairing(const ComparedPair& pair, const PairingRules& rules, PairingKeys& keys,
                 PairResult& result, const Kernels* kernels = nullptr);

// What models are ranked by, of a pair that was compared; empty where nothing was found.
std::optional<double> scoreOf(const PairResult& pair, ScoreKind kind);
// Whether a pair is better than another: any score is better than none, and of equal ones neither
// is.
bool isBetter(const PairResult& pair, const PairResult& other, ScoreKind kind);

// --- Models --------------------------------------------------------------------------------------

// The models of a list by their scores against the experiment, one each, best first: a missing
// similarity counts as 0 and a missing distance as infinite, what is not a number comes last, and
// equal ones keep list order.  The exact values are compared: a tolerance would make the order
// depend on the sort.
std::vector<RankedModel> rankedByScore(std::span<const std::optional<double>> scores,
                                       MatrixValues values);

// The models of a matrix, best first: by the 3D-Jury, or without one by their mean score.  A flag
// that is set ends this and the next, for callers of the library.
std::vector<RankedModel> rankedModels(const DistanceMatrix& scores, MatrixValues values,
                                      std::span<const JuryScore> jury,
                                      const StopFlag* stop = nullptr);

// Of a matrix of scores, N x N, as its upper half has them; none where no pair has one.
std::optional<SetFigures> setFigures(const DistanceMatrix& scores, MatrixValues values,
                                     const StopFlag* stop = nullptr);

// How many clusters the tree gives if it is cut at each of 20 distances, evenly up to that of its
// last join; nothing without a tree, and for one in which nothing is apart.
std::vector<ThresholdTrial> clustersByThreshold(const Clustering& clustering);

// Tells each model its cluster, from 1 as the tables number them, and whether it stands for it.
void addClusters(const Clustering& clustering, std::vector<RankedModel>& ranking);

}  // namespace tervolanda
