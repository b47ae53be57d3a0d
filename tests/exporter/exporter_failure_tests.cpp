// What an export does when it cannot go on: messages, return values, and no folder left.

#include "exporttestsupport.h"

#include <QFile>

#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace testrec;

TEST_F(ExportTest, ExportFrameBeforeInitializeIsRefused)
{
    ExportSession s;
    ExcelExporter exporter(s.host, &s.settings);
    EXPECT_FALSE(exporter.exportFrame(0));
    EXPECT_EQ(exporter.lastError(), "Export was not initialized");
}

TEST_F(ExportTest, UnwritableTargetFolderFailsInitialize)
{
    // A regular file where a folder should be: no part file can be made, even by root.
    QFile blocker(dir.filePath(QStringLiteral("plain-file")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const QString path = dir.filePath(QStringLiteral("plain-file/s\u00fcb/\u6570\u636e.xlsx"));
    ExportSession s;
    ExcelExporter exporter(s.host, &s.settings);
    EXPECT_FALSE(exporter.initialize(path));
    EXPECT_EQ(exporter.lastError(), "Could not create temporary file " + path + "_fldr//sheet1.xml");
    EXPECT_EQ(s.host.usageEvents(), QStringList({"FileExportedExcel"}));
    EXPECT_FALSE(exporter.exportFrame(0));
    EXPECT_EQ(exporter.lastError(), "Export was not initialized");
    // finalize still runs and reports the missing folder.
    EXPECT_FALSE(exporter.finalize(false));
    EXPECT_TRUE(exporter.lastError().startsWith("Exception encountered: Could not create temporary file"));
}

TEST_F(ExportTest, TargetThatCannotBeCreatedFailsFinalize)
{
    // The target is a folder: the temporary folder beside it works, the archive cannot.
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("out.xlsx")));
    ExportSession s;
    ExcelExporter exporter(s.host, &s.settings);
    ASSERT_TRUE(exporter.initialize(target()));
    ASSERT_TRUE(exporter.exportFrame(0));
    EXPECT_FALSE(exporter.finalize(false));
    EXPECT_EQ(exporter.lastError(), "Exception encountered: Could not create final xlsx file");
    // The folder stays until the exporter goes; the parts already packed are gone from it.
    EXPECT_TRUE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr/sheet1.xml"));
    EXPECT_TRUE(QFileInfo(target()).isDir());
}

TEST_F(ExportTest, AbortAndDestructionLeaveNothingBehind)
{
    ExportSession s;
    {
        ExcelExporter exporter(s.host, &s.settings);
        ASSERT_TRUE(exporter.initialize(target()));
        ASSERT_TRUE(exporter.exportFrame(0));
        EXPECT_TRUE(QFileInfo::exists(target() + "_fldr"));
        EXPECT_FALSE(exporter.finalize(true));
        EXPECT_EQ(exporter.lastError(), QString());
        EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
        EXPECT_FALSE(QFileInfo::exists(target()));
    }
    {
        ExcelExporter exporter(s.host, &s.settings);
        ASSERT_TRUE(exporter.initialize(target()));
        ASSERT_TRUE(exporter.exportFrame(0));
    }
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target()));
    // An exporter that never started touches nothing, not even the working folder.
    {
        ExcelExporter idle(s.host, &s.settings);
    }
    EXPECT_TRUE(QDir::current().exists());
}

TEST_F(ExportTest, WriteFailureDuringAFrameIsReported)
{
    // The export runs in a child whose files may not grow past 256 KiB; a failed write then
    // reports the device's error text instead of killing the process.
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(pipeFds[0]);
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{256 * 1024, 256 * 1024};
        setrlimit(RLIMIT_FSIZE, &limit);
        Options o;
        o.segments = 27;
        o.tPoseSegments = 27;
        o.frames.clear();
        for (int f = 0; f < 2000; ++f)
            o.frames.push_back(f);
        ExportSession s(o);
        QByteArray report = "initialize failed";
        {
            ExcelExporter exporter(s.host, &s.settings);
            if (exporter.initialize(target())) {
                report = "no failure";
                for (int frame : s.host.frameNumbers()) {
                    if (!exporter.exportFrame(frame)) {
                        report = exporter.lastError().toUtf8();
                        break;
                    }
                }
            }
        }
        (void)!write(pipeFds[1], report.constData(), static_cast<size_t>(report.size()));
        close(pipeFds[1]);
        _exit(0);
    }
    close(pipeFds[1]);
    QByteArray report;
    char buffer[512];
    ssize_t n;
    while ((n = read(pipeFds[0], buffer, sizeof buffer)) > 0)
        report.append(buffer, n);
    close(pipeFds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_TRUE(report.startsWith("Exception encountered: ")) << report.toStdString();
    EXPECT_TRUE(report.contains("File too large")) << report.toStdString();
    // The exporter's end removed every part file.
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target()));
}
