#include "cellwriter.h"

#include "numberformat.h"
#include "worksheet.h"

#include <zttypes.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace xlsx {

namespace {

// Longest cell text: "<c r=\"", three letters, eleven row digits, the string form's middle,
// the number's room (G15Room, more than its 24 characters) and "</v></c>" come to 79 bytes.
constexpr std::size_t MaxCellSize = 96;
constexpr std::size_t MaxRowStartSize = 64;
constexpr double SmallestNonZeroComponent = 1e-12;

char* copyText(char* out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// Magnitudes up to this one print with 15 digits as finite values; above it only the printed
// text tells whether a reader would take it as infinite.
constexpr double LargestPlainMagnitude = 1.7976931348623e308;
constexpr std::string_view PrintedBeyondRange = "1.79769313486232e+308";

// Whether a value past LargestPlainMagnitude (or not finite) gives a cell that reads back finite.
bool printsFinite(double value)
{
    if (!std::isfinite(value))
        return false;
    char text[32];
    const char* end = std::to_chars(text, text + sizeof text, std::abs(value), std::chars_format::general, 15).ptr;
    return std::string_view(text, static_cast<std::size_t>(end - text)) != PrintedBeyondRange;
}

// A spreadsheet cell holds at most this many UTF-16 code units of text.
constexpr qsizetype MaxCellTextLength = 32767;

// C0 controls other than tab, LF and CR, U+FFFE and U+FFFF: not allowed in XML 1.0.
bool isForbiddenInXml(char16_t c)
{
    return (c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r') || c == 0xFFFE || c == 0xFFFF;
}

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Whether `p` starts a literal _xHHHH_, which clients would otherwise decode as one character.
bool startsEscapePattern(const char* p, const char* end)
{
    return end - p >= 7 && p[0] == '_' && p[1] == 'x' && isHexDigit(p[2]) && isHexDigit(p[3]) && isHexDigit(p[4])
        && isHexDigit(p[5]) && p[6] == '_';
}

// The text a cell can hold: characters XML forbids dropped, then cut to the cell's length
// without splitting a surrogate pair.
QString cellText(const QString& text)
{
    QString kept;
    kept.reserve(std::min(text.size(), MaxCellTextLength + 1));
    for (QChar c : text) {
        if (!isForbiddenInXml(c.unicode()))
            kept.append(c);
    }
    if (kept.size() > MaxCellTextLength)
        kept.truncate(kept.at(MaxCellTextLength - 1).isHighSurrogate() ? MaxCellTextLength - 1 : MaxCellTextLength);
    return kept;
}

// Writes one shared-string item: the text as UTF-8 with &, < and > as entities, a carriage
// return as a character reference (a reader would turn a literal one into a line feed) and
// the underscore of every literal _xHHHH_ as _x005F_; blanks at either end are marked kept.
void writeStringItem(PartFile& file, const QString& text)
{
    const QString kept = cellText(text);
    const bool keepBlanks = !kept.isEmpty() && (isBlank(kept.front()) || isBlank(kept.back()));
    file.write(keepBlanks ? "<si><t xml:space=\"preserve\">" : "<si><t>");

    const QByteArray utf8 = kept.toUtf8();
    const char* const begin = utf8.constData();
    const char* const end = begin + utf8.size();
    const char* plainStart = begin;
    for (const char* p = begin; p != end; ++p) {
        std::string_view replacement;
        if (*p == '&')
            replacement = "&amp;";
        else if (*p == '<')
            replacement = "&lt;";
        else if (*p == '>')
            replacement = "&gt;";
        else if (*p == '\r')
            replacement = "&#13;";
        else if (*p == '_' && startsEscapePattern(p, end))
            replacement = "_x005F_";
        else
            continue;
        file.write(std::string_view(plainStart, static_cast<std::size_t>(p - plainStart)));
        file.write(replacement);
        plainStart = p + 1;
    }
    file.write(std::string_view(plainStart, static_cast<std::size_t>(end - plainStart)));
    file.write("</t></si>");
}

} // namespace

void CellWriter::reset()
{
    m_sharedStrings.clear();
    m_stringIndex.clear();
    m_stringCellCount = 0;
}

void CellWriter::cacheRow(int row)
{
    if (row == m_cachedRow)
        return;
    m_rowDigitCount = static_cast<int>(std::to_chars(m_rowDigits, m_rowDigits + sizeof m_rowDigits, row).ptr - m_rowDigits);
    m_cachedRow = row;
}

char* CellWriter::beginCell(SheetStream& sheet, int row, int column)
{
    sheet.include(row, column);
    char* out = copyText(sheet.body().reserve(MaxCellSize), "<c r=\"");
    cacheRow(row);
    out = writeColumnLetters(column, out);
    // The whole fixed-size array in one move; the bytes past the digits are overwritten next.
    std::memcpy(out, m_rowDigits, sizeof m_rowDigits);
    return out + m_rowDigitCount;
}

void CellWriter::newRow(SheetStream& sheet, int row, int lastColumn, bool closePrevious)
{
    cacheRow(row);
    PartFile& file = sheet.body();
    char* out = file.reserve(MaxRowStartSize);
    if (closePrevious)
        out = copyText(out, "</row>");
    out = copyText(out, "<row r=\"");
    out = copyText(out, std::string_view(m_rowDigits, m_rowDigitCount));
    out = copyText(out, "\" spans=\"1:");
    out = std::to_chars(out, out + 11, std::min(lastColumn, MaxColumn)).ptr;
    file.commit(copyText(out, "\">"));
}

void CellWriter::writeNumber(SheetStream& sheet, int row, int column, double value)
{
    if ((!(std::abs(value) <= LargestPlainMagnitude) && !printsFinite(value)) || column > MaxColumn)
        return;
    char* out = copyText(beginCell(sheet, row, column), "\"><v>");
    out = formatG15(out, value);
    sheet.body().commit(copyText(out, "</v></c>"));
}

void CellWriter::writeIntegerCell(SheetStream& sheet, int row, int column, std::string_view middle, int value)
{
    if (column > MaxColumn)
        return;
    char* out = copyText(beginCell(sheet, row, column), middle);
    out = std::to_chars(out, out + 11, value).ptr;
    sheet.body().commit(copyText(out, "</v></c>"));
}

void CellWriter::writeInt(SheetStream& sheet, int row, int column, int value)
{
    writeIntegerCell(sheet, row, column, "\"><v>", value);
}

void CellWriter::writeVec(SheetStream& sheet, int row, int index, const ZtVector& v)
{
    const int firstColumn = index * 3 + 2;
    const std::size_t components = std::min<std::size_t>(v.size(), 3);
    for (std::size_t k = 0; k < components; ++k) {
        const double value = std::abs(v[k]) < SmallestNonZeroComponent ? 0.0 : v[k];
        writeNumber(sheet, row, firstColumn + static_cast<int>(k), value);
    }
}

void CellWriter::writeQuat(SheetStream& sheet, int row, int index, const ZtQuaternion& q)
{
    const int firstColumn = index * 4 + 2;
    writeNumber(sheet, row, firstColumn, q.q0);
    writeNumber(sheet, row, firstColumn + 1, q.q1);
    writeNumber(sheet, row, firstColumn + 2, q.q2);
    writeNumber(sheet, row, firstColumn + 3, q.q3);
}

void CellWriter::writeString(SheetStream& sheet, int row, int column, const QString& text)
{
    int index;
    const auto found = m_stringIndex.constFind(text);
    if (found != m_stringIndex.cend()) {
        index = found.value();
    } else {
        index = static_cast<int>(m_sharedStrings.size());
        m_sharedStrings.append(text);
        m_stringIndex.insert(text, index);
    }

    writeIntegerCell(sheet, row, column, "\" t=\"s\"><v>", index);
    ++m_stringCellCount;
}

void CellWriter::setHeaders(SheetStream& sheet, const QList<QString>& headers)
{
    sheet.body().write("<sheetData>");
    const int count = static_cast<int>(headers.size());
    newRow(sheet, 1, count, false);
    for (int i = 0; i < count; ++i)
        writeString(sheet, 1, i + 1, headers[i]);
}

void CellWriter::writeSharedStringTable(PartFile& file) const
{
    char count[12];
    char uniqueCount[12];
    file.write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"");
    file.write(_itoa(m_stringCellCount, count));
    file.write("\" uniqueCount=\"");
    file.write(_itoa(static_cast<int>(m_sharedStrings.size()), uniqueCount));
    file.write("\">");
    for (const QString& text : m_sharedStrings)
        writeStringItem(file, text);
    file.write("</sst>");
    file.close();
}

} // namespace xlsx
