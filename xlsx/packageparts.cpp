#include "packageparts.h"

#include "worksheet.h"

namespace xlsx {

const std::string_view PackageRelationships =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" Target=\"xl/workbook.xml\"/>"
    "<Relationship Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties\" Target=\"docProps/core.xml\"/>"
    "<Relationship Id=\"rId3\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties\" Target=\"docProps/app.xml\"/>"
    "</Relationships>";

const std::string_view StyleSheet =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\""
    " xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\" mc:Ignorable=\"x14ac x16r2\""
    " xmlns:x14ac=\"http://schemas.microsoft.com/office/spreadsheetml/2009/9/ac\""
    " xmlns:x16r2=\"http://schemas.microsoft.com/office/spreadsheetml/2015/02/main\">"
    "<numFmts count=\"1\"><numFmt numFmtId=\"166\" formatCode=\"dd/mmm/yyyy\\ hh:mm:ss;@\"/>"
    "</numFmts><fonts count=\"1\"><font><sz val=\"11\"/><name val=\"Calibri\"/>"
    "</font></fonts><fills count=\"2\"><fill><patternFill patternType=\"none\"/>"
    "</fill><fill><patternFill patternType=\"gray125\"/></fill></fills><borders count=\"1\">"
    "<border><left/><right/><top/><bottom/><diagonal/></border></borders><cellStyleXfs count=\"1\">"
    "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>"
    "<cellXfs count=\"2\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/>"
    "<xf numFmtId=\"166\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\" applyNumberFormat=\"1\"/>"
    "</cellXfs><cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/>"
    "</cellStyles><dxfs count=\"0\"/><tableStyles count=\"0\" defaultTableStyle=\"TableStyleMedium9\" defaultPivotStyle=\"PivotStyleLight16\"/>"
    "<extLst><ext uri=\"{EB79DEF2-80B8-43e5-95BD-54CBDDF9020C}\""
    " xmlns:x14=\"http://schemas.microsoft.com/office/spreadsheetml/2009/9/main\">"
    "<x14:slicerStyles defaultSlicerStyle=\"SlicerStyleLight1\"/></ext><ext uri=\"{9260A510-F301-46a8-8635-F512D64BE5F5}\""
    " xmlns:x15=\"http://schemas.microsoft.com/office/spreadsheetml/2010/11/main\">"
    "<x15:timelineStyles defaultTimelineStyle=\"TimeSlicerStyleLight1\"/></ext>"
    "</extLst></styleSheet>";

const std::string_view Theme =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<a:theme xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" name=\"Office 2006\">"
    "<a:themeElements>"
    "<a:clrScheme name=\"Office\">"
    "<a:dk1><a:sysClr val=\"windowText\" lastClr=\"000000\"/></a:dk1>"
    "<a:lt1><a:sysClr val=\"window\" lastClr=\"FFFFFF\"/></a:lt1>"
    "<a:dk2><a:srgbClr val=\"1F497D\"/></a:dk2>"
    "<a:lt2><a:srgbClr val=\"EEECE1\"/></a:lt2>"
    "<a:accent1><a:srgbClr val=\"4F81BD\"/></a:accent1>"
    "<a:accent2><a:srgbClr val=\"C0504D\"/></a:accent2>"
    "<a:accent3><a:srgbClr val=\"9BBB59\"/></a:accent3>"
    "<a:accent4><a:srgbClr val=\"8064A2\"/></a:accent4>"
    "<a:accent5><a:srgbClr val=\"4BACC6\"/></a:accent5>"
    "<a:accent6><a:srgbClr val=\"F79646\"/></a:accent6>"
    "<a:hlink><a:srgbClr val=\"0000FF\"/></a:hlink>"
    "<a:folHlink><a:srgbClr val=\"800080\"/></a:folHlink>"
    "</a:clrScheme>"
    "<a:fontScheme name=\"Office\">"
    "<a:majorFont><a:latin typeface=\"Cambria\"/><a:ea typeface=\"\"/><a:cs typeface=\"\"/></a:majorFont>"
    "<a:minorFont><a:latin typeface=\"Calibri\"/><a:ea typeface=\"\"/><a:cs typeface=\"\"/></a:minorFont>"
    "</a:fontScheme>"
    "<a:fmtScheme name=\"Office\">"
    "<a:fillStyleLst>"
    "<a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill>"
    "<a:gradFill rotWithShape=\"1\"><a:gsLst>"
    "<a:gs pos=\"0\"><a:schemeClr val=\"phClr\"><a:tint val=\"48000\"/><a:satMod val=\"290000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"40000\"><a:schemeClr val=\"phClr\"><a:tint val=\"36000\"/><a:satMod val=\"290000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"100000\"><a:schemeClr val=\"phClr\"><a:tint val=\"16000\"/><a:satMod val=\"340000\"/></a:schemeClr></a:gs>"
    "</a:gsLst><a:lin ang=\"16200000\" scaled=\"1\"/></a:gradFill>"
    "<a:gradFill rotWithShape=\"1\"><a:gsLst>"
    "<a:gs pos=\"0\"><a:schemeClr val=\"phClr\"><a:shade val=\"52000\"/><a:satMod val=\"128000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"75000\"><a:schemeClr val=\"phClr\"><a:shade val=\"92000\"/><a:satMod val=\"128000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"100000\"><a:schemeClr val=\"phClr\"><a:shade val=\"95000\"/><a:satMod val=\"132000\"/></a:schemeClr></a:gs>"
    "</a:gsLst><a:lin ang=\"16200000\" scaled=\"0\"/></a:gradFill>"
    "</a:fillStyleLst>"
    "<a:lnStyleLst>"
    "<a:ln w=\"9525\" cap=\"flat\" cmpd=\"sng\" algn=\"ctr\"><a:solidFill><a:schemeClr val=\"phClr\"><a:shade val=\"94000\"/><a:satMod val=\"106000\"/></a:schemeClr></a:solidFill><a:prstDash val=\"solid\"/></a:ln>"
    "<a:ln w=\"25400\" cap=\"flat\" cmpd=\"sng\" algn=\"ctr\"><a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill><a:prstDash val=\"solid\"/></a:ln>"
    "<a:ln w=\"38100\" cap=\"flat\" cmpd=\"sng\" algn=\"ctr\"><a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill><a:prstDash val=\"solid\"/></a:ln>"
    "</a:lnStyleLst>"
    "<a:effectStyleLst>"
    "<a:effectStyle><a:effectLst><a:outerShdw blurRad=\"38100\" dist=\"19050\" dir=\"5400000\" rotWithShape=\"0\"><a:srgbClr val=\"000000\"><a:alpha val=\"36000\"/></a:srgbClr></a:outerShdw></a:effectLst></a:effectStyle>"
    "<a:effectStyle><a:effectLst><a:outerShdw blurRad=\"38100\" dist=\"22860\" dir=\"5400000\" rotWithShape=\"0\"><a:srgbClr val=\"000000\"><a:alpha val=\"34000\"/></a:srgbClr></a:outerShdw></a:effectLst></a:effectStyle>"
    "<a:effectStyle><a:effectLst><a:outerShdw blurRad=\"38100\" dist=\"22860\" dir=\"5400000\" rotWithShape=\"0\"><a:srgbClr val=\"000000\"><a:alpha val=\"34000\"/></a:srgbClr></a:outerShdw></a:effectLst>"
    "<a:scene3d><a:camera prst=\"orthographicFront\"><a:rot lat=\"0\" lon=\"0\" rev=\"0\"/></a:camera><a:lightRig rig=\"threePt\" dir=\"t\"><a:rot lat=\"0\" lon=\"0\" rev=\"1200000\"/></a:lightRig></a:scene3d>"
    "<a:sp3d><a:bevelT w=\"63500\" h=\"25400\"/></a:sp3d></a:effectStyle>"
    "</a:effectStyleLst>"
    "<a:bgFillStyleLst>"
    "<a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill>"
    "<a:gradFill rotWithShape=\"1\"><a:gsLst>"
    "<a:gs pos=\"0\"><a:schemeClr val=\"phClr\"><a:tint val=\"42000\"/><a:satMod val=\"340000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"40000\"><a:schemeClr val=\"phClr\"><a:tint val=\"46000\"/><a:shade val=\"98000\"/><a:satMod val=\"340000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"100000\"><a:schemeClr val=\"phClr\"><a:shade val=\"22000\"/><a:satMod val=\"210000\"/></a:schemeClr></a:gs>"
    "</a:gsLst><a:path path=\"circle\"><a:fillToRect l=\"50000\" t=\"-80000\" r=\"50000\" b=\"180000\"/></a:path></a:gradFill>"
    "<a:gradFill rotWithShape=\"1\"><a:gsLst>"
    "<a:gs pos=\"0\"><a:schemeClr val=\"phClr\"><a:tint val=\"78000\"/><a:satMod val=\"190000\"/></a:schemeClr></a:gs>"
    "<a:gs pos=\"100000\"><a:schemeClr val=\"phClr\"><a:shade val=\"32000\"/><a:satMod val=\"190000\"/></a:schemeClr></a:gs>"
    "</a:gsLst><a:path path=\"circle\"><a:fillToRect l=\"50000\" t=\"50000\" r=\"50000\" b=\"50000\"/></a:path></a:gradFill>"
    "</a:bgFillStyleLst>"
    "</a:fmtScheme>"
    "</a:themeElements>"
    "<a:objectDefaults/>"
    "<a:extraClrSchemeLst/>"
    "</a:theme>";

const std::string_view CorePropertiesHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\""
    " xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
    " xmlns:dcterms=\"http://purl.org/dc/terms/\""
    " xmlns:dcmitype=\"http://purl.org/dc/dcmitype/\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><dc:creator>Vantor TAVI Excel Exporter</dc:creator>"
    "<cp:lastModifiedBy>Vantor TAVI Excel Exporter</cp:lastModifiedBy><dcterms:created xsi:type=\"dcterms:W3CDTF\">";
const std::string_view CorePropertiesMiddle = "</dcterms:created><dcterms:modified xsi:type=\"dcterms:W3CDTF\">";
const std::string_view CorePropertiesTail = "</dcterms:modified></cp:coreProperties>";

QString corePropertiesTimestamp(const QDateTime& moment)
{
    return moment.toUTC().toString(QStringLiteral("yyyy-MM-dd'T'hh:mm:ss'Z'"));
}

QByteArray coreProperties(const QString& timestamp)
{
    const QByteArray time = timestamp.toUtf8();
    const auto bytes = [](std::string_view text) { return QByteArray(text.data(), static_cast<qsizetype>(text.size())); };
    return bytes(CorePropertiesHead) + time + bytes(CorePropertiesMiddle) + time + bytes(CorePropertiesTail);
}

namespace {

void writeDecimal(PartFile& file, int value)
{
    char digits[12];
    file.write(_itoa(value, digits));
}

} // namespace

void writeWorkbookHead(PartFile& file)
{
    file.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\""
        " xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
        "<fileVersion appName=\"xl\" lastEdited=\"4\" lowestEdited=\"4\" rupBuild=\"4505\"/>"
        "<workbookPr defaultThemeVersion=\"124226\"/><bookViews><workbookView xWindow=\"240\" yWindow=\"15\" windowWidth=\"16095\" windowHeight=\"9660\"/>"
        "</bookViews><sheets>");
}

