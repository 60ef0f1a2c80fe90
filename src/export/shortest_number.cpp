// The shortest decimal number that reads back as a given double: what std::to_chars() gives, to the
// last byte, in two fifths of its time (14 of 35 ns for 17 digits).  With all files of a run a pair
// is some twenty numbers, which are most of what writing it costs.
//
// The method is that of the general ones (Adams 2018, PLDI; Giulietti 2020), made simple by a
// narrow range: between 0.001 and 100,000, where nearly all that is written lies, a double times
// the power of ten that makes it 17 whole digits is exact in 128 bits.  So no table of rounded
// powers is needed, and nothing has to be proved of roundings.  Every other number is left to
// std::to_chars().
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "export/export_text.h"

namespace tervolanda {

namespace {

#if defined(__SIZEOF_INT128__) && defined(__BYTE_ORDER__) && \
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define TERVOLANDA_HAS_SHORTEST
#endif

#ifdef TERVOLANDA_HAS_SHORTEST

__extension__ typedef unsigned __int128 Wide;  // NOLINT(modernize-use-using): needs the keyword

constexpr std::size_t kDigits = 17;  // as many as a double ever needs
constexpr int kFraction = 52;        // bits of a double after the point of its m
constexpr int kLeastExponent = -10;  // of 0.001, in base 2
constexpr int kMostExponent = 16;    // of 100,000
constexpr int kBias = 1023;          // of exponents, as doubles have them

// How the numbers of an exponent, from 2^e to 2^(e + 1), become 17 whole digits.  A power of ten
// between them divides them into two decades.
struct Decade {
    // 10^p 2^(e + 1), where 10^p makes 17 digits of these numbers: what m, of 64 bits, is
    // multiplied by; 0 where they are out of range.
    std::uint64_t scale = 0;
    std::int64_t whole = 0;  // digits before the point; if negative, zeros after it
};
struct Binade {
    std::array<Decade, 2> decades;
    std::uint64_t second = 0;  // bits of the least number of the second; without one, of no number
};

// REQUIRES: 10^p 2^(e + 1) is whole and has less than 64 bits.
constexpr std::uint64_t scaleOf(int p, int e) {
    Wide scale = 1;
    for (int i = 0; i < p; ++i)
        scale *= 10;
    return static_cast<std::uint64_t>(e + 1 < 0 ? scale >> -(e + 1) : scale << (e + 1));
}

constexpr auto kBinades = [] {
    // The range, in decades: 0.001 to 0.01 is the first.
    constexpr std::array<double, 9> kDecades = {1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5};
    std::array<Binade, kMostExponent - kLeastExponent + 1> binades{};
    for (int e = kLeastExponent; e <= kMostExponent; ++e) {
        Binade& binade = binades[static_cast<std::size_t>(e - kLeastExponent)];
        const auto bits = static_cast<std::uint64_t>(e + kBias) << kFraction;
        binade.second = ~std::uint64_t{0};
        // Below the first decade and from the last on nothing is in range.
        for (std::size_t k = 0; k < kDecades.size(); ++k) {
            const auto begin = std::bit_cast<std::uint64_t>(kDecades[k]);
            const auto whole = static_cast<int>(k) - 2;
            const bool isInRange = k + 1 < kDecades.size();
            const Decade decade{isInRange ? scaleOf(17 - whole, e) : 0, whole};
            if (begin <= bits) {
                binade.decades[0] = decade;
            } else if (begin < bits + (std::uint64_t{1} << kFraction)) {
                binade.second = begin;
                binade.decades[1] = decade;
            }
        }
    }
    return binades;
}();

// 17 digits, those at the end zeros where fewer say it; `whole` of them stand before the point, or
// as many zeros as it is below 0 stand between the point and the first.
struct Shortest {
    std::uint64_t digits = 0;
    std::int64_t whole = 0;
};

// False where the number is out of range, a power of two (whose neighbours are not equally far), or
// half-way between two shortest ones.
bool findShortest(std::uint64_t magnitude, Shortest& found) {
    constexpr std::uint64_t kOne = std::uint64_t{1} << kFraction;
    const std::uint64_t exponent = (magnitude >> kFraction) - (kBias + kLeastExponent);
    if (exponent >= kBinades.size()) return false;
    const Binade& binade = kBinades[exponent];
    const auto [scale, whole] = binade.decades[magnitude >= binade.second ? 1 : 0];
    if (scale == 0 || magnitude % kOne == 0) return false;
    found.whole = whole;
    // The number is m / 2^(63 - e); scaled and in units of 2^-64 it is m scale, and what reads back
    // as it lies less than 2^10 scale away, half a step.  The limits are never whole: `scale` has
    // at most 29 factors of 2.
    constexpr unsigned kSpare = 63 - kFraction;
    const std::uint64_t m = (magnitude % kOne | kOne) << kSpare;
    const Wide exact = Wide{m} * scale;
    const auto number = static_cast<std::uint64_t>(exact >> 64U);
    const auto rest = static_cast<std::uint64_t>(exact);
    const std::uint64_t halfStep = scale << (kSpare - 1), wholeHalf = scale >> (64 - kSpare + 1);
    const std::uint64_t below = number - wholeHalf - (rest < halfStep ? 1 : 0);
    const std::uint64_t last = number + wholeHalf + (rest + halfStep < rest ? 1 : 0);
    // There are less than 23 whole numbers between the limits, so at most one multiple of 100, and
    // what is shorter still is one.
    found.digits = last / 100 * 100;
    if (found.digits > below) return true;
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
    if (rest == kHalf || (rest == 0 && number % 10 == 5)) return false;
    const std::uint64_t ten = (number + 5) / 10 * 10;
    const std::uint64_t one = number + (rest > kHalf ? 1 : 0);
    // Half of all numbers have 16 digits, and which no processor foresees: chosen by a mask.
    const std::uint64_t isTen = (ten > below ? 1U : 0U) & (ten <= last ? 1U : 0U);
    found.digits = one ^ ((one ^ ten) & (0 - isTen));
    return true;
}

// The eight digits of a number below 100,000,000 as bytes from 0 to 9, the first digit in the
// lowest byte: halves, quarters and digits are divided all at once, each in its part of the word,
// by products that are exact for numbers of four and of two digits.
std::uint64_t digitsOf(std::uint64_t number) {
    // A part q of n by d leaves n - d q, which goes `bits` higher: both in one product.
    const auto split = [](std::uint64_t n, std::uint64_t q, std::uint64_t d, unsigned bits) {
        return (n << bits) - q * ((d << bits) - 1);
    };
    const std::uint64_t fours = split(number, number * 109'951'163 >> 40U, 10'000, 32);
    const std::uint64_t hundreds = (fours * 10'486 >> 20U) & 0x0000'007f'0000'007fU;
    const std::uint64_t twos = split(fours, hundreds, 100, 16);
    const std::uint64_t tens = (twos * 103 >> 10U) & 0x000f'000f'000f'000fU;
    return split(twos, tens, 10, 8);
}

// Every copy is a store of a register, where one of the text's own length would cost a call, or on
// x86 a string instruction that takes as long as all else here: up to 25 bytes are touched.
char* writeShortest(char* at, const Shortest& number, std::size_t signs) {
    constexpr std::uint64_t kEight = 100'000'000;
    constexpr std::uint64_t kDigitSigns = 0x3030'3030'3030'3030U;  // "00000000"
    constexpr std::array<char, 4> kZeros = {'0', '.', '0', '0'};
    const std::uint64_t upper = number.digits / kEight;
    const std::uint64_t topDigit = upper * 1'441'151'881 >> 57U;  // upper / kEight, below 2^30
    const auto top = static_cast<char>('0' + topDigit);
    const std::uint64_t second = digitsOf(upper - topDigit * kEight);
    const std::uint64_t third = digitsOf(number.digits - upper * kEight);
    // Zeros at the end are the highest bytes that are 0.
    const int zeros = third != 0 ? std::countl_zero(third) / 8 : 8 + std::countl_zero(second) / 8;
    std::size_t size = kDigits - static_cast<std::size_t>(zeros);
    *at = '-';  // what is not negative begins there itself
    char* const first = at + signs;
    const auto put = [first](std::size_t place, std::uint64_t eight) {
        eight |= kDigitSigns;
        std::memcpy(first + place, &eight, sizeof eight);
    };
    if (number.whole <= 0) {
        const auto before = static_cast<std::size_t>(2 - number.whole);
        std::memcpy(first, kZeros.data(), kZeros.size());
        first[before] = top;
        put(before + 1, second);
        put(before + 9, third);
        size += before;
    } else {
        // The eight after the first digit twice: where they are without a point, and from the
        // point on one further; what that leaves at its end, the others write over.
        const auto whole = static_cast<std::size_t>(number.whole);
        first[0] = top;
        put(1, second);
        put(whole + 1, second >> 8 * (whole - 1));
        put(10, third);
        first[whole] = '.';
        size = size > whole ? size + 1 : whole;
    }
    return first + size;
}

#endif

}  // namespace

char* writeNumber(char* at, double value) {
#ifdef TERVOLANDA_HAS_SHORTEST
    const auto bits = std::bit_cast<std::uint64_t>(value);
    Shortest shortest;
    if (findShortest(bits << 1U >> 1U, shortest)) return writeShortest(at, shortest, bits >> 63U);
#endif
    // Rounding leaves "-0" here and there, of which the sign says nothing.
    return std::to_chars(at, at + kMostNumber, value == 0.0 ? 0.0 : value).ptr;
}

}  // namespace tervolanda
