// Jobs that several threads compute side by side, and whose results one thread brings in, in the
// order of the jobs.
//
// Jobs are numbered as they are claimed, and job k has slot k % slots of a ring.  Always
// consumed <= claimed <= consumed + slots: a slot belongs to the worker that claimed its job, then,
// when the job is done, to the consuming thread, and when that is done to nobody.  So no two
// threads ever touch a slot at a time, and neither computing nor consuming needs a lock.
#pragma once

#include <cstddef>
#include <functional>

namespace tervolanda {

// The most threads that a run may ask for.
inline constexpr int kMostThreads = 1024;

// The processors that this process may use, at least 1: those of its affinity mask, or fewer where
// its control group, or one around that, may take up the time of fewer.
std::size_t usableProcessors();

// What is to be done.  What a job reads and what it leaves stands in a slot, a number below
// `slots`, that no other job uses until it has been consumed.
struct OrderedJobs {
    std::size_t threads = 1;
    std::size_t slots = 1;      // how many jobs may be under way or waiting to be consumed
    std::size_t mostBytes = 0;  // no job is begun while results of more than this are waiting

    // Puts the next job into a slot; false when there is none.  Called by one thread at a time.
    std::function<bool(std::size_t slot)> claim;
    // Does the job of a slot; `worker`, below `threads`, has no other job meanwhile.  Returns the
    // bytes that its result takes up, where they are worth counting.
    std::function<std::size_t(std::size_t slot, std::size_t worker)> compute;
    // Brings in the result of a slot: job after job, in the order of their claims, by the thread
    // that called runInOrder().
    std::function<void(std::size_t slot)> consume;
};

// Returns when all jobs have been consumed.  What claim() or compute() throws is thrown from here
// when all jobs before have been consumed, and what consume() throws at once; either way no thread
// is left.  Fewer threads than asked for are used, if need be this one alone, where the system
// gives no more.  Signals that end a run go to this thread.
void runInOrder(const OrderedJobs& jobs);

}  // namespace tervolanda
