// Worksheet text, cells and the shared-string table, read back from the part files.

#include "cellwriter.h"
#include "worksheet.h"

#include <zttypes.h>

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

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
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return "<unreadable " + path.toStdString() + ">";
    return file.readAll().toStdString();
}

std::string printfNumber(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.15g", value);
    return text;
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

using WorksheetText = PartText;
using WorksheetCells = PartText;
using SharedStrings = PartText;
using NumberText = PartText;

TEST(WorksheetReferences, ColumnLettersAndCellReferences)
{
    const std::pair<int, const char*> columns[] = {{1, "A"},   {26, "Z"},  {27, "AA"}, {52, "AZ"},
                                                   {53, "BA"}, {96, "CR"}, {702, "ZZ"}, {0, "@"}};
    for (const auto& [column, letters] : columns) {
        char buffer[32];
        *xlsx::writeColumnLetters(column, buffer) = '\0';
        EXPECT_STREQ(buffer, letters) << column;
        EXPECT_EQ(std::string(xlsx::cellRefToString(1201, column, buffer)), std::string(letters) + "1201");
    }

    // Every column up to ZZ reads back as its number in bijective base 26.
    for (int column = 1; column <= 702; ++column) {
        char buffer[32];
        const char* end = xlsx::writeColumnLetters(column, buffer);
        int decoded = 0;
        for (const char* p = buffer; p != end; ++p) {
            ASSERT_TRUE(*p >= 'A' && *p <= 'Z') << column;
            decoded = decoded * 26 + (*p - 'A' + 1);
        }
        EXPECT_EQ(decoded, column);
    }

    char number[12];
    EXPECT_STREQ(xlsx::_itoa(0, number), "0");
    EXPECT_STREQ(xlsx::_itoa(-42, number), "-42");
    EXPECT_STREQ(xlsx::_itoa(std::numeric_limits<int>::min(), number), "-2147483648");
}

TEST_F(WorksheetText, HeadNamesTheDimensionOnlyWhenRowsAndColumnsAreKnown)
{
    const struct {
        int lastRow, lastColumn;
        std::string ref;
    } cases[] = {{1201, 96, "A1:CR1201"}, {3, 702, "A1:ZZ3"}, {0, 5, "A1"}, {7, 0, "A1"}};
    int sheetNumber = 1;
    for (const auto& c : cases) {
        xlsx::createSheetFile(file, sheetNumber, dir.path(), c.lastRow, c.lastColumn);
        file.close();
        EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet%1.xml").arg(sheetNumber))),
                  SheetHeadStart + c.ref + SheetHeadEnd);
        ++sheetNumber;
    }

    // A folder that already ends in a separator names the same file.
    xlsx::createSheetFile(file, 9, dir.path() + QLatin1Char('/'), 0, 0);
    file.close();
    EXPECT_TRUE(QFileInfo::exists(dir.path() + QStringLiteral("/sheet9.xml")));
}

TEST_F(WorksheetText, WholeDataSheet)
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
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet4.xml"))), expected);

    // Finishing again, or finishing a file never opened, writes nothing.
    xlsx::finishSheet(file);
    xlsx::PartFile unused;
    xlsx::finishSheet(unused);
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet4.xml"))), expected);
}

TEST_F(WorksheetText, SheetFragmentsAndTheCounter)
{
    QTemporaryDir fragments;
    xlsx::PartFile workbook, contentTypes, appProperties, workbookRels;
    xlsx::PartFile* parts[] = {&workbook, &contentTypes, &appProperties, &workbookRels};
    const char* names[] = {"workbook", "types", "app", "rels"};
    for (int i = 0; i < 4; ++i)
        xlsx::createBasic(*parts[i], fragments.filePath(QLatin1String(names[i])));

    int counter = 3;
    xlsx::addSheet(false, counter, "Markers", workbook, contentTypes, appProperties, workbookRels);
    EXPECT_EQ(counter, 3);
    xlsx::addSheet(true, counter, "Segment Orientation - Quat", workbook, contentTypes, appProperties, workbookRels);
    EXPECT_EQ(counter, 4);
    xlsx::addSheet(false, counter, "Joint Angles ZXY", workbook, contentTypes, appProperties, workbookRels);
    EXPECT_EQ(counter, 4);
    for (xlsx::PartFile* part : parts)
        part->close();

    EXPECT_EQ(readFile(fragments.filePath("workbook")),
              "<sheet name=\"Segment Orientation - Quat\" sheetId=\"3\" r:id=\"rId3\"/>");
    EXPECT_EQ(readFile(fragments.filePath("types")),
              "<Override PartName=\"/xl/worksheets/sheet3.xml\" "
              "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>");
    EXPECT_EQ(readFile(fragments.filePath("app")), "<vt:lpstr>Segment Orientation - Quat</vt:lpstr>");
    EXPECT_EQ(readFile(fragments.filePath("rels")),
              "<Relationship Id=\"rId3\" "
              "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" "
              "Target=\"worksheets/sheet3.xml\"/>");
}

