#include "driver/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/read_plan.h"
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

// An option, its value, none for a flag, and the member that it sets.
struct OptionCase {
    std::string option, text;
    double (*member)(const Settings&);
};
#define MEMBER(name) [](const Settings& s) { return static_cast<double>(s.name); }
// clang-format off
const OptionCase kOptions[] = {
    {"-N", "80", MEMBER(comparison.normLength)}, {"-TSF", "1.5", MEMBER(comparison.thresholdScale)},
    {"-dist", "6", MEMBER(comparison.contactDistance)},
    {"-gap", "3", MEMBER(comparison.contactGap)},
    {"-mP", "7", MEMBER(comparison.minIterationPairs)},
    {"-mS", "0.25", MEMBER(comparison.minIterationScore)},
    {"-opt", "9", MEMBER(comparison.optimisations)}, {"-open", "-1.5", MEMBER(comparison.gapOpen)},
    {"-aff", "-0.25", MEMBER(comparison.gapAffine)}, {"-seed", "31", MEMBER(comparison.seedLevels)},
    {"-d", "3.25", MEMBER(comparison.distanceCutoff)}, {"-s", "0.35", MEMBER(clustering.juryScore)},
    {"-P", "11", MEMBER(clustering.juryPairs)}, {"-is", "12", MEMBER(clustering.initialClusterSize)},
    {"-ms", "13", MEMBER(clustering.minClusterSize)}, {"-C", "2", MEMBER(clustering.clusterMethod)},
    {"-O", "1", MEMBER(output.outputOption)}, {"-super", "4", MEMBER(output.superTop)},
    {"-lws", "50", MEMBER(output.lineWrap)}, {"-T", "0.1", MEMBER(clustering.threshold)},
    {"-Tm", "0.2", MEMBER(clustering.maxThreshold)}, {"-a", "0.3", MEMBER(clustering.thresholdStep)},
    {"-contact", "", MEMBER(comparison.contacts)}, {"-maxRMSD", "", MEMBER(comparison.maxRMSD)},
    {"-matrix", "", MEMBER(comparison.similarityMatrix)},
    {"-in", "", MEMBER(comparison.sequenceIndependent)}, {"-TM", "", MEMBER(comparison.maximiseTM)},
    {"-noscore", "", MEMBER(comparison.scorePoor)}, {"-rms", "", MEMBER(measure.rmsdOnly)},
    {"-av", "", MEMBER(output.average)}, {"-nosort", "", MEMBER(output.noSort)}, {"-bb", "", MEMBER(measure.backbone)},
    {"-noalign", "", MEMBER(output.alignOutput)}, {"-nourmsd", "", MEMBER(measure.urmsdFlags)},
};
// clang-format on

TEST(Settings, PutsEveryOptionInItsPlace) {
    const Settings unset = settingsOf({});
    for (const auto& [option, text, member] : kOptions) {
        std::vector<std::string> values = {option};
        if (!text.empty()) values.push_back(text);
        const double set = text.empty() ? 1.0 - member(unset) : std::stod(text);
        EXPECT_EQ(member(settingsOf(values)), set) << option;
    }
    EXPECT_TRUE(settingsOf({"-O", "0"}).output.outputOptionGiven);
    EXPECT_EQ(settingsOf({"-urmsd"}).measure.urmsdFlags, UrmsdCompute | UrmsdRotate);
    EXPECT_EQ(settingsOf({"-in"}).comparison.optimisations, 20);
    const Settings files = settingsOf({"-R", "r", "-Rl", "rl", "-Ru", "ru", "-exclude", "x"});
    EXPECT_EQ(
        *files.output.resultFile + *files.output.liteResultFile + *files.output.urmsdResultFile,
        "rrlru");
    EXPECT_EQ(files.input.exclusionFile, "x");
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
        EXPECT_EQ(settings.measure.rankMS, test.rankMS) << test.text;
        EXPECT_EQ(settings.comparison.rankByTM, !test.rankMS) << test.text;
    }
    EXPECT_FALSE(settingsOf({"-rankMS"}).comparison.rankByTM);
}

