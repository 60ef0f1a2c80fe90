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
        readModelList(folder.write("list", text), counter, {}, {}, captured.log, list);
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
    struct Case {
        const char* text;
        const char* models;
    };
    for (const Case& c :
         std::vector<Case>{{"", "last 0"},
                           {"@a.pdb\n\n# @a.pdb\n@b c.pdb\n", "1 a.pdb, 2 b c.pdb, last 2"},
                           {" \t@a.pdb  # and why\r\n\xC2\xA0\n@a.pdb", "1 a.pdb, 2 a.pdb, last 2"},
                           {"@a.pdb\n@none.pdb\n@a.pdb\n", "1 a.pdb, 3 a.pdb, last 3"},
                           {"@a.pdb#", "1 a.pdb, last 1"}}) {
        CapturedLog captured;
        EXPECT_EQ(modelsOf(folder, c.text, captured), c.models) << c.text;
    }
    CapturedLog captured;
    EXPECT_EQ(modelsOf(folder, "@none.pdb\n@a.pdb\n", captured, 7), "9 a.pdb, last 9");
    // A read takes 258 characters: what stands behind them is a line of its own.
    const std::string filled = "@a.pdb" + std::string(258 - folder.path().string().size() - 6, ' ');
    EXPECT_EQ(modelsOf(folder, filled + "@b c.pdb\n", captured), "1 a.pdb, 2 b c.pdb, last 2");
}

TEST(ResidueExclusions, AreTheFirstFiveCharactersOfEveryLine) {
    const TemporaryFolder folder;
    struct Case {
        const char* keys;
        const char* kept;
    };
    const std::string text = line({" CA ", "ALA", 12}) + line({" CA ", "ALA", 12, 'A'}) +
                             line({" CA ", "ALA", 112}) + line({" CA ", "ALA", -5});
    for (const Case& c : std::vector<Case>{{"", "12 12A 112 -5 "},
                                           {"  12 \n", "12A 112 -5 "},
                                           {"  12\n  12", "12 12A 112 -5 "},  // four characters
                                           {"\n  12A and more\n", "12 112 -5 "},
                                           {"12   \n 112 \n  -5 \n", "12 12A "}}) {
        CapturedLog captured;
        ResidueExclusions exclusions;
        EXPECT_TRUE(
            readResidueExclusionFile(folder.write("keys", c.keys), exclusions, captured.log));
        const auto set = test::readText(text, {}, captured.log, exclusions);
        std::string kept;
        for (const Atom& atom : set->chains.at(0).atoms)
            kept += std::to_string(atom.residueNumber) +
                    (atom.insertionCode == ' ' ? " " : std::string{atom.insertionCode, ' '});
        EXPECT_EQ(kept, c.kept) << c.keys;
    }
    CapturedLog captured;
    ResidueExclusions exclusions;
    EXPECT_FALSE(readResidueExclusionFile("/", exclusions, captured.log));
}

}  // namespace
}  // namespace tervolanda
