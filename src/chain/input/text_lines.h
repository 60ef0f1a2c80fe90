// Text that arrives in pieces, cut anywhere, as lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tervolanda {

// What a reader finds wrong with a text, and where.
struct TextFault {
    std::size_t line = 0;  // from 1
    std::string text;
};

// Lines end with LF, CR LF or CR, and are handed on without that.  Time is linear in the text,
// memory that of a line.
class LineSplitter {
 public:
    static constexpr std::size_t kLongestLine = std::size_t{1} << 20;

    // Calls take(line) for every line that ends in the piece, until it returns false.  False when
    // it did, and for a line that is too long.
    template <typename Take>
    bool append(std::string_view piece, Take&& take) {
        std::size_t feed = piece.find('\n');
        while (!piece.empty()) {
            if (endedWithReturn_ && piece.front() == '\n') {
                piece.remove_prefix(1);
                feed = piece.find('\n');
            }
            endedWithReturn_ = false;
            const std::size_t carriage = piece.substr(0, feed).find('\r');
            const std::size_t end = carriage != std::string_view::npos ? carriage : feed;
            if (end == std::string_view::npos) break;
            endedWithReturn_ = end == carriage;
            if (!takeLine(piece.substr(0, end), take)) return false;
            piece.remove_prefix(end + 1);
            feed = end == feed                      ? piece.find('\n')
                   : feed == std::string_view::npos ? feed
                                                    : feed - end - 1;
        }
        pending_ += piece;
        return !isTooLong();
    }
    // The text has ended: the last line needs no end.
    template <typename Take>
    bool finish(Take&& take) {
        return pending_.empty() || takeLine({}, take);
    }
    // Of the line at work, from 1.
    std::size_t number() const { return number_; }
    bool isTooLong() const { return pending_.size() > kLongestLine; }

 private:
    template <typename Take>
    bool takeLine(std::string_view end, Take& take) {
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
};

}  // namespace tervolanda
