#include "ziparchive.h"

#include "igziplevel.h"

#include <isa-l/crc.h>

#include <algorithm>
#include <new>

namespace xlsx {

namespace {

constexpr std::size_t DeflateOutputSize = 256 * 1024;
// The compressor counts its input in 32 bits; larger writes are fed in pieces of this size.
constexpr std::size_t MaxDeflateInput = std::size_t{1} << 30;

// Feeds bytes to the compressor and writes whatever it produces straight to the archive.
// With `finish` set the stream is ended and drained completely.
bool deflateToFile(zip_t& zip, const std::uint8_t* data, std::size_t size, bool finish)
{
    isal_zstream& stream = zip.stream;
    do {
        const std::size_t piece = std::min(size, MaxDeflateInput);
        stream.next_in = const_cast<std::uint8_t*>(data);
        stream.avail_in = static_cast<std::uint32_t>(piece);
        data += piece;
        size -= piece;
        stream.end_of_stream = finish && size == 0;
        do {
            stream.next_out = zip.deflateOutput.get();
            stream.avail_out = DeflateOutputSize;
            if (isal_deflate(&stream) != COMP_OK) {
                return false;
            }
            const std::size_t produced = DeflateOutputSize - stream.avail_out;
            if (std::fwrite(zip.deflateOutput.get(), 1, produced, zip.file) != produced) {
                return false;
            }
            zip.entry.compressedSize += produced;
        } while (stream.avail_in > 0 || stream.avail_out == 0
            || (stream.end_of_stream && stream.internal_state.state != ZSTATE_END));
    } while (size > 0);
    return true;
}

} // namespace

bool startZipDeflate(zip_t& zip)
{
    const std::uint32_t isalLevel = igzipLevelFor(zip.compressionLevel());
    const std::uint32_t levelBufferSize = igzipLevelBufferSize(isalLevel);
    if (!zip.levelBuffer) {
        zip.levelBuffer.reset(new (std::nothrow) std::uint8_t[levelBufferSize]);
    }
    if (!zip.deflateOutput) {
        zip.deflateOutput.reset(new (std::nothrow) std::uint8_t[DeflateOutputSize]);
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

int writeZipText(zip_t& zip, const std::uint8_t* data, std::size_t size)
{
    ZipEntry& entry = zip.entry;
    entry.data = ZipEntryData::Text;
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

int finishZipText(zip_t& zip)
{
    if (zip.compressionLevel() == 0) {
        return 0;
    }
    if (!deflateToFile(zip, nullptr, 0, true)) {
        return ZIP_ETDEFLBUF;
    }
    zip.entry.method = ZipMethodDeflate;
    return 0;
}

} // namespace xlsx
