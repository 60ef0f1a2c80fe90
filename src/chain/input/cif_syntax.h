// The syntax of CIF 1.1 (Hall, Allen and Brown 1991): tags, values and key words, and how rows are
// made of them.  Nothing here knows what a tag means.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

// A tag whose values are wanted, in lower case, and the category that it belongs to, from 0.
struct CifItem {
    std::string_view tag;
    int category;
};

// Goes through a text line by line and passes on the rows of the wanted categories, whether they
// are a loop or pairs of tag and value.
//
// Invariant: `row_` has the values of the current row, of the category `category_`, and is empty
// elsewhere; a row has been passed on exactly when `column_` is 0 again, or the table of pairs has
// ended.  Values are views of the current line: nearly every row is one line, and nothing of it is
// copied.  Those that a line leaves for the next are kept in `kept_`.
class CifParser {
 public:
    // `takeRow` gets the category; the values are asked for by value().  `beginBlock` is called at
    // every data block.  The reading ends where one of them returns false.  The items are lent.
    CifParser(std::span<const CifItem> items, std::function<bool(int)> takeRow,
              std::function<bool()> beginBlock)
        : items_(items),
          takeRow_(std::move(takeRow)),
          beginBlock_(std::move(beginBlock)),
          row_(items.size()),
          kept_(items.size()) {}
    CifParser(const CifParser&) = delete;
    CifParser& operator=(const CifParser&) = delete;

    // The next line, without its end; false when the reading is to end, after a fault or by the
    // functions.
    bool take(std::string_view line);
    // The text has ended.
    bool finish();
    // What is wrong with the text; empty for nothing.
    const std::string& fault() const { return fault_; }
    // The item at this place of a row, empty where it is absent or null ("." or "?" without
    // quotes); for the function that takes the row, while it does.
    std::string_view value(std::size_t item) const { return row_[item]; }

    static constexpr std::size_t kLongestValue = 4096;  // characters of a wanted one
    static constexpr std::size_t kMostColumns = 1024;   // of a loop; no category has as many items

 private:
    // Where the next value belongs: nowhere, to the tag of a pair, or to a column of a loop, whose
    // tags may still go on.
    enum class State : std::uint8_t { Free, Pair, LoopTags, LoopValues };
    static constexpr int kNone = -1;

    bool fail(std::string why);
    bool takeText(std::string_view line);
    bool takeTokens(std::string_view line);
    bool takeWord(std::string_view word);
    bool takeTag(std::string_view tag);
    bool takeKeyword(std::string_view word, bool& isKeyword);
    bool takeValue(std::string_view value);
    bool beginValues();
    void keepValues();
    bool addToText(std::string_view line);
    bool beginLoop();
    bool endTable();
    int itemOf(std::string_view tag) const;
    int currentItem() const;

    std::span<const CifItem> items_;
    std::function<bool(int)> takeRow_;
    std::function<bool()> beginBlock_;
    State state_ = State::Free;
    bool isInFrame_ = false;             // a save frame: nothing in it is wanted
    bool isInText_ = false;              // a field of lines between two that begin with ";"
    std::string text_;                   // of that field, where it is wanted
    std::vector<int> columns_;           // of the loop: items, kNone for what is not wanted
    std::size_t column_ = 0;             // of the next value
    int pairItem_ = kNone;               // of the next value
    int category_ = kNone;               // of the current table
    std::vector<std::string_view> row_;  // one per item
    std::vector<std::string> kept_;      // likewise
    std::string fault_;
};

}  // namespace tervolanda
