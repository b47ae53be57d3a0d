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

// Archive and entry contents as bytes in a string.
using Bytes = std::string;
using Contents = std::vector<std::pair<std::string, Bytes>>;

Bytes inflateRaw(const Bytes& compressed, std::size_t expectedSize)
{
    Bytes out(expectedSize + 1, '\0');
    z_stream stream{};
    if (inflateInit2(&stream, -15) != Z_OK)
        throw std::runtime_error("inflateInit2 failed");
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int status = inflate(&stream, Z_FINISH);
    const bool consumedAll = stream.avail_in == 0;
    out.resize(stream.total_out);
    inflateEnd(&stream);
    if (status != Z_STREAM_END || !consumedAll)
        throw std::runtime_error("raw deflate stream is broken or has trailing bytes");
    return out;
}

// The fields a local header and its central-directory record both carry, in their order.
struct SharedFields
{
    std::uint16_t versionNeeded, flags, method, time, date;
    std::uint32_t crc, compressedSize, uncompressedSize;
    std::uint16_t nameLength, extraLength;
    bool operator==(const SharedFields&) const = default;
};

struct Entry
{
    SharedFields central, local;
    std::uint16_t versionMadeBy, commentLength;
    std::uint32_t externalAttributes, headerOffset;
    std::string name, localName;
    Bytes data; // as stored after the local header

    Bytes contents() const { return central.method == 8 ? inflateRaw(data, central.uncompressedSize) : data; }
};

Bytes readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

struct Reader
{
    const Bytes& bytes;
    std::size_t at;

    Bytes take(std::size_t count)
    {
        if (at + count > bytes.size())
            throw std::runtime_error("archive truncated at offset " + std::to_string(at));
        at += count;
        return bytes.substr(at - count, count);
    }
    std::uint32_t littleEndian(std::size_t size)
    {
        const Bytes field = take(size);
        std::uint32_t value = 0;
        for (std::size_t i = size; i-- > 0;)
            value = value << 8 | static_cast<std::uint8_t>(field[i]);
        return value;
    }
    std::uint16_t u16() { return static_cast<std::uint16_t>(littleEndian(2)); }
    std::uint32_t u32() { return littleEndian(4); }
    void expect(std::uint32_t value, const char* what)
    {
        if (u32() != value)
            throw std::runtime_error(what);
    }
    SharedFields shared() { return {u16(), u16(), u16(), u16(), u16(), u32(), u32(), u32(), u16(), u16()}; }
};

// Reads an archive laid out as this writer lays it out, or throws: entries back to back from
// offset 0, the central directory right after the last, then the end record. Walks the end
// record, the directory and every local header, as a reader would.
std::vector<Entry> parseArchive(const fs::path& path)
{
    const Bytes bytes = readFile(path);
    if (bytes.size() < 22)
        throw std::runtime_error("no end record");
    Reader end{bytes, bytes.size() - 22};
    end.expect(0x06054b50, "bad end record");
    end.expect(0, "archive spans disks");
    const std::uint16_t entriesOnDisk = end.u16(), totalEntries = end.u16();
    const std::uint32_t directorySize = end.u32(), directoryOffset = end.u32();
    if (end.u16() != 0 || entriesOnDisk != totalEntries || directoryOffset + directorySize != bytes.size() - 22)
        throw std::runtime_error("end record fields do not match the archive");
    std::vector<Entry> entries;
    Reader directory{bytes, directoryOffset};
    std::size_t entriesEnd = 0;
    for (unsigned i = 0; i < totalEntries; ++i) {
        directory.expect(0x02014b50, "bad central record signature");
        Entry entry{};
        entry.versionMadeBy = directory.u16();
        entry.central = directory.shared();
        entry.commentLength = directory.u16();
        directory.expect(0, "disk start or internal attributes set");
        entry.externalAttributes = directory.u32();
        entry.headerOffset = directory.u32();
        entry.name = directory.take(entry.central.nameLength + entry.central.extraLength + entry.commentLength);
        if (entry.headerOffset != entriesEnd)
            throw std::runtime_error("entry " + entry.name + " does not follow the one before");

        Reader local{bytes, entry.headerOffset};
        local.expect(0x04034b50, "bad local header signature");
        entry.local = local.shared();
        entry.localName = local.take(entry.local.nameLength + entry.local.extraLength);
        entry.data = local.take(entry.local.compressedSize);
        entriesEnd = local.at;
        entries.push_back(std::move(entry));
    }
    if (entriesEnd != directoryOffset || directory.at != directoryOffset + directorySize)
        throw std::runtime_error("the directory does not follow the entries or its size does not match its records");
    return entries;
}

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

