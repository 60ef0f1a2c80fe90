#include "compare/mapping.h"

#include <gmock/gmock.h>
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

struct MappingCase {
    const char* name;
    std::vector<int> experiment, prediction;
    std::string experimentCodes, predictionCodes;
};

void PrintTo(const MappingCase& mapping, std::ostream* out) {
    *out << mapping.name;
}

class MappingRule : public testing::TestWithParam<MappingCase> {};

TEST_P(MappingRule, DecidesThePartners) {
    const Chain experiment = numbered(GetParam().experiment, GetParam().experimentCodes);
    const Chain prediction = numbered(GetParam().prediction, GetParam().predictionCodes);
    CapturedLog log;
    ResidueMapping mapping;
    mapByResidue(prepared(experiment), prepared(prediction), mapping, log.report);
    const auto expected = partnersByRule(experiment, prediction);
    EXPECT_EQ(mapping.predictionPartner, expected);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i] < 0) continue;
        EXPECT_EQ(mapping.experimentPartner[static_cast<std::size_t>(expected[i])],
                  static_cast<std::int32_t>(i));
    }
    EXPECT_TRUE(std::is_sorted(
        mapping.pairs.begin(), mapping.pairs.end(),
        [](const MatchedPair& a, const MatchedPair& b) { return a.prediction < b.prediction; }));
}

INSTANTIATE_TEST_SUITE_P(
    , MappingRule,
    testing::Values(MappingCase{"SameNumbers", {1, 2, 3}, {1, 2, 3}, "", ""},
                    MappingCase{"Shifted", {5, 6, 7, 8}, {3, 4, 5, 6}, "", ""},
                    MappingCase{"Gaps", {1, 2, 5, 6, 9}, {2, 3, 5, 9, 10}, "", ""},
                    MappingCase{"Falling", {403, 404, 3, 4}, {3, 4, 403, 404}, "", ""},
                    MappingCase{"Negative", {-2, -1, 0, 1}, {-1, 0, 1, 2}, "", ""},
                    MappingCase{"Repeated", {7, 7, 7, 8}, {7, 8, 7}, "", ""},
                    MappingCase{"InsertionCodes", {52, 52, 53}, {52, 52, 53}, " A ", "A  "},
                    MappingCase{"NothingShared", {1, 2}, {3, 4}, "", ""}),
    [](const auto& test) { return test.param.name; });

TEST(MapByResidue, NamesResiduesWithoutPartnerAtLevelSix) {
    for (const int level : {5, 6}) {
        CapturedLog log(1, level);
        ResidueMapping mapping;
        mapByResidue(prepared(numbered({1, 2})), prepared(numbered({2, 27}, " A")), mapping,
                     log.report);
        EXPECT_EQ(log.reported(), level == 6 ? "Residue 27A not found in reference\n" : "");
    }
}

TEST(PrepareChain, PrintsTheSequenceInFastaForm) {
    CapturedLog log(1, 5);
    prepareChain(calphaChain(std::vector<Place>(61, Place{}), std::string(60, 'W') + "G"),
                 AtomSelection::Calpha, {}, log.report);
    const std::string ten = "WWWWWWWWWW ";
    EXPECT_EQ(log.reported(), ">made\n" + ten + ten + ten + ten + ten + ten + "\nG\n");
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
