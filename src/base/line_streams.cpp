// One routine writes every line.  The width of a standing progress line is remembered, so that the
// next one can run back over it and blank out the rest.
#include "base/line_streams.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/text.h"

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

LineStreams::Stream::Stream(std::FILE* stream)
    : file(stream), isTerminal(isatty(fileno(stream)) == 1) {}

void LineStreams::write(LogLevel severity, std::string_view text) {
    if (severity == LogLevel::Report) return writeReport(text);
    const bool toOutput = goesToOutput(severity);
    const Stream& stream = toOutput ? output_ : error_;
    // An ERROR line may have a line end of its own; all of them quote names in quotation marks.
    const bool endsItself = severity == LogLevel::Error && text.ends_with('\n');
    text = shown(stream, text.substr(0, text.size() - (endsItself ? 1 : 0)), {});
    line_.clear();
    if (severity == LogLevel::Progress) {
        layOutProgress(text);
    } else {
        endProgress();
        line_ += prefixOf(severity);
        line_ += text;
        line_.append(endsItself ? 2 : 1, '\n');
    }
    if (!toOutput) std::fflush(output_.file);
    if (std::fwrite(line_.data(), 1, line_.size(), stream.file) != line_.size() && toOutput) {
        failed_ = true;
    }
    if (!toOutput || (severity == LogLevel::Progress && showsProgressNow())) {
        std::fflush(stream.file);
    }
}

void LineStreams::writeOutOfMemory() {
    endProgress();
    std::fflush(output_.file);
    std::fputs(prefixOf(LogLevel::Abend).data(), error_.file);
    std::fputs("Not enough memory\n", error_.file);
    std::fflush(error_.file);
}

void LineStreams::writeReport(std::string_view text) {
    endProgress();
    if (text.empty()) return;  // it may have no address, which fwrite() must not be given
    text = shown(report_, text, "\n");
    std::fwrite(text.data(), 1, text.size(), report_.file);
}

// The text as a stream gets it.  What is `kept` may be our own.
std::string_view LineStreams::shown(const Stream& stream, std::string_view text,
                                    std::string_view kept) {
    if (!stream.isTerminal) return text;
    text_ = text;
    hideControlBytes(text_, kept);
    return text_;
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
    if (output_.isTerminal) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now - progressShown_ < kBetweenShown) return false;
    progressShown_ = now;
    return true;
}

void LineStreams::endProgress() {
    if (progressWidth_ == 0) return;
    if (std::fputc('\n', output_.file) == EOF) failed_ = true;
    standProgress(0);
}

void LineStreams::standProgress(std::size_t width) {
    progressWidth_ = width;
    if (progressDescriptor_ != nullptr)
        *progressDescriptor_ = width > 0 ? fileno(output_.file) : -1;
}

void LineStreams::useLogFile(FileHandle file) {
    endProgress();
    logFile_ = std::move(file);
    output_ = Stream(logFile_.get());
    error_ = output_;
}

bool LineStreams::flush() {
    if (std::fflush(output_.file) != 0 || std::ferror(output_.file) != 0) failed_ = true;
    return !failed_;
}

}  // namespace tervolanda
