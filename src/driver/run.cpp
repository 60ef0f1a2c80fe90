// From the command line to the exit status: a text or one of the run modes, and at the end the
// check that everything printed has arrived.
//
// Exit status 0 is a promise, that every byte which was to be written has been.  A full disk shows
// itself only when buffers are flushed, so this comes last, and a line about it may itself be lost.
#include "driver/run.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "base/line_streams.h"
#include "base/log.h"
#include "chain/input/input.h"
#include "driver/abend.h"
#include "driver/blocks.h"
#include "driver/help_text.h"
#include "driver/measure_options.h"
#include "driver/modes.h"
#include "driver/outputs.h"
#include "driver/run_exports.h"
#include "driver/settings.h"
#include "export/export.h"

namespace tervolanda {

namespace {

// The first that applies.  A file of results is never compared again, whatever else is named beside
// it; a list with an experiment is compared with that and not within itself.
int compareOrCluster(const Settings& settings, const ResidueExclusions& exclusions,
                     RunExports& exports, Log& log) {
    if (settings.input.distanceFile) return runClusterOnly(settings, exports, log);
    if (settings.input.transformFile) return runTransformMode(settings, exports, log);
    if (!settings.input.listFile) return runPairwise(settings, exclusions, exports, log);
    if (settings.input.experimentFile) return runOneVsList(settings, exclusions, exports, log);
    const BlockSettings& blocks = settings.blocks;
    if (blocks.missingFolder) return runMissing(settings, exclusions, log);
    if (blocks.planMinutes) return runPlan(settings, exclusions, log);
    if (blocks.partFile) return runBlock(settings, exclusions, log);
    return runAllVsAll(settings, exclusions, exports, log);
}

int runMode(const Settings& settings, RunExports& exports, Log& log) {
    // Before anything is read that would be told of.
    if (settings.blocks.printsFiguresAlone()) log.setLogLevel(0);
    ResidueExclusions exclusions;
    if (settings.input.exclusionFile) {
        // A file that cannot be read is reported, and the run goes on without it.
        const std::string& path = *settings.input.exclusionFile;
        const bool isRead = readResidueExclusionFile(path, exclusions, log);
        if (!isRead && settings.strict) abend("Failed to read exclusion file '%s'", path.c_str());
    }
    const int status = compareOrCluster(settings, exclusions, exports, log);
    if (!settings.strict || status != EXIT_SUCCESS || exports.pairsWithoutFit() == 0) return status;
    log.error(0, "Pairs without a fit: %zu", exports.pairsWithoutFit());
    return static_cast<int>(Fault::Incomplete);
}

// Makes what all modes share, the sink for matrices and the exports, and sees to it that a run that
// ends before its time is recorded in the files that record failures.  The settings come by value,
// as they point to the sink, which lives as long as the run.
int runAndRecord(Settings settings, Log& log) {
    SimilarityMatrixFiles matrices(log);
    settings.comparison.similaritySink = &matrices;
    RunExports exports(settings, log);
    try {
        return runMode(settings, exports, log);
    } catch (const Abend& end) {
        // Runs that prepare a merge are given its options, and write none of its files.
        const BlockSettings& blocks = settings.blocks;
        if (!blocks.partFile && !blocks.missingFolder && !blocks.planMinutes)
            exports.fail(end.what());
        throw;
    }
}

// The text that a command line asks for; none for a run.
std::optional<std::string> requestedText(const CommandLine& line) {
    switch (line.request) {
        case Request::Run:
            return std::nullopt;
        case Request::ShortUsage:
            return shortUsage();
        case Request::StandardHelp:
            return standardHelp();
        case Request::ExtendedHelp:
            return extendedHelp(line.settings.output.lineWrap);
        case Request::MoreHelp:
            return moreHelp();
        case Request::Version:
            return versionText();
    }
    std::abort();
}

int perform(const CommandLine& line, Log& log) {
    const std::optional<std::string> text = requestedText(line);
    if (!text) return runAndRecord(line.settings, log);
    // Texts go out as they are, without the prefix of a log line and whatever the log level.
    std::fwrite(text->data(), 1, text->size(), stdout);
    return EXIT_SUCCESS;
}

// The log file might be one of two outputs in one file: nothing is written before that is known.
void startLog(const Settings& settings, LineStreams& streams, Log& log) {
    if (const auto shared = sharedOutput(settings)) abend("%s", shared->c_str());
    if (const auto replaced = replacedInput(settings)) abend("%s", replaced->c_str());
    if (!settings.output.logFile) return;
    const char* const path = settings.output.logFile->c_str();
    FileHandle file(std::fopen(path, "wb"));
    if (!file)
        abend(Fault::NotWritten, "Failed to open log file '%s' - %s", path, systemErrorText());
    streams.useLogFile(std::move(file));
    log.info(0, "Successfully started log file '%s'", path);
}

// Flushes what is still on its way.  What has not arrived is reported by a log of its own, since
// the run's may be what failed.
bool everythingArrived(const CommandLine& line, LineStreams& streams) {
    const bool logged = streams.flush();
    const bool printed = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (logged && printed) return true;
    LineStreams standardStreams;
    Log log(standardStreams.sink());
    if (!printed) {
        log.error(0, "Failed to write to standard output - %s", systemErrorText());
    } else {
        log.error(0, "Failed to write log file '%s' - %s",
                  line.settings.output.logFile.value_or("").c_str(), systemErrorText());
    }
    return false;
}

}  // namespace

int run(const std::vector<std::string>& arguments, LineStreams& streams) {
    // Known before the command line is, which may end the run.
    const bool isStrict =
        std::find(arguments.begin(), arguments.end(), "--strict") != arguments.end();
    // What a fault is called that is not of a kind of its own: by how far the run has come.
    Fault fault = Fault::Usage;
    Log log(streams.sink());
    try {
        const CommandLine line = readCommandLine(arguments, log);
        if (line.request == Request::Run) {
            checkBlocks(line.settings);
            checkMeasures(line.settings);
            checkExports(line.settings);
            startLog(line.settings, streams, log);
        }
        fault = Fault::Input;
        const int status = perform(line, log);
        const bool arrived = everythingArrived(line, streams);
        if (arrived && !log.hasIncompleteFile() && status != EXIT_FAILURE) return status;
        return isStrict ? static_cast<int>(Fault::NotWritten) : EXIT_FAILURE;
    } catch (const Abend& end) {
        streams.write(LogLevel::Abend, end.what());
        return isStrict ? static_cast<int>(end.fault().value_or(fault)) : EXIT_FAILURE;
    }
}

}  // namespace tervolanda
