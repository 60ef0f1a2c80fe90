#include "resultfiles/rasmol_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <sstream>

#include "compare/workspace.h"
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

// Both chains of a comparison with all that a script needs.
struct Pair {
    Pair(Chain experimentChain, Chain predictionChain)
        : experiment(std::move(experimentChain)),
          prediction(std::move(predictionChain)),
          experimentSet(calphaSet(experiment)),
          predictionSet(calphaSet(prediction)) {}
    ScriptSubject subject() const { return {experiment, experimentSet, prediction, predictionSet}; }
    Chain experiment, prediction;
    CoordinateSet experimentSet, predictionSet;
};

// Moves everything by (dx, 0, 0).
Superposition shift(double dx) {
    Superposition superposition;
    superposition.experimentCentre[0] = dx;
    return superposition;
}

std::vector<std::pair<int, char>> plainNumbers(int first, int last) {
    std::vector<std::pair<int, char>> residues;
    for (int number = first; number <= last; ++number)
        residues.emplace_back(number, ' ');
    return residues;
}

struct WrittenAtom {
    char chain;
    int residue;
    double x, y, z;
};

std::vector<WrittenAtom> atomsIn(const std::string& script) {
    std::vector<WrittenAtom> atoms;
    std::istringstream lines(script);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("ATOM  ")) continue;
        atoms.push_back({line[21], std::stoi(line.substr(22, 4)), std::stod(line.substr(30, 8)),
                         std::stod(line.substr(38, 8)), std::stod(line.substr(46, 8))});
    }
    return atoms;
}

std::string residuesOf(char chain, const std::vector<WrittenAtom>& atoms) {
    std::string text;
    for (const WrittenAtom& atom : atoms) {
        if (atom.chain == chain) text += std::to_string(atom.residue) + " ";
    }
    return text;
}

bool isExecutableByAll(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & 0777) == 0755;
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
        const Pair pair(numbered(sample.experiment, "e"), numbered(sample.prediction, "p"));
        std::string runs;
        for (const ResidueRun& run : residueRuns(pair.experimentSet, pair.predictionSet, all)) {
            runs += std::to_string(run.experiment.first) + "-" +
                    std::to_string(run.experiment.last) + "/" +
                    std::to_string(run.prediction.first) + "-" +
                    std::to_string(run.prediction.last) + " ";
        }
        EXPECT_EQ(runs, sample.runs) << sample.name;
    }
}

TEST(RasmolScript, PairIsWrittenToTheByte) {
    const TemporaryFolder folder;
    const Pair pair(numbered({{-1, ' '}, {0, ' '}, {3, ' '}}, "exp.pdb"),
                    numbered({{-1, ' '}, {0, ' '}, {3, ' '}}, "pre%s.pdb"));
    ComparisonResult result;
    result.iterations.push_back({shift(10.0), 3, 0.5, 3.5});
    result.matched = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}};
    CapturedLog captured;
    const std::string path = folder / "align.rsm";
    EXPECT_EQ(writeMaxSubScript(path, pair.subject(), result, ComparisonParameters{},
                                ScriptAtoms::All, captured.log, captured.report),
              FileOutcome::Written);
    EXPECT_EQ(captured.reported(), "Outputting superposition to file '" + path + "'\n");
    EXPECT_TRUE(isExecutableByAll(path));
    EXPECT_EQ(test::readFile(path),
              "#!/usr/bin/rasmol -script\nload inline\nselect all\ncolour chain\n"
              "select :A\nbackbone 60\ncolour [102,204,255]\n"
              "select :B\nbackbone 60\ncolour [204,255,153]\n"
              "select -1-0:A\ncolour [102,102,255]\nbackbone 130\n"
              "select -1-0:B\ncolour [051,255,051]\nbackbone 130\n"
              "select 3-3:A\ncolour [102,102,255]\nbackbone 130\n"
              "select 3-3:B\ncolour [051,255,051]\nbackbone 130\n"
              "select all\nwireframe off\n"
              "echo ***************************************************\n"
              "echo\n"
              "echo Chain 'A' - Experiment : exp.pdb\n"
              "echo Chain 'B' - Prediction : pre%s.pdb\n"
              "echo\n"
              "echo Sequence dependant model-reference superposition.\n"
              "echo Superposition generated from MaxSub analysis.\n"
              "echo Only CA atom pairs closer than 3.5 were used\n"
              "echo to obtain this superposition.\n"
              "echo Residues used to obtain superposition are shown in\n"
              "echo thick lines with a darker colour.\n"
              "echo\n"
              "echo ***************************************************\n"
              "exit\n"
              "ATOM      1  CA  ALA A  -1       0.000   0.000   0.000  1.00  0.00              \n"
              "ATOM      2  CA  ALA A   0       1.000   0.000   0.000  1.00  0.00              \n"
              "ATOM      3  CA  ALA A   3       2.000   0.000   0.000  1.00  0.00              \n"
              "TER\n"
              "ATOM      1  CA  ALA B  -1      10.000   0.000   0.000  1.00  0.00              \n"
              "ATOM      2  CA  ALA B   0      11.000   0.000   0.000  1.00  0.00              \n"
              "ATOM      3  CA  ALA B   3      12.000   0.000   0.000  1.00  0.00              \n"
              "TER\n");
}

