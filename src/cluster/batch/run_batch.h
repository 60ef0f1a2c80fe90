// How every batch runs: compute() compares pairs, consume() brings in what it found.
//
// Between the two stand only outcomes and captured lines.  compute() may write to its worker and to
// nothing else; every side effect (matrices, progress, printed lines, recorded pairs) is in
// consume(), which is called for one pair after the other, in their order, by one thread.  So the
// bytes of a run do not depend on who computed which pair, and when.  By one thread pairs are
// computed and consumed in turn; by several, chunks of pairs go round a ring (base/parallel.h).
//
// A batch is a class with
//
//   Outcome                               what a pair leaves; objects are used again
//   static constexpr const char* kName    for the progress lines
//   std::size_t count() const             pairs in all
//   BatchPair first() const               the pair order
//   BatchPair next(BatchPair pair) const
//   BatchPair skip(BatchPair pair, std::size_t count) const
//                                         the same so many times
//   std::size_t together(BatchPair from) const
//                                         pairs, `from` and those after it, to be computed at once,
//                                         where there are as many left
//   void compute(BatchPair from, std::span<Outcome> outcomes, BatchWorker& worker) const
//                                         that many; calls worker.finishPair() after each
//   ChunkNeeds chunkNeeds() const         how many pairs are worth a thread's turn
//   void consume(BatchPair pair, const Outcome& outcome)
//   const Chain& experiment(BatchPair pair) const, prediction(BatchPair pair) const
#pragma once

#include <algorithm>
#include <chrono>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/parallel.h"
#include "cluster/batch/batch.h"
#include "cluster/batch/worker.h"
#include "compare/fit/kernels.h"

namespace tervolanda {

// Bytes that the result of a search may need for a record: vectors that grow may be twice as long
// as what they hold.
inline constexpr std::size_t kBytesOfSearch =
    2 * sizeof(MatchedPair) + sizeof(std::int32_t) + sizeof(double);

// The progress and the lines of a batch, pair by pair.  `consumed_` pairs have been printed, and
// the progress line of the next one, if it has any, stands already: it comes before the comparison.
class BatchLines {
 public:
    BatchLines(const char* name, std::size_t count, Log& log, Report& report);

    bool namesChains() const { return namesChains_; }
    // The lines of a pair, the names of its chains first.
    void printNames(const Chain& experiment, const Chain& prediction);
    void printDetails(std::string_view lines) {
        if (!lines.empty()) log_.report(lines);
    }
    // Whether a comparison may say much: each of its passes.
    bool showsPasses() const { return showsPasses_; }
    void finishPair() {
        if (++consumed_ == nextLine_) printProgress();
    }
    void finish();

 private:
    void printProgress();
    void printPace();
    void planNextLine();

    const char* name_;
    std::string ofAll_;  // what follows the number in a progress line
    std::string line_;   // scratch
    std::size_t count_;
    std::size_t consumed_ = 0;
    std::size_t nextLine_ = 0;  // the value of consumed_ that has a line
    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
    bool namesChains_;
    bool showsPasses_;
    Log& log_;
    Report& report_;
};

// Who computes a batch of searches: one thread where each pair shows similarity matrices to a sink.
Workforce workforceFor(const ComparisonParameters& parameters, const Workforce& workforce);

// The line of what a search with several domains found in all; at report level 3.
void reportTotal(const ComparisonResult& result, Report& report);

// What a batch wants of a chunk: pairs whose computing takes a few hundred microseconds or more, so
// that what handing them over takes does not count.
struct ChunkNeeds {
    std::size_t pairs = 16;
    std::size_t together = 1;     // the most that are computed at once
    std::size_t bytesOfPair = 0;  // of an outcome, at most
};

// How the pairs of a batch are shared among threads: chunks of so many that follow each other, and
// a ring of so many chunks.  No thread is left without a chunk by a short batch, and together with
// what its worker needs a thread has less than 8 MB.
struct ChunkPlan {
    ChunkPlan(ChunkNeeds needs, std::size_t count, std::size_t threads, bool showsPasses);

