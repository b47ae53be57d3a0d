// The archive writer through its public functions, and worksheet parts deflated on worker
// threads packed into it. Archives are read back by zip_check.py (layout, headers against
// directory records, CRCs and contents through Python's zipfile, and `unzip -t`).

#include "deflateworkers.h"
#include "partfile.h"
#include "python.h"
#include "sheetstream.h"
#include "zip.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Bytes = std::string;

// An entry as zip_check.py lists it.
struct Listed
{
    std::string name;
    int method, versionNeeded, flags;
    std::time_t stamp;
    std::size_t storedSize;
    std::string attributes, madeBy, storedDigest;
};

// Checks the archive (and its contents against `expectedDir`, if given) and lists its entries.
std::vector<Listed> checkArchive(const fs::path& archive, const fs::path& expectedDir = {})
{
    QStringList arguments{QStringLiteral(ZIP_CHECK_SCRIPT), QString::fromStdString(archive.string())};
    if (!expectedDir.empty())
        arguments << QString::fromStdString(expectedDir.string());
    const PythonRun check = runPython(arguments);
    EXPECT_TRUE(check.ok) << check.err.toStdString();
    std::vector<Listed> entries;
    std::istringstream lines(check.out.toStdString());
    for (Listed e; lines >> e.name >> e.method >> e.versionNeeded >> e.flags >> e.stamp >> e.storedSize >> e.attributes >> e.madeBy >> e.storedDigest;)
        entries.push_back(e);
    return entries;
}

Bytes randomBytes(std::size_t size, unsigned seed)
{
    std::mt19937 engine(seed);
    Bytes bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(engine()); });
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

Bytes readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// Three sheet-like texts written the way frames arrive: a row of each in turn, with a piece
// larger than the buffer in the middle of the second. Returns the texts written.
std::array<Bytes, 3> writeSheets(std::array<xlsx::PartFile, 3>& files)
{
    std::array<Bytes, 3> texts;
    for (int row = 1; row <= 40000; ++row) {
        for (int f = 0; f < 3; ++f) {
            Bytes piece = "<row r=\"" + std::to_string(row) + "\"><c><v>" + std::to_string(row * (f + 3) % 977) + "</v></c></row>";
            if (f == 1 && row == 20000)
                piece += Bytes(xlsx::PartFile::BufferSize * 3 + 17, 'x');
            files[f].write(piece);
            texts[f] += piece;
        }
    }
    return texts;
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

    QTemporaryDir temporary;
    const fs::path dir = temporary.path().toStdString();
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
    EXPECT_TRUE(checkArchive(path).empty());
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
    // Deflated pieces and plain bytes do not mix in one entry.
    const char emptyFinalBlock[] = {3, 0};
    ASSERT_EQ(zip_entry_open(zip, "deflated"), 0);
    ASSERT_EQ(zip_entry_write_deflated(zip, emptyFinalBlock, 2, 0, 0), 0);
    EXPECT_EQ(zip_entry_write(zip, data, 1), ZIP_EINVENTTYPE);
    EXPECT_EQ(zip_entry_fwrite(zip, "/etc/hostname"), ZIP_EINVENTTYPE);
    ASSERT_EQ(zip_entry_open(zip, "plain"), 0);
    ASSERT_EQ(zip_entry_write(zip, data, 1), 0);
    EXPECT_EQ(zip_entry_write_deflated(zip, emptyFinalBlock, 2, 0, 0), ZIP_EINVENTTYPE);
    zip_close(zip);
    close(socketFd);

    EXPECT_STREQ(zip_strerror(-1), "not initialized");
    EXPECT_STREQ(zip_strerror(-6), "no zip 64 support");
    EXPECT_STREQ(zip_strerror(-29), "fwrite error");
    for (int code : {1, 0, -30})
        EXPECT_EQ(zip_strerror(code), nullptr) << code;
}

