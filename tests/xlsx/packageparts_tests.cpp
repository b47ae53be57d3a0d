// The package's fixed parts and the fragment files each sheet adds to, parsed as XML.

#include "packageparts.h"
#include "worksheet.h"

#include <QTemporaryDir>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

// An element with its attributes, text and child elements, as an XML reader sees it.
struct Element
{
    QString name;
    QXmlStreamAttributes attributes;
    QString text;
    std::vector<Element> children;

    QString attribute(const char* key) const { return attributes.value(QLatin1String(key)).toString(); }
    // The first child of that name, or an empty element.
    const Element& operator[](const char* childName) const
    {
        static const Element none;
        for (const Element& child : children)
            if (child.name == QLatin1String(childName))
                return child;
        return none;
    }
    // The attribute `key` (or with a null key, the text) of every child, in order.
    QStringList ofChildren(const char* key) const
    {
        QStringList values;
        for (const Element& child : children)
            values << (key ? child.attribute(key) : child.text);
        return values;
    }
};

Element readElement(QXmlStreamReader& reader)
{
    Element element{reader.qualifiedName().toString(), reader.attributes(), {}, {}};
    while (reader.readNext() != QXmlStreamReader::EndElement && !reader.atEnd()) {
        if (reader.tokenType() == QXmlStreamReader::StartElement)
            element.children.push_back(readElement(reader));
        else if (reader.tokenType() == QXmlStreamReader::Characters)
            element.text += reader.text();
    }
    return element;
}

// Parses a whole document, which must start with the standalone UTF-8 declaration; fails the
// test when it is not well-formed.
Element parse(std::string_view text)
{
    EXPECT_TRUE(text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n")) << text.substr(0, 80);
    QXmlStreamReader reader(QByteArray(text.data(), static_cast<qsizetype>(text.size())));
    Element root;
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement)
            root = readElement(reader);
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString() << " at " << reader.characterOffset();
    return root;
}

TEST(PackageParts, FixedTextsAreWellFormed)
{
    EXPECT_EQ(parse(xlsx::PackageRelationships).ofChildren("Target"),
        QStringList({"xl/workbook.xml", "docProps/core.xml", "docProps/app.xml"}));
    // Date cells use cell format 1, whose number format must exist.
    const Element styles = parse(xlsx::StyleSheet);
    ASSERT_EQ(styles["cellXfs"].children.size(), 2u);
    EXPECT_EQ(styles["cellXfs"].children[1].attribute("numFmtId"), styles["numFmts"]["numFmt"].attribute("numFmtId"));
    EXPECT_EQ(parse(xlsx::Theme).name, QStringLiteral("a:theme"));

    // The core properties carry the moment in UTC as created and modified time.
    const QString timestamp = xlsx::corePropertiesTimestamp(QDateTime(QDate(2026, 4, 5), QTime(15, 7, 9), QTimeZone(2 * 3600)));
    EXPECT_EQ(timestamp, QStringLiteral("2026-04-05T13:07:09Z"));
    const Element core = parse(xlsx::coreProperties(timestamp).toStdString());
    EXPECT_EQ(core["dcterms:created"].text, timestamp);
    EXPECT_EQ(core["dcterms:modified"].text, timestamp);
}

// The four fragment files of a workbook, their heads and tails written around addSheet: sheets
// stand in tab order (a continuation sheet numbered after the others next to the sheet it
// continues) while the relationships follow the sheet numbers.
TEST(PackageParts, WorkbookFragmentsListTheSheets)
{
    const std::vector<std::vector<std::pair<int, QString>>> cases = {{{1, "General Information"}},
        {{1, "General Information"}, {2, "External Data"}, {4, "External Data 2"}, {3, "Sensor Orientation - Quat"}}};
    for (const auto& sheets : cases) {
        const int count = static_cast<int>(sheets.size());
        SCOPED_TRACE(count);
        QTemporaryDir dir;
        const char* names[4] = {"workbook.xml", "[Content_Types].xml", "app.xml", "workbook.xml.rels"};
        xlsx::PartFile files[4];
        for (int i = 0; i < 4; ++i)
            xlsx::createBasic(files[i], dir.filePath(QLatin1String(names[i])));
        xlsx::writeWorkbookHead(files[0]);
        xlsx::writeContentTypesHead(files[1]);
        xlsx::writeAppPropertiesHead(files[2], count);
        xlsx::writeWorkbookRelsHead(files[3]);
        for (const auto& [number, title] : sheets)
            xlsx::addSheet(number, title.toStdString(), files[0], files[1], files[2]);
        for (int number = 1; number <= count; ++number)
            xlsx::addSheetRelationship(number, files[3]);
        xlsx::writeWorkbookTail(files[0]);
        xlsx::writeContentTypesTail(files[1]);
        xlsx::writeAppPropertiesTail(files[2]);
        xlsx::writeWorkbookRelsTail(files[3], count + 1);
        Element parts[4];
        for (int i = 0; i < 4; ++i) {
            EXPECT_FALSE(files[i].isOpen());
            std::ifstream in(dir.filePath(QLatin1String(names[i])).toStdString(), std::ios::binary);
            parts[i] = parse(std::string(std::istreambuf_iterator<char>(in), {}));
        }

        QStringList titles, ids, relationIds, overrides = {"/xl/workbook.xml"}, targets;
        for (const auto& [number, title] : sheets) {
            titles << title;
            ids << QString::number(number);
            relationIds << QStringLiteral("rId%1").arg(number);
            overrides << QStringLiteral("/xl/worksheets/sheet%1.xml").arg(number);
        }
        for (int number = 1; number <= count; ++number)
            targets << QStringLiteral("worksheets/sheet%1.xml").arg(number);
        overrides << QStringList{"/xl/theme/theme1.xml", "/xl/styles.xml", "/xl/sharedStrings.xml", "/docProps/core.xml", "/docProps/app.xml"};
        targets << QStringList{"theme/theme1.xml", "styles.xml", "sharedStrings.xml"};

        EXPECT_EQ(parts[0]["sheets"].ofChildren("name"), titles);
        EXPECT_EQ(parts[0]["sheets"].ofChildren("sheetId"), ids);
        EXPECT_EQ(parts[0]["sheets"].ofChildren("r:id"), relationIds);
        EXPECT_EQ(parts[1].ofChildren("PartName").mid(2), overrides); // after the two defaults
        EXPECT_EQ(parts[2]["HeadingPairs"]["vt:vector"].children.at(1)["vt:i4"].text, QString::number(count));
        EXPECT_EQ(parts[2]["TitlesOfParts"]["vt:vector"].attribute("size"), QString::number(count));
        EXPECT_EQ(parts[2]["TitlesOfParts"]["vt:vector"].ofChildren(nullptr), titles);
        EXPECT_EQ(parts[3].ofChildren("Target"), targets);
        QStringList numbered;
        for (int id = 1; id <= count + 3; ++id)
            numbered << QStringLiteral("rId%1").arg(id);
        EXPECT_EQ(parts[3].ofChildren("Id"), numbered);
    }
}

} // namespace
