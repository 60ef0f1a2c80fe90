// All that the threads share is one word, the ticket of the loop that is under way.  To take a
// piece is one compare-and-exchange, which fails when the loop has gone on meanwhile, so that a
// helper that was asleep cannot take part in a loop that is over.
#include "base/loop_team.h"

#include <algorithm>
#include <bit>
#include <exception>

#include "base/signals.h"

namespace tervolanda {

namespace {

constexpr std::uint32_t kPieces = (1U << LoopTeam::kMostThreads) - 1;  // these bits of a ticket
constexpr std::uint32_t kOver = 0;                                     // the ticket of no loop

// Tells the processor that a loop is waiting for another one.
void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// Looks so often whether what is waited for has come, and leaves the processor to others from then
// on; a look takes some ten nanoseconds.
constexpr int kLooks = 2000;

}  // namespace

LoopTeam::LoopTeam(std::size_t threads) {
    // Signals that end the run go to the caller's thread, which may hold files.
    const SignalHold hold;
    try {
        while (size() < std::min(threads, kMostThreads))
            helpers_.emplace_back([this, thread = size()] { help(thread); });
    } catch (const std::exception&) {  // no more threads, or no memory for them: these are the team
    }
}

LoopTeam::~LoopTeam() {
    ticket_.store(kOver, std::memory_order_release);
    ticket_.notify_all();
    helpers_.clear();  // joins them
}

void LoopTeam::share(std::size_t pieces, Call call, const void* context) {
    if (helpers_.empty() || pieces == 1) {
        for (std::size_t piece = 0; piece < pieces; ++piece)
            call(context, piece);
        return;
    }
    call_ = call;
    context_ = context;
    done_.store(0, std::memory_order_relaxed);
    const std::uint32_t last = ticket_.load(std::memory_order_relaxed) >> kMostThreads;
    const std::uint32_t loop = last % UINT16_MAX + 1;
    ticket_.store(loop << kMostThreads | ((1U << pieces) - 1), std::memory_order_release);
    ticket_.notify_all();
    takePieces(0);
    for (int look = 0; done_.load(std::memory_order_acquire) < pieces; ++look) {
        if (look < kLooks) {
            relax();
        } else {
            std::this_thread::yield();
        }
    }
}

// Its own piece first, then those that nobody has begun.
void LoopTeam::takePieces(std::size_t thread) {
    std::uint32_t ticket = ticket_.load(std::memory_order_acquire);
    while ((ticket & kPieces) != 0) {
        const bool hasOwn = (ticket >> thread & 1U) != 0;
        const std::size_t piece =
            hasOwn ? thread : static_cast<std::size_t>(std::countr_zero(ticket));
        if (!ticket_.compare_exchange_weak(ticket, ticket & ~(1U << piece),
                                           std::memory_order_acq_rel, std::memory_order_acquire))
            continue;
        call_(context_, piece);
        done_.fetch_add(1, std::memory_order_release);
        ticket = ticket_.load(std::memory_order_acquire);
    }
}

// Between two loops of a computation pass microseconds; when it does something else for longer the
// helpers sleep.
void LoopTeam::waitForOther(std::uint32_t ticket) const {
    constexpr int kYields = 200;
    for (int look = 0; look < kLooks + kYields; ++look) {
        if (ticket_.load(std::memory_order_relaxed) != ticket) return;
        if (look < kLooks) {
            relax();
        } else {
            std::this_thread::yield();
        }
    }
    ticket_.wait(ticket, std::memory_order_relaxed);
}

void LoopTeam::help(std::size_t thread) {
    while (true) {
        takePieces(thread);
        const std::uint32_t ticket = ticket_.load(std::memory_order_relaxed);
        if (ticket == kOver) return;
        if ((ticket & kPieces) == 0) waitForOther(ticket);
    }
}

}  // namespace tervolanda