// At every kind of level, entries written from memory, copied from files (taking their time and
// mode), and abandoned (by opening the next entry, or by closing the archive while one is open).
TEST_F(zip_writer, EveryKindOfEntryReadsBackAtEveryLevel)
{
    const std::time_t moment = 1623764730; // an even second: DOS times count in two seconds
    const Bytes csv = sheetText(150000);   // several copy chunks
    const fs::path readOnly = makeFile("source/data.csv", csv, 0444, moment);
    const Bytes script = "#!/bin/sh\necho hi\n";
    const fs::path executable = makeFile("source/run.sh", script, 0755, moment + 3600);
    const Bytes prefix = "# prefix\n";
    const Bytes dropped = randomBytes(200000, 5);
    const Bytes sheet = sheetText(4 << 20);
    const std::vector<std::pair<std::string, Bytes>> fromMemory = {{"xl/a/b.xml", "<?xml version=\"1.0\"?><a/>"},
        {"xl/worksheets/sheet1.xml", sheet}, {"xl/media/blob.bin", randomBytes(4 << 20, 9)}, {"empty.txt", {}}};
    const fs::path expectedDir = dir / "expected";
    for (const auto& [name, data] : fromMemory)
        writeFile(expectedDir / name, data);
    writeFile(expectedDir / "copied/data.csv", csv);
    writeFile(expectedDir / "bin/run.sh", prefix + script);

    std::map<int, Listed> listedSheet;
    for (int level : {-1, 0, 1, 2, 4, 5, 6, 10}) {
        SCOPED_TRACE(level);
        const fs::path path = dir / ("entries" + std::to_string(level) + ".zip");
        const std::time_t before = std::time(nullptr);
        zip_t* zip = zip_open(path.c_str(), level, 'w');
        ASSERT_NE(zip, nullptr);
        ASSERT_EQ(zip_entry_open(zip, "dropped.bin"), 0);
        ASSERT_EQ(zip_entry_write(zip, dropped.data(), dropped.size()), 0);
        for (const auto& [name, data] : fromMemory) {
            ASSERT_EQ(zip_entry_open(zip, name == "xl/a/b.xml" ? "xl\\a\\b.xml" : name.c_str()), 0);
            writeInPieces(zip, data);
            ASSERT_EQ(zip_entry_close(zip), 0);
        }
        ASSERT_EQ(zip_entry_open(zip, "copied/data.csv"), 0);
        ASSERT_EQ(zip_entry_fwrite(zip, readOnly.c_str()), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        ASSERT_EQ(zip_entry_open(zip, "bin/run.sh"), 0);
        ASSERT_EQ(zip_entry_write(zip, prefix.data(), prefix.size()), 0);
        ASSERT_EQ(zip_entry_fwrite(zip, executable.c_str()), 0);
        ASSERT_EQ(zip_entry_close(zip), 0);
        ASSERT_EQ(zip_entry_open(zip, "unclosed.bin"), 0);
        ASSERT_EQ(zip_entry_write(zip, dropped.data(), dropped.size()), 0);
        zip_close(zip);
        const std::time_t after = std::time(nullptr);

        // The entries follow each other from offset 0: the dropped entry's bytes are written over.
        const std::vector<Listed> entries = checkArchive(path, expectedDir);
        ASSERT_EQ(entries.size(), fromMemory.size() + 2);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const Listed& entry = entries[i];
            SCOPED_TRACE(entry.name);
            EXPECT_EQ(entry.method, level == 0 ? 0 : 8);
            EXPECT_EQ(entry.versionNeeded, level == 0 ? 0 : 20);
            EXPECT_EQ(entry.flags, 0);
            EXPECT_EQ(entry.madeBy.substr(0, 2), "03"); // Unix, so the mode bits count
            if (i < fromMemory.size()) {
                EXPECT_EQ(entry.name, fromMemory[i].first);
                EXPECT_EQ(entry.attributes, "81a40000");
                EXPECT_GE(entry.stamp, before - 2);
                EXPECT_LE(entry.stamp, after);
            }
        }
        // 0444 and 0755 are ORed into 0644; the read-only file also gets the DOS read-only bit.
        const auto copied = [&](std::size_t i) { return std::tie(entries[i].name, entries[i].stamp, entries[i].attributes); };
        EXPECT_EQ(copied(4), std::make_tuple("copied/data.csv", moment, "81a40001"));
        EXPECT_EQ(copied(5), std::make_tuple("bin/run.sh", moment + 3600, "81ed0000"));
        listedSheet[level] = entries[1];
    }

    EXPECT_EQ(listedSheet[0].storedSize, sheet.size()); // stored as it is
    // A negative level means the default, 6; 6..10, 2..5 and 1 are three different settings.
    const auto stored = [&](int level) { return listedSheet[level].storedDigest; };
    EXPECT_EQ(stored(-1), stored(6));
    EXPECT_EQ(stored(10), stored(6));
    EXPECT_EQ(stored(2), stored(5));
    EXPECT_EQ(stored(4), stored(5));
    EXPECT_NE(stored(1), stored(2));
    EXPECT_NE(stored(5), stored(6));
    EXPECT_GE(listedSheet[1].storedSize, listedSheet[6].storedSize);
    EXPECT_LT(listedSheet[6].storedSize, sheet.size() / 2);
}

