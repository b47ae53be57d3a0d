// Worksheet text, cells and the shared-string table, read back from the part files.

#include "cellwriter.h"
#include "sheetstream.h"
#include "worksheet.h"
#include "zip.h"

#include <zttypes.h>

#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace {

// The reference of a worksheet head's <dimension>.
std::string dimensionOf(const std::string& head)
{
    const std::size_t start = head.find("<dimension ref=\"") + 16;
    return head.substr(start, head.find('"', start) - start);
}

std::string readFile(const QString& path)
{
    std::ifstream in(path.toStdString(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string printfNumber(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", value);
    return text;
}

std::string cell(const std::string& reference, const std::string& value)
{
    return "<c r=\"" + reference + "\"><v>" + value + "</v></c>";
}

std::string stringCell(const std::string& reference, int index)
{
    return "<c r=\"" + reference + "\" t=\"s\"><v>" + std::to_string(index) + "</v></c>";
}

template <typename Action>
std::string thrownMessage(Action&& action)
{
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no exception";
}

// A sheet body in a fresh folder, closed and read back by text().
class PartText : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        file.open(dir.path(), 1);
    }
    QString path() const { return dir.filePath(QStringLiteral("sheet1.xml")); }
    std::string text()
    {
        file.body().close();
        return readFile(path());
    }

    QTemporaryDir dir;
    xlsx::SheetStream file;
    xlsx::CellWriter cells;
};

// The dimension is the smallest range from A1 holding the extent; columns past ZZ take three
// letters, up to XFD.
TEST(SheetHead, NamesTheExtent)
{
    const struct
    {
        int lastRow, lastColumn;
        std::string ref;
    } cases[] = {{1, 26, "A1:Z1"}, {2, 27, "A1:AA2"}, {1201, 52, "A1:AZ1201"}, {1048576, 53, "A1:BA1048576"},
        {3, 702, "A1:ZZ3"}, {3, 703, "A1:AAA3"}, {1, 728, "A1:AAZ1"}, {1048576, 16384, "A1:XFD1048576"},
        {9, 96, "A1:CR9"}, {1, 2, "A1:B1"}, {2, 1, "A1:A2"}, {1, 1, "A1"},
        {0, 0, "A1"}};
    for (const auto& c : cases)
        EXPECT_EQ(dimensionOf(xlsx::worksheetHead({c.lastRow, c.lastColumn})), c.ref);
}

// A sheet whose rows would pass the row limit goes on in a new part under the next free sheet
// number, which starts with the same hidden columns and header row; rows start again at 2 and
// each part has its own extent.
TEST(SheetStreamRows, ContinueOnANewPartAtTheRowLimit)
{
    QTemporaryDir dir;
    xlsx::CellWriter cells;
    xlsx::SheetStream sheet;
    sheet.open(dir.path(), 3, 4);
    sheet.writePrologue(cells, {{2, 3}}, {QStringLiteral("Frame"), QStringLiteral("x")});
    int nextSheetNumber = 7;
    std::vector<int> rows;
    for (int i = 0; i < 7; ++i) {
        const int row = sheet.nextRow(cells, nextSheetNumber);
        rows.push_back(row);
        cells.newRow(sheet, row, 2);
        cells.writeInt(sheet, row, 1, i);
        if (i == 0)
            cells.writeInt(sheet, row, 3, i);
    }
    sheet.finish();
    EXPECT_EQ(rows, std::vector<int>({2, 3, 4, 2, 3, 4, 2}));
    EXPECT_EQ(nextSheetNumber, 9);
    std::vector<std::tuple<int, int, int>> parts; // sheet number, last row, last column
    for (const auto& part : sheet.parts())
        parts.emplace_back(part.sheetNumber, part.extent.lastRow, part.extent.lastColumn);
    ASSERT_EQ(parts, (std::vector<std::tuple<int, int, int>>{{3, 4, 3}, {7, 4, 2}, {8, 2, 2}}));
    const std::string prologue =
        "<cols><col min=\"2\" max=\"3\" width=\"0\" hidden=\"1\"/></cols><sheetData>"
        "<row r=\"1\" spans=\"1:2\">"
        + stringCell("A1", 0) + stringCell("B1", 1);
    // Finishing again, or finishing a sheet never opened, writes nothing.
    sheet.finish();
    xlsx::SheetStream().finish();
    const QString last = dir.filePath(QStringLiteral("sheet8.xml"));
    const std::string body = readFile(last);
    EXPECT_EQ(body, prologue + "</row><row r=\"2\" spans=\"1:2\">" + cell("A2", "6") + "</row></sheetData></worksheet>");
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet7.xml"))).substr(0, prologue.size()), prologue);
    EXPECT_EQ(cells.stringCellCount(), 6);

    // A part packs as its head followed by its body.
    const QString book = dir.filePath(QStringLiteral("book.xlsx"));
    zip_t* archive = zip_open(book.toUtf8().constData(), 0, 'w');
    ASSERT_NE(archive, nullptr);
    xlsx::addWorksheetToZip(archive, "xl/worksheets/sheet8.xml", sheet.parts()[2], last.toUtf8().constData(), 0);
    zip_close(archive);
    EXPECT_NE(readFile(book).find(xlsx::worksheetHead(sheet.parts()[2].extent) + body), std::string::npos);

    // Discarding the sheet forgets its parts; without hidden columns there is no <cols> block.
    sheet.discard();
    EXPECT_TRUE(sheet.parts().empty());
    sheet.open(dir.path(), 1);
    sheet.writePrologue(cells, {}, {QStringLiteral("Frame")});
    sheet.finish();
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet1.xml"))),
        "<sheetData><row r=\"1\" spans=\"1:1\">" + stringCell("A1", 0) + "</row></sheetData></worksheet>");
}

