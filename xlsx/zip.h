#pragma once

// A small C-style writer of zip archives: one archive opened for writing, entries opened by
// name, filled from memory or by copying a file, closed one at a time, then the archive closed.
// Entries are compressed with raw deflate (igzip) or stored. Functions return 0 on success and
// a negative code on failure; zip_strerror() gives the code's message.

#include <cstddef>

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
// A negative level means 6; a level whose low four bits exceed 10 gives null.
zip_t* zip_open(const char* path, int level, char mode);
int zip_entry_open(zip_t* zip, const char* entryName);
int zip_entry_write(zip_t* zip, const void* buffer, std::size_t size);
int zip_entry_fwrite(zip_t* zip, const char* path);
int zip_entry_close(zip_t* zip);
void zip_close(zip_t* zip);
const char* zip_strerror(int code);