// Part files deflated on worker threads while they are written, packed as worksheet entries
// behind their deflated heads: the entries read back as their text, and the streams do not
// depend on the number of workers.
TEST_F(zip_writer, DeflatedPartsPackAsTheirTextWithAnyNumberOfWorkersAndStopWhenAbandoned)
{
    std::array<Bytes, 3> oneWorker;
    for (int workers : {1, 3}) {
        SCOPED_TRACE(workers);
        const fs::path folder = dir / std::to_string(workers), expected = folder / "expected";
        fs::create_directories(expected);
        xlsx::DeflateWorkers deflate(6, xlsx::PartFile::BufferSize, workers);
        std::array<xlsx::PartFile, 3> files;
        auto path = [&](int f) { return folder / (std::to_string(f) + ".xml"); };
        for (int f = 0; f < 3; ++f)
            files[f].open(QString::fromStdString(path(f).string()), deflate);
        const std::array<Bytes, 3> texts = writeSheets(files);
        zip_t* zip = zip_open((folder / "book.zip").c_str(), 6, 'w');
        ASSERT_NE(zip, nullptr);
        for (int f = 0; f < 3; ++f) {
            files[f].close();
            ASSERT_TRUE(files[f].isDeflated());
            const Bytes stream = readFile(path(f));
            EXPECT_LT(stream.size(), texts[f].size() / 3);
            if (workers == 1)
                oneWorker[f] = stream;
            else
                EXPECT_TRUE(stream == oneWorker[f]) << "file " << f << " differs from the one-worker stream";
            const xlsx::SheetStream::Part part{f + 1, {40000, f + 1}, files[f].deflatedText()};
            xlsx::addWorksheetToZip(zip, path(f).filename().c_str(), part, path(f).c_str(), 6);
            writeFile(expected / path(f).filename(), xlsx::worksheetHead(part.extent) + texts[f]);
        }
        zip_close(zip);
        EXPECT_EQ(checkArchive(folder / "book.zip", expected).size(), 3u);
    }

    // Abandoned streams stop (the third one unfinished when the workers end) and leave the
    // others whole.
    auto deflate = std::make_unique<xlsx::DeflateWorkers>(6, xlsx::PartFile::BufferSize, 2);
    std::array<xlsx::PartFile, 3> files;
    for (int f = 0; f < 3; ++f)
        files[f].open(QString::fromStdString((dir / (std::to_string(f) + ".abandoned")).string()), *deflate);
    writeSheets(files);
    files[0].abandon();
    files[1].close();
    EXPECT_FALSE(files[0].isOpen());
    files[2].abandon();
    deflate.reset();
    EXPECT_TRUE(readFile(dir / "1.abandoned") == oneWorker[1]);
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

    const std::vector<Listed> entries = checkArchive(path);
    ASSERT_EQ(entries.size(), 65535u);
    EXPECT_EQ(entries.back().name, "65534");
}

} // namespace
