// Every message of the program: information, warnings, errors, the one-line progress counters of
// long runs, and the result lines.  A Log decides by its level what is said; where it goes is the
// business of the sink that it was given.  Most result lines of list runs are information lines, so
// the prefixes are part of the output format.
//
// Rooms below the driver are handed a Log or a Report; they know neither streams nor the log file.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tervolanda {

// What a line is.
enum class LogLevel : int {
    Info = 0,
    Warn = 1,
    Error = 2,
    Abend = 3,  // the run ends with it
    Plain = 4,
    Progress = 5,  // an information line that the next one of its kind overwrites
    Report = 6,    // no line but text as it stands: results, which no log file takes
    Pace = 7,      // a line for the error stream: how far a long run is
};

// How a long run shows how far it is: by a counter that overwrites itself, not at all, or by a line
// of LogLevel::Pace now and then.
enum class ProgressForm : std::uint8_t { Counter, None, Lines };

// "INFO  : " and so on; empty for plain lines and reports.
std::string_view prefixOf(LogLevel severity);

// Takes one line after the other, without prefix and line end, and the texts of reports.  An empty
// report only ends a progress line that stands unfinished.
using LineSink = std::function<void(LogLevel severity, std::string_view text)>;

// The text after " - " in messages about a failed file operation.  It is the same for every
// error: scripts that read the messages rely on it.
const char* systemErrorText();

// Formats lines and hands those that its level lets pass to the sink, one after the other.  Not for
// several threads at a time: workers have logs of their own (cluster/batch/worker.h).
class Log {
 public:
    // Without a sink nothing is said.
    Log() = default;
    explicit Log(LineSink sink) : sink_(std::move(sink)) {}
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // A line of detail v is written when v is below the log level; errors are always written.
    int logLevel() const { return logLevel_; }
    void setLogLevel(int level) { logLevel_ = level; }
    // Only counters are lines of progress().
    ProgressForm progressForm() const { return progressForm_; }
    void setProgressForm(ProgressForm form) { progressForm_ = form; }

    [[gnu::format(printf, 3, 4)]] void info(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void progress(int detail, const char* pattern, ...);
    // The same for a line that is written already.
    void progressText(int detail, std::string_view line) {
        if (detail < logLevel_) passOn(LogLevel::Progress, line);
    }
    [[gnu::format(printf, 3, 4)]] void error(int detail, const char* pattern, ...);
    // For callers of the library: no run of the program has warnings or lines without a prefix.
    [[gnu::format(printf, 3, 4)]] void warn(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void plain(int detail, const char* pattern, ...);
    [[gnu::format(printf, 2, 3)]] void pace(const char* pattern, ...);
    // Text as it stands; ends a standing progress line first.
    void report(std::string_view text);
    void endProgress() { report({}); }
    // A line, without its prefix, that another log of the same level was given.
    void passOn(LogLevel severity, std::string_view line) {
        const bool isKept =
            severity != LogLevel::Progress || progressForm_ == ProgressForm::Counter;
        if (sink_ && isKept) sink_(severity, line);
    }

    // An ERROR line for a file that could not be written to its end, when there is nobody to hand
    // the failure to; the run will end with status 1.
    void incompleteFile(const std::string& path);
    bool hasIncompleteFile() const { return hasIncompleteFile_; }

 private:
    [[gnu::format(printf, 4, 0)]] void writeList(LogLevel severity, int detail, const char* pattern,
                                                 std::va_list arguments);

    LineSink sink_;
    std::string message_;  // scratch: a batch allocates nothing for its progress lines
    int logLevel_ = 1;
    ProgressForm progressForm_ = ProgressForm::Counter;
    bool hasIncompleteFile_ = false;
};

// The ERROR lines of one report.  Faults of pairs can be more than any disk holds lines of, from a
// file of a few bytes: after kMostLines they are only counted.
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

// From which report level on a text is part of the results: each level has all of the lower ones.
enum class ReportLevel : int {
    Results = 1,    // the lines that a pairwise run is made for
    Numbers = 3,    // which models are compared, totals, why there is no figure
    Alignment = 4,  // sizes, domain iterations and the alignment; the default of pairwise runs
    Passes = 5,     // sequences, and each pass of a search with its superposition
    Mapping = 6,    // how each pass pairs residues
};

// The result lines that go to standard output, without a prefix and not into a log file: pairwise
// results and the details of a comparison, gated by the report level of the run mode.
class Report {
 public:
    Report(Log& log, int reportLevel) : log_(&log), reportLevel_(reportLevel) {}

    // Written when the report level is `level` or more.
    [[gnu::format(printf, 3, 4)]] void report(ReportLevel level, const char* pattern, ...);
    bool reports(ReportLevel level) const { return reportLevel_ >= static_cast<int>(level); }
    // One of the same level that writes to another log.
    Report into(Log& log) const { return {log, reportLevel_}; }

    // The same, saying nothing.
    Report silent() const { return {*log_, 0}; }

 private:
    Log* log_;
    int reportLevel_;
};

}  // namespace tervolanda