TEST(Settings, TakesAGdtCutoffOnlyWhereOneIsGiven) {
    EXPECT_EQ(settingsOf({"-gdt", "2"}).comparison.gdtCutoff, 2.0);
    EXPECT_EQ(settingsOf({"-gdt", "-rmsd"}).comparison.gdtCutoff, 4.0);
    EXPECT_TRUE(settingsOf({"-gdt", "-rmsd"}).measure.rmsdOnly);
}

TEST(Settings, RefusesALineWrapBelowOne) {
    EXPECT_EQ(settingsOf({"-lws", "0"}).output.lineWrap, 60);
    EXPECT_EQ(settingsOf({"-lws", "-5"}).output.lineWrap, 60);
    EXPECT_EQ(settingsOf({"-lws", "1"}).output.lineWrap, 1);
}

TEST(Settings, ResolvesThresholdsByTheKindOfRun) {
    const Settings maxsub = settingsOf({"-T", "abc", "-Tm", "-2"});
    EXPECT_EQ(maxsub.clustering.threshold, 0.5);
    EXPECT_EQ(maxsub.clustering.maxThreshold, 0.8);
    EXPECT_EQ(maxsub.clustering.thresholdStep, 0.05);
    const Settings rmsd = settingsOf({"-rmsd", "-a", "0"});
    EXPECT_EQ(rmsd.clustering.threshold, 4.0);
    EXPECT_EQ(rmsd.clustering.maxThreshold, 8.0);
    EXPECT_EQ(rmsd.clustering.thresholdStep, 0.0);
    const Settings file = lineOf({"-F", "file"}).settings;
    EXPECT_TRUE(file.measure.rmsdOnly);
    EXPECT_EQ(file.clustering.threshold, 4.0);
    EXPECT_EQ(file.clustering.maxThreshold, 8.0);
    EXPECT_EQ(file.clustering.thresholdStep, 0.2);
}

TEST(ReadPlan, ReadsWhatComparisonsAndScriptsNeed) {
    const auto planOf = [](std::vector<std::string> options) {
        options.insert(options.end(), {"-l", "list"});
        return readPlan(lineOf(std::move(options)).settings);
    };
    EXPECT_EQ(planOf({}).request.options, 0x32);
    EXPECT_EQ(planOf({"-in"}).request.options, 0x36);
    EXPECT_EQ(planOf({"-contact"}).request.options, 0x36);
    EXPECT_EQ(planOf({"-all", "-contact"}).request.options, 0x3A);
    EXPECT_EQ(planOf({"-bb"}).request.options, 0x32);
    EXPECT_EQ(planOf({"-bb", "-rmsd"}).request.options, 0x36);
    EXPECT_EQ(planOf({"-bb", "-rmsd"}).atoms, AtomSelection::Backbone);
    EXPECT_EQ(planOf({"-bb"}).atoms, AtomSelection::Calpha);
    EXPECT_EQ(readPlan(settingsOf({"-rmsd"})).request.options, 0x3A);  // for the script
}

TEST(Settings, CopiesATextBeforeLaterScansRewriteIt) {
    const Settings settings = settingsOf({"-d", "5-3", "-R", "1-x.dist"});
    EXPECT_EQ(settings.comparison.distanceCutoff, -3.0);  // the flags were looked up before
    // The lookup of -p, which is at the end, has rewritten what stands before it.
    EXPECT_EQ(settings.output.resultFile, "-x.dist");
    EXPECT_EQ(lineOf({"-e", "1-a.pdb", "-l", "x"}).settings.input.experimentFile, "1-a.pdb");
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
        EXPECT_EQ(settings.input.predictionFile, a) << testing::PrintToString(test.values);
        EXPECT_EQ(settings.input.experimentFile, b) << testing::PrintToString(test.values);
        EXPECT_EQ(settings.comparison.distanceCutoff, test.cutoff)
            << testing::PrintToString(test.values);
    }
}

TEST(PositionalForm, IsNotLookedAtWhereAModeIsGiven) {
    const Settings settings = lineOf({"-l", "list", "nowhere.pdb", "gone.pdb"}).settings;
    EXPECT_EQ(settings.input.predictionFile, std::nullopt);
}

}  // namespace
}  // namespace tervolanda
