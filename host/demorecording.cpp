#include "demorecording.h"

#include "hashedunit.h"
#include "motionmath.h"

#include <QTimeZone>

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace {

using namespace motion;
using std::numbers::pi;

constexpr double StrideFrequency = 0.9; // strides per second
constexpr double Omega = 2.0 * pi * StrideFrequency;
constexpr double HeadingDegrees = 25.0;

// mean + amplitude * sin(harmonic * Omega * t + phase)
Motion wave(double mean, double amplitude, double harmonic, double phase, double t)
{
    return sine(mean, amplitude, harmonic * Omega, phase, t);
}

// Limbs swing in the body's sagittal plane: a positive angle turns a hanging limb forward
// (x forward, y left, z up), which is a rotation about -y.
const Vec3 SagittalAxis{0.0, -1.0, 0.0};
const Vec3 RollAxis{1.0, 0.0, 0.0};
const Vec3 YawAxis{0.0, 0.0, 1.0};

// One segment of the body model: where its origin is and how it is turned, about one
// body-frame axis, after a fixed rest orientation.
struct SegmentMotion
{
    Track origin; // body frame
    Vec3 axis;
    Motion angle;
    Quat rest;
};

// Everything of one instant in the body frame, before the heading places it in the room.
struct BodyState
{
    std::array<SegmentMotion, demo::SegmentCount> segments;
    std::array<Vec3, 23> joints; // 22 body joints and the prop's joint, z-x-y degrees
    std::array<Vec3, 6> ergonomic;
    Track centerOfMass;
    std::array<Motion, 2> grip; // finger flexion per hand (left, right), radians
};

struct Limb
{
    Motion upper, lower, end;
};

BodyState bodyAt(double t)
{
    BodyState body;
    auto& s = body.segments;
    const Quat upright;
    const Quat rightArmDown = axisAngle(RollAxis, radians(90.0));
    const Quat leftArmDown = axisAngle(RollAxis, radians(-90.0));

    // Pelvis and spine: a slight sway and bob, the spine rolling against the pelvis.
    const Track pelvis = track(wave(0.0, 0.008, 2.0, 0.4, t), wave(0.0, 0.025, 1.0, 0.0, t),
        wave(0.94, 0.012, 2.0, pi / 2.0, t));
    const Motion pelvisRoll = wave(0.0, 0.05, 1.0, 0.0, t);
    // L5, L3, T12, T8, neck
    const std::array<Motion, 5> spineRoll = {wave(0.0, 0.04, 1.0, 0.1, t), wave(0.0, 0.03, 1.0, 0.2, t),
        wave(0.0, 0.02, 1.0, 0.3, t), wave(0.0, 0.015, 1.0, pi, t),
        wave(0.0, 0.02, 1.0, pi + 0.2, t)};
    const Motion headYaw = wave(0.0, 0.12, 0.5, 0.0, t);
    s[0] = {pelvis, RollAxis, pelvisRoll, upright};
    const std::array<double, 5> spineHeights = {0.10, 0.20, 0.30, 0.42, 0.62};
    for (int i = 0; i < 5; ++i)
        s[1 + i] = {pelvis + Vec3{-0.01 * i, 0.0, spineHeights[i]}, RollAxis, spineRoll[i], upright};
    s[6] = {pelvis + Vec3{-0.02, 0.0, 0.72}, YawAxis, headYaw, upright};

    // Arms swing against the legs of their side.
    const auto arm = [&](double phase) {
        const Motion upper = wave(0.0, 0.30, 1.0, phase, t);
        const Motion elbow = wave(0.45, 0.15, 1.0, phase, t);
        const Motion wrist = wave(0.05, 0.05, 1.0, phase + 0.5, t);
        return Limb{upper, upper + elbow, upper + elbow + wrist};
    };
    const Limb rightArm = arm(pi / 2.0);
    const Limb leftArm = arm(-pi / 2.0);
    const auto placeArm = [&](int first, const Limb& limb, double side, Quat rest) {
        const Track shoulderGirdle = pelvis + Vec3{0.0, 0.03 * side, 0.55};
        const Track shoulder = pelvis + Vec3{0.0, 0.19 * side, 0.53};
        const Track elbow = swing(shoulder, limb.upper, {0.0, 0.0, -0.30});
        const Track wrist = swing(elbow, limb.lower, {0.0, 0.0, -0.27});
        s[first] = {shoulderGirdle, RollAxis, wave(0.0, 0.03, 1.0, pi, t), upright};
        s[first + 1] = {shoulder, SagittalAxis, limb.upper, rest};
        s[first + 2] = {elbow, SagittalAxis, limb.lower, rest};
        s[first + 3] = {wrist, SagittalAxis, limb.end, rest};
    };
    placeArm(7, rightArm, -1.0, rightArmDown);
    placeArm(11, leftArm, 1.0, leftArmDown);

    // Legs: each knee is lifted once per stride, the right one half a stride after the left.
    const Motion rightLift = wave(0.5, 0.5, 1.0, -pi / 2.0, t);
    const Motion leftLift = wave(0.5, 0.5, 1.0, pi / 2.0, t);
    const auto leg = [&](Motion lift) {
        const Motion thigh = constant(0.05) + 0.55 * lift;
        const Motion knee = constant(0.08) + 1.05 * lift;
        const Motion shank = thigh - knee;
        const Motion foot = shank + 0.30 * lift;
        return Limb{thigh, shank, foot};
    };
    const Limb rightLeg = leg(rightLift);
    const Limb leftLeg = leg(leftLift);
    const auto placeLeg = [&](int first, const Limb& limb, Motion lift, double side) {
        const Track hip = pelvis + Vec3{0.0, 0.09 * side, 0.0};
        const Track knee = swing(hip, limb.upper, {0.0, 0.0, -0.45});
        const Track ankle = swing(knee, limb.lower, {0.0, 0.0, -0.43});
        const Track ball = swing(ankle, limb.end, {0.14, 0.0, -0.07});
        s[first] = {hip, SagittalAxis, limb.upper, upright};
        s[first + 1] = {knee, SagittalAxis, limb.lower, upright};
        s[first + 2] = {ankle, SagittalAxis, limb.end, upright};
        s[first + 3] = {ball, SagittalAxis, limb.end - 0.10 * lift, upright};
    };
    placeLeg(15, rightLeg, rightLift, -1.0);
    placeLeg(19, leftLeg, leftLift, 1.0);

    // The prop: a short stick held in the right hand, pointing forward.
    s[23] = {swing(s[10].origin, rightArm.end, {0.02, 0.0, -0.09}), SagittalAxis, rightArm.end,
        axisAngle({0.0, 1.0, 0.0}, radians(-90.0))};

    // Joint angles (lateral bending or abduction, axial rotation, flexion), in degrees.
    auto& j = body.joints;
    const auto small = [&](double amplitude, double phase) { return amplitude * std::sin(Omega * t + phase); };
    for (int i = 0; i < 5; ++i) {
        j[i] = {degrees(spineRoll[i].value - (i == 0 ? pelvisRoll : spineRoll[i - 1]).value), small(1.5, 0.3 * i),
            3.0 - 0.5 * i + small(1.0, 0.7 + 0.2 * i)};
    }
    j[5] = {small(1.2, 1.1), degrees(headYaw.value), -4.0 + small(2.0, 2.0)};
    const auto armJoints = [&](int first, const Limb& limb, double side) {
        j[first] = {small(1.0, pi) * side, small(0.8, 0.4), 2.0 + small(0.6, 1.0)};
        j[first + 1] = {8.0 + small(2.0, 0.5), small(5.0, 0.2) * side, degrees(limb.upper.value)};
        j[first + 2] = {3.0 + small(1.0, 0.9), 65.0 + small(5.0, 1.3), degrees(limb.lower.value - limb.upper.value)};
        j[first + 3] = {small(3.0, 0.6), small(2.0, 1.7), degrees(limb.end.value - limb.lower.value)};
    };
    armJoints(6, rightArm, -1.0);
    armJoints(10, leftArm, 1.0);
    const auto legJoints = [&](int first, const Limb& limb, Motion lift, double phase) {
        j[first] = {small(2.0, phase), small(3.0, phase + 0.8), degrees(limb.upper.value)};
        j[first + 1] = {small(1.0, phase + 0.3), small(2.0, phase + 1.1), degrees(limb.upper.value - limb.lower.value)};
        j[first + 2] = {small(1.5, phase + 0.5), small(2.0, phase + 1.9), -degrees(limb.end.value - limb.lower.value)};
        j[first + 3] = {0.5 * small(1.0, phase), 0.3 * small(1.0, phase + 0.2), degrees(0.10 * lift.value)};
    };
    legJoints(14, rightLeg, rightLift, 0.0);
    legJoints(18, leftLeg, leftLift, pi);
    j[22] = {small(2.0, 0.1), 90.0 + small(4.0, 0.6), small(5.0, 1.2)};

    // Ergonomic angles: T8_Head, T8_LeftUpperArm, T8_RightUpperArm, Pelvis_T8, Vertical_Pelvis, Vertical_T8.
    auto& e = body.ergonomic;
    e[0] = {degrees(spineRoll[4].value - spineRoll[3].value), degrees(headYaw.value), -6.0 + small(2.5, 2.0)};
    e[1] = {10.0 + small(2.0, -pi / 2.0), small(4.0, 0.3), degrees(leftArm.upper.value)};
    e[2] = {10.0 + small(2.0, pi / 2.0), small(4.0, 0.9), degrees(rightArm.upper.value)};
    e[3] = {degrees(spineRoll[3].value - pelvisRoll.value), small(2.0, 0.4), 5.0 + small(1.5, 0.8)};
    e[4] = {degrees(pelvisRoll.value), small(1.0, 1.4), 7.0 + small(1.0, 0.2)};
    e[5] = {degrees(spineRoll[3].value), small(1.5, 1.6), 3.0 + small(1.0, 2.2)};

    body.centerOfMass = pelvis + Vec3{0.03, 0.0, 0.08};
    body.grip = {wave(0.35, 0.20, 0.5, 0.0, t), wave(0.40, 0.25, 0.5, 1.3, t)};
    return body;
}

// Thumb to little finger.
constexpr std::array<const char*, 5> FingerNames = {"First", "Second", "Third", "Fourth", "Fifth"};

// The fingers of one hand, curled by `grip`, placed on the hand's origin and orientation.
// In the hand's rest frame the fingers point along `along` and curl about `curlAxis`.
void placeFingers(TaviPose::Hand& out, Vec3 wrist, Quat hand, Motion grip, double side, double t)
{
    const Vec3 along{0.0, side, 0.0};
    const Vec3 curlAxis{-side, 0.0, 0.0};
    constexpr std::array<double, 5> lateral = {0.035, 0.024, 0.004, -0.015, -0.032};
    constexpr std::array<std::array<double, 4>, 5> lengths = {{
        {0.045, 0.035, 0.0, 0.028},
        {0.070, 0.042, 0.025, 0.019},
        {0.068, 0.047, 0.029, 0.020},
        {0.064, 0.044, 0.028, 0.019},
        {0.060, 0.034, 0.020, 0.018},
    }};

    out.segments.clear();
    out.jointAngles.clear();
    out.jointAnglesXzy.clear();
    out.segments.push_back({toZt(hand), toZt(wrist)});
    for (int finger = 0; finger < 5; ++finger) {
        const bool thumb = finger == 0;
        const double flex = grip.value * (thumb ? 0.6 : 1.0) * (1.0 + 0.08 * std::sin(Omega * t + finger));
        // Joint flexion from the base outwards: CMC, MCP, PIP (or IP), DIP.
        const std::array<double, 4> jointFlex = {0.05 * flex, flex, 1.1 * flex, 0.7 * flex};
        Vec3 origin = 0.02 * along + Vec3{lateral[finger], 0.0, 0.0};
        double curl = 0.0;
        for (int phalanx = 0; phalanx < 4; ++phalanx) {
            if (thumb && phalanx == 2)
                continue; // the thumb has no middle phalanx
            curl += jointFlex[phalanx];
            const Quat turn = axisAngle(curlAxis, curl);
            out.segments.push_back({toZt(hand * turn), toZt(wrist + rotate(hand, origin))});
            origin = origin + rotate(turn, lengths[finger][phalanx] * along);
            const Vec3 angles{(thumb ? 12.0 : 2.0 * (2 - finger)) + 1.5 * std::sin(0.5 * Omega * t + phalanx),
                0.8 * std::sin(Omega * t + finger + phalanx), degrees(jointFlex[phalanx])};
            out.jointAngles.push_back(toZt(angles));
            out.jointAnglesXzy.push_back(toZt(zxyToXzy(angles)));
        }
    }
}

// EMG of a thigh muscle in millivolts: bursts while the leg of its side is lifted.
double emgSample(std::int64_t n, int channel)
{
    const double t = static_cast<double>(n) / demo::EmgSampleRate;
    const double phase = channel == 0 ? -pi / 2.0 : pi / 2.0;
    const double activation = 0.5 + 0.5 * std::sin(Omega * t + phase);
    const double envelope = 0.015 + 0.45 * std::pow(activation, 4.0);
    return envelope * hashedUnit(static_cast<std::uint64_t>(n), static_cast<std::uint64_t>(channel));
}

// Fixed mounting offsets of the sensors on their segments.
Quat sensorMounting(int segment)
{
    const Vec3 axis = normalized({std::sin(1.0 + segment), std::cos(2.0 * segment), 0.5});
    return axisAngle(axis, 0.05 + 0.01 * segment);
}

std::shared_ptr<const ConcreteTaviPose> poseAt(int frame)
{
    const double t = frame / demo::FrameRate;
    const BodyState body = bodyAt(t);
    const Quat heading = axisAngle(YawAxis, radians(HeadingDegrees));
    const Vec3 roomOrigin{2.35, -1.10, 0.0};
    const Vec3 earthField{0.05, 0.37, -0.93}; // in the room frame, normalised units
    const auto toRoom = [&](Vec3 inBody) { return roomOrigin + rotate(heading, inBody); };

    TaviPose pose;
    pose.segments.resize(demo::SegmentCount);
    for (int i = 0; i < demo::SegmentCount; ++i) {
        const SegmentMotion& m = body.segments[i];
        TaviPose::Segment& out = pose.segments[i];
        const Quat orientation = heading * axisAngle(m.axis, m.angle.value) * m.rest;
        const Vec3 turnAxis = rotate(heading, m.axis);
        out.q = toZt(orientation);
        out.pos = toZt(toRoom(m.origin.pos));
        out.vel = toZt(rotate(heading, m.origin.vel));
        out.acc = toZt(rotate(heading, m.origin.acc));
        out.angVel = toZt(m.angle.rate * turnAxis);
        out.angAcc = toZt(m.angle.accel * turnAxis);
        if (i != demo::SegmentWithoutSensor) {
            const Quat sensor = orientation * sensorMounting(i);
            out.sensorQ = toZt(sensor);
            out.sensorFreeAcc = out.acc;
            out.sensorMag = toZt(rotate(conjugate(sensor), earthField));
        }
    }

    for (const Vec3& angles : body.joints) {
        pose.jointAngleList.push_back(toZt(angles));
        pose.jointAngleXzyList.push_back(toZt(zxyToXzy(angles)));
    }
    for (int e = 0; e < ErgoIdx::Count; ++e) {
        pose.ergoJointAngles[e] = toZt(body.ergonomic[e]);
        pose.ergoJointAnglesXzy[e] = toZt(zxyToXzy(body.ergonomic[e]));
    }
    pose.comPos = toZt(toRoom(body.centerOfMass.pos));
    pose.comVel = toZt(rotate(heading, body.centerOfMass.vel));
    pose.comAcc = toZt(rotate(heading, body.centerOfMass.acc));

    // Latitude and longitude follow the pelvis over the floor (y north, x east).
    const Vec3 pelvis = toRoom(body.segments[0].origin.pos);
    constexpr double MetresPerDegree = 111320.0;
    constexpr double Latitude = 52.2389;
    pose.globalPos = ZtVector{Latitude + pelvis.y / MetresPerDegree,
        6.8519 + pelvis.x / (MetresPerDegree * std::cos(radians(Latitude))),
        42.3 + (pelvis.z - 0.94)};

    pose.fingerTrackingPresent = true;
    constexpr std::array<int, ZtHandCount> handSegment = {14, 10}; // Left Hand, Right Hand
    for (int hand = 0; hand < ZtHandCount; ++hand) {
        const TaviPose::Segment& h = pose.segments[handSegment[hand]];
        placeFingers(pose.hands[hand], {h.pos[0], h.pos[1], h.pos[2]}, {h.q.q0, h.q.q1, h.q.q2, h.q.q3},
            body.grip[hand], hand == ZtHandLeft ? 1.0 : -1.0, t);
    }
    return std::make_shared<const ConcreteTaviPose>(std::move(pose));
}

QList<ExternalData> emgAt(int frame, int channels)
{
    // Sample n belongs to the frame during which it was taken: 33 or 34 per frame.
    constexpr auto framesPerSecond = static_cast<std::int64_t>(demo::FrameRate);
    const std::int64_t first = frame * std::int64_t{demo::EmgSampleRate} / framesPerSecond;
    const std::int64_t end = (frame + 1) * std::int64_t{demo::EmgSampleRate} / framesPerSecond;
    QList<ExternalData> data;
    for (int channel = 0; channel < channels; ++channel) {
        ExternalData block;
        block.samples.reserve(static_cast<std::size_t>(end - first));
        for (std::int64_t n = first; n < end; ++n)
            block.samples.push_back(emgSample(n, channel));
        block.timeOffset = static_cast<double>(first) / demo::EmgSampleRate - frame / demo::FrameRate;
        data.append(std::move(block));
    }
    return data;
}

} // namespace

