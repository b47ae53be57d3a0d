#include "progressdisplay.h"

#include "exportrun.h"
#include "packagingprogress.h"

#include <QStringList>

#include <cmath>
#include <cstdio>
#include <optional>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// The line must fit the terminal: a wrapped line cannot be rewritten in place.
qsizetype terminalWidth()
{
    struct winsize size = {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

QString describePackaging(const ExportActivity& activity, double seconds)
{
    QString text = QStringLiteral("packaging the workbook, %1 so far").arg(formatDuration(seconds));
    if (!activity.ownsTemporaryFolder)
        return text;
    const PackagingProgress progress = readPackagingProgress(activity.temporaryFolder);
    if (const std::optional<double> left = progress.secondsLeft(seconds))
        text += QStringLiteral(", %1% packed, %2 left")
                    .arg(QString::number(std::floor(progress.fractionDone() * 100.0)), formatDuration(*left));
    return text;
}

} // namespace

QString formatDuration(double seconds)
{
    const auto total = static_cast<long long>(std::ceil(std::max(0.0, seconds)));
    const long long hours = total / 3600;
    const long long minutes = total / 60 % 60;
    const long long rest = total % 60;
    if (hours > 0)
        return QString::asprintf("%lld:%02lld:%02lld", hours, minutes, rest);
    return QString::asprintf("%lld:%02lld", minutes, rest);
}

QString describeActivity(const ExportActivity& activity, bool named, std::int64_t nowMs)
{
    const double seconds = static_cast<double>(nowMs - activity.phaseStartedMs) / 1000.0;
    QString text = named ? activity.name + QStringLiteral(": ") : QString();
    switch (activity.phase.load()) {
    case ExportActivity::Phase::Waiting:
    case ExportActivity::Phase::Done:
        return QString();
    case ExportActivity::Phase::Reading:
        return text + QStringLiteral("reading the recording");
    case ExportActivity::Phase::Starting:
        return text + QStringLiteral("starting");
    case ExportActivity::Phase::Packaging:
        return text + describePackaging(activity, seconds);
    case ExportActivity::Phase::Frames:
        break;
    }
    const std::int64_t done = activity.framesDone.load(std::memory_order_relaxed);
    const std::int64_t total = activity.framesTotal;
    text += QStringLiteral("%1/%2 frames").arg(QString::number(done), QString::number(total));
    if (done > 0 && seconds > 0.2) {
        const double rate = static_cast<double>(done) / seconds;
        text += QStringLiteral(", %1 frames/s, %2 left for the frames, then packaging")
                    .arg(QString::number(rate, 'f', 0), formatDuration(static_cast<double>(total - done) / rate));
    }
    return text;
}

void ProgressDisplay::show(const std::vector<const ExportActivity*>& running, int finished, int total)
{
    if (!m_enabled)
        return;
    const std::int64_t now = millisecondsNow();
    QStringList parts;
    if (total > 1)
        parts << QStringLiteral("%1/%2 done").arg(QString::number(finished), QString::number(total));
    for (const ExportActivity* activity : running) {
        const QString part = describeActivity(*activity, total > 1, now);
        if (!part.isEmpty())
            parts << part;
    }
    draw(parts.join(QStringLiteral("; ")).left(terminalWidth() - 1));
}

void ProgressDisplay::clear()
{
    if (m_enabled && m_shown) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        m_shown = false;
    }
}

void ProgressDisplay::draw(const QString& text)
{
    const QByteArray line = "\r\033[K" + text.toLocal8Bit();
    std::fputs(line.constData(), stderr);
    std::fflush(stderr);
    m_shown = true;
}
