// An exponent has to be known more precisely than its power: the logarithm of a length is up to 17,
// and an error of one unit in its last place would be sixteen in that of the power.  So logarithms
// and exponents are sums of two doubles (Dekker 1971, Numer. Math. 18:224), and only the small
// tails of the series are summed in one.
#include "base/elementary.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace tervolanda {

namespace {

// The value high + low, where low is less than half a unit in the last place of high.
struct Twofold {
    double high, low;
};

constexpr Twofold kLogarithmOf2 = {0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};

// a + b without error, where |a| >= |b| or a is 0.
Twofold sumOfOrdered(double a, double b) {
    const double high = a + b;
    return {high, b - (high - a)};
}

// a + b without error (Knuth 1969, The Art of Computer Programming, section 4.2.2).
Twofold sumOf(double a, double b) {
    const double high = a + b;
    const double part = high - a;
    return {high, (a - (high - part)) + (b - part)};
}

// a * b without error: each factor in two halves, whose products are exact.
Twofold productOf(double a, double b) {
    constexpr double kSplit = 134217729.0;  // 2^27 + 1
    const double aHigh = kSplit * a - (kSplit * a - a);
    const double bHigh = kSplit * b - (kSplit * b - b);
    const double aLow = a - aHigh;
    const double bLow = b - bHigh;
    const double high = a * b;
    return {high, ((aHigh * bHigh - high) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

Twofold operator+(const Twofold& a, const Twofold& b) {
    const Twofold sum = sumOf(a.high, b.high);
    return sumOfOrdered(sum.high, sum.low + (a.low + b.low));
}

Twofold operator*(const Twofold& a, const Twofold& b) {
    const Twofold product = productOf(a.high, b.high);
    return sumOfOrdered(product.high, product.low + (a.high * b.low + a.low * b.high));
}

// c[0] + c[1] x + c[2] x^2 + ...
template <std::size_t Terms>
double polynomial(const std::array<double, Terms>& coefficients, double x) {
    double sum = 0.0;
    for (std::size_t i = Terms; i-- > 0;)
        sum = sum * x + coefficients[i];
    return sum;
}

// 1/3, 1/5, 1/7, ...: atanh(s) = s + s^3/3 + s^5/5 + ...
constexpr std::array<double, 12> kOddReciprocals = [] {
    std::array<double, 12> terms{};
    for (std::size_t i = 0; i < terms.size(); ++i)
        terms[i] = 1.0 / static_cast<double>(2 * i + 3);
    return terms;
}();

// 1/n! for n = first, first + step, ...; with alternating signs, beginning with +, for step 2.
template <std::size_t Terms>
constexpr std::array<double, Terms> reciprocalFactorials(int first, int step) {
    std::array<double, Terms> terms{};
    double factorial = 1.0;
    int n = 1;
    double sign = 1.0;
    for (std::size_t i = 0; i < Terms; ++i) {
        for (; n <= first + step * static_cast<int>(i); ++n)
            factorial *= n;
        terms[i] = sign / factorial;
        if (step == 2) sign = -sign;
    }
    return terms;
}

// x = 2^e m with m around 1, and log m = 2 atanh(s) with s = (m - 1) / (m + 1), at most 0.172.
Twofold logarithm(double x) {
    int e = 0;
    double m = std::frexp(x, &e);
    if (m < 0x1.6a09e667f3bcdp-1) {  // the root of 1/2
        m *= 2.0;
        --e;
    }
    const Twofold divisor = sumOf(m, 1.0);
    const double quotient = (m - 1.0) / divisor.high;
    const Twofold back = Twofold{quotient, 0.0} * divisor;
    const double rest = ((m - 1.0) - back.high) - back.low;
    const double s = quotient;
    const double tail = s * (s * s) * polynomial(kOddReciprocals, s * s);
    const Twofold half = sumOfOrdered(s, rest / divisor.high + tail);
    return kLogarithmOf2 * Twofold{static_cast<double>(e), 0.0} +
           Twofold{2.0 * half.high, 2.0 * half.low};
}

// e^x = 2^k e^r with r at most 0.347, and e^r = 1 + r + r^2/2 + a tail of at most 0.008.
double exponentialOf(const Twofold& x) {
    constexpr double kLowest = -746.0, kHighest = 710.0;
    if (x.high < kLowest) return 0.0;
    if (x.high > kHighest) return std::numeric_limits<double>::infinity();
    const double k = std::floor(x.high / kLogarithmOf2.high + 0.5);
    const Twofold r = x + kLogarithmOf2 * Twofold{-k, 0.0};
    const Twofold square = r * r;
    static constexpr auto kTerms = reciprocalFactorials<15>(3, 1);
    const double tail = square.high * r.high * polynomial(kTerms, r.high);
    const Twofold sum = Twofold{1.0, 0.0} + r + Twofold{0.5 * square.high, 0.5 * square.low};
    return std::ldexp(sum.high + (sum.low + tail), static_cast<int>(k));
}

}  // namespace

double power(double base, double exponent) {
    if (!(base > 0.0)) return 0.0;
    return exponentialOf(Twofold{exponent, 0.0} * logarithm(base));
}

double exponential(double x) {
    return exponentialOf({x, 0.0});
}

double sine(double angle) {
    static constexpr auto kTerms = reciprocalFactorials<14>(1, 2);
    return angle * polynomial(kTerms, angle * angle);
}

double cosine(double angle) {
    static constexpr auto kTerms = reciprocalFactorials<14>(0, 2);
    return polynomial(kTerms, angle * angle);
}

}  // namespace tervolanda
