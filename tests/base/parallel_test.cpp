#include "base/parallel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <string_view>
#include <thread>
#include <vector>

#include "base/control_group.h"
#include "base/loop_team.h"

namespace tervolanda {
namespace {

// The squares of 0, 1, 2 and so on, in the order in which they are brought in.
struct Squares {
    explicit Squares(std::size_t count) : last(count) {}

    OrderedJobs jobs(std::size_t threads) {
        OrderedJobs made{threads, 2 * threads, 100, {}, {}, {}};
        slots.resize(made.slots);
        made.claim = [this](std::size_t slot) {
            slots[slot] = next;
            return next++ < last;
        };
        made.compute = [this](std::size_t slot, std::size_t) {
            slots[slot] *= slots[slot];
            return slots[slot];  // soon more bytes than may wait
        };
        made.consume = [this](std::size_t slot) { found.push_back(slots[slot]); };
        return made;
    }
    bool areWhole(std::size_t count) const {
        for (std::size_t i = 0; i < found.size(); ++i) {
            if (found[i] != i * i) return false;
        }
        return found.size() == count;
    }

    std::size_t next = 0;
    std::size_t last;
    std::vector<std::size_t> slots, found;
};

TEST(RunInOrder, BringsResultsInInTheOrderOfTheJobs) {
    for (const std::size_t threads : {1U, 2U, 8U}) {
        for (const std::size_t count : {0U, 1U, 7U, 1000U}) {
            Squares squares(count);
            runInOrder(squares.jobs(threads));
            EXPECT_TRUE(squares.areWhole(count)) << threads << " threads, " << count << " jobs";
        }
    }
}

TEST(RunInOrder, LetsOthersGoOnWhileAJobTakesLong) {
    Squares squares(6);
    OrderedJobs jobs = squares.jobs(2);  // four slots
    std::atomic<int> others = 0;
    jobs.mostBytes = 1000;
    jobs.compute = [&](std::size_t slot, std::size_t) {
        if (squares.slots[slot] != 0) {
            ++others;
        } else {
            while (others < 3)
                std::this_thread::yield();
        }
        return std::size_t{0};
    };
    runInOrder(jobs);
    EXPECT_EQ(squares.found.size(), 6U);
}

TEST(RunInOrder, ThrowsWhatAJobThrowsAfterTheJobsBeforeIt) {
    for (const char* place : {"claim", "compute", "consume"}) {
        Squares squares(1000);
        OrderedJobs jobs = squares.jobs(3);
        const std::string_view where = place;
        jobs.claim = [&squares, step = jobs.claim, where](std::size_t slot) {
            if (where == "claim" && squares.next == 40) throw std::bad_alloc();
            return step(slot);
        };
        jobs.compute = [&squares, step = jobs.compute, where](std::size_t slot,
                                                              std::size_t worker) {
            if (where == "compute" && squares.slots[slot] == 40) throw std::bad_alloc();
            return step(slot, worker);
        };
        if (where == "consume") {
            jobs.consume = [&squares](std::size_t slot) {
                if (squares.found.size() == 40) throw std::bad_alloc();
                squares.found.push_back(squares.slots[slot]);
            };
        }
        EXPECT_THROW(runInOrder(jobs), std::bad_alloc) << place;
        EXPECT_TRUE(squares.areWhole(40)) << place;
    }
}

TEST(LoopTeam, DoesEachPieceOfEachLoopOnce) {
    for (const std::size_t threads : {1U, 2U, 5U, 40U}) {
        LoopTeam team(threads);
        std::vector<std::size_t> done(team.size(), 0);
        std::size_t expected = 0;
        for (std::size_t loop = 0; loop < 70000; ++loop) {  // loop numbers begin anew in between
            const std::size_t pieces = loop % team.size() + 1;
            // Sleeping helpers have to wake up.
            if (loop % 30000 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
            team.run(pieces, [&](std::size_t piece) { done[piece] += loop; });
            expected += loop;  // of the first piece
        }
        EXPECT_EQ(done.front(), expected) << threads;
        // The last piece of a full team has had every loop of that many.
        std::size_t last = 0;
        for (std::size_t loop = team.size() - 1; loop < 70000; loop += team.size())
            last += loop;
        EXPECT_EQ(done.back(), last) << threads;
    }
}

TEST(LimitFiles, AreThoseOfTheGroupAndOfAllAroundIt) {
    const GroupLimit limit{"cpu", "cpu.max", "cpu.cfs_quota_us"};
    // A step of a batch system, on a machine with both versions.
    EXPECT_THAT(
        limitFiles("9:name=systemd:/\n7:cpu,cpuacct:/slurm/job_1/\n3:cpuset:/x\n0::/a/b:c\n",
                   limit),
        testing::ElementsAre("/sys/fs/cgroup/cpu/slurm/job_1/cpu.cfs_quota_us",
                             "/sys/fs/cgroup/cpu/slurm/cpu.cfs_quota_us",
                             "/sys/fs/cgroup/cpu/cpu.cfs_quota_us", "/sys/fs/cgroup/a/b:c/cpu.max",
                             "/sys/fs/cgroup/a/cpu.max", "/sys/fs/cgroup/cpu.max"));
    // A container sees its group as the root.
    EXPECT_THAT(limitFiles("0::/\n", limit), testing::ElementsAre("/sys/fs/cgroup/cpu.max"));
}

TEST(UsableProcessors, AreAtLeastOneAndNoMoreThanThereAre) {
    EXPECT_GE(usableProcessors(), 1U);
    EXPECT_LE(usableProcessors(), std::max(1U, std::thread::hardware_concurrency()));
}

}  // namespace
}  // namespace tervolanda
