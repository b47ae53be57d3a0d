#include "zip.h"

#include "igziplevel.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <zlib.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::uint32_t kLocalHeaderSignature = 0x04034b50;
constexpr std::uint32_t kCentralHeaderSignature = 0x02014b50;
constexpr std::uint32_t kEndOfDirectorySignature = 0x06054b50;
constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::size_t kCentralHeaderSize = 46;
constexpr std::size_t kEndOfDirectorySize = 22;

// Limits of the classic format: no zip64 records are written.
constexpr std::uint64_t kMaxClassicValue = 0xFFFFFFFFu;
constexpr std::size_t kMaxEntries = 65535;
constexpr std::size_t kMaxNameLength = 0xFFFF;

constexpr std::uint16_t kMethodStored = 0;
constexpr std::uint16_t kMethodDeflate = 8;
constexpr std::uint16_t kVersionStored = 0;
constexpr std::uint16_t kVersionDeflate = 20;
// Unix host, format 3.0: unpacking tools then honour the mode bits of the attributes.
constexpr std::uint16_t kVersionMadeBy = 0x031E;
// Regular file, rw-r--r--, in the Unix half of the external attributes.
constexpr std::uint32_t kDefaultAttributes = 0x81A40000;
constexpr std::uint32_t kDosReadOnly = 0x01;

constexpr int kLevelMask = 0x0F;
constexpr int kMaxLevel = 10;

constexpr std::size_t kFileBufferSize = 256 * 1024;
constexpr std::size_t kDeflateOutputSize = 256 * 1024;
constexpr std::size_t kCopyChunkSize = 65536;
// The compressor counts its input in 32 bits; larger writes are fed in pieces of this size.
constexpr std::size_t kMaxDeflateInput = std::size_t{1} << 30;

// What an entry's data is made of; the two kinds do not mix in one entry.
enum class EntryData { None,
    Text,
    Deflated };

