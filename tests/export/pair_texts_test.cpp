// Pairs by the million are written by short ways: texts that are kept from one pair to the next,
// and blocks of whole pages.  Here both are held to the plain way.
#include "export/pair_texts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "export/export.h"
#include "support/support.h"

namespace tervolanda {
namespace {

TEST(PairTexts, SayEachFigureOfThePairWhateverWasBefore) {
    constexpr std::optional<double> PairResult::*kFigures[] = {
        &PairResult::rmsd,  &PairResult::grmsd,  &PairResult::maxsub,   &PairResult::tm1,
        &PairResult::tm2,   &PairResult::msi,    &PairResult::gdt,      &PairResult::rrmsd,
        &PairResult::urmsd, &PairResult::rurmsd, &PairResult::contacts, &PairResult::cutoff};
    // Few values, so that figures agree with those beside them and of the pair before.
    const std::optional<double> values[] = {
        {}, 0.0, -0.0, 0.1, 0.25, 1.0 / 3.0, std::numeric_limits<double>::infinity(), std::nan("")};
    std::mt19937 random(1);
    PairTexts texts;
    PairResult pair;
    for (int i = 0; i < 2000; ++i) {
        for (const auto figure : kFigures)
            pair.*figure = values[random() % std::size(values)];
        texts.next(pair);
        if (i % 3 == 0) continue;  // nobody asks
        for (std::size_t k = 0; k < kPairFigures; ++k) {
            std::string expected;
            appendCell(expected, pair.*kFigures[k]);
            const ShortText& found = texts.figures()[k];
            ASSERT_EQ(std::string(found.bytes.data(), found.size), expected) << kFigureNames[k];
        }
    }
}

// Rows and objects are put into room that was reckoned before.
TEST(PairTexts, HaveRoomForTheLongestOfEverything) {
    constexpr double kLong = -2.2250738585072014e-308;
    std::string longest;
    appendNumber(longest, kLong);
    ASSERT_EQ(longest.size(), 24U);
    RunInputs inputs;
    inputs.pairsBySequence = true;
    for (const Measure measure : kMeasures)
        inputs.measures.add(measure);
    inputs.structures.resize(2);
    for (InputStructure& input : inputs.structures)
        input.file = input.chain = std::string(4001, 'n');
    PairResult pair;
    pair.prediction = 1;
    pair.status = PairStatus::NotSignificant;
    pair.mapped = pair.pairs = pair.domains = std::numeric_limits<std::uint32_t>::max();
    for (auto* value : {&pair.rmsd, &pair.grmsd, &pair.maxsub, &pair.msi, &pair.tm1, &pair.tm2,
                        &pair.gdt, &pair.rrmsd, &pair.urmsd, &pair.rurmsd, &pair.contacts,
                        &pair.cutoff, &pair.identity, &pair.coverage1, &pair.coverage2})
        *value = kLong;
    pair.measures.fill(kLong);
    Superposition motion;
    motion.experimentCentre.fill(kLong);
    motion.predictionCentre.fill(kLong);
    motion.rotation.fill(kLong);
    pair.superpositions.assign(2, motion);
    const ResidueId first{-32768, '\x01'};
    pair.stretches.push_back({first, first, first, first, 1});
    PairTexts texts;
    texts.start(inputs);
    texts.next(pair);
    const auto object = texts.json();
    const std::string text = std::string(object.head) + std::string(object.tail);
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(longest, at)) != text.npos; ++at)
        ++found;
    EXPECT_EQ(found, 15 + kMeasures.size() + 2 * 18);
    EXPECT_EQ(text.find('\0'), text.npos);
    EXPECT_EQ(text.back(), '}');
}

class Rows final : public ExportFile {
 public:
    using ExportFile::ExportFile;
    void start(const RunInputs& /*inputs*/) override {}
    void add(const std::string& row) {
        text() += row;
        pace();
    }
};

TEST(ExportFile, HasEveryByteOfRowsThatEndWithinBlocksAtTheirEndsAndBeyond) {
    const test::TemporaryFolder folder;
    Rows rows(folder / "rows");
    std::string all;
    for (const std::size_t length : {65535U, 1U, 65536U, 3U, 200000U, 127677U, 7U}) {
        const std::string row(length, static_cast<char>('a' + all.size() % 26));
        rows.add(row);
        all += row;
    }
    ASSERT_TRUE(rows.commit());
    EXPECT_EQ(test::readFile(folder / "rows"), all);
}

}  // namespace
}  // namespace tervolanda
