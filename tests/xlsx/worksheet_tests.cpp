// Worksheet text, cells and the shared-string table, read back from the part files.

#include "cellwriter.h"
#include "worksheet.h"
#include "zip.h"

#include <zttypes.h>

#include <QFileInfo>
#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const std::string SheetHeadStart =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><dimension ref=\"";
const std::string SheetHeadEnd =
    "\"/><sheetViews><sheetView showRuler=\"0\" workbookViewId=\"0\"/></sheetViews>"
    "<sheetFormatPr defaultRowHeight=\"15\"/>";

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

// A part file in a fresh folder, closed and read back by text().
class PartText : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        xlsx::createBasic(file, path());
    }
    QString path() const { return dir.filePath(QStringLiteral("part.xml")); }
    std::string text()
    {
        file.close();
        return readFile(path());
    }

    QTemporaryDir dir;
    xlsx::PartFile file;
    xlsx::CellWriter cells;
};

TEST_F(PartText, SheetHeadNamesTheDimensionOnlyWhenRowsAndColumnsAreKnown)
{
    const struct {
        int lastRow, lastColumn;
        std::string ref;
    } cases[] = {{1, 26, "A1:Z1"},   {2, 27, "A1:AA2"},  {1201, 52, "A1:AZ1201"}, {1048576, 53, "A1:BA1048576"},
                 {3, 702, "A1:ZZ3"}, {9, 96, "A1:CR9"}, {0, 5, "A1"},           {7, 0, "A1"}};
    for (int i = 0; i < 8; ++i) {
        xlsx::createSheetFile(file, i, dir.path(), cases[i].lastRow, cases[i].lastColumn);
        file.close();
        EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet%1.xml").arg(i))), SheetHeadStart + cases[i].ref + SheetHeadEnd);
    }
    // A folder that already ends in a separator names the same file.
    xlsx::createSheetFile(file, 9, dir.path() + QLatin1Char('/'), 0, 0);
    file.close();
    EXPECT_TRUE(QFileInfo::exists(dir.path() + QStringLiteral("/sheet9.xml")));
}

TEST_F(PartText, WholeDataSheet)
{
    xlsx::createSheetFile(file, 4, dir.path(), 3, 27);
    xlsx::writeHiddenColumns(file, {{2, 4}, {8, 8}});
    cells.setHeaders(file, {QStringLiteral("Frame"), QStringLiteral("Pelvis q0"), QStringLiteral("Pelvis x")});
    cells.newRow(file, 2, 27);
    cells.writeInt(file, 2, 1, 17);
    cells.writeQuat(file, 2, 0, ZtQuaternion{1.0, 1e-13, -0.5, 0.25});
    cells.writeVec(file, 2, 2, ZtVector{5e-13, 0.1, -1234.5});
    cells.writeString(file, 2, 11, QStringLiteral("Pelvis x"));
    cells.newRow(file, 3, 27);
    cells.writeNumber(file, 3, 27, 2.5);
    xlsx::finishSheet(file);
    EXPECT_FALSE(file.isOpen());

    const std::string expected =
        SheetHeadStart + "A1:AA3" + SheetHeadEnd
        + "<cols><col min=\"2\" max=\"4\" width=\"0\" hidden=\"1\"/><col min=\"8\" max=\"8\" width=\"0\" hidden=\"1\"/></cols>"
          "<sheetData><row r=\"1\" spans=\"1:3\">"
          "<c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" t=\"s\"><v>1</v></c><c r=\"C1\" t=\"s\"><v>2</v></c>"
          "</row><row r=\"2\" spans=\"1:27\"><c r=\"A2\"><v>17</v></c>"
          "<c r=\"B2\"><v>1</v></c><c r=\"C2\"><v>1e-13</v></c><c r=\"D2\"><v>-0.5</v></c><c r=\"E2\"><v>0.25</v></c>"
          "<c r=\"H2\"><v>0</v></c><c r=\"I2\"><v>0.1</v></c><c r=\"J2\"><v>-1234.5</v></c>"
          "<c r=\"K2\" t=\"s\"><v>2</v></c>"
          "</row><row r=\"3\" spans=\"1:27\"><c r=\"AA3\"><v>2.5</v></c>"
          "</row></sheetData></worksheet>";
    const QString sheet = dir.filePath(QStringLiteral("sheet4.xml"));
    EXPECT_EQ(readFile(sheet), expected);

    // Finishing again, or finishing a file never opened, writes nothing.
    xlsx::finishSheet(file);
    xlsx::PartFile unused;
    xlsx::finishSheet(unused);
    EXPECT_EQ(readFile(sheet), expected);
}

