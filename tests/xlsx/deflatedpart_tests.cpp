// Part files deflated on worker threads while they are written, packed as worksheet entries
// behind their deflated heads: zip_check.py reads the entries back (CRC, length and text), and
// the streams do not depend on the number of workers.

#include "deflateworkers.h"
#include "partfile.h"
#include "python.h"
#include "sheetstream.h"
#include "zip.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace {

std::string readFile(const QString& path)
{
    std::ifstream in(path.toStdString(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
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

TEST(DeflatedPartFile, PacksAsItsTextWithAnyNumberOfWorkersAndStopsWhenAbandoned)
{
    QTemporaryDir dir;
    std::array<std::string, 3> oneWorker;
    for (int workers : {1, 3}) {
        SCOPED_TRACE(workers);
        const QString folder = dir.filePath(QString::number(workers)), expected = folder + QStringLiteral("/expected");
        ASSERT_TRUE(QDir().mkpath(expected));
        xlsx::DeflateWorkers deflate(6, xlsx::PartFile::BufferSize, workers);
        std::array<xlsx::PartFile, 3> files;
        auto path = [&](int f) { return folder + QStringLiteral("/%1.xml").arg(f); };
        for (int f = 0; f < 3; ++f)
            files[f].open(path(f), deflate);
        const std::array<std::string, 3> texts = writeSheets(files);
        const QString archivePath = folder + QStringLiteral("/book.zip");
        zip_t* zip = zip_open(archivePath.toUtf8().constData(), 6, 'w');
        ASSERT_NE(zip, nullptr);
        for (int f = 0; f < 3; ++f) {
            files[f].close();
            ASSERT_TRUE(files[f].isDeflated());
            const std::string stream = readFile(path(f));
            EXPECT_LT(stream.size(), texts[f].size() / 3);
            if (workers == 1)
                oneWorker[f] = stream;
            else
                EXPECT_TRUE(stream == oneWorker[f]) << "file " << f << " differs from the one-worker stream";
            const xlsx::SheetStream::Part part{f + 1, {40000, f + 1}, files[f].deflatedText()};
            const QString entry = QStringLiteral("%1.xml").arg(f);
            xlsx::addWorksheetToZip(zip, entry.toUtf8().constData(), part, path(f).toUtf8().constData(), 6);
            std::ofstream(QDir(expected).filePath(entry).toStdString(), std::ios::binary)
                << xlsx::worksheetHead(part.extent) + texts[f];
        }
        zip_close(zip);
        const PythonRun check = runPython({QStringLiteral(ZIP_CHECK_SCRIPT), archivePath, expected});
        EXPECT_TRUE(check.ok) << check.err.toStdString();
    }

    // Abandoned streams stop (the third one unfinished when the workers end) and leave the
    // others whole.
    auto deflate = std::make_unique<xlsx::DeflateWorkers>(6, xlsx::PartFile::BufferSize, 2);
    std::array<xlsx::PartFile, 3> files;
    for (int f = 0; f < 3; ++f)
        files[f].open(dir.filePath(QStringLiteral("a%1.xml").arg(f)), *deflate);
    writeSheets(files);
    files[0].abandon();
    files[1].close();
    EXPECT_FALSE(files[0].isOpen());
    files[2].abandon();
    deflate.reset();
    EXPECT_TRUE(readFile(dir.filePath(QStringLiteral("a1.xml"))) == oneWorker[1]);
}

} // namespace
