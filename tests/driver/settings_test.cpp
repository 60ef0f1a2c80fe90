#include "driver/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;

CommandLine lineOf(std::vector<std::string> values) {
    CapturedLog captured;
    values.insert(values.begin(), "bin/tervolanda");
    return readCommandLine(std::move(values), captured.log);
}

// The settings of a run that the given options are part of.
Settings settingsOf(std::vector<std::string> values) {
    values.insert(values.end(), {"-e", "a.pdb", "-p", "b.pdb"});
    const CommandLine line = lineOf(std::move(values));
    EXPECT_EQ(line.request, Request::Run);
    return line.settings;
}

TEST(CommandLine, ChoosesBetweenTextsAndARun) {
    const struct {
        std::vector<std::string> values;
        Request request;
    } cases[] = {
        {{}, Request::ShortUsage},
        {{"-h"}, Request::StandardHelp},
        {{"a.pdb"}, Request::StandardHelp},
        {{""}, Request::StandardHelp},
        {{"-help"}, Request::ExtendedHelp},
        {{"--help", "-h"}, Request::ExtendedHelp},
        {{"-V"}, Request::Version},
        {{"-help", "---version", "x"}, Request::Version},
        {{"-e", "a.pdb", "-l", "list", "-h"}, Request::StandardHelp},
        {{"-e", "a.pdb", "-l", "list"}, Request::Run},
        {{"-l", "list"}, Request::Run},
        {{"-F", "file"}, Request::Run},
        {{"-M", "file"}, Request::Run},
        {{"-e", "a.pdb", "-p", "b.pdb"}, Request::Run},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(lineOf(test.values).request, test.request) << testing::PrintToString(test.values);
    }
}

TEST(Settings, PutsEveryValueInItsPlace) {
    const Settings settings =
        settingsOf({"-N",    "80",  "-TSF", "1.5",  "-dist", "6",        "-gap", "3",    "-mP",
                    "7",     "-mS", "0.25", "-opt", "9",     "-open",    "-1.5", "-aff", "-0.25",
                    "-seed", "3",   "-s",   "0.3",  "-P",    "11",       "-is",  "12",   "-ms",
                    "13",    "-C",  "2",    "-O",   "1",     "-super",   "4",    "-lws", "50",
                    "-T",    "0.1", "-Tm",  "0.2",  "-a",    "0.3",      "-d",   "3.25", "-R",
                    "r",     "-Rl", "rl",   "-Ru",  "ru",    "-exclude", "x"});
    const ComparisonParameters& comparison = settings.comparison;
    EXPECT_EQ(comparison.normLength, 80);
    EXPECT_EQ(comparison.thresholdScale, 1.5);
    EXPECT_EQ(comparison.contactDistance, 6.0);
    EXPECT_EQ(comparison.contactGap, 3);
    EXPECT_EQ(comparison.minIterationPairs, 7);
    EXPECT_EQ(comparison.minIterationScore, 0.25);
    EXPECT_EQ(comparison.optimisations, 9);
    EXPECT_EQ(comparison.gapOpen, -1.5);
    EXPECT_EQ(comparison.gapAffine, -0.25);
    EXPECT_EQ(comparison.seedLevels, 3);
    EXPECT_EQ(comparison.distanceCutoff, 3.25);
    EXPECT_EQ(settings.juryScore, 0.3);
    EXPECT_EQ(settings.juryPairs, 11);
    EXPECT_EQ(settings.initialClusterSize, 12);
    EXPECT_EQ(settings.minClusterSize, 13);
    EXPECT_EQ(settings.clusterMethod, 2);
    EXPECT_EQ(settings.outputOption, 1);
    EXPECT_TRUE(settings.outputOptionGiven);
    EXPECT_EQ(settings.superTop, 4);
    EXPECT_EQ(settings.lineWrap, 50);
    EXPECT_EQ(settings.threshold, 0.1);
    EXPECT_EQ(settings.maxThreshold, 0.2);
    EXPECT_EQ(settings.thresholdStep, 0.3);
    EXPECT_EQ(settings.resultFile, "r");
    EXPECT_EQ(settings.liteResultFile, "rl");
    EXPECT_EQ(settings.urmsdResultFile, "ru");
    EXPECT_EQ(settings.exclusionFile, "x");
}

TEST(Settings, PutsEveryFlagInItsPlace) {
    const Settings settings =
        settingsOf({"-rms", "-contact", "-av", "-nosort", "-noscore", "-bb", "-maxRMSD", "-matrix",
                    "-in", "-TM", "-noalign", "-nourmsd", "-urmsd"});
    EXPECT_TRUE(settings.rmsdOnly && settings.average && settings.noSort && settings.backbone);
    EXPECT_TRUE(settings.comparison.contacts && settings.comparison.maxRMSD);
    EXPECT_TRUE(settings.comparison.similarityMatrix && settings.comparison.sequenceIndependent);
    EXPECT_TRUE(settings.comparison.maximiseTM);
    EXPECT_FALSE(settings.comparison.scorePoor);
    EXPECT_FALSE(settings.alignOutput);
    EXPECT_FALSE(settings.gdt);
    EXPECT_EQ(settings.urmsdFlags, UrmsdRotate);
    EXPECT_EQ(settings.comparison.optimisations, 20);  // with -in
}

