// One routine writes every line.  The width of a standing progress line is remembered, so that the
// next one can run back over it and blank out the rest.
#include "base/line_streams.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace tervolanda {

namespace {

constexpr char kBackspace = '\b';
// Off a terminal nobody waits for a line; flushing each was 6 % of an RMSD batch of 300 models.
constexpr std::chrono::milliseconds kBetweenShown(50);

bool goesToOutput(LogLevel severity) {
    return severity == LogLevel::Info || severity == LogLevel::Plain ||
           severity == LogLevel::Progress;
}

}  // namespace

LineStreams::LineStreams(std::FILE* output, std::FILE* error, std::FILE* report)
    : output_(output), error_(error), report_(report), isTerminal_(isatty(fileno(output)) == 1) {}

void LineStreams::write(LogLevel severity, std::string_view text) {
    if (severity == LogLevel::Report) return writeReport(text);
    line_.clear();
    if (severity == LogLevel::Progress) {
        layOutProgress(text);
    } else {
        endProgress();
        line_ += prefixOf(severity);
        line_ += text;
        line_ += '\n';
    }
    const bool toOutput = goesToOutput(severity);
    std::FILE* const stream = toOutput ? output_ : error_;
    if (!toOutput) std::fflush(output_);
    if (std::fwrite(line_.data(), 1, line_.size(), stream) != line_.size() && toOutput) {
        failed_ = true;
    }
    if (!toOutput || (severity == LogLevel::Progress && showsProgressNow())) std::fflush(stream);
}

void LineStreams::writeOutOfMemory() {
    endProgress();
    std::fflush(output_);
    std::fputs(prefixOf(LogLevel::Abend).data(), error_);
    std::fputs("Not enough memory\n", error_);
    std::fflush(error_);
}

void LineStreams::writeReport(std::string_view text) {
    endProgress();
    std::fwrite(text.data(), 1, text.size(), report_);
}

void LineStreams::layOutProgress(std::string_view text) {
    if (progressWidth_ > 0 && !logFile_) {
        line_.assign(progressWidth_, kBackspace);
    } else {
        endProgress();
    }
    line_ += prefixOf(LogLevel::Progress);
    line_ += text;
    const std::size_t width = text.size() + prefixOf(LogLevel::Progress).size();
    if (width < progressWidth_) line_.append(progressWidth_ - width, ' ');
    standProgress(std::max(progressWidth_, width));
}

bool LineStreams::showsProgressNow() {
    if (isTerminal_) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now - progressShown_ < kBetweenShown) return false;
    progressShown_ = now;
    return true;
}

void LineStreams::endProgress() {
    if (progressWidth_ == 0) return;
    if (std::fputc('\n', output_) == EOF) failed_ = true;
    standProgress(0);
}

void LineStreams::standProgress(std::size_t width) {
    progressWidth_ = width;
    if (progressDescriptor_ != nullptr) *progressDescriptor_ = width > 0 ? fileno(output_) : -1;
}

void LineStreams::useLogFile(FileHandle file) {
    endProgress();
    logFile_ = std::move(file);
    output_ = logFile_.get();
    error_ = logFile_.get();
    isTerminal_ = false;
}

bool LineStreams::flush() {
    if (std::fflush(output_) != 0 || std::ferror(output_) != 0) failed_ = true;
    return !failed_;
}

}  // namespace tervolanda
