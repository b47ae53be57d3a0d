// The program's failures: exit status 2 for command lines, recording files and plug-ins it
// cannot use (nothing written, not even the settings file), exit status 1 with the plug-in's
// message for exports that fail, and never a temporary folder left behind.

#include "clirunner.h"

#include <QLibraryInfo>
#include <QRegularExpression>
#include <QThread>

namespace {

const QByteArray ValidRecording = R"({"format": "tavi-recording", "version": 1, "frameRate": 60,
  "frames": [{"frame": 0, "pose": {"segments": [{"pos": [1, 2, 3]}]}}, {"frame": 1}]})";

// Runs a command line that must be refused with exit status 2, and checks that it left
// nothing behind. Answers standard error.
QString refused(const CliWorkspace& space, const QStringList& arguments)
{
    const CliResult result = space.run(arguments);
    EXPECT_EQ(result.exitCode, 2) << arguments.join(u' ').toStdString() << "\n" << result.err.toStdString();
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_FALSE(space.exists("out.xlsx")) << arguments.join(u' ').toStdString();
    EXPECT_TRUE(space.temporaryFolders().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(space.defaultSettingsPath())) << "settings written for a refused run";
    return result.err;
}

} // namespace

TEST(CliFailures, RejectedRecordingFilesNameFileAndPath)
{
    CliWorkspace space;
    space.writeFile("broken.json", R"({"format": "tavi-recording", "version": 1, "frames": [)");
    space.writeFile("version2.json", R"({"format": "tavi-recording", "version": 2})");
    space.writeFile("noformat.json", R"({"version": 1})");
    space.writeFile("nested.json", R"({"format": "tavi-recording", "version": 1, "frames": [
        {"frame": 0, "pose": {"segments": [{}, {}, {}, {"q": [1, 0, 0, 0]}]}},
        {"frame": 1, "pose": {"segments": [{}, {}, {}, {"q": "identity"}]}}]})");

    const struct
    {
        const char* file;
        const char* expected;
    } cases[] = {
        {"broken.json", "broken.json"},
        {"version2.json", "version"},
        {"noformat.json", "format"},
        {"nested.json", "nested.json: frames[1].pose.segments[3].q: "},
        {"absent.json", "absent.json"},
    };
    for (const auto& c : cases) {
        const QString error = refused(space, {c.file, "out.xlsx"});
        EXPECT_TRUE(error.contains(QLatin1String(c.expected))) << c.file << ": " << error.toStdString();
        EXPECT_TRUE(error.contains(QLatin1String(c.file))) << error.toStdString();
    }
}

TEST(CliFailures, BadSettingOverridesAreCommandLineErrors)
{
    CliWorkspace space;
    space.writeFile("rec.json", ValidRecording);

    EXPECT_TRUE(refused(space, {"--set", "colour=true", "rec.json", "out.xlsx"}).contains("unknown setting \"colour\""));
    for (const char* malformed : {"frameSkip=1.5", "frameSkip=", "markers=yes", "segmentPos=1", "frameSkip"}) {
        const QString error = refused(space, {"--set", malformed, "--demo", "out.xlsx"});
        EXPECT_TRUE(error.contains("--set")) << malformed << ": " << error.toStdString();
    }
    // A valid override does not excuse a bad one after it.
    refused(space, {"--set", "frameSkip=2", "--set", "markers=maybe", "rec.json", "out.xlsx"});
}

TEST(CliFailures, PluginsThatCannotBeUsed)
{
    CliWorkspace space;
    space.writeFile("not-a-library.so", "text");

    EXPECT_TRUE(refused(space, {"--plugin", space.path("missing.so"), "--demo", "out.xlsx"}).contains("missing.so"));
    EXPECT_TRUE(refused(space, {"--plugin", "not-a-library.so", "--demo", "out.xlsx"}).contains("not-a-library.so"));

    // A Qt plug-in of another kind is refused by its IID.
    const QString otherPlugin = QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms/libqminimal.so");
    if (QFileInfo::exists(otherPlugin)) {
        EXPECT_TRUE(refused(space, {"--plugin", otherPlugin, "--demo", "out.xlsx"}).contains("IID"));
    }
}

