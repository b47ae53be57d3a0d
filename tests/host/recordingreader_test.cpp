// Reading recording files: plain and gzip files, numbers checked against Qt's JSON parser,
// and the messages that reject bad files.

#include "recordingreader.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <limits>

namespace {

QByteArray withFields(const char* fields)
{
    return QByteArray(R"({"format": "tavi-recording", "version": 1, )") + fields + "}";
}

QByteArray withFrames(const QByteArray& frames)
{
    return withFields("\"frames\": " + frames);
}

} // namespace

TEST(HostReader, NumbersAgreeWithQtJsonParser)
{
    const QByteArray numbers =
        "[0, -0, 1, -1, 0.1, 123456789012345.6, 1.7976931348623157e308, 4.9e-324, "
        "2.2250738585072014E-308, 1e+2, 1E-2, -3.14159265358979323846264338327950288, "
        "0.30000000000000004, 9007199254740993, 1e21, 12345e-10]";
    const RecordingReadResult result = readRecordingText(withFrames(R"([{"frame": 0, "pose": {"globalPosition": )" + numbers + "}}]"), "numbers.json");
    ASSERT_TRUE(result.ok()) << result.error.toStdString();
    const ZtVector read = result.recording->frame(0)->pose->globalPosition();
    const QJsonArray expected = QJsonDocument::fromJson(numbers).array();
    ASSERT_EQ(read.size(), std::size_t(expected.size()));
    for (qsizetype i = 0; i < expected.size(); ++i)
        EXPECT_EQ(read[std::size_t(i)], expected[i].toDouble()) << "element " << i;

    // Numbers that are not finite are written as strings; numbers past the range of a double
    // are rounded as Qt rounds them.
    const RecordingReadResult special = readRecordingText(withFrames(R"([{"frame": 0, "pose": {
        "globalPosition": ["NaN", "-Infinity", -0.0, 1e-400, 1e400], "segments": [{"q": ["NaN", 0, "Infinity", 1]}]}}])"),
        "special.json");
    ASSERT_TRUE(special.ok()) << special.error.toStdString();
    const ZtVector position = special.recording->frame(0)->pose->globalPosition();
    ASSERT_EQ(position.size(), 5u);
    EXPECT_TRUE(std::isnan(position[0]));
    EXPECT_EQ(position[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::signbit(position[2]));
    EXPECT_EQ(position[3], 0.0);
    EXPECT_EQ(position[4], std::numeric_limits<double>::infinity());
    const ZtQuaternion q = special.recording->frame(0)->pose->q_gb(0, PoseBaseGlobal);
    EXPECT_TRUE(std::isnan(q.q0));
    EXPECT_EQ(q.q2, std::numeric_limits<double>::infinity());

    const RecordingReadResult escapes = readRecordingText(withFields(R"("subjectName": "\u00e9\ud83d\ude00\n\"/")"), "rec.json");
    ASSERT_TRUE(escapes.ok()) << escapes.error.toStdString();
    EXPECT_EQ(*escapes.recording->subjectName, QString::fromUtf8("\xC3\xA9\xF0\x9F\x98\x80\n\"/"));
}

TEST(HostReader, RejectionsNameTheFieldAndWhatWasExpected)
{
    const std::string FrameNumber = "an integer frame number from -1000000000 to 1000000000";
    const std::string NotARecording = "; a recording is a JSON object as docs/recording-format.md describes";
    const std::string NonFinite = R"(; numbers that are not finite are written as the strings "NaN", "Infinity" and "-Infinity")";
    const struct
    {
        QByteArray json;
        std::string message;
    } cases[] = {
        // Format and version.
        {R"({"version": 1})", R"(: format: missing, expected the string "tavi-recording")"},
        {R"({"format": "other", "version": 1})", R"(: format: expected the string "tavi-recording", found the string "other")"},
        {R"({"format": "tavi-recording"})", ": version: missing, expected the integer 1"},
        {R"({"format": "tavi-recording", "version": "1"})", R"(: version: expected the integer 1, found the string "1")"},
        // The version is reported even when the fields of the other version do not fit.
        {R"({"frames": {"0": []}, "format": "tavi-recording", "version": 2})",
            ": version: expected the integer 1, found the number 2"},
        {"[1, 2]", ": the top level: expected an object, found an array" + NotARecording},

        // Fields of the wrong type, by their path.
        {withFrames(R"([{"frame": 0}, {"frame": 1, "pose": {"segments": [{"q": "x"}]}}])"),
            ": frames[1].pose.segments[0].q: expected an array of 4 numbers, found a string"},
        {withFrames(R"([{"frame": 0, "pose": {"segments": [{}, {"sensorQ": [1, 0, 0]}]}}])"),
            ": frames[0].pose.segments[1].sensorQ: expected an array of 4 numbers, found an array of 3 elements"},
        {withFrames(R"([{"frame": 0, "pose": {"segments": [{"pos": [1, "abc", 3]}]}}])"),
            R"(: frames[0].pose.segments[0].pos[1]: expected a number, found the string "abc")"},
        {withFrames(R"([{"frame": 1.5}])"), ": frames[0].frame: expected " + FrameNumber + ", found the number 1.5"},
        {withFrames(R"([{"pose": null}])"), R"(: frames[0]: expected a frame object with an integer "frame", found none)"},
        {withFrames(R"([{"frame": 0, "pose": 5}])"), ": frames[0].pose: expected a pose object or null, found a number"},
        {withFrames(R"([{"frame": 0, "externalData": [[1], 2]}])"),
            ": frames[0].externalData[1]: expected an array of numbers, found a number"},
        {withFrames(R"([{"frame": 0, "pose": {"ergoJointAngles": [[], [], [], [], [], [], []]}}])"),
            ": frames[0].pose.ergoJointAngles: expected an array of 6 vectors, found an array of 7 elements"},
        {withFrames(R"([{"frame": 0, "pose": {"fingerTracking": {"hasData": 1}}}])"),
            ": frames[0].pose.fingerTracking.hasData: expected a boolean, found a number"},
        {withFrames(R"([{"frame": 0, "pose": {"fingerTracking": {"segments": [[], [{"q": [1, 0, 0, 0], "pos": {}}]]}}}])"),
            ": frames[0].pose.fingerTracking.segments[1][0].pos: expected an array of numbers, found an object"},
        {withFrames(R"({"frame": 0})"), ": frames: expected an array of frame objects, found an object"},
        {withFields(R"("frameRate": "fast")"),
            R"(: frameRate: expected a frame rate from 0 to 100000 frames per second, found the string "fast")"},
        {withFields(R"("tPoseSegmentCount": "23")"),
            ": tPoseSegmentCount: expected null or an integer segment count from 0 to 1000, found a string"},
        {withFields(R"j("externalChannels": [{"name": "EMG", "info": {"rate (Hz)": true}}])j"),
            R"j(: externalChannels[0].info["rate (Hz)"]: expected a string, found a boolean)j"},
        {withFields(R"("fingerTracking": {"segmentNames": [["a"], ["b"], ["c"]]})"),
            ": fingerTracking.segmentNames: expected an array of two arrays of strings (hand 0, hand 1), found an array of 3 elements"},
        {withFields(R"("recordStartTime": "2026-03-01T10:20:30")"),
            ": recordStartTime: expected an ISO 8601 date and time with Z or an offset (2026-03-01T10:20:30.250Z), "
            R"(found the string "2026-03-01T10:20:30")"},
        {withFields(R"("subjectName": null)"), ": subjectName: expected a string, found null"},

        // Invalid JSON, by line, column and byte offset; also inside fields that are skipped.
        {"{\"format\": \"tavi-recording\",\n \"version\": 1,\n \"frames\": [}",
            ":3:13: invalid JSON: expected a value, found '}' (byte offset 56)"},
        {"", ":1:1: invalid JSON: expected a value, found the end of the text (byte offset 0)" + NotARecording},
        {R"({"format": "tavi-recording"} x)", ":1:30: invalid JSON: unexpected 'x' after the top-level value (byte offset 29)"},
        {R"({"format": "tavi-recording", "version": 1,})", ":1:43: invalid JSON: expected a member name in double quotes (byte offset 42)"},
        {R"({"subjectName": "a\qb"})", ":1:20: invalid JSON: invalid escape \\q (byte offset 19)"},
        {"{\"subjectName\": \"\xC3\x28\"}", ":1:19: invalid JSON: invalid UTF-8 in a string (byte offset 18)"},
        {R"({"frameRate": 01})", ":1:16: invalid JSON: invalid number: leading zero (byte offset 15)"},
        {R"({"frameRate": NaN})", ":1:15: invalid JSON: expected a value, found 'N' (byte offset 14)" + NonFinite},
        {R"({"frameRate": -Infinity})",
            ":1:16: invalid JSON: invalid number: expected a digit after '-', found 'I' (byte offset 15)" + NonFinite},
        {withFrames(R"([{"frame": 0, "pose": {"globalPosition": [1, null]}}])"),
            R"(: frames[0].pose.globalPosition[1]: expected a number, found null (write the string "NaN" for a value that is missing))"},
        {"Frame,Time\n1,0.0\n", ":1:1: invalid JSON: expected a value, found 'F' (byte offset 0)" + NotARecording},
        {"1,2,3\n", ":1:2: invalid JSON: unexpected ',' after the top-level value (byte offset 1)" + NotARecording},
        {R"({"unknown": [tru]})", ":1:17: invalid JSON: invalid literal, expected true (byte offset 16)"},
        {R"({"unknown": {"a": [1, 2}})", ":1:24: invalid JSON: expected ',' or ']', found '}' (byte offset 23)"},
    };
    for (const auto& [json, message] : cases) {
        const RecordingReadResult result = readRecordingText(json, QStringLiteral("rec.json"));
        EXPECT_FALSE(result.ok()) << message;
        EXPECT_EQ(result.error.toStdString(), std::string("rec.json") + message);
    }
}

TEST(HostReader, ValuesNoStudioProducesAreRefusedBeforeTheyCostMemory)
{
    const QByteArray manySegments = "[" + QByteArray("{},").repeated(150'000) + "{}]";
    const QByteArray manyChannels = "[" + QByteArray(R"({"name": "c"},)").repeated(99) + R"({"name": "c"}])";
    const struct
    {
        QByteArray json;
        std::string message; // after "rec.json: "; a start when it ends in "..."
    } cases[] = {
        {withFields(R"("frameCount": 2147483647)"),
            "frameCount: expected an integer frame count from 0 to 100000000, found the number 2147483647"},
        {withFields(R"("externalDataCount": 2147483647)"),
            "externalDataCount: expected an integer sample count from 0 to 1000000000, found the number 2147483647"},
        {withFields(R"("tPoseSegmentCount": 2147483647)"),
            "tPoseSegmentCount: expected null or an integer segment count from 0 to 1000, found the number 2147483647"},
        {withFrames(R"([{"frame": -2147483648}, {"frame": 2147483647}])"),
            "frames[0].frame: expected an integer frame number from -1000000000 to 1000000000, found the number -2147483648"},
        {withFields(R"("frameRate": -60)"),
            "frameRate: expected a frame rate from 0 to 100000 frames per second, found the number -60"},
        {withFields(R"("frameRate": "NaN")"),
            "frameRate: expected a frame rate from 0 to 100000 frames per second, found the number nan"},
        {withFrames(R"([{"frame": -1000000000}, {"frame": 1000000000}])"),
            "frames: frames -1000000000 to 1000000000 are 2000000001 frames; at most 100000000 frames from the first to "
            "the last are allowed"},
        {withFields(R"("lastFrame": 100000000)"),
            "lastFrame: frames 0 to 100000000 are 100000001 frames; at most 100000000 frames from the first to the last are allowed"},
        {withFields(R"("frameRate": 60, "lastFrame": 20000000, "externalChannels": [{"name": "EMG"}])"),
            "lastFrame: the external data of frames 0 to 20000000 would be collected frame by frame; a file of ..."},
        // One channel resampled to 4800 samples per frame over the declared range.
        {withFields(R"("frameRate": 1, "lastFrame": 100000, "externalChannels": [{"name": "EMG"}],
                       "frames": [{"frame": 0, "externalData": [[1]]}])"),
            "externalChannels: 1 channel resampled over 100001 frames at a frame rate of 1 (4800 samples per frame) "
            "would take 3.6 GiB; a file of ..."},
        {withFields(R"("frameRate": 1, "externalChannels": )" + manyChannels + R"(,
                       "frames": [{"frame": 0, "externalData": [[1]]}, )"
             + QByteArray(R"({"frame": 0}, )").repeated(300)
             + R"({"frame": 0}])"),
            "frames: the export would write about 147859200 cells of poses and external data; a file of ..."},
        {withFrames(R"([{"frame": 0, "pose": {"segments": )" + manySegments + "}}]"),
            "frames[0].pose.segments[...]: reading the recording needs more memory than allowed; a file of 439.5 KiB may "
            "use at most 90.9 MiB (48.0 MiB plus 100 bytes per byte of the file)"},
        {withFields(R"("markers": [{"frame": 0, "text": ")" + QByteArray(2 << 20, 'a') + R"("}])"),
            "markers[0].text: a string longer than 1048576 bytes"},
        {withFrames(R"([{"frame": 0, "pose": {"globalPosition": [1.)" + QByteArray(1500, '0') + "]}}]"),
            "frames[0].pose.globalPosition[0]: a number longer than 1000 characters"},
        // Values are quoted escaped and cut short.
        {R"({"format": ")" + QByteArray(300, 'x') + R"(", "version": 1})",
            R"(format: expected the string "tavi-recording", found the string ")" + std::string(100, 'x') + R"("... (300 bytes))"},
        {withFields(R"("externalChannels": [{"name": "E", "info": {"a\u0001\"b": 1}}])"),
            R"(externalChannels[0].info["a\u0001\"b"]: expected a string, found a number)"},
    };
    for (const auto& [json, message] : cases) {
        const RecordingReadResult result = readRecordingText(json, QStringLiteral("rec.json"));
        EXPECT_FALSE(result.ok()) << message;
        std::string error = result.error.toStdString();
        // Where the budget runs out inside a long array depends on the costs; the path's
        // array index is not part of the expectation.
        if (const std::size_t at = error.find("segments["); at != std::string::npos)
            error.replace(at + 9, error.find(']', at) - at - 9, "...");
        if (message.ends_with("..."))
            EXPECT_EQ(error.substr(0, message.size() + 7), "rec.json: " + message.substr(0, message.size() - 3)) << error;
        else
            EXPECT_EQ(error, "rec.json: " + message);
    }
}