TEST_F(WorksheetCells, RowsNumbersIntegersAndReferences)
{
    cells.newRow(file, 1, 3, false);
    cells.writeNumber(file, 1, 1, 0.1);
    cells.writeNumber(file, 1, 2, 1234567.123456789);
    cells.writeNumber(file, 1, 3, 1e20);
    cells.newRow(file, 1048576, 702);
    cells.writeInt(file, 1048576, 1, -7);
    cells.writeNumber(file, 1048576, 702, -0.0);
    // A cell of another row without a row start still names its own row.
    cells.writeNumber(file, 9, 26, 1e-5);
    cells.writeInt(file, 10, 27, 2147483647);
    EXPECT_EQ(text(), "<row r=\"1\" spans=\"1:3\"><c r=\"A1\"><v>0.1</v></c><c r=\"B1\"><v>1234567.12345679</v></c>"
                      "<c r=\"C1\"><v>1e+20</v></c></row><row r=\"1048576\" spans=\"1:702\">"
                      "<c r=\"A1048576\"><v>-7</v></c><c r=\"ZZ1048576\"><v>-0</v></c>"
                      "<c r=\"Z9\"><v>1e-05</v></c><c r=\"AA10\"><v>2147483647</v></c>");
}

TEST_F(WorksheetCells, VectorsClampTinyComponentsQuaternionsDoNot)
{
    cells.writeVec(file, 2, 0, ZtVector{5e-13, -5e-13, 1e-12, -1e-12});
    cells.writeVec(file, 2, 5, ZtVector{});
    cells.writeQuat(file, 2, 1, ZtQuaternion{5e-13, -5e-13, 0.7071067811865476, -1.0});
    EXPECT_EQ(text(), "<c r=\"B2\"><v>0</v></c><c r=\"C2\"><v>0</v></c><c r=\"D2\"><v>1e-12</v></c>"
                      "<c r=\"E2\"><v>-1e-12</v></c>"
                      "<c r=\"F2\"><v>5e-13</v></c><c r=\"G2\"><v>-5e-13</v></c>"
                      "<c r=\"H2\"><v>0.707106781186548</v></c><c r=\"I2\"><v>-1</v></c>");
}

TEST_F(WorksheetCells, NonFiniteNumbersLeaveTheirCellOut)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    cells.writeNumber(file, 4, 1, nan);
    cells.writeNumber(file, 4, 2, inf);
    cells.writeNumber(file, 4, 3, -inf);
    cells.writeVec(file, 4, 1, ZtVector{1.0, nan, 3.0});
    cells.writeQuat(file, 4, 2, ZtQuaternion{inf, 0.5, -nan, 2.0});
    EXPECT_EQ(text(), "<c r=\"E4\"><v>1</v></c><c r=\"G4\"><v>3</v></c>"
                      "<c r=\"K4\"><v>0.5</v></c><c r=\"M4\"><v>2</v></c>");
}

TEST_F(SharedStrings, TableGrowsByFirstUseAndCountsEveryCell)
{
    cells.setHeaders(file, {QStringLiteral("Frame"), QStringLiteral("frame"), QStringLiteral("Frame")});
    cells.writeString(file, 2, 2, QStringLiteral("frame"));
    cells.writeString(file, 2, 3, QStringLiteral("Marker Text"));
    EXPECT_EQ(text(), "<sheetData><row r=\"1\" spans=\"1:3\"><c r=\"A1\" t=\"s\"><v>0</v></c>"
                      "<c r=\"B1\" t=\"s\"><v>1</v></c><c r=\"C1\" t=\"s\"><v>0</v></c>"
                      "<c r=\"B2\" t=\"s\"><v>1</v></c><c r=\"C2\" t=\"s\"><v>2</v></c>");
    EXPECT_EQ(cells.sharedStrings(),
              QStringList({QStringLiteral("Frame"), QStringLiteral("frame"), QStringLiteral("Marker Text")}));
    EXPECT_EQ(cells.stringCellCount(), 5);

    xlsx::PartFile table;
    xlsx::createBasic(table, dir.filePath(QStringLiteral("sharedStrings.xml")));
    cells.writeSharedStringTable(table);
    EXPECT_FALSE(table.isOpen());
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sharedStrings.xml"))),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
              "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"5\" uniqueCount=\"3\">"
              "<si><t>Frame</t></si><si><t>frame</t></si><si><t>Marker Text</t></si></sst>");

    cells.reset();
    EXPECT_TRUE(cells.sharedStrings().isEmpty());
    EXPECT_EQ(cells.stringCellCount(), 0);
    xlsx::createBasic(file, path());
    cells.writeString(file, 1, 1, QStringLiteral("Marker Text"));
    EXPECT_EQ(text(), "<c r=\"A1\" t=\"s\"><v>0</v></c>");
}

