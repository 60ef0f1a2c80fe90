// Most compressed files are taken apart in one go.  What is long, damaged, cut short or made of
// several streams goes through zlib's files, in small steps.
#include "chain/input/structure_text.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/log.h"
#include "chain/input/input.h"

namespace tervolanda {

namespace {

constexpr std::size_t kMostAtOnce = std::size_t{1} << 24;  // bytes, packed or not

// Such a path would open another file: a C string ends at its first NUL.
bool hasNul(const std::string& path) {
    return path.find('\0') != std::string::npos;
}

bool refuseLength(const std::string& path, Log& log) {
    log.error(0, "Input file '%s' is longer than %zu bytes", path.c_str(), kLongestStructure);
    return false;
}

// The bytes of a regular file of moderate length; empty for any other.
std::string readAtOnce(const std::string& path, const struct stat& status) {
    const auto most = static_cast<off_t>(kMostAtOnce);
    if (!S_ISREG(status.st_mode) || status.st_size > most) return {};
    const FileHandle file = openForReading(path);
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    if (!file || std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return {};
    return bytes;
}

// The text of one gzip stream of moderate length that is whole and alone, as nearly all are: taken
// apart in one go it needs six sevenths of the time of gzread.  None for anything else: how much is
// kept of a damaged stream depends on the steps in which it is read.
std::optional<std::string> inflateWhole(std::string packed) {
    constexpr int kGzipFormat = 16 + MAX_WBITS;
    // Ten bytes of header and eight at the end (RFC 1952).
    constexpr std::size_t kShortestStream = 18;
    constexpr std::size_t kLargestFactor = 1032;  // deflate makes nothing shorter
    if (packed.size() < kShortestStream) return std::nullopt;
    std::size_t length = 0;  // stands in the last four bytes
    for (std::size_t i = 1; i <= 4; ++i)
        length = length << 8 | static_cast<unsigned char>(packed[packed.size() - i]);
    if (length > std::min(kMostAtOnce, kLargestFactor * packed.size())) return std::nullopt;
    std::string text(length, '\0');
    z_stream stream{};
    if (inflateInit2(&stream, kGzipFormat) != Z_OK) return std::nullopt;
    stream.next_in = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(length);
    const bool isWhole =
        inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0 && stream.avail_out == 0;
    inflateEnd(&stream);
    if (!isWhole) return std::nullopt;
    return text;
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
    if (isThere) whole_ = inflateWhole(readAtOnce(path, status));
    if (isThere && !whole_) file_.reset(gzopen(path.c_str(), "rb"));
    if (!isOpen()) log.error(0, "Can't open z-compressed input file '%s'", path.c_str());
}

std::optional<std::string_view> GzipText::next() {
    if (isFinished_) return std::nullopt;
    if (whole_) {
        isFinished_ = true;
        return *whole_;
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

// zlib hands on what is not packed as it is, so that one way serves both.  The descriptor is a
// copy: gzclose() closes it, and standard input has to stay open.
AnyText::AnyText(const std::string& path, Log& log) : path_(path), log_(log) {
    constexpr unsigned kBuffer = 1U << 17;  // bytes, packed
    constexpr std::size_t kBlock = std::size_t{1} << 18;
    FileHandle opened;
    if (path != "-" && !hasNul(path)) opened = openForReading(path);
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
    return isGzWhole(file_.get());
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