struct Entry
{
    bool open = false;
    EntryData data = EntryData::None;
    std::string name;
    std::uint64_t headerOffset = 0;
    std::uint64_t uncompressedSize = 0;
    std::uint64_t compressedSize = 0;
    std::uint32_t crc = 0;
    std::uint16_t method = kMethodStored;
    std::time_t modified = 0;
    std::uint32_t externalAttributes = 0;
};

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
void writeSharedFields(FieldWriter& out, const Entry& entry)
{
    const DosDateTime stamp = toDosDateTime(entry.modified);
    out.u16(entry.method == kMethodDeflate ? kVersionDeflate : kVersionStored);
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

struct zip_t
{
    std::unique_ptr<char[]> fileBuffer;
    std::FILE* file = nullptr;
    int level = 0;
    // End of the last closed entry: where the next entry or the central directory begins.
    std::uint64_t archiveEnd = 0;
    std::size_t entryCount = 0;
    std::vector<std::uint8_t> centralDirectory;
    Entry entry;
    isal_zstream stream{};
    std::unique_ptr<std::uint8_t[]> levelBuffer;
    std::unique_ptr<std::uint8_t[]> deflateOutput;

    ~zip_t()
    {
        if (file) {
            std::fclose(file);
        }
    }

    int compressionLevel() const { return level & kLevelMask; }
};

namespace {

bool startDeflate(zip_t& zip)
{
    const std::uint32_t isalLevel = xlsx::igzipLevelFor(zip.compressionLevel());
    const std::uint32_t levelBufferSize = xlsx::igzipLevelBufferSize(isalLevel);
    if (!zip.levelBuffer) {
        zip.levelBuffer.reset(new (std::nothrow) std::uint8_t[levelBufferSize]);
    }
    if (!zip.deflateOutput) {
        zip.deflateOutput.reset(new (std::nothrow) std::uint8_t[kDeflateOutputSize]);
    }
    if (!zip.levelBuffer || !zip.deflateOutput) {
        return false;
    }
    isal_deflate_init(&zip.stream);
    zip.stream.level = isalLevel;
    zip.stream.level_buf = zip.levelBuffer.get();
    zip.stream.level_buf_size = levelBufferSize;
    zip.stream.gzip_flag = IGZIP_DEFLATE;
    zip.stream.flush = NO_FLUSH;
    return true;
}

// Feeds bytes to the compressor and writes whatever it produces straight to the archive.
// With `finish` set the stream is ended and drained completely.
bool deflateToFile(zip_t& zip, const std::uint8_t* data, std::size_t size, bool finish)
{
    isal_zstream& stream = zip.stream;
    do {
        const std::size_t piece = std::min(size, kMaxDeflateInput);
        stream.next_in = const_cast<std::uint8_t*>(data);
        stream.avail_in = static_cast<std::uint32_t>(piece);
        data += piece;
        size -= piece;
        stream.end_of_stream = finish && size == 0;
        do {
            stream.next_out = zip.deflateOutput.get();
            stream.avail_out = kDeflateOutputSize;
            if (isal_deflate(&stream) != COMP_OK) {
                return false;
            }
            const std::size_t produced = kDeflateOutputSize - stream.avail_out;
            if (std::fwrite(zip.deflateOutput.get(), 1, produced, zip.file) != produced) {
                return false;
            }
            zip.entry.compressedSize += produced;
        } while (stream.avail_in > 0 || stream.avail_out == 0
            || (stream.end_of_stream && stream.internal_state.state != ZSTATE_END));
    } while (size > 0);
    return true;
}

int writeEntryData(zip_t& zip, const std::uint8_t* data, std::size_t size)
{
    Entry& entry = zip.entry;
    if (entry.data == EntryData::Deflated) {
        return ZIP_EINVENTTYPE;
    }
    entry.data = EntryData::Text;
    entry.uncompressedSize += size;
    entry.crc = crc32_gzip_refl(entry.crc, data, size);
    if (zip.compressionLevel() == 0) {
        if (std::fwrite(data, 1, size, zip.file) != size) {
            return ZIP_EWRTENT;
        }
        entry.compressedSize += size;
        return 0;
    }
    return deflateToFile(zip, data, size, false) ? 0 : ZIP_ETDEFLBUF;
}

int finishEntry(zip_t& zip)
{
    Entry& entry = zip.entry;
    if (entry.data == EntryData::Deflated) {
        entry.method = kMethodDeflate;
    } else if (zip.compressionLevel() != 0) {
        if (!deflateToFile(zip, nullptr, 0, true)) {
            return ZIP_ETDEFLBUF;
        }
        entry.method = kMethodDeflate;
    }
    if (entry.compressedSize > kMaxClassicValue || entry.uncompressedSize > kMaxClassicValue) {
        return ZIP_ENOSUP64;
    }

    std::uint8_t header[kLocalHeaderSize];
    FieldWriter local{header};
    local.u32(kLocalHeaderSignature);
    writeSharedFields(local, entry);
    if (fseeko(zip.file, static_cast<off_t>(entry.headerOffset), SEEK_SET) != 0
        || std::fwrite(header, 1, sizeof header, zip.file) != sizeof header) {
        return ZIP_EWRTHDR;
    }

    try {
        const std::size_t recordStart = zip.centralDirectory.size();
        zip.centralDirectory.resize(recordStart + kCentralHeaderSize);
        FieldWriter central{zip.centralDirectory.data() + recordStart};
        central.u32(kCentralHeaderSignature);
        central.u16(kVersionMadeBy);
        writeSharedFields(central, entry);
        central.u16(0); // comment length
        central.u16(0); // disk number
        central.u16(0); // internal attributes
        central.u32(entry.externalAttributes);
        central.u32(entry.headerOffset);
        zip.centralDirectory.insert(zip.centralDirectory.end(), entry.name.begin(), entry.name.end());
    } catch (const std::bad_alloc&) {
        return ZIP_EWRTDIR;
    }

    ++zip.entryCount;
    zip.archiveEnd = entry.headerOffset + kLocalHeaderSize + entry.name.size() + entry.compressedSize;
    return 0;
}

// Copies a piece of a deflated stream into the entry as it stands.
int writeDeflatedData(zip_t& zip, const std::uint8_t* data, std::size_t size)
{
    Entry& entry = zip.entry;
    if (entry.data == EntryData::Text) {
        return ZIP_EINVENTTYPE;
    }
    entry.data = EntryData::Deflated;
    if (size > 0 && std::fwrite(data, 1, size, zip.file) != size) {
        return ZIP_EWRTENT;
    }
    entry.compressedSize += size;
    return 0;
}

// Adds a piece's text, known only by its CRC and length, to the entry's CRC and size.
void appendTextChecksum(Entry& entry, std::uint32_t crc, std::uint64_t length)
{
    entry.crc = static_cast<std::uint32_t>(crc32_combine(entry.crc, crc, static_cast<z_off_t>(length)));
    entry.uncompressedSize += length;
}

// Takes the file's time and mode for the entry, as an entry copied from a file has them.
bool takeFileStatus(Entry& entry, const char* path)
{
    struct stat status
    { };
    if (!path || stat(path, &status) != 0) {
        return false;
    }
    entry.modified = status.st_mtime;
    entry.externalAttributes |= static_cast<std::uint32_t>(status.st_mode & 0xFFFF) << 16;
    if (!(status.st_mode & S_IWUSR)) {
        entry.externalAttributes |= kDosReadOnly;
    }
    return true;
}

// Feeds a file through `write` in chunks; -16 if it cannot be opened, -8 if reading fails or
// `write` does.
template <typename Write>
int copyFile(const char* path, Write write)
{
    std::FILE* source = std::fopen(path, "rb");
    if (!source) {
        return ZIP_EOPNFILE;
    }
    std::uint8_t chunk[kCopyChunkSize];
    int result = 0;
    std::size_t count = 0;
    while ((count = std::fread(chunk, 1, sizeof chunk, source)) > 0) {
        if (write(chunk, count) != 0) {
            result = ZIP_EWRTENT;
            break;
        }
    }
    if (result == 0 && std::ferror(source)) {
        result = ZIP_EWRTENT;
    }
    std::fclose(source);
    return result;
}

void releaseEntry(Entry& entry)
{
    entry.open = false;
    std::string().swap(entry.name);
}

// Writes the central directory and its end record after the last closed entry, and cuts off
// anything beyond them (the bytes of an entry that was never closed).
bool writeCentralDirectory(zip_t& zip)
{
    const std::uint64_t directoryOffset = zip.archiveEnd;
    const std::uint64_t directorySize = zip.centralDirectory.size();
    if (zip.entryCount > kMaxEntries || directoryOffset + directorySize > kMaxClassicValue) {
        return false;
    }
    std::uint8_t endRecord[kEndOfDirectorySize];
    FieldWriter end{endRecord};
    end.u32(kEndOfDirectorySignature);
    end.u16(0); // this disk
    end.u16(0); // disk holding the directory
    end.u16(static_cast<std::uint32_t>(zip.entryCount));
    end.u16(static_cast<std::uint32_t>(zip.entryCount));
    end.u32(directorySize);
    end.u32(directoryOffset);
    end.u16(0); // comment length
    // An archive without entries has an empty directory, whose data() may be null.
    return fseeko(zip.file, static_cast<off_t>(directoryOffset), SEEK_SET) == 0
        && (directorySize == 0 || std::fwrite(zip.centralDirectory.data(), 1, directorySize, zip.file) == directorySize)
        && std::fwrite(endRecord, 1, sizeof endRecord, zip.file) == sizeof endRecord
        && std::fflush(zip.file) == 0
        && ftruncate(fileno(zip.file), static_cast<off_t>(directoryOffset + directorySize + sizeof endRecord)) == 0;
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
    if ((level & kLevelMask) > kMaxLevel || mode != 'w') {
        return nullptr;
    }
    std::unique_ptr<zip_t> zip(new (std::nothrow) zip_t());
    if (!zip) {
        return nullptr;
    }
    zip->fileBuffer.reset(new (std::nothrow) char[kFileBufferSize]);
    zip->file = std::fopen(path, "wb");
    if (!zip->fileBuffer || !zip->file
        || std::setvbuf(zip->file, zip->fileBuffer.get(), _IOFBF, kFileBufferSize) != 0) {
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
    Entry& entry = zip->entry;
    releaseEntry(entry);
    if (!entryName || !*entryName) {
        return ZIP_EINVENTNAME;
    }
    try {
        entry.name.assign(entryName);
    } catch (const std::bad_alloc&) {
        return ZIP_EINVENTNAME;
    }
    std::replace(entry.name.begin(), entry.name.end(), '\\', '/');
    if (entry.name.size() > kMaxNameLength) {
        releaseEntry(entry);
        return ZIP_EINVENTNAME;
    }
    if (zip->level & ZIP_FLAG_COMPRESSED_DATA) {
        releaseEntry(entry);
        return ZIP_EINVLVL;
    }
    if (zip->entryCount >= kMaxEntries
        || zip->archiveEnd + entry.name.size() + kLocalHeaderSize + kCentralHeaderSize > kMaxClassicValue) {
        releaseEntry(entry);
        return ZIP_ENOSUP64;
    }

    entry.headerOffset = zip->archiveEnd;
    entry.uncompressedSize = 0;
    entry.compressedSize = 0;
    entry.crc = 0;
    entry.method = kMethodStored;
    entry.data = EntryData::None;
    entry.modified = std::time(nullptr);
    entry.externalAttributes = kDefaultAttributes;

    // The real header is written over this placeholder once sizes and CRC are known.
    static const std::uint8_t placeholder[kLocalHeaderSize] = {};
    if (fseeko(zip->file, static_cast<off_t>(entry.headerOffset), SEEK_SET) != 0
        || std::fwrite(placeholder, 1, sizeof placeholder, zip->file) != sizeof placeholder) {
        releaseEntry(entry);
        return ZIP_EMEMSET;
    }
    if (std::fwrite(entry.name.data(), 1, entry.name.size(), zip->file) != entry.name.size()) {
        releaseEntry(entry);
        return ZIP_EWRTENT;
    }
    if (zip->compressionLevel() != 0 && !startDeflate(*zip)) {
        releaseEntry(entry);
        return ZIP_ETDEFLINIT;
    }
    entry.open = true;
    return 0;
}

int zip_entry_write(zip_t* zip, const void* buffer, std::size_t size)
{
    if (!zip) {
        return ZIP_ENOINIT;
    }
    if (!buffer || size == 0) {
        return 0;
    }
    if (!zip->entry.open) {
        return ZIP_ENOINIT;
    }
    return writeEntryData(*zip, static_cast<const std::uint8_t*>(buffer), size);
}

int zip_entry_fwrite(zip_t* zip, const char* path)
{
    if (!zip || !zip->entry.open) {
        return ZIP_ENOINIT;
    }
    if (zip->entry.data == EntryData::Deflated) {
        return ZIP_EINVENTTYPE;
    }
    if (!takeFileStatus(zip->entry, path)) {
        return ZIP_ENOENT;
    }
    return copyFile(path, [zip](const std::uint8_t* data, std::size_t size) { return writeEntryData(*zip, data, size); });
}

int zip_entry_write_deflated(zip_t* zip, const void* buffer, std::size_t size, std::uint32_t crc, std::uint64_t length)
{
    if (!zip || !zip->entry.open) {
        return ZIP_ENOINIT;
    }
    const int result = writeDeflatedData(*zip, static_cast<const std::uint8_t*>(buffer), size);
    if (result == 0) {
        appendTextChecksum(zip->entry, crc, length);
    }
    return result;
}

int zip_entry_fwrite_deflated(zip_t* zip, const char* path, std::uint32_t crc, std::uint64_t length)
{
    if (!zip || !zip->entry.open) {
        return ZIP_ENOINIT;
    }
    if (zip->entry.data == EntryData::Text) {
        return ZIP_EINVENTTYPE;
    }
    if (!takeFileStatus(zip->entry, path)) {
        return ZIP_ENOENT;
    }
    zip->entry.data = EntryData::Deflated;
    const int result = copyFile(path, [zip](const std::uint8_t* data, std::size_t size) {
        return writeDeflatedData(*zip, data, size);
    });
    if (result == 0) {
        appendTextChecksum(zip->entry, crc, length);
    }
    return result;
}

int zip_entry_close(zip_t* zip)
{
    if (!zip || !zip->entry.open) {
        return ZIP_ENOINIT;
    }
    const int result = finishEntry(*zip);
    releaseEntry(zip->entry);
    return result;
}

int zip_close(zip_t* zip)
{
    if (!zip) {
        return ZIP_ENOINIT;
    }
    int result = writeCentralDirectory(*zip) ? 0 : ZIP_EWRTDIR;
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
