#include "zip.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utime.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<std::uint8_t>;

// ---- Reading the archive back ---------------------------------------------------------------

struct LocalHeader {
    std::uint32_t signature;
    std::uint16_t versionNeeded, flags, method, time, date;
    std::uint32_t crc, compressedSize, uncompressedSize;
    std::uint16_t nameLength, extraLength;
    std::string name;
    Bytes data;
};

struct CentralRecord {
    std::uint16_t versionMadeBy, versionNeeded, flags, method, time, date;
    std::uint32_t crc, compressedSize, uncompressedSize;
    std::uint16_t nameLength, extraLength, commentLength, diskStart, internalAttributes;
    std::uint32_t externalAttributes, headerOffset;
    std::string name;
    LocalHeader local;
};

struct Archive {
    std::uint64_t fileSize;
    std::uint16_t entriesOnDisk, totalEntries;
    std::uint32_t directorySize, directoryOffset;
    std::vector<CentralRecord> entries;
};

Bytes readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const fs::path& path, const Bytes& bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

struct Reader {
    const Bytes& bytes;
    std::size_t at;

    void need(std::size_t count) const
    {
        if (at + count > bytes.size()) {
            throw std::runtime_error("archive truncated at offset " + std::to_string(at));
        }
    }
    std::uint16_t u16()
    {
        need(2);
        at += 2;
        return static_cast<std::uint16_t>(bytes[at - 2] | bytes[at - 1] << 8);
    }
    std::uint32_t u32()
    {
        const std::uint32_t low = u16();
        return low | static_cast<std::uint32_t>(u16()) << 16;
    }
    std::string text(std::size_t count)
    {
        need(count);
        at += count;
        return std::string(bytes.begin() + at - count, bytes.begin() + at);
    }
    Bytes raw(std::size_t count)
    {
        need(count);
        at += count;
        return Bytes(bytes.begin() + at - count, bytes.begin() + at);
    }
};

// Walks the end record, the central directory and every local header, as a reader would.
Archive parseArchive(const fs::path& path)
{
    const Bytes bytes = readFile(path);
    if (bytes.size() < 22) {
        throw std::runtime_error("no end record");
    }
    Archive archive{};
    archive.fileSize = bytes.size();
    Reader end{bytes, bytes.size() - 22};
    if (end.u32() != 0x06054b50 || end.u16() != 0 || end.u16() != 0) {
        throw std::runtime_error("bad end record");
    }
    archive.entriesOnDisk = end.u16();
    archive.totalEntries = end.u16();
    archive.directorySize = end.u32();
    archive.directoryOffset = end.u32();
    if (end.u16() != 0) {
        throw std::runtime_error("unexpected archive comment");
    }
    Reader directory{bytes, archive.directoryOffset};
    for (unsigned i = 0; i < archive.totalEntries; ++i) {
        if (directory.u32() != 0x02014b50) {
            throw std::runtime_error("bad central record signature");
        }
        CentralRecord record{};
        record.versionMadeBy = directory.u16();
        record.versionNeeded = directory.u16();
        record.flags = directory.u16();
        record.method = directory.u16();
        record.time = directory.u16();
        record.date = directory.u16();
        record.crc = directory.u32();
        record.compressedSize = directory.u32();
        record.uncompressedSize = directory.u32();
        record.nameLength = directory.u16();
        record.extraLength = directory.u16();
        record.commentLength = directory.u16();
        record.diskStart = directory.u16();
        record.internalAttributes = directory.u16();
        record.externalAttributes = directory.u32();
        record.headerOffset = directory.u32();
        record.name = directory.text(record.nameLength + record.extraLength + record.commentLength);

        Reader local{bytes, record.headerOffset};
        LocalHeader& header = record.local;
        header.signature = local.u32();
        header.versionNeeded = local.u16();
        header.flags = local.u16();
        header.method = local.u16();
        header.time = local.u16();
        header.date = local.u16();
        header.crc = local.u32();
        header.compressedSize = local.u32();
        header.uncompressedSize = local.u32();
        header.nameLength = local.u16();
        header.extraLength = local.u16();
        header.name = local.text(header.nameLength + header.extraLength);
        header.data = local.raw(header.compressedSize);
        archive.entries.push_back(std::move(record));
    }
    if (directory.at != archive.directoryOffset + archive.directorySize) {
        throw std::runtime_error("directory size does not match its records");
    }
    return archive;
}

