// What holds of every comparison and every clustering, whatever the chains are.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "cluster/batch/batch.h"
#include "cluster/matrices.h"
#include "support/support.h"

namespace tervolanda {
namespace {

ComparisonResult maxSubOf(const Chain& experiment, const Chain& prediction,
                          const ComparisonParameters& parameters) {
    test::CapturedLog captured(1, 0);
    const auto set = [&](const Chain& chain) {
        return prepareChain(chain, AtomSelection::Calpha, parameters, captured.report);
    };
    ComparisonWorkspace workspace;
    ComparisonResult result;
    compareMaxSub(set(experiment), set(prediction), parameters, workspace, captured.report, result);
    return result;
}

// The scores of a comparison; the angles and distances between them are those of the chains alone.
std::vector<double> scoresOf(const Chain& experiment, const Chain& prediction) {
    test::CapturedLog captured(1, 0);
    std::vector<double> scores;
    ComparisonParameters parameters;
    for (const bool byStructure : {false, true}) {
        parameters.iterations = byStructure ? 1 : 2;
        parameters.sequenceIndependent = byStructure;
        const ComparisonResult result = maxSubOf(experiment, prediction, parameters);
        scores.insert(scores.end(), {result.tm, result.maxsub, result.msi, result.rmsd,
                                     result.grmsd, static_cast<double>(result.pairs)});
    }
    const ChainList both{{prediction, experiment}};
    const PreparedList prepared(both, AtomSelection::Calpha, {}, captured.report);
    const RmsdBatch fit = compareAllRmsd(prepared, {}, captured.log, captured.report);
    const GdtBatch gdt = compareAllGdt(prepared, {}, captured.log, captured.report);
    for (const float value : {fit.rmsd.at(1, 0), fit.urmsd.at(1, 0), gdt.gdt.at(1, 0)})
        scores.push_back(static_cast<double>(value));
    scores.push_back(nativeContacts(experiment, prediction, 9.0, 3).percentage());
    return scores;
}

// A chain shaken, its last third in another place: two domains.
Chain modelOf(const Chain& chain, std::uint32_t seed) {
    Chain model = test::shaken(chain, 0.4 + 0.1 * (seed % 9), seed);
    const Chain elsewhere = test::moved(model);
    const auto third = static_cast<std::ptrdiff_t>(model.atoms.size() / 3);
    std::copy(elsewhere.atoms.end() - third, elsewhere.atoms.end(), model.atoms.end() - third);
    return model;
}

TEST(Scores, AreThoseOfTheChainsWhereverTheyLieAndInAMirror) {
    const auto mirrored = [](Chain chain) {
        for (Atom& atom : chain.atoms)
            atom.z = -atom.z;
        return chain;
    };
    for (std::uint32_t seed = 0; seed < 20; ++seed) {
        const Chain experiment = test::coil(50 + seed, seed);
        const Chain prediction = modelOf(experiment, seed);
        const std::vector<double> here = scoresOf(experiment, prediction);
        const std::vector<double> there = scoresOf(experiment, test::moved(prediction));
        const std::vector<double> both = scoresOf(test::moved(experiment), test::moved(prediction));
        const std::vector<double> mirror = scoresOf(mirrored(experiment), mirrored(prediction));
        for (std::size_t k = 0; k < here.size(); ++k) {
            SCOPED_TRACE(testing::Message() << "score " << k << " of seed " << seed);
            EXPECT_NEAR(here[k], there[k], 1e-5);
            EXPECT_NEAR(here[k], both[k], 1e-5);
            EXPECT_NEAR(here[k], mirror[k], 1e-5);
        }
    }
}

TEST(Subsets, LieWithinTheCutoffOfTheSuperpositionThatIsReported) {
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        ComparisonParameters parameters;
        parameters.iterations = 3;
        parameters.maximiseTM = seed % 3 == 1;
        parameters.sequenceIndependent = seed % 3 == 2;
        parameters.distanceCutoff = seed % 2 == 0 ? 0.0 : 1.0 + seed % 5;
        const Chain experiment = test::coil(30 + seed, seed);
        const Chain prediction = test::moved(modelOf(experiment, seed));
        const ComparisonResult result = maxSubOf(experiment, prediction, parameters);
        std::vector<std::uint32_t> pairs(result.iterations.size());
        for (const MatchedPair& pair : result.matched) {
            const DomainIteration& domain = result.iterations.at(pair.iteration);
            const Atom& p = prediction.atoms.at(pair.prediction);
            const Atom& e = experiment.atoms.at(pair.experiment);
            const auto place = domain.superposition.apply(p.x, p.y, p.z);
            EXPECT_LT(std::hypot(place[0] - e.x, place[1] - e.y, place[2] - e.z),
                      domain.distanceCutoff);
            ++pairs[pair.iteration];
        }
        for (std::size_t i = 0; i < pairs.size(); ++i)
            EXPECT_EQ(result.iterations[i].pairs, pairs[i]) << seed;
    }
}

// Values by model position as they are for the list in another order.
template <typename T>
Matrix<T> reordered(const Matrix<T>& matrix, const std::vector<std::size_t>& order) {
    Matrix<T> result(order.size(), order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        for (std::size_t j = 0; j < order.size(); ++j)
            result.at(i, j) = matrix.at(order[i], order[j]);
    }
    return result;
}

std::vector<std::size_t> shuffled(std::size_t n, std::uint32_t seed) {
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937 engine(seed);
    for (std::size_t i = n; i > 1; --i)
        std::swap(order[i - 1], order[engine() % i]);
    return order;
}

TEST(Lists, InAnotherOrderGiveTheSameDistances) {
    std::vector<Chain> models;
    for (std::uint32_t seed = 0; seed < 6; ++seed)
        models.push_back(test::moved(modelOf(test::coil(40, 7), seed)));
    const std::vector<std::size_t> order = shuffled(models.size(), 5);
    ChainList other;
    for (const std::size_t model : order)
        other.chains.push_back(models[model]);
    test::CapturedLog captured(1, 0);
    const auto batchOf = [&captured](const ChainList& list) {
        const PreparedList prepared(list, AtomSelection::Calpha, {}, captured.report);
        return compareAllRmsd(prepared, {}, captured.log, captured.report);
    };
    const RmsdBatch first = batchOf({models});
    const RmsdBatch second = batchOf(other);
    // Where the order of two models is another, so is the side that is moved.
    for (const auto& [a, b] :
         {std::pair(&first.rmsd, &second.rmsd), {&first.urmsd, &second.urmsd}}) {
        const DistanceMatrix expected = reordered(*a, order);
        for (std::size_t k = 0; k < expected.values().size(); ++k)
            EXPECT_NEAR(b->values()[k], expected.values()[k], 1e-6F);
    }
    const PairMatrix pairs = reordered(first.pairs, order);
    EXPECT_TRUE(
        std::equal(pairs.values().begin(), pairs.values().end(), second.pairs.values().begin()));
}

TEST(Lists, InAnotherOrderHaveTheSameClustersAndJuryScores) {
    // Nearest-neighbour clustering is not here: models with as many neighbours are taken in order.
    constexpr std::size_t kModels = 40;
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        DistanceMatrix matrix = test::randomMatrix(kModels, seed);  // no ties
        for (std::size_t i = 0; i < kModels; ++i) {
            for (std::size_t j = 0; j < i; ++j)
                matrix.at(j, i) = matrix.at(i, j);
        }
        const std::vector<std::size_t> order = shuffled(kModels, seed);
        const auto clustersOf = [seed](DistanceMatrix distances) {
            ClusterSettings settings = test::searching(1.0, 6.0, 0.01, 8);
            settings.method = static_cast<ClusterMethod>(seed % 3);
            return clusterModels(distances, settings)->clusters;
        };
        const ClusterAssignment first = clustersOf(matrix);
        const ClusterAssignment second = clustersOf(reordered(matrix, order));
        EXPECT_EQ(first.count, second.count);
        PairMatrix pairs(kModels, kModels);
        for (std::size_t k = 0; k < pairs.values().size(); ++k)
            pairs.values()[k] = static_cast<std::uint32_t>(k * k % 101);
        std::vector<std::uint32_t> juryScores(kModels);
        for (const JuryScore& entry : rankByJury(matrix, pairs, 3.0, 20))
            juryScores[entry.model] = entry.score;
        for (const JuryScore& entry :
             rankByJury(reordered(matrix, order), reordered(pairs, order), 3.0, 20))
            EXPECT_EQ(entry.score, juryScores[order[entry.model]]);
        for (std::size_t i = 0; i < kModels; ++i) {
            EXPECT_LT(second.cluster[i], second.count);
            for (std::size_t j = 0; j < i; ++j)
                EXPECT_EQ(first.cluster[order[i]] == first.cluster[order[j]],
                          second.cluster[i] == second.cluster[j])
                    << seed;
        }
    }
}

}  // namespace
}  // namespace tervolanda
