// The two loops over coordinates that a search spends its time in, compiled once for every x86-64
// processor and once for those with AVX2.  Both give the same bits: the order of every sum stands
// in the source (four partial sums, added in one order) and nothing is contracted.  No other file
// knows of instruction sets.
#pragma once

#include <array>
#include <cstddef>

namespace tervolanda {

// Sums over paired points p (prediction) and e (experiment).
struct CorrelationSums {
    std::array<double, 3> prediction{};  // sum of p
    std::array<double, 3> experiment{};  // sum of e
    std::array<double, 9> product{};     // sum of p_a e_b at 3 a + b
    double squares = 0.0;                // sum of |p|^2 + |e|^2
};

// Coordinate arrays of paired points, n entries each.
struct PairedArrays {
    const double* px;
    const double* py;
    const double* pz;
    const double* ex;
    const double* ey;
    const double* ez;
};

struct Kernels {
    CorrelationSums (*correlate)(const PairedArrays& pairs, std::size_t n);
    // squared[i] = |R p + t - e|^2; `motion` is R row by row, then t.
    void (*squaredDeviations)(const PairedArrays& pairs, std::size_t n,
                              const std::array<double, 12>& motion, double* squared);
};

const Kernels& portableKernels();
// The fastest of this processor.
const Kernels& bestKernels();

}  // namespace tervolanda
