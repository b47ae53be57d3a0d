// Complete exports of in-memory recordings, read back through zipfile and openpyxl.

#include "exporttestsupport.h"

#include <array>
#include <climits>

using namespace testrec;

namespace {

const QString Quat = QStringLiteral("Segment Orientation - Quat");
const QString Euler = QStringLiteral("Segment Orientation - Euler");
const QString Position = QStringLiteral("Segment Position");
const QString Velocity = QStringLiteral("Segment Velocity");
const QString Joints = QStringLiteral("Joint Angles ZXY");
const QString External = QStringLiteral("External Data");

void expectVector(const DumpedSheet& sheet, int row, int column, const ZtVector& expected)
{
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(sheet.number(row, 3 * column + 2 + k), expected[k])
            << sheet.title.toStdString() << " row " << row << " column " << column << " component " << k;
}

} // namespace

TEST_F(ExportTest, FullExportHoldsEverySheetInCatalogueOrder)
{
    Options o;
    o.segments = 27;
    o.tPoseSegments = 27;
    o.channelRates = {2000, 3001}; // above 3000: 4800 per second, 80 rows per frame at 60 fps
    o.markers = {{3, QStringLiteral("heel strike")}, {7, QStringLiteral("toe off")}};
    const auto book = exportAndRead(o);
    ASSERT_TRUE(book);

    EXPECT_EQ(book->titles(), catalogueTitles());
    QStringList expectedEntries = {"_rels/.rels", "docProps/core.xml", "xl/styles.xml", "xl/theme/theme1.xml",
        "[Content_Types].xml", "docProps/app.xml", "xl/_rels/workbook.xml.rels", "xl/sharedStrings.xml",
        "xl/workbook.xml"};
    for (int i = 1; i <= 20; ++i)
        expectedEntries << QStringLiteral("xl/worksheets/sheet%1.xml").arg(i);
    EXPECT_EQ(book->entries, expectedEntries);
    for (int i = 0; i < book->sheets.size(); ++i)
        EXPECT_EQ(book->sheets[i].part, expectedEntries[9 + i]);
    // Each sheet's header row is as wide as the rows its data fills.
    for (const DumpedSheet& sheet : book->sheets)
        EXPECT_EQ(sheet.usedColumns(1), sheet.usedColumns(2)) << sheet.title.toStdString();

    const DumpedSheet& info = *book->sheet(QStringLiteral("General Information"));
    EXPECT_EQ(info.dimension, "A1:B6");
    EXPECT_EQ(info.text(1, 1), "TAVI version");
    EXPECT_EQ(info.text(1, 2), "2026.4.0");
    EXPECT_EQ(info.text(2, 2), "walk01.rec");
    EXPECT_EQ(info.text(3, 2), "Suit A");
    EXPECT_TRUE(info.text(4, 2).startsWith("2026-03-01T10:20:30")) << info.text(4, 2).toStdString();
    EXPECT_EQ(info.number(5, 2), 60.0);
    EXPECT_EQ(info.text(6, 1), "Processing Quality");
    EXPECT_EQ(info.text(6, 2), "HD");

    const DumpedSheet& markers = *book->sheet(QStringLiteral("Markers"));
    EXPECT_EQ(markers.dimension, "A1:B3");
    EXPECT_EQ(markers.headers(), QStringList({"Frame", "Marker Text"}));
    EXPECT_EQ(markers.number(2, 1), 3);
    EXPECT_EQ(markers.text(2, 2), "heel strike");
    EXPECT_EQ(markers.number(3, 1), 7);

    const DumpedSheet& position = *book->sheet(Position);
    EXPECT_EQ(position.dimension, "A1:CD11"); // 82 columns, 10 frames
    EXPECT_EQ(position.headers().last(), "Prop Tracker 4 z");
    ASSERT_EQ(position.rowCount(), 11);
    for (int frame = 0; frame < 10; ++frame) {
        EXPECT_EQ(position.number(frame + 2, 1), frame);
        expectVector(position, frame + 2, 0, vectorValue(frame, 0, Pos));
    }
    // Each vector sheet holds its own quantity of the pose; frame 3 is row 5.
    const struct
    {
        const char* title;
        Quantity quantity;
        int column;
        int index;
    } vectorSheets[] = {{"Segment Position", Pos, 26, 26}, {"Segment Velocity", Vel, 26, 26},
        {"Segment Acceleration", Acc, 1, 1}, {"Segment Angular Velocity", AngVel, 2, 2},
        {"Segment Angular Acceleration", AngAcc, 13, 13}, {"Joint Angles ZXY", Joint, 25, 25},
        {"Joint Angles XZY", JointXzy, 0, 0}, {"Ergonomic Joint Angles ZXY", Ergo, 5, 5},
        {"Ergonomic Joint Angles XZY", ErgoXzy, 4, 4}, {"Center of Mass", ComPos, 0, 0},
        {"Center of Mass", ComVel, 1, 0}, {"Center of Mass", ComAcc, 2, 0},
        {"Sensor Free Acceleration", SensorAcc, 26, 26}, {"Sensor Magnetic Field", SensorMag, 26, 26}};
    for (const auto& v : vectorSheets)
        expectVector(*book->sheet(QLatin1String(v.title)), 5, v.column, vectorValue(3, v.index, v.quantity));
    EXPECT_EQ(book->sheet(QStringLiteral("Ergonomic Joint Angles ZXY"))->dimension, "A1:S11");

    const ZtQuaternion q = yawQuaternion(segmentYaw(4, 9));
    EXPECT_NEAR(book->sheet(Quat)->number(6, 4 * 9 + 2), q.q0, 1e-15);
    EXPECT_NEAR(book->sheet(Quat)->number(6, 4 * 9 + 5), q.q3, 1e-15);
    EXPECT_NEAR(book->sheet(Euler)->number(6, 3 * 9 + 4), segmentYaw(4, 9), 1e-9);
    EXPECT_EQ(book->sheet(Euler)->number(6, 3 * 9 + 2), 0.0);
    EXPECT_EQ(book->sheet(QStringLiteral("Global Position"))->number(4, 4), 42.0);

    // Sensor 2 holds the zero quaternion: its columns are hidden and its Euler angles are 0.
    EXPECT_EQ(book->sheet(QStringLiteral("Sensor Orientation - Quat"))->hiddenRanges, QJsonArray({QJsonArray{10, 13}}));
    EXPECT_EQ(book->sheet(QStringLiteral("Sensor Free Acceleration"))->hiddenRanges, QJsonArray({QJsonArray{8, 10}}));
    const DumpedSheet& sensorEuler = *book->sheet(QStringLiteral("Sensor Orientation - Euler"));
    EXPECT_EQ(sensorEuler.number(2, 8), 0.0);
    EXPECT_EQ(sensorEuler.number(2, 10), 0.0);
    EXPECT_NEAR(sensorEuler.number(2, 3 * 3 + 4), segmentYaw(0, 3) + 5.0, 1e-9);

    const DumpedSheet& external = *book->sheet(External);
    EXPECT_EQ(external.headers(), QStringList({"Frame", "Sample", "EMG 1", "EMG 2"}));
    EXPECT_EQ(external.dimension, "A1:D801");
    ASSERT_EQ(external.rowCount(), 801);
    EXPECT_EQ(external.number(2, 3), channelSample(0, 0, 0));
    EXPECT_EQ(external.number(82, 1), 1);
    EXPECT_EQ(external.number(82, 2), 80);
    EXPECT_EQ(external.number(801, 1), 9);
    EXPECT_EQ(external.number(801, 2), 799);
    EXPECT_EQ(external.number(801, 4), channelSample(9, 1, 39));
}

