#include "driver/settings.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "base/format.h"
#include "compare/fit/kernels.h"
#include "driver/read_plan.h"
#include "support/support.h"

namespace tervolanda {
namespace {

std::string shown(const std::optional<std::string>& text) {
    return text.value_or("none");
}

std::string shown(double number) {
    return format("%g", number);
}

#define MEMBER(group, name)                                                            \
    {                                                                                  \
#name, [](const CommandLine& line) { return shown(line.settings.group.name); } \
    }

// clang-format off
const std::map<std::string, std::string (*)(const CommandLine&)> kMembers = {
    MEMBER(comparison, normLength), MEMBER(comparison, thresholdScale), MEMBER(comparison, contacts),
    MEMBER(comparison, contactDistance), MEMBER(comparison, contactGap), MEMBER(comparison, gdtCutoff),
    MEMBER(comparison, minIterationPairs), MEMBER(comparison, minIterationScore),
    MEMBER(comparison, iterations), MEMBER(comparison, rankByTM), MEMBER(comparison, optimisations),
    MEMBER(comparison, gapOpen), MEMBER(comparison, gapAffine), MEMBER(comparison, seedLevels),
    MEMBER(comparison, distanceCutoff), MEMBER(comparison, maxRMSD), MEMBER(comparison, maximiseTM),
    MEMBER(comparison, similarityMatrix), MEMBER(comparison, sequenceIndependent),
    MEMBER(comparison, scorePoor), MEMBER(comparison, mapChains), MEMBER(input, experimentChain),
    MEMBER(input, predictionChain), MEMBER(clustering, juryScore), MEMBER(clustering, juryPairs),
    MEMBER(clustering, initialClusterSize), MEMBER(clustering, minClusterSize),
    MEMBER(clustering, clusterMethod), MEMBER(clustering, threshold),
    MEMBER(clustering, maxThreshold), MEMBER(clustering, thresholdStep), MEMBER(measure, rmsdOnly),
    MEMBER(measure, gdt), MEMBER(measure, backbone), MEMBER(measure, rankMS),
    MEMBER(measure, urmsdFlags), MEMBER(output, outputOption), MEMBER(output, outputOptionGiven),
    MEMBER(output, superTop), MEMBER(output, average), MEMBER(output, noSort),
    MEMBER(output, alignOutput), MEMBER(output, lineWrap), MEMBER(output, resultFile),
    MEMBER(output, liteResultFile), MEMBER(output, urmsdResultFile), MEMBER(output, logFile),
    MEMBER(input, experimentFile), MEMBER(input, predictionFile), MEMBER(input, distanceFile),
    MEMBER(input, transformFile), MEMBER(input, listFile), MEMBER(input, exclusionFile),
    MEMBER(input, allAtoms),
    {"readOptions", [](const CommandLine& line) {
        return format("0x%X", unsigned{readPlan(line.settings).models.options}); }},
    {"kernels", [](const CommandLine& line) {
        const Kernels* const chosen = line.settings.workforce.kernels;
        return std::string(chosen == &portableKernels() ? "portable" : chosen == nullptr ? "best" : "other"); }},
    {"atoms", [](const CommandLine& line) { return std::string(
        readPlan(line.settings).atoms == AtomSelection::Calpha ? "calpha" : "backbone"); }},
    {"request", [](const CommandLine& line) {
        constexpr const char* kNames[] = {"run", "usage", "help", "extended", "more", "version"};
        return std::string(kNames[static_cast<std::size_t>(line.request)]); }},
};
// clang-format on

std::vector<std::string> argumentsOf(const std::string& words) {
    std::vector<std::string> arguments = {"bin/tervolanda"};
    std::istringstream text(words);
    for (std::string word; text >> word;) {
        if (word == "...") {
            arguments.insert(arguments.end(), {"-e", "a.pdb", "-p", "b.pdb"});
        } else {
            arguments.push_back(word == "''" ? "" : word);
        }
    }
    return arguments;
}

TEST(Settings, AreWhatTheTableSays) {
    int rows = 0;
    for (const auto& row : test::tableRows("driver/settings.txt")) {
        test::CapturedLog captured;
        const CommandLine line = readCommandLine(argumentsOf(row.at(0)), captured.log);
        std::istringstream expected(row.at(1));
        for (std::string name, value; expected >> name >> value; ++rows)
            EXPECT_EQ(kMembers.at(name)(line), value) << row[0] << ": " << name;
    }
    EXPECT_GE(rows, 181);
}

}  // namespace
}  // namespace tervolanda
