// Recording files exported through the program and read back with openpyxl: every field of
// the format reaches its place in the workbook, absent fields take their defaults, number
// strings and gzip files are understood.

#include "clirunner.h"
#include "workbookreader.h"

#include <QDateTime>
#include <QJsonArray>
#include <QTimeZone>

#include <cmath>
#include <zlib.h>

namespace {

constexpr int Segments = 23;
constexpr int SegmentWithoutSensor = 4;
constexpr int FingerSegments = 20;
constexpr int FingerJoints = 19;
const QList<int> FrameNumbers = {0, 1, 2};

QJsonArray numbers(std::initializer_list<double> values)
{
    QJsonArray array;
    for (double v : values)
        array.append(v);
    return array;
}

// A number as the workbook holds it: 15 significant digits.
double written(double v)
{
    return QByteArray::number(v, 'g', 15).toDouble();
}

QList<QPair<int, int>> ranges(const QJsonArray& hidden)
{
    QList<QPair<int, int>> out;
    for (const QJsonValue& range : hidden)
        out.append({range.toArray().at(0).toInt(), range.toArray().at(1).toInt()});
    return out;
}

// Distinct values per quantity, segment and frame, so that a value read back tells where it
// came from.
double value(int quantity, int index, int frame)
{
    return quantity + 0.01 * index + 0.0001 * frame + 1e-9;
}

QJsonArray vectorOf(int quantity, int index, int frame)
{
    return numbers({value(quantity, index, frame), -value(quantity, index, frame), 0.5 * value(quantity, index, frame)});
}

QJsonArray unitQuaternion(double angle)
{
    return numbers({std::cos(angle), std::sin(angle) * 0.6, std::sin(angle) * 0.8, 0.0});
}

QJsonArray channelSamples(int channel, int frame)
{
    QJsonArray samples;
    for (int i = 0; i < 34; ++i)
        samples.append(channel + 0.001 * (frame * 34 + i));
    return samples;
}

QJsonObject poseAt(int frame)
{
    QJsonArray segments;
    for (int i = 0; i < Segments; ++i) {
        QJsonObject segment{{"q", unitQuaternion(0.1 * i + 0.01 * frame)},
                            {"pos", vectorOf(1, i, frame)},
                            {"vel", vectorOf(2, i, frame)},
                            {"acc", vectorOf(3, i, frame)},
                            {"angVel", vectorOf(4, i, frame)},
                            {"angAcc", vectorOf(5, i, frame)},
                            {"sensorFreeAcc", vectorOf(6, i, frame)},
                            {"sensorMag", vectorOf(7, i, frame)}};
        if (i != SegmentWithoutSensor)
            segment.insert("sensorQ", unitQuaternion(0.2 * i + 0.01 * frame));
        segments.append(segment);
    }
    // Numbers given as strings: NaN and the infinities leave their cells out.
    if (frame == 1) {
        QJsonObject pelvis = segments[0].toObject();
        pelvis.insert("pos", QJsonArray{"NaN", "Infinity", 0.25});
        pelvis.insert("vel", QJsonArray{"-Infinity", 1.5, 2.5});
        segments[0] = pelvis;
    }

    QJsonArray joints, jointsXzy, ergonomic, ergonomicXzy;
    for (int j = 0; j < Segments - 1; ++j) {
        joints.append(vectorOf(8, j, frame));
        jointsXzy.append(vectorOf(9, j, frame));
    }
    for (int e = 0; e < 6; ++e) {
        ergonomic.append(vectorOf(10, e, frame));
        ergonomicXzy.append(vectorOf(11, e, frame));
    }

    QJsonArray fingerSegments, fingerJoints, fingerJointsXzy;
    for (int hand = 0; hand < 2; ++hand) {
        QJsonArray handSegments, handJoints, handJointsXzy;
        for (int f = 0; f < FingerSegments; ++f)
            handSegments.append(QJsonObject{{"q", unitQuaternion(0.05 * f)}, {"pos", vectorOf(12 + hand, f, frame)}});
        for (int k = 0; k < FingerJoints; ++k) {
            handJoints.append(vectorOf(14 + hand, k, frame));
            handJointsXzy.append(vectorOf(16 + hand, k, frame));
        }
        fingerSegments.append(handSegments);
        fingerJoints.append(handJoints);
        fingerJointsXzy.append(handJointsXzy);
    }

    return QJsonObject{
        {"segments", segments},
        {"jointAngles", joints},
        {"jointAnglesXzy", jointsXzy},
        {"ergoJointAngles", ergonomic},
        {"ergoJointAnglesXzy", ergonomicXzy},
        {"centerOfMass", QJsonObject{{"pos", vectorOf(18, 0, frame)}, {"vel", vectorOf(18, 1, frame)}, {"acc", vectorOf(18, 2, frame)}}},
        {"globalPosition", numbers({52.2, 6.9, 40.0 + frame})},
        {"fingerTracking", QJsonObject{{"hasData", true}, {"segments", fingerSegments}, {"jointAngles", fingerJoints}, {"jointAnglesXzy", fingerJointsXzy}}},
    };
}

QJsonArray handNames(const QString& side, const QString& kind, int count, const QString& prefix = QString())
{
    QJsonArray names;
    for (int i = 0; i < count; ++i)
        names.append(QStringLiteral("%1%2%3Part%4").arg(prefix, side, kind).arg(i));
    return names;
}

// A recording that uses every field of the format.
QJsonObject fullRecording()
{
    QJsonArray frames;
    for (int frame : FrameNumbers) {
        QJsonObject object{{"frame", frame}};
        // The last frame has no pose and no external data.
        if (frame != FrameNumbers.last()) {
            object.insert("pose", poseAt(frame));
            object.insert("externalData", QJsonArray{channelSamples(0, frame), channelSamples(1, frame)});
        } else {
            object.insert("pose", QJsonValue::Null);
        }
        frames.append(object);
    }
    return QJsonObject{
        {"format", "tavi-recording"},
        {"version", 1},
        {"applicationVersion", "2026.4.0"},
        {"filename", "walk01.rec"},
        {"subjectName", "Suit A"},
        {"processingQuality", "HD"},
        {"recordStartTime", "2026-03-01T12:20:30.250+02:00"},
        {"frameRate", 60},
        {"firstFrame", 0},
        {"lastFrame", 2},
        {"frameCount", 3},
        {"tPoseSegmentCount", Segments},
        {"markers", QJsonArray{QJsonObject{{"frame", 0}, {"text", "heel strike"}},
                               QJsonObject{{"frame", 1}, {"text", "toe off"}},
                               QJsonObject{{"frame", 1}, {"text", "second"}},
                               QJsonObject{{"frame", 99}, {"text", "never exported"}}}},
        {"externalChannels", QJsonArray{QJsonObject{{"name", "EMG A"}, {"info", QJsonObject{{"frameRate", "2000"}}}},
                                        QJsonObject{{"name", "EMG B"}, {"info", QJsonValue::Null}}}},
        {"externalDataCount", 120},
        {"fingerTracking", QJsonObject{{"segmentNames", QJsonArray{handNames("Left", "Seg", FingerSegments),
                                                                   handNames("Right", "Seg", FingerSegments)}},
                                       {"jointNames", QJsonArray{handNames("Left", "Joint", FingerJoints, "j"),
                                                                 handNames("Right", "Joint", FingerJoints, "j")}}}},
        {"frames", frames},
    };
}

void writeGzip(const QString& path, const QByteArray& bytes)
{
    gzFile file = gzopen(QFile::encodeName(path).constData(), "wb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(gzwrite(file, bytes.constData(), unsigned(bytes.size())), bytes.size());
    ASSERT_EQ(gzclose(file), Z_OK);
}

std::optional<DumpedWorkbook> exportRecording(const CliWorkspace& space, const QString& recording)
{
    const QString output = recording + QStringLiteral(".xlsx");
    const CliResult result = space.run({recording, output});
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(space.temporaryFolders().isEmpty());
    return result.exitCode == 0 ? readWorkbook(space.path(output)) : std::nullopt;
}

} // namespace

TEST(CliRecordingFile, EveryFieldReachesTheWorkbookAlsoFromGzip)
{
    CliWorkspace space;
    const QByteArray json = QJsonDocument(fullRecording()).toJson();
    space.writeFile("full.json", json);
    writeGzip(space.path("full.json.gz"), json);

    const std::optional<DumpedWorkbook> book = exportRecording(space, "full.json");
    ASSERT_TRUE(book);

    const DumpedSheet* info = book->sheet("General Information");
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->text(1, 2), "2026.4.0");
    EXPECT_EQ(info->text(2, 2), "walk01.rec");
    EXPECT_EQ(info->text(3, 2), "Suit A");
    EXPECT_EQ(info->text(4, 2), "2026-03-01T10:20:30.250000");  // the offset taken out
    EXPECT_EQ(info->number(5, 2), 60.0);
    EXPECT_EQ(info->text(6, 2), "HD");