Bytes inflateRaw(const Bytes& compressed, std::size_t expectedSize)
{
    Bytes out(expectedSize + 1);
    z_stream stream{};
    if (inflateInit2(&stream, -15) != Z_OK) {
        throw std::runtime_error("inflateInit2 failed");
    }
    stream.next_in = const_cast<Bytef*>(compressed.data());
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const int status = inflate(&stream, Z_FINISH);
    const bool consumedAll = stream.avail_in == 0;
    out.resize(stream.total_out);
    inflateEnd(&stream);
    if (status != Z_STREAM_END || !consumedAll) {
        throw std::runtime_error("raw deflate stream is broken or has trailing bytes");
    }
    return out;
}

Bytes entryContents(const CentralRecord& record)
{
    return record.method == 8 ? inflateRaw(record.local.data, record.uncompressedSize) : record.local.data;
}

std::uint32_t zlibCrc(const Bytes& bytes)
{
    return static_cast<std::uint32_t>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size())));
}

std::time_t fromDos(std::uint16_t time, std::uint16_t date)
{
    std::tm local{};
    local.tm_year = (date >> 9) + 80;
    local.tm_mon = ((date >> 5) & 0x0F) - 1;
    local.tm_mday = date & 0x1F;
    local.tm_hour = time >> 11;
    local.tm_min = (time >> 5) & 0x3F;
    local.tm_sec = (time & 0x1F) * 2;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

// ---- Writing test data ----------------------------------------------------------------------

Bytes randomBytes(std::size_t size, unsigned seed)
{
    std::mt19937 engine(seed);
    Bytes bytes(size);
    for (auto& byte : bytes) {
        byte = static_cast<std::uint8_t>(engine());
    }
    return bytes;
}

// Worksheet-like XML: repetitive markup around slowly varying numbers, like a recording's rows.
Bytes sheetText(std::size_t minimumSize)
{
    std::string text;
    std::mt19937 engine(7);
    for (int row = 1; text.size() < minimumSize; ++row) {
        const std::string rowNumber = std::to_string(row);
        text += "<row r=\"" + rowNumber + "\">";
        for (char column = 'A'; column <= 'H'; ++column) {
            const unsigned value = column == 'A' ? row : (row * 7 + column * 13) % 50 + engine() % 3;
            text += std::string("<c r=\"") + column + rowNumber + "\"><v>" + std::to_string(value) + "</v></c>";
        }
        text += "</row>\n";
    }
    return Bytes(text.begin(), text.end());
}

Bytes textBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

// Writes all of `data` in pieces of irregular sizes, from single bytes to a megabyte.
void writeInPieces(zip_t* zip, const Bytes& data)
{
    static const std::size_t pieceSizes[] = {1, 7, 4096, 65536, 100003, 1 << 20, 13};
    std::size_t done = 0;
    for (std::size_t i = 0; done < data.size(); ++i) {
        const std::size_t piece = std::min(pieceSizes[i % std::size(pieceSizes)], data.size() - done);
        ASSERT_EQ(zip_entry_write(zip, data.data() + done, piece), 0);
        done += piece;
    }
}

void writeArchive(const fs::path& path, int level, const std::vector<std::pair<std::string, Bytes>>& entries)
{
    zip_t* zip = zip_open(path.c_str(), level, 'w');
    ASSERT_NE(zip, nullptr);
    for (const auto& [name, data] : entries) {
        ASSERT_EQ(zip_entry_open(zip, name.c_str()), 0);
        writeInPieces(zip, data);
        ASSERT_EQ(zip_entry_close(zip), 0);
    }
    zip_close(zip);
}

struct CommandResult {
    int exitCode;
    std::string output;
};

CommandResult run(const std::string& command)
{
    CommandResult result{-1, {}};
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) {
        return result;
    }
    char buffer[4096];
    while (std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        result.output.append(buffer, count);
    }
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// Named after the module so that `ctest -R zip` selects these tests.
class zip_writer : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/zip_tests.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
    }
    void TearDown() override
    {
        std::error_code ignored;
        fs::permissions(dir, fs::perms::all, ignored);
        fs::remove_all(dir, ignored);
    }

    // A file with the given contents, mode and modification time.
    fs::path makeFile(const std::string& name, const Bytes& contents, mode_t mode, std::time_t modified)
    {
        const fs::path path = dir / name;
        writeFile(path, contents);
        utimbuf times{modified, modified};
        EXPECT_EQ(utime(path.c_str(), &times), 0);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    fs::path dir;
};

