// One body, two instruction sets: the same source in two namespaces, the second compiled for AVX2,
// and a table of functions picked once.  A whole file compiled with AVX2 would let inline library
// code with AVX leak to processors without it; this cannot, as the body calls no library code.
#include "compare/fit/kernels.h"

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

#if defined(__x86_64__)
#include "compare/fit/begin_avx2.inc"
namespace avx2 {
namespace {
#define TERVOLANDA_AVX2
#include "compare/fit/kernels_body.inc"
#undef TERVOLANDA_AVX2
}  // namespace
}  // namespace avx2
#include "compare/fit/end_avx2.inc"
#endif

const Kernels& portableKernels() {
    return portable::kKernels;
}

const Kernels& bestKernels() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt")) return avx2::kKernels;
#endif
    return portable::kKernels;
}

}  // namespace tervolanda
