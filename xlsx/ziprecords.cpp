#include "ziprecords.h"

namespace xlsx {

namespace {

constexpr std::uint32_t LocalHeaderSignature = 0x04034b50;
constexpr std::uint32_t CentralHeaderSignature = 0x02014b50;
constexpr std::uint32_t EndRecordSignature = 0x06054b50;

constexpr std::uint16_t VersionStored = 0;
constexpr std::uint16_t VersionDeflate = 20;
// Unix host, format 3.0: unpacking tools then honour the mode bits of the attributes.
constexpr std::uint16_t VersionMadeBy = 0x031E;

// Little-endian field writer over a byte buffer the caller sized.
struct FieldWriter
{
    std::uint8_t* at;

    void u16(std::uint32_t value)
    {
        *at++ = static_cast<std::uint8_t>(value);
        *at++ = static_cast<std::uint8_t>(value >> 8);
    }
    void u32(std::uint64_t value)
    {
        u16(static_cast<std::uint32_t>(value & 0xFFFF));
        u16(static_cast<std::uint32_t>((value >> 16) & 0xFFFF));
    }
};

struct DosDateTime
{
    std::uint16_t time;
    std::uint16_t date;
};

DosDateTime toDosDateTime(std::time_t moment)
{
    std::tm local{};
    if (!localtime_r(&moment, &local) || local.tm_year < 80) {
        return {0, (1 << 5) | 1}; // 1980-01-01 00:00, the earliest DOS moment
    }
    if (local.tm_year > 207) {
        return {(23 << 11) | (59 << 5) | 29, (127 << 9) | (12 << 5) | 31}; // 2107-12-31 23:59:58
    }
    const int time = local.tm_hour * 2048 + local.tm_min * 32 + local.tm_sec / 2;
    const int date = (local.tm_year + 1900 - 1980) * 512 + (local.tm_mon + 1) * 32 + local.tm_mday;
    return {static_cast<std::uint16_t>(time), static_cast<std::uint16_t>(date)};
}

// The fields a local header and its central-directory record share, from "version needed"
// through "extra field length".
void writeSharedFields(FieldWriter& out, const ZipEntry& entry)
{
    const DosDateTime stamp = toDosDateTime(entry.modified);
    out.u16(entry.method == ZipMethodDeflate ? VersionDeflate : VersionStored);
    out.u16(0); // flags: sizes and CRC are in the header, no data descriptor follows
    out.u16(entry.method);
    out.u16(stamp.time);
    out.u16(stamp.date);
    out.u32(entry.crc);
    out.u32(entry.compressedSize);
    out.u32(entry.uncompressedSize);
    out.u16(static_cast<std::uint32_t>(entry.name.size()));
    out.u16(0);
}

} // namespace

std::array<std::uint8_t, ZipLocalHeaderSize> zipLocalHeader(const ZipEntry& entry)
{
    std::array<std::uint8_t, ZipLocalHeaderSize> header;
    FieldWriter out{header.data()};
    out.u32(LocalHeaderSignature);
    writeSharedFields(out, entry);
    return header;
}

void appendZipCentralRecord(std::vector<std::uint8_t>& directory, const ZipEntry& entry)
{
    const std::size_t recordStart = directory.size();
    directory.resize(recordStart + ZipCentralHeaderSize);
    FieldWriter out{directory.data() + recordStart};
    out.u32(CentralHeaderSignature);
    out.u16(VersionMadeBy);
    writeSharedFields(out, entry);
    out.u16(0); // comment length
    out.u16(0); // disk number
    out.u16(0); // internal attributes
    out.u32(entry.externalAttributes);
    out.u32(entry.headerOffset);
    directory.insert(directory.end(), entry.name.begin(), entry.name.end());
}

std::array<std::uint8_t, ZipEndRecordSize> zipEndRecord(std::size_t entryCount, std::uint64_t size,
    std::uint64_t offset)
{
    std::array<std::uint8_t, ZipEndRecordSize> record;
    FieldWriter out{record.data()};
    out.u32(EndRecordSignature);
    out.u16(0); // this disk
    out.u16(0); // disk holding the directory
    out.u16(static_cast<std::uint32_t>(entryCount));
    out.u16(static_cast<std::uint32_t>(entryCount));
    out.u32(size);
    out.u32(offset);
    out.u16(0); // comment length
    return record;
}

} // namespace xlsx
