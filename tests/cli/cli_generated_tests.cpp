// The demo and generated recordings exported through the program, the settings file and
// per-run overrides, and the progress display.

#include "clirunner.h"
#include "workbookreader.h"

#include <QSettings>
#include <QStandardPaths>

namespace {

const QStringList AllSheets = {
    "General Information",        "Markers",
    "Segment Orientation - Quat", "Segment Orientation - Euler",
    "Segment Position",           "Segment Velocity",
    "Segment Acceleration",       "Segment Angular Velocity",
    "Segment Angular Acceleration", "Joint Angles ZXY",
    "Joint Angles XZY",           "Ergonomic Joint Angles ZXY",
    "Ergonomic Joint Angles XZY", "Center of Mass",
    "Global Position",            "External Data",
    "Sensor Free Acceleration",   "Sensor Magnetic Field",
    "Sensor Orientation - Quat",  "Sensor Orientation - Euler",
};

std::optional<DumpedWorkbook> exported(const CliWorkspace& space, const QStringList& arguments)
{
    const CliResult result = space.run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    // Standard error is no terminal here: no progress display, and nothing else to say.
    EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    EXPECT_TRUE(space.temporaryFolders().isEmpty());
    return result.exitCode == 0 ? readWorkbook(space.path(arguments.last())) : std::nullopt;
}

int significantDigits(double value)
{
    const QByteArray text = QByteArray::number(value, 'g', 15);
    const QByteArray mantissa = text.left(text.indexOf('e') < 0 ? text.size() : text.indexOf('e'));
    int digits = 0;
    bool leading = true;
    for (char c : mantissa) {
        if (c < '0' || c > '9')
            continue;
        if (leading && c == '0')
            continue;
        leading = false;
        ++digits;
    }
    return digits;
}

int rowsOf(const DumpedWorkbook& book, const QString& title)
{
    const DumpedSheet* sheet = book.sheet(title);
    return sheet ? sheet->rowCount() : -1;
}

} // namespace

TEST(CliGenerated, DemoFillsEveryWorksheet)
{
    CliWorkspace space;
    const std::optional<DumpedWorkbook> book = exported(space, {"--demo", "--set", "frameSkip=59", "demo.xlsx"});
    ASSERT_TRUE(book);
    ASSERT_EQ(book->titles(), AllSheets);
    for (const DumpedSheet& sheet : book->sheets)
        EXPECT_GE(sheet.rowCount(), 2) << sheet.title.toStdString();

    // Ten seconds at 60 frames per second, every 60th frame exported.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_EQ(positions->rowCount(), 11);
    for (int row = 2; row <= 11; ++row)
        EXPECT_EQ(positions->number(row, 1), 60 * (row - 2));

    // One prop, finger tracking on both hands with labelled joints.
    const QStringList headers = positions->headers();
    EXPECT_TRUE(headers.contains("Prop Tracker 1 x"));
    EXPECT_FALSE(headers.contains("Prop Tracker 2 x"));
    EXPECT_EQ(headers.size(), 1 + 3 * (24 + 2 * 20));
    EXPECT_EQ(positions->usedColumns(2), headers.size());
    const QStringList jointHeaders = book->sheet("Joint Angles ZXY")->headers();
    EXPECT_TRUE(jointHeaders.contains("Left First CMC Abduction/Adduction"));
    EXPECT_TRUE(jointHeaders.contains("Right Fifth DIP Flexion/Extension"));

    // The neck has no sensor: its columns are hidden on the sensor sheets.
    const DumpedSheet* sensors = book->sheet("Sensor Orientation - Quat");
    ASSERT_EQ(sensors->hiddenRanges.size(), 1);
    EXPECT_EQ(sensors->hiddenRanges[0].toArray().at(0).toInt(), 4 * 5 + 2);

    // Two channels at 2000 Hz come out at 2400 samples per second: 40 rows per exported frame.
    const DumpedSheet* external = book->sheet("External Data");
    EXPECT_EQ(external->headers().size(), 2 + 2);
    EXPECT_EQ(external->rowCount(), 1 + 10 * 40);
}

