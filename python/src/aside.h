// Computations that may take long run in a thread of their own, while the thread that asked for
// them attends to the interpreter: signals are handled, Ctrl-C above all, and progress is told.
#pragma once

#include <atomic>
#include <cstddef>
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

// What is done with the matrix of so many models is over before anybody grows tired of it.
inline constexpr std::size_t kSoon = 500;

// Runs work(stop) without the interpreter's lock: for many models aside.
template <typename Work>
void runFor(std::size_t models, Work work) {
    if (models <= kSoon) {
        const py::gil_scoped_release working;
        work(static_cast<const StopFlag*>(nullptr));
        return;
    }
    Aside aside;
    aside.run([&] { work(aside.stop()); });
}

}  // namespace tervolanda::python
