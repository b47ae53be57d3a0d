// The package's fixed parts and fragment files, and a whole workbook built from them that an
// independent reader opens.

#include "cellwriter.h"
#include "packageparts.h"
#include "worksheet.h"
#include "zip.h"

#include <zttypes.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::string readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return "<unreadable " + path.toStdString() + ">";
    return file.readAll().toStdString();
}

// An element with its attributes, child elements and text, as an XML reader sees it.
struct Element
{
    QString name;
    QXmlStreamAttributes attributes;
    std::vector<Element> children;
    QString text;

    QString attribute(const char* key) const { return attributes.value(QLatin1String(key)).toString(); }
    const Element& child(const char* childName) const
    {
        for (const Element& c : children)
            if (c.name == QLatin1String(childName))
                return c;
        static const Element none;
        return none;
    }
};

Element readElement(QXmlStreamReader& reader)
{
    Element element{reader.qualifiedName().toString(), reader.attributes(), {}, {}};
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement)
            element.children.push_back(readElement(reader));
        else if (token == QXmlStreamReader::Characters)
            element.text += reader.text();
        else if (token == QXmlStreamReader::EndElement)
            break;
    }
    return element;
}

// Parses a whole document; fails the test when it is not well-formed.
Element parse(std::string_view text)
{
    QXmlStreamReader reader(QByteArray(text.data(), static_cast<qsizetype>(text.size())));
    Element root;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement)
            root = readElement(reader);
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString() << " at line " << reader.lineNumber()
                                    << " column " << reader.columnNumber();
    return root;
}

const std::string Declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";

TEST(PackageParts, FixedTextsKeepTheirSizesAndAreWellFormed)
{
    EXPECT_EQ(xlsx::PackageRelationships.size(), 587u);
    EXPECT_EQ(xlsx::StyleSheet.size(), 1638u);
    EXPECT_EQ(xlsx::CorePropertiesMiddle.size(), 62u);
    EXPECT_EQ(xlsx::CorePropertiesTail.size(), 39u);
    for (std::string_view text : {xlsx::PackageRelationships, xlsx::StyleSheet, xlsx::Theme})
        EXPECT_EQ(text.substr(0, Declaration.size()), Declaration);

    const Element relationships = parse(xlsx::PackageRelationships);
    ASSERT_EQ(relationships.children.size(), 3u);
    EXPECT_EQ(relationships.children[0].attribute("Target"), QStringLiteral("xl/workbook.xml"));
    EXPECT_EQ(relationships.children[1].attribute("Target"), QStringLiteral("docProps/core.xml"));
    EXPECT_EQ(relationships.children[2].attribute("Target"), QStringLiteral("docProps/app.xml"));

    const Element styles = parse(xlsx::StyleSheet);
    EXPECT_EQ(styles.child("numFmts").child("numFmt").attribute("formatCode"), QStringLiteral("dd/mmm/yyyy\\ hh:mm:ss;@"));
    const Element& cellFormats = styles.child("cellXfs");
    ASSERT_EQ(cellFormats.children.size(), 2u);
    EXPECT_EQ(cellFormats.children[1].attribute("numFmtId"), QStringLiteral("166"));
}