// Cells name their own row, also outside the row last started. Vector components of magnitude
// below 1e-12 are written as 0, quaternion components as they are; a NaN or infinite number
// leaves its cell out.
TEST_F(PartText, RowsAndCellForms)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    cells.newRow(file, 1048576, 702, false);
    cells.writeInt(file, 1048576, 1, -7);
    cells.writeNumber(file, 1048576, 702, -0.0);
    cells.writeNumber(file, 9, 26, 1e-5);
    cells.writeInt(file, 10, 27, std::numeric_limits<int>::min());
    cells.newRow(file, 2, 9);
    cells.writeVec(file, 2, 0, ZtVector{5e-13, -5e-13, 1e-12, -1e-12});
    cells.writeQuat(file, 2, 1, ZtQuaternion{5e-13, -5e-13, 0.7071067811865476, -1.0});
    cells.newRow(file, 4, 13);
    for (double value : {nan, inf, -inf})
        cells.writeNumber(file, 4, 1, value);
    cells.writeVec(file, 4, 1, ZtVector{1.0, nan, 3.0});
    cells.writeQuat(file, 4, 2, ZtQuaternion{inf, 0.5, -nan, 2.0});
    EXPECT_EQ(text(), "<row r=\"1048576\" spans=\"1:702\">" + cell("A1048576", "-7") + cell("ZZ1048576", "-0")
                          + cell("Z9", "1e-05") + cell("AA10", "-2147483648") + "</row><row r=\"2\" spans=\"1:9\">"
                          + cell("B2", "0") + cell("C2", "0") + cell("D2", "1e-12") + cell("E2", "-1e-12")
                          + cell("F2", "5e-13") + cell("G2", "-5e-13") + cell("H2", "0.707106781186548") + cell("I2", "-1")
                          + "</row><row r=\"4\" spans=\"1:13\">" + cell("E4", "1") + cell("G4", "3") + cell("K4", "0.5")
                          + cell("M4", "2"));
}

// Texts join the table on first use; every string cell counts. The table is UTF-8 with & < >
// escaped and the characters XML 1.0 forbids left out.
TEST_F(PartText, SharedStringTable)
{
    const QString markup = QStringLiteral("R&D <left> \"1\" 'a'");
    const QString international = QStringLiteral("Überkopf – 肩関節 ✓");
    const QString controls =
        QString::fromLatin1("a\x01" "b\x1f" "c\td\ne\rf") + QChar(0xFFFE) + QChar(0xFFFF) + QLatin1Char('g');
    const QString frame = QStringLiteral("Frame"), lowerFrame = QStringLiteral("frame"), marker = QStringLiteral("Marker Text");
    cells.setHeaders(file, {frame, lowerFrame, frame});
    cells.writeString(file, 2, 2, lowerFrame);
    cells.writeString(file, 2, 3, marker);
    for (const QString& value : {markup, international, controls})
        cells.writeString(file, 3, 1, value);
    EXPECT_EQ(text(), "<sheetData><row r=\"1\" spans=\"1:3\">" + stringCell("A1", 0) + stringCell("B1", 1)
                          + stringCell("C1", 0) + stringCell("B2", 1) + stringCell("C2", 2) + stringCell("A3", 3)
                          + stringCell("A3", 4) + stringCell("A3", 5));
    EXPECT_EQ(cells.sharedStrings(), QStringList({frame, lowerFrame, marker, markup, international, controls}));
    EXPECT_EQ(cells.stringCellCount(), 8);

    xlsx::PartFile table;
    xlsx::createBasic(table, dir.filePath(QStringLiteral("sharedStrings.xml")));
    cells.writeSharedStringTable(table);
    EXPECT_FALSE(table.isOpen());
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sharedStrings.xml"))),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
              "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"8\" uniqueCount=\"6\">"
              "<si><t>Frame</t></si><si><t>frame</t></si><si><t>Marker Text</t></si>"
              "<si><t>R&amp;D &lt;left&gt; \"1\" 'a'</t></si><si><t>" + international.toStdString() + "</t></si>"
              "<si><t>abc\td\ne\rfg</t></si></sst>");

    cells.reset();
    EXPECT_TRUE(cells.sharedStrings().isEmpty());
    EXPECT_EQ(cells.stringCellCount(), 0);
    xlsx::createBasic(file, path());
    cells.writeString(file, 1, 1, marker);
    EXPECT_EQ(text(), stringCell("A1", 0));
}

