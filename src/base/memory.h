// How much memory a run may use.
//
// main() limits the process to it, and readers of result files refuse sizes that would not fit.
#pragma once

#include <cstdint>

namespace tervolanda {

// Three quarters of the memory of the machine, or of the container the process runs in, bytes.
std::uint64_t usableMemory();

}  // namespace tervolanda
