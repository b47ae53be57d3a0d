#include "packagingprogress.h"

#include "tempfolder.h"

#include <QDir>
#include <QFileInfo>

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
        if (file.fileName() == QLatin1String(TempFolder::ArchiveName))
            progress.archiveBytes += file.size();
        else if (file.fileName() != QLatin1String(TempFolder::LockFileName))
            progress.partBytes += file.size();
    }
    return progress;
}
