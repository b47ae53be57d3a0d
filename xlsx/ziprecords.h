#pragma once

// The records of a classic zip archive as this writer lays them out: the local header before
// each entry's data, the entry's central-directory record and the end record after the
// directory. All fields are little-endian; no zip64 records are written.

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace xlsx {

constexpr std::size_t ZipLocalHeaderSize = 30;
constexpr std::size_t ZipCentralHeaderSize = 46;
constexpr std::size_t ZipEndRecordSize = 22;

// Limits of the classic format.
constexpr std::uint64_t ZipMaxClassicValue = 0xFFFFFFFFu;
constexpr std::size_t ZipMaxEntries = 65535;
constexpr std::size_t ZipMaxNameLength = 0xFFFF;

constexpr std::uint16_t ZipMethodStored = 0;
constexpr std::uint16_t ZipMethodDeflate = 8;
// Regular file, rw-r--r--, in the Unix half of the external attributes.
constexpr std::uint32_t ZipDefaultAttributes = 0x81A40000;
constexpr std::uint32_t ZipDosReadOnly = 0x01;

// What an entry's data is made of; the two kinds do not mix in one entry.
enum class ZipEntryData { None,
    Text,
    Deflated };

// The entry being written and what its records will say.
struct ZipEntry
{
    bool open = false;
    ZipEntryData data = ZipEntryData::None;
    std::string name;
    std::uint64_t headerOffset = 0;
    std::uint64_t uncompressedSize = 0;
    std::uint64_t compressedSize = 0;
    std::uint32_t crc = 0;
    std::uint16_t method = ZipMethodStored;
    std::time_t modified = 0;
    std::uint32_t externalAttributes = 0;
};

// The entry's local header, without the name that follows it.
std::array<std::uint8_t, ZipLocalHeaderSize> zipLocalHeader(const ZipEntry& entry);
// Appends the entry's central-directory record, name included; throws std::bad_alloc.
void appendZipCentralRecord(std::vector<std::uint8_t>& directory, const ZipEntry& entry);
// The end record of a directory of `entryCount` records, `size` bytes long, at `offset`.
std::array<std::uint8_t, ZipEndRecordSize> zipEndRecord(std::size_t entryCount, std::uint64_t size,
    std::uint64_t offset);

} // namespace xlsx