TEST_F(ExportTest, ColumnsFollowTheTPoseAndFingerTracking)
{
    Options noTPose;
    noTPose.tPoseSegments.reset();
    Options fingers;
    fingers.fingerTracking = true;
    Options fingersWithoutData = fingers;
    fingersWithoutData.fingerData = false;
    fingersWithoutData.framesWithoutPose = {5};
    const QList<DumpedWorkbook> books = readWorkbooks({exportTo("bare.xlsx", Options()), exportTo("props.xlsx", noTPose),
        exportTo("fingers.xlsx", fingers), exportTo("nodata.xlsx", fingersWithoutData)});
    ASSERT_EQ(books.size(), 4);

    // 23 segments and a T-pose of 23: no props. No T-pose: the props keep their columns, empty.
    EXPECT_EQ(books[0].sheet(Position)->dimension, "A1:BR11");
    EXPECT_EQ(books[0].sheet(Position)->usedColumns(2), 70);
    EXPECT_EQ(books[1].sheet(Position)->headers().size(), 82);
    EXPECT_EQ(books[1].sheet(Position)->usedColumns(2), 70);

    // Finger tracking adds columns to the segment and joint sheets, not the kinematic ones.
    const DumpedWorkbook& book = books[2];
    const DumpedSheet& position = *book.sheet(Position);
    EXPECT_EQ(book.sheet(Velocity)->headers().size(), 70);
    EXPECT_EQ(position.usedColumns(4), 70 + 120);
    // Hand 1, finger 3 follows the 23 body segments and hand 0's 20 fingers.
    expectVector(position, 4, 23 + 23, vectorValue(2, 23, FingerPos));
    const ZtQuaternion q = yawQuaternion(2 + 2.0 * 3);
    EXPECT_NEAR(book.sheet(Quat)->number(4, 4 * (23 + 23) + 2), q.q0, 1e-15);
    EXPECT_NEAR(book.sheet(Euler)->number(4, 3 * (23 + 23) + 4), 2 + 2.0 * 3, 1e-9);
    const DumpedSheet& joints = *book.sheet(Joints);
    expectVector(joints, 4, 22 + 19 + 5, vectorValue(2, 19 + 5, FingerJoint));
    EXPECT_EQ(joints.usedColumns(4), 67 + 114);

    // Finger columns without data hold the default record; no finger joint angles.
    const DumpedWorkbook& nodata = books[3];
    const DumpedSheet& quat = *nodata.sheet(Quat);
    EXPECT_EQ(quat.number(2, 4 * 23 + 2), 1.0);
    EXPECT_EQ(quat.number(2, 4 * 23 + 3), 0.0);
    EXPECT_EQ(quat.usedColumns(2), 93 + 160);
    EXPECT_EQ(nodata.sheet(Position)->number(2, 3 * 60 + 2), 0.0);
    EXPECT_EQ(nodata.sheet(Euler)->number(2, 3 * 42 + 4), 0.0);
    EXPECT_EQ(nodata.sheet(Joints)->usedColumns(2), 67);
    // A frame without a pose keeps its row and number; only the finger records follow it.
    EXPECT_EQ(quat.number(7, 2), 1.0);
    EXPECT_EQ(quat.number(7, 3), 0.0);
    for (const DumpedSheet& sheet : nodata.sheets.mid(2)) {
        const int fingerColumns = sheet.title == Quat ? 160 : sheet.title == Position || sheet.title == Euler ? 120
                                                                                                              : 0;
        EXPECT_EQ(sheet.usedColumns(7), 1 + fingerColumns) << sheet.title.toStdString();
        EXPECT_EQ(sheet.number(7, 1), 5) << sheet.title.toStdString();
        EXPECT_EQ(sheet.number(8, 1), 6) << sheet.title.toStdString();
    }
}