// Number cells hold what snprintf("%.15g") gives in the C locale, for many kinds of values, also
// under a German locale, where a cell crosses the part file's buffer, and around a write larger
// than the buffer.
TEST_F(PartText, NumberCellsHoldTheCLocalePrintfText)
{
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    std::vector<double> values = {0.0, -0.0, 0.1, 1234.5, 1234567.123456789, 1e20, 1e21, 1e-5, 1e15, 1e16,
                                  123456789012345678.0, 1.0 / 3, -2.5e-300, 9.999999999999995, 9007199254740993.0,
                                  4.9406564584124654e-320, 2.2250738585072009e-308,
                                  std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
                                  std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest()};
    for (int i = -100000; i <= 100000; i += 7)
        values.push_back(i);
    std::mt19937_64 random(20260404);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-324, 308);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random();
        double anyBits;
        std::memcpy(&anyBits, &bits, sizeof anyBits);
        for (double value : {mantissa(random) * std::pow(10.0, exponent(random)), anyBits})
            if (std::isfinite(value))
                values.push_back(value);
    }
    std::vector<std::string> printed;
    for (double value : values)
        printed.push_back(printfNumber(value));

    const std::string previous = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const std::string germanPrintf = printfNumber(1234.5);
    const std::string large(3 * xlsx::PartFile::BufferSize / 2, 'x');
    std::string expected;
    for (std::size_t i = 0; i < values.size(); ++i) { // rows of an integer and twelve numbers
        const int row = static_cast<int>(i / 12) + 1, column = static_cast<int>(i % 12) + 2;
        if (column == 2) {
            cells.newRow(file, row, 13, row > 1);
            cells.writeInt(file, row, 1, 1234567 + row);
            const std::string rowNumber = std::to_string(row);
            expected += (row > 1 ? "</row><row r=\"" : "<row r=\"") + rowNumber + "\" spans=\"1:13\">"
                        + cell("A" + rowNumber, std::to_string(1234567 + row));
        }
        cells.writeNumber(file, row, column, values[i]);
        expected += cell(char('@' + column) + std::to_string(row), printed[i]);
        if (i == values.size() / 2) {
            file.write(large);
            expected += large;
        }
    }
    xlsx::PartFile sheet;
    xlsx::createSheetFile(sheet, 1000, dir.path(), 1048576, 13);
    sheet.close();
    std::setlocale(LC_ALL, previous.c_str());
    QLocale::setDefault(QLocale::c());

    ASSERT_EQ(germanPrintf, "1234,5"); // the locale was really in force
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet1000.xml"))), SheetHeadStart + "A1:M1048576" + SheetHeadEnd);
    const std::string written = text();
    const auto differs = std::mismatch(written.begin(), written.end(), expected.begin(), expected.end()).first;
    EXPECT_TRUE(written == expected) << "first difference at byte " << differs - written.begin() << ": "
                                     << std::string(differs, std::min(differs + 80, written.end()));
}

TEST(PartFile, FailuresThrowTheirMessages)
{
    QTemporaryDir dir;
    xlsx::PartFile file;
    EXPECT_EQ(thrownMessage([&] { xlsx::createSheetFile(file, 1, dir.filePath(QStringLiteral("missing")), 0, 0); }),
              "Could not create temporary file " + dir.filePath(QStringLiteral("missing/sheet1.xml")).toStdString());
    EXPECT_FALSE(file.isOpen());

    // The device refuses the first full buffer: the cells before it are only buffered.
    xlsx::CellWriter cells;
    xlsx::createBasic(file, QStringLiteral("/dev/full"));
    std::size_t written = 0;
    EXPECT_EQ(thrownMessage([&] {
                  for (; written < 1000000; ++written)
                      cells.writeNumber(file, 1, 1, 0.5);
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