TEST(PackageParts, ThemeNamesItsSchemes)
{
    const Element theme = parse(xlsx::Theme);
    EXPECT_EQ(theme.name, QStringLiteral("a:theme"));
    EXPECT_EQ(theme.attribute("name"), QStringLiteral("Office 2006"));
    const Element& elements = theme.child("a:themeElements");

    const Element& colours = elements.child("a:clrScheme");
    EXPECT_EQ(colours.attribute("name"), QStringLiteral("Office"));
    EXPECT_EQ(colours.child("a:dk1").child("a:sysClr").attribute("val"), QStringLiteral("windowText"));
    EXPECT_EQ(colours.child("a:dk1").child("a:sysClr").attribute("lastClr"), QStringLiteral("000000"));
    EXPECT_EQ(colours.child("a:lt1").child("a:sysClr").attribute("val"), QStringLiteral("window"));
    EXPECT_EQ(colours.child("a:lt1").child("a:sysClr").attribute("lastClr"), QStringLiteral("FFFFFF"));
    const std::pair<const char*, const char*> rgb[] = {
        {"a:dk2", "1F497D"},     {"a:lt2", "EEECE1"},     {"a:accent1", "4F81BD"}, {"a:accent2", "C0504D"},
        {"a:accent3", "9BBB59"}, {"a:accent4", "8064A2"}, {"a:accent5", "4BACC6"}, {"a:accent6", "F79646"},
        {"a:hlink", "0000FF"},   {"a:folHlink", "800080"}};
    for (const auto& [slot, value] : rgb)
        EXPECT_EQ(colours.child(slot).child("a:srgbClr").attribute("val"), QLatin1String(value)) << slot;
    EXPECT_EQ(colours.children.size(), 12u);

    const Element& fonts = elements.child("a:fontScheme");
    EXPECT_EQ(fonts.attribute("name"), QStringLiteral("Office"));
    EXPECT_EQ(fonts.child("a:majorFont").child("a:latin").attribute("typeface"), QStringLiteral("Cambria"));
    EXPECT_EQ(fonts.child("a:minorFont").child("a:latin").attribute("typeface"), QStringLiteral("Calibri"));

    const Element& formats = elements.child("a:fmtScheme");
    EXPECT_EQ(formats.attribute("name"), QStringLiteral("Office"));
    const Element& fills = formats.child("a:fillStyleLst");
    ASSERT_EQ(fills.children.size(), 3u);
    EXPECT_EQ(fills.children[0].name, QStringLiteral("a:solidFill"));
    for (int i : {1, 2})
        EXPECT_EQ(fills.children[i].child("a:lin").attribute("ang"), QStringLiteral("16200000"));
    const Element& lines = formats.child("a:lnStyleLst");
    ASSERT_EQ(lines.children.size(), 3u);
    EXPECT_EQ(lines.children[0].attribute("w"), QStringLiteral("9525"));
    EXPECT_EQ(lines.children[1].attribute("w"), QStringLiteral("25400"));
    EXPECT_EQ(lines.children[2].attribute("w"), QStringLiteral("38100"));
    const Element& effects = formats.child("a:effectStyleLst");
    ASSERT_EQ(effects.children.size(), 3u);
    for (const Element& effect : effects.children)
        EXPECT_EQ(effect.child("a:effectLst").child("a:outerShdw").name, QStringLiteral("a:outerShdw"));
    EXPECT_EQ(effects.children[2].child("a:scene3d").name, QStringLiteral("a:scene3d"));
    const Element& bevel = effects.children[2].child("a:sp3d").child("a:bevelT");
    EXPECT_EQ(bevel.attribute("w"), QStringLiteral("63500"));
    EXPECT_EQ(bevel.attribute("h"), QStringLiteral("25400"));
    const Element& backgrounds = formats.child("a:bgFillStyleLst");
    ASSERT_EQ(backgrounds.children.size(), 3u);
    EXPECT_EQ(backgrounds.children[0].name, QStringLiteral("a:solidFill"));
    for (int i : {1, 2})
        EXPECT_EQ(backgrounds.children[i].child("a:path").attribute("path"), QStringLiteral("circle"));

    ASSERT_EQ(theme.children.size(), 3u);
    EXPECT_EQ(theme.children[1].name, QStringLiteral("a:objectDefaults"));
    EXPECT_TRUE(theme.children[1].children.empty());
    EXPECT_EQ(theme.children[2].name, QStringLiteral("a:extraClrSchemeLst"));
    EXPECT_TRUE(theme.children[2].children.empty());
}

TEST(PackageParts, CorePropertiesCarryTheLocalTimeLabelledZ)
{
    const QString timestamp = xlsx::corePropertiesTimestamp(QDateTime(QDate(2026, 4, 5), QTime(13, 7, 9)));
    EXPECT_EQ(timestamp, QStringLiteral("2026-04-05T13:07:09Z"));

    const QByteArray core = xlsx::coreProperties(timestamp);
    EXPECT_EQ(core.toStdString(),
              Declaration
                  + "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
                    "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:dcterms=\"http://purl.org/dc/terms/\" "
                    "xmlns:dcmitype=\"http://purl.org/dc/dcmitype/\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
                    "<dc:creator>Vantor TAVI Excel Exporter</dc:creator>"
                    "<cp:lastModifiedBy>Vantor TAVI Excel Exporter</cp:lastModifiedBy>"
                    "<dcterms:created xsi:type=\"dcterms:W3CDTF\">2026-04-05T13:07:09Z</dcterms:created>"
                    "<dcterms:modified xsi:type=\"dcterms:W3CDTF\">2026-04-05T13:07:09Z</dcterms:modified>"
                    "</cp:coreProperties>");
    const Element parsed = parse(core.toStdString());
    EXPECT_EQ(parsed.child("dcterms:created").text, timestamp);
    EXPECT_EQ(parsed.child("dcterms:modified").text, timestamp);
}

