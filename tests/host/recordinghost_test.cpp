// The host interface over recordings read from JSON: SDK defaults for what a recording leaves
// out, and every field of the format reaching its operation or pose accessor.

#include "recordinghost.h"
#include "recordingreader.h"
#include "settingsstore.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using Values = std::vector<double>;

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

Values values(const ZtVector& v)
{
    return Values(v.begin(), v.end());
}

// Every field of the format, each with a value that tells it apart. Frame 5 comes twice: the
// first one is the one looked up.
const QByteArray EveryField = R"({"format": "tavi-recording", "version": 1,
  "applicationVersion": "2026.4.0", "filename": "walk01.rec", "subjectName": "Suit A", "processingQuality": "HD",
  "recordStartTime": "2026-03-01T12:20:30.250+02:00", "frameRate": 60, "tPoseSegmentCount": 23,
  "firstFrame": -3, "lastFrame": 100, "frameCount": 7, "externalDataCount": 3,
  "markers": [{"frame": 4, "text": "start"}, {"frame": 9, "text": "a"}, {"frame": 4, "text": "turn"}],
  "externalChannels": [{"name": "EMG 1", "info": {"frameRate": "2000"}}, {"name": "EMG 2", "info": null},
                       {"name": "Force", "info": {}}, {"name": "Aux"}],
  "fingerTracking": {"segmentNames": [["L thumb", "L index"], ["R thumb"]], "jointNames": [["L j0"], ["R j0", "R j1"]]},
  "frames": [
    {"frame": 5, "externalData": [[1], [], [2, 3]], "pose": {
      "segments": [{"q": [0.5, 0.5, 0.5, 0.5], "pos": [1, 2, 3], "vel": [4, 5, 6], "acc": [7, 8, 9],
                    "angVel": [10, 11, 12], "angAcc": [13, 14, 15], "sensorQ": [0, 1, 0, 0],
                    "sensorFreeAcc": [16, 17, 18], "sensorMag": [19, 20, 21]},
                   {}],
      "jointAngles": [[1, 1, 1], [2, 2, 2]], "jointAnglesXzy": [[3, 3, 3]],
      "ergoJointAngles": [[1], [2], [3], [4], [5], [6]], "ergoJointAnglesXzy": [[7, 7]],
      "centerOfMass": {"pos": [0.1], "vel": [0.2], "acc": [0.3]}, "globalPosition": [9, 8, 7],
      "fingerTracking": {"hasData": true,
        "segments": [[{"q": [1, 0, 0, 0], "pos": [0.01, 0.02, 0.03]}, {}], [{"pos": [5]}]],
        "jointAngles": [[[1, 2, 3]], [[4, 5, 6]]], "jointAnglesXzy": [[], [[7, 8, 9], [10, 11, 12]]]},
      "unknownField": {"nested": [1, "x", null]}}},
    {"frame": 3, "pose": null},
    {"frame": 5, "pose": {}}]})";

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
        EXPECT_TRUE(host->recordStartTime().isValid());
        EXPECT_LE(std::abs(host->recordStartTime().msecsTo(QDateTime::currentDateTime())), 1000);
        EXPECT_EQ(host->pose(0), nullptr);
        EXPECT_EQ(host->applicationVersion(), QString());
        EXPECT_TRUE(host->frameNumbers().empty());
    }
}

