#include "zip.h"

#include "ziparchive.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace {

using xlsx::ZipEntry;
using xlsx::ZipEntryData;

constexpr int MaxLevel = 10;
constexpr std::size_t FileBufferSize = 256 * 1024;

void releaseEntry(ZipEntry& entry)
{
    entry.open = false;
    std::string().swap(entry.name);
}

bool hasOpenEntry(const zip_t* zip)
{
    return zip && zip->entry.open;
}

// 0 when an entry is open that may take data of `kind`; -1 without one, -17 when it already
// holds data of the other kind.
int entryAccepts(const zip_t* zip, ZipEntryData kind)
{
    if (!hasOpenEntry(zip)) {
        return ZIP_ENOINIT;
    }
    const ZipEntryData held = zip->entry.data;
    return held == ZipEntryData::None || held == kind ? 0 : ZIP_EINVENTTYPE;
}

// What copying a file into the entry needs first: an entry that may take `kind`, and the
// file's time and mode for it (-3 if the file cannot be found).
int prepareFileCopy(zip_t* zip, const char* path, ZipEntryData kind)
{
    if (const int accepted = entryAccepts(zip, kind); accepted != 0) {
        return accepted;
    }
    return xlsx::takeZipFileStatus(zip->entry, path) ? 0 : ZIP_ENOENT;
}

// Checks the name and the archive's limits, then writes the entry's header placeholder and
// name and prepares its compressor.
int startEntry(zip_t& zip, const char* entryName)
{
    ZipEntry& entry = zip.entry;
    if (!entryName || !*entryName) {
        return ZIP_EINVENTNAME;
    }
    try {
        entry.name.assign(entryName);
    } catch (const std::bad_alloc&) {
        return ZIP_EINVENTNAME;
    }
    std::replace(entry.name.begin(), entry.name.end(), '\\', '/');
    if (entry.name.size() > xlsx::ZipMaxNameLength) {
        return ZIP_EINVENTNAME;
    }
    if (zip.level & ZIP_FLAG_COMPRESSED_DATA) {
        return ZIP_EINVLVL;
    }
    if (zip.entryCount >= xlsx::ZipMaxEntries
        || zip.archiveEnd + entry.name.size() + xlsx::ZipLocalHeaderSize + xlsx::ZipCentralHeaderSize > xlsx::ZipMaxClassicValue) {
        return ZIP_ENOSUP64;
    }

    entry.headerOffset = zip.archiveEnd;
    entry.uncompressedSize = 0;
    entry.compressedSize = 0;
    entry.crc = 0;
    entry.method = xlsx::ZipMethodStored;
    entry.data = ZipEntryData::None;
    entry.modified = std::time(nullptr);
    entry.externalAttributes = xlsx::ZipDefaultAttributes;

    // The real header is written over this placeholder once sizes and CRC are known.
    static const std::uint8_t placeholder[xlsx::ZipLocalHeaderSize] = {};
    if (fseeko(zip.file, static_cast<off_t>(entry.headerOffset), SEEK_SET) != 0
        || std::fwrite(placeholder, 1, sizeof placeholder, zip.file) != sizeof placeholder) {
        return ZIP_EMEMSET;
    }
    if (std::fwrite(entry.name.data(), 1, entry.name.size(), zip.file) != entry.name.size()) {
        return ZIP_EWRTENT;
    }
    if (zip.compressionLevel() != 0 && !xlsx::startZipDeflate(zip)) {
        return ZIP_ETDEFLINIT;
    }
    entry.open = true;
    return 0;
}

} // namespace

zip_t* zip_open(const char* path, int level, char mode)
{
    if (!path || !*path) {
        return nullptr;
    }
    if (level < 0) {
        level = ZIP_DEFAULT_COMPRESSION_LEVEL;
    }
    if ((level & 0x0F) > MaxLevel || mode != 'w') {
        return nullptr;
    }
    std::unique_ptr<zip_t> zip(new (std::nothrow) zip_t());
    if (!zip) {
        return nullptr;
    }
    zip->fileBuffer.reset(new (std::nothrow) char[FileBufferSize]);
    zip->file = std::fopen(path, "wb");
    if (!zip->fileBuffer || !zip->file
        || std::setvbuf(zip->file, zip->fileBuffer.get(), _IOFBF, FileBufferSize) != 0) {
        return nullptr;
    }
    zip->level = level;
    return zip.release();
}

