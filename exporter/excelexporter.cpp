#include "excelexporter.h"

#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"
#include "exportsettings.h"
#include "vantor_quaternion.h"
#include "worksheet.h"

#include <exception>
#include <new>
#include <stdexcept>

ExcelExporter::ExcelExporter(AbstractTaviStudioPluginInterface& host, AbstractSettingsSynchronizer* settings)
    : m_host(host)
    , m_settings(settings)
{
}

ExcelExporter::~ExcelExporter()
{
    cleanup();
}

QString ExcelExporter::lastError() const
{
    return m_lastErrorText;
}

QString ExcelExporter::describeFailure(const std::exception_ptr& failure) const
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::bad_alloc& e) {
        return tr("Exception encountered: %1\nYou could retry with a smaller data set.\nMemory cleanup may take a while.")
            .arg(QString::fromUtf8(e.what()));
    } catch (const std::runtime_error& e) {
        return tr("Exception encountered: %1").arg(QString::fromUtf8(e.what()));
    } catch (...) {
        return tr("Unknown exception encountered");
    }
}

void ExcelExporter::loadSettings()
{
    const ExportSettings settings = loadExportSettings(m_settings);
    m_frameSkip = settings.frameSkip;
    m_sheetEnabled = settings.sheetEnabled;
}

bool ExcelExporter::initialize(const QString& fileName)
{
    m_host.logUsageEvent(QStringLiteral("FileExportedExcel"));
    try {
        initializeSession(fileName);
        m_initialized = true;
        return true;
    } catch (const std::bad_alloc&) {
        m_lastErrorText = describeFailure(std::current_exception());
    } catch (const std::exception& e) {
        m_lastErrorText = QString::fromUtf8(e.what());
    } catch (...) {
    }
    cleanup();
    return false;
}

void ExcelExporter::initializeSession(const QString& fileName)
{
    m_initialized = false;
    stopDeflating();
    for (xlsx::SheetStream& stream : m_sheets)
        stream.discard();
    loadSettings();
    m_targetPath = fileName;
    m_cells.reset();
    m_nextSheetNumber = 1;
    m_markerList.clear();
    m_tempFolder = fileName + QLatin1String(TempFolder::FolderSuffix) + u'/';
    acquireTempFolder();

    openSheet(SheetId::GeneralInfo);

    const HeaderLists headers = buildHeaderLists(m_host);
    m_hasFingerTracking = headers.hasFingerTracking;
    m_columnCounts = {static_cast<int>(headers.segment.size()), static_cast<int>(headers.quaternion.size()),
        static_cast<int>(headers.joint.size()), static_cast<int>(headers.ergonomic.size())};

    // The Markers sheet is written by finalize; it only takes its number now.
    if (enabled(SheetId::Markers))
        ++m_nextSheetNumber;

    // Frame 0 decides whether there is a global position and which sensor columns are hidden.
    const std::unique_ptr<TaviPoseObject> firstPose = m_host.pose(0);
    const ConcreteTaviPose* firstPoseData = firstPose ? firstPose->pose() : nullptr;
    const int firstPoseSegments = firstPose ? firstPose->segmentStateCount() : 0;
    m_writeExternalRows = false;

    for (int slot = 0; slot < DataSheetCount; ++slot) {
        const SheetId id = dataSheetAt(slot);
        const SheetEntry& entry = sheetEntry(id);

        if (id == SheetId::GlobalPosition && (!firstPoseData || firstPoseData->globalPosition().empty()))
            setEnabled(id, false);
        if (id == SheetId::ExternalData && headers.externalData.size() <= 2)
            setEnabled(id, false);

        if (enabled(id)) {
            if (!m_deflateWorkers)
                m_deflateWorkers = std::make_unique<xlsx::DeflateWorkers>(ArchiveLevel, xlsx::PartFile::BufferSize);
            openSheet(id, m_deflateWorkers.get());
            std::vector<std::pair<int, int>> hidden;
            if (entry.hiddenColumnsPerSegment > 0)
                hidden = hiddenSensorColumns(entry.hiddenColumnsPerSegment, firstPoseData, firstPoseSegments);
            sheet(id).writePrologue(m_cells, std::move(hidden), headers.forSheet(entry.headers));
        }

        if (id == SheetId::ExternalData && headers.externalData.size() > 2) {
            if (m_emgCollector.initialize(&m_host))
                m_emgCollector.collectAndResample(m_host.firstFrame(), m_host.lastFrame(), m_frameSkip);
            // Without collected data the sheet keeps its header row alone, so that the
            // workbook still lists exactly the sheets the package holds.
            m_writeExternalRows = enabled(id) && m_emgCollector.hasResampledData();
        }
    }

    writeGeneralInformation();

    m_firstExportedFrame = -1;
    m_exportedFrameCount = 0;
    m_nextSample = 0;
}

