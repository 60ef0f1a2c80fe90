// Standard input is exchanged for a stream over memory by assigning to stdin, which the GNU C
// library allows.
#include "support.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "support/support.h"

namespace tervolanda::fuzz {

// Freed memory is given out again sooner, and the places of allocation are kept short: both cost a
// third of the time.  ASAN_OPTIONS has the last word.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "quarantine_size_mb=8:malloc_context_size=4";
}

void reportFinding(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

MemoryFile::MemoryFile()
    : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(descriptor_)) {
    FUZZ_REQUIRE(descriptor_ >= 0);
}

MemoryFile::~MemoryFile() {
    close(descriptor_);
}

void MemoryFile::set(std::string_view text) const {
    FUZZ_REQUIRE(ftruncate(descriptor_, 0) == 0);
    const ssize_t written = pwrite(descriptor_, text.data(), text.size(), 0);
    FUZZ_REQUIRE(written == static_cast<ssize_t>(text.size()));
}

std::string MemoryFile::text() const {
    std::string text(static_cast<std::size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
    const ssize_t got = pread(descriptor_, text.data(), text.size(), 0);
    FUZZ_REQUIRE(got == static_cast<ssize_t>(text.size()));
    return text;
}

FileHandle openText(std::string_view text) {
    // fmemopen() refuses an empty buffer: read one byte and stand after it.
    static char one = '\n';
    FileHandle file(text.empty() ? fmemopen(&one, 1, "r")
                                 : fmemopen(const_cast<char*>(text.data()), text.size(), "r"));
    FUZZ_REQUIRE(file != nullptr);
    if (text.empty()) std::fgetc(file.get());
    return file;
}

ScratchFolder::ScratchFolder() : before_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    FUZZ_REQUIRE(before_ >= 0 && chdir(path().c_str()) == 0);
}

ScratchFolder::~ScratchFolder() {
    FUZZ_REQUIRE(fchdir(before_) == 0);
    close(before_);
}

const std::string& ScratchFolder::path() {
    static const test::TemporaryFolder folder;
    static const std::string path = folder.path().string();
    return path;
}

void emptyStandardInput() {
    static FileHandle stream = openText("");
    stdin = stream.get();
}

}  // namespace tervolanda::fuzz
