// The package's fixed parts and the fragment files each sheet adds to.

#include "packageparts.h"
#include "worksheet.h"

#include <QTemporaryDir>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace {

const std::string Declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";

// An element with its attributes and child elements, as an XML reader sees it.
struct Element
{
    QString name;
    QXmlStreamAttributes attributes;
    std::vector<Element> children;

    QString attribute(const char* key) const { return attributes.value(QLatin1String(key)).toString(); }
    // The first child of that name, or an empty element.
    const Element& operator[](const char* childName) const
    {
        static const Element none;
        const auto found = std::find_if(children.begin(), children.end(),
            [&](const Element& c) { return c.name == QLatin1String(childName); });
        return found == children.end() ? none : *found;
    }
};

Element readElement(QXmlStreamReader& reader)
{
    Element element{reader.qualifiedName().toString(), reader.attributes(), {}};
    while (reader.readNext() != QXmlStreamReader::EndElement && !reader.atEnd())
        if (reader.tokenType() == QXmlStreamReader::StartElement)
            element.children.push_back(readElement(reader));
    return element;
}

// Parses a whole document; fails the test when it is not well-formed.
Element parse(std::string_view text)
{
    QXmlStreamReader reader(QByteArray(text.data(), static_cast<qsizetype>(text.size())));
    Element root;
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement)
            root = readElement(reader);
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString() << " at " << reader.characterOffset();
    return root;
}

TEST(PackageParts, FixedTextsKeepTheirSizesAndAreWellFormed)
{
    EXPECT_EQ(xlsx::PackageRelationships.size(), 587u);
    EXPECT_EQ(xlsx::StyleSheet.size(), 1638u);
    for (std::string_view text : {xlsx::PackageRelationships, xlsx::StyleSheet, xlsx::Theme})
        EXPECT_EQ(text.substr(0, Declaration.size()), Declaration);

    const Element relationships = parse(xlsx::PackageRelationships);
    ASSERT_EQ(relationships.children.size(), 3u);
    const char* targets[] = {"xl/workbook.xml", "docProps/core.xml", "docProps/app.xml"};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(relationships.children[i].attribute("Target"), QLatin1String(targets[i]));

    const Element styles = parse(xlsx::StyleSheet);
    EXPECT_EQ(styles["numFmts"]["numFmt"].attribute("formatCode"), QStringLiteral("dd/mmm/yyyy\\ hh:mm:ss;@"));
    ASSERT_EQ(styles["cellXfs"].children.size(), 2u);
    EXPECT_EQ(styles["cellXfs"].children[1].attribute("numFmtId"), QStringLiteral("166"));

    const Element theme = parse(xlsx::Theme);
    EXPECT_EQ(theme.name, QStringLiteral("a:theme"));
    EXPECT_EQ(theme.attribute("name"), QStringLiteral("Office 2006"));
    const Element& colours = theme["a:themeElements"]["a:clrScheme"];
    EXPECT_EQ(colours["a:dk1"]["a:sysClr"].attribute("lastClr"), QStringLiteral("000000"));
    EXPECT_EQ(colours["a:lt1"]["a:sysClr"].attribute("lastClr"), QStringLiteral("FFFFFF"));
    const std::pair<const char*, const char*> rgb[] = {
        {"a:dk2", "1F497D"}, {"a:lt2", "EEECE1"}, {"a:accent1", "4F81BD"}, {"a:accent2", "C0504D"},
        {"a:accent3", "9BBB59"}, {"a:accent4", "8064A2"}, {"a:accent5", "4BACC6"}, {"a:accent6", "F79646"},
        {"a:hlink", "0000FF"}, {"a:folHlink", "800080"}};
    for (const auto& [slot, value] : rgb)
        EXPECT_EQ(colours[slot]["a:srgbClr"].attribute("val"), QLatin1String(value)) << slot;
    const Element& fonts = theme["a:themeElements"]["a:fontScheme"];
    EXPECT_EQ(fonts["a:majorFont"]["a:latin"].attribute("typeface"), QStringLiteral("Cambria"));
    EXPECT_EQ(fonts["a:minorFont"]["a:latin"].attribute("typeface"), QStringLiteral("Calibri"));
    for (const char* list : {"a:fillStyleLst", "a:lnStyleLst", "a:effectStyleLst", "a:bgFillStyleLst"})
        EXPECT_EQ(theme["a:themeElements"]["a:fmtScheme"][list].children.size(), 3u) << list;
}