    // Two markers on one frame are joined; a marker on a frame that is not exported is not.
    const DumpedSheet* markers = book->sheet("Markers");
    ASSERT_NE(markers, nullptr);
    ASSERT_EQ(markers->rowCount(), 3);
    EXPECT_EQ(markers->number(2, 1), 0);
    EXPECT_EQ(markers->text(2, 2), "heel strike");
    EXPECT_EQ(markers->number(3, 1), 1);
    EXPECT_EQ(markers->text(3, 2), "toe off; second");

    // One row per frame, in file order.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_NE(positions, nullptr);
    ASSERT_EQ(positions->rowCount(), 4);
    for (int r = 0; r < 3; ++r)
        EXPECT_EQ(positions->number(r + 2, 1), FrameNumbers[r]);
    for (int i : {1, 7, Segments - 1}) {
        EXPECT_EQ(positions->number(2, 3 * i + 2), written(value(1, i, 0)));
        EXPECT_EQ(positions->number(2, 3 * i + 3), written(-value(1, i, 0)));
        EXPECT_EQ(positions->number(2, 3 * i + 4), written(0.5 * value(1, i, 0)));
    }
    EXPECT_TRUE(positions->cell(3, 2).isNull());
    EXPECT_TRUE(positions->cell(3, 3).isNull());
    EXPECT_EQ(positions->number(3, 4), 0.25);
    const DumpedSheet* velocities = book->sheet("Segment Velocity");
    ASSERT_NE(velocities, nullptr);
    // The frame without pose has its number only.
    EXPECT_EQ(velocities->usedColumns(4), 1);
    EXPECT_TRUE(velocities->cell(3, 2).isNull());
    EXPECT_EQ(velocities->number(3, 3), 1.5);
    EXPECT_EQ(velocities->number(3, 5), written(value(2, 1, 1)));

