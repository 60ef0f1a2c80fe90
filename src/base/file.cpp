// The new version of a result file is written to a file without a name, which gets one when it is
// complete and is renamed over the old one: rename() is atomic, so whatever ends the run, the name
// always stands for one complete version.  In the moment in which the new version has a name of its
// own, signals that end the run wait.  A run may have many files open, for hours: none of them has
// anything to clear up, and no signal waits for any of them.
#include "base/file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "base/format.h"
#include "base/text.h"

namespace tervolanda {

FileHandle openForReading(const std::string& path) {
    FileHandle file(std::fopen(path.c_str(), "rb"));
    struct stat status {};
    if (file && fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) file.reset();
    return file;
}

// By readdir() and not by std::filesystem, whose iterators end the process when memory runs out.
std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
    const auto close = [](DIR* open) { closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> open(opendir(folder.c_str()), close);
    if (!open) return std::nullopt;
    std::vector<std::string> names;
    while (true) {
        errno = 0;  // the end of a folder and an error look the same otherwise
        const dirent* const entry = readdir(open.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) return std::nullopt;
    return names;
}

void LineReader::enlarge() {
    auto larger = std::make_unique_for_overwrite<char[]>(capacity_ * 2);  // NOLINT(*-c-arrays)
    std::memcpy(larger.get(), buffer_.get(), end_);
    buffer_ = std::move(larger);
    capacity_ *= 2;
}

bool LineReader::fill() {
    if (finished_) return false;
    if (begin_ > 0) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ == capacity_) enlarge();
    const std::size_t got = std::fread(buffer_.get() + end_, 1, capacity_ - end_, file_);
    exceeded_ = got > left_;
    if (exceeded_ || got == 0) {
        finished_ = true;
        failed_ = std::ferror(file_) != 0;
        return false;
    }
    left_ -= got;
    end_ += got;
    return true;
}

std::optional<std::string_view> LineReader::next(std::size_t limit) {
    std::size_t searched = 0;
    for (;;) {
        const std::size_t pending = end_ - begin_;
        const std::size_t window = std::min(pending, limit);
        const char* const start = buffer_.get() + begin_;
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
        const std::string_view line(buffer_.get() + begin_, length);
        begin_ += length;
        return line;
    }
}

std::optional<std::string_view> LineReader::nextBlock() {
    if (begin_ == end_ && !fill()) return std::nullopt;
    const std::string_view block(buffer_.get() + begin_, end_ - begin_);
    begin_ = end_;
    return block;
}

namespace {

// The mode a new file would get from open(): 0666 less the umask.
// There is no call that only asks for it.
mode_t defaultMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return static_cast<mode_t>(0666) & ~mask;
}

// The path by which an open file can be linked to a name.
std::string descriptorName(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// A new file in the folder of `path` that has no name yet and can get one; -1 where the system or
// the file system knows none.
int openUnnamed(const std::string& path) {
#ifdef O_TMPFILE
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int descriptor = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (descriptor < 0 || access(descriptorName(descriptor).c_str(), F_OK) == 0) return descriptor;
    close(descriptor);  // no /proc: it could never be linked
#endif
    return -1;
}

// A stream of an open descriptor, which is closed where there can be none.
FileHandle streamOf(int descriptor, const char* mode) {
    if (descriptor < 0) return nullptr;
    FileHandle file(fdopen(descriptor, mode));
    if (!file) close(descriptor);
    return file;
}

// Takes room for `size` bytes in a file of `oldSize`; false, with the file as it was, where there
// is none.  File systems that cannot tell pass.
bool makeRoom(int descriptor, off_t oldSize, off_t size) {
    const int error = size > oldSize ? posix_fallocate(descriptor, 0, size) : 0;
    if (error == 0 || error == EOPNOTSUPP || error == EINVAL) return true;
    return ftruncate(descriptor, oldSize) > 0;  // some have grown it; never true
}

bool copyAll(std::FILE* source, std::FILE* target) {
    std::array<char, std::size_t{1} << 16> block{};
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), source)) {
        if (std::fwrite(block.data(), 1, got, target) != got) return false;
    }
    return std::ferror(source) == 0 && std::fflush(target) == 0;
}

// Whether something is mounted at this very path, as far as the system tells.
bool isMountPoint(const std::string& path) {
#ifdef STATX_ATTR_MOUNT_ROOT
    struct statx status {};
    return statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
#else
    return path.empty();
#endif
}

// Gives the regular file `path` the text of a stream, from its beginning.
bool overwrite(const std::string& path, std::FILE* from) {
    if (from == nullptr || std::fseek(from, 0, SEEK_SET) != 0) return false;
    FileHandle to =
        streamOf(open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC), "wb");
    struct stat text {};
    struct stat old {};
    return to && fstat(fileno(from), &text) == 0 && fstat(fileno(to.get()), &old) == 0 &&
           S_ISREG(old.st_mode) && makeRoom(fileno(to.get()), old.st_size, text.st_size) &&
           copyAll(from, to.get()) && ftruncate(fileno(to.get()), text.st_size) == 0 &&
           std::fclose(to.release()) == 0;
}

