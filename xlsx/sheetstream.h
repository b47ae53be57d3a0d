#pragma once

// One worksheet while its rows stream in. The part file holds the sheet's body only, from the
// optional <cols> block (or <sheetData>) to the end; the head, whose <dimension> names the
// range the cells took, is written in front of the body when the sheet is packed, because
// that range is known only once the last cell is written. A sheet whose rows would pass the
// row limit goes on in a continuation part of its own sheet number, which repeats the hidden
// columns and the header row.

#include "partfile.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct zip_t;

namespace xlsx {

class CellWriter;

// The last row and column that received a cell (0 while none did).
struct SheetExtent
{
    int lastRow = 0;
    int lastColumn = 0;

    void include(int row, int column)
    {
        if (row > lastRow)
            lastRow = row;
        if (column > lastColumn)
            lastColumn = column;
    }
};

// The worksheet text ahead of the body: declaration, <worksheet>, the <dimension> of the
// extent ("A1" when it holds at most A1), the sheet view and the row format.
std::string worksheetHead(SheetExtent extent);

class SheetStream
{
public:
    static constexpr int MaxRows = 1048576;

    struct Part
    {
        int sheetNumber = 0;
        SheetExtent extent;
        // CRC and length of the body's text when the file holds it deflated.
        std::optional<DeflatedText> deflatedBody;
    };

    // Starts the sheet's first part: creates folder + "/sheet<n>.xml" for its body (throws
    // "Could not create temporary file <path>"), deflated on `workers` if given. Each part
    // holds at most rowLimit rows.
    void open(const QString& folder, int sheetNumber, int rowLimit = MaxRows, DeflateWorkers* workers = nullptr);
    bool isOpen() const { return m_body.isOpen(); }

    // Writes the hidden-column block (none when there are no ranges) and the header row,
    // which stays open; every continuation part starts with the same.
    void writePrologue(CellWriter& cells, std::vector<std::pair<int, int>> hiddenColumns, const QStringList& headers);

    // The row number for the next row after the prologue. When that row would pass the row
    // limit, this part is finished and the sheet continues on a new part taking sheet number
    // nextSheetNumber (then incremented), whose rows start again at 2.
    int nextRow(CellWriter& cells, int& nextSheetNumber);

    PartFile& body() { return m_body; }
    // Records a cell written into the current part.
    void include(int row, int column) { m_extent.include(row, column); }

    // Closes the last row, the sheet data and the worksheet, then the file; nothing if not open.
    void finish();
    // Closes without writing what is buffered (cleanup after a failure or once packed); the
    // parts stay listed.
    void abandon();
    // Abandons the sheet and forgets its parts.
    void discard();

    // Every part opened, in order, the first one the sheet itself. The extent of a part is
    // final once the part is finished.
    const std::vector<Part>& parts() const { return m_parts; }

private:
    void openPart(int sheetNumber);
    void writeHiddenColumns();

    PartFile m_body;
    DeflateWorkers* m_workers = nullptr;
    QString m_folder;
    int m_rowLimit = MaxRows;
    int m_nextRow = 2;
    SheetExtent m_extent;
    std::vector<Part> m_parts;
    std::vector<std::pair<int, int>> m_hiddenColumns;
    QStringList m_headers;
};

// The head as a raw deflate piece at the archive's `level`, ending on a byte boundary without
// a final block (a sync flush), so that a deflated body's own stream can follow it.
std::string deflateHead(std::string_view head, int level);

// Packs one worksheet entry: the head of the part's extent, then its body file, deflated or
// not; throws "Could not add file to xlsx".
void addWorksheetToZip(zip_t* archive, const char* entryName, const SheetStream::Part& part, const char* bodyPath,
    int level);

} // namespace xlsx