TEST(HostReader, ReadsPlainAndGzipFilesWhateverTheNameAndRejectsCutOnes)
{
    const QByteArray json = withFrames(R"([{"frame": 4}])");
    QTemporaryDir dir;
    const auto written = [&](const char* name, const QByteArray& content, bool zipped) {
        const QString path = dir.filePath(name);
        if (zipped) {
            gzFile file = gzopen(QFile::encodeName(path).constData(), "wb");
            gzwrite(file, content.constData(), unsigned(content.size()));
            gzclose(file);
        } else {
            QFile file(path);
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(content);
        }
        return path;
    };
    for (const QString& path : {written("bom.json", "\xEF\xBB\xBF" + json, false), written("zipped.json", json, true),
             written("plain.json.gz", json, false), written("zipped-bom", "\xEF\xBB\xBF" + json, true)}) {
        const RecordingReadResult result = readRecordingFile(path);
        ASSERT_TRUE(result.ok()) << result.error.toStdString();
        EXPECT_EQ(result.recording->frameNumbers(), std::vector<int>{4});
    }
    // A gzip stream cut short is a read error, not a recording.
    const QString zipped = dir.filePath("zipped.json");
    ASSERT_TRUE(QFile::resize(zipped, QFileInfo(zipped).size() / 2));
    EXPECT_EQ(readRecordingFile(zipped).error, zipped + ": cannot read: unexpected end of file");
    // Positions count the mark's bytes in the offset but not in the column.
    EXPECT_EQ(readRecordingFile(written("bad-bom.json", "\xEF\xBB\xBF{]", false)).error,
        dir.filePath("bad-bom.json") + ":1:2: invalid JSON: expected a member name in double quotes (byte offset 4)");
    // A '%' in the name is not taken for a placeholder.
    EXPECT_EQ(readRecordingText("{,", QStringLiteral("100%1 %2.json")).error,
        QStringLiteral("100%1 %2.json:1:2: invalid JSON: expected a member name in double quotes (byte offset 1)"));
}
