#pragma once

// Drives one export the way the studio application does: create an exporter, initialize it
// with the target file, call exportFrame for every frame in order, finalize. Publishes where
// it stands in an ExportActivity, for the progress display and the interrupt watcher.

#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

class AbstractExporterFactory;
class AbstractSettingsSynchronizer;
class AbstractTaviStudioPluginInterface;

// Where one export stands. Written by the thread that runs it; read by the progress display
// and by the interrupt watcher, which removes what belongs to the export when the program
// has to end at once.
struct ExportActivity
{
    enum class Phase { Waiting,
        Reading,
        Starting,
        Frames,
        Packaging,
        Done };

    std::atomic<Phase> phase{Phase::Waiting};
    std::atomic<std::int64_t> framesDone{0};
    std::atomic<std::int64_t> framesTotal{0};
    std::atomic<std::int64_t> phaseStartedMs{0}; // on millisecondsNow()'s clock
    QString name;                                // the output's file name, for the progress display; set before the export runs

    // Held while the plug-in's initialize runs: the watcher takes it, so it sees the
    // temporary folder either not made by this export or owned by it, never half made.
    std::mutex initializing;
    // The export's temporary folder (absolute), set before ownsTemporaryFolder turns true;
    // true from a successful initialize until finalize has returned.
    QString temporaryFolder;
    std::atomic<bool> ownsTemporaryFolder{false};

    void enter(Phase next);
};

// A steady clock for phase times.
std::int64_t millisecondsNow();

// The folder in which the plug-in keeps an export's temporary files, named after the target's
// absolute name.
QString temporaryFolderOf(const QString& outputPath);

struct ExportJob
{
    const AbstractExporterFactory* factory = nullptr;
    AbstractTaviStudioPluginInterface* host = nullptr;
    QString outputPath;
    // The number of exportFrame calls and the frame number of call i, in export order.
    std::int64_t frameCalls = 0;
    std::function<int(std::int64_t)> frameAt;
    // Answers true once the export is to stop (an interrupt); checked between frames.
    std::function<bool()> stopRequested;
};

struct ExportOutcome
{
    enum class Status { Written,
        Failed,
        Interrupted };
    Status status = Status::Written;
    QString error; // the reason of a failure, as the plug-in gave it
};

ExportOutcome runExport(const ExportJob& job, ExportActivity& activity);

// Whether standard error is a terminal, where a progress display belongs.
bool standardErrorIsTerminal();

// The frame skip the exporter applies for these settings (the stored value bounded as the
// exporter bounds it) and the number of frames it exports of `frameCalls`.
std::int64_t effectiveFrameSkip(const AbstractSettingsSynchronizer& settings);
std::int64_t exportedFrameCount(std::int64_t frameCalls, std::int64_t frameSkip);
