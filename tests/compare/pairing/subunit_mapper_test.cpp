// Chains of complexes by sequence and place, against every order that there is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "compare/compare.h"
#include "compare/comparing.h"
#include "support/support.h"

namespace tervolanda {
namespace {

// A motion by three random angles and a shift of up to `reach` Å along each axis.
Superposition randomMotion(std::mt19937& random, double reach) {
    const auto number = [&random](double most) {
        return most * (2.0 * static_cast<double>(random()) / 4294967295.0 - 1.0);
    };
    const double a = number(3.1), b = number(3.1), c = number(3.1);
    Superposition motion;
    motion.rotation = {std::cos(a) * std::cos(b),
                       std::cos(a) * std::sin(b) * std::sin(c) - std::sin(a) * std::cos(c),
                       std::cos(a) * std::sin(b) * std::cos(c) + std::sin(a) * std::sin(c),
                       std::sin(a) * std::cos(b),
                       std::sin(a) * std::sin(b) * std::sin(c) + std::cos(a) * std::cos(c),
                       std::sin(a) * std::sin(b) * std::cos(c) - std::cos(a) * std::sin(c),
                       -std::sin(b),
                       std::cos(b) * std::sin(c),
                       std::cos(b) * std::cos(c)};
    for (double& shift : motion.experimentCentre)
        shift = number(reach);
    return motion;
}

Chain complexOf(std::vector<Chain> chains, const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < chains.size(); ++i)
        chains[i].name = names[i];
    return joinChains(std::move(chains));
}

ComparisonResult comparedComplexes(const Chain& experiment, const Chain& prediction,
                                   bool mapsChains) {
    ComparisonParameters parameters = test::defaultParameters();
    parameters.mapChains = mapsChains;
    for (const Measure measure : {Measure::Lddt, Measure::GdtTs})
        if (mapsChains) parameters.measures.wanted.add(measure);
    return test::compare(experiment, prediction, parameters, 0).result;
}

// Copies of a chain, each shaken and anywhere; and in the prediction all of them shaken once more
// and moved as one, with `astray` the first of them elsewhere.
struct Copies {
    std::vector<Chain> experiment, prediction;