TEST(CliGenerated, SyntheticRecordingVariesInEveryDigit)
{
    CliWorkspace space;
    const std::optional<DumpedWorkbook> book = exported(space, {"--synthetic", "50", "synthetic.xlsx"});
    ASSERT_TRUE(book);
    ASSERT_EQ(book->titles(), AllSheets);

    // All four props and finger tracking on both hands.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_EQ(positions->rowCount(), 51);
    const int columns = 1 + 3 * (27 + 2 * 20);
    ASSERT_EQ(positions->headers().size(), columns);

    int cells = 0;
    int fullPrecision = 0;
    for (int row = 2; row < 51; ++row) {
        ASSERT_EQ(positions->usedColumns(row), columns) << row;
        for (int column = 2; column <= columns; ++column) {
            const double value = positions->number(row, column);
            EXPECT_NE(value, positions->number(row + 1, column)) << row << ", " << column;
            ++cells;
            fullPrecision += significantDigits(value) == 15;
        }
    }
    // A value ends in a zero digit (which %.15g drops) about one time in ten.
    EXPECT_GT(fullPrecision, cells * 8 / 10);

    EXPECT_EQ(rowsOf(*book, "Markers"), 2);
    EXPECT_EQ(book->sheet("Markers")->text(2, 2), "Marker 1");
    // Four channels at 2000 samples per second, 240 frames per second: 10 rows per frame.
    EXPECT_EQ(book->sheet("External Data")->headers().size(), 2 + 4);
    EXPECT_EQ(rowsOf(*book, "External Data"), 1 + 50 * 10);
}

TEST(CliGenerated, SettingsFileAndOverrides)
{
    CliWorkspace space;
    const QStringList synthetic8 = {"--synthetic", "8"};

    // The first export creates the settings file with the defaults.
    std::optional<DumpedWorkbook> book = exported(space, synthetic8 + QStringList{"first.xlsx"});
    ASSERT_TRUE(book);
    EXPECT_EQ(rowsOf(*book, "Segment Position"), 9);
    const QByteArray defaults = space.readFile(space.defaultSettingsPath());
    EXPECT_TRUE(defaults.contains("frameSkip=0"));

    // Overrides hold for one run and leave the file alone.
    book = exported(space, QStringList{"--set", "frameSkip=1", "--set", "markers=false"} + synthetic8
                               + QStringList{"override.xlsx"});
    ASSERT_TRUE(book);
    EXPECT_EQ(rowsOf(*book, "Segment Position"), 5);
    EXPECT_EQ(book->sheet("Markers"), nullptr);
    EXPECT_EQ(space.readFile(space.defaultSettingsPath()), defaults);

    // A settings file of the user's choosing, edited after the first run created it.
    const QStringList mySettings = {"--settings", space.path("my.ini")};
    ASSERT_TRUE(exported(space, mySettings + synthetic8 + QStringList{"mine1.xlsx"}));
    {
        QSettings edit(space.path("my.ini"), QSettings::IniFormat);
        ASSERT_TRUE(edit.contains("segmentVel"));
        edit.setValue("frameSkip", 3);
        edit.setValue("segmentVel", false);
    }
    book = exported(space, mySettings + synthetic8 + QStringList{"mine2.xlsx"});
    ASSERT_TRUE(book);
    EXPECT_EQ(rowsOf(*book, "Segment Position"), 3);
    EXPECT_EQ(book->sheet("Segment Velocity"), nullptr);
    EXPECT_EQ(space.readFile(space.defaultSettingsPath()), defaults);
}

TEST(CliGenerated, ProgressShownOnlyOnATerminal)
{
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty())
        GTEST_SKIP() << "no script(1) to give the program a terminal";

    CliWorkspace space;
    const auto onTerminal = [&](const QString& options) {
        QProcess process;
        process.setProcessEnvironment(space.environment(QStringLiteral("C.UTF-8")));
        process.setWorkingDirectory(space.path("."));
        process.start(script, {"-qec", QStringLiteral("'%1' %2 --synthetic 1000 tty.xlsx").arg(cliProgram(), options),
                               "/dev/null"});
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0);
        return QString::fromLocal8Bit(process.readAllStandardOutput());
    };

    const QString shown = onTerminal(QString());
    EXPECT_TRUE(shown.contains("1000/1000 frames")) << shown.toStdString();
    // The status line is cleared before the closing summary.
    EXPECT_TRUE(shown.contains(QStringLiteral("\r\x1b[Ktavi-export: wrote tty.xlsx: 1000 frames"))) << shown.toStdString();

    const QString quiet = onTerminal(QStringLiteral("--quiet"));
    EXPECT_FALSE(quiet.contains("frames")) << quiet.toStdString();
}
