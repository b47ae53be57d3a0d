#include "batch.h"

#include "abstractsettingssynchronizer.h"
#include "batchresults.h"
#include "commandline.h"
#include "exportrun.h"
#include "interruptwatcher.h"
#include "messagetext.h"
#include "outputcheck.h"
#include "progressdisplay.h"
#include "sheetstream.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace {

// The indices of the exports that ended, handed from the export threads to the thread that
// prints.
class Mailbox
{
public:
    void postFinished(std::size_t index)
    {
        const std::lock_guard lock(m_mutex);
        m_finished.push_back(index);
        m_changed.notify_one();
    }
    // Waits up to `timeout` for news; answers what arrived.
    std::deque<std::size_t> take(std::chrono::milliseconds timeout)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, timeout, [this] { return !m_finished.empty(); });
        return std::exchange(m_finished, {});
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::size_t> m_finished;
};

struct BatchContext
{
    const AbstractExporterFactory& factory;
    const AbstractSettingsSynchronizer& settings;
    const BatchOptions& options;
};

ExportResult exportOne(const BatchContext& context, const ExportRequest& request, ExportActivity& activity)
{
    using Status = ExportResult::Status;
    ExportResult result;
    // A run being stopped starts nothing new.
    if (interrupts::stopSignal() != 0)
        return result;
    QElapsedTimer clock;
    clock.start();
    if (context.options.noClobber && QFileInfo::exists(request.outputPath)) {
        result.status = Status::Skipped;
        return result;
    }
    result.error = checkOutput(request.outputPath, request.recordingPath);
    if (!result.error.isEmpty()) {
        result.status = Status::Rejected;
        return result;
    }

    activity.enter(ExportActivity::Phase::Reading);
    std::shared_ptr<PreparedRecording> recording = request.prepared;
    PrepareFailure failure = PrepareFailure::None;
    if (!recording)
        recording = prepareRecording(request, result.error, failure);
    if (!recording) {
        result.status = failure == PrepareFailure::OutOfMemory ? Status::Failed : Status::Rejected;
        return result;
    }
    result.frames = recording->frameCalls;
    result.frameSkip = effectiveFrameSkip(context.settings);
    result.exportedFrames = exportedFrameCount(result.frames, result.frameSkip);

    ExportJob job;
    job.factory = &context.factory;
    job.host = recording->host.get();
    job.outputPath = request.outputPath;
    job.frameCalls = recording->frameCalls;
    job.frameAt = recording->frameAt;
    job.stopRequested = [] { return interrupts::stopSignal() != 0; };
    const ExportOutcome outcome = runExport(job, activity);
    result.seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    result.error = outcome.error;
    switch (outcome.status) {
    case ExportOutcome::Status::Interrupted:
    case ExportOutcome::Status::Failed:
        // A failure after a stop request is the interruption's doing (a signal during packaging
        // removes the temporary folder from under the export). Nothing is printed for an
        // interrupted export: the run's own message tells of it.
        if (outcome.status == ExportOutcome::Status::Failed && interrupts::stopSignal() == 0) {
            result.status = Status::Failed;
        } else {
            result.status = Status::Interrupted;
            result.error.clear();
        }
        return result;
    case ExportOutcome::Status::Written:
        break;
    }
    result.status = Status::Written;
    result.bytes = QFileInfo(request.outputPath).size();
    if (const std::optional<WorkbookSummary> book = summarizeWorkbook(request.outputPath))
        result.workbook = *book;
    return result;
}

// The count with English digit grouping and the word that goes with it: "1 sheet", "2 sheets".
QString counted(std::int64_t count, const char* one, const char* many)
{
    return QLocale(QLocale::English).toString(count) + u' ' + QLatin1String(count == 1 ? one : many);
}

void printLine(FILE* stream, const QString& text)
{
    std::fputs(qPrintable(printable(text) + u'\n'), stream);
    std::fflush(stream);
}

} // namespace

QString statusName(ExportResult::Status status)
{
    switch (status) {
    case ExportResult::Status::Written:
        return QStringLiteral("written");
    case ExportResult::Status::Skipped:
        return QStringLiteral("skipped");
    case ExportResult::Status::Failed:
        return QStringLiteral("failed");
    case ExportResult::Status::Rejected:
        return QStringLiteral("rejected");
    case ExportResult::Status::Interrupted:
        return QStringLiteral("interrupted");
    case ExportResult::Status::NotStarted:
        break;
    }
    return QStringLiteral("not started");
}

