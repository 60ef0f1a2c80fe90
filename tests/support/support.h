// What the tests of all rooms share: chains made in a line, folders that vanish, a log that can be
// read, and the way to the real structures.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_streams.h"
#include "base/log.h"
#include "chain/input/input.h"

namespace tervolanda::test {

// A chain of C-alpha atoms at the given places, numbered from 1, alanines unless `sequence` gives
// their one-letter codes; residues built.
Chain calphaChain(const std::vector<std::array<double, 3>>& places, std::string_view sequence = "");

// An ideal alpha helix: 1.5 Å and 100 degrees a residue, radius 2.3 Å.
Chain helix(std::size_t residues);

// A random walk of 3.8 Å steps whose neighbours but one stay 5 to 7.5 Å apart, as in real chains.
Chain coil(std::size_t residues, std::uint32_t seed);

// The chain turned by 40, -25 and 110 degrees about z, y and x, and moved by (11, -7, 3).
Chain moved(Chain chain);

// Every coordinate displaced by up to `size` Å, evenly distributed.
Chain shaken(Chain chain, double size, std::uint32_t seed);

// The chain with other residue numbers: `first`, `first + step` and so on.
Chain renumbered(Chain chain, int first, int step = 1);

// A folder that is removed with all that is in it.
class TemporaryFolder {
 public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();
    const std::filesystem::path& path() const { return path_; }
    std::string operator/(std::string_view name) const { return (path_ / name).string(); }
    // Writes a file into the folder and returns its path.
    std::string write(std::string_view name, std::string_view text) const;

 private:
    std::filesystem::path path_;
};

std::string readFile(const std::filesystem::path& path);

// The rows of a table beside the tests, by its path below tests/: columns stand between " | ", rows
// of nothing or "#" alone at the front are none.  \n, \r, \t, \s (a blank) and \xHH are one byte.
std::vector<std::vector<std::string>> tableRows(std::string_view name);

// A stream into memory.
class MemoryStream {
 public:
    MemoryStream();
    MemoryStream(const MemoryStream&) = delete;
    MemoryStream& operator=(const MemoryStream&) = delete;
    ~MemoryStream();
    std::FILE* stream() { return file_; }
    std::string text();

 private:
    char* buffer_ = nullptr;
    std::size_t size_ = 0;
    std::FILE* file_;
};

// A log and a report whose streams are texts.
class CapturedLog {
 public:
    explicit CapturedLog(int logLevel = 1, int reportLevel = 1)
        : streams(output_.stream(), error_.stream(), reported_.stream()),
          log(streams.sink()),
          report(log, reportLevel) {
        log.setLogLevel(logLevel);
    }
    std::string output() { return output_.text(); }
    std::string error() { return error_.text(); }
    std::string reported() { return reported_.text(); }

 private:
    MemoryStream output_, error_, reported_;

 public:
    LineStreams streams;
    Log log;
    Report report;
};

// The folder of real structures: TERVOLANDA_TEST_DATA, or shared/data beside the checkout.  Tests
// that want it skip when it is absent.
std::optional<std::filesystem::path> realStructures();

}  // namespace tervolanda::test

// Ends a test as skipped, visibly, where the real structures are absent.
#define TERVOLANDA_NEED_REAL_STRUCTURES(variable)                                                 \
    const auto variable##Folder = ::tervolanda::test::realStructures();                           \
    if (!variable##Folder) GTEST_SKIP() << "no folder of real structures (TERVOLANDA_TEST_DATA)"; \
    const std::filesystem::path& variable = *variable##Folder