TEST_F(SharedStrings, TableTextIsEscapedUtf8WithoutForbiddenCharacters)
{
    const QString markup = QStringLiteral("R&D <left> \"1\" 'a'");
    const QString international = QStringLiteral("Überkopf – 肩関節 ✓");
    const QString controls = QString::fromLatin1("a\x01" "b\x1f" "c\td\ne\rf") + QChar(0xFFFE) + QChar(0xFFFF) + QLatin1Char('g');
    for (const QString& textValue : {markup, international, controls})
        cells.writeString(file, 1, 1, textValue);
    file.close();

    xlsx::PartFile table;
    xlsx::createBasic(table, dir.filePath(QStringLiteral("sharedStrings.xml")));
    cells.writeSharedStringTable(table);
    const std::string written = readFile(dir.filePath(QStringLiteral("sharedStrings.xml")));
    EXPECT_NE(written.find("<si><t>R&amp;D &lt;left&gt; \"1\" 'a'</t></si>"), std::string::npos) << written;
    EXPECT_NE(written.find("<si><t>" + international.toStdString() + "</t></si>"), std::string::npos) << written;
    EXPECT_NE(written.find("<si><t>abc\td\ne\rfg</t></si>"), std::string::npos) << written;

    // An XML reader gets back the texts, less what XML cannot carry.
    QXmlStreamReader reader(QByteArray::fromStdString(written));
    QStringList texts;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("t"))
            texts.append(reader.readElementText());
    }
    ASSERT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    // The reader normalises the CR line end to LF, as XML prescribes.
    EXPECT_EQ(texts, QStringList({markup, international, QStringLiteral("abc\td\ne\nfg")}));
}

TEST_F(NumberText, ToCharsGivesThePrintfText)
{
    ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    std::vector<double> values = {0.0,     -0.0,   0.1,   1234567.123456789, 1e20,   1e-5,   1e15,   1e16,
                                  123456789012345678.0, 0.5,    1.0 / 3, -2.5e-300, 2.0 / 3, 9.999999999999995,
                                  std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
                                  std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest(),
                                  9007199254740993.0, 4.9406564584124654e-320, 2.2250738585072009e-308};
    for (int i = -100000; i <= 100000; i += 7)
        values.push_back(i);
    std::mt19937_64 random(20260404);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-324, 308);
    for (int i = 0; i < 200000; ++i) {
        const double scaled = mantissa(random) * std::pow(10.0, exponent(random));
        const std::uint64_t bits = random();
        double anyBits;
        std::memcpy(&anyBits, &bits, sizeof anyBits);
        for (double value : {scaled, anyBits})
            if (std::isfinite(value))
                values.push_back(value);
    }

    int mismatches = 0;
    for (double value : values) {
        char text[64];
        const auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 15);
        const std::string expected = printfNumber(value);
        if (std::string(text, result.ptr) != expected && ++mismatches <= 5)
            ADD_FAILURE() << std::string(text, result.ptr) << " != " << expected;
    }
    EXPECT_EQ(mismatches, 0);

    // And the cell writer writes exactly that text.
    for (int i = 0; i < 1000; ++i)
        cells.writeNumber(file, 1, 1, values[values.size() - 1 - i]);
    std::string expected;
    for (int i = 0; i < 1000; ++i)
        expected += "<c r=\"A1\"><v>" + printfNumber(values[values.size() - 1 - i]) + "</v></c>";
    EXPECT_EQ(text(), expected);
}

