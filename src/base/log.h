// Every message of the program: information, warnings, errors, the fatal end, and the one-line
// progress counters of long runs.  Most result lines of list runs are information lines, so the
// prefixes are part of the output format.
#pragma once

#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/file.h"

namespace tervolanda {

// The severities; their numbers index the table of prefixes.
enum class LogLevel : int { Info = 0, Warn = 1, Error = 2, Abend = 3, Plain = 4 };

// The text behind " - " in messages about a failed file operation.  It is the same for every
// error: scripts that read the messages rely on it.
const char* systemErrorText();

class Log {
 public:
    Log() : Log(stdout, stderr) {}
    // The streams are lent and stay open.
    Log(std::FILE* output, std::FILE* error);
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // A line of detail v is written when v is below the log level; errors are always written.
    int logLevel() const { return logLevel_; }
    void setLogLevel(int level) { logLevel_ = level; }

    [[gnu::format(printf, 3, 4)]] void info(int detail, const char* pattern, ...);
    // An information line without line end that the next progress line overwrites.  It is flushed;
    // off a terminal only where no other one was just before.
    [[gnu::format(printf, 3, 4)]] void progress(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void warn(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void error(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void plain(int detail, const char* pattern, ...);
    // The fatal end: the line, the streams closed, exit status 1.
    [[noreturn, gnu::format(printf, 2, 3)]] void abend(const char* pattern, ...);
    // The same for a lack of memory, without any allocation of its own.
    [[noreturn]] void abendOutOfMemory();
    // For a process that has to outlive it: `end` takes the place of the exit, and throws.
    void setFatalEnd(void (*end)()) { fatalEnd_ = end; }

    // Ends a standing progress line.  Who prints to standard output directly calls it before.
    void endProgress();
    // `descriptor`, which is lent, holds from now on the descriptor on which a progress line stands
    // unfinished, and -1 when none does: a signal handler needs it.
    void tellProgress(volatile std::sig_atomic_t* descriptor) { progressDescriptor_ = descriptor; }

    // The text behind the last "/" of the first program argument.
    void setProgramName(std::string_view argument);
    const std::string& programName() const { return programName_; }

    // From here on every line goes to the file.  A file that cannot be opened is fatal.
    void openLogFile(const std::string& path);

    // An ERROR line for a file that could not be written to its end, when there is nobody to hand
    // the failure to; the run will end with status 1.
    void incompleteFile(const std::string& path);
    bool hasIncompleteFile() const { return hasIncompleteFile_; }

    // Flushes all that was written; false when not every byte arrived.
    bool flush();

 private:
    void write(LogLevel severity, bool isProgress, const std::string& message);
    [[gnu::format(printf, 5, 0)]] void writeList(LogLevel severity, int detail, bool isProgress,
                                                 const char* pattern, std::va_list arguments);
    bool isWritten(LogLevel severity, int detail) const;
    void standProgress(std::size_t width);
    bool showsProgressNow();
    [[noreturn]] void exitWithFailure();

    std::FILE* output_;
    std::FILE* error_;
    FileHandle logFile_;  // both streams once it is open
    void (*fatalEnd_)() = nullptr;
    std::string programName_ = "unknown";
    std::string message_, line_;     // scratch: a batch allocates nothing for its progress lines
    std::size_t progressWidth_ = 0;  // characters of the progress line now standing; 0 for none
    std::chrono::steady_clock::time_point progressShown_{};  // when one was last flushed
    bool isTerminal_;
    volatile std::sig_atomic_t* progressDescriptor_ = nullptr;
    int logLevel_ = 1;
    bool failed_ = false;
    bool hasIncompleteFile_ = false;
};

// The ERROR lines of one report.  Faults of pairs can be more than any disk holds lines of, from a
// file of a few bytes: behind kMostLines they are only counted.
class FaultReport {
 public:
    static constexpr std::uint64_t kMostLines = 1'000'000;

    explicit FaultReport(Log& log) : log_(log) {}
    // The same line so many times.
    [[gnu::format(printf, 3, 4)]] void error(std::uint64_t times, const char* pattern, ...);
    // Says how many were not listed, if any.
    void finish();
    std::uint64_t count() const { return count_; }

 private:
    Log& log_;
    std::uint64_t count_ = 0;
};

// The result lines that go straight to standard output, without a prefix and not into a log file:
// pairwise results and the details of a comparison, gated by the report level of the run mode.
class Report {
 public:
    Report(Log& log, int reportLevel) : Report(log, reportLevel, stdout) {}
    Report(Log& log, int reportLevel, std::FILE* output)
        : log_(&log), output_(output), reportLevel_(reportLevel) {}

    // Written when `level` is below the report level.
    [[gnu::format(printf, 3, 4)]] void report(int level, const char* pattern, ...);
    // Written when the report level is `atLeast` or more.
    [[gnu::format(printf, 3, 4)]] void reportFrom(int atLeast, const char* pattern, ...);
    void incompleteFile(const std::string& path) { log_->incompleteFile(path); }
    bool reportsFrom(int atLeast) const { return reportLevel_ >= atLeast; }
    int reportLevel() const { return reportLevel_; }

 private:
    [[gnu::format(printf, 2, 0)]] void write(const char* pattern, std::va_list arguments);

    Log* log_;
    std::FILE* output_;
    int reportLevel_;
};

}  // namespace tervolanda
