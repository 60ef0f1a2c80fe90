// From the command line to the exit status: a text or one of the run modes, and at the end the
// check that everything printed has arrived.
#include "driver/run.h"

#include <cstdio>
#include <cstdlib>

#include "base/log.h"
#include "chain/chain.h"
#include "driver/help_text.h"
#include "driver/modes.h"
#include "driver/settings.h"

namespace tervolanda {

namespace {

int runMode(const Settings& settings, Log& log) {
    ResidueExclusions exclusions;
    if (settings.exclusionFile) {
        // A file that cannot be read is reported, and the run goes on without it.
        readResidueExclusionFile(*settings.exclusionFile, exclusions, log);
    }
    if (settings.distanceFile) return runClusterOnly(settings, log);
    if (settings.transformFile) return runTransformMode(settings, log);
    if (!settings.listFile) return runPairwise(settings, exclusions, log);
    if (settings.experimentFile) return runOneVsList(settings, exclusions, log);
    return runAllVsAll(settings, exclusions, log);
}

int perform(const CommandLine& line, Log& log) {
    std::string text;
    switch (line.request) {
        case Request::Run:
            return runMode(line.settings, log);
        case Request::ShortUsage:
            text = shortUsage();
            break;
        case Request::StandardHelp:
            text = standardHelp();
            break;
        case Request::ExtendedHelp:
            text = extendedHelp(line.settings.lineWrap);
            break;
        case Request::Version:
            text = versionText();
            break;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return EXIT_SUCCESS;
}

// Flushes what is still on its way.  What has not arrived is reported by a log of its own, since
// the run's may be what failed.
bool everythingArrived(const CommandLine& line, Log& log) {
    const bool logged = log.flush();
    const bool printed = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (!printed) {
        Log().error(0, "Failed to write to standard output - %s", systemErrorText());
    } else if (!logged) {
        Log().error(0, "Failed to write log file '%s' - %s",
                    line.settings.logFile.value_or("").c_str(), systemErrorText());
    }
    return logged && printed;
}

}  // namespace

int run(const std::vector<std::string>& arguments, Log& log) {
    const CommandLine line = readCommandLine(arguments, log);
    const int status = perform(line, log);
    return everythingArrived(line, log) && !log.hasIncompleteFile() ? status : EXIT_FAILURE;
}

}  // namespace tervolanda
