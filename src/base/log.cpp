// One routine writes every line; the entry points differ in severity only.  A progress line stays
// unfinished on the output, and its width is remembered so that the next one can run back over it.
#include "base/log.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdlib>

#include "base/format.h"

namespace tervolanda {

namespace {

constexpr std::array<std::string_view, 5> kPrefixes = {
    "INFO  : ", "WARN  : ", "ERROR : ", "ABEND : ", ""};
constexpr char kBackspace = '\b';
// Off a terminal nobody waits for a line; flushing each was 6 % of an RMSD batch of 300 models.
constexpr std::chrono::milliseconds kBetweenShown(50);

}  // namespace

const char* systemErrorText() {
    return "Unknown error.";
}

Log::Log(std::FILE* output, std::FILE* error)
    : output_(output), error_(error), isTerminal_(isatty(fileno(output)) == 1) {}

bool Log::isWritten(LogLevel severity, int detail) const {
    return severity == LogLevel::Error || severity == LogLevel::Abend || detail < logLevel_;
}

void Log::write(LogLevel severity, bool isProgress, const std::string& message) {
    const bool overwrites = isProgress && progressWidth_ > 0 && !logFile_;
    std::string& line = line_;
    line.clear();
    if (overwrites) {
        line.assign(progressWidth_, kBackspace);
    } else {
        endProgress();
    }
    line += kPrefixes[static_cast<std::size_t>(severity)];
    line += message;
    if (isProgress) {
        const std::size_t width = message.size() + kPrefixes[0].size();
        if (width < progressWidth_) line.append(progressWidth_ - width, ' ');
        standProgress(std::max(progressWidth_, width));
    } else {
        line += '\n';
    }
    const bool toOutput = severity == LogLevel::Info || severity == LogLevel::Plain;
    std::FILE* const stream = toOutput ? output_ : error_;
    if (!toOutput) std::fflush(output_);
    if (std::fwrite(line.data(), 1, line.size(), stream) != line.size() && toOutput) failed_ = true;
    if (!toOutput || (isProgress && showsProgressNow())) std::fflush(stream);
}

bool Log::showsProgressNow() {
    if (isTerminal_) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now - progressShown_ < kBetweenShown) return false;
    progressShown_ = now;
    return true;
}

void Log::writeList(LogLevel severity, int detail, bool isProgress, const char* pattern,
                    std::va_list arguments) {
    if (!isWritten(severity, detail)) return;
    formatListTo(message_, pattern, arguments);
    write(severity, isProgress, message_);
}

void Log::info(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Info, detail, false, pattern, arguments);
    va_end(arguments);
}

void Log::progress(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Info, detail, true, pattern, arguments);
    va_end(arguments);
}

void Log::warn(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Warn, detail, false, pattern, arguments);
    va_end(arguments);
}

void Log::error(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Error, detail, false, pattern, arguments);
    va_end(arguments);
}

void Log::plain(int detail, const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Plain, detail, false, pattern, arguments);
    va_end(arguments);
}

void Log::abend(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    writeList(LogLevel::Abend, 0, false, pattern, arguments);
    va_end(arguments);
    exitWithFailure();
}

void Log::abendOutOfMemory() {
    endProgress();
    std::fflush(output_);
    std::fputs(kPrefixes[static_cast<std::size_t>(LogLevel::Abend)].data(), error_);
    std::fputs("Not enough memory\n", error_);
    exitWithFailure();
}

// exit() flushes and closes standard output and standard error.
void Log::exitWithFailure() {
    logFile_.reset();
    if (fatalEnd_ != nullptr) fatalEnd_();
    std::exit(EXIT_FAILURE);
}

void Log::endProgress() {
    if (progressWidth_ == 0) return;
    if (std::fputc('\n', output_) == EOF) failed_ = true;
    standProgress(0);
}

void Log::standProgress(std::size_t width) {
    progressWidth_ = width;
    if (progressDescriptor_ != nullptr) *progressDescriptor_ = width > 0 ? fileno(output_) : -1;
}

void Log::setProgramName(std::string_view argument) {
    const std::size_t slash = argument.rfind('/');
    programName_ = argument.substr(slash == std::string_view::npos ? 0 : slash + 1);
}

void Log::openLogFile(const std::string& path) {
    FileHandle file(std::fopen(path.c_str(), "wb"));
    if (!file) abend("Failed to open log file '%s' - %s", path.c_str(), systemErrorText());
    endProgress();
    logFile_ = std::move(file);
    output_ = logFile_.get();
    error_ = logFile_.get();
    isTerminal_ = false;
    info(0, "Successfully started log file '%s'", path.c_str());
}

void Log::incompleteFile(const std::string& path) {
    hasIncompleteFile_ = true;
    error(0, "Failed to write file '%s' - %s", path.c_str(), systemErrorText());
}

bool Log::flush() {
    if (std::fflush(output_) != 0 || std::ferror(output_) != 0) failed_ = true;
    return !failed_;
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

void Report::write(const char* pattern, std::va_list arguments) {
    log_->endProgress();
    const std::string text = formatList(pattern, arguments);
    std::fwrite(text.data(), 1, text.size(), output_);
}

void Report::report(int level, const char* pattern, ...) {
    if (level >= reportLevel_) return;
    std::va_list arguments;
    va_start(arguments, pattern);
    write(pattern, arguments);
    va_end(arguments);
}

void Report::reportFrom(int atLeast, const char* pattern, ...) {
    if (!reportsFrom(atLeast)) return;
    std::va_list arguments;
    va_start(arguments, pattern);
    write(pattern, arguments);
    va_end(arguments);
}

}  // namespace tervolanda
