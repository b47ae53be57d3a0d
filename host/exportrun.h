#pragma once

// Drives one export the way the studio application does: create an exporter, initialize it
// with the target file, call exportFrame for every frame in order, finalize. Shows progress
// on a terminal and reports the outcome as the program's exit status.

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <functional>

class AbstractExporterFactory;
class AbstractSettingsSynchronizer;
class AbstractTaviStudioPluginInterface;

struct ExportJob
{
    const AbstractExporterFactory* factory = nullptr;
    AbstractTaviStudioPluginInterface* host = nullptr;
    QString outputPath;
    // The number of exportFrame calls and the frame number of call i, in export order.
    std::int64_t frameCalls = 0;
    std::function<int(std::int64_t)> frameAt;
    // Frames done, rate and time left on standard error while the export runs.
    bool showProgress = false;
};

struct ExportOutcome
{
    int exitStatus = 0;
    QString error;  // the reason of a failure, as the plug-in gave it
};

ExportOutcome runExport(const ExportJob& job);

// Whether standard error is a terminal, where a progress display belongs.
bool standardErrorIsTerminal();

// The most rows a worksheet can have in spreadsheet applications; they stop reading there.
inline constexpr std::int64_t SpreadsheetRowLimit = 1048576;

// Warnings for worksheets that the export would fill beyond SpreadsheetRowLimit, estimated
// from the settings in force, the number of frames and the recording's external channels.
// `registered` holds the keys the plug-in registered with their defaults; `settings` answers
// their values for this run.
QStringList rowLimitWarnings(const AbstractTaviStudioPluginInterface& host, const QMap<QString, QVariant>& registered,
                             const AbstractSettingsSynchronizer& settings, std::int64_t frameCalls);
