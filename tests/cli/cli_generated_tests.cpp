// The demo and generated recordings exported through the program, the settings file and
// per-run overrides, and the progress display.

#include "clirunner.h"

#include <QRegularExpression>

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
    const QStringList lines = shown.out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 1 + 21) << shown.out.toStdString();
    EXPECT_EQ(lines[0].toStdString(), "settings file: " + space.path("my.ini").toStdString());
    const auto lineOf = [&](const QString& key) {
        for (const QString& line : lines) {
            if (line.startsWith(key + u'='))
                return line.simplified();
        }
        return QString();
    };
    EXPECT_EQ(lineOf("frameSkip"), "frameSkip=0 (default)");
    EXPECT_EQ(lineOf("markers"), "markers=false (settings file; default true)");
    EXPECT_EQ(lineOf("segmentPos"), "segmentPos=false (this command line; default true)");
    EXPECT_EQ(lineOf("jointAngles"), "jointAngles=true (default)");
    EXPECT_EQ(space.readFile("my.ini"), edited);
    EXPECT_FALSE(QFileInfo::exists(space.defaultSettingsPath()));

    // --sheets names the only sheets of this run; the file's choices do not add to them.
    const CliResult run = space.run({"--settings", "my.ini", "--sheets", "jointAngles,segmentVel", "--synthetic", "8", "few.xlsx"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err.toStdString(), warning.toStdString());
    const std::optional<DumpedWorkbook> book = readWorkbook(space.path("few.xlsx"));
    ASSERT_TRUE(book);
    QStringList titles;
    for (const DumpedSheet& sheet : book->sheets)
        titles << sheet.title;
    EXPECT_EQ(titles, QStringList({"General Information", "Segment Velocity", "Joint Angles ZXY"}));
    EXPECT_EQ(rowsOf(*book, "Joint Angles ZXY"), 9);
    const QRegularExpression summary(QStringLiteral(
        "^wrote \"few.xlsx\": 8 of 8 frames \\(frame skip 0\\), 3 sheets, %1 "
        "rows, 0 continuation sheets, [0-9.]+ s, ([0-9,]+) bytes\n$")
                                         .arg(6 + 9 + 9));
    const QRegularExpressionMatch match = summary.match(run.out);
    ASSERT_TRUE(match.hasMatch()) << run.out.toStdString();
    EXPECT_EQ(match.captured(1).remove(u',').toLongLong(), QFileInfo(space.path("few.xlsx")).size());
}
