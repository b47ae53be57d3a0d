#include "exportrun.h"

#include "abstractplugin.h"
#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"

#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <chrono>
#include <memory>

#include <unistd.h>

void ExportActivity::enter(Phase next)
{
    phaseStartedMs = millisecondsNow();
    phase = next;
}

std::int64_t millisecondsNow()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

QString temporaryFolderOf(const QString& outputPath)
{
    return QFileInfo(outputPath).absoluteFilePath() + QStringLiteral("_fldr");
}

bool standardErrorIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

ExportOutcome runExport(const ExportJob& job, ExportActivity& activity)
{
    using Status = ExportOutcome::Status;
    const QString interruptedMessage = QStringLiteral("the export was interrupted");

    const std::unique_ptr<AbstractExporter> exporter = job.factory->doCreate(*job.host);
    if (!exporter)
        return {Status::Failed, QStringLiteral("the plug-in created no exporter")};

    // Ends an export whose temporary folder is ours: finalize(true) removes it.
    const auto abandon = [&](ExportOutcome outcome) {
        exporter->finalize(true);
        activity.ownsTemporaryFolder = false;
        return outcome;
    };

    activity.framesTotal = job.frameCalls;
    {
        const std::lock_guard lock(activity.initializing);
        if (job.stopRequested())
            return {Status::Interrupted, interruptedMessage};
        activity.enter(ExportActivity::Phase::Starting);
        activity.temporaryFolder = temporaryFolderOf(job.outputPath);
        if (!exporter->initialize(job.outputPath)) {
            const QString error = exporter->lastError();
            return {Status::Failed, error.isEmpty() ? QStringLiteral("the export could not be started") : error};
        }
        activity.ownsTemporaryFolder = true;
    }

    activity.enter(ExportActivity::Phase::Frames);
    for (std::int64_t call = 0; call < job.frameCalls; ++call) {
        if (job.stopRequested())
            return abandon({Status::Interrupted, interruptedMessage});
        if (!exporter->exportFrame(job.frameAt(call)))
            return abandon({Status::Failed, exporter->lastError()});
        activity.framesDone.store(call + 1, std::memory_order_relaxed);
    }

    // The watcher ends the program at once for a signal during packaging; it checks the phase
    // after raising the stop request, so one of the two always sees the other.
    activity.enter(ExportActivity::Phase::Packaging);
    if (job.stopRequested())
        return abandon({Status::Interrupted, interruptedMessage});
    // finalize answers false on every path; only lastError tells a failure.
    exporter->finalize(false);
    activity.ownsTemporaryFolder = false;
    const QString error = exporter->lastError();
    if (!error.isEmpty())
        return {Status::Failed, error};
    return {Status::Written, QString()};
}

std::int64_t effectiveFrameSkip(const AbstractSettingsSynchronizer& settings)
{
    return std::max(0, settings.value(QStringLiteral("frameSkip")).toInt());
}

std::int64_t exportedFrameCount(std::int64_t frameCalls, std::int64_t frameSkip)
{
    return (frameCalls + frameSkip) / (frameSkip + 1);
}

QStringList rowLimitWarnings(const AbstractTaviStudioPluginInterface& host, const QMap<QString, QVariant>& registered,
                             const AbstractSettingsSynchronizer& settings, std::int64_t frameCalls)
{
    // Sheets that are not one row per exported frame.
    static const QStringList notPerFrame = {QStringLiteral("frameSkip"), QStringLiteral("generalInfo"),
                                            QStringLiteral("markers"), QStringLiteral("externalData")};
    const std::int64_t frameSkip = effectiveFrameSkip(settings);
    const std::int64_t exportedFrames = exportedFrameCount(frameCalls, frameSkip);
    const QLocale english(QLocale::English);
    QStringList warnings;

    bool perFrameSheets = false;
    for (auto key = registered.keyBegin(); key != registered.keyEnd(); ++key) {
        if (!notPerFrame.contains(*key) && settings.value(*key).toBool())
            perFrameSheets = true;
    }
    const std::int64_t frameRows = exportedFrames + 1;
    if (perFrameSheets && frameRows > SpreadsheetRowLimit) {
        const std::int64_t fittingSkip = (frameCalls + SpreadsheetRowLimit - 2) / (SpreadsheetRowLimit - 1) - 1;
        warnings << QStringLiteral("warning: the per-frame worksheets get %1 rows; spreadsheet applications read "
                                   "only the first %2 (--set frameSkip=%3 would fit)")
                        .arg(english.toString(frameRows), english.toString(SpreadsheetRowLimit),
                             QString::number(fittingSkip));
    }

    // The exporter brings every channel to 2400 samples per second, or 4800 when a channel
    // is faster than 3000, and writes one row per resampled sample.
    const QStringList channels = host.externalChannelNames();
    const double frameRate = host.frameRate();
    if (!channels.isEmpty() && frameRate >= 1.0 && settings.value(QStringLiteral("externalData")).toBool()) {
        int fastestChannel = 0;
        for (int channel = 0; channel < channels.size(); ++channel) {
            if (const auto info = host.externalChannelInfo(channel))
                fastestChannel = std::max(fastestChannel, info->value(QStringLiteral("frameRate")).toInt());
        }
        const int outputRate = fastestChannel > 3000 ? 4800 : 2400;
        const std::int64_t samplesPerFrame = frameRate >= outputRate ? 0 : outputRate / static_cast<int>(frameRate);
        const std::int64_t externalRows = samplesPerFrame * exportedFrames + 1;
        if (samplesPerFrame > 0 && externalRows > SpreadsheetRowLimit) {
            warnings << QStringLiteral("warning: the External Data worksheet gets %1 rows; spreadsheet applications "
                                       "read only the first %2 (--set externalData=false leaves it out)")
                            .arg(english.toString(externalRows), english.toString(SpreadsheetRowLimit));
        }
    }
    return warnings;
}
