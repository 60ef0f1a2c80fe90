// Lines are caught where a Log hands them on, so that comparisons need not know of it.
#include "cluster/batch/worker.h"

namespace tervolanda {

BatchWorker::BatchWorker(const Report& pattern)
    : capturesLines_(pattern.reports(ReportLevel::Results)),
      log_([this](LogLevel severity, std::string_view text) {
          if (severity == LogLevel::Report) {
              lines_ += text;
          } else {
              faults_.emplace_back(text);
          }
      }),
      report(pattern.into(log_)) {}

void BatchWorker::start() {
    lines_.clear();
    lineEnds_.clear();
    faults_.clear();
}

std::string_view BatchWorker::linesOf(std::size_t k) const {
    if (!capturesLines_) return {};
    const std::size_t first = k == 0 ? 0 : lineEnds_[k - 1];
    return std::string_view(lines_).substr(first, lineEnds_[k] - first);
}

}  // namespace tervolanda
