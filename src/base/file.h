// Files as values: a stream that closes itself, lines of any length, and a result file that takes
// the place of its older version only when every byte of it has been written.
//
// Everything that a run writes goes through an OutputFile, but for the log file and standard
// output: what is promised of result files is kept in one place.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/signals.h"

namespace tervolanda {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Opens a file for reading; empty when it cannot be opened or is a directory.
FileHandle openForReading(const std::string& path);

// The names of everything in a folder, but for "." and "..", in no order; none, with errno set,
// when it cannot be read to its end.
std::optional<std::vector<std::string>> namesIn(const std::string& folder);

// Reads a text file by lines of any length.  A line comes with its line end, when it has one.
// The buffer grows to the longest line that the caller's limit lets come; `most` bounds the whole
// stream.
class LineReader {
 public:
    // The stream is lent, not closed.  Reading ends where there are more than `most` bytes.
    explicit LineReader(std::FILE* file, std::size_t most = kNoLimit)
        : file_(file), buffer_(std::make_unique_for_overwrite<char[]>(kBlock)), left_(most) {}
    // The next line, valid until the next call; none at the end of the file or after a read error.
    // A line longer than `limit` characters comes in pieces of that length.
    std::optional<std::string_view> next(std::size_t limit = kNoLimit);
    // The same for a block: all that has been read and not yet handed out, or what comes next.
    std::optional<std::string_view> nextBlock();
    // True when reading ended with an error instead of the end of the file.
    bool failed() const { return failed_; }
    // True when it ended because the stream holds too much.
    bool exceeded() const { return exceeded_; }

    static constexpr std::size_t kNoLimit = static_cast<std::size_t>(-1);

 private:
    // Invariant: buffer_[begin_, end_) is what has been read and not yet handed out.
    bool fill();  // appends a block; false when there is no more
    void enlarge();

    static constexpr std::size_t kBlock = std::size_t{1} << 16;
    std::FILE* file_;
    std::unique_ptr<char[]> buffer_;  // NOLINT(*-avoid-c-arrays): a vector would be filled first
    std::size_t capacity_ = kBlock;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t left_;  // bytes that may still come
    bool finished_ = false;
    bool failed_ = false;
    bool exceeded_ = false;
};

// Why no file of this path could be written: an error number, 0 where nothing speaks against it.
// For runs that should rather not begin; what is found out leaves no trace, so that anything but a
// regular file is asked and not opened, and a full disk shows itself later.
int whyNotWritable(const std::string& path);

// A file without a name in the folder of `path`, for reading and writing: whatever ends the process
// removes it.  Empty when there can be none.
FileHandle openUnnamedBeside(const std::string& path);

// A file that is being written.  Where the path names nothing or a regular file the text goes to a
// new file without a name, which takes that name on commit(); where it names something else (a
// device, a pipe, a symbolic link) that is opened and written directly.  Without commit() nothing
// is left behind and an older file stays as it was, also when SIGINT, SIGTERM or SIGHUP ends the
// process. A file that cannot be replaced, as one that is mounted into a container, is overwritten
// on commit(), once there is room for all of the new text; its folder need not be writable.
class OutputFile {
 public:
    explicit OutputFile(std::string path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    bool isOpen() const { return file_ != nullptr; }
    // After a failed write all later ones are skipped, and commit() says so.  A terminal gets "?"
    // for control bytes other than tabs and line ends.
    void write(std::string_view text);
    // From here on each write() is a call of the system: for who gathers text itself, in blocks of
    // whole pages.
    void writeAtOnce();
    [[gnu::format(printf, 2, 3)]] void print(const char* pattern, ...);
    // Makes a new file executable for everybody (mode 0755): 0, or the error number.  What is
    // written directly keeps its mode: it may be anybody's.
    int makeExecutable();
    // Closes the file and gives it its name; true when every byte arrived.
    bool commit();

 private:
    void openBeside();
    bool takeTemporaryName();
    bool copyToTemporaryName();
    bool takeName();
    void discard();

    std::string path_;
    std::string temporary_;           // name beside `path_`; empty while there is none
    std::optional<SignalHold> hold_;  // as long as there is one
    FileHandle file_;
    bool isNew_ = false;        // a file of our own in the folder of the path
    bool isElsewhere_ = false;  // or in the folder for temporary files
    bool isLinkable_ = false;   // to a name, by the file system
    bool isTerminal_ = false;
    bool failed_ = false;
};

}  // namespace tervolanda
