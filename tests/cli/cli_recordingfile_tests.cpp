// Recording files exported through the program and read back with openpyxl: the file's fields
// reach their places in the workbook, absent fields take their defaults, number strings and
// gzip files are understood.

#include "clirunner.h"

#include <QDateTime>
#include <QTimeZone>

namespace {

// The format's example with number strings, a repeated marker, a second channel and frames
// out of order; frame 1 has no pose.
const QByteArray Example = R"({"format": "tavi-recording", "version": 1,
  "applicationVersion": "2026.4.0", "filename": "walk01.rec", "subjectName": "Suit A",
  "processingQuality": "HD", "recordStartTime": "2026-03-01T10:20:30.250Z",
  "frameRate": 60, "tPoseSegmentCount": 23,
  "markers": [{"frame": 1, "text": "heel strike"}, {"frame": 1, "text": "second"}, {"frame": 99, "text": "not exported"}],
  "externalChannels": [{"name": "EMG 1", "info": {"frameRate": "2000"}}, {"name": "EMG 2", "info": {"frameRate": "2000"}}],
  "frames": [
    {"frame": 0,
     "pose": {"segments": [{"q": [1, 0, 0, 0], "pos": [0, 0, 0.95], "sensorQ": [1, 0, 0, 0]},
                           {"pos": ["NaN", "Infinity", 0.25]}],
              "globalPosition": [52.2, 6.9, 40.0]},
     "externalData": [[0.01, 0.02, 0.015], [1, 2, 3]]},
    {"frame": 2, "pose": {"segments": [{"pos": ["-Infinity", 1.5, 2.5]}]}},
    {"frame": 1, "pose": null}
  ]
})";

} // namespace

TEST(CliRecordingFile, FieldsReachTheWorkbookAlsoFromGzip)
{
    CliWorkspace space;
    space.writeFile("example.json", Example);
    space.writeFile("example.json.gz", gzipped(Example));

    const std::optional<DumpedWorkbook> book = space.exportAndRead({"example.json", "example.xlsx"});
    ASSERT_TRUE(book);
    const DumpedSheet& info = book->sheets[0];
    EXPECT_EQ(info.text(2, 2), "walk01.rec");
    EXPECT_EQ(info.text(4, 2), "2026-03-01T10:20:30.250000");
    EXPECT_EQ(info.number(5, 2), 60.0);
    const DumpedSheet* markers = book->sheet("Markers");
    ASSERT_NE(markers, nullptr);
    ASSERT_EQ(markers->rowCount(), 2);
    EXPECT_EQ(markers->number(2, 1), 1);
    EXPECT_EQ(markers->text(2, 2), "heel strike; second");

    // One row per frame in file order; NaN and the infinities leave their cells out. The
    // T-pose of 23 segments leaves no prop columns.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_NE(positions, nullptr);
    EXPECT_EQ(positions->headers().size(), 1 + 3 * 23);
    ASSERT_EQ(positions->rowCount(), 4);
    EXPECT_EQ(cellsOf(*positions, 2), QJsonArray({0, 0, 0, 0.95, QJsonValue(), QJsonValue(), 0.25}));
    EXPECT_EQ(cellsOf(*positions, 3), QJsonArray({2, QJsonValue(), 1.5, 2.5}));
    EXPECT_EQ(cellsOf(*positions, 4), QJsonArray({1}));
    EXPECT_EQ(cellsOf(*book->sheet("Global Position"), 2), QJsonArray({0, 52.2, 6.9, 40.0}));

    // 2000 samples per second come out at 2400: 40 rows per exported frame, the first and
    // last samples on the first and last rows.
    const DumpedSheet* external = book->sheet("External Data");
    ASSERT_NE(external, nullptr);
    EXPECT_EQ(external->headers(), (QStringList{"Frame", "Sample", "EMG 1", "EMG 2"}));
    ASSERT_EQ(external->rowCount(), 1 + 3 * 40);
    EXPECT_EQ(cellsOf(*external, 2), QJsonArray({0, 0, 0.01, 1}));
    EXPECT_EQ(cellsOf(*external, 121), QJsonArray({1, 119, 0.015, 3}));

    // The same file through gzip gives the same workbook.
    const std::optional<DumpedWorkbook> fromGzip = space.exportAndRead({"example.json.gz", "gzip.xlsx"});
    ASSERT_TRUE(fromGzip);
    ASSERT_EQ(fromGzip->titles(), book->titles());
    for (int s = 0; s < book->sheets.size(); ++s)
        EXPECT_EQ(fromGzip->sheets[s].rows, book->sheets[s].rows) << book->sheets[s].title.toStdString();
}

TEST(CliRecordingFile, AbsentFieldsTakeTheirDefaults)
{
    CliWorkspace space;
    space.writeFile("bare.json", R"({"format": "tavi-recording", "version": 1,
      "frames": [{"frame": 7}, {"frame": 5, "pose": {"segments": [{}]}}, {"frame": 6}]})");
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    const std::optional<DumpedWorkbook> book = space.exportAndRead({"bare.json", "bare.xlsx"});
    const QDateTime after = QDateTime::currentDateTimeUtc().addSecs(1);
    ASSERT_TRUE(book);

    // No pose for frame 0: no Global Position sheet; no channels: no External Data sheet.
    EXPECT_EQ(book->sheet("Global Position"), nullptr);
    EXPECT_EQ(book->sheet("External Data"), nullptr);
    ASSERT_EQ(book->sheets.size(), 18);
    const DumpedSheet& info = book->sheets[0];
    for (int row : {1, 2, 3, 6})
        EXPECT_TRUE(info.text(row, 2).isEmpty()) << row;
    EXPECT_EQ(info.number(5, 2), 0.0);
    // Without a start time the host answers the current time.
    const QDateTime recorded = QDateTime::fromString(info.text(4, 2), Qt::ISODateWithMs);
    const QDateTime recordedUtc(recorded.date(), recorded.time(), QTimeZone::utc());
    EXPECT_GE(recordedUtc, before) << info.text(4, 2).toStdString();
    EXPECT_LE(recordedUtc, after);
    EXPECT_EQ(rowsOf(*book, "Markers"), 1);

    // Without a T-pose every prop keeps its columns; without finger tracking there are none.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_NE(positions, nullptr);
    EXPECT_EQ(positions->headers().size(), 1 + 27 * 3);
    ASSERT_EQ(positions->rowCount(), 4);
    EXPECT_EQ(cellsOf(*positions, 2), QJsonArray({7}));
    EXPECT_EQ(cellsOf(*positions, 3), QJsonArray({5}));
    EXPECT_EQ(cellsOf(*positions, 4), QJsonArray({6}));
}

TEST(CliRecordingFile, TheWrittenDemoExportsAsTheBuiltInDemo)
{
    CliWorkspace space;
    const CliResult written = space.run({"--write-demo", "demo.json"});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    ASSERT_EQ(space.run({"--demo", "builtin.xlsx"}).exitCode, 0);
    ASSERT_EQ(space.run({"demo.json", "fromfile.xlsx"}).exitCode, 0);

    // Every part but the creation time is the same, byte for byte.
    EXPECT_EQ(differingEntries(space.path("builtin.xlsx"), space.path("fromfile.xlsx")), QString());

    const CliResult unwritable = space.run({"--write-demo", "missing/demo.json"});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_TRUE(unwritable.err.startsWith("tavi-export: missing/demo.json: cannot write: ")) << unwritable.err.toStdString();
    EXPECT_EQ(space.run({"--write-demo", "demo.json", "extra"}).exitCode, 2);
}
