// The shortest decimal number that reads back as a given double: what std::to_chars() gives, to the
// last byte, in half its time.  With all files of a run a pair is some thirty numbers, which are
// most of what writing it costs.
//
// The method is that of the general ones (Adams 2018, PLDI; Giulietti 2020), made simple by a
// narrow range: between 0.001 and 100,000, where nearly all that is written lies, a double times
// the power of ten that makes it 17 whole digits is an exact fraction of 116 bits.  So no table of
// rounded powers is needed, and nothing has to be proved of roundings.  Every other number is left
// to std::to_chars().
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
// The range, in decades: 0.001 to 0.01 is the first.
constexpr std::array<double, 9> kDecades = {1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5};
constexpr int kFirstWhole = -2;  // digits before the point in the first decade
// By what a number of each decade has 17 whole digits.
constexpr std::array<std::uint64_t, 8> kScales = {
    10'000'000'000'000'000'000U, 1'000'000'000'000'000'000U, 100'000'000'000'000'000U,
    10'000'000'000'000'000U,     1'000'000'000'000'000U,     100'000'000'000'000U,
    10'000'000'000'000U,         1'000'000'000'000U};

constexpr std::size_t kLeastExponent = 1023 - 10;  // as doubles have it, of 0.001
constexpr std::size_t kExponents = 27;             // up to that of 100,000
// The decade of the least number of each exponent that is in range; no exponent has more than two.
constexpr auto kDecadeOf = [] {
    std::array<std::uint8_t, kExponents> decades{};
    for (std::size_t i = 0; i < kExponents; ++i) {
        const auto least = std::bit_cast<double>(std::uint64_t{kLeastExponent + i} << 52U);
        for (std::size_t k = 1; k < kScales.size(); ++k)
            decades[i] = static_cast<std::uint8_t>(decades[i] + (least >= kDecades[k] ? 1 : 0));
    }
    return decades;
}();

// 17 digits, those at the end zeros where fewer say it; `whole` of them stand before the point, or
// as many zeros as it is below 0 stand between the point and the first.
struct Shortest {
    std::uint64_t digits = 0;
    int whole = 0;
};

// The lower 64 bits of `number` / 2^`shift`.  REQUIRES: a shift of 1 to 63.
std::uint64_t shifted(Wide number, unsigned shift) {
    return static_cast<std::uint64_t>(number) >> shift | static_cast<std::uint64_t>(number >> 64U)
                                                             << (64 - shift);
}

// False where the number is out of range, a power of two (whose neighbours are not equally far), or
// half-way between two shortest ones.
bool findShortest(double magnitude, Shortest& found) {
    constexpr std::uint64_t kFraction = (std::uint64_t{1} << 52) - 1;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    if (!(magnitude >= kDecades.front() && magnitude < kDecades.back())) return false;
    if ((bits & kFraction) == 0) return false;
    const auto exponent = static_cast<std::size_t>(bits >> 52U);
    std::size_t decade = kDecadeOf[exponent - kLeastExponent];
    decade += magnitude >= kDecades[decade + 1] ? 1U : 0U;
    found.whole = kFirstWhole + static_cast<int>(decade);
    // The number is m / 2^s; scaled and in units of 2^-(s + 1), so that half a step is a whole
    // number, it is 2 m scale, and what reads back as it lies less than `scale` away.  The limits
    // are never whole: s is above 35, and `scale` has at most 19 factors of 2.
    const std::uint64_t m = (bits & kFraction) | (kFraction + 1);
    const auto shift = static_cast<unsigned>(1076 - exponent);  // 37 to 63
    const std::uint64_t scale = kScales[decade];
    const Wide exact = Wide{m} * scale * 2;
    const std::uint64_t below = shifted(exact - scale, shift);
    const std::uint64_t last = shifted(exact + scale, shift);
    // There are less than 23 whole numbers between the limits, so at most one multiple of 100, and
    // what is shorter still is one.
    found.digits = last / 100 * 100;
    if (found.digits > below) return true;
    const std::uint64_t whole = shifted(exact, shift);
    const std::uint64_t rest =
        static_cast<std::uint64_t>(exact) & ((std::uint64_t{1} << shift) - 1);
    const std::uint64_t half = std::uint64_t{1} << (shift - 1);
    const std::uint64_t unit = whole % 10;
    if (rest == half || (rest == 0 && unit == 5)) return false;
    const std::uint64_t ten = whole - unit + (unit >= 5 ? 10 : 0);
    const std::uint64_t one = whole + (rest > half ? 1 : 0);
    found.digits = ten > below && ten <= last ? ten : one;
    return true;
}

// The eight digits of a number below 100,000,000 as bytes from 0 to 9, the first digit in the
// lowest byte: halves, quarters and digits are divided all at once, each in its part of the word,
// by products that are exact for numbers of four and of two digits.
std::uint64_t digitsOf(std::uint64_t number) {
    const std::uint64_t fours = number / 10'000 | (number % 10'000) << 32U;
    const std::uint64_t hundreds = (fours * 10'486 >> 20U) & 0x0000'007f'0000'007fU;
    const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16U;
    const std::uint64_t tens = (twos * 103 >> 10U) & 0x000f'000f'000f'000fU;
    return tens | (twos - 10 * tens) << 8U;
}

// Every copy is a store of a register, where one of the text's own length would cost a call, or on
// x86 a string instruction that takes as long as all else here: up to 25 bytes are touched.
char* writeShortest(char* at, const Shortest& number, bool isNegative) {
    constexpr std::uint64_t kEight = 100'000'000;
    constexpr std::uint64_t kDigitSigns = 0x3030'3030'3030'3030U;  // "00000000"
    constexpr std::array<char, 4> kZeros = {'0', '.', '0', '0'};
    const std::uint64_t upper = number.digits / kEight;
    const std::uint64_t topDigit = number.digits / (kEight * kEight);
    const auto top = static_cast<char>('0' + topDigit);
    const std::uint64_t second = digitsOf(upper - topDigit * kEight);
    const std::uint64_t third = digitsOf(number.digits - upper * kEight);
    // Zeros at the end are the highest bytes that are 0.
    const int zeros = third != 0 ? std::countl_zero(third) / 8 : 8 + std::countl_zero(second) / 8;
    std::size_t size = kDigits - static_cast<std::size_t>(zeros);
    *at = '-';  // what is not negative begins there itself
    char* const first = at + (isNegative ? 1 : 0);
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
    // Rounding leaves "-0" here and there, of which the sign says nothing.
    const double signless = value == 0.0 ? 0.0 : value;
#ifdef TERVOLANDA_HAS_SHORTEST
    Shortest shortest;
    if (findShortest(std::abs(signless), shortest))
        return writeShortest(at, shortest, signless < 0.0);
#endif
    return std::to_chars(at, at + kMostNumber, signless).ptr;
}

}  // namespace tervolanda