TEST_F(NumberText, GermanLocaleStillWritesAPoint)
{
    const std::string previous = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const std::string localPrintf = printfNumber(1234.5);

    cells.writeNumber(file, 1, 1, 1234.5);
    cells.writeVec(file, 1, 0, ZtVector{0.25, -1e-3, 1e21});
    cells.writeInt(file, 1, 1, 1234567);
    xlsx::PartFile sheet;
    xlsx::createSheetFile(sheet, 1000, dir.path(), 1000, 3);
    sheet.close();

    std::setlocale(LC_ALL, previous.c_str());
    QLocale::setDefault(QLocale::c());
    ASSERT_EQ(localPrintf, "1234,5");  // the locale was really in force
    EXPECT_EQ(text(), "<c r=\"A1\"><v>1234.5</v></c><c r=\"B1\"><v>0.25</v></c><c r=\"C1\"><v>-0.001</v></c>"
                      "<c r=\"D1\"><v>1e+21</v></c><c r=\"A1\"><v>1234567</v></c>");
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("sheet1000.xml"))), SheetHeadStart + "A1:C1000" + SheetHeadEnd);
}

TEST(PartFile, TextCrossingTheBufferArrivesWhole)
{
    QTemporaryDir dir;
    xlsx::PartFile file;
    xlsx::CellWriter cells;
    xlsx::createBasic(file, dir.filePath(QStringLiteral("big.xml")));
    std::string expected;
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> value(-1e6, 1e6);
    const std::string large(3 * xlsx::PartFile::BufferSize / 2, 'x');
    for (int row = 1; row <= 3000; ++row) {
        cells.newRow(file, row, 12, false);
        expected += "<row r=\"" + std::to_string(row) + "\" spans=\"1:12\">";
        for (int column = 1; column <= 12; ++column) {
            const double v = value(random);
            cells.writeNumber(file, row, column, v);
            expected += "<c r=\"" + std::string(1, char('@' + column)) + std::to_string(row) + "\"><v>"
                        + printfNumber(v) + "</v></c>";
        }
        if (row == 1500) {
            file.write(large);
            expected += large;
        }
    }
    file.close();
    EXPECT_EQ(readFile(dir.filePath(QStringLiteral("big.xml"))), expected);
}

TEST(PartFile, MissingFolderCannotBeCreated)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("missing/sheet1.xml"));
    xlsx::PartFile file;
    try {
        xlsx::createSheetFile(file, 1, dir.filePath(QStringLiteral("missing")), 0, 0);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), "Could not create temporary file " + path.toStdString());
    }
    EXPECT_FALSE(file.isOpen());
}

TEST(PartFile, FullDeviceThrowsItsErrorText)
{
    ASSERT_TRUE(QFileInfo::exists(QStringLiteral("/dev/full")));
    xlsx::PartFile file;
    xlsx::CellWriter cells;
    xlsx::createBasic(file, QStringLiteral("/dev/full"));
    int written = 0;
    try {
        for (; written < 1000000; ++written)
            cells.writeNumber(file, 1, 1, 0.5);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), std::strerror(ENOSPC));
    }
    // The first full buffer is the first write the device refuses.
    const std::size_t cellSize = std::strlen("<c r=\"A1\"><v>0.5</v></c>");
    EXPECT_LE(written * cellSize, xlsx::PartFile::BufferSize);
    EXPECT_GT(written * cellSize, xlsx::PartFile::BufferSize - 256);

    // Closing reports the failure of what was still buffered, and closes all the same.
    xlsx::createBasic(file, QStringLiteral("/dev/full"));
    file.write("<sst/>");
    EXPECT_THROW(file.close(), std::runtime_error);
    EXPECT_FALSE(file.isOpen());
}

TEST(PartFile, FileSizeLimitThrowsAndKeepsThePartialText)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sheet1.xml"));
    constexpr rlim_t Limit = 65536;
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(pipeEnds[0]);
        const rlimit limit{Limit, Limit};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        std::string message = "no exception";
        try {
            xlsx::PartFile file;
            xlsx::CellWriter cells;
            xlsx::createSheetFile(file, 1, dir.path(), 0, 0);
            for (int row = 1; row < 100000; ++row) {
                cells.newRow(file, row, 2, row > 1);
                cells.writeNumber(file, row, 2, row * 0.001);
            }
            xlsx::finishSheet(file);
        } catch (const std::runtime_error& error) {
            message = error.what();
        }
        const ssize_t sent = write(pipeEnds[1], message.data(), message.size());
        _exit(sent == static_cast<ssize_t>(message.size()) ? 0 : 1);
    }
    close(pipeEnds[1]);
    char message[256] = {};
    const ssize_t received = read(pipeEnds[0], message, sizeof message - 1);
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ASSERT_GT(received, 0);
    EXPECT_STREQ(message, std::strerror(EFBIG));
    EXPECT_EQ(QFileInfo(path).size(), static_cast<qint64>(Limit));
    EXPECT_EQ(readFile(path).substr(0, SheetHeadStart.size()), SheetHeadStart);
}

} // namespace
