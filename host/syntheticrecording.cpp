#include "syntheticrecording.h"

#include "demorecording.h"
#include "hashedunit.h"

#include <QTimeZone>

#include <cmath>
#include <cstdint>

namespace {

constexpr int JointCount = synthetic::SegmentCount - 1; // one joint per segment after the pelvis

// The 3-vectors and quaternions of one pose, in the order they are generated.
constexpr int VectorsPerSegment = 7; // pos, vel, acc, angVel, angAcc, sensor free acc, sensor mag
constexpr int VectorsPerPose = synthetic::SegmentCount * VectorsPerSegment + 2 * JointCount + 2 * ErgoIdx::Count
    + 3 /* centre of mass */ + 1 /* global position */
    + ZtHandCount * (ZtFingerSegmentsPerHand + 2 * ZtFingerJointsPerHand);
constexpr int QuaternionsPerPose = 2 * synthetic::SegmentCount + ZtHandCount * ZtFingerSegmentsPerHand;

// The exporter resamples the channels to 2400 samples per second: 10 rows per frame.
constexpr int ExternalRowsPerFrame = 10;

std::int64_t firstSampleOf(int frame)
{
    return static_cast<std::int64_t>(frame) * synthetic::ChannelSampleRate / static_cast<int>(synthetic::FrameRate);
}

} // namespace

// Walks the wave and spin tables of the host in generation order for one frame.
class SyntheticRecordingHost::Generator
{
public:
    Generator(const SyntheticRecordingHost& host, int frame)
        : m_wave(host.m_waves.data())
        , m_spin(host.m_spins.data())
    {
        const double f = frame;
        m_sin = std::sin(0.0137 * f + 0.3);
        m_cos = std::cos(0.0221 * f + 1.1);
        m_spinSin = std::sin(0.0093 * f);
        m_spinCos = std::cos(0.0093 * f);
    }

    // Components spread over about +-scale around `centre`.
    ZtVector vector(double scale, double cx = 0.0, double cy = 0.0, double cz = 0.0)
    {
        return ZtVector{cx + scale * next(), cy + scale * next(), cz + scale * next()};
    }

    ZtQuaternion quaternion()
    {
        const Spin& spin = *m_spin++;
        // cos and sin of (phase + frame angle) by the angle-sum rules: unit length to rounding.
        const double c = spin.cosPhase * m_spinCos - spin.sinPhase * m_spinSin;
        const double s = spin.sinPhase * m_spinCos + spin.cosPhase * m_spinSin;
        return ZtQuaternion{c, s * spin.axis[0], s * spin.axis[1], s * spin.axis[2]};
    }

private:
    double next()
    {
        const Wave& wave = *m_wave++;
        return wave.offset + wave.sine * m_sin + wave.cosine * m_cos;
    }

    const Wave* m_wave;
    const Spin* m_spin;
    double m_sin, m_cos, m_spinSin, m_spinCos;
};

SyntheticRecordingHost::SyntheticRecordingHost(int frameCount, SettingsFactory settingsFactory)
    : RecordingHost(
        [frameCount] {
            Recording recording;
            recording.applicationVersion = QStringLiteral("2026.4.0");
            recording.filename = QStringLiteral("synthetic-%1.rec").arg(frameCount);
            recording.subjectName = QStringLiteral("Synthetic Suit");
            recording.processingQuality = QStringLiteral("HD");
            recording.recordStartTime = QDateTime(QDate(2026, 3, 1), QTime(9, 0), QTimeZone::utc());
            recording.frameRate = synthetic::FrameRate;
            // The frames are numbered 0 .. frameCount - 1 without a list of their numbers.
            recording.firstFrame = 0;
            recording.lastFrame = frameCount - 1;
            recording.frameCount = frameCount;
            recording.tPoseSegmentCount = synthetic::SegmentCount;
            recording.fingerTracking = demo::fingerTrackingNames();
            const QMap<QString, QString> info = {
                {QStringLiteral("frameRate"), QString::number(synthetic::ChannelSampleRate)}};
            for (int channel = 1; channel <= synthetic::ChannelCount; ++channel)
                recording.externalChannels.append({QStringLiteral("Analog %1").arg(channel), info});
            recording.externalDataCount = frameCount * ExternalRowsPerFrame;
            return recording;
        }(),
        std::move(settingsFactory))
    , m_frameCount(frameCount)
{
    m_waves.reserve(3 * VectorsPerPose);
    for (int i = 0; i < 3 * VectorsPerPose; ++i) {
        const std::uint64_t n = 3 * static_cast<std::uint64_t>(i);
        // Amplitudes of 0.2 to 0.6 keep every value moving.
        const auto amplitude = [](double unit) { return (unit < 0.0 ? -1.0 : 1.0) * (0.4 + 0.2 * std::fabs(unit)); };
        m_waves.push_back({hashedUnit(n), amplitude(hashedUnit(n + 1)), 0.5 * amplitude(hashedUnit(n + 2))});
    }
    m_spins.reserve(QuaternionsPerPose);
    for (int i = 0; i < QuaternionsPerPose; ++i) {
        const std::uint64_t n = 1000003 + 4 * static_cast<std::uint64_t>(i);
        const double phase = 3.0 * hashedUnit(n);
        double axis[3] = {hashedUnit(n + 1), hashedUnit(n + 2), 0.3 + hashedUnit(n + 3)};
        const double length = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
        m_spins.push_back({std::cos(phase), std::sin(phase), {axis[0] / length, axis[1] / length, axis[2] / length}});
    }
}

