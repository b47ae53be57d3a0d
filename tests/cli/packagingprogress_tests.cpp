// The packaging phase's share done and time left, read from a temporary folder laid out as the
// plug-in leaves it while it packs: the archive growing, the part files not yet packed.

#include "exportrun.h"
#include "packagingprogress.h"
#include "progressdisplay.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void writeFile(const QString& path, qsizetype size)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(size, 'x'));
}

} // namespace

TEST(PackagingProgress, ArchiveAgainstThePartsLeft)
{
    QTemporaryDir folder;
    writeFile(folder.filePath(".export.lock"), 7);
    writeFile(folder.filePath("sheet3.xml"), 200);
    writeFile(folder.filePath("sheet4.xml"), 100);

    // Before the archive has bytes there is no rate to tell the time left by.
    ExportActivity activity;
    activity.phase = ExportActivity::Phase::Packaging;
    activity.phaseStartedMs = 1000;
    activity.temporaryFolder = folder.path();
    activity.ownsTemporaryFolder = true;
    EXPECT_EQ(readPackagingProgress(folder.path()).secondsLeft(2.0), std::nullopt);
    EXPECT_EQ(describeActivity(activity, false, 3000), "packaging the workbook, 0:02 so far");

    // 100 bytes packed in 2 s: the 300 bytes left take 6 s more.
    writeFile(folder.filePath("export.xlsx.tmp"), 100);
    const PackagingProgress progress = readPackagingProgress(folder.path());
    EXPECT_EQ(progress.archiveBytes, 100);
    EXPECT_EQ(progress.partBytes, 300);
    EXPECT_DOUBLE_EQ(progress.fractionDone(), 0.25);
    EXPECT_EQ(describeActivity(activity, false, 3000), "packaging the workbook, 0:02 so far, 25% packed, 0:06 left");

    // Every part packed (and removed): only the flush of the archive is left.
    ASSERT_TRUE(QFile::remove(folder.filePath("sheet3.xml")));
    ASSERT_TRUE(QFile::remove(folder.filePath("sheet4.xml")));
    EXPECT_EQ(describeActivity(activity, false, 3000), "packaging the workbook, 0:02 so far, 100% packed, 0:00 left");

    // A folder the export no longer owns is not read.
    activity.ownsTemporaryFolder = false;
    EXPECT_EQ(describeActivity(activity, false, 3000), "packaging the workbook, 0:02 so far");
}
