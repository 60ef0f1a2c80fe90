// One body, several instruction sets: the same source in a namespace for each, compiled for it, and
// a table of functions picked once.  A whole file compiled with AVX2 would let inline library code
// with AVX leak to processors without it; this cannot, as the body calls no library code.
#include "compare/fit/kernels.h"

#include "compare/fit/instruction_sets.inc"

#include <cstring>

namespace tervolanda {

// Vectors of 32 bytes are passed between the inline functions of one namespace only.  The warning
// comes at the end of the file, so it stays off to there.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace portable {
namespace {
#include "compare/fit/kernels_body.inc"
}  // namespace
}  // namespace portable

#if defined(TERVOLANDA_ARM)
namespace neon {
namespace {
#define TERVOLANDA_NEON
#include "compare/fit/kernels_body.inc"
#undef TERVOLANDA_NEON
}  // namespace
}  // namespace neon
#endif

#if defined(TERVOLANDA_X86)
#include "compare/fit/begin_avx2.inc"
namespace avx2 {
namespace {
#define TERVOLANDA_AVX2
#include "compare/fit/kernels_body.inc"
#undef TERVOLANDA_AVX2
}  // namespace
}  // namespace avx2
#include "compare/fit/end_target.inc"

#include "compare/fit/begin_avx512.inc"
namespace avx512 {
namespace {
#define TERVOLANDA_AVX512
#include "compare/fit/kernels_body.inc"
#undef TERVOLANDA_AVX512
}  // namespace
}  // namespace avx512
#include "compare/fit/end_target.inc"
#endif

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
