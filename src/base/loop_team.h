// Loops of microseconds that a few threads share, thousands of them one after the other.
//
// A loop is too short to wake a thread for, so that helpers look out for the next one for a while
// before they sleep.  Each thread has a piece of its own in every loop, and what it wrote there in
// the loop before is still in its cache.  But who is done takes a piece of another thread that has
// not come yet: a helper that the system keeps from running costs nothing but its help.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace tervolanda {

// Invariant: a piece is taken by clearing its bit of the ticket, and run() returns when all pieces
// are done.  So call_ and context_ change only while nobody has a piece, and who takes one sees
// them as they are.
class LoopTeam {
 public:
    // Loops as short as these wait for memory rather than for processors: more would not help.
    static constexpr std::size_t kMostThreads = 16;

    // So many threads or kMostThreads, the caller's among them; fewer where the system gives no
    // more.
    explicit LoopTeam(std::size_t threads);
    LoopTeam(const LoopTeam&) = delete;
    LoopTeam& operator=(const LoopTeam&) = delete;
    ~LoopTeam();

    std::size_t size() const { return helpers_.size() + 1; }

    // Calls piece(0), piece(1) ... once each, by any of the threads and in any order, and returns
    // when all have returned; at most size() of them.  A piece must not throw, and must not look
    // at what others of its loop write.
    template <typename Piece>
    void run(std::size_t pieces, const Piece& piece) {
        const auto call = [](const void* context, std::size_t number) {
            (*static_cast<const Piece*>(context))(number);
        };
        share(pieces, call, &piece);
    }

 private:
    using Call = void (*)(const void* context, std::size_t piece);
    static constexpr std::size_t kCacheLine = 64;  // bytes

    void share(std::size_t pieces, Call call, const void* context);
    void takePieces(std::size_t thread);
    void help(std::size_t thread);
    void waitForOther(std::uint32_t ticket) const;

    // The number of the loop, 1 to 65535 and round again, and a bit for each of its pieces that
    // nobody has taken: 16 bits each.  Apart from the rest, as all threads look at it all the time.
    alignas(kCacheLine) std::atomic<std::uint32_t> ticket_ = 1U << kMostThreads;
    alignas(kCacheLine) std::atomic<std::size_t> done_ = 0;  // pieces of the loop
    alignas(kCacheLine) Call call_ = nullptr;
    const void* context_ = nullptr;
    std::vector<std::jthread> helpers_;
};

}  // namespace tervolanda
