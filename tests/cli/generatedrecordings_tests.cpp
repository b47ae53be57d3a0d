// The demo recording's motion checked against its own derivatives, and the generated
// recording's frames, channels and markers as the host serves them.

#include "demorecording.h"
#include "syntheticrecording.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct V3
{
    double x, y, z;
};

V3 vec(const ZtVector& v)
{
    return {v[0], v[1], v[2]};
}

double distance(V3 a, V3 b)
{
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z));
}

// (b - a) / dt
V3 rate(V3 a, V3 b, double dt)
{
    return {(b.x - a.x) / dt, (b.y - a.y) / dt, (b.z - a.z) / dt};
}

double norm(const ZtQuaternion& q)
{
    return std::sqrt(q.q0 * q.q0 + q.q1 * q.q1 + q.q2 * q.q2 + q.q3 * q.q3);
}

// The global angular velocity that turns `from` into `to` in time dt: the rotation vector of
// to * conj(from), divided by dt.
V3 angularRate(const ZtQuaternion& from, const ZtQuaternion& to, double dt)
{
    const double w = to.q0 * from.q0 + to.q1 * from.q1 + to.q2 * from.q2 + to.q3 * from.q3;
    const double x = -to.q0 * from.q1 + to.q1 * from.q0 - to.q2 * from.q3 + to.q3 * from.q2;
    const double y = -to.q0 * from.q2 + to.q1 * from.q3 + to.q2 * from.q0 - to.q3 * from.q1;
    const double z = -to.q0 * from.q3 - to.q1 * from.q2 + to.q2 * from.q1 + to.q3 * from.q0;
    const double s = std::sqrt(x * x + y * y + z * z);
    if (s < 1e-15)
        return {0.0, 0.0, 0.0};
    const double angle = 2.0 * std::atan2(s, w);
    return {angle * x / s / dt, angle * y / s / dt, angle * z / s / dt};
}

const TaviPose& poseOf(const Recording& recording, int frame)
{
    return recording.frame(frame)->pose->pose();
}

} // namespace

TEST(DemoRecording, MotionAgreesWithItsDerivatives)
{
    const Recording recording = makeDemoRecording();
    ASSERT_EQ(recording.frameNumbers().size(), std::size_t(demo::FrameCount));
    ASSERT_EQ(recording.tPoseSegmentCount, demo::SegmentCount);
    const double h = 1.0 / demo::FrameRate;

    // Central differences over two frames leave an error of about h^2 / 6 times the next
    // derivative: a few mm/s here, against speeds of metres per second.
    double worstVelocity = 0, worstAcceleration = 0, worstAngularVelocity = 0, worstAngularAcceleration = 0;
    for (int frame = 1; frame + 1 < demo::FrameCount; ++frame) {
        const TaviPose& before = poseOf(recording, frame - 1);
        const TaviPose& now = poseOf(recording, frame);
        const TaviPose& after = poseOf(recording, frame + 1);
        ASSERT_EQ(now.segmentStateCount(), demo::SegmentCount);
        for (int i = 0; i < demo::SegmentCount; ++i) {
            const TaviPose::Segment& s = now.segments[i];
            worstVelocity = std::max(worstVelocity, distance(rate(vec(before.segments[i].pos), vec(after.segments[i].pos), 2 * h), vec(s.vel)));
            worstAcceleration = std::max(worstAcceleration, distance(rate(vec(before.segments[i].vel), vec(after.segments[i].vel), 2 * h), vec(s.acc)));
            worstAngularVelocity = std::max(worstAngularVelocity, distance(angularRate(before.segments[i].q, after.segments[i].q, 2 * h), vec(s.angVel)));
            worstAngularAcceleration = std::max(worstAngularAcceleration, distance(rate(vec(before.segments[i].angVel), vec(after.segments[i].angVel), 2 * h), vec(s.angAcc)));
        }
        worstVelocity = std::max(worstVelocity, distance(rate(vec(before.comPos), vec(after.comPos), 2 * h), vec(now.comVel)));
        worstAcceleration = std::max(worstAcceleration, distance(rate(vec(before.comVel), vec(after.comVel), 2 * h), vec(now.comAcc)));
    }
    EXPECT_LT(worstVelocity, 0.01);
    EXPECT_LT(worstAcceleration, 0.1);
    EXPECT_LT(worstAngularVelocity, 0.01);
    EXPECT_LT(worstAngularAcceleration, 0.1);
}

