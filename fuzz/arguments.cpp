// The argument vector, an argument a line.  The settings that come out keep their promises, the
// same arguments give the same settings, and a fatal end says why.  Every argument is also expanded
// as a format: where it holds plain conversions only, as the C library's printf would.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "driver/abend.h"
#include "driver/arguments.h"
#include "driver/format_expansion.h"
#include "driver/help_text.h"
#include "driver/settings.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

constexpr const char* kReadableFile = "a";  // for the positional form

std::vector<std::string> splitLines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Reads a command line; none when that ended fatally.
std::optional<CommandLine> readQuietly(const std::vector<std::string>& arguments) {
    test::CapturedLog quiet;
    std::optional<CommandLine> line;
    try {
        line = readCommandLine(arguments, quiet.log);
    } catch (const Abend& end) {
        const std::string_view message = end.what();
        FUZZ_REQUIRE(message.starts_with("Failed to ") || message.starts_with("Option ") ||
                     message.starts_with("Unknown option ") ||
                     message.starts_with("Two structures, a list "));
        return std::nullopt;
    }
    if (line->request == Request::Run) {
        FUZZ_REQUIRE(quiet.log.logLevel() == line->settings.output.logLevel);
    }
    return line;
}

void requireSound(const CommandLine& line) {
    const Settings& settings = line.settings;
    const ComparisonParameters& comparison = settings.comparison;
    for (const double value :
         {comparison.distanceCutoff, comparison.thresholdScale, comparison.contactDistance,
          comparison.minIterationScore, comparison.gapOpen, comparison.gapAffine,
          comparison.gdtCutoff, settings.clustering.threshold, settings.clustering.maxThreshold,
          settings.clustering.thresholdStep, settings.clustering.juryScore})
        FUZZ_REQUIRE(std::isfinite(value));
    FUZZ_REQUIRE(comparison.iterations <= 200 && settings.output.lineWrap >= 1);
    FUZZ_REQUIRE(comparison.rankByTM != settings.measure.rankMS ||
                 line.request == Request::ShortUsage);
    if (line.request != Request::Run) return;
    FUZZ_REQUIRE(settings.output.logLevel >= 1);
    FUZZ_REQUIRE(settings.clustering.threshold >= 0.0 && settings.clustering.maxThreshold >= 0.0);
    FUZZ_REQUIRE(settings.clustering.thresholdStep >= 0.0);
    FUZZ_REQUIRE(settings.input.distanceFile || settings.input.transformFile ||
                 settings.input.listFile ||
                 (settings.input.experimentFile && settings.input.predictionFile));
    FUZZ_REQUIRE(!settings.input.distanceFile || settings.measure.rmsdOnly);
}

void requireSame(const CommandLine& a, const CommandLine& b) {
    FUZZ_REQUIRE(a.request == b.request);
    FUZZ_REQUIRE(a.settings.input.experimentFile == b.settings.input.experimentFile);
    FUZZ_REQUIRE(a.settings.input.predictionFile == b.settings.input.predictionFile);
    FUZZ_REQUIRE(a.settings.clustering.threshold == b.settings.clustering.threshold);
    FUZZ_REQUIRE(a.settings.comparison.distanceCutoff == b.settings.comparison.distanceCutoff);
}

// How many conversions of whole numbers or of reals a text has; none when it has anything else
// after a percent sign.
std::optional<int> countPlainConversions(std::string_view text) {
    static const std::regex kSpecification("[-+ #0]*[0-9]{0,3}([.][0-9]{0,3})?");
    int count = 0;
    for (std::size_t at = text.find('%'); at != std::string_view::npos;
         at = text.find('%', at + 1)) {
        const std::size_t end = text.find_first_of("diuxXofFeEgG%", at + 1);
        if (end == std::string_view::npos) return std::nullopt;
        const bool isPercent = text[end] == '%';
        const std::string specification(text.substr(at + 1, end - at - 1));
        if (isPercent ? end > at + 1 : !std::regex_match(specification, kSpecification))
            return std::nullopt;
        if (!isPercent) ++count;
        at = end;
    }
    return count;
}

// The calling convention keeps whole numbers and reals apart, so eight zeros of each serve any
// eight conversions.
std::string printedZeros(const std::string& pattern) {
    static std::array<char, 20000> buffer;
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#pragma clang diagnostic ignored "-Wformat-extra-args"
    const int length = std::snprintf(buffer.data(), buffer.size(), pattern.c_str(), 0, 0, 0, 0, 0,
                                     0, 0, 0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
#pragma clang diagnostic pop
    FUZZ_REQUIRE(length >= 0 && static_cast<std::size_t>(length) < buffer.size());
    return {buffer.data(), static_cast<std::size_t>(length)};
}

void requireExpansion(const std::string& text) {
    const std::string expanded = expandAsFormat(text);
    const std::optional<int> conversions = countPlainConversions(text);
    constexpr int kMost = 8;
    if (!conversions || *conversions > kMost || text.find('\0') != std::string_view::npos) return;
    FUZZ_REQUIRE(expanded == printedZeros(text));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    std::ofstream(ScratchFolder::path() + "/" + kReadableFile) << "a file";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    // No name leads out of the scratch folder.
    std::replace(text.begin(), text.end(), '/', '|');
    std::vector<std::string> arguments = splitLines(text);
    arguments.insert(arguments.begin(), "bin/tervolanda");

    const ScratchFolder folder;
    const std::optional<CommandLine> line = readQuietly(arguments);
    const std::optional<CommandLine> again = readQuietly(arguments);
    FUZZ_REQUIRE(line.has_value() == again.has_value());
    for (const std::string& argument : arguments)
        requireExpansion(argument);
    if (!line) return 0;
    requireSame(*line, *again);
    requireSound(*line);
    const int width = line->settings.output.lineWrap;
    FUZZ_REQUIRE(extendedHelp(width).starts_with(standardHelp()));
    return 0;
}
