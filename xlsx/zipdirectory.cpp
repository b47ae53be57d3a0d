#include "ziparchive.h"

#include <unistd.h>

#include <new>

namespace xlsx {

int recordZipEntry(zip_t& zip)
{
    ZipEntry& entry = zip.entry;
    if (entry.data == ZipEntryData::Deflated) {
        entry.method = ZipMethodDeflate;
    } else if (const int finished = finishZipText(zip); finished != 0) {
        return finished;
    }
    if (entry.compressedSize > ZipMaxClassicValue || entry.uncompressedSize > ZipMaxClassicValue) {
        return ZIP_ENOSUP64;
    }

    const auto header = zipLocalHeader(entry);
    if (fseeko(zip.file, static_cast<off_t>(entry.headerOffset), SEEK_SET) != 0
        || std::fwrite(header.data(), 1, header.size(), zip.file) != header.size()) {
        return ZIP_EWRTHDR;
    }
    try {
        appendZipCentralRecord(zip.centralDirectory, entry);
    } catch (const std::bad_alloc&) {
        return ZIP_EWRTDIR;
    }

    ++zip.entryCount;
    zip.archiveEnd = entry.headerOffset + ZipLocalHeaderSize + entry.name.size() + entry.compressedSize;
    return 0;
}

bool writeZipCentralDirectory(zip_t& zip)
{
    const std::uint64_t directoryOffset = zip.archiveEnd;
    const std::uint64_t directorySize = zip.centralDirectory.size();
    if (zip.entryCount > ZipMaxEntries || directoryOffset + directorySize > ZipMaxClassicValue) {
        return false;
    }
    const auto endRecord = zipEndRecord(zip.entryCount, directorySize, directoryOffset);
    // An archive without entries has an empty directory, whose data() may be null.
    return fseeko(zip.file, static_cast<off_t>(directoryOffset), SEEK_SET) == 0
        && (directorySize == 0 || std::fwrite(zip.centralDirectory.data(), 1, directorySize, zip.file) == directorySize)
        && std::fwrite(endRecord.data(), 1, endRecord.size(), zip.file) == endRecord.size()
        && std::fflush(zip.file) == 0
        && ftruncate(fileno(zip.file), static_cast<off_t>(directoryOffset + directorySize + endRecord.size())) == 0;
}

} // namespace xlsx