TEST(PackageParts, CorePropertiesCarryTheTimeInUtc)
{
    const QString timestamp = xlsx::corePropertiesTimestamp(QDateTime(QDate(2026, 4, 5), QTime(15, 7, 9), QTimeZone(2 * 3600)));
    EXPECT_EQ(timestamp, QStringLiteral("2026-04-05T13:07:09Z"));
    EXPECT_EQ(xlsx::coreProperties(timestamp).toStdString(),
        Declaration
            +
            "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
            "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:dcterms=\"http://purl.org/dc/terms/\" "
            "xmlns:dcmitype=\"http://purl.org/dc/dcmitype/\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
            "<dc:creator>Vantor TAVI Excel Exporter</dc:creator>"
            "<cp:lastModifiedBy>Vantor TAVI Excel Exporter</cp:lastModifiedBy>"
            "<dcterms:created xsi:type=\"dcterms:W3CDTF\">2026-04-05T13:07:09Z</dcterms:created>"
            "<dcterms:modified xsi:type=\"dcterms:W3CDTF\">2026-04-05T13:07:09Z</dcterms:modified>"
            "</cp:coreProperties>");
}

// The four fragment files of a workbook, their heads and tails written around addSheet.
class WorkbookFragments : public ::testing::Test
{
protected:
    // Sheets as (number, title) in tab order; the relationships follow the numbers.
    void build(int nextSheetNumber, const std::vector<std::pair<int, const char*>>& sheets)
    {
        ASSERT_TRUE(dir.isValid());
        for (int i = 0; i < 4; ++i)
            xlsx::createBasic(files[i], dir.filePath(QLatin1String(Names[i])));
        xlsx::writeWorkbookHead(files[0]);
        xlsx::writeContentTypesHead(files[1]);
        xlsx::writeAppPropertiesHead(files[2], nextSheetNumber - 1);
        xlsx::writeWorkbookRelsHead(files[3]);
        for (const auto& [number, title] : sheets)
            xlsx::addSheet(number, title, files[0], files[1], files[2]);
        for (int number = 1; number < nextSheetNumber; ++number)
            xlsx::addSheetRelationship(number, files[3]);
        xlsx::writeWorkbookTail(files[0]);
        xlsx::writeContentTypesTail(files[1]);
        xlsx::writeAppPropertiesTail(files[2]);
        xlsx::writeWorkbookRelsTail(files[3], nextSheetNumber);
        for (xlsx::PartFile& file : files)
            EXPECT_FALSE(file.isOpen());
    }
    // The text of fragment file i, which must be well-formed.
    std::string part(int i) const
    {
        std::ifstream in(dir.filePath(QLatin1String(Names[i])).toStdString(), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(in), {});
        parse(text);
        return text;
    }

    static constexpr const char* Names[4] = {"workbook.xml", "[Content_Types].xml", "app.xml", "workbook.xml.rels"};
    QTemporaryDir dir;
    xlsx::PartFile files[4];
};

std::string contentType(const std::string& part, const std::string& type)
{
    return "<Override PartName=\"" + part + "\" ContentType=\"application/vnd.openxmlformats-" + type + "\"/>";
}

std::string relationship(int id, const std::string& type, const std::string& target)
{
    return "<Relationship Id=\"rId" + std::to_string(id) +
        "\" Type=\"http://schemas.openxmlformats.org/"
        "officeDocument/2006/relationships/"
        + type + "\" Target=\"" + target + "\"/>";
}

