// Most compressed files are taken apart in one go (whole_gzip.h).  What is long, damaged, cut short
// or made of several streams goes through zlib's files, in steps.
#include "chain/input/structure_text.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>

#include "base/log.h"
#include "chain/input/input.h"

namespace tervolanda {

namespace {

// Such a path would open another file: a C string ends at its first NUL.
bool hasNul(const std::string& path) {
    return path.find('\0') != std::string::npos;
}

bool refuseLength(const std::string& path, Log& log) {
    log.error(0, "Input file '%s' is longer than %zu bytes", path.c_str(), kLongestStructure);
    return false;
}

// The text of a regular file, open at its beginning, that can be taken apart in one go; none for
// any other.  The file is left anywhere.
std::optional<Bytes> readWhole(std::FILE* file) {
    struct stat status {};
    if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    if (status.st_size > static_cast<off_t>(kMostAtOnce)) return std::nullopt;
    // The first bytes come first: a text that is not packed should not be read twice.
    std::array<char, 2> start{};
    const auto length = static_cast<std::size_t>(status.st_size);
    if (length < start.size() || std::fread(start.data(), start.size(), 1, file) != 1 ||
        !beginsGzip({start.data(), start.size()})) {
        return std::nullopt;
    }
    Bytes packed(length);
    char* const rest = std::copy(start.begin(), start.end(), packed.data.get());
    if (std::fread(rest, length - start.size(), 1, file) != 1) return std::nullopt;
    return inflateWhole(packed.text());
}

// Whether what was read of a compressed file is all of it.
bool isGzWhole(gzFile_s* file) {
    int error = Z_OK;
    gzerror(file, &error);
    return error == Z_OK || error == Z_STREAM_END;
}

}  // namespace

FileKind fileKind(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot == 0) return FileKind::Plain;
    const std::string_view suffix = std::string_view(path).substr(dot);
    if (suffix == ".bin") return FileKind::Binary;
    return suffix == ".gz" ? FileKind::Gzip : FileKind::Plain;
}

PlainText::PlainText(const std::string& path, Log& log) : path_(path), log_(log) {
    if (path != "-" && !hasNul(path)) opened_ = openForReading(path);
    if (path == "-") {
        reader_.emplace(stdin, kLongestStructure);
    } else if (opened_) {
        reader_.emplace(opened_.get(), kLongestStructure);
    } else {
        log.error(0, "Can't open input file '%s' - %s", path.c_str(), systemErrorText());
    }
}

bool PlainText::finish() {
    if (reader_->exceeded()) return refuseLength(path_, log_);
    if (reader_->failed()) {
        log_.error(0, "Problem reading input file '%s' - %s", path_.c_str(), systemErrorText());
    }
    return true;
}

void GzCloser::operator()(gzFile_s* file) const {
    gzclose(file);
}

// A file that can be taken apart in one go is; any other is opened as zlib opens it.
GzipText::GzipText(const std::string& path, Log& log) : path_(path), log_(log) {
    struct stat status {};
    const bool isThere =
        !hasNul(path) && stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
    // A pipe gives its bytes once, to zlib.
    if (isThere && S_ISREG(status.st_mode)) {
        if (const FileHandle file = openForReading(path)) whole_ = readWhole(file.get());
    }
    if (isThere && !whole_) file_.reset(gzopen(path.c_str(), "rb"));
    if (!isOpen()) log.error(0, "Can't open z-compressed input file '%s'", path.c_str());
}

std::optional<std::string_view> GzipText::next() {
    if (isFinished_) return std::nullopt;
    if (whole_) {
        isFinished_ = true;
        return whole_->text();
    }
    int got = 0;
    std::size_t filled = 0;
    do {
        const std::size_t wanted = std::min(kReadLength, block_.size() - filled);
        got = gzread(file_.get(), block_.data() + filled, static_cast<unsigned>(wanted));
        if (got > 0) filled += static_cast<std::size_t>(got);
    } while (got > 0 && filled < block_.size());
    length_ += filled;
    failed_ = got < 0;
    isFinished_ = got <= 0 || length_ > kLongestStructure;
    if (length_ > kLongestStructure) return std::nullopt;
    return std::string_view(block_.data(), filled);
}

bool GzipText::finish() {
    if (length_ > kLongestStructure) return refuseLength(path_, log_);
    if (failed_) log_.error(0, "Problem reading compressed data stream");
    return true;
}

bool GzipText::isWhole() const {
    return whole_ || isGzWhole(file_.get());
}

// zlib passes on what is not packed as it is, so that one way serves both where the text does not
// come in one go.  The descriptor is a copy: gzclose() closes it, and standard input has to stay
// open.  Copies share the place in the file, which an attempt to read all of it has moved.
AnyText::AnyText(const std::string& path, Log& log) : path_(path), log_(log) {
    constexpr unsigned kBuffer = 1U << 17;  // bytes, packed
    constexpr std::size_t kBlock = std::size_t{1} << 18;
    FileHandle opened;
    if (path != "-" && !hasNul(path)) opened = openForReading(path);
    if (opened) {
        whole_ = readWhole(opened.get());
        if (whole_) return;
        lseek(fileno(opened.get()), 0, SEEK_SET);
    }
    const int descriptor = path == "-" ? dup(STDIN_FILENO)
                           : opened    ? dup(fileno(opened.get()))
                                       : -1;
    if (descriptor >= 0) file_.reset(gzdopen(descriptor, "rb"));
    if (!file_) {
        log.error(0, "Can't open input file '%s' - %s", path.c_str(), systemErrorText());
        return;
    }
    gzbuffer(file_.get(), kBuffer);
    block_.resize(kBlock);
}

std::optional<std::string_view> AnyText::next() {
    if (whole_) {
        if (length_ == whole_->size) return std::nullopt;
        length_ = whole_->size;
        return whole_->text();
    }
    const int got = gzread(file_.get(), block_.data(), static_cast<unsigned>(block_.size()));
    if (got <= 0) return std::nullopt;
    length_ += static_cast<std::size_t>(got);
    if (length_ > kLongestStructure) return std::nullopt;
    return std::string_view(block_.data(), static_cast<std::size_t>(got));
}

bool AnyText::finish() {
    return length_ <= kLongestStructure || refuseLength(path_, log_);
}

bool AnyText::isWhole() const {
    return whole_ || isGzWhole(file_.get());
}

bool canBeReadAgain(const std::string& path) {
    struct stat status {};
    if (path == "-" || hasNul(path)) return false;
    if (stat(path.c_str(), &status) == 0) return S_ISREG(status.st_mode);
    return errno != ENOENT;  // any other failure is one of reading
}

std::optional<std::string> readStructureText(const std::string& path) {
    Log quiet;
    AnyText pieces(path, quiet);
    if (!pieces.isOpen()) return std::nullopt;
    std::string text;
    while (const auto piece = pieces.next())
        text += *piece;
    if (!pieces.finish() || !pieces.isWhole()) return std::nullopt;
    return text;
}

}  // namespace tervolanda
