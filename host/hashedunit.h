#pragma once

// Reproducible pseudo-random values for the generated recordings: the same numbers on every
// machine and run, so their workbooks can be compared byte for byte.

#include <cstdint>

// Uniform in [-1, 1), fixed for each pair of `n` and `stream`: a 64-bit mix of both, of
// which the top 53 bits make the fraction. Different streams give unrelated sequences.
inline double hashedUnit(std::uint64_t n, std::uint64_t stream = 0)
{
    std::uint64_t z = n * 0x9E3779B97F4A7C15ull + stream * 0xD1B54A32D192ED03ull + 0x632BE59BD9B4E019ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) * 0x1.0p-52 - 1.0;
}