    Copies(std::size_t count, bool astray, std::mt19937& random) {
        const auto number = [&random] { return static_cast<std::uint32_t>(random()); };
        const Chain chain = test::coil(30, number() % 1000);
        const Superposition whole = randomMotion(random, 50.0);
        for (std::size_t i = 0; i < count; ++i) {
            Chain copy = test::shaken(chain, 0.5, number());
            applySuperposition(randomMotion(random, 30.0), copy);
            experiment.push_back(copy);
            copy = test::shaken(copy, 1.5, number());
            if (astray && i == 0) applySuperposition(randomMotion(random, 30.0), copy);
            applySuperposition(whole, copy);
            prediction.push_back(copy);
        }
        std::shuffle(prediction.begin(), prediction.end(), random);
    }
};

const std::vector<std::string> kNames = {"A", "B", "C", "D", "E", "F"};

TEST(SubunitMapper, FindsTheBestOfAllOrders) {
    std::mt19937 random(5);
    for (int round = 0; round < 40; ++round) {
        const std::size_t count = 2 + random() % 4;
        const Copies copies(count, count > 2 && round % 2 == 1, random);
        const Chain experiment = complexOf(copies.experiment, kNames);
        std::vector<std::string> order = kNames;
        order.resize(count);
        double best = 0.0;
        do {
            const Chain named = complexOf(copies.prediction, order);
            best = std::max(best, comparedComplexes(experiment, named, false).tm);
        } while (std::next_permutation(order.begin(), order.end()));
        const Chain prediction = complexOf(copies.prediction, kNames);
        EXPECT_GE(comparedComplexes(experiment, prediction, true).tm, best - 1e-9) << round;
    }
}

// Beyond six copies nearness decides.
TEST(SubunitMapper, ScoresTheSameToTheLastBitWhateverChainsAreCalled) {
    std::mt19937 random(6);
    for (const std::size_t count : {4U, 6U, 9U}) {
        Copies copies(count, false, random);
        std::vector<std::string> names = {"A", "B", "C", "D", "E", "F", "G", "H", "long"};
        const ComparisonResult first =
            comparedComplexes(complexOf(copies.experiment, names),
                              complexOf(copies.prediction, names), /*mapsChains=*/true);
        EXPECT_GT(first.tm, 0.7);
        std::shuffle(copies.experiment.begin(), copies.experiment.end(), random);
        std::shuffle(copies.prediction.begin(), copies.prediction.end(), random);
        const Chain experiment = complexOf(copies.experiment, names);
        std::shuffle(names.begin(), names.end(), random);
        const ComparisonResult again =
            comparedComplexes(experiment, complexOf(copies.prediction, names), true);
        EXPECT_EQ(again.tm, first.tm);
        EXPECT_EQ(again.maxsub, first.maxsub);
        EXPECT_EQ(again.rmsd, first.rmsd);
        EXPECT_EQ(again.pairs, first.pairs);
        EXPECT_EQ(again.measures.values, first.measures.values);
    }
}

// The chain with a sequence, repeated as often as it takes, and numbered from `shift`.
Chain sequenced(Chain chain, std::string_view sequence, std::size_t shift) {
    for (std::size_t i = 0; i < chain.atoms.size(); ++i) {
        chain.atoms[i].residueName = FixedText<3>(*threeLetterName(sequence[i % sequence.size()]));
        chain.atoms[i].residueNumber = static_cast<std::int16_t>(i + shift);
    }
    return chain;
}

// The chain but for one of its residues.
Chain without(Chain chain, std::ptrdiff_t residue) {
    chain.atoms.erase(chain.atoms.begin() + residue);
    test::CapturedLog quiet;
    buildResidues(chain, quiet.log);
    return chain;
}

// Chains of two sequences, one of which the prediction has with another residue and the other
// twice; numbered otherwise, so that only the sequences say who is who.
TEST(SubunitMapper, TellsChainsBySequence) {
    std::mt19937 random(7);
    const Chain one = test::coil(30, 1), other = test::coil(25, 2);
    Chain away = other;
    applySuperposition(randomMotion(random, 40.0), away);
    const Chain experiment =
        complexOf({sequenced(one, "MKVLAEGHI", 0), sequenced(other, "WRTYPSDFQ", 0)}, {"A", "B"});
    const Chain prediction =
        complexOf({sequenced(away, "WRTYPSDFQ", 70), sequenced(other, "WRTYPSDFN", 50),
                   sequenced(one, "MKVLAEGHI", 20)},
                  {"A", "B", "C"});
    ComparisonParameters parameters = test::defaultParameters();
    parameters.mapChains = parameters.pairBySequence = true;
    const auto found = test::compare(experiment, prediction, parameters, 3);
    EXPECT_THAT(found.lines, testing::HasSubstr("Chains: B on B, C on A\nSequences: Pairs=  55"));
    EXPECT_DOUBLE_EQ(found.result.tm, 1.0);
}

// In the prediction each chain has the place of the other, so that places alone would pair them
// wrongly, and a residue more than the experiment.  Of five residues two are the same; one, as
// chance has it, says nothing, and chains pair by name.
TEST(SubunitMapper, TellsChainsByEqualResiduesOfEqualNumber) {
    const Chain one = test::coil(31, 1);
    Chain other = test::coil(31, 2);
    for (Atom& atom : other.atoms)
        atom.x += 40.0;
    const Chain experiment = complexOf(
        {without(sequenced(one, "MKVLA", 1), 7), without(sequenced(other, "WRTYP", 1), 7)},
        {"A", "B"});
    ComparisonParameters parameters = test::defaultParameters();
    parameters.mapChains = true;
    const auto chains = [&](std::string_view first, std::string_view second) {
        const Chain prediction =
            complexOf({sequenced(one, first, 1), sequenced(other, second, 1)}, {"A", "B"});
        return test::compare(experiment, prediction, parameters, 3).lines;
    };
    EXPECT_THAT(chains("WRGGG", "MKGGG"), testing::HasSubstr("Chains: A on B, B on A\n"));
    EXPECT_THAT(chains("WGGGG", "MGGGG"), testing::HasSubstr("Chains: A on A, B on B\n"));
}

// Three residues are enough for a superposition; and by sequence the chains of the experiment may
// lack one in the middle and one at the end.
TEST(SubunitMapper, MapsShortCopiesOfAChain) {
    std::mt19937 random(8);
    for (const std::size_t length : {3U, 12U}) {
        std::vector<Chain> chains(3, sequenced(test::coil(length, 1), "MKVLAEGHIWRT", 1));
        for (Chain& chain : chains)
            applySuperposition(randomMotion(random, 20.0), chain);
        std::vector<Chain> lacking = chains;
        for (Chain& chain : lacking) {
            if (length > 3) chain = without(without(chain, 11), 1);
        }
        const Chain experiment = complexOf(lacking, kNames);
        std::swap(chains[0], chains[2]);
        ComparisonParameters parameters = test::defaultParameters();
        parameters.mapChains = parameters.pairBySequence = true;
        const Chain prediction = complexOf(chains, kNames);
        EXPECT_DOUBLE_EQ(test::compare(experiment, prediction, parameters, 0).result.tm, 1.0);
    }
}

}  // namespace
}  // namespace tervolanda