// Cells name their own row, also outside the row last started. Vector components of magnitude
// below 1e-12 are written as 0, quaternion components as they are, and a vector writes at most
// three. A NaN or infinite number leaves its cell out, and so does a finite one whose 15-digit
// text would read back as infinite, or a cell past column XFD; cells left out do not count in
// the extent.
TEST_F(PartText, RowsAndCellForms)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const double max = std::numeric_limits<double>::max();
    cells.newRow(file, 1048576, 702, false);
    cells.writeInt(file, 1048576, 1, -7);
    cells.writeNumber(file, 1048576, 702, -0.0);
    cells.writeNumber(file, 9, 26, 1e-5);
    cells.writeInt(file, 10, 27, std::numeric_limits<int>::min());
    cells.newRow(file, 2, 9);
    cells.writeVec(file, 2, 0, ZtVector{5e-13, -5e-13, 1e-12, -1e-12});
    cells.writeQuat(file, 2, 1, ZtQuaternion{5e-13, -5e-13, 0.7071067811865476, -1.0});
    cells.newRow(file, 4, 13);
    for (double value : {nan, inf, -inf, max, -max, std::nextafter(max, 0.0), 1.797693134862315e308})
        cells.writeNumber(file, 4, 1, value);
    cells.writeVec(file, 4, 1, ZtVector{1.0, nan, 3.0});
    cells.writeQuat(file, 4, 2, ZtQuaternion{inf, 0.5, -nan, 2.0});
    cells.newRow(file, 5, 20000);
    cells.writeNumber(file, 5, 703, 1.79769313486231e308);
    cells.writeNumber(file, 5, 16384, -1.7976931348623e308);
    cells.writeNumber(file, 5, 16385, 1.0);
    cells.writeInt(file, 5, 20000, 1);
    cells.writeString(file, 5, 16385, QStringLiteral("past XFD"));
    file.finish();
    EXPECT_EQ(readFile(path()), "<row r=\"1048576\" spans=\"1:702\">" + cell("A1048576", "-7") + cell("ZZ1048576", "-0") + cell("Z9", "1e-05") + cell("AA10", "-2147483648") + "</row><row r=\"2\" spans=\"1:9\">" + cell("B2", "0") + cell("C2", "0") + cell("D2", "1e-12") + cell("F2", "5e-13") + cell("G2", "-5e-13") + cell("H2", "0.707106781186548") + cell("I2", "-1") + "</row><row r=\"4\" spans=\"1:13\">" + cell("A4", "1.79769313486231e+308") + cell("E4", "1") + cell("G4", "3") + cell("K4", "0.5") + cell("M4", "2") + "</row><row r=\"5\" spans=\"1:16384\">" + cell("AAA5", "1.79769313486231e+308") + cell("XFD5", "-1.7976931348623e+308") + "</row></sheetData></worksheet>");
    ASSERT_EQ(file.parts().size(), 1u);
    EXPECT_EQ(file.parts()[0].extent.lastRow, 1048576);
    EXPECT_EQ(file.parts()[0].extent.lastColumn, 16384);
}