QString summaryLine(const ExportRequest& request, const ExportResult& result)
{
    if (result.status == ExportResult::Status::Skipped)
        return QStringLiteral("skipped %1: it exists already").arg(quoted(request.outputPath));
    return QStringLiteral("wrote %1: %2 of %3 (frame skip %4), %5, %6, %7, %8 s, %9")
        .arg(quoted(request.outputPath), QLocale(QLocale::English).toString(result.exportedFrames),
            counted(result.frames, "frame", "frames"), QString::number(result.frameSkip),
            counted(result.workbook.sheets, "sheet", "sheets"), counted(result.workbook.rows, "row", "rows"),
            counted(result.workbook.continuationSheets.size(), "continuation sheet", "continuation sheets"),
            QString::number(result.seconds, 'f', 1), counted(result.bytes, "byte", "bytes"));
}

QString continuationNote(const ExportRequest& request, const ExportResult& result)
{
    const QStringList& continuations = result.workbook.continuationSheets;
    if (continuations.isEmpty())
        return QString();
    return QStringLiteral("note: %1 has sheets longer than %2 rows; they go on in %3")
        .arg(quoted(request.outputPath), QLocale(QLocale::English).toString(xlsx::SheetStream::MaxRows),
            continuations.join(QStringLiteral(", ")));
}

int exitStatusOf(const std::vector<ExportResult>& results)
{
    int status = ExitSuccess;
    for (const ExportResult& result : results) {
        if (result.status == ExportResult::Status::Rejected)
            status = std::max<int>(status, ExitUsageError);
        else if (result.status == ExportResult::Status::Failed)
            status = std::max<int>(status, ExitExportFailed);
    }
    return status;
}

void runExports(const AbstractExporterFactory& factory, const AbstractSettingsSynchronizer& settings,
    const std::vector<ExportRequest>& requests, const BatchOptions& options, BatchResults& results)
{
    std::vector<std::unique_ptr<ExportActivity>> activities;
    std::vector<ExportActivity*> watched;
    for (const ExportRequest& request : requests) {
        activities.push_back(std::make_unique<ExportActivity>());
        activities.back()->name = QFileInfo(request.outputPath).fileName();
        watched.push_back(activities.back().get());
    }
    interrupts::watch(watched);

    Mailbox mailbox;
    const BatchContext context{factory, settings, options};
    std::atomic<std::size_t> next{0};
    const auto worker = [&] {
        for (std::size_t index = next++; index < requests.size(); index = next++) {
            results.begin(index);
            results.finish(index, exportOne(context, requests[index], *activities[index]));
            activities[index]->enter(ExportActivity::Phase::Done);
            mailbox.postFinished(index);
        }
    };
    const std::size_t threadCount = std::clamp<std::size_t>(options.jobs, 1, requests.size());
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread)
        threads.emplace_back(worker);

    ProgressDisplay progress(options.showProgress);
    std::size_t finishedCount = 0;
    while (finishedCount < requests.size()) {
        const std::deque<std::size_t> finished = mailbox.take(std::chrono::milliseconds(100));
        if (!finished.empty())
            progress.clear();
        for (const std::size_t index : finished) {
            ++finishedCount;
            const ExportResult result = results.at(index);
            if (result.status == ExportResult::Status::Written || result.status == ExportResult::Status::Skipped) {
                if (options.summaries) {
                    printLine(stdout, summaryLine(requests[index], result));
                    if (const QString note = continuationNote(requests[index], result); !note.isEmpty())
                        printLine(stderr, QStringLiteral("tavi-export: %1").arg(note));
                }
            } else if (!result.error.isEmpty() && result.status != ExportResult::Status::Interrupted) {
                // A rejected recording file's message names the file already.
                const bool named = options.nameInErrors && !result.error.startsWith(requests[index].recordingPath + u':');
                printLine(stderr, named ? QStringLiteral("tavi-export: %1: %2").arg(quoted(requests[index].inputName()), result.error) : QStringLiteral("tavi-export: %1").arg(result.error));
            }
        }
        std::vector<const ExportActivity*> running;
        for (const auto& activity : activities) {
            const ExportActivity::Phase phase = activity->phase;
            if (phase != ExportActivity::Phase::Waiting && phase != ExportActivity::Phase::Done)
                running.push_back(activity.get());
        }
        progress.show(running, int(finishedCount), int(requests.size()));
    }
    for (std::thread& thread : threads)
        thread.join();
    progress.clear();
    interrupts::watch({});
}
