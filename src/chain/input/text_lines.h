// Text that arrives in pieces, cut anywhere, as lines.
//
// For readers of entries, whose faults name the line; PDB text that is read for its ATOM records
// needs neither.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace tervolanda {

// What a reader finds wrong with a text, and where.
struct TextFault {
    std::size_t line = 0;  // from 1
    std::string text;
};

// Lines end with LF, CR LF or CR, and are passed on without that.  Time is linear in the text,
// memory that of a line.
class LineSplitter {
 public:
    static constexpr std::size_t kLongestLine = std::size_t{1} << 20;

    // Calls take(line) for every line that ends in the piece, until it returns false.  False when
    // it did, and for a line that is too long.
    template <typename Take>
    bool append(std::string_view piece, Take&& take) {
        if (piece.empty()) return true;
        std::size_t begin = endedWithReturn_ && piece.front() == '\n' ? 1 : 0;
        endedWithReturn_ = piece.back() == '\r';
        // Each is looked for again when the lines have passed it: most files have no CR at all.
        std::size_t feed = piece.find('\n', begin);
        std::size_t carriage = piece.find('\r', begin);
        for (;;) {
            const std::size_t end = std::min(feed, carriage);
            if (end == std::string_view::npos) break;
            if (!takeLine(piece.substr(begin, end - begin), take)) return false;
            begin = end + 1;
            if (end == carriage && begin == feed) ++begin;  // CR LF is one end
            if (carriage < begin) carriage = piece.find('\r', begin);
            if (feed < begin) feed = piece.find('\n', begin);
        }
        pending_ += piece.substr(begin);
        isTooLong_ = pending_.size() > kLongestLine;
        return !isTooLong_;
    }
    // The text has ended: the last line needs no end.
    template <typename Take>
    bool finish(Take&& take) {
        return pending_.empty() || takeLine({}, take);
    }
    // Of the current line, from 1; where one is too long, of the line before it.
    std::size_t number() const { return number_; }
    bool isTooLong() const { return isTooLong_; }

 private:
    template <typename Take>
    bool takeLine(std::string_view end, Take& take) {
        isTooLong_ = pending_.size() + end.size() > kLongestLine;
        if (isTooLong_) return false;
        ++number_;
        if (pending_.empty()) return take(end);
        pending_ += end;
        const bool goesOn = take(std::string_view(pending_));
        pending_.clear();
        return goesOn;
    }

    std::string pending_;
    std::size_t number_ = 0;
    bool endedWithReturn_ = false;
    bool isTooLong_ = false;
};

}  // namespace tervolanda
