#include "driver/outputs.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "driver/own_options.h"
#include "driver/settings.h"
#include "export/results.h"
#include "support/support.h"

namespace tervolanda {
namespace {

namespace fs = std::filesystem;

bool areShared(const std::string& first, const std::string& second) {
    Settings settings;
    settings.input.listFile = "list";
    settings.output.resultFile = first;
    settings.output.liteResultFile = second;
    return sharedOutput(settings).has_value();
}

TEST(SharedOutput, FindsOneFileUnderTwoNames) {
    const test::TemporaryFolder folder;
    const std::string old = folder.write("old", "");
    const std::string other = folder.write("other", "");
    fs::create_symlink("old", folder / "link");
    fs::create_symlink("new", folder / "dangling");
    fs::create_symlink("dangling", folder / "twice");
    fs::create_symlink("loop", folder / "loop");
    fs::create_symlink(".", folder / "here");
    fs::create_hard_link(old, folder / "hard");
    for (const auto& [first, second] : {std::pair("old", "old"),
                                        {"new", "./new"},
                                        {"old", "here/here/old"},
                                        {"new", "here/new"},
                                        {"link", "old"},
                                        {"hard", "link"},
                                        {"new", "twice"}}) {
        EXPECT_TRUE(areShared(folder / first, folder / second)) << first << ' ' << second;
    }
    for (const auto& [first, second] :
         {std::pair("old", "other"), {"old", "new"}, {"link", "dangling"}, {"loop", "new"}}) {
        EXPECT_FALSE(areShared(folder / first, folder / second)) << first << ' ' << second;
    }
    EXPECT_FALSE(areShared("/dev/null", "/dev/null"));
    EXPECT_FALSE(areShared("", ""));
    const std::string tooLong(5000, 'x');
    EXPECT_FALSE(areShared(tooLong, tooLong + "y"));
}

TEST(SharedOutput, CountsOnlyWhatTheRunWrites) {
    Settings settings;
    settings.output.logFile = "./align.rsm";
    EXPECT_EQ(sharedOutput(settings),
              "Two outputs in one file: -log './align.rsm' and script 'align.rsm'");
    settings.measure.gdt = true;
    EXPECT_EQ(sharedOutput(settings), std::nullopt);
    settings.input.listFile = "list";
    settings.output.liteResultFile = settings.output.logFile;
    EXPECT_EQ(sharedOutput(settings), std::nullopt);  // GDT runs know no -Rl
    settings.measure.rmsdOnly = true;
    EXPECT_TRUE(sharedOutput(settings));
    settings.output.resultFile = "other";  // takes the place of -Rl
    EXPECT_EQ(sharedOutput(settings), std::nullopt);
    settings.output.urmsdResultFile = "other";
    EXPECT_TRUE(sharedOutput(settings));
    settings.input.experimentFile = "experiment";
    settings.output.logFile = "super.rsm";
    EXPECT_EQ(sharedOutput(settings), std::nullopt);
    settings.output.superTop = 1;
    EXPECT_TRUE(sharedOutput(settings));
    settings.output.logFile = "align.matrix.1.0";
    settings.comparison.sequenceIndependent = true;
    EXPECT_EQ(sharedOutput(settings), std::nullopt);
    settings.comparison.similarityMatrix = true;
    EXPECT_TRUE(sharedOutput(settings));
}

// A table in place of the models that it was made of could not be undone.
TEST(ReplacedInput, IsFoundUnderAnyName) {
    const test::TemporaryFolder folder;
    const std::string model = folder.write("model.pdb", "");
    fs::create_symlink("model.pdb", folder / "link");
    const auto isReplaced = [&](const std::string& output, auto InputSettings::*input) {
        Settings settings;
        std::vector<std::string> arguments = {"program", "--tsv=" + output};
        settings.output.exports = exportRequests(OwnOptions(arguments));
        settings.input.*input = model;
        return replacedInput(settings).has_value();
    };
    for (const auto input : {&InputSettings::experimentFile, &InputSettings::predictionFile,
                             &InputSettings::listFile, &InputSettings::distanceFile,
                             &InputSettings::transformFile, &InputSettings::exclusionFile}) {
        EXPECT_TRUE(isReplaced(folder / "link", input));
        EXPECT_FALSE(isReplaced(folder / "other", input));
    }
    Settings settings;
    InputStructure structure;
    structure.path = folder / "link";
    std::vector<std::string> arguments = {"program", "--tsv=" + model};
    settings.output.exports = exportRequests(OwnOptions(arguments));
    EXPECT_EQ(
        replacedInput(settings, {&structure, 1}),
        "Output --tsv '" + model + "' would take the place of an input: '" + structure.path + "'");
    structure.path = "/dev/null";
    EXPECT_EQ(replacedInput(settings, {&structure, 1}), std::nullopt);
}

}  // namespace
}  // namespace tervolanda
