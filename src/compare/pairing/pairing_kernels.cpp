// The table of each instruction set; see compare/fit/kernels.cpp.
#include "compare/pairing/pairing_kernels.h"

#include "compare/fit/instruction_sets.inc"

#include <cstring>
#include <utility>

namespace tervolanda {

// As in compare/fit/kernels.cpp.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace portable {
namespace {
#include "compare/pairing/pairing_kernels_body.inc"
}  // namespace
}  // namespace portable

#if defined(TERVOLANDA_ARM)
namespace neon {
namespace {
#define TERVOLANDA_NEON
#include "compare/pairing/pairing_kernels_body.inc"
#undef TERVOLANDA_NEON
}  // namespace
}  // namespace neon
#endif

#if defined(TERVOLANDA_X86)
#include "compare/fit/begin_avx2.inc"
namespace avx2 {
namespace {
#define TERVOLANDA_AVX2
#include "compare/pairing/pairing_kernels_body.inc"
#undef TERVOLANDA_AVX2
}  // namespace
}  // namespace avx2
#include "compare/fit/end_target.inc"

#include "compare/fit/begin_avx512.inc"
namespace avx512 {
namespace {
#define TERVOLANDA_AVX512
#include "compare/pairing/pairing_kernels_body.inc"
#undef TERVOLANDA_AVX512
}  // namespace
}  // namespace avx512
#include "compare/fit/end_target.inc"
#endif

const PairingKernels& pairingKernels(InstructionSet set) {
#if defined(TERVOLANDA_X86)
    if (set == InstructionSet::Avx2) return avx2::kPairingKernels;
    if (set == InstructionSet::Avx512) return avx512::kPairingKernels;
#elif defined(TERVOLANDA_ARM)
    if (set == InstructionSet::Neon) return neon::kPairingKernels;
#endif
    static_cast<void>(set);
    return portable::kPairingKernels;
}

}  // namespace tervolanda
