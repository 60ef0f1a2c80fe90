// The table of each instruction set; which of them a processor runs is known to compare/fit.
#include "compare/pairing/pairing_kernels.h"

#include "compare/fit/instruction_sets.inc"

#include <cstring>
#include <utility>

namespace tervolanda {

#define TERVOLANDA_BODY "compare/pairing/pairing_kernels_body.inc"
#include "compare/fit/each_instruction_set.inc"

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
