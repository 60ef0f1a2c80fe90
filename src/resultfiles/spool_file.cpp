// Written through a stream, as records are short, and read past it, by offset.
#include "resultfiles/spool_file.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>

namespace tervolanda {

namespace {

// None beside a device or a pipe: their folder is no place for gigabytes.
FileHandle openBeside(const std::string& path) {
    struct stat status {};
    const bool exists = lstat(path.c_str(), &status) == 0;
    const bool isFileOrLink = S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
    return exists && !isFileOrLink ? nullptr : openUnnamedBeside(path);
}

}  // namespace

SpoolFile::SpoolFile(const std::string& path) : file_(openBeside(path)) {
    if (!file_) file_.reset(std::tmpfile());
    failed_ = !file_;
}

void SpoolFile::append(std::string_view bytes) {
    size_ += bytes.size();
    if (failed_ || bytes.empty()) return;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) failed_ = true;
}

bool SpoolFile::flush() {
    if (!failed_ && std::fflush(file_.get()) != 0) failed_ = true;
    return !failed_;
}

// One call may give fewer bytes than asked for.
bool SpoolFile::read(std::uint64_t offset, void* target, std::size_t bytes) const {
    auto* to = static_cast<char*>(target);
    while (bytes > 0) {
        const ssize_t got = pread(fileno(file_.get()), to, bytes, static_cast<off_t>(offset));
        if (got <= 0) return false;
        to += got;
        bytes -= static_cast<std::size_t>(got);
        offset += static_cast<std::uint64_t>(got);
    }
    return true;
}

}  // namespace tervolanda
