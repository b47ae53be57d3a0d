#pragma once

#include "abstractplugin.h"
#include "cellwriter.h"
#include "deflateworkers.h"
#include "emgcollector.h"
#include "headerlists.h"
#include "partfile.h"
#include "sheetcatalogue.h"
#include "sheetstream.h"
#include "tempfolder.h"

#include <QList>
#include <QObject>
#include <QPair>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

class AbstractSettingsSynchronizer;
class AbstractTaviStudioPluginInterface;
class ConcreteTaviPose;

// One export of the open recording into an .xlsx workbook. The host calls initialize once
// with the target file, exportFrame for every frame in order, then finalize. Every worksheet
// streams into its own part file in a temporary folder (target + "_fldr/") while frames
// arrive; finalize writes the remaining package parts and packs them into the target.
class ExcelExporter : public QObject, public AbstractExporter
{
    Q_OBJECT

public:
    ExcelExporter(AbstractTaviStudioPluginInterface& host, AbstractSettingsSynchronizer* settings);
    ~ExcelExporter() override;

    bool initialize(const QString& fileName) override;
    bool exportFrame(int frame) override;
    // Returns false on every path; a failure shows in lastError() only.
    bool finalize(bool abort) override;
    QString lastError() const override;

    // Whether the frame is written under the frame skip; records the first frame.
    bool useThisFrame(int frame);
    // Finishes open part files and removes the temporary folder.
    void cleanup();

    // Rows per worksheet, header row included; a sheet with more continues on continuation
    // sheets. Lowered only by tests; at least 2.
    void setRowLimit(int rows) { m_rowLimit = std::max(rows, 2); }
    // Titles of the continuation sheets of the last export, in tab order ("External Data 2").
    QStringList continuationSheets() const;

private:
    void loadSettings();
    bool enabled(SheetId id) const { return m_sheetEnabled[switchIndex(id)]; }
    void setEnabled(SheetId id, bool on) { m_sheetEnabled[switchIndex(id)] = on; }
    xlsx::SheetStream& sheet(SheetId id) { return m_sheets[static_cast<std::size_t>(id)]; }
    const xlsx::SheetStream& sheet(SheetId id) const { return m_sheets[static_cast<std::size_t>(id)]; }
    // Opens the sheet's first part under the next sheet number, deflated on `workers` if given.
    void openSheet(SheetId id, xlsx::DeflateWorkers* workers = nullptr);
    int rowSpan(RowSpan span) const;

    QString describeFailure(const std::exception_ptr& failure) const;

    void initializeSession(const QString& fileName);
    void acquireTempFolder();
    static std::vector<std::pair<int, int>> hiddenSensorColumns(int columnsPerSegment, const ConcreteTaviPose* pose,
        int segmentCount);
    void writeGeneralInformation();
    void writeSheetRow(SheetId id, int frame, const ConcreteTaviPose* pose, int segmentCount);
    void writeFingerSegments(SheetId id, const ConcreteTaviPose* pose, int segmentCount, int row);
    void writeFingerJoints(SheetId id, const ConcreteTaviPose* pose, int jointCount, int row);
    void writeExternalRows(int frame, int frameOrdinal);
    void assemblePackage();
    void writeMarkersSheet();
    // Drops the sheets' unfinished streams and ends the deflate workers.
    void stopDeflating();

    // The archive's compression level, which the data sheets' streams use as well.
    static constexpr int ArchiveLevel = 6;

    AbstractTaviStudioPluginInterface& m_host;
    AbstractSettingsSynchronizer* m_settings;
    bool m_initialized = false;
    int m_frameSkip = 0;
    int m_firstExportedFrame = 0;
    int m_rowLimit = xlsx::SheetStream::MaxRows;
    // Frames exported so far, and External Data samples written so far (its Sample column).
    int m_exportedFrameCount = 0;
    int m_nextSample = 0;
    int m_nextSheetNumber = 0;
    // Final lengths of the segment, quaternion, joint and ergonomic header lists.
    std::array<int, 4> m_columnCounts{};
    QString m_targetPath;
    QString m_tempFolder;
    TempFolder m_folder;
    QString m_lastErrorText;
    // Declared before the sheets, which hand their blocks to it, so that it outlives them.
    std::unique_ptr<xlsx::DeflateWorkers> m_deflateWorkers;
    // One stream per catalogue row, General Information and Markers included.
    std::array<xlsx::SheetStream, sheetCatalogue.size()> m_sheets;
    std::array<bool, SheetSwitchCount> m_sheetEnabled{};
    EmgCollector m_emgCollector;
    // External Data rows are written only when the collector gathered samples.
    bool m_writeExternalRows = false;
    xlsx::CellWriter m_cells;
    QList<QPair<int, QString>> m_markerList;
    bool m_hasFingerTracking = false;
};
