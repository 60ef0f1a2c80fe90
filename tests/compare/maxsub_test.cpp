#include "compare/maxsub.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "compare/comparing.h"
#include "compare/fit/tm_scale.h"
#include "compare/seed_search.h"

namespace tervolanda::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// The positions selected with a mean of at most `limit`.
std::vector<std::uint32_t> selectedByRmsd(const std::vector<double>& squared, double limit,
                                          const Kernels& kernels) {
    PairedPoints points;
    for (const double value : squared) {
        points.experiment.append(0.0, 0.0, 0.0);
        points.prediction.append(0.0, std::sqrt(value), 0.0);
    }
    SearchPairs pairs;
    pairs.place(points, kernels);
    const double perSquare = SearchPairs::kPerAngstrom * SearchPairs::kPerAngstrom;
    RmsdSelectionScratch scratch;
    PairMask mask;
    const std::uint32_t count = selectByRmsd(pairs, Motion{1, 0, 0, 0, 1, 0, 0, 0, 1},
                                             limit * perSquare, kernels, scratch, mask);
    std::vector<std::uint32_t> selected;
    for (std::uint32_t i = 0; i < 64 * mask.size(); ++i) {
        if ((mask[i / 64] >> (i % 64) & 1U) != 0) selected.push_back(i);
    }
    EXPECT_EQ(selected.size(), count);
    return selected;
}

TEST(SelectByRmsd, StopsAtTheFirstPairThatRaisesTheMeanTooFar) {
    for (const Kernels* kernels : runnableKernels()) {
        const auto select = [&](std::vector<double> squared, double limit) {
            return selectedByRmsd(std::move(squared), limit, *kernels);
        };
        // Ascending 1, 4, 7, 9: means 1, 2.5, 4, 5.25.
        EXPECT_THAT(select({9, 1, 7, 4}, 4.0 + 1e-9), ElementsAre(1, 2, 3));
        EXPECT_THAT(select({9, 1, 7, 4}, 3.99), ElementsAre(1, 3));
        EXPECT_THAT(select({9, 1, 7, 4}, 5.25 + 1e-9), ElementsAre(0, 1, 2, 3));
        EXPECT_THAT(select({9, 1, 7, 4}, 0.5), ElementsAre());
        EXPECT_THAT(select({1, 5, 5, 0}, 2.0 + 1e-9), ElementsAre(0, 1, 3));
        EXPECT_THAT(select({1, 5 + 1e-11, 5, 0}, 2.0 + 1e-9), ElementsAre(0, 1, 3));
    }
}

std::vector<std::uint32_t> lengthsOf(std::uint32_t pairs, int levels) {
    std::vector<std::uint32_t> lengths;
    seedLengths(pairs, levels, lengths);
    return lengths;
}

TEST(SeedLengths, HalveDownToFour) {
    EXPECT_THAT(lengthsOf(127, 2), ElementsAre(127, 63, 31, 4));
    EXPECT_THAT(lengthsOf(5, 2), ElementsAre(5, 4));
    EXPECT_THAT(lengthsOf(127, -1), ElementsAre(4));
    EXPECT_THAT(lengthsOf(16, 1000000), ElementsAre(16, 8, 4, 4));
}

TEST(DistanceScale, FollowsThePublishedFormula) {
    EXPECT_EQ(distanceScale(14, 1.0), 0.5);
    EXPECT_EQ(distanceScale(14, 9.0), 0.5);
    EXPECT_EQ(distanceScale(16, 1.0), 0.5);
    EXPECT_NEAR(distanceScale(140, 1.0), 1.24 * 5.0 - 1.8, 1e-4);
    EXPECT_NEAR(distanceScale(140, 2.0), 2.0 * distanceScale(140, 1.0), 1e-12);
    EXPECT_EQ(clampedDistanceScale(20, 1.0), 3.5);
    EXPECT_EQ(clampedDistanceScale(100000, 1.0), 8.0);
}

struct SearchCase {
    const char* name;
    void (*change)(ComparisonParameters&);
};

void PrintTo(const SearchCase& search, std::ostream* out) {
    *out << search.name;
}