std::time_t fromDos(const SharedFields& fields)
{
    return localMoment((fields.date >> 9) + 1980, (fields.date >> 5) & 0x0F, fields.date & 0x1F, fields.time >> 11,
        (fields.time >> 5) & 0x3F, (fields.time & 0x1F) * 2);
}

struct CommandResult
{
    int exitCode;
    std::string output;
};

CommandResult run(const std::string& command)
{
    CommandResult result{-1, {}};
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return result;
    char buffer[4096];
    while (std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        result.output.append(buffer, count);
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

Bytes randomBytes(std::size_t size, unsigned seed)
{
    std::mt19937 engine(seed);
    Bytes bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(engine());
    return bytes;
}

// Worksheet-like XML: repetitive markup around varying numbers, like a recording's rows.
Bytes sheetText(std::size_t minimumSize)
{
    Bytes text;
    for (int row = 1; text.size() < minimumSize; ++row)
        text += "<row r=\"" + std::to_string(row) + "\"><c><v>" + std::to_string(row * 7919 % 1013) + "</v></c></row>";
    return text;
}

void writeFile(const fs::path& path, const Bytes& bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

// Writes all of `data` in pieces of irregular sizes, from single bytes to a megabyte, after
// two writes that must change nothing.
void writeInPieces(zip_t* zip, const Bytes& data)
{
    ASSERT_EQ(zip_entry_write(zip, data.data(), 0), 0);
    ASSERT_EQ(zip_entry_write(zip, nullptr, 5), 0);
    static const std::size_t pieceSizes[] = {1, 7, 4096, 65536, 100003, 1 << 20, 13};
    for (std::size_t i = 0, done = 0; done < data.size(); ++i) {
        const std::size_t piece = std::min(pieceSizes[i % std::size(pieceSizes)], data.size() - done);
        ASSERT_EQ(zip_entry_write(zip, data.data() + done, piece), 0);
        done += piece;
    }
}

// Named after the module so that `ctest -R zip` selects these tests.
class zip_writer : public ::testing::Test
{
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
        fs::remove_all(dir, ignored);
    }

    // A file with the given contents, mode and modification time.
    fs::path makeFile(const std::string& name, const Bytes& contents, mode_t mode, std::time_t modified)
    {
        const fs::path path = dir / name;
        writeFile(path, contents);
        const utimbuf times{modified, modified};
        EXPECT_EQ(utime(path.c_str(), &times), 0);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    fs::path dir;
};

TEST_F(zip_writer, MisuseAndFailuresGiveNullOrTheirCodes)
{
    const fs::path path = dir / "a.zip";
    EXPECT_EQ(zip_open(nullptr, 6, 'w'), nullptr);
    EXPECT_EQ(zip_open("", 6, 'w'), nullptr);
    EXPECT_EQ(zip_open((dir / "missing" / "a.zip").c_str(), 6, 'w'), nullptr);
    for (int level : {11, 15})
        EXPECT_EQ(zip_open(path.c_str(), level, 'w'), nullptr) << level;
    for (char mode : {'x', 'r', 'a', 'd'})
        EXPECT_EQ(zip_open(path.c_str(), 6, mode), nullptr) << mode;

    const char data[] = "x";
    EXPECT_EQ(zip_entry_open(nullptr, "a"), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_write(nullptr, data, 1), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_fwrite(nullptr, "/etc/hostname"), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_close(nullptr), ZIP_ENOINIT);
    EXPECT_EQ(zip_close(nullptr), ZIP_ENOINIT);
    // The end record cannot reach a full device: closing says so.
    EXPECT_EQ(zip_close(zip_open("/dev/full", 6, 'w')), ZIP_EWRTDIR);

    // The flag for precompressed data is accepted by open but refused for entries.
    zip_t* zip = zip_open(path.c_str(), 6 | ZIP_FLAG_COMPRESSED_DATA, 'w');
    ASSERT_NE(zip, nullptr);
    EXPECT_EQ(zip_entry_open(zip, "a.xml"), ZIP_EINVLVL);
    EXPECT_EQ(zip_entry_write(zip, data, 1), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_close(zip), ZIP_ENOINIT);
    EXPECT_EQ(zip_entry_open(zip, nullptr), ZIP_EINVENTNAME);
    EXPECT_EQ(zip_entry_open(zip, ""), ZIP_EINVENTNAME);
    EXPECT_EQ(zip_close(zip), 0);
    EXPECT_TRUE(parseArchive(path).empty());
    EXPECT_EQ(fs::file_size(path), 22u); // an end record and nothing else

    const fs::path socketPath = dir / "sock";
    const int socketFd = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(socketFd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socketFd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    zip = zip_open(path.c_str(), 6, 'w');
    ASSERT_NE(zip, nullptr);
    EXPECT_EQ(zip_entry_fwrite(zip, socketPath.c_str()), ZIP_ENOINIT); // no entry open
    ASSERT_EQ(zip_entry_open(zip, "x"), 0);
    EXPECT_EQ(zip_entry_fwrite(zip, (dir / "missing.bin").c_str()), ZIP_ENOENT);
    EXPECT_EQ(zip_entry_fwrite(zip, nullptr), ZIP_ENOENT);
    EXPECT_EQ(zip_entry_fwrite(zip, socketPath.c_str()), ZIP_EOPNFILE); // exists, cannot be opened
    EXPECT_EQ(zip_entry_fwrite(zip, dir.c_str()), ZIP_EWRTENT);         // opens, cannot be read
    zip_close(zip);
    close(socketFd);

    const std::pair<int, const char*> messages[] = {{-1, "not initialized"}, {-6, "no zip 64 support"},
        {-8, "cannot write data to entry"}, {-16, "cannot open file"}, {-18, "extracting data using no memory allocation"},
        {-29, "fwrite error"}};
    for (const auto& [code, message] : messages)
        EXPECT_STREQ(zip_strerror(code), message);
    for (int code : {1, 0, -30})
        EXPECT_EQ(zip_strerror(code), nullptr) << code;
}

// At every kind of level, entries written from memory, copied from files (taking their time and
// mode), and abandoned (by opening the next entry, or by closing the archive while one is open),
// read back by the parser, by zlib, by unzip and by Python's zipfile (which check the CRCs).
TEST_F(zip_writer, EveryKindOfEntryReadsBackAtEveryLevel)
{
    const std::time_t moment = localMoment(2021, 6, 15, 13, 45, 30);
    const Bytes csv = sheetText(150000); // several copy chunks
    const fs::path readOnly = makeFile("source/data.csv", csv, 0444, moment);
    const fs::path script = makeFile("source/run.sh", "#!/bin/sh\necho hi\n", 0755, moment + 3600);
    const Bytes prefix = "# prefix\n";
    const Bytes dropped = randomBytes(200000, 5);
    Contents expected = {{"xl/a/b.xml", "<?xml version=\"1.0\"?><a/>"},
        {"xl/worksheets/sheet1.xml", sheetText(4 << 20)},
        {"xl/media/blob.bin", randomBytes(4 << 20, 9)},
        {"empty.txt", {}}};
    const std::size_t fromMemory = expected.size();
    expected.insert(expected.end(), {{"copied/data.csv", csv}, {"bin/run.sh", prefix + readFile(script)}});
    const fs::path expectedDir = dir / "expected";
    for (const auto& [name, data] : expected)
        writeFile(expectedDir / name, data);

    std::map<int, Bytes> compressedSheet;
    for (int level : {-1, 0, 1, 2, 4, 5, 6, 10}) {
        SCOPED_TRACE(level);
        const fs::path path = dir / ("entries" + std::to_string(level) + ".zip");
        const std::time_t before = std::time(nullptr);
        zip_t* zip = zip_open(path.c_str(), level, 'w');
        ASSERT_NE(zip, nullptr);
        ASSERT_EQ(zip_entry_open(zip, "dropped.bin"), 0);
        ASSERT_EQ(zip_entry_write(zip, dropped.data(), dropped.size()), 0);
        for (std::size_t i = 0; i < fromMemory; ++i) {
            ASSERT_EQ(zip_entry_open(zip, i == 0 ? "xl\\a\\b.xml" : expected[i].first.c_str()), 0);
            writeInPieces(zip, expected[i].second);
            ASSERT_EQ(zip_entry_close(zip), 0);
        }
        ASSERT_EQ(zip_entry_open(zip, "copied/data.csv"), 0);
        ASSERT_EQ(zip_entry_fwrite(zip, readOnly.c_str()), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        ASSERT_EQ(zip_entry_open(zip, "bin/run.sh"), 0);
        ASSERT_EQ(zip_entry_write(zip, prefix.data(), prefix.size()), 0);
        ASSERT_EQ(zip_entry_fwrite(zip, script.c_str()), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        ASSERT_EQ(zip_entry_open(zip, "unclosed.bin"), 0);
        ASSERT_EQ(zip_entry_write(zip, dropped.data(), dropped.size()), 0);
        zip_close(zip);
        const std::time_t after = std::time(nullptr);

        // The entries follow each other from offset 0: the dropped entry's bytes are written over.
        const std::vector<Entry> entries = parseArchive(path);
        ASSERT_EQ(entries.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const auto& [name, data] = expected[i];
            const Entry& entry = entries[i];
            SCOPED_TRACE(name);
            EXPECT_EQ(entry.name, name);
            EXPECT_EQ(entry.localName, name);
            EXPECT_TRUE(entry.local == entry.central);
            EXPECT_EQ(entry.central.versionNeeded, level == 0 ? 0 : 20);
            EXPECT_EQ(entry.central.method, level == 0 ? 0 : 8);
            EXPECT_EQ(entry.central.flags, 0);
            EXPECT_EQ(entry.central.extraLength, 0);
            EXPECT_EQ(entry.commentLength, 0);
            EXPECT_EQ(entry.central.uncompressedSize, data.size());
            EXPECT_TRUE(entry.contents() == data);
            EXPECT_EQ(entry.versionMadeBy >> 8, 3); // Unix, so the mode bits count
            if (i < fromMemory) {
                EXPECT_EQ(entry.externalAttributes, 0x81A40000u);
                EXPECT_GE(fromDos(entry.central), before - 2);
                EXPECT_LE(fromDos(entry.central), after);
            }
        }
        compressedSheet[level] = entries[1].data;

        const CommandResult unzip = run("unzip -t '" + path.string() + "'");
        EXPECT_EQ(unzip.exitCode, 0) << unzip.output;
        EXPECT_NE(unzip.output.find("No errors detected"), std::string::npos) << unzip.output;
        const CommandResult python = run(std::string(TAVI_PYTHON3) + " '" ZIP_CHECK_SCRIPT "' '"
            + path.string() + "' '" + expectedDir.string() + "'");
        ASSERT_EQ(python.exitCode, 0) << python.output;
        // 0444 and 0755 are ORed into 0644; the read-only file also gets the DOS read-only bit.
        const std::string method = level == 0 ? " 0 " : " 8 ";
        for (const std::string& line : {"copied/data.csv" + method + "2021-06-15T13:45:30 81a40001\n",
                 "bin/run.sh" + method + "2021-06-15T14:45:30 81ed0000\n"})
            EXPECT_NE(python.output.find(line), std::string::npos) << line << python.output;
    }

    const Bytes& sheet = expected[1].second;
    EXPECT_TRUE(compressedSheet[0] == sheet);
    // A negative level means the default, 6; 6..10, 2..5 and 1 are three different settings.
    EXPECT_TRUE(compressedSheet[-1] == compressedSheet[6]);
    EXPECT_TRUE(compressedSheet[10] == compressedSheet[6]);
    EXPECT_TRUE(compressedSheet[2] == compressedSheet[5]);
    EXPECT_TRUE(compressedSheet[4] == compressedSheet[5]);
    EXPECT_FALSE(compressedSheet[1] == compressedSheet[2]);
    EXPECT_FALSE(compressedSheet[5] == compressedSheet[6]);
    EXPECT_GE(compressedSheet[1].size(), compressedSheet[6].size());
    EXPECT_LT(compressedSheet[6].size(), sheet.size() / 2);
}

TEST_F(zip_writer, EntryCountStopsAtTheClassicLimit)
{
    const fs::path path = dir / "many.zip";
    zip_t* zip = zip_open(path.c_str(), 0, 'w');
    ASSERT_NE(zip, nullptr);
    for (int i = 0; i < 65535; ++i) {
        ASSERT_EQ(zip_entry_open(zip, std::to_string(i).c_str()), 0) << i;
        ASSERT_EQ(zip_entry_close(zip), 0) << i;
    }
    EXPECT_EQ(zip_entry_open(zip, "one-too-many"), ZIP_ENOSUP64);
    zip_close(zip);

    const std::vector<Entry> entries = parseArchive(path);
    ASSERT_EQ(entries.size(), 65535u);
    EXPECT_EQ(entries.back().name, "65534");
    const CommandResult count = run(std::string(TAVI_PYTHON3)
        + " -c 'import sys, zipfile; print(len(zipfile.ZipFile(sys.argv[1]).infolist()))' '" + path.string() + "'");
    EXPECT_EQ(count.exitCode, 0) << count.output;
    EXPECT_EQ(count.output, "65535\n");
}

} // namespace
