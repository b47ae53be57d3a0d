#include "ziparchive.h"

#include <sys/stat.h>

namespace xlsx {

namespace {

constexpr std::size_t CopyChunkSize = 65536;

} // namespace

bool takeZipFileStatus(ZipEntry& entry, const char* path)
{
    struct stat status
    { };
    if (!path || stat(path, &status) != 0) {
        return false;
    }
    entry.modified = status.st_mtime;
    entry.externalAttributes |= static_cast<std::uint32_t>(status.st_mode & 0xFFFF) << 16;
    if (!(status.st_mode & S_IWUSR)) {
        entry.externalAttributes |= ZipDosReadOnly;
    }
    return true;
}

int copyZipFile(zip_t& zip, const char* path, int (*write)(zip_t&, const std::uint8_t*, std::size_t))
{
    std::FILE* source = std::fopen(path, "rb");
    if (!source) {
        return ZIP_EOPNFILE;
    }
    std::uint8_t chunk[CopyChunkSize];
    int result = 0;
    std::size_t count = 0;
    while ((count = std::fread(chunk, 1, sizeof chunk, source)) > 0) {
        if (write(zip, chunk, count) != 0) {
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

} // namespace xlsx