TEST_F(ExportTest, FramesSkippedCountFromTheFirstExported)
{
    Options o;
    o.frames = {10, 11, 12, 13};
    o.markers = {{11, QStringLiteral("skipped")}, {13, QStringLiteral("kept")}};
    Options withChannel = o;
    withChannel.channelRates = {120};
    Options negative;
    negative.frames = {-2, -1, 5, 6, 7, 8};
    const QList<DumpedWorkbook> books = readWorkbooks({exportTo("skip2.xlsx", o, {{QStringLiteral("frameSkip"), 2}}),
        // -1: no selection on the options page; every frame.
        exportTo("unset.xlsx", o, {{QStringLiteral("frameSkip"), -1}}),
        // The largest skip a settings file can hold.
        exportTo("largest.xlsx", withChannel, {{QStringLiteral("frameSkip"), INT_MAX}}),
        exportTo("negative.xlsx", negative, {{QStringLiteral("frameSkip"), 1}})});
    ASSERT_EQ(books.size(), 4);

    const DumpedSheet* velocity = books[0].sheet(Velocity);
    EXPECT_EQ(velocity->dimension, "A1:BR3");
    EXPECT_EQ(velocity->number(2, 1), 10);
    EXPECT_EQ(velocity->number(3, 1), 13);
    expectVector(*velocity, 3, 4, vectorValue(13, 4, Vel));
    const DumpedSheet* markers = books[0].sheet(QStringLiteral("Markers"));
    ASSERT_EQ(markers->rowCount(), 2);
    EXPECT_EQ(markers->text(2, 2), "kept");

    EXPECT_EQ(books[1].sheet(Velocity)->dimension, "A1:BR5");

    // The first frame alone, External Data's selection included (40 samples per frame).
    ASSERT_EQ(books[2].sheet(Velocity)->rowCount(), 2);
    EXPECT_EQ(books[2].sheet(Velocity)->number(2, 1), 10);
    ASSERT_EQ(books[2].sheet(External)->rowCount(), 41);
    EXPECT_EQ(books[2].sheet(External)->number(41, 1), 10);

    // Negative frames are exported without starting the skip count.
    const DumpedSheet* position = books[3].sheet(Position);
    ASSERT_EQ(position->rowCount(), 5);
    for (int row = 2; row <= 5; ++row)
        EXPECT_EQ(position->number(row, 1), (std::array{-2, -1, 5, 7}[row - 2]));
    expectVector(*position, 5, 1, vectorValue(7, 1, Pos));
}

