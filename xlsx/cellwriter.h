#pragma once

// Rows and cells of worksheets, and the shared-string table that string cells index.

#include "partfile.h"
#include "sheetstream.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <string_view>

class ZtVector;
struct ZtQuaternion;

namespace xlsx {

class CellWriter
{
public:
    // Empties the shared-string table and the string cell count.
    void reset();

    // The last column a cell may take (XFD); cells further right are left out.
    static constexpr int MaxColumn = 16384;

    // "</row>" first when closePrevious, then the start tag of `row` spanning 1:lastColumn
    // (at most 1:MaxColumn).
    void newRow(SheetStream& sheet, int row, int lastColumn, bool closePrevious = true);
    // "%.15g" with '.'; a value that is not finite, or whose text would read back as infinite
    // (1.79769313486232e+308), writes no cell.
    void writeNumber(SheetStream& sheet, int row, int column, double value);
    void writeInt(SheetStream& sheet, int row, int column, int value);
    // x, y, z at columns index*3+2 .. index*3+4 (further components are ignored); magnitudes
    // below 1e-12 are written as 0.
    void writeVec(SheetStream& sheet, int row, int index, const ZtVector& v);
    // q0..q3 at columns index*4+2 .. index*4+5, as they are.
    void writeQuat(SheetStream& sheet, int row, int index, const ZtQuaternion& q);
    // A shared-string cell; the text joins the table on first use.
    void writeString(SheetStream& sheet, int row, int column, const QString& text);
    // "<sheetData>" and row 1 holding the headers; the row stays open.
    void setHeaders(SheetStream& sheet, const QList<QString>& headers);

    const QStringList& sharedStrings() const { return m_sharedStrings; }
    int stringCellCount() const { return m_stringCellCount; }

    // Writes the whole xl/sharedStrings.xml part into the freshly created `file` and closes it.
    // Texts are UTF-8 with &, <, > escaped and the characters XML 1.0 forbids dropped, written
    // so that clients read them back as they are: a carriage return as a character reference,
    // blanks at either end marked to be kept, the underscore of a literal _xHHHH_ escaped as
    // _x005F_, and a text longer than a cell holds (32,767 UTF-16 units) cut to that length.
    void writeSharedStringTable(PartFile& file) const;

private:
    // The row reference text of the current row, formatted once per row.
    void cacheRow(int row);
    // Counts the cell in the sheet's extent and writes "<c r=\"" and its reference into the
    // part's buffer; returns the end, where the caller finishes and commits the cell.
    char* beginCell(SheetStream& sheet, int row, int column);
    // An integer cell: reference, the form's middle ("\"><v>" or the shared-string one), value.
    void writeIntegerCell(SheetStream& sheet, int row, int column, std::string_view middle, int value);

    QStringList m_sharedStrings;
    QHash<QString, int> m_stringIndex;
    int m_stringCellCount = 0;
    int m_cachedRow = -1;
    char m_rowDigits[16] = {};
    int m_rowDigitCount = 0;
};

} // namespace xlsx
