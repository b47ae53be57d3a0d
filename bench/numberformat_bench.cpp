// Times the "%.15g" formatter against std::to_chars(general, 15) and compares their texts over
// a large sweep (every value is checked; a difference is reported and fails the run).
//
// Usage: bench_numberformat [MILLIONS]   (default 20 million values of each kind)

#include "numberformat.h"

#include <bit>
#include <chrono>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

template <typename Format>
double nanosecondsPerValue(const std::vector<double>& values, Format format, std::size_t& checksum)
{
    char text[64];
    const auto start = Clock::now();
    for (double v : values)
        checksum += static_cast<std::size_t>(format(text, v) - text);
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / double(values.size());
}

char* library(char* out, double v)
{
    return std::to_chars(out, out + 64, v, std::chars_format::general, 15).ptr;
}

std::size_t countDifferences(const std::vector<double>& values)
{
    std::size_t differences = 0;
    for (double v : values) {
        char expected[64];
        char actual[64];
        const auto wantLength = library(expected, v) - expected;
        const auto gotLength = xlsx::formatG15(actual, v) - actual;
        if (wantLength != gotLength || std::memcmp(expected, actual, wantLength) != 0) {
            if (++differences <= 10)
                std::printf("  differs: %.*s written as %.*s\n", int(wantLength), expected, int(gotLength), actual);
        }
    }
    return differences;
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t count = (argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 20) * 1'000'000;
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> logMagnitude(-12.0, 6.0);
    std::vector<double> motion(count);
    std::vector<double> bits(count);
    for (std::size_t i = 0; i < count; ++i) {
        motion[i] = (i % 2 ? -1 : 1) * std::pow(10.0, logMagnitude(random));
        bits[i] = std::bit_cast<double>(random());
    }

    int failures = 0;
    for (const auto& [name, values] : {std::pair{"motion-like (1e-12..1e6)", &motion}, std::pair{"random bit patterns", &bits}}) {
        std::size_t checksum = 0;
        const double ours = nanosecondsPerValue(*values, xlsx::formatG15, checksum);
        const double theirs = nanosecondsPerValue(*values, library, checksum);
        const std::size_t differences = countDifferences(*values);
        std::printf("%-26s %zu values: formatG15 %.1f ns, std::to_chars %.1f ns (%.2fx), %zu differences\n", name,
            values->size(), ours, theirs, theirs / ours, differences);
        failures += differences != 0;
    }
    return failures;
}