TEST_F(ExportTest, SheetsExistByTheirSwitchAndTheirData)
{
    Options noGlobal;
    noGlobal.globalPosition = false;
    Options silentChannel;
    silentChannel.channelRates = {2000};
    silentChannel.channelData = false;
    QMap<QString, QVariant> allOff;
    for (const SheetEntry& entry : sheetCatalogue)
        allOff.insert(QString::fromLatin1(entry.key), false);
    const QList<DumpedWorkbook> books = readWorkbooks({exportTo("noglobal.xlsx", noGlobal),
        exportTo("silent.xlsx", silentChannel), exportTo("alloff.xlsx", Options(), allOff),
        exportTo("nomarkers.xlsx", Options(), {{QStringLiteral("markers"), false}})});
    ASSERT_EQ(books.size(), 4);

    // Without a global position (nor channels), later sheets move up.
    EXPECT_EQ(books[0].titles(), catalogueTitles({SheetId::GlobalPosition, SheetId::ExternalData}));
    EXPECT_EQ(books[0].sheet(QStringLiteral("Sensor Free Acceleration"))->part, "xl/worksheets/sheet15.xml");
    EXPECT_EQ(books[0].entries.size(), 9 + 18);
    // Channels without samples keep a header-only sheet.
    EXPECT_EQ(books[1].titles(), catalogueTitles());
    EXPECT_EQ(books[1].sheet(External)->rowCount(), 1);
    // Switched off: General Information stays alone; without markers the next sheet moves up.
    EXPECT_EQ(books[2].titles(), QStringList({"General Information"}));
    EXPECT_EQ(books[2].entries.size(), 10);
    EXPECT_EQ(books[3].sheets.at(1).title, Quat);
    EXPECT_EQ(books[3].sheets.at(1).part, "xl/worksheets/sheet2.xml");
}