TEST(RasmolScript, RmsdRunSaysWhereItsFitComesFrom) {
    const TemporaryFolder folder;
    const Pair pair(numbered(plainNumbers(1, 4), "e"), numbered(plainNumbers(1, 4), "p"));
    RmsdResult result;
    result.rmsd = 1.0;
    result.superposition = shift(-3.0);
    result.matched = {{1, 1, 0}, {2, 2, 0}, {3, 3, 0}};
    CapturedLog captured;
    const std::string path = folder / "align.rsm";
    EXPECT_EQ(writeRmsdScript(path, pair.subject(), result, captured.log, captured.report),
              FileOutcome::Written);
    const std::string script = test::readFile(path);
    EXPECT_THAT(script,
                testing::HasSubstr("echo Sequence dependant model-reference superposition.\n"
                                   "echo Superposition generated from RMSD fit.\n"
                                   "echo Residues used"));
    EXPECT_THAT(script, testing::HasSubstr("select 2-4:A\n"));
    EXPECT_EQ(residuesOf('B', atomsIn(script)), "1 2 3 4 ");
    EXPECT_DOUBLE_EQ(atomsIn(script).back().x, 0.0);
}

TEST(RasmolScript, OutputOptionChoosesTheAtomsOfEveryIteration) {
    const TemporaryFolder folder;
    const Pair pair(numbered(plainNumbers(1, 9), "e"), numbered(plainNumbers(1, 9), "p"));
    ComparisonResult result;
    result.iterations.push_back({shift(10.0), 3, 0.5, 3.5});
    result.iterations.push_back({shift(20.0), 2, 0.25, 8.0});
    result.matched = {{1, 1, 0}, {2, 2, 0}, {4, 4, 0}, {5, 5, 1}, {7, 7, 1}};
    ComparisonParameters parameters;
    parameters.iterations = 3;
    parameters.sequenceIndependent = true;
    const struct {
        ScriptAtoms atoms;
        std::string a, b, c;
    } cases[] = {
        {ScriptAtoms::Matched, "2 3 5 6 8 ", "2 3 5 ", "6 8 "},
        {ScriptAtoms::Spanned, "2 3 4 5 6 7 8 ", "2 3 4 5 ", "6 7 8 "},
        {ScriptAtoms::All, "1 2 3 4 5 6 7 8 9 ", "1 2 3 4 5 6 7 8 9 ", "1 2 3 4 5 6 7 8 9 "},
    };
    for (const auto& sample : cases) {
        CapturedLog captured;
        const std::string path = folder / "align.rsm";
        writeMaxSubScript(path, pair.subject(), result, parameters, sample.atoms, captured.log,
                          captured.report);
        const std::string script = test::readFile(path);
        const std::vector<WrittenAtom> atoms = atomsIn(script);
        EXPECT_EQ(residuesOf('A', atoms), sample.a);
        EXPECT_EQ(residuesOf('B', atoms), sample.b);
        EXPECT_EQ(residuesOf('C', atoms), sample.c);
        for (const WrittenAtom& atom : atoms) {
            const double moved = atom.chain == 'A' ? 0.0 : atom.chain == 'B' ? 10.0 : 20.0;
            EXPECT_DOUBLE_EQ(atom.x, moved + atom.residue - 1);
        }
        EXPECT_THAT(script, testing::HasSubstr("select 2-3:A\ncolour [102,102,255]\n"));
        EXPECT_THAT(script, testing::HasSubstr("select 5-5:B\ncolour [051,255,051]\n"));
        EXPECT_THAT(script, testing::HasSubstr("select 8-8:C\ncolour [051,255,051]\n"));
        EXPECT_THAT(script, testing::Not(testing::HasSubstr("select 6-6:B\n")));
        EXPECT_THAT(script, testing::HasSubstr("select :C\nbackbone 60\ncolour [204,255,153]\n"));
        EXPECT_THAT(script, testing::HasSubstr("echo Chain 'C' - Prediction : p\necho\n"
                                               "echo Sequence independant model-reference"));
        EXPECT_THAT(script, testing::HasSubstr("closer than 3.5 were"));
        EXPECT_EQ(captured.reported(), "Outputting superposition to file '" + path +
                                           "'\n"
                                           "Iter   Area    MS\n"
                                           "1      0.500 : 0.500 = 0.500\n"
                                           "2      1.250 : 0.750 = 0.500 0.250\n");
    }
}