std::unique_ptr<TaviPoseObject> SyntheticRecordingHost::pose(int frame) const
{
    if (!hasFrame(frame))
        return nullptr;

    Generator generate(*this, frame);
    TaviPose pose;
    pose.segments.resize(synthetic::SegmentCount);
    for (TaviPose::Segment& segment : pose.segments) {
        segment.q = generate.quaternion();
        segment.pos = generate.vector(1.0, 0.0, 0.0, 1.0);
        segment.vel = generate.vector(1.5);
        segment.acc = generate.vector(9.0);
        segment.angVel = generate.vector(4.0);
        segment.angAcc = generate.vector(30.0);
        segment.sensorQ = generate.quaternion();
        segment.sensorFreeAcc = generate.vector(9.0);
        segment.sensorMag = generate.vector(0.8);
    }
    pose.jointAngleList.reserve(JointCount);
    pose.jointAngleXzyList.reserve(JointCount);
    for (int joint = 0; joint < JointCount; ++joint) {
        pose.jointAngleList.push_back(generate.vector(60.0));
        pose.jointAngleXzyList.push_back(generate.vector(60.0));
    }
    for (int e = 0; e < ErgoIdx::Count; ++e) {
        pose.ergoJointAngles[e] = generate.vector(40.0);
        pose.ergoJointAnglesXzy[e] = generate.vector(40.0);
    }
    pose.comPos = generate.vector(0.5, 0.0, 0.0, 0.95);
    pose.comVel = generate.vector(1.0);
    pose.comAcc = generate.vector(6.0);
    pose.globalPos = generate.vector(1e-4, 52.2389, 6.8519, 42.3);

    pose.fingerTrackingPresent = true;
    for (TaviPose::Hand& hand : pose.hands) {
        hand.segments.resize(ZtFingerSegmentsPerHand);
        for (BkeSegmentPose& segment : hand.segments) {
            segment.q = generate.quaternion();
            segment.pos = generate.vector(0.8, 0.0, 0.0, 1.0);
        }
        hand.jointAngles.reserve(ZtFingerJointsPerHand);
        hand.jointAnglesXzy.reserve(ZtFingerJointsPerHand);
        for (int joint = 0; joint < ZtFingerJointsPerHand; ++joint) {
            hand.jointAngles.push_back(generate.vector(45.0));
            hand.jointAnglesXzy.push_back(generate.vector(45.0));
        }
    }
    return std::make_unique<TaviPoseObject>(std::make_shared<const ConcreteTaviPose>(std::move(pose)));
}

QList<ExternalData> SyntheticRecordingHost::externalData(int frame) const
{
    if (!hasFrame(frame))
        return {};
    // 2000 samples per second at 240 frames per second: 8 or 9 samples per frame.
    const std::int64_t first = firstSampleOf(frame);
    const std::int64_t end = firstSampleOf(frame + 1);
    QList<ExternalData> data;
    data.reserve(synthetic::ChannelCount);
    for (int channel = 0; channel < synthetic::ChannelCount; ++channel) {
        ExternalData block;
        block.samples.reserve(static_cast<std::size_t>(end - first));
        const double step = 0.0457 * (channel + 1);
        for (std::int64_t n = first; n < end; ++n) {
            const double noise = hashedUnit(static_cast<std::uint64_t>(n) * synthetic::ChannelCount + channel);
            block.samples.push_back(0.25 * std::sin(step * static_cast<double>(n) + channel) + 0.03 * noise);
        }
        data.append(std::move(block));
    }
    return data;
}

QString SyntheticRecordingHost::markerText(int frame) const
{
    if (!hasFrame(frame) || frame % synthetic::MarkerInterval != 0)
        return QString();
    return QStringLiteral("Marker %1").arg(frame / synthetic::MarkerInterval + 1);
}
