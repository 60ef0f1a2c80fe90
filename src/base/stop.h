// How a long computation is ended from outside: by a flag that it looks at now and then.  For
// callers of the library, as a module for Python, whose users press Ctrl-C; the program itself sets
// none and is ended by signals.
#pragma once

#include <atomic>
#include <exception>

namespace tervolanda {

// Set from any thread by whoever asked for a computation and no longer wants its result.
using StopFlag = std::atomic<bool>;

// What the computation then throws, within a few hundredths of a second.
class Stopped : public std::exception {
 public:
    const char* what() const noexcept override { return "stopped"; }
};

// For loops that may take long; without a flag nothing happens.
inline void throwIfStopped(const StopFlag* stop) {
    if (stop != nullptr && stop->load(std::memory_order_relaxed)) throw Stopped();
}

}  // namespace tervolanda
