// Runs of thousands of frames: the progress display, ends of a run that the user or the
// system forces while the workbook is being written or packaged: the target is left as it was
// or holds a complete new workbook, and nothing else stays in the folder.

#include "clirunner.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <csignal>

#include <signal.h>

namespace {

const QByteArray EarlierWorkbook = "an earlier workbook";

// Whether the file is a zip archive whose every entry reads back with its CRC (Python's
// zipfile, independent of the archive code under test).
bool isWholeArchive(const QString& path)
{
    return runPython({"-c", "import sys, zipfile; sys.exit(zipfile.ZipFile(sys.argv[1]).testzip() is not None)", path}).ok;
}

// Starts an export of `frames` frames to big.xlsx, reported in report.json, and answers once
// `file` appears: the temporary folder while frames are written, its archive while the
// workbook is packaged.
bool startAndReach(const CliWorkspace& space, QProcess& process, const QString& file, int frames = 2500)
{
    space.start(process, {"--report", "report.json", "--synthetic", QString::number(frames), "big.xlsx"});
    if (!process.waitForStarted())
        return false;
    for (int wait = 0; wait < 6000 && process.state() == QProcess::Running; ++wait) {
        if (space.exists(file))
            return true;
        QThread::msleep(5);
    }
    return false;
}

const QString Packaging = QStringLiteral("big.xlsx_fldr/export.xlsx.tmp");

void expectTargetWholeOrUntouched(const CliWorkspace& space)
{
    const QByteArray target = space.readFile("big.xlsx");
    EXPECT_TRUE(target == EarlierWorkbook || isWholeArchive(space.path("big.xlsx")));
    EXPECT_EQ(QDir(space.path(".")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
        QStringList({"big.xlsx", "config"}));
}

} // namespace

TEST(CliLongRun, SignalsEndTheRunAndItsTemporaryFiles)
{
    const struct
    {
        int signal;
        bool repeated;
        bool packaging;
    } cases[] = {{SIGINT, true, true}, {SIGINT, false, true}, {SIGTERM, false, false}, {SIGKILL, false, true}};
    for (const auto& [signal, repeated, packaging] : cases) {
        SCOPED_TRACE(testing::Message() << "signal " << signal << (packaging ? " while packaging" : " while writing frames"));
        CliWorkspace space;
        space.writeFile("big.xlsx", EarlierWorkbook);
        QProcess process;
        ASSERT_TRUE(packaging ? startAndReach(space, process, Packaging) : startAndReach(space, process, "big.xlsx_fldr", 110000));
        ::kill(pid_t(process.processId()), signal);
        if (repeated)
            ::kill(pid_t(process.processId()), signal);
        ASSERT_TRUE(process.waitForFinished(30000));
        const QString error = QString::fromLocal8Bit(process.readAllStandardError());
        if (signal == SIGKILL) {
            EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
            EXPECT_TRUE(space.readFile("big.xlsx") == EarlierWorkbook || isWholeArchive(space.path("big.xlsx")));
            // The next export takes over what the killed one left.
            const CliResult next = space.run({"--quiet", "--synthetic", "10", "big.xlsx"});
            EXPECT_EQ(next.exitCode, 0) << next.err.toStdString();
            EXPECT_TRUE(isWholeArchive(space.path("big.xlsx")));
        } else {
            EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
            EXPECT_EQ(process.exitCode(), 128 + signal);
            EXPECT_TRUE(error.endsWith(
                "tavi-export: interrupted; unfinished exports were abandoned and their temporary "
                "files removed\n"))
                << error.toStdString();
            // The report still tells a script what became of the export.
            const QJsonObject report = QJsonDocument::fromJson(space.readFile("report.json")).object();
            EXPECT_EQ(report["exitStatus"].toInt(), 128 + signal);
            EXPECT_EQ(report["recordings"][0]["status"].toString(), "interrupted");
        }
        QFile::remove(space.path("report.json"));
        expectTargetWholeOrUntouched(space);
        if (!packaging) {
            EXPECT_EQ(space.readFile("big.xlsx"), EarlierWorkbook);
        }
    }
}

TEST(CliLongRun, ProgressShownOnlyOnATerminal)
{
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty())
        GTEST_SKIP() << "no script(1) to give the program a terminal";

    CliWorkspace space;
    const auto onTerminal = [&](const QString& options) {
        QProcess process;
        const QString command = QStringLiteral("'%1' %2 --synthetic 6000 tty.xlsx").arg(cliProgram(), options);
        space.start(process, {"-qec", command, "/dev/null"}, QStringLiteral("C.UTF-8"), script);
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0);
        return QString::fromLocal8Bit(process.readAllStandardOutput());
    };
    const QString shown = onTerminal(QString());
    EXPECT_TRUE(QRegularExpression("\r\x1b\\[K[0-9]+/6000 frames").match(shown).hasMatch()) << shown.toStdString();
    // The frames' time left never claims to cover the packaging, which has a phase of its own.
    EXPECT_FALSE(QRegularExpression("frames/s, [0-9:]+ left(?! for the frames, then packaging)").match(shown).hasMatch())
        << shown.toStdString();
    EXPECT_TRUE(shown.contains("\r\x1b[Kpackaging the workbook, 0:")) << shown.toStdString();
    // The status line is cleared before the summary line.
    EXPECT_TRUE(shown.contains("\r\x1b[Kwrote \"tty.xlsx\": 6,000 of 6,000 frames")) << shown.toStdString();
    EXPECT_TRUE(onTerminal(QStringLiteral("--quiet")).isEmpty());
}
