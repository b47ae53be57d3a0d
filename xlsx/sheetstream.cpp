#include "sheetstream.h"

#include "cellwriter.h"
#include "worksheet.h"
#include "igziplevel.h"
#include "zip.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
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

} // namespace

std::string worksheetHead(SheetExtent extent)
{
    std::string head(WorksheetHead);
    if (extent.lastRow > 1 || extent.lastColumn > 1) {
        char range[32] = {':'};
        char* end = writeColumnLetters(std::max(extent.lastColumn, 1), range + 1);
        end = std::to_chars(end, range + sizeof range, std::max(extent.lastRow, 1)).ptr;
        head.append(range, end);
    }
    head.append(WorksheetHeadEnd);
    return head;
}

std::string deflateHead(std::string_view head, int level)
{
    const std::uint32_t igzipLevel = igzipLevelFor(level);
    const std::uint32_t levelBufferSize = igzipLevelBufferSize(igzipLevel);
    const auto levelBuffer = std::make_unique<std::uint8_t[]>(levelBufferSize);
    isal_zstream z;
    isal_deflate_init(&z);
    z.level = igzipLevel;
    z.level_buf = levelBuffer.get();
    z.level_buf_size = levelBufferSize;
    z.gzip_flag = IGZIP_DEFLATE;
    z.flush = SYNC_FLUSH;
    z.end_of_stream = 0;
    z.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(head.data()));
    z.avail_in = static_cast<std::uint32_t>(head.size());

    std::string piece;
    std::uint8_t output[4096];
    do {
        z.next_out = output;
        z.avail_out = sizeof output;
        if (isal_deflate(&z) != COMP_OK)
            throw std::runtime_error("Could not add file to xlsx");
        piece.append(reinterpret_cast<const char*>(output), sizeof output - z.avail_out);
    } while (z.avail_in > 0 || z.avail_out == 0);
    return piece;
}

void addWorksheetToZip(zip_t* archive, const char* entryName, const SheetStream::Part& part, const char* bodyPath,
    int level)
{
    const std::string head = worksheetHead(part.extent);
    int result = zip_entry_open(archive, entryName);
    if (result == 0 && part.deflatedBody) {
        // The body's stream in its file follows the head's piece.
        const std::string headPiece = deflateHead(head, level);
        const auto headCrc = crc32_gzip_refl(0, reinterpret_cast<const unsigned char*>(head.data()), head.size());
        result = zip_entry_write_deflated(archive, headPiece.data(), headPiece.size(), headCrc, head.size());
        if (result == 0)
            result = zip_entry_fwrite_deflated(archive, bodyPath, part.deflatedBody->crc, part.deflatedBody->length);
    } else if (result == 0) {
        result = zip_entry_write(archive, head.data(), head.size());
        if (result == 0)
            result = zip_entry_fwrite(archive, bodyPath);
    }
    if (result != 0 || zip_entry_close(archive) != 0)
        throw std::runtime_error("Could not add file to xlsx");
}

void SheetStream::open(const QString& folder, int sheetNumber, int rowLimit, DeflateWorkers* workers)
{
    m_folder = folder;
    m_rowLimit = rowLimit;
    m_workers = workers;
    m_parts.clear();
    m_hiddenColumns.clear();
    m_headers.clear();
    openPart(sheetNumber);
}

void SheetStream::openPart(int sheetNumber)
{
    const QString path = m_folder + QStringLiteral("/sheet%1.xml").arg(sheetNumber);
    if (m_workers)
        m_body.open(path, *m_workers);
    else
        m_body.open(path);
    m_parts.push_back(Part{sheetNumber, {}, std::nullopt});
    m_extent = {};
    m_nextRow = 2;
}

void SheetStream::writePrologue(CellWriter& cells, std::vector<std::pair<int, int>> hiddenColumns,
    const QStringList& headers)
{
    m_hiddenColumns = std::move(hiddenColumns);
    m_headers = headers;
    writeHiddenColumns();
    cells.setHeaders(*this, m_headers);
}

void SheetStream::writeHiddenColumns()
{
    xlsx::writeHiddenColumns(m_body, m_hiddenColumns);
}

int SheetStream::nextRow(CellWriter& cells, int& nextSheetNumber)
{
    if (m_nextRow > m_rowLimit) {
        finish();
        openPart(nextSheetNumber++);
        writeHiddenColumns();
        cells.setHeaders(*this, m_headers);
    }
    return m_nextRow++;
}

void SheetStream::finish()
{
    if (!m_body.isOpen())
        return;
    Part& part = m_parts.back();
    part.extent = m_extent;
    m_body.write(WorksheetEnd);
    m_body.close();
    if (m_body.isDeflated())
        part.deflatedBody = m_body.deflatedText();
}

void SheetStream::abandon()
{
    m_body.abandon();
}

void SheetStream::discard()
{
    m_body.abandon();
    m_parts.clear();
}

} // namespace xlsx
