// A recording whose External Data passes the worksheet row limit at its real value, read back
// with openpyxl in read-only mode. Slow (a million rows): built and run only with
// TAVI_LONG_TESTS=ON, as CI does.

#include "exporttestsupport.h"

using namespace testrec;

TEST_F(ExportTest, ExternalDataPastTheRowLimitContinuesWithoutLosingARow)
{
    // One channel at 2400 samples per second and 60 frames per second: 40 rows per frame.
    constexpr int Frames = 26215;
    constexpr int RowsPerFrame = 40;
    constexpr int DataRowsPerSheet = 1048576 - 1;
    Options o;
    o.channelRates = {2400};
    o.frames.clear();
    Recording rec = makeRecording(o);
    rec.externalDataCount = Frames * RowsPerFrame;
    for (int frame = 0; frame < Frames; ++frame) {
        ExternalData block;
        for (int k = 0; k < RowsPerFrame; ++k)
            block.samples.push_back(channelSample(frame, 0, k));
        rec.appendFrame(frame, RecordingFrame{nullptr, {block}});
    }

    ExportSession session(rec);
    for (const SheetEntry& entry : sheetCatalogue)
        session.settings.setValue(QString::fromLatin1(entry.key), entry.id == SheetId::ExternalData);
    {
        ExcelExporter exporter(session.host, &session.settings);
        ASSERT_EQ(session.run(exporter, target()), QString());
        EXPECT_EQ(exporter.continuationSheets(), QStringList({"External Data 2"}));
    }

    const PythonRun python = runPython({QStringLiteral(TAVI_SOURCE_DIR "/tests/exporter/continued_sheet_check.py"), target()}, 1800000);
    ASSERT_TRUE(python.ok) << python.err.toStdString();
    const QJsonObject result = QJsonDocument::fromJson(python.out).object();
    const QJsonArray sheets = result[QStringLiteral("sheets")].toArray();
    ASSERT_EQ(sheets.size(), 2);
    const int totalRows = Frames * RowsPerFrame;
    EXPECT_EQ(result[QStringLiteral("samples")].toInt(), totalRows);
    EXPECT_TRUE(result[QStringLiteral("contiguous")].toBool());

    const QJsonArray header{QStringLiteral("Frame"), QStringLiteral("Sample"), QStringLiteral("EMG 1")};
    const int rows[] = {DataRowsPerSheet, totalRows - DataRowsPerSheet};
    int firstSample = 0;
    for (int part = 0; part < 2; ++part) {
        const QJsonObject sheet = sheets[part].toObject();
        EXPECT_EQ(sheet[QStringLiteral("title")].toString(), part == 0 ? "External Data" : "External Data 2");
        EXPECT_EQ(sheet[QStringLiteral("header")].toArray(), header);
        EXPECT_EQ(sheet[QStringLiteral("rows")].toInt(), rows[part]);
        const int lastSample = firstSample + rows[part] - 1;
        for (const auto& [key, sample] : {std::pair{"first", firstSample}, std::pair{"last", lastSample}}) {
            const QJsonArray row = sheet[QLatin1String(key)].toArray();
            const int frame = sample / RowsPerFrame;
            EXPECT_EQ(row, QJsonArray({frame, sample, channelSample(frame, 0, sample % RowsPerFrame)})) << key;
        }
        firstSample = lastSample + 1;
    }
}