void ExcelExporter::openSheet(SheetId id, xlsx::DeflateWorkers* workers)
{
    sheet(id).open(m_tempFolder, m_nextSheetNumber++, m_rowLimit, workers);
}

QStringList ExcelExporter::continuationSheets() const
{
    QStringList titles;
    for (const SheetEntry& entry : sheetCatalogue) {
        const std::size_t parts = sheet(entry.id).parts().size();
        for (std::size_t k = 2; k <= parts; ++k)
            titles << QStringLiteral("%1 %2").arg(QString::fromLatin1(entry.title)).arg(k);
    }
    return titles;
}

void ExcelExporter::acquireTempFolder()
{
    switch (m_folder.acquire(m_tempFolder)) {
    case TempFolder::Result::Ready:
        return;
    case TempFolder::Result::Busy:
        throw std::runtime_error(QStringLiteral("Another export is writing %1").arg(m_targetPath).toUtf8().toStdString());
    case TempFolder::Result::Unusable:
        break;
    }
    // Named as the first part file, which cannot be made there.
    throw std::runtime_error(
        QStringLiteral("Could not create temporary file %1/sheet1.xml").arg(m_tempFolder).toUtf8().toStdString());
}

std::vector<std::pair<int, int>> ExcelExporter::hiddenSensorColumns(int columnsPerSegment, const ConcreteTaviPose* pose,
    int segmentCount)
{
    std::vector<std::pair<int, int>> ranges;
    for (int i = 0; pose && i < segmentCount; ++i) {
        if (!vantor::Quaternion(pose->q_s(i)).isValid(0.0)) {
            const int first = columnsPerSegment * i + 2;
            ranges.emplace_back(first, first + columnsPerSegment - 1);
        }
    }
    return ranges;
}

bool ExcelExporter::useThisFrame(int frame)
{
    if (m_firstExportedFrame < 0) {
        // A negative frame is accepted without becoming the first frame.
        if (frame >= 0)
            m_firstExportedFrame = frame;
        return true;
    }
    if (m_frameSkip == 0)
        return true;
    return (static_cast<long long>(frame) - m_firstExportedFrame) % (m_frameSkip + 1LL) == 0;
}

void ExcelExporter::cleanup()
{
    // The folder goes with everything in it: unfinished sheets are dropped, not completed.
    stopDeflating();
    m_folder.remove();
}

void ExcelExporter::stopDeflating()
{
    for (xlsx::SheetStream& stream : m_sheets)
        stream.abandon();
    m_deflateWorkers.reset();
}

int ExcelExporter::rowSpan(RowSpan span) const
{
    switch (span) {
    case RowSpan::Vector3:
        return m_columnCounts[0];
    case RowSpan::Quaternion:
        return m_columnCounts[1];
    case RowSpan::Joint:
        return m_columnCounts[2];
    case RowSpan::Ergonomic:
        return m_columnCounts[3];
    case RowSpan::Four:
        return 4;
    case RowSpan::External:
        return m_emgCollector.channelCount() + 2;
    case RowSpan::None:
        break;
    }
    return 0;
}
