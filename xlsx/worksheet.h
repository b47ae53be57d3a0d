#pragma once

// Worksheet text: part files, the worksheet head and end, column references, and the four
// workbook fragments each sheet contributes.

#include "partfile.h"

#include <QString>

#include <utility>
#include <vector>

struct zip_t;

namespace xlsx {

// Writes value as "%d" into buffer (at least 12 bytes) and returns buffer.
char* _itoa(int value, char* buffer);
// Writes the reference of a 1-based (row, column), e.g. "AA12", NUL-terminated, into buffer
// (32 bytes) and returns buffer. Columns past 702 are not supported (no third letter).
char* cellRefToString(int row, int column, char* buffer);
// Writes the column letters of a 1-based column at out and returns the end.
char* writeColumnLetters(int column, char* out);

// Creates the part file; throws "Could not create temporary file <path>".
void createBasic(PartFile& file, const QString& path);
// Creates folder + "/sheet<n>.xml" and writes the worksheet head with its dimension; with
// `workers`, the file holds the sheet's text deflated.
void createSheetFile(PartFile& file, int sheetNumber, const QString& folder, int lastRow, int lastColumn,
                     DeflateWorkers* workers = nullptr);
// Closes the last row, the sheet data and the worksheet, then the file; nothing if not open.
void finishSheet(PartFile& file);
// Writes "<cols>", one hidden <col> element per [first, last] range, "</cols>".
void writeHiddenColumns(PartFile& file, const std::vector<std::pair<int, int>>& ranges);
// When enabled, appends sheet number `counter` titled `name` to the four fragments and
// increments the counter.
void addSheet(bool enabled, int& counter, const char* name, PartFile& workbook, PartFile& contentTypes,
              PartFile& appProperties, PartFile& workbookRels);
// Copies a file into the archive as one entry; throws "Could not add file to xlsx".
void addFileToZip(zip_t* archive, const char* entryName, const char* path);
// Copies a file holding a deflated text as one entry; throws "Could not add file to xlsx".
void addDeflatedFileToZip(zip_t* archive, const char* entryName, const char* path, DeflatedText text);

} // namespace xlsx
