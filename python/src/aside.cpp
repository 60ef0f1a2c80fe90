#include "aside.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string_view>
#include <thread>

#include "base/parallel.h"
#include "base/text.h"

namespace tervolanda::python {

namespace {

// People take less than a tenth of a second for at once; what is computed has to end in it, too.
constexpr std::chrono::milliseconds kBetweenLooks{10};

// A thread at work, and whether it has ended.
class Worker {
 public:
    explicit Worker(const std::function<void()>& work) : thread_([this, &work] { run(work); }) {}
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    // Waits for the end, without the interpreter's lock.  To join a thread that runs cannot fail.
    ~Worker() {  // NOLINT(bugprone-exception-escape): see above
        const py::gil_scoped_release waiting;
        thread_.join();
    }

    // Waits a little; true when the work has ended.
    bool hasEnded() {
        const py::gil_scoped_release waiting;
        std::unique_lock lock(mutex_);
        return end_.wait_for(lock, kBetweenLooks, [this] { return hasEnded_; });
    }
    // REQUIRES: hasEnded().
    void rethrow() const {
        if (failure_) std::rethrow_exception(failure_);
    }

 private:
    void run(const std::function<void()>& work) {
        std::exception_ptr failure;
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        const std::scoped_lock lock(mutex_);
        failure_ = failure;
        hasEnded_ = true;
        end_.notify_one();
    }

    std::mutex mutex_;
    std::condition_variable end_;
    bool hasEnded_ = false;
    std::exception_ptr failure_;
    std::thread thread_;  // last: begins when the others are there
};

}  // namespace

std::size_t threadsOf(int asked) {
    if (asked < 0 || asked > kMostThreads) {
        throw py::value_error("threads is 1 to " + std::to_string(kMostThreads));
    }
    return asked == 0 ? usableProcessors() : static_cast<std::size_t>(asked);
}

void Aside::run(const std::function<void()>& work) {
    Worker worker(work);
    try {
        while (!worker.hasEnded())
            attend();
        worker.rethrow();
        attend();
    } catch (...) {
        stop_ = true;
        throw;
    }
}

void Aside::attend() {
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    const std::uint64_t done = done_;
    if (callback_.is_none() || done == told_) return;
    told_ = done;
    callback_(done, all_.load());
}

// A progress line is "Processed 20 of 190 MAXSUBs".
LineSink Aside::sink() {
    return [this](LogLevel severity, std::string_view text) {
        throwIfStopped(&stop_);
        if (severity != LogLevel::Progress) return;
        takeField(text);
        const auto done = digitsOnly(takeField(text));
        takeField(text);
        const auto all = digitsOnly(takeField(text));
        if (!done || !all) return;
        all_ = *all;  // NOLINT(clang-analyzer-core.CallAndMessage): `this` is there, as stop_ was
        done_ = *done;
    };
}

}  // namespace tervolanda::python
