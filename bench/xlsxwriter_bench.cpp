// The same doubles in the same sheet shapes as a synthetic export, written through this
// project's worksheet layer (deflated while written, then packed) and through libxlsxwriter in
// constant-memory mode, alternated in one run; prints the times and the ratio.
//
// Usage: bench_xlsxwriter [FRAMES] [ROUNDS]   (default 2000 frames, 3 rounds)

#include "cellwriter.h"
#include "deflateworkers.h"
#include "packageparts.h"
#include "partfile.h"
#include "sheetstream.h"
#include "worksheet.h"
#include "zip.h"

#include <xlsxwriter.h>

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Columns of the data sheets of a synthetic export with every sheet on, and rows per frame
// (External Data holds about ten samples per frame).
struct Shape
{
    int columns;
    int rowsPerFrame;
};
const Shape Shapes[] = {{269, 1}, {202, 1}, {202, 1}, {82, 1}, {82, 1}, {82, 1}, {82, 1},
    {193, 1}, {193, 1}, {19, 1}, {19, 1}, {10, 1}, {4, 1}, {6, 10},
    {202, 1}, {202, 1}, {269, 1}, {202, 1}};

// Smooth motion-like values with 15 significant digits, the same for both writers.
double cellValue(int sheet, int row, int column)
{
    const double amplitude = std::pow(10.0, (column * 7 + sheet) % 6 - 2);
    return amplitude * std::sin(row * 0.013 * (1 + column % 5) + sheet + column * 0.7);
}

std::string headerText(int column)
{
    return "Column " + std::to_string(column);
}

struct Times
{
    double wall;
    double cpu;
};

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

template <typename Write>
Times timed(Write write)
{
    const double cpuBefore = cpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    write();
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), cpuSeconds() - cpuBefore};
}

void writeWithThisProject(const QString& folder, const QString& target, int frames)
{
    xlsx::DeflateWorkers workers(6, xlsx::PartFile::BufferSize);
    xlsx::CellWriter cells;
    std::vector<xlsx::SheetStream> sheets(std::size(Shapes));
    int sheet = 0;
    int nextSheetNumber = static_cast<int>(std::size(Shapes)) + 1; // none: no sheet passes the row limit
    for (const Shape& shape : Shapes) {
        xlsx::SheetStream& stream = sheets[sheet];
        stream.open(folder, sheet + 1, xlsx::SheetStream::MaxRows, &workers);
        QStringList headers;
        for (int c = 1; c <= shape.columns; ++c)
            headers.append(QString::fromStdString(headerText(c)));
        stream.writePrologue(cells, {}, headers);
        const int rows = frames * shape.rowsPerFrame;
        for (int i = 0; i < rows; ++i) {
            const int r = stream.nextRow(cells, nextSheetNumber);
            cells.newRow(stream, r, shape.columns);
            cells.writeInt(stream, r, 1, r - 2);
            for (int c = 2; c <= shape.columns; ++c)
                cells.writeNumber(stream, r, c, cellValue(sheet, r, c));
        }
        stream.finish();
        ++sheet;
    }

    xlsx::PartFile strings, workbook, contentTypes, app, rels;
    xlsx::createBasic(strings, folder + "/sharedStrings.xml");
    cells.writeSharedStringTable(strings);
    xlsx::createBasic(workbook, folder + "/workbook.xml");
    xlsx::createBasic(contentTypes, folder + "/[Content_Types].xml");
    xlsx::createBasic(app, folder + "/app.xml");
    xlsx::createBasic(rels, folder + "/workbook.xml.rels");
    xlsx::writeWorkbookHead(workbook);
    xlsx::writeContentTypesHead(contentTypes);
    xlsx::writeAppPropertiesHead(app, sheet);
    xlsx::writeWorkbookRelsHead(rels);
    for (int s = 1; s <= sheet; ++s) {
        xlsx::addSheet(s, "Sheet " + std::to_string(s), workbook, contentTypes, app);
        xlsx::addSheetRelationship(s, rels);
    }
    xlsx::writeWorkbookTail(workbook);
    xlsx::writeContentTypesTail(contentTypes);
    xlsx::writeAppPropertiesTail(app);
    xlsx::writeWorkbookRelsTail(rels, sheet + 1);

    zip_t* archive = zip_open(target.toUtf8().constData(), 6, 'w');
    if (!archive)
        throw std::runtime_error("cannot create the archive");
    const QByteArray core = xlsx::coreProperties(xlsx::corePropertiesTimestamp(QDateTime::currentDateTime()));
    const std::pair<const char*, std::string_view> fixed[] = {{"_rels/.rels", xlsx::PackageRelationships},
        {"docProps/core.xml", {core.constData(), std::size_t(core.size())}},
        {"xl/styles.xml", xlsx::StyleSheet},
        {"xl/theme/theme1.xml", xlsx::Theme}};
    for (const auto& [name, text] : fixed) {
        zip_entry_open(archive, name);
        zip_entry_write(archive, text.data(), text.size());
        zip_entry_close(archive);
    }
    const std::pair<const char*, const char*> parts[] = {{"[Content_Types].xml", "/[Content_Types].xml"},
        {"docProps/app.xml", "/app.xml"},
        {"xl/_rels/workbook.xml.rels", "/workbook.xml.rels"},
        {"xl/sharedStrings.xml", "/sharedStrings.xml"},
        {"xl/workbook.xml", "/workbook.xml"}};
    for (const auto& [name, file] : parts)
        xlsx::addFileToZip(archive, name, (folder + file).toUtf8().constData());
    for (int s = 0; s < sheet; ++s) {
        const QString path = folder + QStringLiteral("/sheet%1.xml").arg(s + 1);
        xlsx::addWorksheetToZip(archive, QStringLiteral("xl/worksheets/sheet%1.xml").arg(s + 1).toUtf8().constData(),
            sheets[s].parts().front(), path.toUtf8().constData(), 6);
    }
    zip_close(archive);
}