TEST_F(WorkbookFragments, TwoSheets)
{
    build(3, {{1, "General Information"}, {2, "Segment Orientation - Quat"}});
    EXPECT_EQ(part(0),
        Declaration
            +
            "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
            "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
            "<fileVersion appName=\"xl\" lastEdited=\"4\" lowestEdited=\"4\" rupBuild=\"4505\"/>"
            "<workbookPr defaultThemeVersion=\"124226\"/><bookViews><workbookView xWindow=\"240\" yWindow=\"15\" "
            "windowWidth=\"16095\" windowHeight=\"9660\"/></bookViews><sheets>"
            "<sheet name=\"General Information\" sheetId=\"1\" r:id=\"rId1\"/>"
            "<sheet name=\"Segment Orientation - Quat\" sheetId=\"2\" r:id=\"rId2\"/>"
            "</sheets><calcPr calcId=\"124519\"/></workbook>");
    const std::string worksheet = "officedocument.spreadsheetml.worksheet+xml";
    EXPECT_EQ(part(1),
        Declaration + "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
            + "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
            + "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
            + contentType("/xl/workbook.xml", "officedocument.spreadsheetml.sheet.main+xml")
            + contentType("/xl/worksheets/sheet1.xml", worksheet) + contentType("/xl/worksheets/sheet2.xml", worksheet)
            + contentType("/xl/theme/theme1.xml", "officedocument.theme+xml")
            + contentType("/xl/styles.xml", "officedocument.spreadsheetml.styles+xml")
            + contentType("/xl/sharedStrings.xml", "officedocument.spreadsheetml.sharedStrings+xml")
            + contentType("/docProps/core.xml", "package.core-properties+xml")
            + contentType("/docProps/app.xml", "officedocument.extended-properties+xml") + "</Types>");
    EXPECT_EQ(part(2),
        Declaration
            +
            "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\" "
            "xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\">"
            "<Application>Microsoft Excel</Application><DocSecurity>0</DocSecurity><ScaleCrop>false</ScaleCrop>"
            "<HeadingPairs><vt:vector size=\"2\" baseType=\"variant\"><vt:variant><vt:lpstr>Worksheets</vt:lpstr>"
            "</vt:variant><vt:variant><vt:i4>2</vt:i4></vt:variant></vt:vector></HeadingPairs>"
            "<TitlesOfParts><vt:vector size=\"2\" baseType=\"lpstr\">"
            "<vt:lpstr>General Information</vt:lpstr><vt:lpstr>Segment Orientation - Quat</vt:lpstr>"
            "</vt:vector></TitlesOfParts><Company></Company><LinksUpToDate>false</LinksUpToDate>"
            "<SharedDoc>false</SharedDoc><HyperlinksChanged>false</HyperlinksChanged>"
            "<AppVersion>12.0000</AppVersion></Properties>");
    EXPECT_EQ(part(3),
        Declaration + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
            + relationship(1, "worksheet", "worksheets/sheet1.xml")
            + relationship(2, "worksheet", "worksheets/sheet2.xml") + relationship(3, "theme", "theme/theme1.xml")
            + relationship(4, "styles", "styles.xml") + relationship(5, "sharedStrings", "sharedStrings.xml")
            + "</Relationships>");
}

TEST_F(WorkbookFragments, OnlyGeneralInformation)
{
    build(2, {{1, "General Information"}});
    const std::string app = part(2);
    EXPECT_NE(app.find("<vt:i4>1</vt:i4>"), std::string::npos) << app;
    EXPECT_NE(app.find("<vt:vector size=\"1\" baseType=\"lpstr\"><vt:lpstr>General Information</vt:lpstr></vt:vector>"),
        std::string::npos)
        << app;
    EXPECT_NE(part(3).find(relationship(1, "worksheet", "worksheets/sheet1.xml") + relationship(2, "theme", "theme/theme1.xml")
                  + relationship(3, "styles", "styles.xml") + relationship(4, "sharedStrings", "sharedStrings.xml")
                  + "</Relationships>"),
        std::string::npos);
}

// A continuation sheet numbered after the others stands next to the sheet it continues in tab
// order, while the relationships stay in number order.
TEST_F(WorkbookFragments, ContinuationSheetsStandInTabOrder)
{
    build(5, {{1, "General Information"}, {2, "External Data"}, {4, "External Data 2"}, {3, "Sensor Orientation - Quat"}});
    EXPECT_NE(part(0).find("<sheet name=\"External Data\" sheetId=\"2\" r:id=\"rId2\"/>"
                           "<sheet name=\"External Data 2\" sheetId=\"4\" r:id=\"rId4\"/>"
                           "<sheet name=\"Sensor Orientation - Quat\" sheetId=\"3\" r:id=\"rId3\"/></sheets>"),
        std::string::npos);
    const std::string worksheet = "officedocument.spreadsheetml.worksheet+xml";
    EXPECT_NE(part(1).find(contentType("/xl/worksheets/sheet2.xml", worksheet) + contentType("/xl/worksheets/sheet4.xml", worksheet)
                  + contentType("/xl/worksheets/sheet3.xml", worksheet)),
        std::string::npos);
    EXPECT_NE(part(2).find("<vt:i4>4</vt:i4>"), std::string::npos);
    EXPECT_NE(part(2).find("<vt:lpstr>External Data</vt:lpstr><vt:lpstr>External Data 2</vt:lpstr>"
                           "<vt:lpstr>Sensor Orientation - Quat</vt:lpstr>"),
        std::string::npos);
    std::string relationships;
    for (int number = 1; number <= 4; ++number)
        relationships += relationship(number, "worksheet", "worksheets/sheet" + std::to_string(number) + ".xml");
    EXPECT_NE(part(3).find(relationships + relationship(5, "theme", "theme/theme1.xml")), std::string::npos);
}

} // namespace
