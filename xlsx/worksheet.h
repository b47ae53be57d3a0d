#pragma once

// Worksheet text: part files, column references, hidden columns, and the four workbook
// fragments each sheet contributes.

#include "partfile.h"

#include <QString>

#include <string_view>
#include <utility>
#include <vector>

struct zip_t;

namespace xlsx {

// Writes value as "%d" into buffer (at least 12 bytes) and returns buffer.
char* _itoa(int value, char* buffer);
// Writes the reference of a 1-based (row, column), e.g. "AA12", NUL-terminated, into buffer
// (32 bytes) and returns buffer.
char* cellRefToString(int row, int column, char* buffer);
// Writes the letters of a 1-based column (1 to 16,384: A .. Z, AA .. ZZ, AAA .. XFD) at out and
// returns the end.
char* writeColumnLetters(int column, char* out);

// Creates the part file; throws "Could not create temporary file <path>".
void createBasic(PartFile& file, const QString& path);
// Writes "<cols>", one hidden <col> element per [first, last] range, "</cols>"; nothing when
// there are no ranges.
void writeHiddenColumns(PartFile& file, const std::vector<std::pair<int, int>>& ranges);
// Appends sheet number `sheetNumber` titled `title` to the workbook's sheet list, the content
// types and the application properties' titles, in tab order.
void addSheet(int sheetNumber, std::string_view title, PartFile& workbook, PartFile& contentTypes,
    PartFile& appProperties);
// Appends the workbook's relationship rId<n> to worksheets/sheet<n>.xml; written in sheet-number
// order.
void addSheetRelationship(int sheetNumber, PartFile& workbookRels);
// Copies a file into the archive as one entry; throws "Could not add file to xlsx".
void addFileToZip(zip_t* archive, const char* entryName, const char* path);

} // namespace xlsx
