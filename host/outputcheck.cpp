#include "outputcheck.h"

#include "messagetext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

bool sameFile(const QString& first, const QString& second)
{
    struct stat a = {};
    struct stat b = {};
    return ::stat(QFile::encodeName(first).constData(), &a) == 0 && ::stat(QFile::encodeName(second).constData(), &b) == 0
        && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

QString checkOutput(const QString& outputPath, const QString& recordingPath)
{
    const QString name = quoted(outputPath);
    if (!recordingPath.isEmpty() && sameFile(outputPath, recordingPath))
        return QStringLiteral("the output %1 is the recording itself; give a new name ending in .xlsx").arg(name);
    if (outputPath == u"-")
        return QStringLiteral("cannot write a workbook to standard output; give a file name ending in .xlsx");

    const QFileInfo output(outputPath);
    if (output.isDir())
        return QStringLiteral("the output %1 is a folder; give a file name ending in .xlsx").arg(name);
    if (!outputPath.endsWith(QLatin1String(".xlsx"), Qt::CaseInsensitive))
        return QStringLiteral("the output %1 does not end in .xlsx; give a workbook name such as out.xlsx").arg(name);
    if (output.exists() && !output.isFile())
        return QStringLiteral("the output %1 is not a regular file; give another name").arg(name);

    const QString folder = output.absolutePath();
    const QFileInfo folderInfo(folder);
    if (!folderInfo.exists())
        return QStringLiteral("the folder %1 of the output does not exist; create it first").arg(quoted(folder));
    if (!folderInfo.isDir())
        return QStringLiteral("%1 in the output's path is not a folder; give another output").arg(quoted(folder));
    // The workbook and its temporary folder are made beside the output.
    if (::access(QFile::encodeName(folder).constData(), W_OK | X_OK) != 0)
        return QStringLiteral("the folder %1 cannot be written; choose another output").arg(quoted(folder));
    return QString();
}
