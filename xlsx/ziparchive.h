#pragma once

// The state behind a zip_t handle and the steps the archive writer's entry points are made
// of: text entries deflated (or stored) as they come, pieces of streams deflated elsewhere,
// files copied into either kind, and the records written when an entry or the archive closes.

#include "zip.h"
#include "ziprecords.h"

#include <isa-l/igzip_lib.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

struct zip_t
{
    std::unique_ptr<char[]> fileBuffer;
    std::FILE* file = nullptr;
    int level = 0;
    // End of the last closed entry: where the next entry or the central directory begins.
    std::uint64_t archiveEnd = 0;
    std::size_t entryCount = 0;
    std::vector<std::uint8_t> centralDirectory;
    xlsx::ZipEntry entry;
    isal_zstream stream{};
    std::unique_ptr<std::uint8_t[]> levelBuffer;
    std::unique_ptr<std::uint8_t[]> deflateOutput;

    ~zip_t()
    {
        if (file) {
            std::fclose(file);
        }
    }

    // The level's low four bits; the bits above are flags.
    int compressionLevel() const { return level & 0x0F; }
};

namespace xlsx {

// Text entries (zipentrytext.cpp). Prepares the compressor for a new entry; false when its
// buffers cannot be had.
bool startZipDeflate(zip_t& zip);
// Adds text to the entry: stored, or deflated straight to the file. -8 or -12 on failure.
int writeZipText(zip_t& zip, const std::uint8_t* data, std::size_t size);
// Ends the entry's deflate stream when the archive compresses; -12 on failure.
int finishZipText(zip_t& zip);

// Entries of already deflated pieces (zipentrydeflated.cpp). Copies a piece as it stands; -8
// on failure.
int writeZipDeflated(zip_t& zip, const std::uint8_t* data, std::size_t size);
// Adds a piece's text, known only by its CRC and length, to the entry's CRC and size.
void appendZipTextChecksum(ZipEntry& entry, std::uint32_t crc, std::uint64_t length);

// Files copied into an entry (zipfilecopy.cpp). Takes the file's time and mode for the entry,
// as an entry copied from a file has them; false when the file cannot be found.
bool takeZipFileStatus(ZipEntry& entry, const char* path);
// Feeds the file through `write` in chunks; -16 if it cannot be opened, -8 if reading fails
// or `write` does.
int copyZipFile(zip_t& zip, const char* path, int (*write)(zip_t&, const std::uint8_t*, std::size_t));

// Records (zipdirectory.cpp). Completes the entry's data, rewrites its local header and adds
// its directory record; -6, -12, -14 or -15 on failure.
int recordZipEntry(zip_t& zip);
// Writes the central directory and its end record after the last closed entry, and cuts off
// anything beyond them (the bytes of an entry that was never closed).
bool writeZipCentralDirectory(zip_t& zip);

} // namespace xlsx
