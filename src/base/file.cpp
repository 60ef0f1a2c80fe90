// The new version of a result file is written beside the old one and renamed over it: rename() is
// atomic, so whatever ends the run, the name always stands for one complete version.
#include "base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "base/format.h"

namespace tervolanda {

FileHandle openForReading(const std::string& path) {
    FileHandle file(std::fopen(path.c_str(), "rb"));
    struct stat status {};
    if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) file.reset();
    return file;
}

bool LineReader::fill() {
    if (finished_) return false;
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
    const std::size_t got = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_);
    end_ += got;
    if (got == 0) {
        finished_ = true;
        failed_ = std::ferror(file_) != 0;
    }
    return got > 0;
}

std::optional<std::string_view> LineReader::next(std::size_t limit) {
    std::size_t searched = 0;
    for (;;) {
        const std::size_t pending = end_ - begin_;
        const std::size_t window = std::min(pending, limit);
        const char* const start = buffer_.data() + begin_;
        const void* const newline =
            window > searched ? std::memchr(start + searched, '\n', window - searched) : nullptr;
        std::size_t length = 0;
        if (newline != nullptr) {
            length = static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
        } else if (window == limit) {
            length = limit;
        } else {
            searched = window;
            if (fill()) continue;
            if (pending == 0) return std::nullopt;
            length = pending;
        }
        const std::string_view line(buffer_.data() + begin_, length);
        begin_ += length;
        return line;
    }
}

namespace {

// The mode a new file would get from open(): 0666 less the umask.
mode_t defaultMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return static_cast<mode_t>(0666) & ~mask;
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    if (path_.empty()) return;
    struct stat status {};
    const bool exists = lstat(path_.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        file_.reset(std::fopen(path_.c_str(), "wb"));
        return;
    }
    // A file that the user has protected against writing is not replaced behind their back.
    if (exists && access(path_.c_str(), W_OK) != 0) return;
    temporary_ = path_ + ".XXXXXX";
    const int descriptor = mkstemp(temporary_.data());
    if (descriptor < 0) {
        temporary_.clear();
        return;
    }
    const mode_t mode = exists ? (status.st_mode & static_cast<mode_t>(0777)) : defaultMode();
    if (fchmod(descriptor, mode) != 0) failed_ = true;
    file_.reset(fdopen(descriptor, "wb"));
    if (!file_) {
        close(descriptor);
        discard();
    }
}

OutputFile::~OutputFile() {
    discard();
}

void OutputFile::write(std::string_view text) {
    if (!file_ || failed_ || text.empty()) return;
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) failed_ = true;
}

void OutputFile::print(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    write(formatList(pattern, arguments));
    va_end(arguments);
}

int OutputFile::makeExecutable() {
    if (!file_) return EBADF;
    return fchmod(fileno(file_.get()), 0755) == 0 ? 0 : errno;
}

bool OutputFile::commit() {
    if (!file_) return false;
    if (std::fclose(file_.release()) != 0) failed_ = true;
    if (!failed_ && !temporary_.empty()) {
        failed_ = std::rename(temporary_.c_str(), path_.c_str()) != 0;
        if (!failed_) temporary_.clear();
    }
    discard();
    return !failed_;
}

void OutputFile::discard() {
    file_.reset();
    if (!temporary_.empty()) std::remove(temporary_.c_str());
    temporary_.clear();
}

}  // namespace tervolanda
