// The demo and generated recordings exported through the program, the settings file and
// per-run overrides, and the progress display.

#include "clirunner.h"

#include <QStandardPaths>

namespace {

// The digits of the mantissa as "%.15g" writes it, leading zeros left out.
int significantDigits(double value)
{
    QByteArray digits = QByteArray::number(value, 'g', 15).split('e').first().replace('-', "").replace('.', "");
    while (digits.startsWith('0'))
        digits.remove(0, 1);
    return int(digits.size());
}

} // namespace

TEST(CliGenerated, DemoFillsEveryWorksheet)
{
    CliWorkspace space;
    const std::optional<DumpedWorkbook> book = space.exportAndRead({"--demo", "--set", "frameSkip=59", "demo.xlsx"});
    ASSERT_TRUE(book);
    ASSERT_EQ(book->sheets.size(), 20);
    for (const DumpedSheet& sheet : book->sheets)
        EXPECT_GE(sheet.rowCount(), 2) << sheet.title.toStdString();

    // Ten seconds at 60 frames per second, every 60th frame exported.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_EQ(positions->rowCount(), 11);
    EXPECT_EQ(positions->number(11, 1), 540);
    // One prop, and finger tracking on both hands with labelled joints.
    const QStringList headers = positions->headers();
    EXPECT_TRUE(headers.contains("Prop Tracker 1 x"));
    EXPECT_EQ(headers.size(), 1 + 3 * (24 + 2 * 20));
    EXPECT_EQ(positions->usedColumns(2), headers.size());
    EXPECT_TRUE(book->sheet("Joint Angles ZXY")->headers().contains("Right Fifth DIP Flexion/Extension"));
    // Two channels at 2000 Hz come out at 2400 samples per second: 40 rows per exported frame.
    EXPECT_EQ(book->sheet("External Data")->headers().size(), 2 + 2);
    EXPECT_EQ(rowsOf(*book, "External Data"), 1 + 10 * 40);
}

TEST(CliGenerated, SyntheticRecordingVariesInEveryDigit)
{
    CliWorkspace space;
    const std::optional<DumpedWorkbook> book = space.exportAndRead({"--synthetic", "50", "synthetic.xlsx"});
    ASSERT_TRUE(book);
    ASSERT_EQ(book->sheets.size(), 20);

    // All four props and finger tracking on both hands.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_EQ(positions->rowCount(), 51);
    const int columns = 1 + 3 * (27 + 2 * 20);
    ASSERT_EQ(positions->headers().size(), columns);
    int cells = 0;
    int fullPrecision = 0;
    for (int row = 2; row < 51; ++row) {
        ASSERT_EQ(positions->usedColumns(row), columns) << row;
        for (int column = 2; column <= columns; ++column, ++cells) {
            const double value = positions->number(row, column);
            EXPECT_NE(value, positions->number(row + 1, column)) << row << ", " << column;
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
    const auto synthetic8 = [](const char* output) { return QStringList{"--synthetic", "8", output}; };

    // The first export creates the settings file with the defaults.
    std::optional<DumpedWorkbook> book = space.exportAndRead(synthetic8("first.xlsx"));
    ASSERT_TRUE(book);
    EXPECT_EQ(rowsOf(*book, "Segment Position"), 9);
    const QByteArray defaults = space.readFile(space.defaultSettingsPath());
    EXPECT_TRUE(defaults.contains("frameSkip=0"));

    // Overrides hold for one run and leave the file alone.
    book = space.exportAndRead(QStringList{"--set", "frameSkip=1", "--set", "markers=false"} + synthetic8("once.xlsx"));
    ASSERT_TRUE(book);
    EXPECT_EQ(rowsOf(*book, "Segment Position"), 5);
    EXPECT_EQ(book->sheet("Markers"), nullptr);
    EXPECT_EQ(space.readFile(space.defaultSettingsPath()), defaults);

    // A settings file of the user's choosing.
    space.writeFile("my.ini", "[General]\nframeSkip=3\nsegmentVel=false\n");
    book = space.exportAndRead(QStringList{"--settings", space.path("my.ini")} + synthetic8("mine.xlsx"));
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
        const QString command = QStringLiteral("'%1' %2 --synthetic 1000 tty.xlsx").arg(cliProgram(), options);
        space.start(process, {"-qec", command, "/dev/null"}, QStringLiteral("C.UTF-8"), script);
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0);
        return QString::fromLocal8Bit(process.readAllStandardOutput());
    };
    const QString shown = onTerminal(QString());
    EXPECT_TRUE(shown.contains("1000/1000 frames")) << shown.toStdString();
    // The status line is cleared before the closing summary.
    EXPECT_TRUE(shown.contains(QStringLiteral("\r\x1b[Ktavi-export: wrote tty.xlsx: 1000 frames"))) << shown.toStdString();
    EXPECT_FALSE(onTerminal(QStringLiteral("--quiet")).contains("frames"));
}
