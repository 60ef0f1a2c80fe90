#include "compare/pairing/mapping.h"

#include <gtest/gtest.h>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

// A chain whose residues carry these numbers and a blank or the given insertion codes.
Chain numbered(const std::vector<int>& numbers, const std::string& codes = "") {
    Chain chain = coil(numbers.size(), 1);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        chain.atoms[i].residueNumber = static_cast<std::int16_t>(numbers[i]);
        if (!codes.empty()) chain.atoms[i].insertionCode = codes[i];
    }
    CapturedLog log;
    buildResidues(chain, log.log);
    return chain;
}

// Partners by the rule as it is stated: each prediction record takes the last experiment record
// that is free and has its number and code.
std::vector<std::int32_t> partnersByRule(const Chain& experiment, const Chain& prediction) {
    std::vector<bool> taken(experiment.atoms.size());
    std::vector<std::int32_t> partners;
    for (const Atom& p : prediction.atoms) {
        partners.push_back(-1);
        for (std::size_t j = experiment.atoms.size(); j-- > 0;) {
            const Atom& e = experiment.atoms[j];
            if (taken[j] || e.residueNumber != p.residueNumber ||
                e.insertionCode != p.insertionCode) {
                continue;
            }
            taken[j] = true;
            partners.back() = static_cast<std::int32_t>(j);
            break;
        }
    }
    return partners;
}

TEST(MapByResidue, PairsByNumberAndInsertionCode) {
    struct Case {
        const char* name;
        std::vector<int> experiment, prediction;
        std::string experimentCodes = "", predictionCodes = "";
    };
    for (const Case& c :
         {Case{"shifted", {5, 6, 7, 8}, {3, 4, 5, 6}}, Case{"gaps", {1, 2, 5, 6, 9}, {2, 5, 9, 10}},
          Case{"falling", {403, 404, 3, 4}, {3, 4, 403, 404}},
          Case{"negative", {-2, -1, 0, 1}, {-1, 0, 1, 2}},
          Case{"repeated", {7, 7, 7, 8}, {7, 8, 7}},
          Case{"insertion codes", {52, 52, 53}, {52, 52, 53}, " A ", "A  "},
          Case{"nothing shared", {1, 2}, {3, 4}}}) {
        const Chain experiment = numbered(c.experiment, c.experimentCodes);
        const Chain prediction = numbered(c.prediction, c.predictionCodes);
        CapturedLog log;
        ResidueMapping mapping;
        mapByResidue(prepared(experiment), prepared(prediction), mapping, log.report);
        const auto expected = partnersByRule(experiment, prediction);
        EXPECT_EQ(mapping.predictionPartner, expected) << c.name;
        std::size_t pairs = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            if (expected[i] < 0) continue;
            const auto partner = static_cast<std::size_t>(expected[i]);
            EXPECT_EQ(mapping.experimentPartner[partner], static_cast<std::int32_t>(i)) << c.name;
            ASSERT_LT(pairs, mapping.pairs.size()) << c.name;
            EXPECT_EQ(mapping.pairs[pairs].prediction, i) << c.name;
            EXPECT_EQ(mapping.pairs[pairs++].experiment, partner) << c.name;
        }
        EXPECT_EQ(mapping.pairs.size(), pairs) << c.name;
    }
}

TEST(PrepareChain, TakesFourBackboneAtomsOfAResidueForBackboneFits) {
    Chain chain = coil(1, 1);
    for (const char* name : {" N  ", " C  ", " O  ", " CB ", " OXT"}) {
        Atom atom = chain.atoms[0];
        atom.name = FixedText<4>(name);
        atom.classification = classifyAtomName(name, atom.residueType);
        chain.atoms.push_back(atom);
    }
    EXPECT_EQ(prepared(chain).size(), 1U);
    const CoordinateSet backbone = prepared(chain, AtomSelection::Backbone);
    EXPECT_EQ(backbone.size(), 4U);
    EXPECT_EQ(backbone.atomKey[0], kCalphaKey);
}

}  // namespace
}  // namespace tervolanda::test
