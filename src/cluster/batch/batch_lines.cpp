// What a batch prints besides its results, and how it is shared among threads.
//
// Neither has a say in the results: chunks, slots and threads may be any number, and every line but
// that of the pace is the same.
#include <algorithm>
#include <array>
#include <charconv>

#include "base/format.h"
#include "base/log.h"
#include "cluster/batch/run_batch.h"

namespace tervolanda {

namespace {

constexpr std::size_t kPairsPerProgressLine = 20;
constexpr std::size_t kTenths = 10;

}  // namespace

BatchLines::BatchLines(const char* name, std::size_t count, Log& log, Report& report)
    : name_(name),
      ofAll_(format(" of %zu %ss", count, name)),
      count_(count),
      namesChains_(report.reports(ReportLevel::Numbers)),
      showsPasses_(report.reports(ReportLevel::Passes)),
      log_(log),
      report_(report) {
    if (log_.progressForm() == ProgressForm::Lines) {
        planNextLine();
    } else {
        printProgress();
    }
}

// A line for each tenth of the pairs.
void BatchLines::printPace() {
    const std::size_t tenth = consumed_ * kTenths / count_;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started_;
    const double perSecond = static_cast<double>(consumed_) / std::max(taken.count(), 1e-9);
    log_.pace("Processed %zu of %zu %ss (%zu %%), %.0f a second, %.0f s left", consumed_, count_,
              name_, tenth * kTenths, perSecond,
              static_cast<double>(count_ - consumed_) / perSecond);
}

// Before a comparison and not after it, so that the first line appears at once; none after the
// last.  Written without printf: by RMSD there are half a million lines a second.
void BatchLines::printProgress() {
    if (log_.progressForm() == ProgressForm::Lines) {
        printPace();
    } else if (consumed_ < count_) {
        std::array<char, 20> digits;
        const std::to_chars_result end =
            std::to_chars(digits.data(), digits.data() + digits.size(), consumed_);
        line_ = "Processed ";
        line_.append(digits.data(), end.ptr).append(ofAll_);
        log_.progressText(0, line_);
    }
    planNextLine();
}

void BatchLines::planNextLine() {
    if (log_.progressForm() != ProgressForm::Lines) {
        nextLine_ = consumed_ + kPairsPerProgressLine;
        return;
    }
    // The fewest pairs that are a tenth more.
    const std::size_t tenth = count_ == 0 ? 0 : consumed_ * kTenths / count_;
    nextLine_ = ((tenth + 1) * count_ + kTenths - 1) / kTenths;
}

void BatchLines::printNames(const Chain& experiment, const Chain& prediction) {
    report_.report(ReportLevel::Numbers, "%s vs. %s\n", prediction.fileName.c_str(),
                   experiment.fileName.c_str());
}

void reportTotal(const ComparisonResult& result, Report& report) {
    report.report(ReportLevel::Numbers, "Total: Pairs=%4u. MAXSUB=%5.3f. MSI=%5.3f\n\n",
                  result.pairs, result.maxsub, result.msi);
}

// A sink shows or writes each matrix when it gets it, and is called from within the search.
Workforce workforceFor(const ComparisonParameters& parameters, const Workforce& workforce) {
    const bool showsMatrices = parameters.similarityMatrix && parameters.sequenceIndependent;
    return {showsMatrices ? 1 : workforce.threads, workforce.kernels};
}

ChunkPlan::ChunkPlan(ChunkNeeds needs, std::size_t count, std::size_t threads, bool showsPasses) {
    constexpr std::size_t kTurns = 16;     // of a thread, at least: the last ones end together
    constexpr std::size_t kMostSlots = 8;  // of a thread
    constexpr std::size_t kRing = std::size_t{4} << 20;   // bytes of a thread's outcomes
    constexpr std::size_t kLines = std::size_t{1} << 20;  // and of its captured lines
    // The fewest pairs of three limits: a share of the batch, what is worth a turn, and memory.
    // Passes have many lines, so a pair is a chunk then.
    const std::size_t bytesOfPair = std::max<std::size_t>(needs.bytesOfPair, 1);
    const std::size_t mostPairs =
        showsPasses ? 1 : std::min(needs.pairs, kRing / kMostSlots / bytesOfPair);
    pairs =
        std::clamp<std::size_t>(count / (threads * kTurns), 1, std::max<std::size_t>(mostPairs, 1));
    const std::size_t bytes = bytesOfPair * std::max(pairs, needs.together);
    slots = threads * std::clamp<std::size_t>(kRing / bytes, 2, kMostSlots);
    mostBytes = threads * kLines;
}

void BatchLines::finish() {
    log_.endProgress();
}

}  // namespace tervolanda
