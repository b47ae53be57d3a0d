// A workbook holding every case that clients used to read wrongly, and finger tracking's wide
// sheets, read back by openpyxl in normal and read-only mode and by LibreOffice: each of them
// must see every cell the recording holds, with the same value and text.

#include "exporttestsupport.h"

#include <limits>

using namespace testrec;

namespace {

constexpr int Channels = 705;       // columns up to AAE
constexpr int SamplesPerFrame = 10; // 2400 per second at 240 frames per second
constexpr int ExternalRows = 4 * SamplesPerFrame;
constexpr int RowLimit = 15; // 14 rows of data per sheet

QString longMarker()
{
    // 32,766 units, then a surrogate pair that would be split at the cell's limit.
    return QString(32766, QLatin1Char('m')) + QStringLiteral("\U0001F600 and more");
}

struct ReadBack
{
    QJsonObject readers;
    QJsonArray sheets;

    // The cells of one reader's sheet, or an empty object.
    QJsonObject cells(const QString& reader, const QString& title) const
    {
        for (const QJsonValue& sheet : readers.value(reader).toArray())
            if (sheet[QStringLiteral("title")].toString() == title)
                return sheet[QStringLiteral("cells")].toObject();
        return {};
    }
};

// LibreOffice keeps a line break in a cell as a line feed, whatever the file wrote.
QJsonObject withLineFeeds(QJsonObject cells)
{
    for (auto it = cells.begin(); it != cells.end(); ++it)
        if (it->isString())
            *it = it->toString().replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return cells;
}

std::optional<ReadBack> readWithClients(const QString& path, const QString& scratch)
{
    const PythonRun python = runSupportScript(QStringLiteral("workbook_dump.py"), {QStringLiteral("--clients"), path, scratch}, 600000);
    if (!python.ok) {
        ADD_FAILURE() << python.err.toStdString();
        return std::nullopt;
    }
    const QJsonObject root = QJsonDocument::fromJson(python.out).object();
    return ReadBack{root.value(QStringLiteral("readers")).toObject(), root.value(QStringLiteral("sheets")).toArray()};
}

} // namespace

