#include "resultfiles/rasmol_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

// A chain of C-alpha atoms on a line, one residue for each number and insertion code.
Chain numbered(const std::vector<std::pair<int, char>>& residues, const std::string& name) {
    std::vector<std::array<double, 3>> places;
    for (std::size_t i = 0; i < residues.size(); ++i)
        places.push_back({static_cast<double>(i), 0.0, 0.0});
    Chain chain = test::calphaChain(places);
    for (std::size_t i = 0; i < residues.size(); ++i) {
        chain.atoms[i].residueNumber = static_cast<std::int16_t>(residues[i].first);
        chain.atoms[i].insertionCode = residues[i].second;
    }
    chain.fileName = name;
    Log log;
    buildResidues(chain, log);
    return chain;
}

std::vector<std::pair<int, char>> plainNumbers(int first, int last) {
    std::vector<std::pair<int, char>> residues;
    for (int number = first; number <= last; ++number)
        residues.emplace_back(number, ' ');
    return residues;
}

TEST(ResidueRuns, EndWhereEitherChainDoesNotGoOnByOne) {
    const std::vector<MatchedPair> all = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {3, 3, 0}, {4, 4, 0}};
    using Numbers = std::vector<std::pair<int, char>>;
    const struct {
        const char* name;
        Numbers experiment, prediction;
        std::string runs;
    } cases[] = {
        {"no gap", plainNumbers(-2, 2), plainNumbers(-2, 2), "-2-2/-2-2 "},
        {"gap in both",
         {{1, ' '}, {2, ' '}, {4, ' '}, {5, ' '}, {7, ' '}},
         {{1, ' '}, {2, ' '}, {4, ' '}, {5, ' '}, {7, ' '}},
         "1-2/1-2 4-5/4-5 7-7/7-7 "},
        {"gap in the prediction only",
         plainNumbers(1, 5),
         {{11, ' '}, {12, ' '}, {14, ' '}, {15, ' '}, {16, ' '}},
         "1-2/11-12 3-5/14-16 "},
        {"insertion",
         {{1, ' '}, {2, ' '}, {2, 'A'}, {3, ' '}, {4, ' '}},
         {{1, ' '}, {2, ' '}, {2, 'A'}, {3, ' '}, {4, ' '}},
         "1-2/1-2 2-4/2-4 "},
        {"insertion with a number of its own",
         {{1, ' '}, {2, ' '}, {3, 'B'}, {4, ' '}, {5, ' '}},
         plainNumbers(1, 5),
         "1-2/1-2 3-5/3-5 "},
        {"falling numbers",
         {{5, ' '}, {4, ' '}, {4, 'A'}, {9, ' '}, {10, ' '}},
         plainNumbers(1, 5),
         "5-5/1-1 4-4/2-2 4-4/3-3 9-10/4-5 "},
    };
    for (const auto& sample : cases) {
        const CoordinateSet experiment = calphaSet(numbered(sample.experiment, "e"));
        const CoordinateSet prediction = calphaSet(numbered(sample.prediction, "p"));
        std::string runs;
        for (const ResidueRun& run : residueRuns(experiment, prediction, all)) {
            runs += format("%d-%d/%d-%d ", run.experiment.first, run.experiment.last,
                           run.prediction.first, run.prediction.last);
        }
        EXPECT_EQ(runs, sample.runs) << sample.name;
    }
}

TEST(RasmolScript, NamesCannotBecomeCommands) {
    EXPECT_EQ(echoedName("a b'\"#%d.pdb"), "a b'\"#%d.pdb");
    EXPECT_EQ(echoedName("a\nexit\r\x7F;zap\t\xC3\xA9"), "a?exit???zap?\xC3\xA9");
    const TemporaryFolder folder;
    const Chain chain = numbered(plainNumbers(1, 2), "x\nzap");
    CapturedLog captured;
    SuperScript script(chain);
    script.add(chain, 0.5, std::nullopt);
    script.write(folder / "super.rsm", captured.log);
    EXPECT_THAT(test::readFile(folder / "super.rsm"), testing::Not(testing::HasSubstr("\nzap")));
}

TEST(SuperScript, TwentySeventhModelHasTheLetterOfTheFirst) {
    const TemporaryFolder folder;
    const Chain chain = numbered({{1, ' '}}, "m");
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
