// The two sheets without per-frame motion data: General Information (about the recording)
// and Markers (the marker texts met during the export).

#include "excelexporter.h"

#include "abstracttavistudioplugininterface.h"
#include "worksheet.h"

#include <charconv>

namespace {

// Spreadsheet serial day number (1900 date system) of a moment, milliseconds kept.
double spreadsheetSerial(const QDateTime& moment)
{
    const double secondsSinceEpoch = static_cast<double>(moment.toMSecsSinceEpoch()) / 1000.0;
    return secondsSinceEpoch / 86400.0 + 25569.0;
}

} // namespace

void ExcelExporter::writeGeneralInformation()
{
    xlsx::SheetStream& file = sheet(SheetId::GeneralInfo);
    if (file.isOpen()) {
        file.body().write(
            "<cols><col min=\"1\" max=\"1\" width=\"16\" customWidth=\"1\"/>"
            "<col min=\"2\" max=\"2\" width=\"48\" customWidth=\"1\"/></cols>");
        file.body().write("<sheetData>");
    }

    const auto textRow = [&](int row, const char* label, const QString& value) {
        m_cells.newRow(file, row, 2, row > 1);
        m_cells.writeString(file, row, 1, QString::fromLatin1(label));
        m_cells.writeString(file, row, 2, value);
    };
    textRow(1, "TAVI version", m_host.applicationVersion());
    textRow(2, "Original File Name", m_host.filename());
    textRow(3, "Suit Label", m_host.subjectName());

    // The start time carries the workbook's date style (style 1).
    m_cells.newRow(file, 4, 2, true);
    m_cells.writeString(file, 4, 1, QStringLiteral("Recorded Date UTC"));
    xlsx::PartFile& body = file.body();
    file.include(4, 2);
    body.write("<c r=\"B4\" s=\"1\"><v>");
    char* out = body.reserve(64);
    out = std::to_chars(out, out + 64, spreadsheetSerial(m_host.recordStartTime()), std::chars_format::fixed, 15).ptr;
    body.commit(out);
    body.write("</v></c>");

    m_cells.newRow(file, 5, 2, true);
    m_cells.writeString(file, 5, 1, QStringLiteral("Frame Rate"));
    m_cells.writeNumber(file, 5, 2, m_host.frameRate());

    textRow(6, "Processing Quality", m_host.processingQuality());
    file.finish();
}

void ExcelExporter::writeMarkersSheet()
{
    xlsx::SheetStream& file = sheet(SheetId::Markers);
    file.open(m_tempFolder, 2, m_rowLimit);
    file.writePrologue(m_cells, {}, {QStringLiteral("Frame"), QStringLiteral("Marker Text")});
    for (const auto& [frame, text] : m_markerList) {
        const int row = file.nextRow(m_cells, m_nextSheetNumber);
        m_cells.newRow(file, row, 2, true);
        m_cells.writeInt(file, row, 1, frame);
        m_cells.writeString(file, row, 2, text);
    }
    file.finish();
}