// A new file in the folder of `path` whose name is gone at once, for reading and writing; -1 when
// there can be none.  It can get no name again.
int openForgotten(const std::string& path) {
    const SignalHold hold;
    std::string name = path + ".XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor >= 0) unlink(name.c_str());
    return descriptor;
}

}  // namespace

FileHandle openUnnamedBeside(const std::string& path) {
    const int descriptor = openUnnamed(path);
    return streamOf(descriptor >= 0 ? descriptor : openForgotten(path), "w+b");
}

int whyNotWritable(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        // A link may lead to what does not exist yet.
        if (stat(path.c_str(), &status) != 0) return errno == ENOENT ? 0 : errno;
        if (S_ISDIR(status.st_mode)) return EISDIR;
        return access(path.c_str(), W_OK) == 0 ? 0 : errno;
    }
    errno = 0;
    const OutputFile file(path);
    if (file.isOpen()) return 0;
    return errno == 0 ? EIO : errno;
}

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    if (path_.empty()) return;
    struct stat status {};
    const bool exists = lstat(path_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) return;  // there may be something that must not be replaced
    if (exists && !S_ISREG(status.st_mode)) {
        file_.reset(std::fopen(path_.c_str(), "wb"));
        isTerminal_ = file_ && isatty(fileno(file_.get())) == 1;
        return;
    }
    // A file that the user has protected against writing is not replaced without their knowing.
    if (exists && access(path_.c_str(), W_OK) != 0) return;
    openBeside();
    if (!file_ && exists && isMountPoint(path_)) {
        file_.reset(std::tmpfile());
        isElsewhere_ = true;
    }
    if (!file_) return;
    const mode_t mode = exists ? (status.st_mode & static_cast<mode_t>(0777)) : defaultMode();
    if (fchmod(fileno(file_.get()), mode) != 0) failed_ = true;
}

OutputFile::~OutputFile() {
    discard();
}

// Without a name to begin with, so that not even SIGKILL leaves a part of a file behind.
void OutputFile::openBeside() {
    int descriptor = openUnnamed(path_);
    isLinkable_ = descriptor >= 0;
    if (!isLinkable_) descriptor = openForgotten(path_);
    file_ = streamOf(descriptor, "w+b");
    isNew_ = file_ != nullptr;
}

// A file without a name cannot replace another: it needs one for the moment before rename().
bool OutputFile::takeTemporaryName() {
    constexpr int kAttempts = 100;  // names of crashed runs with the same process number
    hold_.emplace();
    if (!isLinkable_) return copyToTemporaryName();
    const std::string source = descriptorName(fileno(file_.get()));
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        temporary_ = format("%s.%d-%d", path_.c_str(), static_cast<int>(getpid()), attempt);
        if (linkat(AT_FDCWD, source.c_str(), AT_FDCWD, temporary_.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return true;
        if (errno != EEXIST) break;
    }
    temporary_.clear();
    return false;
}

// Where the file system cannot link an open file to a name (NFS, for example), its text is copied
// to a file that has one, with its mode.
bool OutputFile::copyToTemporaryName() {
    std::string name = path_ + ".XXXXXX";
    FileHandle copy = streamOf(mkstemp(name.data()), "wb");
    if (!copy) return false;
    temporary_ = name;
    struct stat status {};
    return fstat(fileno(file_.get()), &status) == 0 &&
           fchmod(fileno(copy.get()), status.st_mode & static_cast<mode_t>(0777)) == 0 &&
           std::fseek(file_.get(), 0, SEEK_SET) == 0 && copyAll(file_.get(), copy.get()) &&
           std::fclose(copy.release()) == 0;
}

void OutputFile::write(std::string_view text) {
    if (!file_ || failed_ || text.empty()) return;
    std::string shown;
    if (isTerminal_) {
        shown = text;
        hideControlBytes(shown, "\t\n");
        text = shown;
    }
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) failed_ = true;
}

void OutputFile::writeAtOnce() {
    if (file_) std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

void OutputFile::print(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    write(formatList(pattern, arguments));
    va_end(arguments);
}

int OutputFile::makeExecutable() {
    if (!file_) return EBADF;
    if (!isNew_) return 0;
    return fchmod(fileno(file_.get()), 0755) == 0 ? 0 : errno;
}

// A file that another is mounted over, as containers have them, cannot be replaced.
bool OutputFile::takeName() {
    if (std::rename(temporary_.c_str(), path_.c_str()) == 0) {
        temporary_.clear();
        return true;
    }
    if (errno != EBUSY && errno != EXDEV) return false;
    return overwrite(path_, FileHandle(std::fopen(temporary_.c_str(), "rb")).get());
}

bool OutputFile::commit() {
    if (!file_) return false;
    if (isElsewhere_ && !failed_) {
        hold_.emplace();
        failed_ = std::fflush(file_.get()) != 0 || !overwrite(path_, file_.get());
    }
    if (isNew_ && !failed_) failed_ = !takeTemporaryName();
    if (std::fclose(file_.release()) != 0) failed_ = true;
    if (!failed_ && !temporary_.empty()) failed_ = !takeName();
    discard();
    return !failed_;
}

void OutputFile::discard() {
    file_.reset();
    if (!temporary_.empty()) std::remove(temporary_.c_str());
    temporary_.clear();
    hold_.reset();  // a signal that has come takes effect here
}

}  // namespace tervolanda
