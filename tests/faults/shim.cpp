// Preloaded into the program: makes allocations fail, and new files without a name.
//
//   FAULT_ALLOCATION=k     the k-th allocation after the start of the program fails; "k+": that
//                          one and all after it
//   FAULT_TALLY=file       their number is written there at the end
//   FAULT_NO_TMPFILE=1     the file system knows no files without a name
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

// Set after the start of the C++ library, which takes memory for exceptions, and never freed: an
// object would have to be made before its first use.
long first = 0;
bool goesOn = false;
bool isCounting = false;
std::atomic<long> count{0};

__attribute__((constructor)) void begin() {
    if (const char* const which = std::getenv("FAULT_ALLOCATION")) {
        first = std::atol(which);
        goesOn = std::strchr(which, '+') != nullptr;
    }
    isCounting = true;
}

__attribute__((destructor)) void end() {
    isCounting = false;
    const char* const path = std::getenv("FAULT_TALLY");
    std::FILE* const file = path != nullptr ? std::fopen(path, "w") : nullptr;
    if (file == nullptr) return;
    std::fprintf(file, "%ld", count.load());
    std::fclose(file);
}

bool fails() {
    if (!isCounting) return false;
    const long number = ++count;  // threads allocate, too
    const bool fault = number == first || (goesOn && number > first);
    if (fault) errno = ENOMEM;
    return fault;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(number, size);
}

void* realloc(void* block, std::size_t size) {
    return fails() ? nullptr : __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return fails() ? nullptr : __libc_memalign(alignment, size);
}

int open(const char* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = va_arg(arguments, unsigned);  // read from a register if not given
    va_end(arguments);
    if ((flags & O_TMPFILE) == O_TMPFILE && std::getenv("FAULT_NO_TMPFILE") != nullptr) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
}
