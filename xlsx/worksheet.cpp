#include "worksheet.h"

#include "zip.h"

#include <charconv>
#include <stdexcept>

namespace xlsx {

namespace {

constexpr std::string_view WorksheetHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\""
    " xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
    "<dimension ref=\"A1";
constexpr std::string_view WorksheetHeadEnd =
    "\"/><sheetViews><sheetView showRuler=\"0\" workbookViewId=\"0\"/></sheetViews>"
    "<sheetFormatPr defaultRowHeight=\"15\"/>";
constexpr std::string_view WorksheetEnd = "</row></sheetData></worksheet>";

char* copyText(char* out, std::string_view text)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

char* writeDecimal(int value, char* out)
{
    return std::to_chars(out, out + 11, value).ptr;
}

} // namespace

char* _itoa(int value, char* buffer)
{
    *writeDecimal(value, buffer) = '\0';
    return buffer;
}

char* writeColumnLetters(int column, char* out)
{
    if (column > 26) {
        *out++ = static_cast<char>('@' + (column - 1) / 26);
        *out++ = static_cast<char>('A' + (column - 1) % 26);
    } else {
        *out++ = static_cast<char>('@' + column);
    }
    return out;
}

char* cellRefToString(int row, int column, char* buffer)
{
    *writeDecimal(row, writeColumnLetters(column, buffer)) = '\0';
    return buffer;
}

void createBasic(PartFile& file, const QString& path)
{
    file.open(path);
}

void createSheetFile(PartFile& file, int sheetNumber, const QString& folder, int lastRow, int lastColumn,
                     DeflateWorkers* workers)
{
    const QString path = folder + QStringLiteral("/sheet%1.xml").arg(sheetNumber);
    if (workers)
        file.open(path, *workers);
    else
        createBasic(file, path);
    file.write(WorksheetHead);
    if (lastRow != 0 && lastColumn != 0) {
        char* out = file.reserve(32);
        *out++ = ':';
        file.commit(writeDecimal(lastRow, writeColumnLetters(lastColumn, out)));
    }
    file.write(WorksheetHeadEnd);
}

void finishSheet(PartFile& file)
{
    if (!file.isOpen())
        return;
    file.write(WorksheetEnd);
    file.close();
}

void writeHiddenColumns(PartFile& file, const std::vector<std::pair<int, int>>& ranges)
{
    file.write("<cols>");
    for (const auto& [first, last] : ranges) {
        char* out = file.reserve(64);
        out = copyText(out, "<col min=\"");
        out = writeDecimal(first, out);
        out = copyText(out, "\" max=\"");
        out = writeDecimal(last, out);
        file.commit(copyText(out, "\" width=\"0\" hidden=\"1\"/>"));
    }
    file.write("</cols>");
}

void addSheet(bool enabled, int& counter, const char* name, PartFile& workbook, PartFile& contentTypes,
              PartFile& appProperties, PartFile& workbookRels)
{
    if (!enabled)
        return;
    char number[12];
    const std::string_view n = _itoa(counter, number);
    const std::string_view title = name;

    workbook.write("<sheet name=\"");
    workbook.write(title);
    workbook.write("\" sheetId=\"");
    workbook.write(n);
    workbook.write("\" r:id=\"rId");
    workbook.write(n);
    workbook.write("\"/>");

    contentTypes.write("<Override PartName=\"/xl/worksheets/sheet");
    contentTypes.write(n);
    contentTypes.write(".xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>");

    appProperties.write("<vt:lpstr>");
    appProperties.write(title);
    appProperties.write("</vt:lpstr>");

    workbookRels.write("<Relationship Id=\"rId");
    workbookRels.write(n);
    workbookRels.write("\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\""
                       " Target=\"worksheets/sheet");
    workbookRels.write(n);
    workbookRels.write(".xml\"/>");

    ++counter;
}

void addFileToZip(zip_t* archive, const char* entryName, const char* path)
{
    if (zip_entry_open(archive, entryName) != 0 || zip_entry_fwrite(archive, path) != 0
        || zip_entry_close(archive) != 0)
        throw std::runtime_error("Could not add file to xlsx");
}

void addDeflatedFileToZip(zip_t* archive, const char* entryName, const char* path, DeflatedText text)
{
    if (zip_entry_open(archive, entryName) != 0 || zip_entry_fwrite_deflated(archive, path, text.crc, text.length) != 0
        || zip_entry_close(archive) != 0)
        throw std::runtime_error("Could not add file to xlsx");
}

} // namespace xlsx