std::time_t localMoment(int year, int month, int day, int hour, int minute, int second)
{
    std::tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

// ---- Tests ----------------------------------------------------------------------------------

TEST_F(zip_writer, OpenAcceptsOnlyWriteModeValidLevelsAndPaths)
{
    const fs::path path = dir / "a.zip";
    EXPECT_EQ(zip_open(nullptr, 6, 'w'), nullptr);
    EXPECT_EQ(zip_open("", 6, 'w'), nullptr);
    EXPECT_EQ(zip_open(path.c_str(), 11, 'w'), nullptr);
    EXPECT_EQ(zip_open(path.c_str(), 15, 'w'), nullptr);
    for (char mode : {'x', 'r', 'a', 'd'}) {
        EXPECT_EQ(zip_open(path.c_str(), 6, mode), nullptr) << mode;
    }
    EXPECT_EQ(zip_open((dir / "missing" / "a.zip").c_str(), 6, 'w'), nullptr);

    // The flag for precompressed data is accepted by open but refused for entries.
    zip_t* zip = zip_open(path.c_str(), 6 | ZIP_FLAG_COMPRESSED_DATA, 'w');
    ASSERT_NE(zip, nullptr);
    EXPECT_EQ(zip_entry_open(zip, "a.xml"), ZIP_EINVLVL);
    zip_close(zip);
    EXPECT_EQ(parseArchive(path).totalEntries, 0);
}

TEST_F(zip_writer, ErrorMessagesCoverTheCodeRange)
{
    EXPECT_STREQ(zip_strerror(-6), "no zip 64 support");
    EXPECT_STREQ(zip_strerror(-1), "not initialized");
    EXPECT_STREQ(zip_strerror(-8), "cannot write data to entry");
    EXPECT_STREQ(zip_strerror(-16), "cannot open file");
    EXPECT_STREQ(zip_strerror(-18), "extracting data using no memory allocation");
    EXPECT_STREQ(zip_strerror(-29), "fwrite error");
    EXPECT_EQ(zip_strerror(0), nullptr);
    EXPECT_EQ(zip_strerror(-30), nullptr);
    EXPECT_EQ(zip_strerror(1), nullptr);
    for (int code = -1; code >= -29; --code) {
        EXPECT_NE(zip_strerror(code), nullptr) << code;
    }
}

TEST_F(zip_writer, MisuseIsReportedAndLeavesAnEmptyValidArchive)
{
    const char data[] = "x";
    EXPECT_EQ(zip_entry_open(nullptr, "a"), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_write(nullptr, data, 1), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_fwrite(nullptr, "/etc/hostname"), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_close(nullptr), ZIP_ENOINIT);
    zip_close(nullptr);

    const fs::path path = dir / "empty.zip";
    zip_t* zip = zip_open(path.c_str(), 6, 'w');
    ASSERT_NE(zip, nullptr);
    EXPECT_EQ(zip_entry_write(zip, data, 1), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_close(zip), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_open(zip, nullptr), ZIP_EINVENTNAME);
    EXPECT_EQ(zip_entry_open(zip, ""), ZIP_EINVENTNAME);
    EXPECT_EQ(zip_entry_write(zip, data, 1), ZIP_ENOINIT);
    zip_close(zip);

    const Archive archive = parseArchive(path);
    EXPECT_EQ(archive.totalEntries, 0);
    EXPECT_EQ(archive.directoryOffset, 0u);
    EXPECT_EQ(archive.fileSize, 22u);
}

TEST_F(zip_writer, HeadersDescribeEachEntryAndTheLayoutOnDisk)
{
    const Bytes small = textBytes("<?xml version=\"1.0\"?><a/>");
    const Bytes sheet = sheetText(300000);
    const std::vector<std::pair<std::string, const Bytes*>> expected = {
        {"xl/a/b.xml", &small}, {"xl/worksheets/sheet1.xml", &sheet}, {"empty.xml", nullptr}};
    const Bytes none;
    for (int level : {0, 6}) {
        SCOPED_TRACE(level);
        const fs::path path = dir / ("headers" + std::to_string(level) + ".zip");
        const std::time_t before = std::time(nullptr);
        zip_t* zip = zip_open(path.c_str(), level, 'w');
        ASSERT_NE(zip, nullptr);
        ASSERT_EQ(zip_entry_open(zip, "xl\\a\\b.xml"), 0);
        ASSERT_EQ(zip_entry_write(zip, small.data(), 10), 0);
        EXPECT_EQ(zip_entry_write(zip, small.data(), 0), 0);
        EXPECT_EQ(zip_entry_write(zip, nullptr, 5), 0);
        ASSERT_EQ(zip_entry_write(zip, small.data() + 10, small.size() - 10), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        ASSERT_EQ(zip_entry_open(zip, "xl/worksheets/sheet1.xml"), 0);
        writeInPieces(zip, sheet);
        ASSERT_EQ(zip_entry_close(zip), 0);
        ASSERT_EQ(zip_entry_open(zip, "empty.xml"), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        zip_close(zip);
        const std::time_t after = std::time(nullptr);

        const Archive archive = parseArchive(path);
        ASSERT_EQ(archive.totalEntries, expected.size());
        EXPECT_EQ(archive.entriesOnDisk, expected.size());
        const std::uint16_t method = level == 0 ? 0 : 8;
        const std::uint16_t versionNeeded = level == 0 ? 0 : 20;
        std::uint32_t expectedOffset = 0;
        std::uint32_t expectedDirectorySize = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const CentralRecord& record = archive.entries[i];
            const Bytes& data = expected[i].second ? *expected[i].second : none;
            SCOPED_TRACE(expected[i].first);
            EXPECT_EQ(record.name, expected[i].first);
            EXPECT_EQ(record.local.name, expected[i].first);
            EXPECT_EQ(record.local.signature, 0x04034b50u);
            EXPECT_EQ(record.local.versionNeeded, versionNeeded);
            EXPECT_EQ(record.versionNeeded, versionNeeded);
            EXPECT_EQ(record.versionMadeBy >> 8, 3); // Unix, so the mode bits count
            EXPECT_EQ(record.local.flags, 0);
            EXPECT_EQ(record.flags, 0);
            EXPECT_EQ(record.local.method, method);
            EXPECT_EQ(record.method, method);
            EXPECT_EQ(record.local.crc, zlibCrc(data));
            EXPECT_EQ(record.crc, zlibCrc(data));
            EXPECT_EQ(record.local.uncompressedSize, data.size());
            EXPECT_EQ(record.uncompressedSize, data.size());
            EXPECT_EQ(record.compressedSize, record.local.compressedSize);
            EXPECT_EQ(record.local.extraLength, 0);
            EXPECT_EQ(record.extraLength, 0);
            EXPECT_EQ(record.commentLength, 0);
            EXPECT_EQ(record.externalAttributes, 0x81A40000u);
            EXPECT_EQ(record.local.time, record.time);
            EXPECT_EQ(record.local.date, record.date);
            const std::time_t stamped = fromDos(record.time, record.date);
            EXPECT_GE(stamped, before - 2);
            EXPECT_LE(stamped, after);
            EXPECT_EQ(record.headerOffset, expectedOffset);
            EXPECT_EQ(entryContents(record), data);
            expectedOffset += 30 + record.nameLength + record.compressedSize;
            expectedDirectorySize += 46 + record.nameLength;
        }
        EXPECT_EQ(archive.directoryOffset, expectedOffset);
        EXPECT_EQ(archive.directorySize, expectedDirectorySize);
        EXPECT_EQ(archive.fileSize, expectedOffset + expectedDirectorySize + 22);
        if (level == 0) {
            EXPECT_EQ(archive.entries[1].compressedSize, sheet.size());
        } else {
            EXPECT_LT(archive.entries[1].compressedSize, sheet.size() / 2);
        }
    }
}

TEST_F(zip_writer, LargeEntriesWrittenInManyPiecesRoundTripAtEveryKindOfLevel)
{
    const Bytes noise = randomBytes(6 << 20, 42);
    const Bytes rows = sheetText(6 << 20);
    std::map<int, std::uint32_t> rowsCompressedSize;
    for (int level : {0, 1, 4, 6}) {
        SCOPED_TRACE(level);
        const fs::path path = dir / ("large" + std::to_string(level) + ".zip");
        writeArchive(path, level, {{"noise.bin", noise}, {"rows.xml", rows}});
        const Archive archive = parseArchive(path);
        ASSERT_EQ(archive.totalEntries, 2);
        EXPECT_EQ(archive.entries[0].method, level == 0 ? 0 : 8);
        EXPECT_EQ(archive.entries[0].crc, zlibCrc(noise));
        EXPECT_EQ(archive.entries[1].crc, zlibCrc(rows));
        EXPECT_TRUE(entryContents(archive.entries[0]) == noise);
        EXPECT_TRUE(entryContents(archive.entries[1]) == rows);
        rowsCompressedSize[level] = archive.entries[1].compressedSize;
    }
    EXPECT_LT(rowsCompressedSize[6], rows.size() / 2);
    EXPECT_GE(rowsCompressedSize[1], rowsCompressedSize[6]);
}

TEST_F(zip_writer, LevelsInOneBandCompressAlike)
{
    const Bytes rows = sheetText(2 << 20);
    auto compressed = [&](int level) {
        const fs::path path = dir / ("band" + std::to_string(level) + ".zip");
        writeArchive(path, level, {{"rows.xml", rows}});
        return parseArchive(path).entries.at(0).local.data;
    };
    const Bytes level6 = compressed(6);
    EXPECT_TRUE(compressed(-1) == level6); // a negative level means the default, 6
    EXPECT_TRUE(compressed(10) == level6);
    EXPECT_TRUE(compressed(2) == compressed(5));
    EXPECT_GE(compressed(1).size(), level6.size());
}

TEST_F(zip_writer, FileCopyTakesContentsTimeAndMode)
{
    const std::time_t moment = localMoment(2021, 6, 15, 13, 45, 30);
    const Bytes big = randomBytes(3 * 65536 + 17, 3);
    const fs::path readOnly = makeFile("ro.bin", big, 0444, moment);
    const fs::path script = makeFile("run.sh", textBytes("#!/bin/sh\necho hi\n"), 0755, moment + 3600);
    const fs::path path = dir / "copied.zip";

    zip_t* zip = zip_open(path.c_str(), 6, 'w');
    ASSERT_NE(zip, nullptr);
    ASSERT_EQ(zip_entry_open(zip, "ro.bin"), 0);
    ASSERT_EQ(zip_entry_fwrite(zip, readOnly.c_str()), 0);
    ASSERT_EQ(zip_entry_close(zip), 0);
    ASSERT_EQ(zip_entry_open(zip, "bin/run.sh"), 0);
    const Bytes prefix = textBytes("# prefix\n");
    ASSERT_EQ(zip_entry_write(zip, prefix.data(), prefix.size()), 0);
    ASSERT_EQ(zip_entry_fwrite(zip, script.c_str()), 0);
    ASSERT_EQ(zip_entry_close(zip), 0);
    zip_close(zip);

    const Archive archive = parseArchive(path);
    ASSERT_EQ(archive.totalEntries, 2);
    const CentralRecord& copied = archive.entries[0];
    EXPECT_EQ(entryContents(copied), big);
    EXPECT_EQ(copied.crc, zlibCrc(big));
    EXPECT_EQ(copied.externalAttributes & 0x81240000u, 0x81240000u); // regular file, r--r--r--
    EXPECT_EQ(copied.externalAttributes, 0x81A40001u); // ORed into 0644, plus DOS read-only
    EXPECT_EQ(fromDos(copied.time, copied.date), moment);
    EXPECT_EQ(fromDos(copied.local.time, copied.local.date), moment);

    const CentralRecord& executable = archive.entries[1];
    Bytes joined = prefix;
    const Bytes scriptBytes = readFile(script);
    joined.insert(joined.end(), scriptBytes.begin(), scriptBytes.end());
    EXPECT_EQ(entryContents(executable), joined);
    EXPECT_EQ(executable.externalAttributes, 0x81ED0000u);
    EXPECT_EQ(fromDos(executable.time, executable.date), moment + 3600);
}

TEST_F(zip_writer, FileCopyFailuresHaveTheirCodes)
{
    const fs::path socketPath = dir / "sock";
    const int socketFd = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(socketFd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socketFd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    zip_t* zip = zip_open((dir / "f.zip").c_str(), 6, 'w');
    ASSERT_NE(zip, nullptr);
    EXPECT_EQ(zip_entry_fwrite(zip, (dir / "x").c_str()), ZIP_ENOINIT); // no entry open
    ASSERT_EQ(zip_entry_open(zip, "x"), 0);
    EXPECT_EQ(zip_entry_fwrite(zip, (dir / "missing.bin").c_str()), ZIP_ENOENT);
    EXPECT_EQ(zip_entry_fwrite(zip, nullptr), ZIP_ENOENT);
    EXPECT_EQ(zip_entry_fwrite(zip, socketPath.c_str()), ZIP_EOPNFILE); // exists, cannot be opened
    EXPECT_EQ(zip_entry_fwrite(zip, dir.c_str()), ZIP_EWRTENT);         // opens, cannot be read
    zip_close(zip);
    close(socketFd);
}

TEST_F(zip_writer, OpeningAnEntryAbandonsTheUnclosedOne)
{
    const fs::path path = dir / "abandoned.zip";
    const Bytes dropped = randomBytes(200000, 5);
    const Bytes kept = textBytes("kept");
    zip_t* zip = zip_open(path.c_str(), 6, 'w');
    ASSERT_NE(zip, nullptr);
    ASSERT_EQ(zip_entry_open(zip, "dropped.bin"), 0);
    ASSERT_EQ(zip_entry_write(zip, dropped.data(), dropped.size()), 0);
    ASSERT_EQ(zip_entry_open(zip, "kept.txt"), 0);
    ASSERT_EQ(zip_entry_write(zip, kept.data(), kept.size()), 0);
    ASSERT_EQ(zip_entry_close(zip), 0);
    ASSERT_EQ(zip_entry_open(zip, "unclosed.bin"), 0);
    ASSERT_EQ(zip_entry_write(zip, dropped.data(), dropped.size()), 0);
    zip_close(zip);

    const Archive archive = parseArchive(path);
    ASSERT_EQ(archive.totalEntries, 1);
    EXPECT_EQ(archive.entries[0].name, "kept.txt");
    EXPECT_EQ(archive.entries[0].headerOffset, 0u);
    EXPECT_EQ(entryContents(archive.entries[0]), kept);
    const CommandResult unzip = run("unzip -t '" + path.string() + "'");
    EXPECT_EQ(unzip.exitCode, 0) << unzip.output;
}

TEST_F(zip_writer, EntryCountStopsAtTheClassicLimit)
{
    const fs::path path = dir / "many.zip";
    zip_t* zip = zip_open(path.c_str(), 0, 'w');
    ASSERT_NE(zip, nullptr);
    for (int i = 0; i < 65535; ++i) {
        const std::string name = std::to_string(i);
        ASSERT_EQ(zip_entry_open(zip, name.c_str()), 0) << i;
        ASSERT_EQ(zip_entry_close(zip), 0) << i;
    }
    EXPECT_EQ(zip_entry_open(zip, "one-too-many"), ZIP_ENOSUP64);
    zip_close(zip);

    const Archive archive = parseArchive(path);
    EXPECT_EQ(archive.totalEntries, 65535);
    EXPECT_EQ(archive.entries.back().name, "65534");
    const CommandResult count = run(std::string(PYTHON3_EXECUTABLE)
        + " -c 'import sys, zipfile; print(len(zipfile.ZipFile(sys.argv[1]).infolist()))' '" + path.string() + "'");
    EXPECT_EQ(count.exitCode, 0) << count.output;
    EXPECT_EQ(count.output, "65535\n");
}

TEST_F(zip_writer, IndependentReadersAcceptTheArchive)
{
    const std::time_t moment = localMoment(2021, 6, 15, 13, 45, 30);
    const Bytes csv = sheetText(150000);
    const fs::path copiedSource = makeFile("source/data.csv", csv, 0444, moment);
    const std::vector<std::pair<std::string, Bytes>> written = {
        {"[Content_Types].xml", textBytes("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Types/>")},
        {"xl/worksheets/sheet1.xml", sheetText(2 << 20)},
        {"xl/media/blob.bin", randomBytes(300000, 9)},
        {"empty.txt", {}},
    };

    for (int level : {0, 6}) {
        SCOPED_TRACE(level);
        const fs::path path = dir / ("readers" + std::to_string(level) + ".zip");
        const fs::path expectedDir = dir / ("expected" + std::to_string(level));
        zip_t* zip = zip_open(path.c_str(), level, 'w');
        ASSERT_NE(zip, nullptr);
        for (const auto& [name, data] : written) {
            ASSERT_EQ(zip_entry_open(zip, name.c_str()), 0);
            writeInPieces(zip, data);
            ASSERT_EQ(zip_entry_close(zip), 0);
            writeFile(expectedDir / name, data);
        }
        ASSERT_EQ(zip_entry_open(zip, "copied\\data.csv"), 0);
        ASSERT_EQ(zip_entry_fwrite(zip, copiedSource.c_str()), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        writeFile(expectedDir / "copied" / "data.csv", csv);
        zip_close(zip);

        const CommandResult unzip = run("unzip -t '" + path.string() + "'");
        EXPECT_EQ(unzip.exitCode, 0) << unzip.output;
        EXPECT_NE(unzip.output.find("No errors detected"), std::string::npos) << unzip.output;

        const CommandResult python = run(std::string(PYTHON3_EXECUTABLE) + " '" ZIP_CHECK_SCRIPT "' '"
                                         + path.string() + "' '" + expectedDir.string() + "'");
        ASSERT_EQ(python.exitCode, 0) << python.output;
        const std::string method = level == 0 ? " 0 " : " 8 ";
        EXPECT_NE(python.output.find("copied/data.csv" + method + "2021-06-15T13:45:30 81a40001\n"), std::string::npos)
            << python.output;
        EXPECT_NE(python.output.find("xl/media/blob.bin" + method), std::string::npos) << python.output;
    }
}

} // namespace
