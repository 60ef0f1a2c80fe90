// Lines are caught where a Log hands them on, so that comparisons need not know of it.
#include "cluster/batch/worker.h"

namespace tervolanda {

// The log has no level or prefix to speak of: the report has already decided what is shown.
BatchWorker::BatchWorker(const Report& pattern, const Kernels& kernels)
    : workspace(kernels),
      log_([this](LogLevel, std::string_view text) { captured.add(text); }),
      report(pattern.into(log_)) {}

void CapturedLines::clear() {
    lines_.clear();
    ends_.clear();
    finished_ = 0;
}

}  // namespace tervolanda
