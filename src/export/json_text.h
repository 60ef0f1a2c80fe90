// Values as JSON (RFC 8259).
//
// Only what the forms of JSON need: values and objects are appended to a text, nothing is read.
// Numbers are the shortest that read back as the same double, so that who reads them can compute
// with them; what is missing is null and never 0.
#pragma once

#include <cmath>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "export/export_text.h"

namespace tervolanda {

// A string; bytes that are no UTF-8 become U+FFFD.  It holds neither "<" nor ">" as such, so that
// JSON may stand within a page.
void appendJson(std::string& text, std::string_view value);
inline void appendJson(std::string& text, const char* value) {
    appendJson(text, std::string_view(value));
}
inline void appendJson(std::string& text, const std::string& value) {
    appendJson(text, std::string_view(value));
}

// A number that is not finite is null.
inline void appendJson(std::string& text, double value) {
    if (std::isfinite(value)) return appendNumber(text, value);
    text += "null";
}

inline void appendJson(std::string& text, bool value) {
    text += value ? "true" : "false";
}

template <std::integral Count>
void appendJson(std::string& text, Count value) {
    appendNumber(text, value);
}

template <typename Value>
void appendJson(std::string& text, const std::optional<Value>& value) {
    if (value) return appendJson(text, *value);
    text += "null";
}

// An object that is being written to `text`, up to its end().  What is appended to `text` between a
// key() and the next call is the value of that key.
//
// end() is a call and no destructor: an exception on the way, for lack of memory, must not write.
class JsonObject {
 public:
    explicit JsonObject(std::string& text) : text_(text) { text_ += '{'; }
    JsonObject(const JsonObject&) = delete;
    JsonObject& operator=(const JsonObject&) = delete;
    ~JsonObject() = default;
    void end() { text_ += '}'; }

    // What follows is the value.  REQUIRES: a key that needs no escapes.
    void key(std::string_view name) {
        if (!isFirst_) text_ += ',';
        isFirst_ = false;
        text_ += '"';
        text_ += name;
        text_ += "\":";
    }
    template <typename Value>
    void add(std::string_view name, const Value& value) {
        key(name);
        appendJson(text_, value);
    }

 private:
    std::string& text_;
    bool isFirst_ = true;
};

// The values of a list, `append(element)` for each, between brackets.
template <typename List, typename Append>
void appendJsonList(std::string& text, const List& list, const Append& append) {
    text += '[';
    bool isFirst = true;
    for (const auto& element : list) {
        if (!isFirst) text += ',';
        isFirst = false;
        append(element);
    }
    text += ']';
}

}  // namespace tervolanda
