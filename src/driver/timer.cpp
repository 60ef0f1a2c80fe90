// The processor clock in milliseconds, as it has always been reported.
#include "driver/timer.h"

#include <cstdint>

#include "base/log.h"

namespace tervolanda {

void RunTimer::stop(Log& log) const {
    const std::int64_t milliseconds =
        static_cast<std::int64_t>(std::clock() - startCpu_) * 1000 / CLOCKS_PER_SEC;
    const double seconds = milliseconds > 0 ? static_cast<double>(milliseconds) * 0.001
                                            : std::difftime(std::time(nullptr), startWall_);
    log.info(0, "CPU time = %.2f seconds", seconds);
}

}  // namespace tervolanda
