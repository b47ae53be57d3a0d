#include "targetfile.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

bool flushToStorage(const QByteArray& path, int flags)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | flags);
    if (fd < 0)
        return false;
    // A file system that cannot flush a folder says so with EINVAL; there is nothing to wait for.
    const bool flushed = ::fsync(fd) == 0 || ((flags & O_DIRECTORY) && errno == EINVAL);
    ::close(fd);
    return flushed;
}

} // namespace

bool replaceTarget(const QString& finishedPath, const QString& targetPath)
{
    const QByteArray finished = QFile::encodeName(finishedPath);
    const QByteArray target = QFile::encodeName(targetPath);

    struct stat earlier
    { };
    if (::lstat(target.constData(), &earlier) == 0 && S_ISREG(earlier.st_mode)) {
        // A file its owner made read-only stays as it is, as when it was written in place.
        if (::access(target.constData(), W_OK) != 0)
            return false;
        ::chmod(finished.constData(), earlier.st_mode & 07777);
    }

    return flushToStorage(finished, O_NOFOLLOW) && ::rename(finished.constData(), target.constData()) == 0
        && flushToStorage(QFile::encodeName(QFileInfo(targetPath).absolutePath()), O_DIRECTORY);
}
