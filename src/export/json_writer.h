// Nested lists and objects of mixed values as JSON, written from left to right.
//
// JsonObject (json_text.h) is for objects whose keys are known to need no escapes and whose values
// stand alone; the report has tables in lists in objects, and leaves the commas to this writer.
#pragma once

#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/format.h"
#include "export/json_text.h"

namespace tervolanda {

// With so many decimals, as other output prints it; null for none and for what is not finite.
inline void appendJsonFixed(std::string& text, std::optional<double> value, int decimals) {
    if (value && std::isfinite(*value)) {
        appendFixed(text, *value, decimals);
    } else {
        text += "null";
    }
}

// Writes commas where they belong.  The text is lent; the caller closes what it has opened, in
// order.
class JsonWriter {
 public:
    explicit JsonWriter(std::string& out) : out_(out) {}

    // "[" or "{".
    void open(char bracket) {
        separate();
        out_ += bracket;
        isFirst_ = true;
    }
    void close(char bracket) {
        out_ += bracket;
        isFirst_ = false;
    }
    // Its value comes next.
    void key(const char* name) {
        separate();
        appendJson(out_, name);
        out_ += ':';
        isFirst_ = true;
    }
    void text(std::string_view value) {
        separate();
        appendJson(out_, value);
    }
    void number(std::optional<double> value, int decimals) {
        separate();
        appendJsonFixed(out_, value, decimals);
    }
    void count(std::size_t value) { raw(std::to_string(value)); }
    void flag(bool value) { raw(value ? "true" : "false"); }
    void null() { raw("null"); }
    // JSON as it stands.
    void raw(std::string_view value) {
        separate();
        out_ += value;
    }

 private:
    void separate() {
        if (!isFirst_) out_ += ',';
        isFirst_ = false;
    }

    std::string& out_;
    // Whether nothing stands yet in the list or object that is open, or a key waits for its value:
    // then no comma comes before what is next.
    bool isFirst_ = true;
};

}  // namespace tervolanda
