#include "worksheet.h"

#include "zip.h"

#include <charconv>
#include <stdexcept>

namespace xlsx {

namespace {

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
    if (column <= 26) {
        *out++ = static_cast<char>('@' + column);
    } else if (column <= 702) {
        *out++ = static_cast<char>('@' + (column - 1) / 26);
        *out++ = static_cast<char>('A' + (column - 1) % 26);
    } else {
        const int past = column - 703; // AAA
        *out++ = static_cast<char>('A' + past / 676);
        *out++ = static_cast<char>('A' + past / 26 % 26);
        *out++ = static_cast<char>('A' + past % 26);
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

void writeHiddenColumns(PartFile& file, const std::vector<std::pair<int, int>>& ranges)
{
    // The schema does not allow an empty <cols> element.
    if (ranges.empty())
        return;
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

void addSheet(int sheetNumber, std::string_view title, PartFile& workbook, PartFile& contentTypes,
    PartFile& appProperties)
{
    char number[12];
    const std::string_view n = _itoa(sheetNumber, number);

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
}

void addSheetRelationship(int sheetNumber, PartFile& workbookRels)
{
    char number[12];
    const std::string_view n = _itoa(sheetNumber, number);
    workbookRels.write("<Relationship Id=\"rId");
    workbookRels.write(n);
    workbookRels.write(
        "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\""
        " Target=\"worksheets/sheet");
    workbookRels.write(n);
    workbookRels.write(".xml\"/>");
}

void addFileToZip(zip_t* archive, const char* entryName, const char* path)
{
    if (zip_entry_open(archive, entryName) != 0 || zip_entry_fwrite(archive, path) != 0
        || zip_entry_close(archive) != 0)
        throw std::runtime_error("Could not add file to xlsx");
}

} // namespace xlsx
