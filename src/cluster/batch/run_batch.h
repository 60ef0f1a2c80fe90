// How every batch runs: compute() compares pairs, consume() brings in what it found.
//
// Between the two stand only outcomes and captured lines.  compute() may write to its worker and to
// nothing else; every side effect (matrices, progress, printed lines, recorded pairs) is in
// consume(), which is called for one pair after the other, in their order, by one thread.  So the
// bytes of a run do not depend on who computed which pair, and when.
//
// A batch is a class with
//
//   Outcome                               what a pair leaves; objects are used again
//   static constexpr const char* kName    for the progress lines
//   std::size_t count() const             pairs in all
//   BatchPair first() const               the pair order
//   BatchPair next(BatchPair pair) const
//   std::size_t together(BatchPair from) const
//                                         pairs, `from` and those after it, to be computed at once
//   void compute(BatchPair from, std::span<Outcome> outcomes, BatchWorker& worker) const
//                                         that many; calls worker.finishPair() after each
//   void consume(BatchPair pair, const Outcome& outcome)
//   const Chain& experiment(BatchPair pair) const, prediction(BatchPair pair) const
#pragma once

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

#include "cluster/batch/batch.h"
#include "cluster/batch/worker.h"

namespace tervolanda {

// The progress and the lines of a batch, pair by pair.  `consumed_` pairs have been printed, and
// the progress line of the next one, if it has any, stands already: it comes before the comparison.
class BatchLines {
 public:
    BatchLines(const char* name, std::size_t count, Log& log, Report& report);

    bool namesChains() const { return namesChains_; }
    // The lines of a pair, the names of its chains first.
    void printNames(const Chain& experiment, const Chain& prediction);
    void printDetails(std::string_view lines, const std::vector<std::string>& faults);
    void finishPair();
    void finish();

 private:
    static constexpr std::size_t kPairsPerProgressLine = 20;

    void printProgress();

    const char* name_;
    std::size_t count_;
    std::size_t consumed_ = 0;
    bool namesChains_;
    Log& log_;
    Report& report_;
};

// The line of what a search with several domains found in all; at report level 3.
void reportTotal(const ComparisonResult& result, Report& report);

template <typename Batch>
void runBatch(Batch& batch, Log& log, Report& report) {
    BatchWorker worker(report);
    BatchLines lines(Batch::kName, batch.count(), log, report);
    std::vector<typename Batch::Outcome> outcomes;
    BatchPair pair = batch.first();
    for (std::size_t consumed = 0; consumed < batch.count();) {
        const std::size_t together = batch.together(pair);
        if (outcomes.size() < together) outcomes.resize(together);
        worker.start();
        batch.compute(pair, std::span(outcomes).first(together), worker);
        for (std::size_t k = 0; k < together; ++k) {
            if (lines.namesChains()) {
                lines.printNames(batch.experiment(pair), batch.prediction(pair));
            }
            lines.printDetails(worker.linesOf(k), worker.faults());
            batch.consume(pair, outcomes[k]);
            lines.finishPair();
            pair = batch.next(pair);
        }
        consumed += together;
    }
    lines.finish();
}

}  // namespace tervolanda
