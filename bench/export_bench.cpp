// Exports the generated benchmark recording in process (no plug-in loading) with every sheet
// on, and reports the time, the rate and the peak resident memory.
//
// Usage: bench_export FRAMES [OUTPUT.xlsx]

#include "excelexporter.h"
#include "exportsettings.h"
#include "settingsstore.h"
#include "syntheticrecording.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

double seconds(qint64 milliseconds)
{
    return double(milliseconds) / 1000.0;
}

long peakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_export FRAMES [OUTPUT.xlsx]\n");
        return 2;
    }
    const int frames = std::atoi(argv[1]);
    QTemporaryDir scratch;
    const QString target = argc > 2 ? QString::fromLocal8Bit(argv[2]) : scratch.filePath(QStringLiteral("bench.xlsx"));

    SyntheticRecordingHost host(frames);
    MemorySettingsSynchronizer settings(exportSettingDefaults(), exportSettingDescriptions());
    const long before = peakResidentKiB();

    QElapsedTimer timer;
    timer.start();
    ExcelExporter exporter(host, &settings);
    if (!exporter.initialize(target)) {
        std::fprintf(stderr, "initialize: %s\n", qPrintable(exporter.lastError()));
        return 1;
    }
    const qint64 initializeMs = timer.elapsed();
    for (int frame = 0; frame < frames; ++frame) {
        if (!exporter.exportFrame(frame)) {
            std::fprintf(stderr, "frame %d: %s\n", frame, qPrintable(exporter.lastError()));
            return 1;
        }
    }
    const qint64 framesMs = timer.elapsed() - initializeMs;
    exporter.finalize(false);
    if (!exporter.lastError().isEmpty()) {
        std::fprintf(stderr, "finalize: %s\n", qPrintable(exporter.lastError()));
        return 1;
    }
    const qint64 totalMs = timer.elapsed();

    std::printf("frames %d: initialize %.2f s, frames %.2f s (%.0f frames/s), finalize %.2f s, total %.2f s\n", frames,
        seconds(initializeMs), seconds(framesMs), frames / seconds(framesMs), seconds(totalMs - initializeMs - framesMs),
        seconds(totalMs));
    std::printf("workbook %.1f MB; peak resident memory %.1f MB (%.1f MB before the export)\n",
        double(QFileInfo(target).size()) / 1e6, double(peakResidentKiB()) / 1024.0, double(before) / 1024.0);
    return 0;
}