TEST(HostInterface, EveryFieldReachesItsOperationOrAccessor)
{
    RecordingHost host{readOrFail(EveryField)};
    EXPECT_EQ(host.applicationVersion(), "2026.4.0");
    EXPECT_EQ(host.filename(), "walk01.rec");
    EXPECT_EQ(host.subjectName(), "Suit A");
    EXPECT_EQ(host.processingQuality(), "HD");
    EXPECT_EQ(host.recordStartTime().toMSecsSinceEpoch(),
        QDateTime(QDate(2026, 3, 1), QTime(10, 20, 30, 250), Qt::UTC).toMSecsSinceEpoch());
    EXPECT_EQ(host.frameRate(), 60.0);
    EXPECT_TRUE(host.tPose().hasPose());
    EXPECT_EQ(host.tPose().segmentStateCount(), 23);
    // Explicit values win over the ones the frames would give.
    EXPECT_EQ(host.firstFrame(), -3);
    EXPECT_EQ(host.lastFrame(), 100);
    EXPECT_EQ(host.frameCount(), 7);
    EXPECT_EQ(host.externalDataCount(), 3);
    EXPECT_EQ(host.markerText(4), "start; turn");
    EXPECT_EQ(host.markerText(9), "a");
    EXPECT_EQ(host.markerText(0), "");

    EXPECT_EQ(host.externalChannelNames(), (QStringList{"EMG 1", "EMG 2", "Force", "Aux"}));
    ASSERT_NE(host.externalChannelInfo(0), nullptr);
    EXPECT_EQ(*host.externalChannelInfo(0), (QMap<QString, QString>{{"frameRate", "2000"}}));
    EXPECT_EQ(host.externalChannelInfo(1), nullptr);
    ASSERT_NE(host.externalChannelInfo(2), nullptr);
    EXPECT_TRUE(host.externalChannelInfo(2)->isEmpty());
    EXPECT_EQ(host.externalChannelInfo(3), nullptr);
    EXPECT_EQ(host.fingerTrackingSegmentName(ZtHandLeft, 1), "L index");
    EXPECT_EQ(host.fingerTrackingSegmentName(ZtHandRight, 0), "R thumb");
    EXPECT_EQ(host.fingerTrackingSegmentName(ZtHandRight, 1), "");
    const ZtArray<BkeJointInfo> right = host.fingerTrackingJointInfoList(ZtHandRight);
    ASSERT_EQ(right.size(), 2u);
    EXPECT_EQ(right[1].name.text, "R j1");
    EXPECT_EQ(host.fingerTrackingJointInfoList(ZtHandLeft).size(), 1u);

    // Export order as in the file, repeats included.
    EXPECT_EQ(host.frameNumbers(), (std::vector<int>{5, 3, 5}));
    EXPECT_EQ(host.pose(3), nullptr);
    EXPECT_EQ(host.pose(4), nullptr);
    const QList<ExternalData> data = host.externalData(5);
    ASSERT_EQ(data.size(), 3);
    EXPECT_EQ(values(data[0].samples), Values{1});
    EXPECT_TRUE(data[1].samples.empty());
    EXPECT_EQ(values(data[2].samples), (Values{2, 3}));
    EXPECT_TRUE(host.externalData(3).isEmpty());
    EXPECT_TRUE(host.externalData(4).isEmpty());

    const std::unique_ptr<TaviPoseObject> handle = host.pose(5);
    ASSERT_NE(handle, nullptr);
    const ConcreteTaviPose& p = *handle->pose();
    ASSERT_EQ(p.segmentStateCount(), 2);
    EXPECT_TRUE(p.hasFingerTrackingData());
    // An empty segment or finger record and indices past the end read as "no value": the
    // empty vector and the zero quaternion.
    const std::pair<ZtVector, Values> vectors[] = {
        {p.pos_g(0), {1, 2, 3}},
        {p.vel_g(0), {4, 5, 6}},
        {p.acc_g(0), {7, 8, 9}},
        {p.angvel_g(0), {10, 11, 12}},
        {p.angacc_g(0), {13, 14, 15}},
        {p.accG_s(0), {16, 17, 18}},
        {p.mag_s(0), {19, 20, 21}},
        {p.pos_g(1), {}},
        {p.pos_g(-1), {}},
        {p.jointAngles(1), {2, 2, 2}},
        {p.jointAngles(2), {}},
        {p.jointAnglesXzy(0), {3, 3, 3}},
        {p.jointAnglesErgo(ErgoIdx::Vertical_T8), {6}},
        {p.jointAnglesErgoXzy(ErgoIdx::T8_Head), {7, 7}},
        {p.jointAnglesErgoXzy(ErgoIdx::T8_LeftUpperArm), {}},
        {p.centerOfMassPos(true), {0.1}},
        {p.centerOfMassVel(false), {0.2}},
        {p.centerOfMassAcc(true), {0.3}},
        {p.globalPosition(), {9, 8, 7}},
        {p.fingerTrackingData(ZtHandLeft, 0).pos, {0.01, 0.02, 0.03}},
        {p.fingerTrackingData(ZtHandRight, 0).pos, {5}},
        {p.fingerTrackingData(ZtHandLeft, 1).pos, {}},
        {p.fingerTrackingData(ZtHandLeft, 19).pos, {}},
        {p.fingerTrackingJointAngles(ZtHandRight, 0), {4, 5, 6}},
        {p.fingerTrackingJointAnglesXzy(ZtHandLeft, 0), {}},
        {p.fingerTrackingJointAnglesXzy(ZtHandRight, 1), {10, 11, 12}},
    };
    for (std::size_t i = 0; i < std::size(vectors); ++i)
        EXPECT_EQ(values(vectors[i].first), vectors[i].second) << "vector " << i;
    const std::pair<ZtQuaternion, ZtQuaternion> quaternions[] = {
        {p.q_gb(0, PoseBaseGlobal), {0.5, 0.5, 0.5, 0.5}},
        {p.q_s(0), {0, 1, 0, 0}},
        {p.fingerTrackingData(ZtHandLeft, 0).q, {1, 0, 0, 0}},
        {p.fingerTrackingData(ZtHandRight, 0).q, {}},
        {p.q_gb(1, PoseBaseGlobal), {}},
        {p.q_gb(2, PoseBaseGlobal), {}},
    };
    for (std::size_t i = 0; i < std::size(quaternions); ++i)
        EXPECT_TRUE(quaternions[i].first == quaternions[i].second) << "quaternion " << i;

    // Without explicit values the range and count come from the frames.
    RecordingHost derived{readOrFail(R"({"format": "tavi-recording", "version": 1, "tPoseSegmentCount": null,
      "frames": [{"frame": 10}, {"frame": 3}, {"frame": 12}]})")};
    EXPECT_EQ(derived.firstFrame(), 3);
    EXPECT_EQ(derived.lastFrame(), 12);
    EXPECT_EQ(derived.frameCount(), 3);
    EXPECT_FALSE(derived.tPose().hasPose());
}

TEST(HostInterface, WithoutAFactoryHandsOutStoresInMemory)
{
    RecordingHost host{Recording()};
    const std::unique_ptr<AbstractSettingsSynchronizer> store(host.createSettingsSynchronizer({{"markers", true}}, {}, nullptr));
    ASSERT_NE(dynamic_cast<MemorySettingsSynchronizer*>(store.get()), nullptr);
    EXPECT_EQ(store->value("markers"), QVariant(true));
}