class MaxSubSearch : public testing::TestWithParam<SearchCase> {};

// Chains that fit in parts: a walk, shaken more and more towards its end.
Chain partlyLike(const Chain& chain, std::uint32_t seed) {
    Chain prediction = chain;
    const Chain rough = shaken(chain, 0.5 + 0.3 * (seed % 20), seed);
    const Chain other = coil(chain.atoms.size(), seed + 77);
    const std::size_t turn = chain.atoms.size() * (seed % 7) / 9;
    for (std::size_t i = 0; i < chain.atoms.size(); ++i) {
        prediction.atoms[i] = i < turn ? other.atoms[i] : rough.atoms[i];
    }
    return moved(prediction);
}

// With three decimals, as files have them: sums of such coordinates are exact.
Chain asWritten(Chain chain) {
    for (Atom& atom : chain.atoms) {
        for (double* const value : {&atom.x, &atom.y, &atom.z})
            *value = std::round(*value * 1000.0) / 1000.0;
    }
    return chain;
}

// Holds a comparison against the literal search of the same mapped pairs.
void expectLiteralResult(const Compared& compared, const ComparisonParameters& parameters) {
    CapturedLog log;
    ResidueMapping mapping;
    mapByResidue(compared.experiment, compared.prediction, mapping, log.report);
    const LiteralResult expected = literalSearch(
        pairsOf(compared.experiment, compared.prediction, mapping.predictionPartner), parameters);
    const ComparisonResult& found = compared.result;
    EXPECT_NEAR(found.tm, expected.tm, 1e-9);
    EXPECT_NEAR(found.rmsd, expected.rmsd, 1e-7);
    EXPECT_NEAR(found.grmsd, expected.grmsd, 1e-7);
    EXPECT_NEAR(found.maxsub, expected.maxsub, 1e-9);
    std::vector<std::uint32_t> subset, foundSubset;
    for (std::size_t i = 0; i < mapping.size() && expected.maxsub > 0.0; ++i) {
        if (expected.subset[i]) subset.push_back(mapping.pairs[i].prediction);
    }
    for (const MatchedPair& pair : found.matched)
        foundSubset.push_back(pair.prediction);
    EXPECT_EQ(foundSubset, subset);
    EXPECT_EQ(found.pairs, subset.size());
}

void expectLiteralResultOnAllKernels(const Chain& experiment, const Chain& prediction,
                                     const ComparisonParameters& parameters) {
    const Compared plain = compare(experiment, prediction, parameters, 1, portableKernels());
    expectLiteralResult(plain, parameters);
    for (const Kernels* kernels : runnableKernels()) {
        const Compared found = compare(experiment, prediction, parameters, 1, *kernels);
        EXPECT_EQ(found.result.tm, plain.result.tm);
        EXPECT_EQ(found.result.maxsub, plain.result.maxsub);
        EXPECT_EQ(found.result.rmsd, plain.result.rmsd);
        EXPECT_EQ(found.result.grmsd, plain.result.grmsd);
        EXPECT_EQ(found.result.partners, plain.result.partners);
    }
}

// No rotation about the line is better than another: seeds on it need the general fit.
TEST(Search, FindsAStraightPartWhateverFollows) {
    constexpr std::uint32_t kStraight = 30;
    Chain experiment = coil(kStraight + 80, 1), prediction = coil(kStraight + 80, 2);
    for (std::uint32_t i = 0; i < kStraight; ++i) {
        experiment.atoms[i].x = prediction.atoms[i].x = 2.28 * i;
        experiment.atoms[i].y = prediction.atoms[i].y = 3.04 * i;
        experiment.atoms[i].z = prediction.atoms[i].z = 50.0;
    }
    const Compared found = compare(experiment, moved(prediction));
    EXPECT_GE(found.result.pairs, kStraight);
    EXPECT_LT(found.result.rmsd, 1.0);
}

