// The bytes of a structure file as text, piece by piece: nothing here knows what the text means.
//
// Three kinds, because what a damaged or endless file leaves differs by kind, and is kept as users
// know it: lines of plain text up to the error, records of gzip text up to the step in which it
// broke, and nothing at all of an entry.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "chain/input/whole_gzip.h"

struct gzFile_s;

namespace tervolanda {

class Log;

enum class FileKind : std::uint8_t { Plain, Gzip, Binary };

// By the suffix, in lower case only.
FileKind fileKind(const std::string& path);

// All kinds of text are used alike.  The constructor opens the file, and isOpen() is false, after
// an ERROR line, when it cannot be opened.  next() gives the pieces until there is none; a piece is
// good until the next call.  finish() says, after an ERROR line, whether the file was longer than
// kLongestStructure and so has to be refused; after a read error, which is one more ERROR line,
// what came before it counts.  isWhole() says whether there was none, and the text did not break
// off. Pieces may be left unread.

// Plain text, of a file or of standard input ("-"): a piece is a line, with its line end, or so
// many characters of a longer one as the caller asks for.
class PlainText {
 public:
    PlainText(const std::string& path, Log& log);
    bool isOpen() const { return reader_.has_value(); }
    std::optional<std::string_view> next(std::size_t limit) { return reader_->next(limit); }
    // A piece that is cut anywhere.
    std::optional<std::string_view> next() { return reader_->nextBlock(); }
    bool finish();
    bool isWhole() const { return !reader_->failed(); }

 private:
    const std::string& path_;
    Log& log_;
    FileHandle opened_;
    std::optional<LineReader> reader_;
};

struct GzCloser {
    void operator()(gzFile_s* file) const;
};
using GzHandle = std::unique_ptr<gzFile_s, GzCloser>;

// Text compressed with gzip: a piece is cut anywhere.
class GzipText {
 public:
    GzipText(const std::string& path, Log& log);
    bool isOpen() const { return whole_ || file_; }
    std::optional<std::string_view> next();
    bool finish();
    bool isWhole() const;

 private:
    // A stream that breaks off loses the step in which it does: steps are small, and many of them
    // make a piece.
    static constexpr std::size_t kReadLength = 81;

    const std::string& path_;
    Log& log_;
    std::optional<Bytes> whole_;  // all of the text, or
    GzHandle file_;
    std::array<char, kReadLength * 64> block_;
    std::size_t length_ = 0;  // of the text so far
    bool isFinished_ = false;
    bool failed_ = false;
};

// Either, of a file or of standard input: its first bytes tell which.  A piece is cut anywhere, and
// the first is long enough to tell what the text is.
class AnyText {
 public:
    AnyText(const std::string& path, Log& log);
    bool isOpen() const { return whole_ || file_; }
    std::optional<std::string_view> next();
    bool finish();
    bool isWhole() const;

 private:
    const std::string& path_;
    Log& log_;
    std::optional<Bytes> whole_;  // all of the text, or
    GzHandle file_;
    std::vector<char> block_;
    std::size_t length_ = 0;  // of the text so far
};

}  // namespace tervolanda
