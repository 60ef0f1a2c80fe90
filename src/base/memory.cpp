// Systems promise more memory than there is, and end the process that takes them at their word.
#include "base/memory.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>

#include "base/control_group.h"
#include "base/text.h"

namespace tervolanda {

namespace {

// The memory that a control group may use, as the kernel's file tells it; the largest number when
// there is no limit.
std::uint64_t memoryLimitIn(const std::string& path) {
    const std::optional<std::uint64_t> limit = digitsOnly(trimBlanks(kernelText(path)));
    return limit.value_or(std::numeric_limits<std::uint64_t>::max());
}

}  // namespace

std::uint64_t usableMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    // Half of what pointers reach: two thousand million bytes where they are of 32 bits.
    std::uint64_t memory = std::numeric_limits<std::ptrdiff_t>::max();
    if (pages > 0 && pageSize > 0) {
        memory = std::min(memory,
                          static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize));
    }
    for (const std::string& path : limitFiles({"memory", "memory.max", "memory.limit_in_bytes"}))
        memory = std::min(memory, memoryLimitIn(path));
    // The rest is for the system, its file cache and what this estimate does not know.
    return memory / 4 * 3;
}

}  // namespace tervolanda
