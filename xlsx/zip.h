#pragma once

// A small C-style writer of zip archives: one archive opened for writing, entries opened by
// name, filled from memory or by copying a file, closed one at a time, then the archive closed.
// Entries are compressed with raw deflate (igzip) or stored; their data streams straight to the
// file. Functions return 0 on success and a negative code on failure; zip_strerror() gives the
// code's message. A failure leaves the archive open but fit only for zip_close().
// The archive is a classic one without zip64 records: at most 65535 entries, sizes and offsets
// below 4 GiB (-6 beyond).

#include <cstddef>
#include <cstdint>

struct zip_t;

// Flag bit above the level's low four bits: "the data given is already compressed". Not
// supported by this writer; entries of an archive opened with it fail with -5.
#define ZIP_FLAG_COMPRESSED_DATA 0x0400
#define ZIP_DEFAULT_COMPRESSION_LEVEL 6

enum ZipError {
    ZIP_ENOINIT = -1,
    ZIP_EINVENTNAME = -2,
    ZIP_ENOENT = -3,
    ZIP_EINVMODE = -4,
    ZIP_EINVLVL = -5,
    ZIP_ENOSUP64 = -6,
    ZIP_EMEMSET = -7,
    ZIP_EWRTENT = -8,
    ZIP_ETDEFLINIT = -9,
    ZIP_EINVIDX = -10,
    ZIP_ENOHDR = -11,
    ZIP_ETDEFLBUF = -12,
    ZIP_ECRTHDR = -13,
    ZIP_EWRTHDR = -14,
    ZIP_EWRTDIR = -15,
    ZIP_EOPNFILE = -16,
    ZIP_EINVENTTYPE = -17,
    ZIP_EMEMNOALLOC = -18,
    ZIP_ENOFILE = -19,
    ZIP_ENOPERM = -20,
    ZIP_EOOMEM = -21,
    ZIP_EINVZIPNAME = -22,
    ZIP_EMKDIR = -23,
    ZIP_ESYMLINK = -24,
    ZIP_ECLSZIP = -25,
    ZIP_ECAPSIZE = -26,
    ZIP_EFSEEK = -27,
    ZIP_EFREAD = -28,
    ZIP_EFWRITE = -29,
};

// Mode 'w' creates (truncates) the file. Other modes are not built and give null.
// A negative level means 6; a level whose low four bits exceed 10 gives null. Level 0 stores,
// 1 to 10 deflate (1 fastest; 2..5 and 6..10 share a setting each).
zip_t* zip_open(const char* path, int level, char mode);

// Starts an entry; backslashes in the name become slashes. Opening an entry while another is
// open abandons the other. Its time is now and its attributes those of a 0644 regular file.
int zip_entry_open(zip_t* zip, const char* entryName);

// Appends bytes to the open entry; a null buffer or size 0 does nothing. Without an open
// entry, -1.
int zip_entry_write(zip_t* zip, const void* buffer, std::size_t size);

// Appends a file's contents to the open entry, which takes the file's time and mode (and the
// DOS read-only bit when the owner may not write). -3 if the file cannot be found, -16 if it
// cannot be opened, -8 if reading or writing fails. Without an open entry, -1.
int zip_entry_fwrite(zip_t* zip, const char* path);

// Appends a piece of an already deflated (raw deflate) stream to the open entry, which is then
// stored as deflated data; `crc` and `length` are the CRC-32 and size of the piece's text.
// Pieces written one after another must form one stream: all but the last end on a byte
// boundary without the final block. Mixed with zip_entry_write or zip_entry_fwrite in one
// entry, -17. Without an open entry, -1; a failed write, -8.
int zip_entry_write_deflated(zip_t* zip, const void* buffer, std::size_t size, std::uint32_t crc,
    std::uint64_t length);

// The same with the piece read from a file; the entry takes the file's time and mode as with
// zip_entry_fwrite, and fails as it does.
int zip_entry_fwrite_deflated(zip_t* zip, const char* path, std::uint32_t crc, std::uint64_t length);

// Completes the open entry's header and directory record. Without an open entry, -1.
int zip_entry_close(zip_t* zip);

// Writes the central directory and its end record, flushes and closes the file, and frees the
// handle. 0 when all of it reached the file; -15 when the directory or end record could not be
// written, -25 when closing the file failed (the handle is freed all the same); -1 for null.
int zip_close(zip_t* zip);

// The message of codes -1 to -29; null for any other value.
const char* zip_strerror(int code);
