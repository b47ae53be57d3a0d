// The "%.15g" formatter against the library's exact conversion, over millions of values
// chosen where rounding is hardest.

#include "numberformat.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>

namespace {

// Compares the formatter with the library, counting the values and the mismatches and
// reporting the first few.
struct Comparison
{
    std::size_t compared = 0, mismatches = 0;

    void compare(double value)
    {
        char expected[64];
        char actual[64];
        const std::string_view want(expected, std::to_chars(expected, expected + 64, value, std::chars_format::general, 15).ptr);
        const std::string_view got(actual, xlsx::formatG15(actual, value));
        ++compared;
        if (got != want && ++mismatches <= 10)
            ADD_FAILURE() << want << " written as " << got << " (bits " << std::bit_cast<std::uint64_t>(value) << ")";
    }
    // The value, its negation and both neighbours of each.
    void check(double value)
    {
        for (double v : {value, std::nextafter(value, -INFINITY), std::nextafter(value, INFINITY)}) {
            compare(v);
            compare(-v);
        }
    }
};

double fromDigits(std::uint64_t digits, int exponent)
{
    // A decimal correctly rounded to the nearest double, as a reader of the text would get it.
    const std::string text = std::to_string(digits) + "e" + std::to_string(exponent);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

TEST(NumberFormat, MatchesTheLibraryOnHardAndRandomValues)
{
    Comparison comparison;
    std::mt19937_64 random(20261122);

    // Special and edge values: zeros, infinities, NaN, the ends of the normal and subnormal
    // ranges, the largest finite value, every power of ten and the values on either side.
    for (double v : {0.0, 1.0, 0.1, 0.5, 1e20, 1234567.123456789, std::numeric_limits<double>::min(),
             std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(),
             std::numeric_limits<double>::epsilon(), 2.2250738585072009e-308})
        comparison.check(v);
    for (double v : {INFINITY, -INFINITY, NAN})
        comparison.compare(v);
    for (int exponent = -330; exponent <= 308; ++exponent) {
        comparison.check(fromDigits(1, exponent));
        // Just below 10^e: the rounding carries into a new leading digit.
        comparison.check(fromDigits(9999999999999995, exponent - 16));
        comparison.check(fromDigits(99999999999999949, exponent - 17));
        comparison.check(fromDigits(99999999999999951, exponent - 17));
    }

    // Random bit patterns: every exponent, subnormals and non-finite values included.
    for (int i = 0; i < 300000; ++i)
        comparison.compare(std::bit_cast<double>(random()));
    // Random subnormals.
    for (int i = 0; i < 20000; ++i)
        comparison.compare(std::bit_cast<double>(random() & ((std::uint64_t{1} << 52) - 1)));

    // Decimals of 15, 16 and 17 digits at every decimal exponent of the usual range and
    // beyond it, with their neighbours: the texts the formatter must round exactly.
    std::uniform_int_distribution<int> exponents(-40, 50);
    for (std::uint64_t scale : {std::uint64_t{100'000'000'000'000}, std::uint64_t{1'000'000'000'000'000},
             std::uint64_t{10'000'000'000'000'000}}) {
        std::uniform_int_distribution<std::uint64_t> digits(scale, scale * 10 - 1);
        for (int i = 0; i < 50000; ++i)
            comparison.check(fromDigits(digits(random), exponents(random)));
    }

    // Exact ties at the 16th digit: n + 0.5 for 15-digit n; 16- to 18-digit integers ending in
    // 5 (then 50, 500) that doubles hold exactly; and odd multiples of 2^-f whose decimal
    // expansion has exactly 16 digits (o * 2^-f = o * 5^f * 10^-f).
    std::uniform_int_distribution<std::uint64_t> fifteen(100'000'000'000'000, 999'999'999'999'999);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t n = fifteen(random);
        comparison.check(static_cast<double>(n) + 0.5);
        comparison.check(static_cast<double>(n / 2 * 10 + 5));
        comparison.check(static_cast<double>(n / 8 * 100 + 50));
        comparison.check(static_cast<double>(n / 16 * 1000 + 500));
    }
    std::uint64_t power5 = 5;
    for (int f = 1; f <= 22; ++f, power5 *= 5) {
        std::uniform_int_distribution<std::uint64_t> odd(1'000'000'000'000'000 / power5 / 2 + 1,
            10'000'000'000'000'000 / power5 / 2 - 1);
        for (int i = 0; i < 2000; ++i)
            comparison.check(std::ldexp(static_cast<double>(2 * odd(random) + 1), -f));
    }

    // Motion data: values of every magnitude a recording holds, uniform in the logarithm.
    std::uniform_real_distribution<double> logMagnitude(-16.0, 45.0);
    for (int i = 0; i < 300000; ++i)
        comparison.check(std::pow(10.0, logMagnitude(random)));

    EXPECT_GT(comparison.compared, std::size_t{3'000'000});
    EXPECT_EQ(comparison.mismatches, 0u);
}

} // namespace