// Texts join the table on first use; every string cell counts. The table is UTF-8 with & < >
// escaped and the characters XML 1.0 forbids left out, written so that clients read the texts
// back as they were: blanks at either end kept, a carriage return as a reference, the
// underscore of a literal _xHHHH_ escaped, and a text longer than a cell holds cut to 32,767
// UTF-16 units without splitting a surrogate pair.
TEST_F(PartText, SharedStringTable)
{
    const QString international = QStringLiteral("Überkopf – 肩関節 ✓");
    const QString emoji = QStringLiteral("\U0001F600");
    const QString exactLength = QString(32765, QLatin1Char('b')) + emoji;
    const QString frame = QStringLiteral("Frame"), lowerFrame = QStringLiteral("frame");
    cells.setHeaders(file, {frame, lowerFrame, frame});
    cells.writeString(file, 2, 2, lowerFrame);
    const QString texts[] = {QStringLiteral("R&D <left> \"1\" 'a'"), international,
        QString::fromLatin1("a\x01"
                            "b\x1f"
                            "c\td\ne\rf")
            + QChar(0xFFFE) + QChar(0xFFFF) + QLatin1Char('g'),
        QStringLiteral(" lead"), QStringLiteral("trail\t"), QStringLiteral("\nboth "), QStringLiteral("a\r\nb\rc"),
        QStringLiteral("_x0041_ _X0041_ _x00e9_ _x12G4_ _x004_"), QStringLiteral("_x0041_x0042__x005F_"),
        QStringLiteral("in\x01ner \x02"), QString(32766, QLatin1Char('a')) + emoji + QStringLiteral("tail"), exactLength};
    for (const QString& text : texts)
        cells.writeString(file, 3, 1, text);
    std::string expectedCells = "<sheetData><row r=\"1\" spans=\"1:3\">" + stringCell("A1", 0) + stringCell("B1", 1) + stringCell("C1", 0) + stringCell("B2", 1);
    for (int i = 0; i < 12; ++i)
        expectedCells += stringCell("A3", i + 2);
    EXPECT_EQ(text(), expectedCells);
    EXPECT_EQ(cells.sharedStrings(), QStringList({frame, lowerFrame}) + QStringList(std::begin(texts), std::end(texts)));
    EXPECT_EQ(cells.stringCellCount(), 16);

    xlsx::PartFile table;
    xlsx::createBasic(table, dir.filePath(QStringLiteral("sharedStrings.xml")));
    cells.writeSharedStringTable(table);
    EXPECT_FALSE(table.isOpen());
    const std::string written = readFile(dir.filePath(QStringLiteral("sharedStrings.xml")));
    EXPECT_NE(written.find(" count=\"16\" uniqueCount=\"14\">"), std::string::npos) << written.substr(0, 200);
    EXPECT_EQ(written.substr(written.find("<si>")),
        "<si><t>Frame</t></si><si><t>frame</t></si>"
        "<si><t>R&amp;D &lt;left&gt; \"1\" 'a'</t></si><si><t>"
            + international.toStdString() +
            "</t></si>"
            "<si><t>abc\td\ne&#13;fg</t></si>"
            "<si><t xml:space=\"preserve\"> lead</t></si>"
            "<si><t xml:space=\"preserve\">trail\t</t></si>"
            "<si><t xml:space=\"preserve\">\nboth </t></si>"
            "<si><t>a&#13;\nb&#13;c</t></si>"
            "<si><t>_x005F_x0041_ _X0041_ _x005F_x00e9_ _x12G4_ _x004_</t></si>"
            "<si><t>_x005F_x0041_x005F_x0042__x005F_x005F_</t></si>"
            "<si><t xml:space=\"preserve\">inner </t></si>"
            "<si><t>"
            + std::string(32766, 'a') +
            "</t></si>"
            "<si><t>"
            + exactLength.toStdString() + "</t></si></sst>");

    cells.reset();
    EXPECT_TRUE(cells.sharedStrings().isEmpty());
    EXPECT_EQ(cells.stringCellCount(), 0);
    file.open(dir.path(), 1);
    cells.writeString(file, 1, 1, frame);
    EXPECT_EQ(text(), stringCell("A1", 0));
}

