// The sink that the program uses: an output and an error stream, or a log file in their place.
//
// It alone knows terminals, streams and the log file.  Lines arrive in the order in which a Log is
// called; output is flushed before an error is written, so that the order on a screen is that of
// events.
#pragma once

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/file.h"
#include "base/log.h"

namespace tervolanda {

// Information goes to the output stream, warnings and errors to the error stream, flushed, and
// after all output.  A progress line stays unfinished on the output, and the next one runs back
// over it; it is flushed, off a terminal only where no other one was just before.  On a terminal,
// and only there, control bytes of names and records that are quoted appear as "?".
class LineStreams {
 public:
    // The streams are lent and stay open.
    LineStreams() : LineStreams(stdout, stderr, stdout) {}
    LineStreams(std::FILE* output, std::FILE* error, std::FILE* report)
        : output_(output), error_(error), report_(report) {}
    LineStreams(const LineStreams&) = delete;
    LineStreams& operator=(const LineStreams&) = delete;

    LineSink sink() {
        return [this](LogLevel severity, std::string_view text) { write(severity, text); };
    }
    void write(LogLevel severity, std::string_view text);
    // The ABEND line for a lack of memory, without any allocation.
    void writeOutOfMemory();

    // From here on every line, but no report, goes to the file, and nothing is overwritten there.
    void useLogFile(FileHandle file);

    // `descriptor`, which is lent, holds from now on the descriptor on which a progress line stands
    // unfinished, and -1 when none does: a signal handler needs it.
    void tellProgress(volatile std::sig_atomic_t* descriptor) { progressDescriptor_ = descriptor; }

    // Flushes all lines that were written; false when not every byte of them arrived.
    bool flush();

 private:
    // A stream that is lent, and whether people look at it.
    struct Stream {
        explicit Stream(std::FILE* stream);
        std::FILE* file;
        bool isTerminal;
    };

    // Invariant: progressWidth_ is not 0 exactly when a progress line stands unfinished on output_,
    // and then *progressDescriptor_, where there is one, names its descriptor.
    void writeReport(std::string_view text);
    std::string_view shown(const Stream& stream, std::string_view text, std::string_view kept);
    void layOutProgress(std::string_view text);
    void endProgress();
    void standProgress(std::size_t width);
    bool showsProgressNow();

    Stream output_;
    Stream error_;
    Stream report_;
    FileHandle logFile_;             // output and error stream once it is open
    std::string text_, line_;        // scratch
    std::size_t progressWidth_ = 0;  // characters of the progress line now standing; 0 for none
    std::chrono::steady_clock::time_point progressShown_{};  // when one was last flushed
    volatile std::sig_atomic_t* progressDescriptor_ = nullptr;
    bool failed_ = false;
};

}  // namespace tervolanda
