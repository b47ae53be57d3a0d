// The package's fixed parts and the fragment files each sheet adds to, parsed as XML.

#include "packageparts.h"
#include "worksheet.h"

#include <QTemporaryDir>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace {

// Every element `name` of a document, in order: its attribute `key`, or with a null key its
// text. Fails the test unless the document is well-formed and starts with the standalone UTF-8
// declaration.
QStringList valuesOf(std::string_view document, const char* name, const char* key = nullptr)
{
    EXPECT_TRUE(document.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"));
    QXmlStreamReader reader(QByteArray(document.data(), static_cast<qsizetype>(document.size())));
    QStringList values;
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.qualifiedName() == QLatin1String(name))
            values << (key ? reader.attributes().value(QLatin1String(key)).toString() : reader.readElementText());
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString() << " at " << reader.characterOffset();
    return values;
}

TEST(PackageParts, FixedTextsAreWellFormed)
{
    EXPECT_EQ(valuesOf(xlsx::PackageRelationships, "Relationship", "Target"),
        QStringList({"xl/workbook.xml", "docProps/core.xml", "docProps/app.xml"}));
    // Date cells use cell format 1 (the third format after the style's own), whose number
    // format must exist.
    EXPECT_EQ(valuesOf(xlsx::StyleSheet, "xf", "numFmtId").value(2), valuesOf(xlsx::StyleSheet, "numFmt", "numFmtId").value(0));
    EXPECT_EQ(valuesOf(xlsx::Theme, "a:theme", "name").size(), 1);

    // The core properties carry the moment in UTC as created and modified time.
    const QString timestamp = xlsx::corePropertiesTimestamp(QDateTime(QDate(2026, 4, 5), QTime(15, 7, 9), QTimeZone(2 * 3600)));
    EXPECT_EQ(timestamp, QStringLiteral("2026-04-05T13:07:09Z"));
    const std::string core = xlsx::coreProperties(timestamp).toStdString();
    EXPECT_EQ(valuesOf(core, "dcterms:created") + valuesOf(core, "dcterms:modified"), QStringList({timestamp, timestamp}));
}

// The four fragment files of a workbook, their heads and tails written around addSheet: sheets
// stand in tab order (a continuation sheet numbered after the others next to the sheet it
// continues) while the relationships follow the sheet numbers.
TEST(PackageParts, WorkbookFragmentsListTheSheets)
{
    const QStringList titles = {"General Information", "External Data", "External Data 2", "Sensor Orientation - Quat"};
    const int numbers[] = {1, 2, 4, 3};
    QTemporaryDir dir;
    const char* names[4] = {"workbook.xml", "[Content_Types].xml", "app.xml", "workbook.xml.rels"};
    xlsx::PartFile files[4];
    for (int i = 0; i < 4; ++i)
        xlsx::createBasic(files[i], dir.filePath(QLatin1String(names[i])));
    xlsx::writeWorkbookHead(files[0]);
    xlsx::writeContentTypesHead(files[1]);
    xlsx::writeAppPropertiesHead(files[2], 4);
    xlsx::writeWorkbookRelsHead(files[3]);
    for (int i = 0; i < 4; ++i)
        xlsx::addSheet(numbers[i], titles[i].toStdString(), files[0], files[1], files[2]);
    for (int number = 1; number <= 4; ++number)
        xlsx::addSheetRelationship(number, files[3]);
    xlsx::writeWorkbookTail(files[0]);
    xlsx::writeContentTypesTail(files[1]);
    xlsx::writeAppPropertiesTail(files[2]);
    xlsx::writeWorkbookRelsTail(files[3], 5);
    std::string parts[4];
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(files[i].isOpen());
        std::ifstream in(dir.filePath(QLatin1String(names[i])).toStdString(), std::ios::binary);
        parts[i] = std::string(std::istreambuf_iterator<char>(in), {});
    }

    EXPECT_EQ(valuesOf(parts[0], "sheet", "name"), titles);
    EXPECT_EQ(valuesOf(parts[0], "sheet", "sheetId"), QStringList({"1", "2", "4", "3"}));
    EXPECT_EQ(valuesOf(parts[0], "sheet", "r:id"), QStringList({"rId1", "rId2", "rId4", "rId3"}));
    EXPECT_EQ(valuesOf(parts[1], "Override", "PartName"),
        QStringList({"/xl/workbook.xml", "/xl/worksheets/sheet1.xml", "/xl/worksheets/sheet2.xml",
            "/xl/worksheets/sheet4.xml", "/xl/worksheets/sheet3.xml", "/xl/theme/theme1.xml", "/xl/styles.xml",
            "/xl/sharedStrings.xml", "/docProps/core.xml", "/docProps/app.xml"}));
    EXPECT_EQ(valuesOf(parts[2], "vt:i4"), QStringList({"4"}));
    EXPECT_EQ(valuesOf(parts[2], "vt:vector", "size"), QStringList({"2", "4"}));
    EXPECT_EQ(valuesOf(parts[2], "vt:lpstr"), QStringList({"Worksheets"}) + titles);
    EXPECT_EQ(valuesOf(parts[3], "Relationship", "Target"),
        QStringList({"worksheets/sheet1.xml", "worksheets/sheet2.xml", "worksheets/sheet3.xml", "worksheets/sheet4.xml",
            "theme/theme1.xml", "styles.xml", "sharedStrings.xml"}));
    EXPECT_EQ(valuesOf(parts[3], "Relationship", "Id"),
        QStringList({"rId1", "rId2", "rId3", "rId4", "rId5", "rId6", "rId7"}));
}

} // namespace
