// Lines are caught where a Log hands them on, so that comparisons need not know of it.
#include "cluster/batch/worker.h"

namespace tervolanda {

BatchWorker::BatchWorker(const Report& pattern)
    : log_([this](LogLevel severity, std::string_view text) {
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
    finished_ = 0;
}

}  // namespace tervolanda
