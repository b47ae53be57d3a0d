#pragma once

// The fixed texts of the workbook package and the heads and tails of the four parts that
// collect one fragment per worksheet (see addSheet in worksheet.h). A head goes into a freshly
// created part file; a tail ends the part and closes the file (throwing on a write error).

#include "partfile.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <string_view>

namespace xlsx {

// Archive entry "_rels/.rels": the package's relationships to the workbook and the two
// document property parts.
extern const std::string_view PackageRelationships;
// Archive entry "xl/styles.xml": cell format 0 is the default, 1 the date-time format of
// date cells.
extern const std::string_view StyleSheet;
// Archive entry "xl/theme/theme1.xml".
extern const std::string_view Theme;

// Archive entry "docProps/core.xml" is head, timestamp, middle, the same timestamp, tail.
extern const std::string_view CorePropertiesHead;
extern const std::string_view CorePropertiesMiddle;
extern const std::string_view CorePropertiesTail;
// The timestamp of the core properties: the moment in UTC as "yyyy-MM-ddThh:mm:ssZ".
QString corePropertiesTimestamp(const QDateTime& moment);
// The whole docProps/core.xml text, created and modified both at `timestamp` (UTF-8).
QByteArray coreProperties(const QString& timestamp);

// xl/workbook.xml: head, the <sheet> fragments, tail.
void writeWorkbookHead(PartFile& file);
void writeWorkbookTail(PartFile& file);

// [Content_Types].xml: head, the worksheet <Override> fragments, tail.
void writeContentTypesHead(PartFile& file);
void writeContentTypesTail(PartFile& file);

// docProps/app.xml: head announcing `sheetCount` worksheet titles, the <vt:lpstr> fragments,
// tail.
void writeAppPropertiesHead(PartFile& file, int sheetCount);
void writeAppPropertiesTail(PartFile& file);

// xl/_rels/workbook.xml.rels: head, the worksheet relationships rId1 .. rId(n-1), tail with
// the theme, styles and shared strings as rId(n), rId(n+1), rId(n+2) for
// n = nextSheetNumber.
void writeWorkbookRelsHead(PartFile& file);
void writeWorkbookRelsTail(PartFile& file, int nextSheetNumber);

} // namespace xlsx
