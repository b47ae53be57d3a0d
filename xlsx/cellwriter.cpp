#include "cellwriter.h"

#include "numberformat.h"
#include "worksheet.h"

#include <zttypes.h>

#include <charconv>
#include <cmath>

namespace xlsx {

namespace {

// Longest cell text: "<c r=\"", two letters, eleven row digits, the string form's middle,
// the number's room (G15Room, more than its 24 characters) and "</v></c>" come to 78 bytes.
constexpr std::size_t MaxCellSize = 96;
constexpr std::size_t MaxRowStartSize = 64;
constexpr double SmallestNonZeroComponent = 1e-12;

char* copyText(char* out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// Writes `text` as UTF-8 character data: &, < and > as entities, characters that XML 1.0
// does not allow (C0 controls other than tab, LF and CR; U+FFFE and U+FFFF) left out.
void writeEscapedText(PartFile& file, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    const char* const begin = utf8.constData();
    const char* const end = begin + utf8.size();
    const char* plainStart = begin;
    auto writePlainUpTo = [&](const char* p) { file.write(std::string_view(plainStart, p - plainStart)); };

    for (const char* p = begin; p != end;) {
        const auto byte = static_cast<unsigned char>(*p);
        std::string_view replacement;
        std::size_t length = 1;
        if (byte == '&')
            replacement = "&amp;";
        else if (byte == '<')
            replacement = "&lt;";
        else if (byte == '>')
            replacement = "&gt;";
        else if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') {
            // dropped
        } else if (byte == 0xEF && end - p >= 3 && static_cast<unsigned char>(p[1]) == 0xBF
                 && (static_cast<unsigned char>(p[2]) == 0xBE || static_cast<unsigned char>(p[2]) == 0xBF)) {
            length = 3; // U+FFFE or U+FFFF
        } else {
            ++p;
            continue;
        }
        writePlainUpTo(p);
        file.write(replacement);
        p += length;
        plainStart = p;
    }
    writePlainUpTo(end);
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

char* CellWriter::writeCellReference(char* out, int row, int column)
{
    cacheRow(row);
    out = writeColumnLetters(column, out);
    // The whole fixed-size array in one move; the bytes past the digits are overwritten next.
    std::memcpy(out, m_rowDigits, sizeof m_rowDigits);
    return out + m_rowDigitCount;
}

void CellWriter::newRow(PartFile& file, int row, int lastColumn, bool closePrevious)
{
    cacheRow(row);
    char* out = file.reserve(MaxRowStartSize);
    if (closePrevious)
        out = copyText(out, "</row>");
    out = copyText(out, "<row r=\"");
    out = copyText(out, std::string_view(m_rowDigits, m_rowDigitCount));
    out = copyText(out, "\" spans=\"1:");
    out = std::to_chars(out, out + 11, lastColumn).ptr;
    file.commit(copyText(out, "\">"));
}

void CellWriter::writeNumber(PartFile& file, int row, int column, double value)
{
    if (!std::isfinite(value))
        return;
    char* out = file.reserve(MaxCellSize);
    out = copyText(out, "<c r=\"");
    out = writeCellReference(out, row, column);
    out = copyText(out, "\"><v>");
    out = formatG15(out, value);
    file.commit(copyText(out, "</v></c>"));
}

void CellWriter::writeIntegerCell(PartFile& file, int row, int column, std::string_view middle, int value)
{
    char* out = file.reserve(MaxCellSize);
    out = copyText(out, "<c r=\"");
    out = writeCellReference(out, row, column);
    out = copyText(out, middle);
    out = std::to_chars(out, out + 11, value).ptr;
    file.commit(copyText(out, "</v></c>"));
}

void CellWriter::writeInt(PartFile& file, int row, int column, int value)
{
    writeIntegerCell(file, row, column, "\"><v>", value);
}

void CellWriter::writeVec(PartFile& file, int row, int index, const ZtVector& v)
{
    const int firstColumn = index * 3 + 2;
    for (std::size_t k = 0; k < v.size(); ++k) {
        const double value = std::abs(v[k]) < SmallestNonZeroComponent ? 0.0 : v[k];
        writeNumber(file, row, firstColumn + static_cast<int>(k), value);
    }
}

void CellWriter::writeQuat(PartFile& file, int row, int index, const ZtQuaternion& q)
{
    const int firstColumn = index * 4 + 2;
    writeNumber(file, row, firstColumn, q.q0);
    writeNumber(file, row, firstColumn + 1, q.q1);
    writeNumber(file, row, firstColumn + 2, q.q2);
    writeNumber(file, row, firstColumn + 3, q.q3);
}

void CellWriter::writeString(PartFile& file, int row, int column, const QString& text)
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

    writeIntegerCell(file, row, column, "\" t=\"s\"><v>", index);
    ++m_stringCellCount;
}

void CellWriter::setHeaders(PartFile& file, const QList<QString>& headers)
{
    file.write("<sheetData>");
    const int count = static_cast<int>(headers.size());
    newRow(file, 1, count, false);
    for (int i = 0; i < count; ++i)
        writeString(file, 1, i + 1, headers[i]);
}

void CellWriter::writeSharedStringTable(PartFile& file) const
{
    char count[12];
    char uniqueCount[12];
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
               "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"");
    file.write(_itoa(m_stringCellCount, count));
    file.write("\" uniqueCount=\"");
    file.write(_itoa(static_cast<int>(m_sharedStrings.size()), uniqueCount));
    file.write("\">");
    for (const QString& text : m_sharedStrings) {
        file.write("<si><t>");
        writeEscapedText(file, text);
        file.write("</t></si>");
    }
    file.write("</sst>");
    file.close();
}

} // namespace xlsx
