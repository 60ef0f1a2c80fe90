#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

ComparisonParameters byStructure() {
    ComparisonParameters parameters = defaultParameters();
    parameters.sequenceIndependent = true;
    parameters.optimisations = 20;
    return parameters;
}

// Mapped prediction records whose partner is `expected(record)`.
template <typename Expected>
std::size_t countMapped(const ComparisonResult& result, const Expected& expected) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < result.partners.size(); ++i) {
        if (result.partners[i] == static_cast<std::int32_t>(expected(i))) ++count;
    }
    return count;
}

TEST(SequenceIndependent, PairsEveryResidueOfAnIdenticalChainWithItselfAtOnce) {
    for (const Chain& chain : {coil(80, 2), coil(8, 1)}) {
        const Compared same = compare(chain, renumbered(moved(chain), 900, -1), byStructure());
        const std::size_t n = chain.residues.size();
        EXPECT_EQ(countMapped(same.result, [](std::size_t i) { return i; }), n);
        EXPECT_NEAR(same.result.tm, 1.0, 1e-9);
        EXPECT_THAT(same.lines,
                    AllOf(HasSubstr("Iter 1: Initial mapping " + std::to_string(n) + " residues\n"),
                          HasSubstr("Opt  1: Mapped " + std::to_string(n) + " residues\n"),
                          HasSubstr("Opt  1: Mapping has converged\n"), Not(HasSubstr("Opt  2"))));
    }
}

TEST(SequenceIndependent, FindsInsertionsAndDeletions) {
    const Chain chain = coil(120, 4);
    // Without residues 50 to 59 in the prediction, and 90 to 94 in the experiment.
    const Chain prediction = renumbered(moved(withoutResidues(chain, 50, 60)), 1, 1);
    const Chain experiment = renumbered(withoutResidues(chain, 90, 95), 500, 2);
    const Compared compared = compare(experiment, prediction, byStructure());
    const auto truth = [](std::size_t i) {
        const int original = static_cast<int>(i) + (i < 50 ? 0 : 10);
        if (original >= 90 && original < 95) return -1;
        return original - (original < 95 ? 0 : 5);
    };
    EXPECT_EQ(countMapped(compared.result, truth), 110U);
    EXPECT_EQ(compared.result.mapped, 105U);
    EXPECT_NEAR(compared.result.rmsd, 0.0, 1e-9);
    // By number nothing matches.
    ComparisonParameters byNumber = defaultParameters();
    EXPECT_EQ(compare(experiment, prediction, byNumber).result.pairs, 0U);
    // One pass has no re-alignment.
    ComparisonParameters once = byStructure();
    once.optimisations = 1;
    EXPECT_THAT(compare(experiment, prediction, once).lines, Not(HasSubstr("similarity matrix")));
    // Gaps that cost more than they gain leave one piece.
    ComparisonParameters dear = byStructure();
    dear.gapOpen = -1000.0;
    EXPECT_LT(compare(experiment, prediction, dear).result.mapped, 75U);
}

TEST(SequenceIndependent, NeedsSevenUnitVectors) {
    const Compared seven = compare(coil(7, 1), coil(30, 1), byStructure(), 5);
    EXPECT_EQ(seven.result.pairs, 0U);
    EXPECT_THAT(seven.lines,
                HasSubstr("Not enough unit vectors for sequence independant alignment (29 vs 6)\n"
                          "Iter 1: Initial mapping 0 residues\n"));
    EXPECT_THAT(compare(Chain{}, coil(30, 1), byStructure(), 5).lines, HasSubstr("(29 vs 0)\n"));
}

TEST(Remapping, CorrectsNumbersThatAreShifted) {
    const Chain chain = coil(100, 9);
    const Chain shifted = renumbered(moved(chain), 2, 1);
    ComparisonParameters parameters = defaultParameters();
    EXPECT_LT(compare(chain, shifted, parameters).result.tm, 0.9);
    parameters.optimisations = 20;
    const Compared remapped = compare(chain, shifted, parameters);
    EXPECT_EQ(countMapped(remapped.result, [](std::size_t i) { return i; }), 100U);
    EXPECT_NEAR(remapped.result.tm, 1.0, 1e-9);
    EXPECT_THAT(remapped.lines, Not(HasSubstr("Initial mapping")));
    // d0(100) and the reach at 100 residues, by hand.
    EXPECT_THAT(remapped.lines,
                HasSubstr("Opt  1: Generating similarity matrix using d0 = 3.65 : dmax = 9.47\n"));
}

