#pragma once

// Rows and cells of worksheets, and the shared-string table that string cells index.

#include "partfile.h"

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

    // "</row>" first when closePrevious, then the start tag of `row` spanning 1:lastColumn.
    void newRow(PartFile& file, int row, int lastColumn, bool closePrevious = true);
    // "%.15g" with '.'; a non-finite value writes no cell.
    void writeNumber(PartFile& file, int row, int column, double value);
    void writeInt(PartFile& file, int row, int column, int value);
    // Component k at column index*3+2+k; magnitudes below 1e-12 are written as 0.
    void writeVec(PartFile& file, int row, int index, const ZtVector& v);
    // q0..q3 at columns index*4+2 .. index*4+5, as they are.
    void writeQuat(PartFile& file, int row, int index, const ZtQuaternion& q);
    // A shared-string cell; the text joins the table on first use.
    void writeString(PartFile& file, int row, int column, const QString& text);
    // "<sheetData>" and row 1 holding the headers; the row stays open.
    void setHeaders(PartFile& file, const QList<QString>& headers);

    const QStringList& sharedStrings() const { return m_sharedStrings; }
    int stringCellCount() const { return m_stringCellCount; }

    // Writes the whole xl/sharedStrings.xml part into the freshly created `file` and closes it:
    // texts as UTF-8 with &, <, > escaped and the characters XML 1.0 forbids dropped.
    void writeSharedStringTable(PartFile& file) const;

private:
    // The row reference text of the current row, formatted once per row.
    void cacheRow(int row);
    // Column letters and row digits of a cell reference at out; returns the end.
    char* writeCellReference(char* out, int row, int column);
    // An integer cell: reference, the form's middle ("\"><v>" or the shared-string one), value.
    void writeIntegerCell(PartFile& file, int row, int column, std::string_view middle, int value);

    QStringList m_sharedStrings;
    QHash<QString, int> m_stringIndex;
    int m_stringCellCount = 0;
    int m_cachedRow = -1;
    char m_rowDigits[16] = {};
    int m_rowDigitCount = 0;
};

} // namespace xlsx