FingerTrackingNames demo::fingerTrackingNames()
{
    FingerTrackingNames names;
    for (int hand = 0; hand < ZtHandCount; ++hand) {
        const QString side = hand == ZtHandLeft ? QStringLiteral("Left") : QStringLiteral("Right");
        QStringList& segments = names.segmentNames[hand];
        QStringList& joints = names.jointNames[hand];
        segments << side + QStringLiteral("Carpus");
        for (const char* finger : FingerNames) {
            const QString prefix = side + QLatin1String(finger);
            const bool thumb = segments.size() == 1;
            segments << prefix + QStringLiteral("MC") << prefix + QStringLiteral("PP");
            if (!thumb)
                segments << prefix + QStringLiteral("MP");
            segments << prefix + QStringLiteral("DP");
            // Joint records carry a one-letter prefix before the name.
            joints << QStringLiteral("j") + prefix + QStringLiteral("CMC") << QStringLiteral("j") + prefix + QStringLiteral("MCP");
            if (thumb) {
                joints << QStringLiteral("j") + prefix + QStringLiteral("IP");
            } else {
                joints << QStringLiteral("j") + prefix + QStringLiteral("PIP")
                       << QStringLiteral("j") + prefix + QStringLiteral("DIP");
            }
        }
    }
    return names;
}

