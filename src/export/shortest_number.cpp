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

#ifdef __SIZEOF_INT128__

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

// 17 digits, those at the end zeros where fewer say it; `whole` of them stand before the point, or
// as many zeros as it is below 0 stand between the point and the first.
struct Shortest {
    std::uint64_t digits = 0;
    int whole = 0;
};

// False where the number is out of range, a power of two (whose neighbours are not equally far), or
// half-way between two shortest ones.
bool findShortest(double magnitude, Shortest& found) {
    constexpr std::uint64_t kFraction = (std::uint64_t{1} << 52) - 1;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    if (!(magnitude >= kDecades.front() && magnitude < kDecades.back())) return false;
    if ((bits & kFraction) == 0) return false;
    std::size_t decade = 0;
    for (std::size_t i = 1; i < kScales.size(); ++i)
        decade += magnitude >= kDecades[i] ? 1U : 0U;
    found.whole = kFirstWhole + static_cast<int>(decade);
    // The number is m / 2^s; scaled and in units of 2^-(s + 1), so that half a step is a whole
    // number, it is 2 m scale, and what reads back as it lies less than `scale` away.  The limits
    // are never whole: s is above 35, and `scale` has at most 19 factors of 2.
    const std::uint64_t m = (bits & kFraction) | (kFraction + 1);
    const int shift = 1076 - static_cast<int>(bits >> 52U);
    const std::uint64_t scale = kScales[decade];
    const Wide exact = Wide{m} * scale * 2;
    const auto below = static_cast<std::uint64_t>((exact - scale) >> shift);
    const auto last = static_cast<std::uint64_t>((exact + scale) >> shift);
    // There are less than 23 whole numbers between the limits, so at most one multiple of 100, and
    // what is shorter still is one.
    found.digits = last / 100 * 100;
    if (found.digits > below) return true;
    const auto whole = static_cast<std::uint64_t>(exact >> shift);
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

constexpr auto kPairsOfDigits = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

void putEight(char* at, std::size_t number) {
    for (const std::size_t four : {number / 10'000, number % 10'000}) {
        std::memcpy(at, &kPairsOfDigits[2 * (four / 100)], 2);
        std::memcpy(at + 2, &kPairsOfDigits[2 * (four % 100)], 2);
        at += 4;
    }
}

void appendShortest(std::string& text, const Shortest& number) {
    std::array<char, kDigits> digits;
    constexpr std::uint64_t kEight = 100'000'000;
    const std::uint64_t upper = number.digits / kEight;
    digits[0] = static_cast<char>('0' + upper / kEight);
    putEight(&digits[1], static_cast<std::size_t>(upper % kEight));
    putEight(&digits[9], static_cast<std::size_t>(number.digits % kEight));
    std::size_t length = kDigits;
    while (digits[length - 1] == '0')
        --length;
    // "0.00" and the digits, or those before the point, of which the last may be zeros, and the
    // others.
    std::array<char, kDigits + 4> out;
    std::size_t size = 0;
    if (number.whole <= 0) {
        const auto zeros = static_cast<std::size_t>(2 - number.whole);
        std::memcpy(out.data(), "0.00", 4);
        std::memcpy(&out[zeros], digits.data(), kDigits);
        size = zeros + length;
    } else {
        const auto whole = static_cast<std::size_t>(number.whole);
        std::memcpy(out.data(), digits.data(), whole);
        out[whole] = '.';
        std::memcpy(&out[whole + 1], &digits[whole], kDigits - whole);
        size = length > whole ? length + 1 : whole;
    }
    text.append(out.data(), size);
}

#endif

}  // namespace

void appendNumber(std::string& text, double value) {
    // Rounding leaves "-0" here and there, of which the sign says nothing.
    const double signless = value == 0.0 ? 0.0 : value;
#ifdef __SIZEOF_INT128__
    Shortest shortest;
    if (findShortest(std::abs(signless), shortest)) {
        if (signless < 0.0) text += '-';
        return appendShortest(text, shortest);
    }
#endif
    std::array<char, 32> digits;
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), signless).ptr;
    text.append(digits.data(), end);
}

}  // namespace tervolanda
