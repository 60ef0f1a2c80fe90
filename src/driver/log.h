// Every message of the program: information, warnings, errors, the fatal end, and the one-line
// progress counters of long runs.  Most result lines of list runs are information lines, so the
// prefixes are part of the output format.
#pragma once

#include <cstdarg>
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
    Log(std::FILE* output, std::FILE* error) : output_(output), error_(error) {}
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // A line of detail v is written when v is below the log level; errors are always written.
    int logLevel() const { return logLevel_; }
    void setLogLevel(int level) { logLevel_ = level; }

    [[gnu::format(printf, 3, 4)]] void info(int detail, const char* pattern, ...);
    // An information line without line end that the next progress line overwrites.
    [[gnu::format(printf, 3, 4)]] void progress(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void warn(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void error(int detail, const char* pattern, ...);
    [[gnu::format(printf, 3, 4)]] void plain(int detail, const char* pattern, ...);
    // The fatal end: the line, the streams closed, exit status 1.
    [[noreturn, gnu::format(printf, 2, 3)]] void abend(const char* pattern, ...);

    // Ends a standing progress line.  Who prints to standard output directly calls it before.
    void endProgress();

    // The text behind the last "/" of the first program argument.
    void setProgramName(std::string_view argument);
    const std::string& programName() const { return programName_; }

    // From here on every line goes to the file.  A file that cannot be opened is fatal.
    void openLogFile(const std::string& path);

    // Flushes all that was written; false when not every byte arrived.
    bool flush();

 private:
    void write(LogLevel severity, int detail, bool isProgress, const std::string& message);
    [[gnu::format(printf, 5, 0)]] void writeList(LogLevel severity, int detail, bool isProgress,
                                                 const char* pattern, std::va_list arguments);
    bool isWritten(LogLevel severity, int detail) const;

    std::FILE* output_;
    std::FILE* error_;
    FileHandle logFile_;  // both streams once it is open
    std::string programName_ = "unknown";
    std::size_t progressWidth_ = 0;  // characters of the progress line now standing; 0 for none
    int logLevel_ = 1;
    bool failed_ = false;
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
    bool reportsFrom(int atLeast) const { return reportLevel_ >= atLeast; }
    int reportLevel() const { return reportLevel_; }

 private:
    [[gnu::format(printf, 2, 0)]] void write(const char* pattern, std::va_list arguments);

    Log* log_;
    std::FILE* output_;
    int reportLevel_;
};

}  // namespace tervolanda