void writeWithXlsxWriter(const QString& folder, const QString& target, int frames)
{
    const QByteArray temporary = folder.toUtf8();
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    options.tmpdir = const_cast<char*>(temporary.constData());
    lxw_workbook* workbook = workbook_new_opt(target.toUtf8().constData(), &options);
    int sheet = 0;
    for (const Shape& shape : Shapes) {
        const std::string title = "Sheet " + std::to_string(sheet + 1);
        lxw_worksheet* worksheet = workbook_add_worksheet(workbook, title.c_str());
        for (int c = 1; c <= shape.columns; ++c)
            worksheet_write_string(worksheet, 0, static_cast<lxw_col_t>(c - 1), headerText(c).c_str(), nullptr);
        const int rows = frames * shape.rowsPerFrame;
        for (int r = 2; r <= rows + 1; ++r) {
            worksheet_write_number(worksheet, static_cast<lxw_row_t>(r - 1), 0, r - 2, nullptr);
            for (int c = 2; c <= shape.columns; ++c)
                worksheet_write_number(worksheet, static_cast<lxw_row_t>(r - 1), static_cast<lxw_col_t>(c - 1),
                    cellValue(sheet, r, c), nullptr);
        }
        ++sheet;
    }
    if (workbook_close(workbook) != LXW_NO_ERROR)
        throw std::runtime_error("libxlsxwriter could not write the workbook");
}

} // namespace

int main(int argc, char** argv)
{
    const int frames = argc > 1 ? std::atoi(argv[1]) : 2000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    std::vector<Times> ours, theirs;
    qint64 ourSize = 0, theirSize = 0;
    for (int round = 0; round < rounds; ++round) {
        for (int turn = 0; turn < 2; ++turn) {
            const bool oursFirst = round % 2 == 0;
            QTemporaryDir dir;
            const QString target = dir.filePath(QStringLiteral("bench.xlsx"));
            if ((turn == 0) == oursFirst) {
                ours.push_back(timed([&] { writeWithThisProject(dir.path(), target, frames); }));
                ourSize = QFileInfo(target).size();
            } else {
                theirs.push_back(timed([&] { writeWithXlsxWriter(dir.path(), target, frames); }));
                theirSize = QFileInfo(target).size();
            }
        }
    }
    auto median = [](std::vector<Times> times, double Times::*field) {
        std::sort(times.begin(), times.end(), [field](const Times& a, const Times& b) { return a.*field < b.*field; });
        return times[times.size() / 2].*field;
    };
    std::printf("%d frames, %d rounds alternated, medians:\n", frames, rounds);
    std::printf("this project:  wall %.2f s, CPU %.2f s, %.1f MB\n", median(ours, &Times::wall), median(ours, &Times::cpu),
        double(ourSize) / 1e6);
    std::printf("libxlsxwriter: wall %.2f s, CPU %.2f s, %.1f MB\n", median(theirs, &Times::wall),
        median(theirs, &Times::cpu), double(theirSize) / 1e6);
    std::printf("ratio (this project / libxlsxwriter): wall %.3f, CPU %.3f, size %.3f\n",
        median(ours, &Times::wall) / median(theirs, &Times::wall),
        median(ours, &Times::cpu) / median(theirs, &Times::cpu), double(ourSize) / double(theirSize));
    return 0;
}