TEST(Settings, CountsIterationsUnsigned) {
    const struct {
        const char* text;
        unsigned int iterations;
        bool rankMS;
    } cases[] = {{"0", 0, false},    {"1", 1, false},
                 {"5", 5, true},     {"200", 200, true},
                 {"500", 200, true}, {"-1", 200, true},
                 {"x", 1, false},    {"-99999999999999999999", 200, true}};
    for (const auto& test : cases) {
        const Settings settings = settingsOf({"-i", test.text});
        EXPECT_EQ(settings.comparison.iterations, test.iterations) << test.text;
        EXPECT_EQ(settings.rankMS, test.rankMS) << test.text;
        EXPECT_EQ(settings.comparison.rankByTM, !test.rankMS) << test.text;
    }
    EXPECT_FALSE(settingsOf({"-rankMS"}).comparison.rankByTM);
}

TEST(Settings, TakesAGdtCutoffOnlyWhereOneIsGiven) {
    EXPECT_EQ(settingsOf({"-gdt", "2"}).comparison.gdtCutoff, 2.0);
    EXPECT_EQ(settingsOf({"-gdt", "-rmsd"}).comparison.gdtCutoff, 4.0);
    EXPECT_TRUE(settingsOf({"-gdt", "-rmsd"}).rmsdOnly);
}

TEST(Settings, RefusesALineWrapBelowOne) {
    EXPECT_EQ(settingsOf({"-lws", "0"}).lineWrap, 60);
    EXPECT_EQ(settingsOf({"-lws", "-5"}).lineWrap, 60);
    EXPECT_EQ(settingsOf({"-lws", "1"}).lineWrap, 1);
}

TEST(Settings, ResolvesThresholdsByTheKindOfRun) {
    const Settings maxsub = settingsOf({"-T", "abc", "-Tm", "-2"});
    EXPECT_EQ(maxsub.threshold, 0.5);
    EXPECT_EQ(maxsub.maxThreshold, 0.8);
    EXPECT_EQ(maxsub.thresholdStep, 0.05);
    const Settings rmsd = settingsOf({"-rmsd", "-a", "0"});
    EXPECT_EQ(rmsd.threshold, 4.0);
    EXPECT_EQ(rmsd.maxThreshold, 8.0);
    EXPECT_EQ(rmsd.thresholdStep, 0.0);
    const Settings file = lineOf({"-F", "file"}).settings;
    EXPECT_TRUE(file.rmsdOnly);
    EXPECT_EQ(file.threshold, 4.0);
    EXPECT_EQ(file.maxThreshold, 8.0);
    EXPECT_EQ(file.thresholdStep, 0.2);
}

TEST(Settings, DerivesTheReadFlags) {
    EXPECT_EQ(settingsOf({"-in"}).readFlags, 0x36);
    EXPECT_EQ(settingsOf({"-contact"}).readFlags, 0x36);
    EXPECT_EQ(settingsOf({"-all", "-contact"}).readFlags, 0x3A);
    EXPECT_EQ(settingsOf({"-bb"}).readFlags, 0x32);
}

TEST(Settings, CopiesATextBeforeLaterScansRewriteIt) {
    const Settings settings = settingsOf({"-d", "5-3", "-R", "1-x.dist"});
    EXPECT_EQ(settings.comparison.distanceCutoff, -3.0);  // the flags were looked up before
    // The lookup of -p, which is at the end, has rewritten what stands before it.
    EXPECT_EQ(settings.resultFile, "-x.dist");
    EXPECT_EQ(lineOf({"-e", "1-a.pdb", "-l", "x"}).settings.experimentFile, "1-a.pdb");
}

TEST(PositionalForm, FindsThePlainArguments) {
    const TemporaryFolder folder;
    const std::string a = folder.write("a.pdb", "");
    const std::string b = folder.write("b.pdb", "");
    const struct {
        std::vector<std::string> values;
        double cutoff;
    } cases[] = {
        {{a, b}, 0.0},
        {{a, b, "3.5"}, 3.5},
        {{a, b, "x"}, 0.0},
        {{a, b, "-rmsd"}, 0.0},
        {{"-rmsd", a, b, "3.5"}, 3.5},
        {{"-d", "2", a, b}, 2.0},
        {{"-d", "2", a, b, "3"}, 3.0},
        {{a, "-i", "4", b, "3"}, 3.0},
        {{"-gdt", a, b}, 0.0},  // not a number: no value of -gdt
        {{"-gdt", "2", a, b}, 0.0},
        {{"-unknown", a, b}, 0.0},     // takes no value
        {{"-e", "c.pdb", a, b}, 0.0},  // half of the explicit form does not count
        {{"-exclude", "x", a, b}, 0.0},
        {{"-T", "-N", "60", a, b, "3"}, 3.0},  // -N is the value of -T and has one itself
        {{"-gdt", "-e", "c.pdb", a, b}, 0.0},  // so is -e, which passes for a number
    };
    for (const auto& test : cases) {
        const Settings settings = lineOf(test.values).settings;
        EXPECT_EQ(settings.predictionFile, a) << testing::PrintToString(test.values);
        EXPECT_EQ(settings.experimentFile, b) << testing::PrintToString(test.values);
        EXPECT_EQ(settings.comparison.distanceCutoff, test.cutoff)
            << testing::PrintToString(test.values);
    }
}

TEST(PositionalForm, IsNotLookedAtWhereAModeIsGiven) {
    const Settings settings = lineOf({"-l", "list", "nowhere.pdb", "gone.pdb"}).settings;
    EXPECT_EQ(settings.predictionFile, std::nullopt);
}

}  // namespace
}  // namespace tervolanda
