// Compresses files (the parts of an unpacked workbook) with zlib level 6 and each igzip level,
// as raw deflate in 1 MiB pieces the way the archive layer feeds its compressor, and prints
// the total size against zlib's and the time each took.
//
// Usage: bench_deflate_levels FILE...

#include <isa-l/igzip_lib.h>
#include <zlib.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t Piece = 1 << 20;

std::size_t zlibSize(const std::string& data)
{
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::vector<unsigned char> out(Piece * 2);
    std::size_t total = 0;
    for (std::size_t offset = 0;;) {
        const std::size_t size = std::min(Piece, data.size() - offset);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + offset));
        stream.avail_in = static_cast<uInt>(size);
        offset += size;
        const int flush = offset == data.size() ? Z_FINISH : Z_NO_FLUSH;
        int result;
        do {
            stream.next_out = out.data();
            stream.avail_out = static_cast<uInt>(out.size());
            result = deflate(&stream, flush);
            total += out.size() - stream.avail_out;
        } while (stream.avail_out == 0);
        if (flush == Z_FINISH && result == Z_STREAM_END)
            break;
    }
    deflateEnd(&stream);
    return total;
}

struct IgzipSetting
{
    std::uint32_t level;
    std::uint32_t bufferSize;
    const char* name;
};

// Each level with the library's default level buffer, and levels 1 to 3 also with the small
// and extra-large ones (the buffer bounds the block size, so it changes the ratio).
const IgzipSetting IgzipSettings[] = {
    {0, ISAL_DEF_LVL0_DEFAULT, "igzip 0"},
    {1, ISAL_DEF_LVL1_SMALL, "igzip 1 S"},
    {1, ISAL_DEF_LVL1_DEFAULT, "igzip 1"},
    {1, ISAL_DEF_LVL1_EXTRA_LARGE, "igzip 1 XL"},
    {2, ISAL_DEF_LVL2_SMALL, "igzip 2 S"},
    {2, ISAL_DEF_LVL2_DEFAULT, "igzip 2"},
    {2, ISAL_DEF_LVL2_EXTRA_LARGE, "igzip 2 XL"},
    {3, ISAL_DEF_LVL3_SMALL, "igzip 3 S"},
    {3, ISAL_DEF_LVL3_DEFAULT, "igzip 3"},
    {3, ISAL_DEF_LVL3_EXTRA_LARGE, "igzip 3 XL"},
};

std::size_t igzipSize(const std::string& data, const IgzipSetting& setting)
{
    const std::uint32_t level = setting.level;
    std::vector<std::uint8_t> levelBuffer(setting.bufferSize);
    std::vector<std::uint8_t> out(Piece * 2);
    isal_zstream stream;
    isal_deflate_init(&stream);
    stream.level = level;
    stream.level_buf = levelBuffer.data();
    stream.level_buf_size = static_cast<std::uint32_t>(levelBuffer.size());
    stream.gzip_flag = IGZIP_DEFLATE;
    std::size_t total = 0;
    for (std::size_t offset = 0;;) {
        const std::size_t size = std::min(Piece, data.size() - offset);
        stream.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(data.data() + offset));
        stream.avail_in = static_cast<std::uint32_t>(size);
        offset += size;
        stream.end_of_stream = offset == data.size();
        do {
            stream.next_out = out.data();
            stream.avail_out = static_cast<std::uint32_t>(out.size());
            isal_deflate(&stream);
            total += out.size() - stream.avail_out;
        } while (stream.avail_in > 0 || stream.avail_out == 0);
        if (stream.end_of_stream) {
            while (stream.internal_state.state != ZSTATE_END) {
                stream.next_out = out.data();
                stream.avail_out = static_cast<std::uint32_t>(out.size());
                isal_deflate(&stream);
                total += out.size() - stream.avail_out;
            }
            break;
        }
    }
    return total;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> files;
    std::size_t input = 0;
    for (int i = 1; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        files.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        input += files.back().size();
    }
    auto measure = [&](const char* name, auto compress, std::size_t reference) {
        const auto start = Clock::now();
        std::size_t total = 0;
        for (const std::string& data : files)
            total += compress(data);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        std::printf("%-10s %12zu bytes  %.4fx zlib 6  %6.2f s  %6.0f MB/s\n", name, total,
            reference ? double(total) / double(reference) : 1.0, seconds, double(input) / seconds / 1e6);
        return total;
    };
    std::printf("%zu files, %zu bytes\n", files.size(), input);
    const std::size_t zlib = measure("zlib 6", zlibSize, 0);
    for (const IgzipSetting& setting : IgzipSettings)
        measure(
            setting.name, [&setting](const std::string& data) { return igzipSize(data, setting); }, zlib);
    return 0;
}