TEST(DemoRecording, SensorsFingersAndChannels)
{
    const Recording recording = makeDemoRecording();
    for (int frame : {0, 299, 599}) {
        const TaviPose& pose = poseOf(recording, frame);
        for (int i = 0; i < demo::SegmentCount; ++i) {
            EXPECT_NEAR(norm(pose.segments[i].q), 1.0, 1e-12);
            // One segment carries no sensor: zero orientation, no readings.
            if (i == demo::SegmentWithoutSensor) {
                EXPECT_EQ(norm(pose.segments[i].sensorQ), 0.0);
                EXPECT_TRUE(pose.segments[i].sensorMag.empty());
            } else {
                EXPECT_NEAR(norm(pose.segments[i].sensorQ), 1.0, 1e-12);
                // The earth's field in sensor axes keeps its strength.
                EXPECT_NEAR(distance(vec(pose.segments[i].sensorMag), {0, 0, 0}), std::sqrt(0.05 * 0.05 + 0.37 * 0.37 + 0.93 * 0.93), 1e-12);
            }
        }
        EXPECT_EQ(pose.jointAngleList.size(), std::size_t(demo::SegmentCount - 1));
        ASSERT_TRUE(pose.hasFingerTrackingData());
        for (const TaviPose::Hand& hand : pose.hands) {
            EXPECT_EQ(hand.segments.size(), 20u);
            EXPECT_EQ(hand.jointAngles.size(), 19u);
            EXPECT_EQ(hand.jointAnglesXzy.size(), 19u);
            for (const BkeSegmentPose& finger : hand.segments)
                EXPECT_NEAR(norm(finger.q), 1.0, 1e-12);
        }
        for (const ZtVector& angles : pose.jointAngleList) {
            for (double degrees : angles)
                EXPECT_LT(std::fabs(degrees), 120.0);
        }
    }

    const FingerTrackingNames names = *recording.fingerTracking;
    for (int hand = 0; hand < ZtHandCount; ++hand) {
        EXPECT_EQ(names.segmentNames[hand].size(), 20);
        EXPECT_EQ(names.jointNames[hand].size(), 19);
    }
    EXPECT_EQ(names.segmentNames[ZtHandLeft].first(), "LeftCarpus");
    EXPECT_EQ(names.jointNames[ZtHandRight].last(), "jRightFifthDIP");

    // 2000 samples per second at 60 frames per second: 33 or 34 per frame, all of them kept.
    ASSERT_EQ(recording.externalChannels.size(), 2);
    EXPECT_EQ(recording.externalChannels[0].info->value("frameRate"), "2000");
    std::array<std::size_t, 2> samples{};
    for (int frame : recording.frameNumbers()) {
        const QList<ExternalData>& data = recording.frame(frame)->externalData;
        ASSERT_EQ(data.size(), 2);
        for (int channel = 0; channel < 2; ++channel) {
            const std::size_t n = data[channel].samples.size();
            EXPECT_TRUE(n == 33 || n == 34) << frame;
            samples[channel] += n;
        }
    }
    EXPECT_EQ(samples[0], std::size_t(10 * demo::EmgSampleRate));
    EXPECT_EQ(samples[1], samples[0]);
}

TEST(SyntheticRecording, FramesAreMadeOnDemand)
{
    constexpr int Frames = 1000;
    const SyntheticRecordingHost host(Frames);
    // No per-frame storage: the frame range is all the recording holds.
    EXPECT_TRUE(host.frameNumbers().empty());
    EXPECT_EQ(host.frameCount(), Frames);
    EXPECT_EQ(host.firstFrame(), 0);
    EXPECT_EQ(host.lastFrame(), Frames - 1);
    EXPECT_EQ(host.frameRate(), synthetic::FrameRate);
    EXPECT_EQ(host.tPose().segmentStateCount(), synthetic::SegmentCount);
    EXPECT_FALSE(host.fingerTrackingSegmentName(ZtHandRight, 0).isEmpty());

    EXPECT_EQ(host.pose(-1), nullptr);
    EXPECT_EQ(host.pose(Frames), nullptr);
    const std::unique_ptr<TaviPoseObject> first = host.pose(500);
    const std::unique_ptr<TaviPoseObject> second = host.pose(501);
    ASSERT_TRUE(first && second);
    const TaviPose& a = first->pose()->pose();
    const TaviPose& b = second->pose()->pose();
    ASSERT_EQ(a.segmentStateCount(), synthetic::SegmentCount);
    EXPECT_TRUE(a.hasFingerTrackingData());
    for (int i = 0; i < synthetic::SegmentCount; ++i) {
        EXPECT_NEAR(norm(a.segments[i].q), 1.0, 1e-12);
        EXPECT_NEAR(norm(a.segments[i].sensorQ), 1.0, 1e-12);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NE(a.segments[i].pos[k], b.segments[i].pos[k]);
            EXPECT_NE(a.segments[i].angAcc[k], b.segments[i].angAcc[k]);
        }
    }
    for (const BkeSegmentPose& finger : a.hands[ZtHandRight].segments)
        EXPECT_NEAR(norm(finger.q), 1.0, 1e-12);
    // The same frame asked again gives the same pose.
    EXPECT_EQ(host.pose(500)->pose()->pose().segments[3].vel, a.segments[3].vel);

    // Four channels at 2000 samples per second: one second of frames carries 2000 samples each.
    EXPECT_EQ(host.externalChannelNames().size(), synthetic::ChannelCount);
    EXPECT_EQ(host.externalChannelInfo(0)->value("frameRate"), "2000");
    std::array<std::size_t, synthetic::ChannelCount> samples{};
    for (int frame = 0; frame < int(synthetic::FrameRate); ++frame) {
        const QList<ExternalData> data = host.externalData(frame);
        ASSERT_EQ(data.size(), synthetic::ChannelCount);
        for (int channel = 0; channel < synthetic::ChannelCount; ++channel)
            samples[channel] += data[channel].samples.size();
    }
    for (std::size_t count : samples)
        EXPECT_EQ(count, std::size_t(synthetic::ChannelSampleRate));
    EXPECT_TRUE(host.externalData(Frames).isEmpty());

    EXPECT_FALSE(host.markerText(0).isEmpty());
    EXPECT_FALSE(host.markerText(900).isEmpty());
    EXPECT_NE(host.markerText(100), host.markerText(200));
    EXPECT_TRUE(host.markerText(150).isEmpty());
}
