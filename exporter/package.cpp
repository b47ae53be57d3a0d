// finalize: the Markers sheet, the shared strings and the workbook parts, then everything
// packed into the target .xlsx.

#include "excelexporter.h"

#include "packageparts.h"
#include "sheetstream.h"
#include "targetfile.h"
#include "worksheet.h"
#include "zip.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <memory>
#include <string>
#include <vector>
#include <stdexcept>

namespace {

struct ArchiveCloser
{
    void operator()(zip_t* archive) const { zip_close(archive); }
};
using Archive = std::unique_ptr<zip_t, ArchiveCloser>;

void addContents(zip_t* archive, const char* entryName, std::string_view contents)
{
    if (zip_entry_open(archive, entryName) != 0 || zip_entry_write(archive, contents.data(), contents.size()) != 0
        || zip_entry_close(archive) != 0)
        throw std::runtime_error("Could not add contents to xlsx file");
}

void addFile(zip_t* archive, const char* entryName, const QString& path)
{
    xlsx::addFileToZip(archive, entryName, QDir::toNativeSeparators(path).toUtf8().constData());
}

} // namespace

bool ExcelExporter::finalize(bool abort)
{
    if (abort) {
        cleanup();
        return false;
    }
    try {
        assemblePackage();
        cleanup();
    } catch (...) {
        // The temporary folder stays until the exporter is destroyed; the workers end now.
        m_lastErrorText = describeFailure(std::current_exception());
        stopDeflating();
    }
    // Success shows only as an empty lastError().
    return false;
}

void ExcelExporter::assemblePackage()
{
    // Without a folder of its own (initialize failed) nothing may be written, least of all
    // into a folder that another export holds.
    if (!m_folder.isHeld())
        throw std::runtime_error(
            QStringLiteral("Could not create temporary file %1").arg(m_tempFolder).toUtf8().toStdString());
    if (enabled(SheetId::Markers))
        writeMarkersSheet();

    {
        xlsx::PartFile sharedStrings;
        xlsx::createBasic(sharedStrings, m_tempFolder + QStringLiteral("sharedStrings.xml"));
        m_cells.writeSharedStringTable(sharedStrings);
    }

    {
        xlsx::PartFile workbook, contentTypes, appProperties, workbookRels;
        xlsx::createBasic(workbook, m_tempFolder + QStringLiteral("workbook.xml"));
        xlsx::createBasic(contentTypes, m_tempFolder + QStringLiteral("[Content_Types].xml"));
        xlsx::createBasic(appProperties, m_tempFolder + QStringLiteral("app.xml"));
        xlsx::createBasic(workbookRels, m_tempFolder + QStringLiteral("workbook.xml.rels"));
        xlsx::writeWorkbookHead(workbook);
        xlsx::writeContentTypesHead(contentTypes);
        xlsx::writeAppPropertiesHead(appProperties, m_nextSheetNumber - 1);
        xlsx::writeWorkbookRelsHead(workbookRels);

        // Continuation sheets follow the sheet they continue in tab order; the relationships
        // go by sheet number.
        for (const SheetEntry& entry : sheetCatalogue) {
            if (entry.id != SheetId::GeneralInfo && !enabled(entry.id))
                continue;
            const std::vector<xlsx::SheetStream::Part>& parts = sheet(entry.id).parts();
            for (std::size_t k = 0; k < parts.size(); ++k) {
                std::string title = entry.title;
                if (k > 0)
                    title.append(" ").append(std::to_string(k + 1));
                xlsx::addSheet(parts[k].sheetNumber, title, workbook, contentTypes, appProperties);
            }
        }
        for (int number = 1; number < m_nextSheetNumber; ++number)
            xlsx::addSheetRelationship(number, workbookRels);

        xlsx::writeWorkbookTail(workbook);
        xlsx::writeContentTypesTail(contentTypes);
        xlsx::writeAppPropertiesTail(appProperties);
        xlsx::writeWorkbookRelsTail(workbookRels, m_nextSheetNumber);
    }

    // Every part by sheet number, for the heads written in front of the bodies.
    std::vector<xlsx::SheetStream::Part> parts(static_cast<std::size_t>(m_nextSheetNumber));
    for (xlsx::SheetStream& stream : m_sheets) {
        stream.finish();
        for (const xlsx::SheetStream::Part& part : stream.parts())
            parts.at(static_cast<std::size_t>(part.sheetNumber)) = part;
    }

    m_targetPath = QFileInfo(m_targetPath).absoluteFilePath();
    // The archive is written inside the temporary folder and replaces the target only when whole.
    const QString archivePath = m_tempFolder + QLatin1String(TempFolder::ArchiveName);
    Archive archive(zip_open(QDir::toNativeSeparators(archivePath).toUtf8().constData(), ArchiveLevel, 'w'));
    if (!archive)
        throw std::runtime_error("Could not create final xlsx file");

    const QByteArray coreProperties = xlsx::coreProperties(xlsx::corePropertiesTimestamp(QDateTime::currentDateTimeUtc()));
    addContents(archive.get(), "_rels/.rels", xlsx::PackageRelationships);
    addContents(archive.get(), "docProps/core.xml", std::string_view(coreProperties.constData(), coreProperties.size()));
    addContents(archive.get(), "xl/styles.xml", xlsx::StyleSheet);
    addContents(archive.get(), "xl/theme/theme1.xml", xlsx::Theme);
    // Each part file goes as soon as its bytes are in the archive, so that the folder never
    // holds the workbook's data twice.
    const auto pack = [&](const char* entryName, const char* fileName) {
        addFile(archive.get(), entryName, m_tempFolder + QLatin1String(fileName));
        m_folder.removeFile(fileName);
    };
    pack("[Content_Types].xml", "[Content_Types].xml");
    pack("docProps/app.xml", "app.xml");
    pack("xl/_rels/workbook.xml.rels", "workbook.xml.rels");
    pack("xl/sharedStrings.xml", "sharedStrings.xml");
    pack("xl/workbook.xml", "workbook.xml");
    for (int number = 1; number < m_nextSheetNumber; ++number) {
        const QByteArray entryName = QStringLiteral("xl/worksheets/sheet%1.xml").arg(number).toUtf8();
        const QByteArray bodyName = "sheet" + QByteArray::number(number) + ".xml";
        const QString body = m_tempFolder + QLatin1String(bodyName);
        xlsx::addWorksheetToZip(archive.get(), entryName.constData(), parts[static_cast<std::size_t>(number)],
            QDir::toNativeSeparators(body).toUtf8().constData(), ArchiveLevel);
        m_folder.removeFile(bodyName.constData());
    }
    if (zip_close(archive.release()) != 0 || !replaceTarget(archivePath, m_targetPath))
        throw std::runtime_error("Could not create final xlsx file");
}
