// Reading recording files: plain and gzip files, numbers checked against Qt's JSON parser,
// and the messages that reject bad files.

#include "recordingreader.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

const QByteArray SmallRecording = R"({"format": "tavi-recording", "version": 1, "subjectName": "Gz",
  "frames": [{"frame": 7, "pose": {"globalPosition": [1.5, 2.5, 3.5]}}]})";

QString rejection(const QByteArray& json)
{
    const RecordingReadResult result = readRecordingText(json, QStringLiteral("rec.json"));
    EXPECT_FALSE(result.ok());
    return result.error;
}

QByteArray withFrames(const char* frames)
{
    return QByteArray(R"({"format": "tavi-recording", "version": 1, "frames": )") + frames + "}";
}

void writeGzip(const QString& path, const QByteArray& bytes)
{
    gzFile file = gzopen(QFile::encodeName(path).constData(), "wb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(gzwrite(file, bytes.constData(), unsigned(bytes.size())), bytes.size());
    ASSERT_EQ(gzclose(file), Z_OK);
}

} // namespace

TEST(HostReader, ReadsPlainAndGzipFiles)
{
    QTemporaryDir dir;
    const QString plain = dir.filePath("rec.json");
    const QString gz = dir.filePath("rec.json.gz");
    {
        QFile file(plain);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(SmallRecording);
    }
    writeGzip(gz, SmallRecording);

    for (const QString& path : {plain, gz}) {
        const RecordingReadResult result = readRecordingFile(path);
        ASSERT_TRUE(result.ok()) << result.error.toStdString();
        EXPECT_EQ(result.recording->subjectName, "Gz");
        ASSERT_NE(result.recording->frame(7), nullptr);
        EXPECT_EQ(result.recording->frame(7)->pose->globalPosition()[2], 3.5);
    }

    // A gzip stream cut short is a read error, not a recording.
    QFile whole(gz);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    const QString cut = dir.filePath("cut.json.gz");
    QFile cutFile(cut);
    ASSERT_TRUE(cutFile.open(QIODevice::WriteOnly));
    cutFile.write(bytes.left(bytes.size() / 2));
    cutFile.close();
    const RecordingReadResult truncated = readRecordingFile(cut);
    EXPECT_FALSE(truncated.ok());
    EXPECT_EQ(truncated.error, cut + ": cannot read: unexpected end of file");

    const RecordingReadResult missing = readRecordingFile(dir.filePath("none.json"));
    EXPECT_EQ(missing.error, dir.filePath("none.json") + ": cannot open: No such file or directory");
}

TEST(HostReader, NumbersAgreeWithQtJsonParser)
{
    const QByteArray numbers = "[0, -0, 1, -1, 0.1, 123456789012345.6, 1.7976931348623157e308, 4.9e-324, "
                               "2.2250738585072014E-308, 1e+2, 1E-2, -3.14159265358979323846264338327950288, "
                               "0.30000000000000004, 9007199254740993, 1e21, 12345e-10]";
    const RecordingReadResult result = readRecordingText(
        withFrames("[{\"frame\": 0, \"pose\": {\"globalPosition\": " + numbers + "}}]"), "numbers.json");
    ASSERT_TRUE(result.ok()) << result.error.toStdString();
    const ZtVector read = result.recording->frame(0)->pose->globalPosition();
    const QJsonArray expected = QJsonDocument::fromJson(numbers).array();
    ASSERT_EQ(read.size(), std::size_t(expected.size()));
    for (qsizetype i = 0; i < expected.size(); ++i)
        EXPECT_EQ(read[std::size_t(i)], expected[i].toDouble()) << "element " << i;
}

TEST(HostReader, RejectsOtherFormatsAndVersions)
{
    const QString format = R"(rec.json: format: expected the string "tavi-recording", )";
    EXPECT_EQ(rejection(R"({"version": 1})"), R"(rec.json: format: missing, expected the string "tavi-recording")");
    EXPECT_EQ(rejection(R"({"format": "other", "version": 1})"), format + R"(found the string "other")");
    EXPECT_EQ(rejection(R"({"format": 1, "version": 1})"), format + "found a number");
    EXPECT_EQ(rejection(R"({"format": "tavi-recording"})"), "rec.json: version: missing, expected the integer 1");
    EXPECT_EQ(rejection(R"({"format": "tavi-recording", "version": "1"})"),
              R"(rec.json: version: expected the integer 1, found the string "1")");
    // The version is reported even when the fields of the other version do not fit.
    EXPECT_EQ(rejection(R"({"frames": {"0": []}, "format": "tavi-recording", "version": 2})"),
              "rec.json: version: expected the integer 1, found the number 2");
    EXPECT_EQ(rejection("[1, 2]"), "rec.json: the top level: expected an object, found an array");
}

