#pragma once

// Recordings built in memory for exporter tests. Every value is a small binary fraction, so
// that the text "%.15g" gives and a reader parses back is exactly the value put in.

#include "recording.h"
#include "recordinghost.h"

#include <QDateTime>

#include <cmath>
#include <numbers>
#include <optional>
#include <vector>

namespace testrec {

// Quantities of a pose, used to give every accessor its own values.
enum Quantity { Pos = 1,
    Vel,
    Acc,
    AngVel,
    AngAcc,
    SensorAcc,
    SensorMag,
    Joint,
    JointXzy,
    Ergo,
    ErgoXzy,
    ComPos,
    ComVel,
    ComAcc,
    FingerJoint,
    FingerJointXzy,
    FingerPos };

inline ZtVector vectorValue(int frame, int index, int quantity)
{
    return ZtVector{frame * 100.0 + index + quantity / 32.0, -(frame * 10.0) - index, static_cast<double>(quantity)};
}

// Rotation of `degrees` about z, as a unit quaternion.
inline ZtQuaternion yawQuaternion(double degrees)
{
    const double half = degrees * std::numbers::pi / 360.0;
    return {std::cos(half), 0.0, 0.0, std::sin(half)};
}

inline double segmentYaw(int frame, int segment) { return 10.0 * segment + frame; }

struct Options
{
    int segments = 23;
    std::optional<int> tPoseSegments = 23;
    std::vector<int> frames = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    std::vector<int> framesWithoutPose;
    double frameRate = 60.0;
    bool globalPosition = true;
    bool fingerTracking = false;
    bool fingerData = true;
    // Segments whose sensor orientation is the (invalid) zero quaternion.
    std::vector<int> invalidSensors = {2};
    // One channel per rate; each frame carries rawSamplesPerFrame samples per channel.
    std::vector<int> channelRates;
    int rawSamplesPerFrame = 40;
    bool channelData = true;
    std::vector<std::pair<int, QString>> markers;
};

// Sample k of channel c in a frame.
inline double channelSample(int frame, int channel, int k) { return frame * 1000.0 + channel * 100.0 + k / 64.0; }

inline TaviPose makePose(const Options& o, int frame)
{
    TaviPose pose;
    pose.segments.resize(static_cast<std::size_t>(o.segments));
    for (int i = 0; i < o.segments; ++i) {
        TaviPose::Segment& s = pose.segments[static_cast<std::size_t>(i)];
        s.q = yawQuaternion(segmentYaw(frame, i));
        s.pos = vectorValue(frame, i, Pos);
        s.vel = vectorValue(frame, i, Vel);
        s.acc = vectorValue(frame, i, Acc);
        s.angVel = vectorValue(frame, i, AngVel);
        s.angAcc = vectorValue(frame, i, AngAcc);
        const bool invalid = std::find(o.invalidSensors.begin(), o.invalidSensors.end(), i) != o.invalidSensors.end();
        s.sensorQ = invalid ? ZtQuaternion{} : yawQuaternion(segmentYaw(frame, i) + 5.0);
        s.sensorFreeAcc = vectorValue(frame, i, SensorAcc);
        s.sensorMag = vectorValue(frame, i, SensorMag);
    }
    for (int j = 0; j + 1 < o.segments; ++j) {
        pose.jointAngleList.push_back(vectorValue(frame, j, Joint));
        pose.jointAngleXzyList.push_back(vectorValue(frame, j, JointXzy));
    }
    for (int e = 0; e < ErgoIdx::Count; ++e) {
        pose.ergoJointAngles[static_cast<std::size_t>(e)] = vectorValue(frame, e, Ergo);
        pose.ergoJointAnglesXzy[static_cast<std::size_t>(e)] = vectorValue(frame, e, ErgoXzy);
    }
    pose.comPos = vectorValue(frame, 0, ComPos);
    pose.comVel = vectorValue(frame, 0, ComVel);
    pose.comAcc = vectorValue(frame, 0, ComAcc);
    if (o.globalPosition)
        pose.globalPos = ZtVector{52.25, 6.5, 40.0 + frame};
    if (o.fingerTracking && o.fingerData) {
        pose.fingerTrackingPresent = true;
        for (int h = 0; h < ZtHandCount; ++h) {
            for (int i = 0; i < ZtFingerSegmentsPerHand; ++i)
                pose.hands[h].segments.push_back({yawQuaternion(frame + 2.0 * i), vectorValue(frame, ZtFingerSegmentsPerHand * h + i, FingerPos)});
            for (int k = 0; k < ZtFingerJointsPerHand; ++k) {
                pose.hands[h].jointAngles.push_back(vectorValue(frame, ZtFingerJointsPerHand * h + k, FingerJoint));
                pose.hands[h].jointAnglesXzy.push_back(vectorValue(frame, ZtFingerJointsPerHand * h + k, FingerJointXzy));
            }
        }
    }
    return pose;
}

inline Recording makeRecording(const Options& o)
{
    Recording rec;
    rec.applicationVersion = QStringLiteral("2026.4.0");
    rec.filename = QStringLiteral("walk01.rec");
    rec.subjectName = QStringLiteral("Suit A");
    rec.processingQuality = QStringLiteral("HD");
    rec.recordStartTime = QDateTime::fromString(QStringLiteral("2026-03-01T10:20:30.250Z"), Qt::ISODateWithMs);
    rec.frameRate = o.frameRate;
    rec.tPoseSegmentCount = o.tPoseSegments;
    for (const auto& [frame, text] : o.markers)
        rec.markers.append({frame, text});
    for (std::size_t c = 0; c < o.channelRates.size(); ++c)
        rec.externalChannels.append({QStringLiteral("EMG %1").arg(c + 1),
            QMap<QString, QString>{{QStringLiteral("frameRate"), QString::number(o.channelRates[c])}}});
    if (!o.channelRates.empty())
        rec.externalDataCount = static_cast<int>(o.frames.size()) * o.rawSamplesPerFrame;
    if (o.fingerTracking) {
        FingerTrackingNames names;
        for (int h = 0; h < ZtHandCount; ++h) {
            for (int i = 0; i < ZtFingerSegmentsPerHand; ++i)
                names.segmentNames[h] << QStringLiteral("H%1Seg%2").arg(h).arg(i);
            for (int k = 0; k < ZtFingerJointsPerHand; ++k)
                names.jointNames[h] << QStringLiteral("xH%1Joint%2").arg(h).arg(k);
        }
        rec.fingerTracking = names;
    }
    for (int frame : o.frames) {
        RecordingFrame data;
        if (std::find(o.framesWithoutPose.begin(), o.framesWithoutPose.end(), frame) == o.framesWithoutPose.end())
            data.pose = std::make_shared<const ConcreteTaviPose>(makePose(o, frame));
        if (o.channelData) {
            for (std::size_t c = 0; c < o.channelRates.size(); ++c) {
                ExternalData block;
                for (int k = 0; k < o.rawSamplesPerFrame; ++k)
                    block.samples.push_back(channelSample(frame, static_cast<int>(c), k));
                data.externalData.append(block);
            }
        }
        rec.appendFrame(frame, std::move(data));
    }
    return rec;
}

} // namespace testrec
