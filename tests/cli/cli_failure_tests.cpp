// The program's failures: exit status 2 for command lines, recording files and plug-ins it
// cannot use (nothing written, not even the settings file), exit status 1 with the plug-in's
// message for exports that fail, and never a temporary folder left behind.

#include "clirunner.h"

#include <QLibraryInfo>
#include <QRegularExpression>

namespace {

const QByteArray ValidRecording = R"({"format": "tavi-recording", "version": 1, "frameRate": 60,
  "frames": [{"frame": 0, "pose": {"segments": [{"pos": [1, 2, 3]}]}}, {"frame": 1}]})";

// Runs a command line that must be refused with exit status 2, and checks that it left
// nothing behind. Answers standard error.
QString refused(const CliWorkspace& space, const QStringList& arguments, const QString& shell = {})
{
    const CliResult result = space.run(arguments, shell);
    EXPECT_EQ(result.exitCode, 2) << arguments.join(u' ').toStdString() << "\n"
                                  << result.err.toStdString();
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_FALSE(space.exists("out.xlsx")) << arguments.join(u' ').toStdString();
    EXPECT_TRUE(space.temporaryFolders().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(space.defaultSettingsPath())) << "settings written for a refused run";
    return result.err;
}

} // namespace

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
    // Each with the start of its message, where it matters here.
    const QList<QPair<QStringList, QString>> wrong = {
        {{"--set", "colour=true", "rec.json", "out.xlsx"}, R"(--set: unknown setting "colour")"},
        {{"--set", "frameSkip=1.5", "--demo", "out.xlsx"}, R"(--set: setting frameSkip takes an integer from 0 to 1000000, not "1.5")"},
        {{"--sheets", "jointAngles,frameSkip", "--demo", "out.xlsx"}, R"(--sheets: unknown sheet "frameSkip"; the sheets are: centerOfMass,)"},
        {{"--jobs", "2", "--demo", "out.xlsx"}, "--jobs goes with --output-dir"},
        {{"--output-dir", "missing", "rec.json"}, R"(the output folder "missing" does not exist; create it first)"},
        {{"--output-dir", ".", "rec.json", "sub/rec.json.gz"}, R"("rec.json" and "sub/rec.json.gz" would both be written to "./rec.xlsx")"},
        {{"--output-dir", "."}, ""},
        {{"--output-dir", ".", "--jobs", "0", "rec.json"}, "--jobs takes a number from 1"},
        {{"--report", "missing/r.json", "--demo", "out.xlsx"}, "the folder of the report"},
        // Control characters from the command line reach the terminal escaped.
        {{"--demo\x1b[2J", "out.xlsx"}, R"(Unknown option 'demo\x1b[2J'.)"},
        // A valid override does not excuse a bad one after it.
        {{"--set", "frameSkip=2", "--set", "markers=maybe", "rec.json", "out.xlsx"}, "--set: setting markers"},
        {{}, ""},
        {{"rec.json"}, ""},
        {{"rec.json", "out.xlsx", "extra"}, ""},
        {{"--demo"}, ""},
        {{"--demo", "out.xlsx", "extra"}, ""},
        {{"--synthetic", "0", "out.xlsx"}, ""},
        {{"--synthetic", "many", "out.xlsx"}, ""},
        {{"--demo", "--synthetic", "5", "out.xlsx"}, ""},
        {{"--options", "out.xlsx"}, ""},
        {{"--options", "--set", "frameSkip=1"}, ""},
        {{"--unknown", "--demo", "out.xlsx"}, ""},
        {{"--plugin", "a.so", "--plugin", "b.so", "--demo", "out.xlsx"}, ""},
    };
    for (const auto& [arguments, message] : wrong) {
        const QString error = refused(space, arguments);
        EXPECT_TRUE(error.contains("tavi-export: " + message)) << error.toStdString();
        EXPECT_TRUE(error.endsWith("\nTry 'tavi-export --help' for more information.\n")) << error.toStdString();
    }
}

