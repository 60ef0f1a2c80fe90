// Computations that may take long run in a thread of their own, while the thread that asked for
// them attends to the interpreter: signals are handled, Ctrl-C above all, and progress is told.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "base/log.h"
#include "base/stop.h"
#include "bindings.h"

namespace tervolanda::python {

// As many threads as asked for; as many as there are processors for 0.
std::size_t threadsOf(int asked);

class Aside {
 public:
    // `progress` is None or takes the number of comparisons done and that of all.
    explicit Aside(py::object progress = py::none()) : callback_(std::move(progress)) {}
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

    // Called with the interpreter's lock; `work` runs without it and must not touch the
    // interpreter.  Throws what `work` throws.  When a signal's handler or `progress` raises an
    // exception, the flag is set, and the exception is thrown when `work` has ended.
    void run(const std::function<void()>& work);

    // What `work` has to look at, and where its progress lines go: the sink looks, too.
    const StopFlag* stop() const { return &stop_; }
    LineSink sink();

 private:
    void attend();

    py::object callback_;
    StopFlag stop_{false};
    std::atomic<std::uint64_t> done_{0}, all_{0};
    std::uint64_t told_ = 0;
};

}  // namespace tervolanda::python