// Number cells hold what snprintf("%.15g") gives in the C locale (the formatter itself is checked
// over millions of values by numberformat_tests), also under a German locale, where cells cross
// the part file's buffer, and around a write larger than the buffer.
TEST_F(PartText, NumberCellsHoldTheCLocalePrintfText)
{
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    std::vector<double> values = {0.0, -0.0, 0.1, 1234.5, 1e21, 1e-5, 1e16, -2.5e-300, 9.999999999999995,
        std::numeric_limits<double>::denorm_min(), 1.79769313486231e308};
    for (int i = -100000; i <= 100000; i += 7)
        values.push_back(i / 64.0);
    const std::string large(3 * xlsx::PartFile::BufferSize / 2, 'x');
    std::string expected = "<row r=\"1\" spans=\"1:2\">";
    for (std::size_t i = 0; i < values.size(); ++i)
        expected += cell("A1", std::to_string(1234567 + i)) + cell("B1", printfNumber(values[i]))
            + (i == values.size() / 2 ? large : "");

    const std::string previous = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const std::string germanPrintf = printfNumber(1234.5);
    cells.newRow(file, 1, 2, false);
    for (std::size_t i = 0; i < values.size(); ++i) {
        cells.writeInt(file, 1, 1, 1234567 + static_cast<int>(i));
        cells.writeNumber(file, 1, 2, values[i]);
        if (i == values.size() / 2)
            file.body().write(large);
    }
    const std::string head = xlsx::worksheetHead({1048576, 13});
    std::setlocale(LC_ALL, previous.c_str());
    QLocale::setDefault(QLocale::c());

    ASSERT_EQ(germanPrintf, "1234,5"); // the locale was really in force
    EXPECT_EQ(dimensionOf(head), "A1:M1048576");
    const std::string written = text();
    const auto differs = std::mismatch(written.begin(), written.end(), expected.begin(), expected.end()).first;
    EXPECT_TRUE(written == expected) << "first difference at byte " << differs - written.begin() << ": "
                                     << std::string(differs, std::min(differs + 80, written.end()));
}

TEST(PartFile, FailuresThrowTheirMessages)
{
    QTemporaryDir dir;
    xlsx::SheetStream sheet;
    EXPECT_EQ(thrownMessage([&] { sheet.open(dir.filePath(QStringLiteral("missing")), 1); }),
        "Could not create temporary file " + dir.filePath(QStringLiteral("missing/sheet1.xml")).toStdString());
    EXPECT_FALSE(sheet.isOpen());

    // The device refuses the first full buffer: the cells before it are only buffered.
    xlsx::CellWriter cells;
    xlsx::PartFile& file = sheet.body();
    xlsx::createBasic(file, QStringLiteral("/dev/full"));
    std::size_t written = 0;
    EXPECT_EQ(thrownMessage([&] {
        for (; written < 1000000; ++written)
            cells.writeNumber(sheet, 1, 1, 0.5);
    }),
        std::strerror(ENOSPC));
    const std::size_t cellSize = cell("A1", "0.5").size();
    EXPECT_LE(written * cellSize, xlsx::PartFile::BufferSize);
    EXPECT_GT(written * cellSize, xlsx::PartFile::BufferSize - 256);

    // Closing reports the failure of what was still buffered, and closes all the same.
    xlsx::createBasic(file, QStringLiteral("/dev/full"));
    file.write("<sst/>");
    EXPECT_EQ(thrownMessage([&] { file.close(); }), std::strerror(ENOSPC));
    EXPECT_FALSE(file.isOpen());

    zip_t* archive = zip_open(dir.filePath(QStringLiteral("book.xlsx")).toUtf8().constData(), 6, 'w');
    ASSERT_NE(archive, nullptr);
    const QByteArray missing = dir.filePath(QStringLiteral("missing.xml")).toUtf8();
    EXPECT_EQ(thrownMessage([&] { xlsx::addFileToZip(archive, "xl/missing.xml", missing.constData()); }),
        "Could not add file to xlsx");
    zip_close(archive);
}

} // namespace