void writeWorkbookTail(PartFile& file)
{
    file.write("</sheets><calcPr calcId=\"124519\"/></workbook>");
    file.close();
}

void writeContentTypesHead(PartFile& file)
{
    file.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/><Override PartName=\"/xl/workbook.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>");
}

void writeContentTypesTail(PartFile& file)
{
    file.write(
        "<Override PartName=\"/xl/theme/theme1.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.theme+xml\"/>"
        "<Override PartName=\"/xl/styles.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
        "<Override PartName=\"/xl/sharedStrings.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml\"/>"
        "<Override PartName=\"/docProps/core.xml\" ContentType=\"application/vnd.openxmlformats-package.core-properties+xml\"/>"
        "<Override PartName=\"/docProps/app.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.extended-properties+xml\"/>"
        "</Types>");
    file.close();
}

void writeAppPropertiesHead(PartFile& file, int sheetCount)
{
    file.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\""
        " xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\">"
        "<Application>Microsoft Excel</Application><DocSecurity>0</DocSecurity>"
        "<ScaleCrop>false</ScaleCrop><HeadingPairs><vt:vector size=\"2\" baseType=\"variant\">"
        "<vt:variant><vt:lpstr>Worksheets</vt:lpstr></vt:variant><vt:variant><vt:i4>");
    writeDecimal(file, sheetCount);
    file.write("</vt:i4></vt:variant></vt:vector></HeadingPairs><TitlesOfParts><vt:vector size=\"");
    writeDecimal(file, sheetCount);
    file.write("\" baseType=\"lpstr\">");
}

void writeAppPropertiesTail(PartFile& file)
{
    file.write(
        "</vt:vector></TitlesOfParts><Company></Company><LinksUpToDate>false</LinksUpToDate>"
        "<SharedDoc>false</SharedDoc><HyperlinksChanged>false</HyperlinksChanged>"
        "<AppVersion>12.0000</AppVersion></Properties>");
    file.close();
}

void writeWorkbookRelsHead(PartFile& file)
{
    file.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">");
}

void writeWorkbookRelsTail(PartFile& file, int nextSheetNumber)
{
    file.write("<Relationship Id=\"rId");
    writeDecimal(file, nextSheetNumber);
    file.write(
        "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/theme\""
        " Target=\"theme/theme1.xml\"/><Relationship Id=\"rId");
    writeDecimal(file, nextSheetNumber + 1);
    file.write(
        "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles\""
        " Target=\"styles.xml\"/><Relationship Id=\"rId");
    writeDecimal(file, nextSheetNumber + 2);
    file.write(
        "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/sharedStrings\""
        " Target=\"sharedStrings.xml\"/></Relationships>");
    file.close();
}

} // namespace xlsx
