// Part files deflated on worker threads: the streams, their CRC and length, their independence
// from the number of workers, and archive entries joined from a head and a deflated part.

#include "deflateworkers.h"
#include "partfile.h"
#include "python.h"
#include "zip.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

std::string readFile(const QString& path)
{
    std::ifstream in(path.toStdString(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string inflateRaw(const std::string& compressed)
{
    std::string out;
    z_stream stream{};
    inflateInit2(&stream, -15);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    char buffer[65536];
    int status = Z_OK;
    while (status == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(buffer);
        stream.avail_out = sizeof buffer;
        status = inflate(&stream, Z_NO_FLUSH);
        out.append(buffer, sizeof buffer - stream.avail_out);
    }
    const bool whole = status == Z_STREAM_END && stream.avail_in == 0;
    inflateEnd(&stream);
    if (!whole)
        throw std::runtime_error("broken raw deflate stream or trailing bytes");
    return out;
}

std::uint32_t crcOf(const std::string& text)
{
    return static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())));
}

// Three sheet-like texts written the way frames arrive: a row of each in turn, with a piece
// larger than the buffer in the middle of the second. Returns the texts written.
std::array<std::string, 3> writeSheets(std::array<xlsx::PartFile, 3>& files)
{
    std::array<std::string, 3> texts;
    for (int row = 1; row <= 40000; ++row) {
        for (int f = 0; f < 3; ++f) {
            std::string piece = "<row r=\"" + std::to_string(row) + "\"><c><v>" + std::to_string(row * (f + 3) % 977)
                + "</v></c></row>";
            if (f == 1 && row == 20000)
                piece += std::string(xlsx::PartFile::BufferSize * 3 + 17, 'x');
            files[f].write(piece);
            texts[f] += piece;
        }
    }
    return texts;
}

TEST(DeflatedPartFile, StreamsAreTheTextAndTheSameWithAnyNumberOfWorkers)
{
    QTemporaryDir dir;
    std::array<std::string, 3> oneWorker;
    for (int workers : {1, 3}) {
        SCOPED_TRACE(workers);
        xlsx::DeflateWorkers deflate(6, xlsx::PartFile::BufferSize, workers);
        std::array<xlsx::PartFile, 3> files;
        auto path = [&](int f) { return dir.filePath(QStringLiteral("w%1-%2.xml").arg(workers).arg(f)); };
        for (int f = 0; f < 3; ++f)
            files[f].open(path(f), deflate);
        const std::array<std::string, 3> texts = writeSheets(files);
        for (int f = 0; f < 3; ++f) {
            files[f].close();
            const std::string stream = readFile(path(f));
            EXPECT_TRUE(files[f].isDeflated());
            EXPECT_EQ(inflateRaw(stream), texts[f]);
            EXPECT_EQ(files[f].deflatedText().crc, crcOf(texts[f]));
            EXPECT_EQ(files[f].deflatedText().length, texts[f].size());
            EXPECT_LT(stream.size(), texts[f].size() / 3);
            if (workers == 1)
                oneWorker[f] = stream;
            else
                EXPECT_TRUE(stream == oneWorker[f]) << "file " << f << " differs from the one-worker stream";
        }
    }
}

TEST(DeflatedPartFile, AbandonedStreamsStopAndTheWorkersEnd)
{
    QTemporaryDir dir;
    auto deflate = std::make_unique<xlsx::DeflateWorkers>(6, xlsx::PartFile::BufferSize, 2);
    std::array<xlsx::PartFile, 3> files;
    for (int f = 0; f < 3; ++f)
        files[f].open(dir.filePath(QStringLiteral("a%1.xml").arg(f)), *deflate);
    writeSheets(files);
    files[0].abandon();
    files[1].close();
    EXPECT_FALSE(files[0].isOpen());
    // The third file goes with its stream unfinished when the workers end.
    files[2].abandon();
    deflate.reset();
    EXPECT_NO_THROW(inflateRaw(readFile(dir.filePath(QStringLiteral("a1.xml")))));
}

// A worksheet entry joined at packaging: a head deflated with a sync flush (non-final blocks
// ending on a byte boundary), then the deflated part as it is in its file.
TEST(DeflatedPartFile, ArchiveEntryJoinsAHeadAndTheDeflatedPart)
{
    QTemporaryDir dir;
    const std::string head = "<?xml version=\"1.0\"?><worksheet><dimension ref=\"A1:C40000\"/>";
    std::string headStream(1024, '\0');
    z_stream z{};
    deflateInit2(&z, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(head.data()));
    z.avail_in = static_cast<uInt>(head.size());
    z.next_out = reinterpret_cast<Bytef*>(headStream.data());
    z.avail_out = static_cast<uInt>(headStream.size());
    ASSERT_EQ(deflate(&z, Z_SYNC_FLUSH), Z_OK);
    headStream.resize(z.total_out);
    deflateEnd(&z);

    xlsx::DeflateWorkers deflate(6, xlsx::PartFile::BufferSize, 1);
    std::array<xlsx::PartFile, 3> files;
    for (int f = 0; f < 3; ++f)
        files[f].open(dir.filePath(QStringLiteral("j%1.xml").arg(f)), deflate);
    const std::string body = writeSheets(files)[0];
    for (xlsx::PartFile& file : files)
        file.close();

    const QString archivePath = dir.filePath(QStringLiteral("joined.zip"));
    zip_t* zip = zip_open(archivePath.toUtf8().constData(), 6, 'w');
    ASSERT_NE(zip, nullptr);
    ASSERT_EQ(zip_entry_open(zip, "sheet.xml"), 0);
    ASSERT_EQ(zip_entry_write_deflated(zip, headStream.data(), headStream.size(), crcOf(head), head.size()), 0);
    ASSERT_EQ(zip_entry_fwrite_deflated(zip, dir.filePath(QStringLiteral("j0.xml")).toUtf8().constData(), files[0].deflatedText().crc,
                  files[0].deflatedText().length),
        0);
    EXPECT_EQ(zip_entry_write(zip, "x", 1), ZIP_EINVENTTYPE);
    ASSERT_EQ(zip_entry_close(zip), 0);
    ASSERT_EQ(zip_entry_open(zip, "plain.xml"), 0);
    ASSERT_EQ(zip_entry_write(zip, head.data(), head.size()), 0);
    EXPECT_EQ(zip_entry_write_deflated(zip, headStream.data(), headStream.size(), crcOf(head), head.size()),
        ZIP_EINVENTTYPE);
    ASSERT_EQ(zip_entry_close(zip), 0);
    zip_close(zip);

    // zip_check.py walks the archive and reads both entries, checking their CRCs and sizes.
    const QString expected = dir.filePath(QStringLiteral("expected"));
    ASSERT_TRUE(QDir().mkpath(expected));
    for (const auto& [name, text] : {std::pair{"/sheet.xml", head + body}, std::pair{"/plain.xml", head}}) {
        QFile file(expected + QLatin1String(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.data(), static_cast<qint64>(text.size()));
    }
    const PythonRun check = runPython({QStringLiteral(ZIP_CHECK_SCRIPT), archivePath, expected});
    EXPECT_TRUE(check.ok) << check.out.toStdString() << check.err.toStdString();
}

} // namespace
