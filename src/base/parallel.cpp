// A ring of slots between the workers and the thread that consumes: a job that takes long holds up
// no other one until the ring is full.
#include "base/parallel.h"

#ifdef __linux__
#include <sched.h>
#endif

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <limits>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "base/control_group.h"
#include "base/signals.h"
#include "base/text.h"

namespace tervolanda {

namespace {

std::size_t processorsOfMask() {
#ifdef __linux__
    // More than any machine has; the call fails when the mask is too short for the kernel's.
    constexpr std::size_t kMostProcessors = 8192;
    std::vector<cpu_set_t> mask(kMostProcessors / CPU_SETSIZE);
    const std::size_t bytes = mask.size() * sizeof(cpu_set_t);
    if (sched_getaffinity(0, bytes, mask.data()) == 0) {
        return static_cast<std::size_t>(std::max(1, CPU_COUNT_S(bytes, mask.data())));
    }
#endif
    return std::max(1U, std::thread::hardware_concurrency());
}

// The numbers in a file; where there is another word, or no file, none.
std::vector<std::uint64_t> numbersIn(const std::string& path) {
    std::vector<std::uint64_t> numbers;
    const std::string text = kernelText(path);
    std::string_view rest = text;
    for (auto field = takeField(rest); !field.empty(); field = takeField(rest)) {
        const auto number = digitsOnly(field);
        if (!number) return {};
        numbers.push_back(*number);
    }
    return numbers;
}

// The processors whose time a control group and those around it may take up.  "quota period" stands
// in one file (version 2), or each in its own.
std::size_t processorsOfQuotas() {
    constexpr std::string_view kQuota = "cpu.cfs_quota_us", kPeriod = "cpu.cfs_period_us";
    std::size_t processors = std::numeric_limits<std::size_t>::max();
    for (const std::string& path : limitFiles({"cpu", "cpu.max", kQuota})) {
        std::vector<std::uint64_t> limit = numbersIn(path);
        if (limit.size() == 1 && path.ends_with(kQuota)) {
            const std::string folder = path.substr(0, path.size() - kQuota.size());
            for (const std::uint64_t period : numbersIn(folder + std::string(kPeriod)))
                limit.push_back(period);
        }
        if (limit.size() != 2 || limit[0] == 0 || limit[1] == 0) continue;  // no limit
        const std::uint64_t whole = (limit[0] - 1) / limit[1] + 1;
        if (whole < processors) processors = static_cast<std::size_t>(whole);
    }
    return processors;
}

// The threads of one runInOrder().  The mutex guards everything but the work itself.
// Invariant: slots of the jobs from consumed_ to claimed_ are in use, and waitingBytes_ is the sum
// over those of them that are done.
class OrderedRun {
 public:
    explicit OrderedRun(const OrderedJobs& jobs);
    OrderedRun(const OrderedRun&) = delete;
    OrderedRun& operator=(const OrderedRun&) = delete;
    // Waits for the jobs under way.
    ~OrderedRun();

    void run();

 private:
    struct State {
        bool isDone = false;
        std::size_t bytes = 0;
        std::exception_ptr failure{};
    };

    void startWorkers();
    void runAlone();
    void work(std::size_t worker);
    bool claimNext();
    bool mayClaim() const;
    void finish(std::size_t slot, State state);

    const OrderedJobs& jobs_;
    std::mutex mutex_;
    std::condition_variable slotIsFree_, nextIsDone_;
    std::vector<State> states_;  // one per slot
    std::size_t claimed_ = 0;
    std::size_t consumed_ = 0;
    std::size_t waitingBytes_ = 0;  // of results that are done and not consumed
    bool isOver_ = false;           // no job is claimed any more
    std::vector<std::jthread> workers_;
};

OrderedRun::OrderedRun(const OrderedJobs& jobs) : jobs_(jobs), states_(jobs.slots) {}

OrderedRun::~OrderedRun() {
    {
        const std::scoped_lock lock(mutex_);
        isOver_ = true;
    }
    slotIsFree_.notify_all();
    workers_.clear();  // joins them
}

void OrderedRun::startWorkers() {
    // Threads inherit what waits: a signal is to reach the thread that holds files, if any.
    const SignalHold hold;
    workers_.reserve(jobs_.threads);
    try {
        for (std::size_t worker = 0; worker < jobs_.threads; ++worker)
            workers_.emplace_back([this, worker] { work(worker); });
    } catch (const std::system_error&) {  // no more threads: those that there are do it all
    }
}

// However large one result is, the next job to be consumed may always be begun: otherwise all would
// wait.
bool OrderedRun::mayClaim() const {
    if (claimed_ - consumed_ >= states_.size()) return false;
    return waitingBytes_ <= jobs_.mostBytes || claimed_ == consumed_;
}

// Claims a job for the thread that holds the lock; false when there is none.
bool OrderedRun::claimNext() {
    const std::size_t slot = claimed_ % states_.size();
    try {
        if (jobs_.claim(slot)) {
            ++claimed_;
            return true;
        }
        isOver_ = true;
    } catch (...) {
        ++claimed_;
        finish(slot, {.isDone = true, .failure = std::current_exception()});
    }
    slotIsFree_.notify_all();
    nextIsDone_.notify_one();
    return false;
}

// Hands a slot over to the consuming thread; the lock is held.
void OrderedRun::finish(std::size_t slot, State state) {
    if (state.failure) isOver_ = true;
    waitingBytes_ += state.bytes;
    states_[slot] = std::move(state);
    if (slot == consumed_ % states_.size()) nextIsDone_.notify_one();
}

void OrderedRun::work(std::size_t worker) {
    std::unique_lock lock(mutex_);
    while (true) {
        slotIsFree_.wait(lock, [this] { return isOver_ || mayClaim(); });
        if (isOver_ || !claimNext()) return;
        const std::size_t slot = (claimed_ - 1) % states_.size();
        lock.unlock();
        State state{.isDone = true};
        try {
            state.bytes = jobs_.compute(slot, worker);
        } catch (...) {
            state.failure = std::current_exception();
        }
        lock.lock();
        finish(slot, std::move(state));
    }
}

void OrderedRun::run() {
    startWorkers();
    if (workers_.empty()) return runAlone();
    std::unique_lock lock(mutex_);
    while (true) {
        State& state = states_[consumed_ % states_.size()];
        nextIsDone_.wait(lock, [&] { return state.isDone || (isOver_ && consumed_ == claimed_); });
        if (!state.isDone) return;
        if (state.failure) std::rethrow_exception(state.failure);
        lock.unlock();
        jobs_.consume(consumed_ % states_.size());
        lock.lock();
        waitingBytes_ -= state.bytes;
        state.isDone = false;
        ++consumed_;
        slotIsFree_.notify_one();
    }
}

void OrderedRun::runAlone() {
    while (jobs_.claim(0)) {
        jobs_.compute(0, 0);
        jobs_.consume(0);
    }
}

}  // namespace

std::size_t usableProcessors() {
    return std::min(processorsOfMask(), processorsOfQuotas());
}

void runInOrder(const OrderedJobs& jobs) {
    OrderedRun(jobs).run();
}

}  // namespace tervolanda
