#pragma once

// How the archive layer's compression levels (1 to 10) map onto igzip's levels, shared by the
// archive writer and the part files that compress while they are written, so that both give
// the same stream for the same text.

#include <isa-l/igzip_lib.h>

#include <cstdint>

namespace xlsx {

// Level 1 is igzip's fastest; 2 to 5 and 6 to 10 share a setting each. On the exporter's
// recordings no igzip level stays within 1.05x of zlib level 6's size on every workbook (the
// demo's parts give 1.055x at level 3, 1.07x at levels 1 and 2), so 6 keeps the strongest.
inline std::uint32_t igzipLevelFor(int level)
{
    if (level == 1)
        return 1;
    return level <= 5 ? 2 : 3;
}

inline std::uint32_t igzipLevelBufferSize(std::uint32_t igzipLevel)
{
    switch (igzipLevel) {
    case 1:
        return ISAL_DEF_LVL1_DEFAULT;
    case 2:
        return ISAL_DEF_LVL2_DEFAULT;
    default:
        return ISAL_DEF_LVL3_DEFAULT;
    }
}

} // namespace xlsx