// The four fragment files of a workbook, their heads and tails written around addSheet.
class Fragments : public ::testing::Test
{
protected:
    void build(int nextSheetNumber, const std::vector<std::pair<bool, const char*>>& sheets)
    {
        ASSERT_TRUE(dir.isValid());
        for (int i = 0; i < 4; ++i)
            xlsx::createBasic(files[i], dir.filePath(QLatin1String(Names[i])));
        xlsx::writeWorkbookHead(files[0]);
        xlsx::writeContentTypesHead(files[1]);
        xlsx::writeAppPropertiesHead(files[2], nextSheetNumber - 1);
        xlsx::writeWorkbookRelsHead(files[3]);
        int counter = 1;
        for (const auto& [enabled, title] : sheets)
            xlsx::addSheet(enabled, counter, title, files[0], files[1], files[2], files[3]);
        EXPECT_EQ(counter, nextSheetNumber);
        xlsx::writeWorkbookTail(files[0]);
        xlsx::writeContentTypesTail(files[1]);
        xlsx::writeAppPropertiesTail(files[2]);
        xlsx::writeWorkbookRelsTail(files[3], nextSheetNumber);
        for (xlsx::PartFile& file : files)
            EXPECT_FALSE(file.isOpen());
    }
    std::string part(int i) const
    {
        const std::string text = readFile(dir.filePath(QLatin1String(Names[i])));
        parse(text);
        return text;
    }

    static constexpr const char* Names[4] = {"workbook.xml", "[Content_Types].xml", "app.xml", "workbook.xml.rels"};
    QTemporaryDir dir;
    xlsx::PartFile files[4];
};

using WorkbookFragments = Fragments;

TEST_F(WorkbookFragments, TwoSheetsOfThree)
{
    build(3, {{true, "General Information"}, {false, "Markers"}, {true, "Segment Orientation - Quat"}});
    EXPECT_EQ(part(0),
              Declaration
                  + "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
                    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
                    "<fileVersion appName=\"xl\" lastEdited=\"4\" lowestEdited=\"4\" rupBuild=\"4505\"/>"
                    "<workbookPr defaultThemeVersion=\"124226\"/><bookViews><workbookView xWindow=\"240\" yWindow=\"15\" "
                    "windowWidth=\"16095\" windowHeight=\"9660\"/></bookViews><sheets>"
                    "<sheet name=\"General Information\" sheetId=\"1\" r:id=\"rId1\"/>"
                    "<sheet name=\"Segment Orientation - Quat\" sheetId=\"2\" r:id=\"rId2\"/>"
                    "</sheets><calcPr calcId=\"124519\"/></workbook>");
    const std::string worksheetType = "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>";
    EXPECT_EQ(part(1),
              Declaration
                  + "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
                    "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
                    "<Override PartName=\"/xl/workbook.xml\" "
                    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
                    "<Override PartName=\"/xl/worksheets/sheet1.xml\" " + worksheetType
                  + "<Override PartName=\"/xl/worksheets/sheet2.xml\" " + worksheetType
                  + "<Override PartName=\"/xl/theme/theme1.xml\" "
                    "ContentType=\"application/vnd.openxmlformats-officedocument.theme+xml\"/>"
                    "<Override PartName=\"/xl/styles.xml\" "
                    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
                    "<Override PartName=\"/xl/sharedStrings.xml\" "
                    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml\"/>"
                    "<Override PartName=\"/docProps/core.xml\" "
                    "ContentType=\"application/vnd.openxmlformats-package.core-properties+xml\"/>"
                    "<Override PartName=\"/docProps/app.xml\" "
                    "ContentType=\"application/vnd.openxmlformats-officedocument.extended-properties+xml\"/></Types>");
    EXPECT_EQ(part(2),
              Declaration
                  + "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\" "
                    "xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\">"
                    "<Application>Microsoft Excel</Application><DocSecurity>0</DocSecurity><ScaleCrop>false</ScaleCrop>"
                    "<HeadingPairs><vt:vector size=\"2\" baseType=\"variant\"><vt:variant><vt:lpstr>Worksheets</vt:lpstr>"
                    "</vt:variant><vt:variant><vt:i4>2</vt:i4></vt:variant></vt:vector></HeadingPairs>"
                    "<TitlesOfParts><vt:vector size=\"2\" baseType=\"lpstr\">"
                    "<vt:lpstr>General Information</vt:lpstr><vt:lpstr>Segment Orientation - Quat</vt:lpstr>"
                    "</vt:vector></TitlesOfParts><Company></Company><LinksUpToDate>false</LinksUpToDate>"
                    "<SharedDoc>false</SharedDoc><HyperlinksChanged>false</HyperlinksChanged>"
                    "<AppVersion>12.0000</AppVersion></Properties>");
    const std::string relationship = "<Relationship Id=\"rId";
    const std::string types = "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
    EXPECT_EQ(part(3),
              Declaration + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                  + relationship + "1\" " + types + "worksheet\" Target=\"worksheets/sheet1.xml\"/>"
                  + relationship + "2\" " + types + "worksheet\" Target=\"worksheets/sheet2.xml\"/>"
                  + relationship + "3\" " + types + "theme\" Target=\"theme/theme1.xml\"/>"
                  + relationship + "4\" " + types + "styles\" Target=\"styles.xml\"/>"
                  + relationship + "5\" " + types + "sharedStrings\" Target=\"sharedStrings.xml\"/>"
                  + "</Relationships>");
}

