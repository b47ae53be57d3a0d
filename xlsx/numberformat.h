#pragma once

// Numbers as worksheet cells show them: the text "%.15g" gives, with '.' whatever the locale.

namespace xlsx {

// Longest text formatG15 writes ("-1.23456789012345e-308").
inline constexpr int MaxG15Length = 24;
// Bytes formatG15 may overwrite at its output: past the text it uses the room as scratch.
inline constexpr int G15Room = 40;

// Writes `value` as "%.15g" at `out` (G15Room bytes of room, no terminating NUL) and returns
// the end. Every finite value and infinities and NaN give the bytes of
// std::to_chars(general, 15).
char* formatG15(char* out, double value);

} // namespace xlsx
