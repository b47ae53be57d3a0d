// The demo recording's motion checked against its own derivatives, and the generated
// recording's frames, channels and markers as the host serves them.

#include "demorecording.h"
#include "syntheticrecording.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

using V3 = std::array<double, 3>;

double distance(V3 a, const ZtVector& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// (b - a) / dt
V3 rate(const ZtVector& a, const ZtVector& b, double dt)
{
    return {(b[0] - a[0]) / dt, (b[1] - a[1]) / dt, (b[2] - a[2]) / dt};
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
    const double perSecond = s < 1e-15 ? 0.0 : 2.0 * std::atan2(s, w) / s / dt;
    return {x * perSecond, y * perSecond, z * perSecond};
}

} // namespace

TEST(DemoRecording, MotionAgreesWithItsDerivatives)
{
    const Recording recording = makeDemoRecording();
    ASSERT_EQ(recording.frameNumbers().size(), std::size_t(demo::FrameCount));
    const auto poseOf = [&](int frame) -> const TaviPose& { return recording.frame(frame)->pose->pose(); };
    const double dt = 2.0 / demo::FrameRate;

    // Central differences over two frames leave an error of about h^2 / 6 times the next
    // derivative: a few mm/s here, against speeds of metres per second.
    double worstVelocity = 0, worstAcceleration = 0, worstAngularVelocity = 0, worstAngularAcceleration = 0;
    const auto worsen = [](double& worst, V3 central, const ZtVector& given) {
        worst = std::max(worst, distance(central, given));
    };
    for (int frame = 1; frame + 1 < demo::FrameCount; ++frame) {
        const TaviPose& before = poseOf(frame - 1);
        const TaviPose& now = poseOf(frame);
        const TaviPose& after = poseOf(frame + 1);
        ASSERT_EQ(now.segmentStateCount(), demo::SegmentCount);
        for (int i = 0; i < demo::SegmentCount; ++i) {
            const TaviPose::Segment &a = before.segments[i], &s = now.segments[i], &b = after.segments[i];
            worsen(worstVelocity, rate(a.pos, b.pos, dt), s.vel);
            worsen(worstAcceleration, rate(a.vel, b.vel, dt), s.acc);
            worsen(worstAngularVelocity, angularRate(a.q, b.q, dt), s.angVel);
            worsen(worstAngularAcceleration, rate(a.angVel, b.angVel, dt), s.angAcc);
            EXPECT_NEAR(norm(s.q), 1.0, 1e-12);
            // One segment carries no sensor: zero orientation, no readings.
            const bool sensor = i != demo::SegmentWithoutSensor;
            EXPECT_NEAR(norm(s.sensorQ), sensor ? 1.0 : 0.0, 1e-12) << i;
            EXPECT_EQ(s.sensorMag.empty(), !sensor) << i;
        }
        worsen(worstVelocity, rate(before.comPos, after.comPos, dt), now.comVel);
        worsen(worstAcceleration, rate(before.comVel, after.comVel, dt), now.comAcc);
    }
    EXPECT_LT(worstVelocity, 0.01);
    EXPECT_LT(worstAcceleration, 0.1);
    EXPECT_LT(worstAngularVelocity, 0.01);
    EXPECT_LT(worstAngularAcceleration, 0.1);

    // Two channels at 2000 samples per second and 60 frames per second: 33 or 34 samples per
    // frame, none lost over the ten seconds.
    ASSERT_EQ(recording.externalChannels.size(), 2);
    std::size_t samples = 0;
    for (int frame : recording.frameNumbers()) {
        for (const ExternalData& channel : recording.frame(frame)->externalData) {
            EXPECT_TRUE(channel.samples.size() == 33 || channel.samples.size() == 34) << frame;
            samples += channel.samples.size();
        }
    }
    EXPECT_EQ(samples, std::size_t(2 * 10 * demo::EmgSampleRate));
}

TEST(SyntheticRecording, FramesAreMadeOnDemandAndVaryInEveryDigit)
{
    constexpr int Frames = 1000;
    const SyntheticRecordingHost host(Frames);
    // No per-frame storage: the frame range is all the recording holds.
    EXPECT_TRUE(host.frameNumbers().empty());
    EXPECT_EQ(host.lastFrame(), Frames - 1);
    EXPECT_EQ(host.frameRate(), synthetic::FrameRate);
    EXPECT_EQ(host.pose(Frames), nullptr);

    // Every position changes from frame to frame; as "%.15g" writes them, a value ends in a
    // zero digit (which is dropped) about one time in ten.
    int values = 0;
    int fullPrecision = 0;
    for (int frame = 500; frame < 520; ++frame) {
        const TaviPose a = host.pose(frame)->pose()->pose();
        const TaviPose b = host.pose(frame + 1)->pose()->pose();
        ASSERT_EQ(a.segmentStateCount(), synthetic::SegmentCount);
        ASSERT_TRUE(a.hasFingerTrackingData());
        for (int i = 0; i < synthetic::SegmentCount; ++i) {
            EXPECT_NEAR(norm(a.segments[i].q), 1.0, 1e-12);
            EXPECT_NEAR(norm(a.segments[i].sensorQ), 1.0, 1e-12);
            EXPECT_NE(a.segments[i].angAcc, b.segments[i].angAcc) << i;
            for (std::size_t axis = 0; axis < 3; ++axis, ++values) {
                EXPECT_NE(a.segments[i].pos[axis], b.segments[i].pos[axis]) << frame << ", " << i;
                QByteArray digits = QByteArray::number(a.segments[i].pos[axis], 'g', 15).split('e').first();
                digits = digits.replace('-', "").replace('.', "");
                while (digits.startsWith('0'))
                    digits.remove(0, 1);
                fullPrecision += digits.size() == 15;
            }
        }
        // The same frame asked again gives the same pose.
        EXPECT_EQ(host.pose(frame)->pose()->pose().segments[3].vel, a.segments[3].vel);
    }
    EXPECT_GT(fullPrecision, values * 8 / 10);

    // Four channels at 2000 samples per second: one second of frames carries 2000 samples each.
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
    // A marker every 100 frames, each with its own text.
    EXPECT_NE(host.markerText(100), host.markerText(200));
    EXPECT_TRUE(host.markerText(150).isEmpty());
}