    std::size_t pairs;
    std::size_t slots;
    std::size_t mostBytes;  // of captured lines that wait
};

// Brings in the outcomes of the pairs from `pair` on; returns the pair after these.
template <typename Batch, typename Outcome>
BatchPair consumePairs(Batch& batch, BatchPair pair, std::span<const Outcome> outcomes,
                       const CapturedLines& captured, BatchLines& lines) {
    for (std::size_t k = 0; k < outcomes.size(); ++k) {
        if (lines.namesChains()) lines.printNames(batch.experiment(pair), batch.prediction(pair));
        lines.printDetails(captured.linesOf(k));
        batch.consume(pair, outcomes[k]);
        lines.finishPair();
        pair = batch.next(pair);
    }
    return pair;
}

// A batch computed by several threads: the slots of runInOrder() are chunks of pairs.
//
// Invariant: `next_` and `left_` are touched by claim() alone, which runInOrder() calls by one
// thread at a time; a chunk belongs to whoever runInOrder() has handed its slot to.
template <typename Batch>
class ThreadedBatch {
 public:
    ThreadedBatch(Batch& batch, const Workforce& workforce, BatchLines& lines, const Report& report)
        : batch_(batch),
          lines_(lines),
          plan_(batch.chunkNeeds(), batch.count(), workforce.threads, lines.showsPasses()),
          chunks_(plan_.slots),
          next_(batch.first()),
          left_(batch.count()) {
        const Kernels& kernels = kernelsOr(workforce.kernels);
        for (std::size_t i = 0; i < workforce.threads; ++i)
            workers_.push_back(std::make_unique<BatchWorker>(report, kernels));
    }

    void run() {
        runInOrder({workers_.size(), plan_.slots, plan_.mostBytes,
                    [this](std::size_t slot) { return claim(chunks_[slot]); },
                    [this](std::size_t slot, std::size_t worker) {
                        return compute(chunks_[slot], *workers_[worker]);
                    },
                    [this](std::size_t slot) { consume(chunks_[slot]); }});
    }

 private:
    using Outcome = typename Batch::Outcome;
    struct Chunk {
        BatchPair from;
        std::size_t pairs = 0;
        std::vector<Outcome> outcomes;  // those of `pairs`, and older ones
        CapturedLines captured;
    };

    bool claim(Chunk& chunk) {
        chunk.from = next_;
        chunk.pairs = 0;
        while (chunk.pairs < plan_.pairs && left_ > 0) {
            const std::size_t together = std::min(batch_.together(next_), left_);
            next_ = batch_.skip(next_, together);
            chunk.pairs += together;
            left_ -= together;
        }
        return chunk.pairs > 0;
    }

    std::size_t compute(Chunk& chunk, BatchWorker& worker) const {
        if (chunk.outcomes.size() < chunk.pairs) chunk.outcomes.resize(chunk.pairs);
        worker.captured.clear();
        BatchPair pair = chunk.from;
        for (std::size_t done = 0; done < chunk.pairs;) {
            const std::size_t together = std::min(batch_.together(pair), chunk.pairs - done);
            batch_.compute(pair, std::span(chunk.outcomes).subspan(done, together), worker);
            pair = batch_.skip(pair, together);
            done += together;
        }
        std::swap(chunk.captured, worker.captured);
        return chunk.captured.bytes();
    }

    void consume(Chunk& chunk) {
        const auto outcomes = std::span<const Outcome>(chunk.outcomes).first(chunk.pairs);
        consumePairs(batch_, chunk.from, outcomes, chunk.captured, lines_);
        // A pair that had much to say must not keep its memory for the rest of the run.
        constexpr std::size_t kKept = 4096;
        if (chunk.captured.capacity() > kKept) chunk.captured = {};
    }

    Batch& batch_;
    BatchLines& lines_;
    ChunkPlan plan_;
    std::vector<Chunk> chunks_;
    BatchPair next_;
    std::size_t left_;  // pairs that nobody has claimed
    std::vector<std::unique_ptr<BatchWorker>> workers_;
};

// Compares all pairs of a batch and brings in what was found.  What a comparison throws (for lack
// of memory) is thrown from here, after the pairs before it.
template <typename Batch>
void runBatch(Batch& batch, const Workforce& workforce, Log& log, Report& report) {
    BatchLines lines(Batch::kName, batch.count(), log, report);
    if (workforce.threads > 1) {
        ThreadedBatch<Batch>(batch, workforce, lines, report).run();
        return lines.finish();
    }
    BatchWorker worker(report, kernelsOr(workforce.kernels));
    std::vector<typename Batch::Outcome> outcomes;
    BatchPair pair = batch.first();
    for (std::size_t consumed = 0; consumed < batch.count();) {
        const std::size_t together = std::min(batch.together(pair), batch.count() - consumed);
        if (outcomes.size() < together) outcomes.resize(together);
        const auto computed = std::span(outcomes).first(together);
        worker.captured.clear();
        batch.compute(pair, computed, worker);
        pair = consumePairs(batch, pair, std::span<const typename Batch::Outcome>(computed),
                            worker.captured, lines);
        consumed += together;
    }
    lines.finish();
}

}  // namespace tervolanda
