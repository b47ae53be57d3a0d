// The host interface over recordings read from JSON: SDK defaults for what a recording leaves
// out, and every field of the format reaching its operation or pose accessor.

#include "recordinghost.h"
#include "recordingreader.h"
#include "settingsstore.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

// Answers only what the SDK leaves pure, so every other operation is the SDK's default.
class SdkDefaultsHost : public AbstractTaviStudioPluginInterface
{
public:
    std::unique_ptr<TaviPoseObject> pose(int) const override { return nullptr; }
    QString applicationVersion() const override { return {}; }
    AbstractSettingsSynchronizer* createSettingsSynchronizer(const QMap<QString, QVariant>&,
                                                             const QMap<QString, QString>&, QObject*) override
    {
        return nullptr;
    }
};

Recording readOrFail(const QByteArray& json)
{
    RecordingReadResult result = readRecordingText(json, QStringLiteral("test.json"));
    EXPECT_TRUE(result.ok()) << result.error.toStdString();
    return result.ok() ? std::move(*result.recording) : Recording();
}

std::vector<double> values(const ZtVector& v)
{
    return std::vector<double>(v.begin(), v.end());
}

const QByteArray FormatExample = R"({
  "format": "tavi-recording", "version": 1,
  "applicationVersion": "2026.4.0", "filename": "walk01.rec", "subjectName": "Suit A",
  "processingQuality": "HD", "recordStartTime": "2026-03-01T10:20:30.250Z",
  "frameRate": 60, "tPoseSegmentCount": 23,
  "markers": [{"frame": 1, "text": "heel strike"}],
  "externalChannels": [{"name": "EMG 1", "info": {"frameRate": "2000"}}],
  "frames": [
    {"frame": 0,
     "pose": {"segments": [{"q": [1, 0, 0, 0], "pos": [0, 0, 0.95], "sensorQ": [1, 0, 0, 0]}],
              "globalPosition": [52.2, 6.9, 40.0]},
     "externalData": [[0.01, 0.02, 0.015]]},
    {"frame": 1, "pose": null}
  ]
})";

} // namespace

TEST(HostInterface, EmptyRecordingAnswersEverySdkDefault)
{
    SdkDefaultsHost sdk;
    RecordingHost constructed{Recording()};
    RecordingHost read{readOrFail(R"({"format": "tavi-recording", "version": 1})")};
    for (RecordingHost* host : {&constructed, &read}) {
        EXPECT_EQ(host->frameCount(), sdk.frameCount());
        EXPECT_EQ(host->firstFrame(), sdk.firstFrame());
        EXPECT_EQ(host->lastFrame(), sdk.lastFrame());
        EXPECT_EQ(host->frameRate(), sdk.frameRate());
        EXPECT_FALSE(host->tPose().hasPose());
        EXPECT_EQ(host->tPose().segmentStateCount(), sdk.tPose().segmentStateCount());
        EXPECT_EQ(host->filename(), sdk.filename());
        EXPECT_EQ(host->subjectName(), sdk.subjectName());
        EXPECT_EQ(host->processingQuality(), sdk.processingQuality());
        for (int frame : {0, 1, -5})
            EXPECT_EQ(host->markerText(frame), sdk.markerText(frame));
        for (ZtHandId hand : {ZtHandLeft, ZtHandRight}) {
            EXPECT_EQ(host->fingerTrackingSegmentName(hand, 0), sdk.fingerTrackingSegmentName(hand, 0));
            EXPECT_EQ(host->fingerTrackingJointInfoList(hand).size(), sdk.fingerTrackingJointInfoList(hand).size());
        }
        EXPECT_EQ(host->externalChannelNames(), sdk.externalChannelNames());
        EXPECT_EQ(host->externalChannelInfo(0), nullptr);
        EXPECT_EQ(host->externalData(0).size(), sdk.externalData(0).size());
        EXPECT_EQ(host->externalDataCount(), sdk.externalDataCount());
        EXPECT_LE(std::abs(host->recordStartTime().msecsTo(QDateTime::currentDateTime())), 1000);
        EXPECT_EQ(host->pose(0), nullptr);
        EXPECT_EQ(host->applicationVersion(), QString());
        EXPECT_TRUE(host->frameNumbers().empty());
    }
}

