// What the fuzz targets share: a check that is a finding when it fails, and surroundings in which
// the program says nothing, ends nothing and leaves nothing on a disk.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "base/line_streams.h"
#include "base/log.h"

namespace tervolanda::fuzz {

// Ends the process, which the fuzzer keeps the input of, when `condition` does not hold.
[[noreturn]] void reportFinding(const char* condition, const char* file, int line);
#define FUZZ_REQUIRE(condition) \
    ((condition) ? void() : ::tervolanda::fuzz::reportFinding(#condition, __FILE__, __LINE__))

// A stream that collects what is written to it.  A text that grows beyond all use is a finding.
class TextSink {
 public:
    TextSink();
    TextSink(const TextSink&) = delete;
    TextSink& operator=(const TextSink&) = delete;
    ~TextSink() { std::fclose(file_); }
    std::FILE* stream() { return file_; }
    const std::string& text() {
        std::fflush(file_);
        return text_;
    }
    void clear();

 private:
    std::string text_;
    std::FILE* file_;
};

// A file without a disk, which can be opened by its path.
class MemoryFile {
 public:
    MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile();
    const std::string& path() const { return path_; }
    void set(std::string_view text) const;
    std::string text() const;

 private:
    int descriptor_;
    std::string path_;
};

// A stream over `text`, which has to stay; empty text is fine.
FileHandle openText(std::string_view text);

// The working directory while it lives: a folder of its own, gone with all that is in it when the
// process ends.  It stands where TMPDIR says, which should be in memory.
class ScratchFolder {
 public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();
    static const std::string& path();

 private:
    int before_;  // the directory to go back to
};

// A log into memory.  The streams are shared by all: one at a time.
class QuietLog {
 public:
    QuietLog();
    const std::string& output() { return output_.text(); }
    const std::string& error() { return error_.text(); }

 private:
    TextSink& output_;
    TextSink& error_;

 public:
    LineStreams streams;
    Log log;
};

// Makes standard input empty and standard output a text.  For LLVMFuzzerInitialize.
void silenceStandardStreams();
// What was printed since the last call.
std::string takeStandardOutput();

// Gives standard input a text, which has to stay.
void setStandardInput(std::string_view text);

}  // namespace tervolanda::fuzz
