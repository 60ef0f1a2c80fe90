// What a batch prints besides its results.
#include "base/log.h"
#include "cluster/batch/run_batch.h"

namespace tervolanda {

BatchLines::BatchLines(const char* name, std::size_t count, Log& log, Report& report)
    : name_(name),
      count_(count),
      namesChains_(report.reports(ReportLevel::Numbers)),
      log_(log),
      report_(report) {
    printProgress();
}

void BatchLines::printProgress() {
    if (consumed_ == count_ || consumed_ % kPairsPerProgressLine != 0) return;
    log_.progress(0, "Processed %zu of %zu %ss", consumed_, count_, name_);
}

void BatchLines::printNames(const Chain& experiment, const Chain& prediction) {
    report_.report(ReportLevel::Numbers, "%s vs. %s\n", prediction.fileName.c_str(),
                   experiment.fileName.c_str());
}

void BatchLines::printDetails(std::string_view lines, const std::vector<std::string>& faults) {
    if (!lines.empty()) log_.report(lines);
    for (const std::string& fault : faults)
        log_.passOnIncompleteFile(fault);
}

void BatchLines::finishPair() {
    ++consumed_;
    printProgress();
}

void reportTotal(const ComparisonResult& result, Report& report) {
    report.report(ReportLevel::Numbers, "Total: Pairs=%4u. MAXSUB=%5.3f. MSI=%5.3f\n\n",
                  result.pairs, result.maxsub, result.msi);
}

void BatchLines::finish() {
    log_.endProgress();
}

}  // namespace tervolanda