TEST(CliFailures, WrongCommandLinesPointToHelp)
{
    CliWorkspace space;
    space.writeFile("rec.json", ValidRecording);
    const QList<QStringList> wrong = {
        QStringList(),
        {"rec.json"},
        {"rec.json", "out.xlsx", "extra"},
        {"--demo"},
        {"--demo", "out.xlsx", "extra"},
        {"--synthetic", "0", "out.xlsx"},
        {"--synthetic", "many", "out.xlsx"},
        {"--demo", "--synthetic", "5", "out.xlsx"},
        {"--options", "out.xlsx"},
        {"--options", "--set", "frameSkip=1"},
        {"--unknown", "--demo", "out.xlsx"},
        {"--plugin", "a.so", "--plugin", "b.so", "--demo", "out.xlsx"},
    };
    for (const QStringList& arguments : wrong)
        EXPECT_TRUE(refused(space, arguments).contains("--help")) << arguments.join(u' ').toStdString();
}

TEST(CliFailures, FailedExportsReportThePluginsMessage)
{
    CliWorkspace space;
    space.writeFile("rec.json", ValidRecording);

    // The temporary folder cannot be made under a file: initialize fails.
    space.writeFile("file", "");
    CliResult result = space.run({"rec.json", "file/out.xlsx"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("Could not create temporary file")) << result.err.toStdString();

    // A folder in the place of the workbook: the frames are written, packing fails.
    ASSERT_TRUE(QDir(space.path(".")).mkdir("taken.xlsx"));
    result = space.run({"rec.json", "taken.xlsx"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("Exception encountered: Could not create final xlsx file")) << result.err.toStdString();

    // The plug-in's message comes translated for the user's language.
    result = space.run({"rec.json", "taken.xlsx"}, QStringLiteral("de_DE.UTF-8"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("Ausnahme aufgetreten: Could not create final xlsx file")) << result.err.toStdString();

    EXPECT_TRUE(space.temporaryFolders().isEmpty()) << space.temporaryFolders().join(u' ').toStdString();
    EXPECT_TRUE(QDir(space.path("taken.xlsx")).isEmpty());
}

TEST(CliFailures, InterruptedExportRemovesItsTemporaryFolder)
{
    CliWorkspace space;
    QProcess process;
    process.setProcessEnvironment(space.environment(QStringLiteral("C.UTF-8")));
    process.setWorkingDirectory(space.path("."));
    // Long enough to be caught in the middle; its External Data sheet would pass the row limit.
    process.start(cliProgram(), {"--synthetic", "110000", "big.xlsx"});
    ASSERT_TRUE(process.waitForStarted());

    for (int wait = 0; wait < 400 && !space.exists("big.xlsx_fldr"); ++wait)
        QThread::msleep(25);
    ASSERT_TRUE(space.exists("big.xlsx_fldr"));
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(60000));

    const QString error = QString::fromLocal8Bit(process.readAllStandardError());
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(error.contains("interrupted")) << error.toStdString();
    EXPECT_TRUE(error.contains("External Data worksheet gets 1,100,001 rows")) << error.toStdString();
    EXPECT_FALSE(space.exists("big.xlsx"));
    EXPECT_TRUE(space.temporaryFolders().isEmpty());
}

TEST(CliFailures, HelpAndVersionSucceed)
{
    CliWorkspace space;
    const CliResult help = space.run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* part : {"RECORDING OUTPUT.xlsx", "--demo OUTPUT.xlsx", "--synthetic N OUTPUT.xlsx", "--options",
                             "--plugin PATH", "--settings FILE", "--set KEY=VALUE", "--quiet", "Exit status",
                             "Example"}) {
        EXPECT_TRUE(help.out.contains(QLatin1String(part))) << part;
    }
    EXPECT_TRUE(help.out.contains(space.defaultSettingsPath()));
    EXPECT_TRUE(help.err.isEmpty());

    const CliResult version = space.run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^tavi-export \\d+\\.\\d+\\.\\d+\n$")).match(version.out).hasMatch())
        << version.out.toStdString();
}