TEST(RasmolScript, MovedPredictionLiesOnTheExperimentAsTheComparisonSays) {
    const TemporaryFolder folder;
    const Chain experiment = test::coil(60, 7);
    Chain prediction = test::moved(test::shaken(experiment, 0.8, 3));
    for (std::size_t i = 0; i < 12; ++i)  // an end that fits nowhere
        prediction.atoms[i].x += 30.0 + 5.0 * static_cast<double>(i);
    const Pair pair(experiment, prediction);
    CapturedLog captured;
    ComparisonWorkspace workspace;
    ComparisonResult result;
    compareMaxSub(pair.experimentSet, pair.predictionSet, ComparisonParameters{}, workspace,
                  captured.report, result);
    ASSERT_EQ(result.iterations.size(), 1U);
    ASSERT_GT(result.pairs, 30U);
    ASSERT_GT(result.rmsd, 0.3);
    const std::string path = folder / "align.rsm";
    writeMaxSubScript(path, pair.subject(), result, ComparisonParameters{}, ScriptAtoms::Matched,
                      captured.log, captured.report);
    std::map<int, WrittenAtom> placed[2];
    for (const WrittenAtom& atom : atomsIn(test::readFile(path)))
        placed[atom.chain == 'A' ? 0 : 1].emplace(atom.residue, atom);
    ASSERT_EQ(placed[0].size(), result.pairs);
    double sum = 0.0;
    for (const auto& [residue, a] : placed[0]) {
        const WrittenAtom& b = placed[1].at(residue);
        sum += (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z);
    }
    EXPECT_NEAR(std::sqrt(sum / result.pairs), result.rmsd, 1e-3);
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

TEST(SuperScript, IsWrittenToTheByteAndAModelWithoutFitStaysWhereItIs) {
    const TemporaryFolder folder;
    const Chain experiment = numbered({{7, 'C'}}, "e.pdb");
    const Chain first = numbered({{1, ' '}}, "m1.pdb");
    const Chain second = numbered({{2, ' '}}, "m2.pdb");
    CapturedLog captured;
    SuperScript script(experiment);
    script.add(second, 0.8125, shift(1.5));
    script.add(first, -1.0, std::nullopt);
    const std::string path = folder / "super.rsm";
    EXPECT_EQ(script.write(path, captured.log), FileOutcome::Written);
    EXPECT_TRUE(isExecutableByAll(path));
    EXPECT_EQ(test::readFile(path),
              "#!/usr/bin/rasmol -script\nload inline\nselect all\nbackbone 60\ncolor group\n"
              "select :0\nbackbone 130\ncolor white\n"
              "select all\nwireframe off\n"
              "echo ***************************************************\n"
              "echo\n"
              "echo Chain '0' - Experiment : e.pdb\n"
              "echo\n"
              "echo Chain 'A' - Prediction : m2.pdb   (0.8125)\n"
              "echo Chain 'B' - Prediction : m1.pdb   (-1)\n"
              "echo\n"
              "echo ***************************************************\n"
              "exit\n"
              "ATOM      1  CA  ALA 0   7C      0.000   0.000   0.000  1.00  0.00              \n"
              "TER\n"
              "ATOM      1  CA  ALA A   2       1.500   0.000   0.000  1.00  0.00              \n"
              "TER\n"
              "ATOM      1  CA  ALA B   1       0.000   0.000   0.000  1.00  0.00              \n"
              "TER\n");
}

TEST(SuperScript, TwentySeventhModelHasTheLetterOfTheFirst) {
    const TemporaryFolder folder;
    const Chain chain = numbered({{1, ' '}}, "m");
    CapturedLog captured;
    SuperScript script(chain);
    for (int i = 0; i < 27; ++i)
        script.add(chain, i, shift(i));
    script.write(folder / "super.rsm", captured.log);
    const std::string text = test::readFile(folder / "super.rsm");
    EXPECT_THAT(text, testing::HasSubstr("echo Chain 'Z' - Prediction : m   (25)\n"
                                         "echo Chain 'A' - Prediction : m   (26)\n"));
    EXPECT_EQ(residuesOf('A', atomsIn(text)), "1 1 ");
}

TEST(RasmolScript, FailuresAreErrorLinesAndNoReport) {
    const TemporaryFolder folder;
    const Pair pair(numbered(plainNumbers(1, 4), "e"), numbered(plainNumbers(1, 4), "p"));
    ComparisonResult result;
    result.iterations.push_back({shift(0.0), 1, 0.5, 3.5});
    result.matched = {{1, 1, 0}};
    CapturedLog captured;
    const auto write = [&](const std::string& path) {
        return writeMaxSubScript(path, pair.subject(), result, ComparisonParameters{},
                                 ScriptAtoms::All, captured.log, captured.report);
    };
    EXPECT_EQ(write(folder / "no/align.rsm"), FileOutcome::NotCreated);
    EXPECT_EQ(captured.error(),
              "ERROR : Failed to open output file '" + (folder / "no/align.rsm") + "'\n");
    EXPECT_EQ(captured.reported(), "");
    // A link to a device is written directly, and the device takes nothing.
    const std::string full = folder / "full.rsm";
    std::filesystem::create_symlink("/dev/full", full);
    EXPECT_EQ(write(full), FileOutcome::Incomplete);
    EXPECT_THAT(captured.error(), testing::EndsWith("ERROR : Failed to write file '" + full +
                                                    "' - Unknown error.\n"));
}

}  // namespace
}  // namespace tervolanda
