#include "exportrun.h"

#include "abstractplugin.h"
#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace {

// An interrupted export still has to remove its temporary folder, so SIGINT and SIGTERM only
// raise a flag that the frame loop checks. The handlers reset themselves: a second signal
// ends the program at once.
volatile std::sig_atomic_t interruptSignal = 0;

extern "C" void noteInterrupt(int signal)
{
    interruptSignal = signal;
}

class InterruptGuard
{
public:
    InterruptGuard()
    {
        interruptSignal = 0;
        struct sigaction action = {};
        action.sa_handler = noteInterrupt;
        action.sa_flags = SA_RESETHAND;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_previousInt);
        sigaction(SIGTERM, &action, &m_previousTerm);
    }
    ~InterruptGuard()
    {
        sigaction(SIGINT, &m_previousInt, nullptr);
        sigaction(SIGTERM, &m_previousTerm, nullptr);
    }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    bool interrupted() const { return interruptSignal != 0; }

private:
    struct sigaction m_previousInt = {};
    struct sigaction m_previousTerm = {};
};

QString formatDuration(double seconds)
{
    const auto total = static_cast<long long>(std::ceil(seconds));
    const long long hours = total / 3600;
    const long long minutes = total / 60 % 60;
    const long long rest = total % 60;
    if (hours > 0)
        return QString::asprintf("%lld:%02lld:%02lld", hours, minutes, rest);
    return QString::asprintf("%lld:%02lld", minutes, rest);
}

// One status line on standard error, rewritten in place and cleared when the export ends.
class ProgressDisplay
{
public:
    explicit ProgressDisplay(bool enabled) : m_enabled(enabled) {}
    ~ProgressDisplay() { clear(); }
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void showPhase(const QString& text)
    {
        if (m_enabled)
            show(text);
    }

    void startFrames(std::int64_t total)
    {
        m_total = total;
        m_clock.start();
        m_lastShown = -UpdateIntervalMs;
    }

    // Cheap enough for every frame: the line is redrawn at most ten times a second.
    void framesDone(std::int64_t done)
    {
        if (!m_enabled)
            return;
        const qint64 now = m_clock.elapsed();
        if (now - m_lastShown < UpdateIntervalMs && done != m_total)
            return;
        m_lastShown = now;

        QString line = QStringLiteral("%1/%2 frames").arg(done).arg(m_total);
        const double seconds = static_cast<double>(now) / 1000.0;
        if (done > 0 && seconds > 0.2) {
            const double rate = static_cast<double>(done) / seconds;
            line += QStringLiteral("  %1 frames/s  %2 left")
                        .arg(QString::number(rate, 'f', 0),
                             formatDuration(static_cast<double>(m_total - done) / rate));
        }
        show(line);
    }

    void clear()
    {
        if (m_enabled && m_shown) {
            std::fputs("\r\033[K", stderr);
            std::fflush(stderr);
            m_shown = false;
        }
    }

private:
    static constexpr qint64 UpdateIntervalMs = 100;

    void show(const QString& text)
    {
        const std::string line = "\r\033[K" + text.toLocal8Bit().toStdString();
        std::fputs(line.c_str(), stderr);
        std::fflush(stderr);
        m_shown = true;
    }

    bool m_enabled;
    bool m_shown = false;
    std::int64_t m_total = 0;
    QElapsedTimer m_clock;
    qint64 m_lastShown = 0;
};

} // namespace

bool standardErrorIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

ExportOutcome runExport(const ExportJob& job)
{
    InterruptGuard interrupt;
    ProgressDisplay progress(job.showProgress);
    const QString interruptedMessage = QStringLiteral("the export was interrupted");

    const std::unique_ptr<AbstractExporter> exporter = job.factory->doCreate(*job.host);
    if (!exporter)
        return {1, QStringLiteral("the plug-in created no exporter")};

    progress.showPhase(QStringLiteral("preparing %1").arg(job.outputPath));
    if (!exporter->initialize(job.outputPath)) {
        const QString error = exporter->lastError();
        return {1, error.isEmpty() ? QStringLiteral("the export could not be started") : error};
    }

    progress.startFrames(job.frameCalls);
    for (std::int64_t call = 0; call < job.frameCalls; ++call) {
        if (interrupt.interrupted()) {
            exporter->finalize(true);
            return {1, interruptedMessage};
        }
        if (!exporter->exportFrame(job.frameAt(call))) {
            const QString error = exporter->lastError();
            // Removes the temporary folder; the workbook is not written.
            exporter->finalize(true);
            return {1, error};
        }
        progress.framesDone(call + 1);
    }
    if (interrupt.interrupted()) {
        exporter->finalize(true);
        return {1, interruptedMessage};
    }

    progress.showPhase(QStringLiteral("writing %1").arg(job.outputPath));
    // finalize answers false on every path; only lastError tells a failure.
    exporter->finalize(false);
    const QString error = exporter->lastError();
    if (!error.isEmpty())
        return {1, error};
    return {0, QString()};
}

QStringList rowLimitWarnings(const AbstractTaviStudioPluginInterface& host, const QMap<QString, QVariant>& registered,
                             const AbstractSettingsSynchronizer& settings, std::int64_t frameCalls)
{
    // Sheets that are not one row per exported frame.
    static const QStringList notPerFrame = {QStringLiteral("frameSkip"), QStringLiteral("generalInfo"),
                                            QStringLiteral("markers"), QStringLiteral("externalData")};
    const std::int64_t frameSkip = std::max(0, settings.value(QStringLiteral("frameSkip")).toInt());
    const std::int64_t exportedFrames = (frameCalls + frameSkip) / (frameSkip + 1);
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
                        .arg(english.toString(frameRows), english.toString(SpreadsheetRowLimit))
                        .arg(fittingSkip);
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
