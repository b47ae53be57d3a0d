#include "exportrun.h"

#include "abstractplugin.h"
#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"
#include "exportsettings.h"
#include "tempfolder.h"

#include <QFileInfo>

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
    return QFileInfo(outputPath).absoluteFilePath() + QLatin1String(TempFolder::FolderSuffix);
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
    return boundedFrameSkip(settings.value(QLatin1String(FrameSkipKey)));
}

std::int64_t exportedFrameCount(std::int64_t frameCalls, std::int64_t frameSkip)
{
    return (frameCalls + frameSkip) / (frameSkip + 1);
}
