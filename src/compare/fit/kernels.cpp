// The tables of the inner loops, one for each instruction set, and which of them a processor runs.
#include "compare/fit/kernels.h"

#include "compare/fit/instruction_sets.inc"

#include <cstring>

namespace tervolanda {

#define TERVOLANDA_BODY "compare/fit/kernels_body.inc"
#include "compare/fit/each_instruction_set.inc"

const Kernels& portableKernels() {
    return portable::kKernels;
}

const Kernels* findKernels(InstructionSet set) {
#if defined(TERVOLANDA_X86)
    const bool hasAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                         __builtin_cpu_supports("popcnt");
    if (set == InstructionSet::Avx2 && hasAvx2) return &avx2::kKernels;
    const bool hasAvx512 = hasAvx2 && __builtin_cpu_supports("avx512f") &&
                           __builtin_cpu_supports("avx512vl") &&
                           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
    if (set == InstructionSet::Avx512 && hasAvx512) return &avx512::kKernels;
#elif defined(TERVOLANDA_ARM)
    if (set == InstructionSet::Neon) return &neon::kKernels;  // which all of 64 bits have
#endif
    return set == InstructionSet::Portable ? &portable::kKernels : nullptr;
}

std::vector<const Kernels*> runnableKernels() {
    std::vector<const Kernels*> found;
    for (std::size_t set = 0; set < kInstructionSetNames.size(); ++set) {
        const Kernels* const kernels = findKernels(static_cast<InstructionSet>(set));
        if (kernels != nullptr) found.push_back(kernels);
    }
    return found;
}

const Kernels& bestKernels() {
    for (std::size_t set = kInstructionSetNames.size(); set-- > 1;) {
        const Kernels* const kernels = findKernels(static_cast<InstructionSet>(set));
        if (kernels != nullptr) return *kernels;
    }
    return portable::kKernels;
}

}  // namespace tervolanda
