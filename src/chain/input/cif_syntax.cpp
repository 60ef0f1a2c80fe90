// One state for where in a table the reading stands, and one for fields of several lines.  Rows are
// handed on when their last value is there: of a loop with its last column, of pairs with the
// beginning of another table.
//
// A loop's columns are known by its tags before the first value, so a value is stored or dropped at
// once: of the categories that nobody wants nothing is kept but the place in the table.
#include "chain/input/cif_syntax.h"

#include <algorithm>

namespace tervolanda {

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// Whether `text` begins with `word`, which is in lower case.
bool beginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                    [](char a, char b) { return a == lower(b); });
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
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
    if (isInText_) {
        if (!line.starts_with(';')) return addToText(line);
        isInText_ = false;
        return takeValue(text_, false) && takeTokens(line.substr(1));
    }
    if (!line.starts_with(';')) return takeTokens(line);
    isInText_ = true;
    text_.clear();
    return addToText(line.substr(1));
}

bool CifParser::addToText(std::string_view line) {
    if (itemAtWork() == kNone) return true;
    if (text_.size() + line.size() > kLongestValue) return fail("a value is too long");
    text_ += line;
    return true;
}

bool CifParser::takeTokens(std::string_view line) {
    for (;;) {
        std::size_t at = 0;
        while (at < line.size() && isBlank(line[at]))
            ++at;
        if (at == line.size() || line[at] == '#') return true;
        line.remove_prefix(at);
        if (line.front() == '\'' || line.front() == '"') {
            const std::size_t end = closingQuote(line);
            if (end == std::string_view::npos) return fail("a quote has no end");
            if (!takeValue(line.substr(1, end - 1), false)) return false;
            line.remove_prefix(end + 1);
            continue;
        }
        std::size_t end = 1;
        while (end < line.size() && !isBlank(line[end]))
            ++end;
        if (!takeWord(line.substr(0, end))) return false;
        line.remove_prefix(end);
    }
}

bool CifParser::takeWord(std::string_view word) {
    if (word.front() == '_') return takeTag(word);
    bool isKeyword = false;
    if (!takeKeyword(word, isKeyword)) return false;
    return isKeyword || takeValue(word, word == "." || word == "?");
}

bool CifParser::takeKeyword(std::string_view word, bool& isKeyword) {
    // Nearly all words are values, and most of them numbers.
    constexpr std::string_view kFirstLetters = "dDlLsSgG";
    if (kFirstLetters.find(word.front()) == std::string_view::npos) return true;
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

bool CifParser::takeTag(std::string_view tag) {
    if (state_ == State::Pair) return fail("a tag has no value");
    if (state_ == State::LoopValues && !endTable()) return false;
    const int item = itemOf(tag);
    const int category = item == kNone ? kNone : items_[static_cast<std::size_t>(item)].category;
    if (state_ == State::LoopTags) {
        if (item != kNone && std::find(columns_.begin(), columns_.end(), item) != columns_.end())
            return fail("a loop has a tag twice");
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

int CifParser::itemAtWork() const {
    if (state_ == State::Pair) return pairItem_;
    return column_ < columns_.size() ? columns_[column_] : kNone;
}

bool CifParser::takeValue(std::string_view value, bool isNull) {
    if (state_ == State::Free) return fail("a value has no tag");
    if (state_ == State::LoopTags) {
        if (columns_.empty()) return fail("a loop has no tags");
        state_ = State::LoopValues;
    }
    const int item = itemAtWork();
    if (item != kNone) {
        if (value.size() > kLongestValue) return fail("a value is too long");
        row_[static_cast<std::size_t>(item)].assign(isNull ? std::string_view() : value);
    }
    if (state_ == State::Pair) {
        state_ = State::Free;
    } else if (++column_ == columns_.size()) {
        column_ = 0;
        return category_ == kNone || takeRow_(category_);
    }
    return true;
}

// The table at work is complete, if it ever is.
bool CifParser::endTable() {
    if (state_ == State::Pair) return fail("a tag has no value");
    if (state_ == State::LoopValues && column_ != 0) return fail("a loop ends within a row");
    // A loop has handed on its rows one by one, pairs make one row together.
    const bool arePairs = state_ == State::Free;
    const int category = category_;
    state_ = State::Free;
    category_ = kNone;
    const bool goesOn = !arePairs || category == kNone || takeRow_(category);
    for (std::string& value : row_)
        value.clear();
    return goesOn;
}

bool CifParser::finish() {
    if (isInText_) return fail("a text field has no end");
    return endTable();
}

}  // namespace tervolanda
