// The loops that a search spends its time in, compiled once for every processor and once more for
// those with NEON or, on x86-64, AVX2 and AVX-512.  All give the same bits: the order of
// every sum stands in the source (four partial sums, added in one order) and nothing is contracted.
// No other file knows of instruction sets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

namespace tervolanda {

// Sums over paired points p (prediction) and e (experiment).
struct CorrelationSums {
    std::array<double, 3> prediction{};  // sum of p
    std::array<double, 3> experiment{};  // sum of e
    std::array<double, 9> product{};     // sum of p_a e_b at 3 a + b
    double squares = 0.0;                // sum of |p|^2 + |e|^2
};

// Arrays that are "padded" may be read, and those of results overwritten, up to this many entries:
// the vectors of any table go on from the last entry to the end of a register.
inline constexpr std::size_t paddedSize(std::size_t n) {
    constexpr std::size_t kMost = 16;  // floats in a register of AVX-512
    return (n + kMost - 1) / kMost * kMost;
}

// Coordinate arrays of paired points, n entries each.
struct PairedArrays {
    const double* px;
    const double* py;
    const double* pz;
    const double* ex;
    const double* ey;
    const double* ez;
};

// The same points in single precision, for estimates.  The arrays are padded, those of the
// experiment with numbers so large that no motion brings what stands there near the prediction's
// zeros.
struct RoundedArrays {
    const float* px;
    const float* py;
    const float* pz;
    const float* ex;
    const float* ey;
    const float* ez;
    double largest;  // no coordinate is larger; infinity where estimates are of no use
};

// Squared deviations under one motion in single precision.
struct RoundedDeviations {
    const float* squared;  // padded
    double error;          // of a component of a deviation, at most
};

// What single precision tells of the TM-score under one motion.
struct TmEstimate {
    double error;  // as in RoundedDeviations
    double bound;  // tmSum() is never above, and hardly below
};

// A rigid motion p' = R p + t: R row by row, then t.
using Motion = std::array<double, 12>;

// The sums of a subset of pairs, in the order of CorrelationSums.
inline constexpr std::size_t kTerms = 16;
using SubsetSums = std::array<double, kTerms>;

// Where the adjugate of the key matrix is smaller than this its columns are not trusted: the error
// of the quaternion is the rounding over the square of the gap between the two largest eigenvalues,
// and the adjugate is about that gap.
inline constexpr double kSmallestAdjugate = 1e-3;
// Where the quartic rises less, two roots meet (points on a line) and Newton's method would divide
// rounding by rounding; the adjugate there is small, too.
inline constexpr double kRoundingSlope = 1e-9;
// Where the quartic is flatter than this at its largest root, two roots nearly meet, and the error
// of a root is above 1e-10.
inline constexpr double kSmallestSlope = 1e-5;
// A reflection fits exactly when it leaves less than this share of the squares.
inline constexpr double kMirrorTolerance = 1e-7;
// Below this share of the squares the closed form of a residual has too few digits, and deviations
// are summed instead.
inline constexpr double kCancelledShare = 1e-6;

// One of up to eight superpositions that are solved side by side.
struct RotationProblem {
    const SubsetSums* sums;
    double count;   // pairs in the subset
    Motion motion;  // the answer
    bool solved;    // false where the closed form does not apply
};

// Chains of as many points and centred, side by side: of each point the x of all chains, their y
// and their z.  First every fourth point from the first on, then every fourth from the second on,
// and so on.
struct ChainGroup {
    const double* first;
    const double* squares;  // sum of |p|^2, one a chain
    std::size_t blocks;     // points of each fourth, 1 or more: the chain is filled up with zeros
    double points;          // of a chain
};

// One chain of a group.
struct ChainRow {
    const double* first;  // its x of the first point
    double squares;
};

// The most chains that are compared with a group at once, and the most that a group has.
inline constexpr std::size_t kMostRows = 16;
inline constexpr std::size_t kMostChainLanes = 8;

// Says of a pair that its RMSD needs a fit of its own.
inline constexpr double kOpenRmsd = std::numeric_limits<double>::quiet_NaN();

// Squared deviations about a limit.
struct SumsAboutLimit {
    double slack;          // sum of limit - squared over those within
    double excess;         // sum of squared - limit over those beyond
    std::uint32_t within;  // number of those within
};

// The instruction sets that there are tables for, slow ones first.
enum class InstructionSet : std::uint8_t {
    Portable,  // what every processor of its kind has
    Neon,
    Avx2,
    Avx512
};
inline constexpr std::array<std::string_view, 4> kInstructionSetNames = {"portable", "neon", "avx2",
                                                                         "avx512"};

struct Kernels {
    InstructionSet instructionSet;
    CorrelationSums (*correlate)(const PairedArrays& pairs, std::size_t n);
    // squared[i] = |R p + t - e|^2
    void (*squaredDeviations)(const PairedArrays& pairs, std::size_t n, const Motion& motion,
                              double* squared);
    // Sets the bits of the pairs with a squared deviation of at most `limit`, of 64 pairs a word,
    // and returns their number.  Single precision decides about the pairs that are clearly near or
    // far, a register of them at a time; only the others need doubles (a search takes 0.7 of the
    // time it takes with doubles alone).  The arrays of doubles are padded.
    std::uint32_t (*selectWithin)(const PairedArrays& pairs, const RoundedArrays& rounded,
                                  std::size_t n, const Motion& motion, double limit,
                                  std::uint64_t* mask);
    // The squared deviations in single precision, for several looks at one motion, into `squared`,
    // and a bound on the sum of 1 / (1 + squared / scaleSquared).
    TmEstimate (*estimateTm)(const RoundedArrays& rounded, std::size_t n, const Motion& motion,
                             double scaleSquared, float* squared);
    // As selectWithin.
    std::uint32_t (*selectAmong)(const PairedArrays& pairs, const RoundedDeviations& rounded,
                                 std::size_t n, const Motion& motion, double limit,
                                 std::uint64_t* mask);
    // The squared deviations of all pairs, padded, of each word of `words` that is not 0; infinity
    // after the last pair.  `squared` has 64 entries a word; those of the other words are left
    // alone.
    void (*deviationsOfWords)(const PairedArrays& pairs, std::size_t n, const Motion& motion,
                              const std::uint64_t* words, double* squared);
    // Sets the bits of the pairs of such words with a squared deviation of at most `limit`, and
    // sums by how much they, and those beyond it up to `farthest`, differ from the limit.
    SumsAboutLimit (*splitAtLimit)(const double* squared, std::size_t n, double limit,
                                   double farthest, const std::uint64_t* words,
                                   std::uint64_t* mask);
    // Sum of 1 / (1 + squared / scaleSquared).
    double (*tmSum)(const double* squared, std::size_t n, double scaleSquared);
    // The terms that each pair adds to the sums, kTerms a pair.
    void (*makeTerms)(const PairedArrays& pairs, std::size_t n, double* terms);
    // The sums of a subset, ascending.
    void (*sumTerms)(const double* terms, const std::uint64_t* subset, std::size_t words,
                     SubsetSums& sums);
    // Takes the sums of subset `before` to those of `after` by what differs between them.
    void (*changeSums)(const double* terms, const std::uint64_t* before, const std::uint64_t* after,
                       std::size_t words, SubsetSums& sums);
    // Solves `count` problems, 1 to 8.  A problem's answer does not depend on its neighbours.
    void (*solveRotations)(RotationProblem* const* problems, std::size_t count);
    // Chains of a group.
    std::size_t chainLanes;
    // The RMSDs of `count` chains, 1 to kMostRows, with those of a group, in the unit of the
    // points; row by row, with room for kMostRows of chainLanes.  kOpenRmsd where the closed form
    // does not apply.  An RMSD does not depend on its neighbours.
    void (*rmsdsOfGroup)(const ChainRow* rows, std::size_t count, const ChainGroup& group,
                         double* rmsd);
};

const Kernels& portableKernels();
// The table of an instruction set; none where this build or this processor is without it.
const Kernels* findKernels(InstructionSet set);
// All tables that can run here, the fastest last.
std::vector<const Kernels*> runnableKernels();
// The fastest of this processor.
const Kernels& bestKernels();
// The fastest of this processor unless another table was chosen.
inline const Kernels& kernelsOr(const Kernels* chosen) {
    return chosen != nullptr ? *chosen : bestKernels();
}

}  // namespace tervolanda
