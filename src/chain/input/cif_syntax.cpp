// One state for where in a table the reading stands, and one for fields of several lines.  Rows are
// passed on when their last value is there: of a loop with its last column, of pairs with the
// beginning of another table.
//
// A loop's columns are known by its tags before the first value, so a value is stored or dropped at
// once: of the categories that nobody wants nothing is kept but the place in the table.  Most of a
// file are values of loops, a thousand for every tag; so what can be told of a word by its first
// characters is decided by these.
#include "chain/input/cif_syntax.h"

#include <algorithm>

#include "base/text.h"

namespace tervolanda {

namespace {

// Whether `text` begins with `word`, which is in lower case.
bool beginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(),
                      [](char a, char b) { return a == lowerCase(b); });
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// "data_", "loop_", "save_", "stop_" or "global_": of other words few have the line there.
bool mayBeKeyword(std::string_view word) {
    return word.size() >= 5 && (word[4] == '_' || (word.size() == 7 && word[6] == '_'));
}

// Where the value in quotes at the beginning of `text` ends: at a quote before a blank or at the
// end.
std::size_t closingQuote(std::string_view text) {
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (text[at] != text.front()) continue;
        if (at + 1 == text.size() || isBlank(text[at + 1])) return at;
    }
    return std::string_view::npos;
}

}  // namespace

bool CifParser::fail(std::string why) {
    fault_ = std::move(why);
    return false;
}

bool CifParser::take(std::string_view line) {
    const bool goesOn = isInText_ || line.starts_with(';') ? takeText(line) : takeTokens(line);
    const bool isRowOpen = category_ != kNone && (state_ != State::LoopValues || column_ != 0);
    if (isRowOpen) keepValues();
    return goesOn;
}

// A line of a text field, or the first or last one of it.
bool CifParser::takeText(std::string_view line) {
    if (!isInText_) {
        isInText_ = true;
        text_.clear();
        return addToText(line.substr(1));
    }
    if (!line.starts_with(';')) return addToText(line);
    isInText_ = false;
    return takeValue(text_) && takeTokens(line.substr(1));
}

// The line that they are views of ends.
void CifParser::keepValues() {
    for (std::size_t i = 0; i < row_.size(); ++i) {
        if (row_[i].data() == kept_[i].data()) continue;
        kept_[i] = row_[i];
        row_[i] = kept_[i];
    }
}

bool CifParser::addToText(std::string_view line) {
    if (currentItem() == kNone) return true;
    if (text_.size() + line.size() > kLongestValue) return fail("a value is too long");
    text_ += line;
    return true;
}

// The words of a line and its values in quotes, up to its end or a comment.  A "#" within a word is
// part of it.
bool CifParser::takeTokens(std::string_view line) {
    const char* at = line.data();
    const char* const end = at + line.size();
    for (;;) {
        while (at != end && isBlank(*at))
            ++at;
        if (at == end || *at == '#') return true;
        const char* const begin = at;
        if (*at == '\'' || *at == '"') {
            const std::size_t length = closingQuote({begin, end});
            if (length == std::string_view::npos) return fail("a quote has no end");
            at = begin + length + 1;
            if (!takeValue({begin + 1, length - 1})) return false;
            continue;
        }
        while (at != end && !isBlank(*at))
            ++at;
        if (!takeWord({begin, at})) return false;
    }
}

// A tag, a key word, or a value without quotes; only there are "." and "?" null.
inline bool CifParser::takeWord(std::string_view word) {
    if (word.front() == '_') return takeTag(word);
    if (mayBeKeyword(word)) {
        bool isKeyword = false;
        if (!takeKeyword(word, isKeyword)) return false;
        if (isKeyword) return true;
    }
    const bool isNull = word.size() == 1 && (word.front() == '.' || word.front() == '?');
    return takeValue(isNull ? std::string_view() : word);
}

