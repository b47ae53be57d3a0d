#include "numberformat.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace xlsx {

namespace {

__extension__ typedef unsigned __int128 u128;

constexpr int Digits = 15;
constexpr std::uint64_t Pow10Digits = 1'000'000'000'000'000;   // 10^15
constexpr std::uint64_t Pow10DigitsLess = 100'000'000'000'000; // 10^14

// The value is scaled by 10^q so that its 15 leading digits form the integer part. q runs
// over [-27, 27], where 5^|q| fits in 64 bits and the scale factor is derived exactly below;
// that covers decimal exponents -13 to 41. Other values take the library's path.
constexpr int MaxScale = 27;

// 10^q as a 64-bit mantissa with its top bit set and a binary exponent: 10^q is at least
// mantissa * 2^exponent and less than (mantissa + 1) * 2^exponent (equal for q >= 0).
struct ScaleFactor
{
    std::uint64_t mantissa;
    int exponent;
};

constexpr std::array<ScaleFactor, 2 * MaxScale + 1> makeScaleFactors()
{
    std::array<ScaleFactor, 2 * MaxScale + 1> factors{};
    std::uint64_t power5 = 1;
    for (int n = 0; n <= MaxScale; ++n) {
        const int width = static_cast<int>(std::bit_width(power5));
        // 10^n = 5^n * 2^n, exact once shifted to the top.
        factors[MaxScale + n] = {power5 << (64 - width), n - (64 - width)};
        if (n > 0) {
            // 10^-n = 2^-n / 5^n; floor(2^z / 5^n) with z chosen to land in [2^63, 2^64).
            const int z = 63 + width;
            const u128 quotient = (u128{1} << z) / power5;
            factors[MaxScale - n] = {static_cast<std::uint64_t>(quotient), -z - n};
        }
        power5 *= 5;
    }
    return factors;
}

constexpr auto ScaleFactors = makeScaleFactors();

constexpr char DigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Writes value (< 10^(2*pairs)) as exactly 2*pairs digits.
char* writePairs(char* out, std::uint32_t value, int pairs)
{
    for (int i = pairs - 1; i >= 0; --i) {
        std::memcpy(out + 2 * i, DigitPairs + 2 * (value % 100), 2);
        value /= 100;
    }
    return out + 2 * pairs;
}

// The 15 digits of n (10^14 <= n < 10^15) at out.
void writeFifteenDigits(char* out, std::uint64_t n)
{
    const auto high = static_cast<std::uint32_t>(n / 100'000'000); // 7 digits
    const auto low = static_cast<std::uint32_t>(n % 100'000'000);  // 8 digits
    const auto top = high / 1'000'000;                             // 1 digit
    *out = static_cast<char>('0' + top);
    writePairs(out + 1, high % 1'000'000, 3);
    writePairs(out + 7, low, 4);
}

struct Rounded
{
    std::uint64_t digits; // 10^14 <= digits < 10^15
    int exponent;         // decimal exponent of the first digit
    bool decided;         // false: too close to a rounding tie, or out of range
};

// |value| rounded to 15 significant digits, ties to even, for a normal double whose decimal
// exponent is `decimalExponent` or one above it.
Rounded roundToDigits(std::uint64_t mantissa, int binaryExponent, int decimalExponent)
{
    for (;;) {
        const int q = Digits - 1 - decimalExponent;
        if (q < -MaxScale || q > MaxScale)
            return {0, 0, false};
        const ScaleFactor factor = ScaleFactors[MaxScale + q];
        // value * 10^q lies in [product, product + mantissa) * 2^-shift: the factor falls
        // short of 10^q by less than one unit, times the mantissa.
        const u128 product = u128{mantissa} * factor.mantissa;
        const int shift = -(binaryExponent + factor.exponent);
        const auto whole = static_cast<std::uint64_t>(product >> shift);
        if (whole >= Pow10Digits) {
            ++decimalExponent; // the estimate was one low
            continue;
        }
        const u128 fraction = product & ((u128{1} << shift) - 1);
        const u128 half = u128{1} << (shift - 1);
        const u128 distance = fraction > half ? fraction - half : half - fraction;
        if (distance <= mantissa)
            return {0, 0, false};
        // A value of exactly 10^exponent may come out as 10^14 - 1 and a fraction near one.
        std::uint64_t digits = whole + (fraction > half ? 1 : 0);
        if (digits == Pow10Digits) {
            digits = Pow10DigitsLess;
            ++decimalExponent;
        }
        return {digits, decimalExponent, digits >= Pow10DigitsLess};
    }
}

char* writeExponent(char* out, int exponent)
{
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const unsigned magnitude = exponent < 0 ? -exponent : exponent;
    if (magnitude >= 100)
        *out++ = static_cast<char>('0' + magnitude / 100);
    std::memcpy(out, DigitPairs + 2 * (magnitude % 100), 2);
    return out + 2;
}

// Lays out 15 rounded digits the way "%g" does: fixed notation for exponents -4 to 14,
// scientific otherwise, trailing zeros of the fraction and a bare point dropped. Digits are
// copied in fixed 16-byte moves (the spare room of the output), which beats exact-length copies.
char* layOut(char* out, const Rounded& rounded)
{
    char digits[32];
    writeFifteenDigits(digits, rounded.digits);
    int count = Digits;
    while (digits[count - 1] == '0')
        --count;

    const int exponent = rounded.exponent;
    if (exponent < -4 || exponent >= Digits) {
        out[0] = digits[0];
        out[1] = '.';
        std::memcpy(out + 2, digits + 1, 16);
        return writeExponent(out + (count > 1 ? count + 1 : 1), exponent);
    }
    if (exponent < 0) {
        const int prefix = 1 - exponent; // "0." and -exponent-1 zeros
        std::memcpy(out, "0.000000", 8);
        std::memcpy(out + prefix, digits, 16);
        return out + prefix + count;
    }
    const int integerDigits = exponent + 1;
    std::memcpy(out, digits, 16);
    if (count <= integerDigits)
        return out + integerDigits; // the zeros past `count` are digits of the integer
    out[integerDigits] = '.';
    std::memcpy(out + integerDigits + 1, digits + integerDigits, 16);
    return out + count + 1;
}

char* formatByLibrary(char* out, double value)
{
    return std::to_chars(out, out + MaxG15Length, value, std::chars_format::general, Digits).ptr;
}

} // namespace

char* formatG15(char* out, double value)
{
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const auto biasedExponent = static_cast<int>((bits >> 52) & 0x7FF);
    const std::uint64_t fraction = bits & ((std::uint64_t{1} << 52) - 1);
    // Zeros, subnormals, infinities and NaN.
    if (biasedExponent == 0 || biasedExponent == 0x7FF)
        return formatByLibrary(out, value);

    const std::uint64_t mantissa = fraction | (std::uint64_t{1} << 52);
    const int binaryExponent = biasedExponent - 1075; // value = mantissa * 2^binaryExponent
    // floor(log10(2^(binaryExponent + 52))): the decimal exponent or one below it.
    const int estimate = ((binaryExponent + 52) * 78913) >> 18;
    const Rounded rounded = roundToDigits(mantissa, binaryExponent, estimate);
    if (!rounded.decided)
        return formatByLibrary(out, value);
    if (bits >> 63)
        *out++ = '-';
    return layOut(out, rounded);
}

} // namespace xlsx
