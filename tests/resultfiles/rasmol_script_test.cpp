#include "resultfiles/rasmol_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "base/format.h"
#include "resultfiles/resultfiles.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;

CoordinateSet calphaSet(const Chain& chain) {
    Log log;
    Report silent(log, 0);
    return prepareChain(chain, AtomSelection::Calpha, ComparisonParameters{}, silent);
}

// A chain of C-alpha atoms on a line, its residues by number and insertion code: "1 2 2A".
Chain numbered(const std::string& residues, const std::string& name) {
    std::istringstream words(residues);
    Chain chain;
    for (ResidueId id; words >> id.number;) {
        const int next = words.get();
        const auto x = static_cast<double>(chain.atoms.size());
        chain.atoms.push_back(test::calphaChain({{x, 0.0, 0.0}}).atoms[0]);
        chain.atoms.back().residueNumber = static_cast<std::int16_t>(id.number);
        chain.atoms.back().insertionCode = next > ' ' ? static_cast<char>(next) : ' ';
    }
    chain.name = "A";
    chain.fileName = name;
    Log log;
    buildResidues(chain, log);
    return chain;
}

TEST(ResidueRuns, EndWhereEitherChainDoesNotGoOnByOne) {
    const std::vector<MatchedPair> all = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {3, 3, 0}, {4, 4, 0}};
    for (const auto& row : test::tableRows("resultfiles/residue_runs.txt")) {
        const CoordinateSet experiment = calphaSet(numbered(row.at(1), "e"));
        const CoordinateSet prediction = calphaSet(numbered(row.at(2), "p"));
        std::string runs;
        for (const auto& [e, p] : residueRuns(experiment, prediction, all))
            runs +=
                format("%s%d-%d/%d-%d", runs.empty() ? "" : " ", e.first, e.last, p.first, p.last);
        EXPECT_EQ(runs, row.at(3)) << row[0];
    }
}

TEST(RasmolScript, NamesCannotBecomeCommands) {
    EXPECT_EQ(echoedName("a b'\"#%d.pdb"), "a b'\"#%d.pdb");
    EXPECT_EQ(echoedName("a\nexit\r\x7F;zap\t\xC3\xA9"), "a?exit???zap?\xC3\xA9");
    const TemporaryFolder folder;
    const Chain chain = numbered("1 2", "x\nzap");
    CapturedLog captured;
    SuperScript script(chain);
    script.add(chain, 0.5, std::nullopt);
    script.write(folder / "super.rsm", captured.log);
    EXPECT_THAT(test::readFile(folder / "super.rsm"), testing::Not(testing::HasSubstr("\nzap")));
}

TEST(SuperScript, TwentySeventhModelHasTheLetterOfTheFirst) {
    const TemporaryFolder folder;
    const Chain chain = numbered("1", "m");
    CapturedLog captured;
    SuperScript script(chain);
    for (int i = 0; i < 27; ++i)
        script.add(chain, i, std::nullopt);
    script.write(folder / "super.rsm", captured.log);
    EXPECT_THAT(test::readFile(folder / "super.rsm"),
                testing::HasSubstr("echo Chain 'Z' - Prediction : m   (25)\n"
                                   "echo Chain 'A' - Prediction : m   (26)\n"));
}

}  // namespace
}  // namespace tervolanda