Recording makeDemoRecording()
{
    Recording recording;
    recording.applicationVersion = QStringLiteral("2026.4.0");
    recording.filename = QStringLiteral("demo-walk.rec");
    recording.subjectName = QStringLiteral("Demo Suit");
    recording.processingQuality = QStringLiteral("HD");
    recording.recordStartTime = QDateTime(QDate(2026, 3, 1), QTime(10, 20, 30, 250), QTimeZone::utc());
    recording.frameRate = demo::FrameRate;
    recording.tPoseSegmentCount = demo::SegmentCount;
    recording.fingerTracking = demo::fingerTrackingNames();

    const QMap<QString, QString> emgInfo = {{QStringLiteral("frameRate"), QString::number(demo::EmgSampleRate)},
        {QStringLiteral("unit"), QStringLiteral("mV")}};
    recording.externalChannels = {{QStringLiteral("EMG Right Vastus Lateralis"), emgInfo},
        {QStringLiteral("EMG Left Vastus Lateralis"), emgInfo}};
    // The exporter writes the channels at 2400 samples per second: 40 rows per frame.
    recording.externalDataCount = demo::FrameCount * 40;

    // Right heel strikes fall on whole strides (every 1/0.9 s).
    recording.markers = {{0, QStringLiteral("Start marching in place")},
        {67, QStringLiteral("Right heel strike")},
        {300, QStringLiteral("Halfway")},
        {533, QStringLiteral("Right heel strike")},
        {demo::FrameCount - 1, QStringLiteral("End")}};

    for (int frame = 0; frame < demo::FrameCount; ++frame)
        recording.appendFrame(frame, RecordingFrame{poseAt(frame), emgAt(frame, 2)});
    return recording;
}
