// Several recordings in one call: side-by-side exports of one loaded plug-in, each ending on
// its own (written, skipped, rejected, failed), the exit status of the worst, one summary
// line per workbook and the JSON report, and workbooks the same as single runs give.

#include "batch.h"
#include "clirunner.h"
#include "workbooksummary.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray recordingWithOffset(int offset)
{
    return QStringLiteral(R"({"format": "tavi-recording", "version": 1, "frameRate": 60,
      "recordStartTime": "2026-03-01T10:20:30.250Z",
      "frames": [{"frame": 0, "pose": {"segments": [{"pos": [%1, 2, 3]}]}}, {"frame": 1},
                 {"frame": 2, "pose": {"segments": [{"pos": [4, %1, 6]}]}}]})")
        .arg(offset)
        .toUtf8();
}

} // namespace

TEST(CliBatch, SideBySideExportsEndEachOnTheirOwn)
{
    CliWorkspace space;
    for (const char* folder : {"in", "out", "single"})
        ASSERT_TRUE(QDir(space.path(".")).mkpath(folder));
    space.writeFile("in/walk.json", recordingWithOffset(1));
    space.writeFile("in/run.json.gz", recordingWithOffset(7), true);
    space.writeFile("in/broken.json", "{");
    space.writeFile("in/kept.json", recordingWithOffset(3));
    space.writeFile("in/blocked.json", recordingWithOffset(5));
    space.writeFile("out/kept.xlsx", "an earlier workbook");
    // Something of another's where the export's temporary folder would go: that export fails.
    space.writeFile("out/blocked.xlsx_fldr", "not ours");

    const QStringList inputs = {"in/walk.json", "in/broken.json", "in/run.json.gz", "in/kept.json", "in/blocked.json"};
    const CliResult batch = space.run(QStringList{"--output-dir", "out", "--jobs", "2", "--no-clobber", "--report",
                                          "report.json"}
        + inputs);
    EXPECT_EQ(batch.exitCode, 2) << batch.err.toStdString();
    QStringList summaries = batch.out.split(u'\n', Qt::SkipEmptyParts);
    summaries.sort();
    ASSERT_EQ(summaries.size(), 3) << batch.out.toStdString();
    EXPECT_EQ(summaries[0], R"(skipped "out/kept.xlsx": it exists already)");
    EXPECT_TRUE(summaries[1].startsWith(R"(wrote "out/run.xlsx": 3 of 3 frames (frame skip 0), 18 sheets, )"));
    EXPECT_TRUE(summaries[2].startsWith(R"(wrote "out/walk.xlsx": 3 of 3 frames (frame skip 0), 18 sheets, )"));
    EXPECT_TRUE(batch.err.contains("tavi-export: in/broken.json:")) << batch.err.toStdString();
    EXPECT_TRUE(batch.err.contains(R"(tavi-export: "in/blocked.json": Could not create temporary file)"))
        << batch.err.toStdString();
    EXPECT_EQ(space.readFile("out/kept.xlsx"), "an earlier workbook");
    EXPECT_EQ(space.readFile("out/blocked.xlsx_fldr"), "not ours");
    EXPECT_EQ(QDir(space.path("out")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
        QStringList({"blocked.xlsx_fldr", "kept.xlsx", "run.xlsx", "walk.xlsx"}));

    const QJsonObject report = QJsonDocument::fromJson(space.readFile("report.json")).object();
    EXPECT_EQ(report.value("exitStatus"), 2);
    const QJsonArray recordings = report.value("recordings").toArray();
    ASSERT_EQ(recordings.size(), inputs.size());
    const char* const statuses[] = {"written", "rejected", "written", "skipped", "failed"};
    for (int index = 0; index < inputs.size(); ++index) {
        const QJsonObject entry = recordings[index].toObject();
        EXPECT_EQ(entry.value("input"), inputs[index]);
        EXPECT_EQ(entry.value("status"), QLatin1String(statuses[index])) << index;
        const bool written = entry.value("status").toString() == u"written";
        EXPECT_EQ(entry.value("error").isNull(), written || entry.value("status").toString() == u"skipped") << index;
        for (const char* count : {"frames", "exportedFrames", "frameSkip", "sheets", "rows", "continuationSheets",
                 "seconds", "bytes"})
            EXPECT_EQ(entry.value(count).isDouble(), written) << index << count;
        if (!written)
            continue;
        const QString output = entry.value("output").toString();
        EXPECT_EQ(entry.value("frames"), 3);
        EXPECT_EQ(entry.value("exportedFrames"), 3);
        EXPECT_EQ(entry.value("sheets"), 18);
        EXPECT_EQ(entry.value("bytes").toInteger(), QFileInfo(space.path(output)).size());
        EXPECT_TRUE(summaries.join(u'\n').contains(
            QStringLiteral("%1 rows, 0 continuation sheets").arg(entry.value("rows").toInteger())));

        // The same workbook as a run of its own, once unzipped.
        const QString single = "single/" + QFileInfo(output).fileName();
        ASSERT_EQ(space.run({inputs[index], single}).exitCode, 0);
        EXPECT_EQ(differingEntries(space.path(output), space.path(single)), QString()) << output.toStdString();
    }
    EXPECT_TRUE(space.temporaryFolders().isEmpty());

    // --quiet keeps errors only; a resumed batch skips what is there.
    const CliResult resumed = space.run({"--quiet", "--output-dir", "out", "--no-clobber", "in/walk.json", "in/broken.json"});
    EXPECT_EQ(resumed.exitCode, 2);
    EXPECT_TRUE(resumed.out.isEmpty());
    EXPECT_TRUE(resumed.err.startsWith("tavi-export: in/broken.json:")) << resumed.err.toStdString();
}

TEST(CliBatch, SummaryCountsWhatTheWorkbookHolds)
{
    // A workbook made by Python's zipfile, so the summary does not lean on the archive code
    // that wrote it: a sheet carried on past the row limit, and a title that only looks like
    // a continuation.
    CliWorkspace space;
    const PythonRun python = runPython({"-c",
        "import sys, zipfile\n"
        "titles = ['General Information', 'External Data', 'External Data 2', 'Trial 2']\n"
        "extents = ['A1:B6', 'A1:F1048576', 'A1:F7', 'A1']\n"
        "with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED) as z:\n"
        "    z.writestr('xl/workbook.xml', '<workbook><sheets>' + ''.join(\n"
        "        '<sheet name=\"%s\" sheetId=\"%d\"/>' % (t, i + 1) for i, t in enumerate(titles))"
        " + '</sheets></workbook>')\n"
        "    for i, e in enumerate(extents):\n"
        "        z.writestr('xl/worksheets/sheet%d.xml' % (i + 1), '<worksheet><dimension ref=\"%s\"/>' % e"
        " + '<sheetData/>' * 5000 + '</worksheet>')\n",
        space.path("made.xlsx")});
    ASSERT_TRUE(python.ok) << python.err.toStdString();

    const std::optional<WorkbookSummary> summary = summarizeWorkbook(space.path("made.xlsx"));
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->sheets, 4);
    EXPECT_EQ(summary->rows, 6 + 1048576 + 7 + 1);
    EXPECT_EQ(summary->continuationSheets, QStringList({"External Data 2"}));

    ExportRequest request;
    request.outputPath = QStringLiteral("made.xlsx");
    ExportResult result;
    result.workbook = *summary;
    result.frames = result.exportedFrames = 1;
    EXPECT_TRUE(summaryLine(request, result).startsWith(R"(wrote "made.xlsx": 1 of 1 frame (frame skip 0), 4 sheets, 1,048,590 rows, 1 continuation sheet, )"));
    EXPECT_EQ(continuationNote(request, result).toStdString(),
        R"(note: "made.xlsx" has sheets longer than 1,048,576 rows; they go on in External Data 2)");

    space.writeFile("text.xlsx", "not an archive");
    EXPECT_FALSE(summarizeWorkbook(space.path("text.xlsx")));
}