TEST(HostInterface, ServesTheFormatExample)
{
    RecordingHost host{readOrFail(FormatExample)};
    EXPECT_EQ(host.applicationVersion(), "2026.4.0");
    EXPECT_EQ(host.filename(), "walk01.rec");
    EXPECT_EQ(host.subjectName(), "Suit A");
    EXPECT_EQ(host.processingQuality(), "HD");
    const QDateTime start(QDate(2026, 3, 1), QTime(10, 20, 30, 250), Qt::UTC);
    EXPECT_EQ(host.recordStartTime().toMSecsSinceEpoch(), start.toMSecsSinceEpoch());
    EXPECT_EQ(host.frameRate(), 60.0);
    EXPECT_TRUE(host.tPose().hasPose());
    EXPECT_EQ(host.tPose().segmentStateCount(), 23);
    EXPECT_EQ(host.markerText(1), "heel strike");
    EXPECT_EQ(host.markerText(0), "");
    EXPECT_EQ(host.externalChannelNames(), QStringList{"EMG 1"});
    ASSERT_NE(host.externalChannelInfo(0), nullptr);
    EXPECT_EQ(*host.externalChannelInfo(0), (QMap<QString, QString>{{"frameRate", "2000"}}));
    EXPECT_EQ(host.externalChannelInfo(1), nullptr);

    EXPECT_EQ(host.frameNumbers(), (std::vector<int>{0, 1}));
    EXPECT_EQ(host.firstFrame(), 0);
    EXPECT_EQ(host.lastFrame(), 1);
    EXPECT_EQ(host.frameCount(), 2);
    EXPECT_EQ(host.externalDataCount(), 0);

    const std::unique_ptr<TaviPoseObject> frame0 = host.pose(0);
    ASSERT_NE(frame0, nullptr);
    ASSERT_EQ(frame0->segmentStateCount(), 1);
    const ConcreteTaviPose& pose = *frame0->pose();
    EXPECT_EQ(pose.q_gb(0, PoseBaseGlobal), (ZtQuaternion{1, 0, 0, 0}));
    EXPECT_EQ(values(pose.pos_g(0)), (std::vector<double>{0, 0, 0.95}));
    EXPECT_EQ(pose.q_s(0), (ZtQuaternion{1, 0, 0, 0}));
    EXPECT_EQ(values(pose.globalPostion()), (std::vector<double>{52.2, 6.9, 40.0}));
    EXPECT_TRUE(pose.vel_g(0).empty());
    EXPECT_EQ(host.pose(1), nullptr);
    EXPECT_EQ(host.pose(2), nullptr);

    const QList<ExternalData> data = host.externalData(0);
    ASSERT_EQ(data.size(), 1);
    EXPECT_EQ(values(data[0].samples), (std::vector<double>{0.01, 0.02, 0.015}));
    EXPECT_TRUE(host.externalData(1).isEmpty());
    EXPECT_TRUE(host.externalData(7).isEmpty());
}

