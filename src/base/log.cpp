// The entry points differ in severity only: each line is formatted, if the level lets it, and
// handed to the sink.
#include "base/log.h"

#include <algorithm>
#include <array>
#include <cinttypes>

#include "base/format.h"

namespace tervolanda {

std::string_view prefixOf(LogLevel severity) {
    static constexpr std::array<std::string_view, 8> kPrefixes = {
        "INFO  : ", "WARN  : ", "ERROR : ", "ABEND : ", "", "INFO  : ", "", "INFO  : "};
    return kPrefixes.at(static_cast<std::size_t>(severity));
}

const char* systemErrorText() {
    return "Unknown error.";
}

void Log::writeList(LogLevel severity, int detail, const char* pattern, std::va_list arguments) {
    const bool isWritten = severity == LogLevel::Error || detail < logLevel_;
    if (!isWritten || !sink_) return;
    formatListTo(message_, pattern, arguments);
    sink_(severity, message_);
}

void Log::info(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Info, detail, pattern, arguments);
    va_end(arguments);
}

void Log::pace(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Pace, 0, pattern, arguments);
    va_end(arguments);
}

void Log::progress(int detail, const char* pattern, ...) {
    if (progressForm_ != ProgressForm::Counter) return;
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Progress, detail, pattern, arguments);
    va_end(arguments);
}

void Log::warn(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Warn, detail, pattern, arguments);
    va_end(arguments);
}

void Log::error(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Error, detail, pattern, arguments);
    va_end(arguments);
}

void Log::plain(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Plain, detail, pattern, arguments);
    va_end(arguments);
}

void Log::report(std::string_view text) {
    if (sink_) sink_(LogLevel::Report, text);
}

void Log::incompleteFile(const std::string& path) {
    hasIncompleteFile_ = true;
    error(0, "Failed to write file '%s' - %s", path.c_str(), systemErrorText());
}

void FaultReport::error(std::uint64_t times, const char* pattern, ...) {
    const std::uint64_t listed = std::min(times, kMostLines - std::min(kMostLines, count_));
    count_ += times;
    if (listed == 0) return;
    std::va_list arguments;
    va_start(arguments, pattern);
    const std::string line = formatList(pattern, arguments);
    va_end(arguments);
    for (std::uint64_t i = 0; i < listed; ++i)
        log_.error(0, "%s", line.c_str());
}

void FaultReport::finish() {
    if (count_ <= kMostLines) return;
    log_.error(0, "%" PRIu64 " more faults of this kind are not listed", count_ - kMostLines);
}

void Report::report(ReportLevel level, const char* pattern, ...) {
    if (!reports(level)) return;
    std::va_list arguments;
    va_start(arguments, pattern);
    log_->report(formatList(pattern, arguments));
    va_end(arguments);
}

}  // namespace tervolanda