TEST_F(ExportTest, EveryClientReadsEveryCell)
{
    Options o;
    o.fingerTracking = true;
    o.channelRates = std::vector<int>(Channels, 2400);
    o.frameRate = 240;
    o.rawSamplesPerFrame = SamplesPerFrame;
    o.markers = {{0, QStringLiteral(" blank first")},
        {3, QStringLiteral("return\rand\r\nline end\t")},
        {6, QStringLiteral("_x0041_ stays, and _x00e9_x0042_ too \U0001F600")},
        {9, longMarker()}};
    const Recording plain = makeRecording(o);
    Options withoutFrames = o;
    withoutFrames.frames.clear();
    Recording rec = makeRecording(withoutFrames);
    rec.externalDataCount = plain.externalDataCount;
    rec.externalChannels[0].name = QStringLiteral(" padded channel ");
    rec.externalChannels[1].name = QStringLiteral("_x0007_ channel");
    // Frame 3 holds numbers at the edge of the double range, frame 6 a four-component vector.
    TaviPose edge = makePose(o, 3);
    edge.segments[1].pos = ZtVector{std::numeric_limits<double>::max(), 1.79769313486231e308, -1.7976931348623157e308};
    TaviPose wide = makePose(o, 6);
    wide.segments[2].pos = ZtVector{0.5, 1.5, 2.5, 99.0};
    for (int frame : plain.frameNumbers()) {
        RecordingFrame data = *plain.frame(frame);
        if (frame == 3)
            data.pose = std::make_shared<const ConcreteTaviPose>(edge);
        if (frame == 6)
            data.pose = std::make_shared<const ConcreteTaviPose>(wide);
        rec.appendFrame(frame, data);
    }

    ExportSession session(rec);
    session.settings.setValue(QStringLiteral("frameSkip"), 2); // frames 0, 3, 6, 9
    {
        ExcelExporter exporter(session.host, &session.settings);
        exporter.setRowLimit(RowLimit);
        ASSERT_EQ(session.run(exporter, target()), QString());
        EXPECT_EQ(exporter.continuationSheets(), QStringList({"External Data 2", "External Data 3"}));
    }
    const auto book = readWithClients(target(), dir.path());
    ASSERT_TRUE(book);

    // Continuation sheets follow the sheet they continue and take the numbers after the others.
    QStringList titles = catalogueTitles();
    titles.insert(titles.indexOf(QStringLiteral("External Data")) + 1, QStringLiteral("External Data 2"));
    titles.insert(titles.indexOf(QStringLiteral("External Data 2")) + 1, QStringLiteral("External Data 3"));
    // The other sheets keep their numbers: the continuations are 21 and 22.
    QStringList readTitles, parts;
    for (const QJsonValue& sheet : book->sheets) {
        readTitles << sheet[QStringLiteral("title")].toString();
        parts << sheet[QStringLiteral("part")].toString();
        const QString computed = sheet[QStringLiteral("computed")].toString();
        EXPECT_EQ(sheet[QStringLiteral("declared")].toString(), computed == "A1:A1" ? QStringLiteral("A1") : computed)
            << readTitles.last().toStdString();
        EXPECT_TRUE(sheet[QStringLiteral("ordered")].toBool()) << readTitles.last().toStdString();
    }
    EXPECT_EQ(readTitles, titles);
    QStringList expectedParts;
    for (int number : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 21, 22, 17, 18, 19, 20})
        expectedParts << QStringLiteral("worksheets/sheet%1.xml").arg(number);
    EXPECT_EQ(parts, expectedParts);

    // The clients agree cell for cell, on every sheet.
    for (const QString& title : titles) {
        const QJsonObject cells = book->cells(QStringLiteral("openpyxl"), title);
        EXPECT_FALSE(cells.isEmpty()) << title.toStdString();
        EXPECT_TRUE(book->cells(QStringLiteral("read_only"), title) == cells) << title.toStdString();
        EXPECT_TRUE(book->cells(QStringLiteral("libreoffice"), title) == withLineFeeds(cells)) << title.toStdString();
    }

    const QJsonObject markers = book->cells(QStringLiteral("read_only"), QStringLiteral("Markers"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(markers[QStringLiteral("B%1").arg(i + 2)].toString(), o.markers[i].second);
    EXPECT_EQ(markers[QStringLiteral("B5")].toString(), longMarker().left(32766));
    EXPECT_EQ(markers[QStringLiteral("A5")].toInt(), 9);

    // A vector writes x, y, z only: the next segment keeps its own first value.
    const QJsonObject position = book->cells(QStringLiteral("read_only"), QStringLiteral("Segment Position"));
    EXPECT_EQ(position[QStringLiteral("J4")].toDouble(), 2.5);
    EXPECT_EQ(position[QStringLiteral("K4")].toDouble(), vectorValue(6, 3, Pos)[0]);
    // Every cell but the two numbers too large to read back.
    EXPECT_EQ(position.size(), (70 + 120) * 5 - 2);

    // External Data: its rows over three sheets, headers repeated, frame and sample numbers
    // running on, every channel's value in every row.
    int sample = 0;
    for (int part = 0; part < 3; ++part) {
        const QString title = part == 0 ? QStringLiteral("External Data") : QStringLiteral("External Data %1").arg(part + 1);
        const QJsonObject cells = book->cells(QStringLiteral("read_only"), title);
        EXPECT_EQ(cells[QStringLiteral("C1")].toString(), " padded channel ");
        EXPECT_EQ(cells[QStringLiteral("D1")].toString(), "_x0007_ channel");
        EXPECT_EQ(cells[QStringLiteral("AAE1")].toString(), QStringLiteral("EMG %1").arg(Channels));
        const int rows = part < 2 ? RowLimit - 1 : ExternalRows - 2 * (RowLimit - 1);
        EXPECT_EQ(cells.size(), (rows + 1) * (Channels + 2)) << title.toStdString();
        for (int row = 2; row <= rows + 1; ++row, ++sample) {
            const int frame = 3 * (sample / SamplesPerFrame);
            EXPECT_EQ(cells[QStringLiteral("A%1").arg(row)].toInt(), frame);
            ASSERT_EQ(cells[QStringLiteral("B%1").arg(row)].toInt(), sample) << title.toStdString() << " row " << row;
            EXPECT_EQ(cells[QStringLiteral("C%1").arg(row)].toDouble(), channelSample(frame, 0, sample % SamplesPerFrame));
            EXPECT_EQ(cells[QStringLiteral("AAE%1").arg(row)].toDouble(), channelSample(frame, Channels - 1, sample % SamplesPerFrame));
        }
    }
    EXPECT_EQ(sample, ExternalRows);
}
