#include "packagingprogress.h"

#include <QDir>
#include <QFileInfo>

namespace {

// Names the plug-in gives its archive under construction and its lock file.
const QString ArchiveName = QStringLiteral("export.xlsx.tmp");
const QString LockName = QStringLiteral(".export.lock");

} // namespace

double PackagingProgress::fractionDone() const
{
    const std::int64_t total = archiveBytes + partBytes;
    return total > 0 ? static_cast<double>(archiveBytes) / static_cast<double>(total) : 0.0;
}

std::optional<double> PackagingProgress::secondsLeft(double secondsPackaging) const
{
    if (archiveBytes <= 0 || secondsPackaging <= 0.0)
        return std::nullopt;
    const double bytesPerSecond = static_cast<double>(archiveBytes) / secondsPackaging;
    return static_cast<double>(partBytes) / bytesPerSecond;
}

PackagingProgress readPackagingProgress(const QString& temporaryFolder)
{
    PackagingProgress progress;
    const QFileInfoList files = QDir(temporaryFolder).entryInfoList(QDir::Files | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot);
    for (const QFileInfo& file : files) {
        if (file.fileName() == ArchiveName)
            progress.archiveBytes += file.size();
        else if (file.fileName() != LockName)
            progress.partBytes += file.size();
    }
    return progress;
}
