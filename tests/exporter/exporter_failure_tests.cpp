// What an export does when it cannot go on: messages, return values, and no folder left.

#include "exporttestsupport.h"

#include <csignal>
#include <numeric>
#include <sys/resource.h>

using namespace testrec;

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
    // Files may not grow past 256 KiB; with SIGXFSZ ignored, a failed write of a frame reports
    // the device's error text instead of killing the process.
    Options o;
    o.segments = 27;
    o.tPoseSegments = 27;
    o.frames.resize(2000);
    std::iota(o.frames.begin(), o.frames.end(), 0);
    ExportSession s(o);
    rlimit original{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &original), 0);
    const auto previousHandler = signal(SIGXFSZ, SIG_IGN);
    QString message;
    {
        ExcelExporter exporter(s.host, &s.settings);
        ASSERT_TRUE(exporter.initialize(target()));
        const rlimit limited{256 * 1024, original.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        for (int frame = 0; message.isEmpty() && frame < 2000; ++frame)
            message = exporter.exportFrame(frame) ? QString() : exporter.lastError();
    }
    setrlimit(RLIMIT_FSIZE, &original);
    signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(message, "Exception encountered: File too large");
    // The exporter's end removed every part file.
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target()));
}