// A chain of `n` residues and one like it in parts: some have gaps, some three decimals and some
// all.
void expectLiteralResult(std::uint32_t seed, std::size_t n,
                         const ComparisonParameters& parameters) {
    Chain experiment = coil(n, seed);
    Chain prediction = partlyLike(experiment, seed);
    const std::size_t gap = seed % 2 == 0 ? 0 : n / 3;
    if (seed % 3 == 1) prediction = withoutResidues(prediction, gap, gap + n / 9);
    if (seed % 2 == 1) {
        experiment = asWritten(experiment);
        prediction = asWritten(prediction);
    }
    SCOPED_TRACE(seed);
    expectLiteralResultOnAllKernels(experiment, prediction, parameters);
}

TEST_P(MaxSubSearch, AgreesWithTheLiteralOneOnAllKernels) {
    ComparisonParameters parameters = defaultParameters();
    GetParam().change(parameters);
    for (std::uint32_t seed = 0; seed < 60; ++seed)
        expectLiteralResult(seed, 5 + 3 * seed % 97, parameters);
}

INSTANTIATE_TEST_SUITE_P(
    , MaxSubSearch,
    testing::Values(
        SearchCase{"Default", [](ComparisonParameters&) {}},
        SearchCase{"ForTm", [](ComparisonParameters& p) { p.maximiseTM = true; }},
        SearchCase{"ByRmsd", [](ComparisonParameters& p) { p.maxRMSD = true; }},
        SearchCase{"ForTmByRmsd", [](ComparisonParameters& p) { p.maximiseTM = p.maxRMSD = true; }},
        SearchCase{"ForTmWithTinyCutoff",
                   [](ComparisonParameters& p) {
                       p.maximiseTM = true;
                       p.distanceCutoff = 0.1;
                   }},
        SearchCase{"NoPoorScores", [](ComparisonParameters& p) { p.scorePoor = false; }},
        SearchCase{"CutoffSeedsAndLength",
                   [](ComparisonParameters& p) {
                       p.distanceCutoff = 3.5;
                       p.seedLevels = 4;
                       p.normLength = 200;
                   }},
        SearchCase{"ShortSeedsAndScale",
                   [](ComparisonParameters& p) {
                       p.seedLevels = -1;
                       p.thresholdScale = 1.5;
                   }}),
    [](const auto& test) { return test.param.name; });

TEST(CompareMaxSub, OfIdenticalChainsIsCompleteAtOnce) {
    for (const std::size_t n : {5U, 14U, 60U}) {
        const Compared compared = compare(coil(n, 1), coil(n, 1));
        EXPECT_EQ(compared.result.maxsub, 1.0);
        EXPECT_EQ(compared.result.tm, 1.0);
        EXPECT_EQ(compared.result.rmsd, 0.0);
        EXPECT_EQ(compared.result.msi, 1.0);
        EXPECT_THAT(compared.lines, HasSubstr("Complete maxsub found\n"));
    }
    EXPECT_TRUE(compare(coil(4, 1), coil(4, 1)).result.iterations.empty());
}

TEST(CompareMaxSub, WithoutARotationFindsNoSubset) {
    Chain huge = helix(30);
    for (Atom& atom : huge.atoms)
        atom.x *= 1e250;
    const Compared none = compare(helix(30), huge, defaultParameters(), 4);
    EXPECT_THAT(none.lines, HasSubstr("Failed to find a subset!\n"));
    EXPECT_EQ(none.result.grmsd, 0.0);
}

TEST(CompareMaxSub, IsNotDrownedByOneAbsurdCoordinate) {
    Chain prediction = coil(60, 1);
    prediction.atoms[30].x = 1e150;
    const ComparisonResult result = compare(coil(60, 1), prediction).result;
    EXPECT_EQ(result.pairs, 59U);
    EXPECT_NEAR(result.rmsd, 0.0, 1e-6);
    EXPECT_NEAR(result.maxsub, 59.0 / 60.0, 1e-9);
}