int zip_entry_open(zip_t* zip, const char* entryName)
{
    if (!zip) {
        return ZIP_ENOINIT;
    }
    releaseEntry(zip->entry);
    const int result = startEntry(*zip, entryName);
    if (result != 0) {
        releaseEntry(zip->entry);
    }
    return result;
}

int zip_entry_write(zip_t* zip, const void* buffer, std::size_t size)
{
    if (!zip) {
        return ZIP_ENOINIT;
    }
    if (!buffer || size == 0) {
        return 0;
    }
    if (const int accepted = entryAccepts(zip, ZipEntryData::Text); accepted != 0) {
        return accepted;
    }
    return xlsx::writeZipText(*zip, static_cast<const std::uint8_t*>(buffer), size);
}

int zip_entry_fwrite(zip_t* zip, const char* path)
{
    if (const int prepared = prepareFileCopy(zip, path, ZipEntryData::Text); prepared != 0) {
        return prepared;
    }
    return xlsx::copyZipFile(*zip, path, xlsx::writeZipText);
}

int zip_entry_write_deflated(zip_t* zip, const void* buffer, std::size_t size, std::uint32_t crc, std::uint64_t length)
{
    int result = entryAccepts(zip, ZipEntryData::Deflated);
    if (result == 0) {
        result = xlsx::writeZipDeflated(*zip, static_cast<const std::uint8_t*>(buffer), size);
    }
    if (result == 0) {
        xlsx::appendZipTextChecksum(zip->entry, crc, length);
    }
    return result;
}

int zip_entry_fwrite_deflated(zip_t* zip, const char* path, std::uint32_t crc, std::uint64_t length)
{
    int result = prepareFileCopy(zip, path, ZipEntryData::Deflated);
    if (result == 0) {
        // Even an empty file makes the entry one of deflated pieces.
        zip->entry.data = ZipEntryData::Deflated;
        result = xlsx::copyZipFile(*zip, path, xlsx::writeZipDeflated);
    }
    if (result == 0) {
        xlsx::appendZipTextChecksum(zip->entry, crc, length);
    }
    return result;
}

int zip_entry_close(zip_t* zip)
{
    if (!hasOpenEntry(zip)) {
        return ZIP_ENOINIT;
    }
    const int result = xlsx::recordZipEntry(*zip);
    releaseEntry(zip->entry);
    return result;
}

int zip_close(zip_t* zip)
{
    if (!zip) {
        return ZIP_ENOINIT;
    }
    int result = xlsx::writeZipCentralDirectory(*zip) ? 0 : ZIP_EWRTDIR;
    // fclose writes what is still buffered; its failure means the archive is incomplete.
    if (std::fclose(std::exchange(zip->file, nullptr)) != 0 && result == 0) {
        result = ZIP_ECLSZIP;
    }
    delete zip;
    return result;
}

const char* zip_strerror(int code)
{
    static const char* const messages[] = {
        "not initialized",
        "invalid entry name",
        "entry not found",
        "invalid zip mode",
        "invalid compression level",
        "no zip 64 support",
        "memset error",
        "cannot write data to entry",
        "cannot initialize tdefl compressor",
        "invalid index",
        "header not found",
        "cannot flush tdefl buffer",
        "cannot write entry header",
        "cannot create entry header",
        "cannot write to central dir",
        "cannot open file",
        "invalid entry type",
        "extracting data using no memory allocation",
        "file not found",
        "no permission",
        "out of memory",
        "invalid zip archive name",
        "make dir error",
        "symlink error",
        "close archive error",
        "capacity size too small",
        "fseek error",
        "fread error",
        "fwrite error",
    };
    constexpr int count = static_cast<int>(sizeof messages / sizeof messages[0]);
    if (code > -1 || code < -count) {
        return nullptr;
    }
    return messages[-code - 1];
}
