// What the fuzz targets share beside tests/support: a check that is a finding when it fails, and
// surroundings in which the program leaves nothing on a disk.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "base/file.h"

namespace tervolanda::fuzz {

// Ends the process, which the fuzzer keeps the input of, when `condition` does not hold.
[[noreturn]] void reportFinding(const char* condition, const char* file, int line);
#define FUZZ_REQUIRE(condition) \
    ((condition) ? void() : ::tervolanda::fuzz::reportFinding(#condition, __FILE__, __LINE__))

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

// For LLVMFuzzerInitialize: whoever reads standard input finds its end.
void emptyStandardInput();

}  // namespace tervolanda::fuzz