bool CifParser::takeKeyword(std::string_view word, bool& isKeyword) {
    const bool isBlock = beginsWith(word, "data_");
    const bool isFrame = beginsWith(word, "save_");
    const bool isLoop = word.size() == 5 && beginsWith(word, "loop_");
    const bool isStop = word.size() == 5 && beginsWith(word, "stop_");
    const bool isGlobal = word.size() == 7 && beginsWith(word, "global_");
    isKeyword = isBlock || isFrame || isLoop || isStop || isGlobal;
    if (!isKeyword) return true;
    if (!endTable()) return false;
    if (isFrame) isInFrame_ = word.size() > 5;
    if (isLoop) return beginLoop();
    if (!isBlock) return true;
    isInFrame_ = false;
    return beginBlock_();
}

bool CifParser::beginLoop() {
    state_ = State::LoopTags;
    columns_.clear();
    column_ = 0;
    return true;
}

int CifParser::itemOf(std::string_view tag) const {
    if (isInFrame_) return kNone;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        if (items_[i].tag.size() == tag.size() && beginsWith(tag, items_[i].tag))
            return static_cast<int>(i);
    }
    return kNone;
}

// A tag begins a pair or, after loop_ and before the first value, names a column.  One of another
// category than the current table ends that table: files have pairs of many categories one after
// the other.
bool CifParser::takeTag(std::string_view tag) {
    if (state_ == State::Pair) return fail("a tag has no value");
    if (state_ == State::LoopValues && !endTable()) return false;
    const int item = itemOf(tag);
    const int category = item == kNone ? kNone : items_[static_cast<std::size_t>(item)].category;
    if (state_ == State::LoopTags) {
        if (item != kNone && std::find(columns_.begin(), columns_.end(), item) != columns_.end())
            return fail("a loop has a tag twice");
        if (columns_.size() == kMostColumns) return fail("a loop has too many tags");
        if (category_ == kNone) category_ = category;
        columns_.push_back(category == category_ ? item : kNone);
        return true;
    }
    if (category != kNone && category_ != category) {
        if (!endTable()) return false;
        category_ = category;
    }
    state_ = State::Pair;
    pairItem_ = item;
    return true;
}

// Where the next value goes; kNone for nowhere.
int CifParser::currentItem() const {
    if (state_ == State::Pair) return pairItem_;
    return column_ < columns_.size() ? columns_[column_] : kNone;
}

// Before the first value of a table: false where there is no place for it.
bool CifParser::beginValues() {
    if (state_ == State::Free) return fail("a value has no tag");
    if (columns_.empty()) return fail("a loop has no tags");
    state_ = State::LoopValues;
    return true;
}

inline bool CifParser::takeValue(std::string_view value) {
    const bool isPair = state_ == State::Pair;
    if (!isPair && state_ != State::LoopValues && !beginValues()) return false;
    const int item = isPair ? pairItem_ : columns_[column_];
    if (item != kNone) {
        if (value.size() > kLongestValue) return fail("a value is too long");
        row_[static_cast<std::size_t>(item)] = value;
    }
    if (isPair) {
        state_ = State::Free;
        return true;
    }
    if (++column_ < columns_.size()) return true;
    column_ = 0;
    if (category_ == kNone) return true;
    const bool goesOn = takeRow_(category_);
    std::fill(row_.begin(), row_.end(), std::string_view());
    return goesOn;
}

// The current table is complete, if it ever is.
bool CifParser::endTable() {
    if (state_ == State::Pair) return fail("a tag has no value");
    if (state_ == State::LoopValues && column_ != 0) return fail("a loop ends within a row");
    // A loop has passed on its rows one by one, pairs make one row together.
    const bool arePairs = state_ == State::Free;
    const int category = category_;
    state_ = State::Free;
    category_ = kNone;
    const bool goesOn = !arePairs || category == kNone || takeRow_(category);
    std::fill(row_.begin(), row_.end(), std::string_view());
    return goesOn;
}

bool CifParser::finish() {
    if (isInText_) return fail("a text field has no end");
    return endTable();
}

}  // namespace tervolanda