TEST(CompareMaxSub, SuppressesPoorAlignmentsOnlyWhenAsked) {
    struct Case {
        std::size_t fitting, length;
        bool isPoor;  // up to 24 pairs, or below 40 with a score below 1/8
    };
    for (const Case& c : {Case{24, 60, true}, Case{25, 60, false}, Case{25, 200, false},
                          Case{25, 201, true}, Case{39, 313, true}, Case{40, 330, false}}) {
        SCOPED_TRACE(testing::Message() << c.fitting << " of " << c.length);
        const Chain experiment = coil(c.length, 1);
        Chain prediction = experiment;
        for (std::size_t i = c.fitting; i < c.length; ++i)
            prediction.atoms[i].x += 100.0 * static_cast<double>(i * i);
        ComparisonParameters parameters = defaultParameters();
        const ComparisonResult scored = compare(experiment, prediction, parameters).result;
        ASSERT_EQ(scored.pairs, c.fitting);
        parameters.scorePoor = false;
        const ComparisonResult result = compare(experiment, prediction, parameters).result;
        EXPECT_EQ(result.maxsub, c.isPoor ? 0.0 : scored.maxsub);
        EXPECT_EQ(result.pairs, c.isPoor ? 0 : c.fitting);
        EXPECT_EQ(result.iterations.empty(), c.isPoor);
        EXPECT_EQ(result.tm, scored.tm);
        EXPECT_EQ(result.rmsd, scored.rmsd);
    }
}

// The structures of a folder in the order of their names.
std::vector<Chain> structuresIn(const std::filesystem::path& folder) {
    CapturedLog log;
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const auto extension = entry.path().extension();
        if (extension == ".pdb" || extension == ".gz") paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    std::vector<Chain> chains;
    for (const auto& path : paths) {
        auto chain = readChain(path.string(), ReadRequest{}, {}, log.log);
        EXPECT_TRUE(chain) << path;
        if (chain) chains.push_back(std::move(*chain));
    }
    return chains;
}

TEST(CompareMaxSub, OfRealDecoysIsWhatPlainMethodsFind) {
    TERVOLANDA_NEED_REAL_STRUCTURES(data);
    std::size_t compared = 0;
    for (const char* set : {"decoys-easy", "decoys-hard/1ctf", "decoys-hard/T0865"}) {
        const std::vector<Chain> chains = structuresIn(data / set);
        const auto native = std::find_if(chains.begin(), chains.end(), [](const Chain& chain) {
            return chain.fileName.ends_with("native.pdb");
        });
        ASSERT_NE(native, chains.end());
        for (const Chain& model : chains) {
            SCOPED_TRACE(model.fileName);
            expectLiteralResult(compare(*native, model), defaultParameters());
            ++compared;
        }
    }
    EXPECT_EQ(compared, 113U);
}

// Some 21,000 comparisons, a minute or two: run them with --gtest_also_run_disabled_tests after any
// change to the search.
TEST_P(MaxSubSearch, DISABLED_AgreesWithTheLiteralOneOnAllPairsOfRealModels) {
    TERVOLANDA_NEED_REAL_STRUCTURES(data);
    ComparisonParameters parameters = defaultParameters();
    GetParam().change(parameters);
    for (const char* set :
         {"decoys-easy", "decoys-hard/1ctf", "decoys-hard/T0865", "ensemble/models"}) {
        const std::vector<Chain> chains = structuresIn(data / set);
        for (const Chain& experiment : chains) {
            for (const Chain* prediction = chains.data(); prediction != &experiment; ++prediction) {
                SCOPED_TRACE(experiment.fileName + " " + prediction->fileName);
                expectLiteralResultOnAllKernels(experiment, *prediction, parameters);
            }
        }
    }
}

// 2,900 comparisons in every setting: all cut-offs and seed levels, of 20 to 1,000 residues, most
// of them few.
TEST_P(MaxSubSearch, DISABLED_AgreesWithTheLiteralOneOnChainsOfEveryLength) {
    for (std::uint32_t seed = 0; seed < 2900; ++seed) {
        ComparisonParameters parameters = defaultParameters();
        parameters.seedLevels = static_cast<int>(seed % 5);
        parameters.distanceCutoff = seed % 9;  // 0 calibrates it
        GetParam().change(parameters);
        const std::size_t n = seed % 290 == 0 ? 1000 : seed % 29 == 0 ? 300 : 20 + seed % 131;
        expectLiteralResult(seed, n, parameters);
    }
}

}  // namespace
}  // namespace tervolanda::test