    // Finger-tracking columns follow the body segments under their names and labels.
    const int firstFingerColumn = 3 * Segments + 2;
    EXPECT_EQ(positions->headers().value(firstFingerColumn - 1), "LeftSegPart0 x");
    EXPECT_EQ(positions->headers().value(firstFingerColumn + 3 * FingerSegments - 1), "RightSegPart0 x");
    EXPECT_EQ(positions->number(2, firstFingerColumn), written(value(12, 0, 0)));
    EXPECT_EQ(positions->number(2, firstFingerColumn + 3 * FingerSegments + 3), written(value(13, 1, 0)));
    const DumpedSheet* joints = book->sheet("Joint Angles ZXY");
    ASSERT_NE(joints, nullptr);
    const int firstFingerJointColumn = 3 * (Segments - 1) + 2;
    EXPECT_EQ(joints->headers().value(firstFingerJointColumn - 1), "Left Joint Part0 Abduction/Adduction");
    EXPECT_EQ(joints->number(2, 3 * 5 + 2), written(value(8, 5, 0)));
    EXPECT_EQ(joints->number(2, firstFingerJointColumn + 3), written(value(14, 1, 0)));
    const DumpedSheet* jointsXzy = book->sheet("Joint Angles XZY");
    ASSERT_NE(jointsXzy, nullptr);
    EXPECT_EQ(jointsXzy->number(2, firstFingerJointColumn + 3 * FingerJoints), written(value(17, 0, 0)));

    const struct
    {
        const char* title;
        int quantity;
        int index;
    } vectorSheets[] = {
        {"Segment Acceleration", 3, 2},     {"Segment Angular Velocity", 4, 3},   {"Segment Angular Acceleration", 5, 4},
        {"Sensor Free Acceleration", 6, 5}, {"Sensor Magnetic Field", 7, 6},      {"Ergonomic Joint Angles ZXY", 10, 2},
        {"Ergonomic Joint Angles XZY", 11, 5}, {"Center of Mass", 18, 2},
    };
    for (const auto& sheet : vectorSheets) {
        const DumpedSheet* dumped = book->sheet(sheet.title);
        ASSERT_NE(dumped, nullptr) << sheet.title;
        EXPECT_EQ(dumped->number(3, 3 * sheet.index + 2), written(value(sheet.quantity, sheet.index, 1))) << sheet.title;
    }

    const DumpedSheet* global = book->sheet("Global Position");
    ASSERT_NE(global, nullptr);
    EXPECT_EQ(global->number(3, 4), 41.0);

