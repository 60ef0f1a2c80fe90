// Where lines of the library go: they are kept, and Python makes exceptions and warnings of them.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/log.h"
#include "bindings.h"

namespace tervolanda::python {

// The errors and warnings of one call, in order, with the reason where a file cannot be opened.
// Information is left out: results say the same.
// May be used without the interpreter's lock; only taken() needs it.
class Messages {
 public:
    Messages() : log_([this](LogLevel severity, std::string_view text) { take(severity, text); }) {}
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    Log& log() { return log_; }
    bool empty() const { return lines_.empty(); }
    // The lines as a list of text.
    py::list taken() const;

 private:
    void take(LogLevel severity, std::string_view text);

    std::vector<std::string> lines_;
    Log log_;
};

}  // namespace tervolanda::python