TEST(HostReader, NamesThePathAndTheExpectedTypeOfAWrongField)
{
    const char* const cases[][2] = {
        {R"([{"frame": 0}, {"frame": 1, "pose": {"segments": [{"q": "x"}]}}])",
         R"(frames[1].pose.segments[0].q: expected an array of 4 numbers, found a string)"},
        {R"([{"frame": 0, "pose": {"segments": [{}, {"sensorQ": [1, 0, 0]}]}}])",
         R"(frames[0].pose.segments[1].sensorQ: expected an array of 4 numbers, found an array of 3 elements)"},
        {R"([{"frame": 0, "pose": {"segments": [{"pos": [1, "abc", 3]}]}}])",
         R"(frames[0].pose.segments[0].pos[1]: expected a number, found the string "abc")"},
        {R"([{"frame": 1.5}])", R"(frames[0].frame: expected an integer, found the number 1.5)"},
        {R"([{"frame": 3000000000}])", R"(frames[0].frame: expected an integer, found the number 3000000000)"},
        {R"([{"pose": null}])", R"(frames[0]: expected a frame object with an integer "frame", found none)"},
        {R"([{"frame": 0, "pose": 5}])", R"(frames[0].pose: expected a pose object or null, found a number)"},
        {R"([{"frame": 0, "externalData": [[1], 2]}])",
         R"(frames[0].externalData[1]: expected an array of numbers, found a number)"},
        {R"([{"frame": 0, "pose": {"ergoJointAngles": [[], [], [], [], [], [], []]}}])",
         R"(frames[0].pose.ergoJointAngles: expected an array of 6 vectors, found an array of 7 elements)"},
        {R"([{"frame": 0, "pose": {"fingerTracking": {"hasData": 1}}}])",
         R"(frames[0].pose.fingerTracking.hasData: expected a boolean, found a number)"},
        {R"([{"frame": 0, "pose": {"fingerTracking": {"segments": [[], [{"q": [1, 0, 0, 0], "pos": {}}]]}}}])",
         R"(frames[0].pose.fingerTracking.segments[1][0].pos: expected an array of numbers, found an object)"},
        {R"({"frame": 0})", R"(frames: expected an array of frame objects, found an object)"},
    };
    for (const auto& [frames, message] : cases)
        EXPECT_EQ(rejection(withFrames(frames)), QStringLiteral("rec.json: ") + message);

    const char* const topLevel[][2] = {
        {R"("frameRate": "fast")", R"(frameRate: expected a number, found the string "fast")"},
        {R"("tPoseSegmentCount": "23")", R"(tPoseSegmentCount: expected an integer or null, found a string)"},
        {R"("markers": [{"frame": "1", "text": "x"}])", R"(markers[0].frame: expected an integer, found a string)"},
        {R"("externalChannels": [{"name": "EMG", "info": {"frameRate": 2000}}])",
         R"(externalChannels[0].info.frameRate: expected a string, found a number)"},
        {R"j("externalChannels": [{"name": "EMG", "info": {"rate (Hz)": true}}])j",
         R"j(externalChannels[0].info["rate (Hz)"]: expected a string, found a boolean)j"},
        {R"("fingerTracking": {"segmentNames": [["a"], ["b"], ["c"]]})",
         R"(fingerTracking.segmentNames: expected an array of two arrays of strings (hand 0, hand 1), found an array of 3 elements)"},
        {R"("recordStartTime": "2026-03-01T10:20:30")",
         R"(recordStartTime: expected an ISO 8601 date and time with Z or an offset (2026-03-01T10:20:30.250Z), found the string "2026-03-01T10:20:30")"},
        {R"("subjectName": null)", R"(subjectName: expected a string, found null)"},
    };
    for (const auto& [field, message] : topLevel) {
        EXPECT_EQ(rejection(QByteArray(R"({"format": "tavi-recording", "version": 1, )") + field + "}"),
                  QStringLiteral("rec.json: ") + message);
    }
}

TEST(HostReader, ReportsWhereTheJsonIsInvalid)
{
    const QByteArray unclosed = "{\"format\": \"tavi-recording\",\n \"version\": 1,\n \"frames\": [}";
    const qsizetype brace = unclosed.lastIndexOf('}');
    const qsizetype lineStart = unclosed.lastIndexOf('\n') + 1;
    EXPECT_EQ(rejection(unclosed), QStringLiteral("rec.json:3:%1: invalid JSON: expected a value, found '}' (byte offset %2)")
                                       .arg(brace - lineStart + 1)
                                       .arg(brace));

    EXPECT_EQ(rejection(""), "rec.json:1:1: invalid JSON: expected a value, found the end of the text (byte offset 0)");
    EXPECT_EQ(rejection(R"({"format": "tavi-recording"} x)"),
              "rec.json:1:30: invalid JSON: unexpected 'x' after the top-level value (byte offset 29)");
    EXPECT_TRUE(rejection(R"({"format": "tavi-recording", "version": 1,})").contains("expected a member name"));
    EXPECT_TRUE(rejection(R"({"subjectName": "a\qb"})").contains(R"(invalid escape \q)"));
    EXPECT_TRUE(rejection("{\"subjectName\": \"\xC3\x28\"}").contains("invalid UTF-8"));
    EXPECT_TRUE(rejection(R"({"frameRate": 01})").contains("leading zero"));
    EXPECT_TRUE(rejection(R"({"frameRate": NaN})").contains("expected a value, found 'N'"));
    EXPECT_TRUE(rejection(R"({"unknown": [tru]})").contains("invalid literal"));
    // Syntax errors inside fields that are skipped are found too.
    EXPECT_TRUE(rejection(R"({"unknown": {"a": [1, 2}})").contains("expected ',' or ']'"));

    const RecordingReadResult escapes =
        readRecordingText(R"({"format": "tavi-recording", "version": 1, "subjectName": "\u00e9\ud83d\ude00\n\"/"})",
                          "rec.json");
    ASSERT_TRUE(escapes.ok()) << escapes.error.toStdString();
    EXPECT_EQ(*escapes.recording->subjectName, QString::fromUtf8("\xC3\xA9\xF0\x9F\x98\x80\n\"/"));
}