TEST_F(WorkbookFragments, OnlyGeneralInformation)
{
    build(2, {{true, "General Information"}});
    const Element app = parse(part(2));
    EXPECT_EQ(app.child("HeadingPairs").child("vt:vector").children[1].child("vt:i4").text, QStringLiteral("1"));
    EXPECT_EQ(app.child("TitlesOfParts").child("vt:vector").attribute("size"), QStringLiteral("1"));
    const Element rels = parse(part(3));
    ASSERT_EQ(rels.children.size(), 4u);
    const char* targets[] = {"worksheets/sheet1.xml", "theme/theme1.xml", "styles.xml", "sharedStrings.xml"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rels.children[i].attribute("Id"), QStringLiteral("rId%1").arg(i + 1));
        EXPECT_EQ(rels.children[i].attribute("Target"), QLatin1String(targets[i]));
    }
}

void addContents(zip_t* archive, const char* entryName, std::string_view contents)
{
    ASSERT_EQ(zip_entry_open(archive, entryName), 0);
    ASSERT_EQ(zip_entry_write(archive, contents.data(), contents.size()), 0);
    ASSERT_EQ(zip_entry_close(archive), 0);
}

TEST(WorkbookPackage, SpreadsheetReaderOpensTheAssembledWorkbook)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString folder = dir.path() + QLatin1Char('/');
    xlsx::CellWriter cells;

    xlsx::PartFile sheet;
    xlsx::createSheetFile(sheet, 1, folder, 3, 5);
    xlsx::writeHiddenColumns(sheet, {{3, 4}});
    cells.setHeaders(sheet, {QStringLiteral("Frame"), QStringLiteral("q0"), QStringLiteral("q1"),
                             QStringLiteral("q2"), QStringLiteral("Note & <remark>")});
    cells.newRow(sheet, 2, 5);
    cells.writeInt(sheet, 2, 1, 0);
    cells.writeQuat(sheet, 2, 0, ZtQuaternion{0.2, 1234567.123456789, -1e-13, 2.0});
    cells.newRow(sheet, 3, 5);
    cells.writeInt(sheet, 3, 1, 1);
    cells.writeVec(sheet, 3, 0, ZtVector{0.3, 5e-13});
    cells.writeString(sheet, 3, 5, QStringLiteral("Überkopf"));
    xlsx::finishSheet(sheet);

    xlsx::PartFile table;
    xlsx::createBasic(table, folder + QStringLiteral("sharedStrings.xml"));
    cells.writeSharedStringTable(table);

    xlsx::PartFile workbook, contentTypes, appProperties, workbookRels;
    xlsx::createBasic(workbook, folder + QStringLiteral("workbook.xml"));
    xlsx::createBasic(contentTypes, folder + QStringLiteral("[Content_Types].xml"));
    xlsx::createBasic(appProperties, folder + QStringLiteral("app.xml"));
    xlsx::createBasic(workbookRels, folder + QStringLiteral("workbook.xml.rels"));
    xlsx::writeWorkbookHead(workbook);
    xlsx::writeContentTypesHead(contentTypes);
    xlsx::writeAppPropertiesHead(appProperties, 1);
    xlsx::writeWorkbookRelsHead(workbookRels);
    int counter = 1;
    xlsx::addSheet(true, counter, "Segment Orientation - Quat", workbook, contentTypes, appProperties, workbookRels);
    xlsx::writeWorkbookTail(workbook);
    xlsx::writeContentTypesTail(contentTypes);
    xlsx::writeAppPropertiesTail(appProperties);
    xlsx::writeWorkbookRelsTail(workbookRels, counter);

    const QString target = folder + QStringLiteral("book.xlsx");
    zip_t* archive = zip_open(target.toUtf8().constData(), 6, 'w');
    ASSERT_NE(archive, nullptr);
    addContents(archive, "_rels/.rels", xlsx::PackageRelationships);
    const QByteArray core = xlsx::coreProperties(xlsx::corePropertiesTimestamp(QDateTime::currentDateTime()));
    addContents(archive, "docProps/core.xml", core.toStdString());
    addContents(archive, "xl/styles.xml", xlsx::StyleSheet);
    addContents(archive, "xl/theme/theme1.xml", xlsx::Theme);
    const std::pair<const char*, const char*> files[] = {{"[Content_Types].xml", "[Content_Types].xml"},
                                                         {"docProps/app.xml", "app.xml"},
                                                         {"xl/_rels/workbook.xml.rels", "workbook.xml.rels"},
                                                         {"xl/sharedStrings.xml", "sharedStrings.xml"},
                                                         {"xl/workbook.xml", "workbook.xml"},
                                                         {"xl/worksheets/sheet1.xml", "sheet1.xml"}};
    for (const auto& [entry, file] : files)
        xlsx::addFileToZip(archive, entry, (folder + QLatin1String(file)).toUtf8().constData());
    try {
        xlsx::addFileToZip(archive, "xl/missing.xml", (folder + QStringLiteral("missing.xml")).toUtf8().constData());
        ADD_FAILURE() << "no exception for a missing file";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Could not add file to xlsx");
    }
    zip_close(archive);

    QProcess reader;
    reader.start(QStringLiteral(PYTHON3_EXECUTABLE), {QStringLiteral(WORKBOOK_DUMP_SCRIPT), target});
    ASSERT_TRUE(reader.waitForFinished(120000));
    ASSERT_EQ(reader.exitCode(), 0) << reader.readAllStandardError().toStdString();
    const QJsonObject dump = QJsonDocument::fromJson(reader.readAllStandardOutput()).object();
    const QJsonObject strings = dump[QStringLiteral("shared_strings")].toObject();
    EXPECT_EQ(strings[QStringLiteral("count")].toInt(), 6);
    EXPECT_EQ(strings[QStringLiteral("unique")].toInt(), 6);
    const QJsonArray sheets = dump[QStringLiteral("sheets")].toArray();
    ASSERT_EQ(sheets.size(), 1);
    const QJsonObject first = sheets[0].toObject();
    EXPECT_EQ(first[QStringLiteral("title")].toString(), QStringLiteral("Segment Orientation - Quat"));
    EXPECT_EQ(first[QStringLiteral("dimension")].toString(), QStringLiteral("A1:E3"));
    EXPECT_EQ(first[QStringLiteral("hidden_ranges")].toArray(), QJsonArray({QJsonArray({3, 4})}));
    const QJsonArray expectedRows = {
        QJsonArray{QStringLiteral("Frame"), QStringLiteral("q0"), QStringLiteral("q1"), QStringLiteral("q2"),
                   QStringLiteral("Note & <remark>")},
        QJsonArray{0, 0.2, 1234567.12345679, -1e-13, 2},
        QJsonArray{1, 0.3, 0, QJsonValue(), QStringLiteral("Überkopf")}};
    EXPECT_EQ(first[QStringLiteral("rows")].toArray(), expectedRows)
        << QJsonDocument(first[QStringLiteral("rows")].toArray()).toJson().toStdString();
}

} // namespace