TEST(HostInterface, EveryPoseFieldReachesItsAccessor)
{
    RecordingHost host{readOrFail(R"({"format": "tavi-recording", "version": 1,
      "frames": [{"frame": 5, "pose": {
        "segments": [{"q": [0.5, 0.5, 0.5, 0.5], "pos": [1, 2, 3], "vel": [4, 5, 6], "acc": [7, 8, 9],
                      "angVel": [10, 11, 12], "angAcc": [13, 14, 15], "sensorQ": [0, 1, 0, 0],
                      "sensorFreeAcc": [16, 17, 18], "sensorMag": [19, 20, 21]},
                     {}],
        "jointAngles": [[1, 1, 1], [2, 2, 2]], "jointAnglesXzy": [[3, 3, 3]],
        "ergoJointAngles": [[1], [2], [3], [4], [5], [6]], "ergoJointAnglesXzy": [[7, 7]],
        "centerOfMass": {"pos": [0.1], "vel": [0.2], "acc": [0.3]},
        "globalPosition": [9, 8, 7],
        "fingerTracking": {"hasData": true,
          "segments": [[{"q": [1, 0, 0, 0], "pos": [0.01, 0.02, 0.03]}, {}], [{"pos": [5]}]],
          "jointAngles": [[[1, 2, 3]], [[4, 5, 6]]],
          "jointAnglesXzy": [[], [[7, 8, 9], [10, 11, 12]]]},
        "unknownField": {"nested": [1, "x", null]}
      }}]})")};
    const std::unique_ptr<TaviPoseObject> handle = host.pose(5);
    ASSERT_NE(handle, nullptr);
    const ConcreteTaviPose& p = *handle->pose();
    ASSERT_EQ(p.segmentStateCount(), 2);
    EXPECT_EQ(p.q_gb(0, PoseBaseGlobal), (ZtQuaternion{0.5, 0.5, 0.5, 0.5}));
    EXPECT_EQ(values(p.pos_g(0)), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(values(p.vel_g(0)), (std::vector<double>{4, 5, 6}));
    EXPECT_EQ(values(p.acc_g(0)), (std::vector<double>{7, 8, 9}));
    EXPECT_EQ(values(p.angvel_g(0)), (std::vector<double>{10, 11, 12}));
    EXPECT_EQ(values(p.angacc_g(0)), (std::vector<double>{13, 14, 15}));
    EXPECT_EQ(p.q_s(0), (ZtQuaternion{0, 1, 0, 0}));
    EXPECT_EQ(values(p.accG_s(0)), (std::vector<double>{16, 17, 18}));
    EXPECT_EQ(values(p.mag_s(0)), (std::vector<double>{19, 20, 21}));
    // An empty segment object and indices past the end read as "no value".
    for (int segment : {1, 2, -1}) {
        EXPECT_EQ(p.q_gb(segment, PoseBaseGlobal), ZtQuaternion());
        EXPECT_EQ(p.q_s(segment), ZtQuaternion());
        EXPECT_TRUE(p.pos_g(segment).empty());
        EXPECT_TRUE(p.mag_s(segment).empty());
    }
    EXPECT_EQ(values(p.jointAngles(1)), (std::vector<double>{2, 2, 2}));
    EXPECT_TRUE(p.jointAngles(2).empty());
    EXPECT_EQ(values(p.jointAnglesXzy(0)), (std::vector<double>{3, 3, 3}));
    EXPECT_EQ(values(p.jointAnglesErgo(ErgoIdx::Vertical_T8)), (std::vector<double>{6}));
    EXPECT_EQ(values(p.jointAnglesErgoXzy(ErgoIdx::T8_Head)), (std::vector<double>{7, 7}));
    EXPECT_TRUE(p.jointAnglesErgoXzy(ErgoIdx::T8_LeftUpperArm).empty());
    EXPECT_EQ(values(p.centerOfMassPos(true)), (std::vector<double>{0.1}));
    EXPECT_EQ(values(p.centerOfMassVel(false)), (std::vector<double>{0.2}));
    EXPECT_EQ(values(p.centerOfMassAcc(true)), (std::vector<double>{0.3}));
    EXPECT_EQ(values(p.globalPosition()), (std::vector<double>{9, 8, 7}));

    EXPECT_TRUE(p.hasFingerTrackingData());
    EXPECT_EQ(p.fingerTrackingData(ZtHandLeft, 0).q, (ZtQuaternion{1, 0, 0, 0}));
    EXPECT_EQ(values(p.fingerTrackingData(ZtHandLeft, 0).pos), (std::vector<double>{0.01, 0.02, 0.03}));
    EXPECT_EQ(values(p.fingerTrackingData(ZtHandRight, 0).pos), (std::vector<double>{5}));
    EXPECT_EQ(p.fingerTrackingData(ZtHandRight, 0).q, ZtQuaternion());
    // An empty finger record and one past the end: zero orientation, empty position.
    for (int finger : {1, 19}) {
        EXPECT_EQ(p.fingerTrackingData(ZtHandLeft, finger).q, ZtQuaternion());
        EXPECT_TRUE(p.fingerTrackingData(ZtHandLeft, finger).pos.empty());
    }
    EXPECT_EQ(values(p.fingerTrackingJointAngles(ZtHandRight, 0)), (std::vector<double>{4, 5, 6}));
    EXPECT_TRUE(p.fingerTrackingJointAnglesXzy(ZtHandLeft, 0).empty());
    EXPECT_EQ(values(p.fingerTrackingJointAnglesXzy(ZtHandRight, 1)), (std::vector<double>{10, 11, 12}));
}

TEST(HostInterface, ServesRecordingLevelFields)
{
    RecordingHost host{readOrFail(R"({"format": "tavi-recording", "version": 1,
      "recordStartTime": "2026-03-01T10:20:30+02:00",
      "firstFrame": -3, "lastFrame": 100, "frameCount": 7, "externalDataCount": 3,
      "tPoseSegmentCount": null,
      "markers": [{"frame": 4, "text": "start"}, {"frame": 9, "text": "a"}, {"frame": 4, "text": "turn"}],
      "externalChannels": [{"name": "EMG 1", "info": null}, {"name": "EMG 2"}, {"name": "Force", "info": {}}],
      "fingerTracking": {"segmentNames": [["L thumb", "L index"], ["R thumb"]],
                         "jointNames": [["L j0"], ["R j0", "R j1"]]},
      "frames": [{"frame": 10}, {"frame": 3, "externalData": [[1], [], [2, 3]]}, {"frame": 10, "pose": {}}]})")};
    EXPECT_EQ(host.recordStartTime().toMSecsSinceEpoch(),
              QDateTime(QDate(2026, 3, 1), QTime(8, 20, 30), Qt::UTC).toMSecsSinceEpoch());
    // Explicit values win over the ones derived from the frames.
    EXPECT_EQ(host.firstFrame(), -3);
    EXPECT_EQ(host.lastFrame(), 100);
    EXPECT_EQ(host.frameCount(), 7);
    EXPECT_EQ(host.externalDataCount(), 3);
    EXPECT_FALSE(host.tPose().hasPose());
    EXPECT_EQ(host.markerText(4), "start; turn");
    EXPECT_EQ(host.markerText(9), "a");
    EXPECT_EQ(host.externalChannelNames(), (QStringList{"EMG 1", "EMG 2", "Force"}));
    EXPECT_EQ(host.externalChannelInfo(0), nullptr);
    EXPECT_EQ(host.externalChannelInfo(1), nullptr);
    ASSERT_NE(host.externalChannelInfo(2), nullptr);
    EXPECT_TRUE(host.externalChannelInfo(2)->isEmpty());
    EXPECT_EQ(host.fingerTrackingSegmentName(ZtHandLeft, 1), "L index");
    EXPECT_EQ(host.fingerTrackingSegmentName(ZtHandRight, 0), "R thumb");
    EXPECT_EQ(host.fingerTrackingSegmentName(ZtHandRight, 1), "");
    const ZtArray<BkeJointInfo> right = host.fingerTrackingJointInfoList(ZtHandRight);
    ASSERT_EQ(right.size(), 2u);
    EXPECT_EQ(right[1].name.text, "R j1");
    EXPECT_EQ(host.fingerTrackingJointInfoList(ZtHandLeft).size(), 1u);

    // Export order as in the file, repeats included; a repeated number finds its first frame.
    EXPECT_EQ(host.frameNumbers(), (std::vector<int>{10, 3, 10}));
    EXPECT_EQ(host.pose(10), nullptr);
    const QList<ExternalData> data = host.externalData(3);
    ASSERT_EQ(data.size(), 3);
    EXPECT_TRUE(data[1].samples.empty());
    EXPECT_EQ(values(data[2].samples), (std::vector<double>{2, 3}));

    // Without explicit values the range and count come from the frames.
    RecordingHost derived{readOrFail(R"({"format": "tavi-recording", "version": 1,
      "frames": [{"frame": 10}, {"frame": 3}, {"frame": 12}]})")};
    EXPECT_EQ(derived.firstFrame(), 3);
    EXPECT_EQ(derived.lastFrame(), 12);
    EXPECT_EQ(derived.frameCount(), 3);
}

TEST(HostInterface, NumbersMayBeNonFiniteStrings)
{
    RecordingHost host{readOrFail(R"({"format": "tavi-recording", "version": 1, "frameRate": "Infinity",
      "frames": [{"frame": 0, "pose": {"globalPosition": ["NaN", "-Infinity", -0.0, 1e-400, 1e400],
                                       "segments": [{"q": ["NaN", 0, "Infinity", 1]}]}}]})")};
    EXPECT_EQ(host.frameRate(), std::numeric_limits<double>::infinity());
    const ZtVector position = host.pose(0)->pose()->globalPosition();
    ASSERT_EQ(position.size(), 5u);
    EXPECT_TRUE(std::isnan(position[0]));
    EXPECT_EQ(position[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::signbit(position[2]));
    EXPECT_EQ(position[3], 0.0);
    EXPECT_EQ(position[4], std::numeric_limits<double>::infinity());
    const ZtQuaternion q = host.pose(0)->pose()->q_gb(0, PoseBaseGlobal);
    EXPECT_TRUE(std::isnan(q.q0));
    EXPECT_EQ(q.q2, std::numeric_limits<double>::infinity());
}

TEST(HostInterface, NumberOnlyFramesLeavePosesToASubclass)
{
    class GeneratedHost : public RecordingHost
    {
    public:
        using RecordingHost::RecordingHost;
        std::unique_ptr<TaviPoseObject> pose(int frame) const override
        {
            TaviPose pose;
            pose.globalPos = ZtVector{double(frame)};
            return std::make_unique<TaviPoseObject>(std::make_shared<const ConcreteTaviPose>(std::move(pose)));
        }
    };
    Recording recording;
    recording.frameRate = 240.0;
    for (int frame = 0; frame < 1000; ++frame)
        recording.appendFrameNumber(frame);
    EXPECT_EQ(recording.frame(5), nullptr);

    GeneratedHost generated{std::move(recording)};
    const AbstractTaviStudioPluginInterface& host = generated;
    EXPECT_EQ(host.frameCount(), 1000);
    EXPECT_EQ(host.lastFrame(), 999);
    EXPECT_EQ(host.pose(42)->pose()->globalPosition()[0], 42.0);
    EXPECT_TRUE(host.externalData(42).isEmpty());
}

TEST(HostInterface, RecordsUsageEventsAndHandsOutSettingsStores)
{
    RecordingHost host{Recording()};
    host.logUsageEvent(QStringLiteral("FileExportedExcel"));
    host.logUsageEvent(QStringLiteral("FileExportedExcel"));
    EXPECT_EQ(host.usageEvents(), (QStringList{"FileExportedExcel", "FileExportedExcel"}));

    const QMap<QString, QVariant> defaults{{"frameSkip", 0}, {"markers", true}};
    std::unique_ptr<AbstractSettingsSynchronizer> store(host.createSettingsSynchronizer(defaults, {}, nullptr));
    ASSERT_NE(dynamic_cast<MemorySettingsSynchronizer*>(store.get()), nullptr);
    EXPECT_EQ(store->value("markers"), QVariant(true));

    QMap<QString, QVariant> seenDefaults;
    host.setSettingsFactory([&](const QMap<QString, QVariant>& registered, const QMap<QString, QString>&) {
        seenDefaults = registered;
        return std::make_unique<MemorySettingsSynchronizer>(registered);
    });
    store.reset(host.createSettingsSynchronizer(defaults, {}, nullptr));
    EXPECT_EQ(seenDefaults, defaults);
}