// Passes may go round in a circle of mappings.  That ends after a hundred passes, with what a
// hundred of them find.
TEST(Remapping, EndsWhenMappingsGoRoundInACircle) {
    int circles = 0;
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        const Chain experiment = coil(80, seed);
        const Chain prediction = coil(10 + 10 * (seed % 3), 1000 + seed);
        ComparisonParameters parameters = defaultParameters();
        parameters.maximiseTM = seed % 2 == 0;
        parameters.optimisations = 100;
        const Compared hundred = compare(experiment, prediction, parameters, 5);
        if (hundred.lines.find("Opt  100: Pairs") == std::string::npos) continue;
        ++circles;
        parameters.optimisations = std::numeric_limits<int>::max();
        const Compared endless = compare(experiment, prediction, parameters, 5);
        EXPECT_THAT(endless.lines,
                    AllOf(HasSubstr("Opt  101: Pairs"), Not(HasSubstr("Opt  201:"))));
        EXPECT_EQ(endless.result.partners, hundred.result.partners);
        EXPECT_EQ(endless.result.tm, hundred.result.tm);
        EXPECT_EQ(endless.result.pairs, hundred.result.pairs);
    }
    EXPECT_GE(circles, 3);
}

Chain realChain(const std::filesystem::path& file, int first = -999, int last = 9999) {
    Log log;
    auto chain = readChain(file, {}, {}, log);
    EXPECT_TRUE(chain.has_value());
    std::erase_if(chain->atoms, [&](const Atom& atom) {
        return atom.residueNumber < first || atom.residueNumber > last;
    });
    buildResidues(*chain, log);
    return *chain;
}

TEST(SequenceIndependent, ReachesTheScoresOfTMalignOnRealChains) {
    TERVOLANDA_NEED_REAL_STRUCTURES(data);
    // TMalign 20190822, normalised by the length of the first chain.
    struct Known {
        const char* first;
        const char* second;
        double tm;
    };
    for (const Known& known :
         {Known{"ldh_1a5z_A", "ldh_1b8p_A", 0.87631}, Known{"ldh_1a5z_A", "ldh_1civ_A", 0.86303},
          Known{"ldh_1a5z_A", "ldh_1hyh_C", 0.87774}, Known{"ldh_1a5z_A", "ldh_1i10_A", 0.90485}}) {
        const auto fileOf = [&](const char* name) {
            return data / "families" / (std::string(name) + ".pdb.gz");
        };
        const Compared compared =
            compare(realChain(fileOf(known.first)), realChain(fileOf(known.second)), byStructure());
        EXPECT_GT(compared.result.tm, known.tm - 0.02) << known.first << " " << known.second;
    }
    // What a start promises is not what comes of it: each of these ended lower than the pairing by
    // shape when the start was chosen beforehand (0.488, 0.293, 0.192, 0.395, no subset at all).
    struct Start {
        const char* experiment;
        const char* prediction;
        double byShape;
    };
    for (const Start& start :
         {Start{"decoys-hard/T0865/native.pdb", "decoys-hard/T0865/slbio_TS4.pdb", 0.521},
          Start{"decoys-hard/T0865/native.pdb", "decoys-hard/T0865/RaptorX-Contact_TS5.pdb", 0.311},
          Start{"decoys-hard/1ctf/native.pdb", "decoys-hard/1ctf/1ctf.c13325_r.pdb", 0.242},
          Start{"starts/piece-e.pdb", "starts/piece-p.pdb", 0.543},
          Start{"starts/none-e.pdb", "starts/none-p.pdb", 0.137}}) {
        for (const int level : {1, 6}) {  // with nothing to report the passes are not made again
            const Compared compared =
                compare(realChain(data / start.experiment), realChain(data / start.prediction),
                        byStructure(), level);
            EXPECT_GT(compared.result.tm, start.byShape - 0.002) << start.prediction;
            EXPECT_EQ(compared.result.iterations.size(), 1U) << start.prediction;
        }
    }
    // Overlapping pieces of a protein that is nearly all helix, where shapes alone mislead.
    const auto rotatin = data / "large" / "AF-Q86VV8-F1-model_v3.pdb.gz";
    const Compared pieces =
        compare(realChain(rotatin, 2101, 2226), realChain(rotatin, 1951, 2170), byStructure());
    EXPECT_GT(pieces.result.tm, 0.6);  // TMalign: 0.694
}

}  // namespace
}  // namespace tervolanda::test
