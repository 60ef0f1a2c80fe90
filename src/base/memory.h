// How much memory a run may use. main() limits the process to it, and readers of result files
// refuse sizes that would not fit.
//
// Without a limit the system grants any allocation, and ends the process when it cannot keep its
// promise: nobody would be told why.
#pragma once

#include <cstdint>

namespace tervolanda {

// Three quarters of the memory of the machine, or of the container the process runs in, bytes.
std::uint64_t usableMemory();

}  // namespace tervolanda