    // Quaternions as given; the segment without a sensor has its sensor columns hidden.
    const DumpedSheet* orientations = book->sheet("Segment Orientation - Quat");
    ASSERT_NE(orientations, nullptr);
    EXPECT_EQ(orientations->number(2, 4 * 3 + 2), written(std::cos(0.1 * 3)));
    const DumpedSheet* sensors = book->sheet("Sensor Orientation - Quat");
    ASSERT_NE(sensors, nullptr);
    EXPECT_EQ(sensors->number(2, 4 * 3 + 3), written(std::sin(0.2 * 3) * 0.6));
    const int hiddenQuaternion = 4 * SegmentWithoutSensor + 2;
    EXPECT_EQ(ranges(sensors->hiddenRanges), (QList<QPair<int, int>>{{hiddenQuaternion, hiddenQuaternion + 3}}));
    const DumpedSheet* sensorEuler = book->sheet("Sensor Orientation - Euler");
    ASSERT_NE(sensorEuler, nullptr);
    const int hiddenVector = 3 * SegmentWithoutSensor + 2;
    EXPECT_EQ(ranges(sensorEuler->hiddenRanges), (QList<QPair<int, int>>{{hiddenVector, hiddenVector + 2}}));

    // 34 samples per frame of two frames, resampled to 40 rows per exported frame; the first
    // and last raw samples map onto the first and last rows.
    const DumpedSheet* external = book->sheet("External Data");
    ASSERT_NE(external, nullptr);
    EXPECT_EQ(external->headers(), (QStringList{"Frame", "Sample", "EMG A", "EMG B"}));
    ASSERT_EQ(external->rowCount(), 1 + 3 * 40);
    EXPECT_EQ(external->number(2, 1), 0);
    EXPECT_EQ(external->number(2, 3), written(0.0));
    EXPECT_EQ(external->number(2, 4), written(1.0));
    EXPECT_EQ(external->number(121, 1), 2);
    EXPECT_EQ(external->number(121, 2), 119);
    EXPECT_EQ(external->number(121, 4), written(1.0 + 0.001 * (1 * 34 + 33)));

    // The same file through gzip gives the same workbook.
    const std::optional<DumpedWorkbook> fromGzip = exportRecording(space, "full.json.gz");
    ASSERT_TRUE(fromGzip);
    ASSERT_EQ(fromGzip->titles(), book->titles());
    for (int s = 0; s < book->sheets.size(); ++s)
        EXPECT_EQ(fromGzip->sheets[s].rows, book->sheets[s].rows) << book->sheets[s].title.toStdString();
}

TEST(CliRecordingFile, AbsentFieldsTakeTheirDefaults)
{
    CliWorkspace space;
    space.writeJson("bare.json",
                    QJsonObject{{"format", "tavi-recording"},
                                {"version", 1},
                                {"frames", QJsonArray{QJsonObject{{"frame", 7}},
                                                      QJsonObject{{"frame", 5}, {"pose", QJsonObject{{"segments", QJsonArray{QJsonObject()}}}}},
                                                      QJsonObject{{"frame", 6}}}}});
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    const std::optional<DumpedWorkbook> book = exportRecording(space, "bare.json");
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
    EXPECT_GE(QDateTime(recorded.date(), recorded.time(), QTimeZone::utc()), before) << info.text(4, 2).toStdString();
    EXPECT_LE(QDateTime(recorded.date(), recorded.time(), QTimeZone::utc()), after);

    const DumpedSheet* markers = book->sheet("Markers");
    ASSERT_NE(markers, nullptr);
    EXPECT_EQ(markers->rowCount(), 1);

    // Without a T-pose every prop keeps its columns; without finger tracking there are none.
    const DumpedSheet* positions = book->sheet("Segment Position");
    ASSERT_NE(positions, nullptr);
    EXPECT_EQ(positions->headers().size(), 1 + 27 * 3);
    EXPECT_EQ(positions->headers().last(), "Prop Tracker 4 z");
    ASSERT_EQ(positions->rowCount(), 4);
    EXPECT_EQ(positions->number(2, 1), 7);
    EXPECT_EQ(positions->number(3, 1), 5);
    EXPECT_EQ(positions->number(4, 1), 6);
    for (int row = 2; row <= 4; ++row)
        EXPECT_EQ(positions->usedColumns(row), 1) << row;
    EXPECT_TRUE(book->sheet("Sensor Orientation - Quat")->hiddenRanges.isEmpty());
}
