#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;
using test::TemporaryFolder;

// The IDs that a list gives, with the files' last components.
std::string modelsOf(const TemporaryFolder& folder, std::string text, CapturedLog& captured,
                     std::uint32_t counter = 0) {
    for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at))
        text.replace(at, 1, folder.path().string() + "/");
    ChainList list;
    const std::size_t read =
        readModelList(folder.write("list", text), counter, {{}, {}}, list, captured.log);
    EXPECT_EQ(read, list.chains.size());
    std::string models;
    for (const Chain& chain : list.chains)
        models += format("%u %s, ", chain.number,
                         chain.fileName.substr(chain.fileName.rfind('/') + 1).c_str());
    return models + format("last %u", counter);
}

TEST(ModelList, GivesAnIdToEveryLineThatNamesAFile) {
    const TemporaryFolder folder;
    folder.write("a.pdb", line({}));
    folder.write("b c.pdb", line({}));
    for (const auto& row : test::tableRows("chain/model_lists.txt")) {
        CapturedLog captured;
        EXPECT_EQ(modelsOf(folder, row.at(0), captured), row.at(1)) << row[0];
    }
    CapturedLog captured;
    EXPECT_EQ(modelsOf(folder, "@none.pdb\n@a.pdb\n", captured, 7), "9 a.pdb, last 9");
    // A read takes 258 characters: what stands after them is a line of its own.
    const std::string filled = "@a.pdb" + std::string(258 - folder.path().string().size() - 6, ' ');
    EXPECT_EQ(modelsOf(folder, filled + "@b c.pdb\n", captured), "1 a.pdb, 2 b c.pdb, last 2");
}

TEST(ResidueExclusions, AreTheFirstFiveCharactersOfEveryLine) {
    const TemporaryFolder folder;
    const std::string text = line({" CA ", "ALA", 12}) + line({" CA ", "ALA", 12, 'A'}) +
                             line({" CA ", "ALA", 112}) + line({" CA ", "ALA", -5});
    for (const auto& row : test::tableRows("chain/exclusions.txt")) {
        CapturedLog captured;
        ResidueExclusions exclusions;
        EXPECT_TRUE(
            readResidueExclusionFile(folder.write("keys", row.at(0)), exclusions, captured.log));
        const auto set = test::readText(text, {}, captured.log, exclusions);
        std::string kept;
        for (const Atom& atom : set->chains.at(0).atoms)
            kept += format("%s%d%.*s", kept.empty() ? "" : " ", atom.residueNumber,
                           atom.insertionCode == ' ' ? 0 : 1, &atom.insertionCode);
        EXPECT_EQ(kept, row.at(1)) << row[0];
    }
    CapturedLog captured;
    ResidueExclusions exclusions;
    EXPECT_FALSE(readResidueExclusionFile("/", exclusions, captured.log));
}

}  // namespace
}  // namespace tervolanda
