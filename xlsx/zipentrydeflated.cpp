#include "ziparchive.h"

#include <zlib.h>

namespace xlsx {

int writeZipDeflated(zip_t& zip, const std::uint8_t* data, std::size_t size)
{
    ZipEntry& entry = zip.entry;
    entry.data = ZipEntryData::Deflated;
    if (size > 0 && std::fwrite(data, 1, size, zip.file) != size) {
        return ZIP_EWRTENT;
    }
    entry.compressedSize += size;
    return 0;
}

void appendZipTextChecksum(ZipEntry& entry, std::uint32_t crc, std::uint64_t length)
{
    entry.crc = static_cast<std::uint32_t>(crc32_combine(entry.crc, crc, static_cast<z_off_t>(length)));
    entry.uncompressedSize += length;
}

} // namespace xlsx
