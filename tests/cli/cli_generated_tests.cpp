// The demo recording exported through the program and written to a file, the settings file
// and per-run overrides.

#include "clirunner.h"

#include <QRegularExpression>

TEST(CliGenerated, DemoFillsEveryWorksheetAlsoWhenWrittenToAFile)
{
    CliWorkspace space;
    const CliResult written = space.run({"--write-demo", "demo.json"});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    space.exportQuietly({"--set", "frameSkip=59", "--demo", "builtin.xlsx"});
    space.exportQuietly({"--set", "frameSkip=59", "demo.json", "fromfile.xlsx"});
    // Every part but the creation time is the same, byte for byte.
    EXPECT_EQ(differingEntries(space.path("builtin.xlsx"), space.path("fromfile.xlsx")), QString());

    const std::optional<DumpedWorkbook> book = readWorkbook(space.path("builtin.xlsx"));
    ASSERT_TRUE(book);
    ASSERT_EQ(book->sheets.size(), 20);
    for (const DumpedSheet& sheet : book->sheets)
        EXPECT_GE(sheet.rowCount(), 2) << sheet.title.toStdString();
    // Ten seconds at 60 frames per second, every 60th frame exported; one prop, and finger
    // tracking on both hands with labelled joints.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_EQ(positions->rowCount(), 11);
    EXPECT_EQ(positions->number(11, 1), 540);
    EXPECT_EQ(positions->headers().size(), 1 + 3 * (24 + 2 * 20));
    EXPECT_TRUE(book->sheet("Joint Angles ZXY")->headers().contains("Right Fifth DIP Flexion/Extension"));

    const CliResult unwritable = space.run({"--write-demo", "missing/demo.json"});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_TRUE(unwritable.err.startsWith("tavi-export: missing/demo.json: cannot write: ")) << unwritable.err.toStdString();
    EXPECT_EQ(space.run({"--write-demo", "demo.json", "extra"}).exitCode, 2);
}

TEST(CliGenerated, SettingsFileAndOverrides)
{
    CliWorkspace space;
    // The summary line tells the frames and sheets written, as read back from the workbook.
    const auto summary = [&](const QStringList& options, const char* output) {
        return space.exportQuietly(options + QStringList{"--synthetic", "8", output}).section(u',', 0, 1);
    };
    // The first export creates the settings file with the defaults.
    EXPECT_EQ(summary({}, "first.xlsx"), R"(wrote "first.xlsx": 8 of 8 frames (frame skip 0), 20 sheets)");
    const QByteArray defaults = space.readFile(space.defaultSettingsPath());
    EXPECT_TRUE(defaults.contains("frameSkip=0"));

    // Overrides hold for one run and leave the file alone.
    EXPECT_EQ(summary({"--set", "frameSkip=1", "--set", "markers=false"}, "once.xlsx"),
        R"(wrote "once.xlsx": 4 of 8 frames (frame skip 1), 19 sheets)");
    EXPECT_EQ(space.readFile(space.defaultSettingsPath()), defaults);

    // A settings file of the user's choosing.
    space.writeFile("my.ini", "[General]\nframeSkip=3\nsegmentVel=false\n");
    EXPECT_EQ(summary({"--settings", "my.ini"}, "mine.xlsx"), R"(wrote "mine.xlsx": 2 of 8 frames (frame skip 3), 19 sheets)");
    EXPECT_EQ(space.readFile(space.defaultSettingsPath()), defaults);
}

TEST(CliGenerated, SheetsAndSettingsInEffect)
{
    CliWorkspace space;
    space.writeFile("my.ini", "[General]\nframeSkip=abc\nmarkers=false\nsegmentVel=false\n");
    const QByteArray edited = space.readFile("my.ini");
    const QString warning = QStringLiteral(
        "tavi-export: warning: settings file \"%1\": frameSkip is \"abc\", not an "
        "integer from 0 to 1000000; the default 0 is used instead\n")
                                .arg(space.path("my.ini"));

    const CliResult shown = space.run({"--settings", "my.ini", "--set", "segmentPos=false", "--show-settings"});
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_EQ(shown.err.toStdString(), warning.toStdString());
    // Values line up in a column: the spaces before it are not compared.
    const QStringList lines = QString(shown.out).replace(QRegularExpression(" +"), " ").split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 1 + 21) << shown.out.toStdString();
    EXPECT_EQ(lines[0].toStdString(), "settings file: " + space.path("my.ini").toStdString());
    for (const char* line : {"frameSkip=0 (default)", "markers=false (settings file; default true)",
             "segmentPos=false (this command line; default true)", "jointAngles=true (default)"})
        EXPECT_TRUE(lines.contains(QLatin1String(line))) << line;
    EXPECT_EQ(space.readFile("my.ini"), edited);
    EXPECT_FALSE(QFileInfo::exists(space.defaultSettingsPath()));

    // --sheets names the only sheets of this run; the file's choices do not add to them.
    const CliResult run = space.run({"--settings", "my.ini", "--sheets", "jointAngles,segmentVel", "--synthetic", "8", "few.xlsx"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err.toStdString(), warning.toStdString());
    EXPECT_TRUE(run.out.startsWith(R"(wrote "few.xlsx": 8 of 8 frames (frame skip 0), 3 sheets, 24 rows)")) << run.out.toStdString();
    const std::optional<DumpedWorkbook> book = readWorkbook(space.path("few.xlsx"));
    ASSERT_TRUE(book);
    EXPECT_EQ(book->titles(), QStringList({"General Information", "Segment Velocity", "Joint Angles ZXY"}));
}