TEST(CliFailures, RecordingsAndOutputsRefusedBeforeAnyExport)
{
    CliWorkspace space;
    space.writeFile("rec.json", ValidRecording);
    space.writeFile("broken.json", R"({"format": "tavi-recording", "version": 1, "frames": [)");
    ASSERT_TRUE(QDir(space.path(".")).mkpath("sub/folder.xlsx"));
    ASSERT_TRUE(QFile::link(space.path("rec.json"), space.path("link.xlsx")));
    space.writeFile("file", "");
    const QList<QPair<QStringList, QString>> cases = {
        // The reader's messages, checked with the reader, under the name given here.
        {{"broken.json", "out.xlsx"}, "broken.json:1:55: invalid JSON: expected a value, found the end of the text"},
        {{"absent.json", "out.xlsx"}, "absent.json: cannot open: No such file or directory"},
        {{"rec.json", "rec.json"}, R"(the output "rec.json" is the recording itself)"},
        {{"rec.json", "link.xlsx"}, R"(the output "link.xlsx" is the recording itself)"},
        {{"./sub/../rec.json", "rec.json"}, R"(the output "rec.json" is the recording itself)"},
        {{"rec.json", "out.csv"}, R"(the output "out.csv" does not end in .xlsx; give a workbook name such as out.xlsx)"},
        {{"rec.json", "-"}, "cannot write a workbook to standard output"},
        {{"--demo", "sub/folder.xlsx"}, R"(the output "sub/folder.xlsx" is a folder)"},
        {{"--demo", "missing/out.xlsx"}, "/missing\" of the output does not exist; create it first"},
        {{"--demo", "file/out.xlsx"}, "/file\" in the output's path is not a folder"},
        // A name is quoted short, with control characters escaped and % left alone.
        {{"--demo", "50%1\x1b[2J" + QString(300, u'n') + ".csv"}, R"("50%1\x1b[2J)" + QString(92, u'n') + R"(...")"},
    };
    const QByteArray recording = space.readFile("rec.json");
    for (const auto& [arguments, message] : cases) {
        const QString error = refused(space, arguments);
        EXPECT_TRUE(error.startsWith("tavi-export: ") && error.contains(message)) << error.toStdString();
        EXPECT_EQ(error.count(u'\n'), 1) << error.toStdString();
    }
    EXPECT_EQ(space.readFile("rec.json"), recording);
    EXPECT_TRUE(QDir(space.path("sub/folder.xlsx")).isEmpty());
    EXPECT_FALSE(space.exists("out.csv"));
    // Any case of the extension is a workbook name.
    space.exportQuietly({"rec.json", "OUT.XLSX"});
    EXPECT_TRUE(space.exists("OUT.XLSX"));
}

TEST(CliFailures, FailedExportsReportThePluginsMessage)
{
    // A file-size limit makes the writes fail: an ordinary failure with the plug-in's message
    // in the user's language, not a death by signal.
    CliWorkspace space;
    space.writeFile("before.xlsx", "an earlier file");
    for (const auto& [locale, message] : {std::pair{"C.UTF-8", "Exception encountered: File too large"},
             std::pair{"de_DE.UTF-8", "Ausnahme aufgetreten: "}}) {
        const CliResult result = space.run({"--demo", "before.xlsx"}, "ulimit -f 100", locale);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.err.startsWith(QStringLiteral("tavi-export: ") + message)) << result.err.toStdString();
        EXPECT_EQ(space.readFile("before.xlsx"), "an earlier file");
    }
    EXPECT_TRUE(space.temporaryFolders().isEmpty()) << space.temporaryFolders().join(u' ').toStdString();
}

TEST(CliFailures, OptionsWithoutADisplayExplainAndExit)
{
    CliWorkspace space;
    const QString noDisplay = "unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM";
    for (const auto& [shell, reason] : {std::pair{noDisplay, "neither DISPLAY nor WAYLAND_DISPLAY is set"},
             std::pair{noDisplay + "; export DISPLAY=:987", ":987"}}) { // no X server answers there
        const QString error = refused(space, {"--options"}, shell);
        EXPECT_TRUE(error.startsWith("tavi-export: --options shows a dialog and needs a display")) << error.toStdString();
        EXPECT_TRUE(error.contains(QLatin1String(reason))) << error.toStdString();
    }
}

TEST(CliFailures, HelpAndVersionSucceed)
{
    CliWorkspace space;
    const CliResult help = space.run({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* part : {"RECORDING OUTPUT.xlsx", "--demo OUTPUT.xlsx", "--synthetic N OUTPUT.xlsx", "--options",
             "--plugin PATH", "--settings FILE", "--set KEY=VALUE", "--quiet", "Exit status", "Example",
             "--output-dir DIR RECORDING...", "--jobs N", "--no-clobber", "--report FILE", "--sheets KEYS",
             "--show-settings", "128+N"})
        EXPECT_TRUE(help.out.contains(QLatin1String(part))) << part;
    EXPECT_TRUE(help.out.contains(space.defaultSettingsPath()));
    EXPECT_TRUE(help.err.isEmpty());

    const CliResult version = space.run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^tavi-export \\d+\\.\\d+\\.\\d+\n$")).match(version.out).hasMatch())
        << version.out.toStdString();
}
