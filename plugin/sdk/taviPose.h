#pragma once

// The host's pose records: one frame's body state and the handles through which the host
// hands it to plug-ins. Index arguments past the end of the recorded data read as the empty
// vector or the zero quaternion, which the exporter treats as "no value".

#include "taviSdkGlobal.h"
#include "zttypes.h"

#include <array>
#include <memory>
#include <vector>

namespace ErgoIdx {
// The six ergonomic joints in the host's order.
enum ErgoIdx { T8_Head = 0,
    T8_LeftUpperArm,
    T8_RightUpperArm,
    Pelvis_T8,
    Vertical_Pelvis,
    Vertical_T8 };
inline constexpr int Count = 6;
} // namespace ErgoIdx

// Base frame of a global orientation; the exporter always asks for 0.
enum PoseBase { PoseBaseGlobal = 0,
    PoseBaseSensor = 1 };

// The two hands in the host's order: hand 0 is written before hand 1.
enum ZtHandId { ZtHandLeft = 0,
    ZtHandRight = 1 };
inline constexpr int ZtHandCount = 2;
// A tracked hand has 20 finger segments joined by 19 finger joints.
inline constexpr int ZtFingerSegmentsPerHand = 20;
inline constexpr int ZtFingerJointsPerHand = ZtFingerSegmentsPerHand - 1;

// One finger segment: orientation followed by position.
struct BkeSegmentPose
{
    ZtQuaternion q;
    ZtVector pos;
};

// One finger joint record; the exporter reads only the name (the first field).
struct BkeJointInfo
{
    ZtString name;
    int parentSegment = -1;
    int childSegment = -1;
};

// The samples of one external channel taken during one frame; the exporter reads only the samples.
struct ExternalData
{
    ZtVector samples;
    double timeOffset = 0.0;
};

// One frame's body state, held by value.
class TAVISDK_EXPORT TaviPose
{
public:
    struct Segment
    {
        ZtQuaternion q;
        ZtVector pos, vel, acc, angVel, angAcc;
        ZtQuaternion sensorQ;
        ZtVector sensorFreeAcc, sensorMag;
    };

    struct Hand
    {
        std::vector<BkeSegmentPose> segments;
        std::vector<ZtVector> jointAngles;
        std::vector<ZtVector> jointAnglesXzy;
    };

    // The data, filled by the host.
    std::vector<Segment> segments;
    std::vector<ZtVector> jointAngleList;
    std::vector<ZtVector> jointAngleXzyList;
    std::array<ZtVector, ErgoIdx::Count> ergoJointAngles;
    std::array<ZtVector, ErgoIdx::Count> ergoJointAnglesXzy;
    ZtVector comPos, comVel, comAcc;
    ZtVector globalPos;
    bool fingerTrackingPresent = false;
    std::array<Hand, ZtHandCount> hands;

    int segmentStateCount() const { return static_cast<int>(segments.size()); }
    ZtVector globalPosition() const { return globalPos; }
    ZtQuaternion q_s(int sensor) const;
    ZtQuaternion q_gb(int segment, PoseBase base) const;
    ZtVector pos_g(int segment) const;
    ZtVector vel_g(int segment) const;
    ZtVector acc_g(int segment) const;
    ZtVector angvel_g(int segment) const;
    ZtVector angacc_g(int segment) const;
    ZtVector mag_s(int sensor) const;
    ZtVector accG_s(int sensor) const;
    ZtVector jointAngles(int joint) const;
    ZtVector jointAnglesXzy(int joint) const;
    ZtVector jointAnglesErgo(ErgoIdx::ErgoIdx joint) const;
    ZtVector jointAnglesErgoXzy(ErgoIdx::ErgoIdx joint) const;
    ZtVector centerOfMassPos(bool) const { return comPos; }
    ZtVector centerOfMassVel(bool) const { return comVel; }
    ZtVector centerOfMassAcc(bool) const { return comAcc; }
    bool hasFingerTrackingData() const { return fingerTrackingPresent; }
    BkeSegmentPose fingerTrackingData(ZtHandId hand, int segment) const;
    ZtVector fingerTrackingJointAngles(ZtHandId hand, int joint) const;
    ZtVector fingerTrackingJointAnglesXzy(ZtHandId hand, int joint) const;

private:
    const Segment* segmentAt(int index) const;
};

// Polymorphic wrapper around one TaviPose; every accessor forwards and returns by value.
// The global-position accessor keeps the host's spelling "globalPostion" beside the
// forwarded name.
class TAVISDK_EXPORT ConcreteTaviPose
{
public:
    ConcreteTaviPose() = default;
    explicit ConcreteTaviPose(TaviPose pose)
        : m_pose(std::move(pose))
    { }
    virtual ~ConcreteTaviPose();

    virtual int segmentStateCount() const { return m_pose.segmentStateCount(); }

    const TaviPose& pose() const { return m_pose; }
    ZtVector globalPostion() const { return m_pose.globalPosition(); }
    ZtVector globalPosition() const { return m_pose.globalPosition(); }
    ZtQuaternion q_s(int i) const { return m_pose.q_s(i); }
    ZtQuaternion q_gb(int i, PoseBase base) const { return m_pose.q_gb(i, base); }
    ZtVector pos_g(int i) const { return m_pose.pos_g(i); }
    ZtVector vel_g(int i) const { return m_pose.vel_g(i); }
    ZtVector acc_g(int i) const { return m_pose.acc_g(i); }
    ZtVector angvel_g(int i) const { return m_pose.angvel_g(i); }
    ZtVector angacc_g(int i) const { return m_pose.angacc_g(i); }
    ZtVector mag_s(int i) const { return m_pose.mag_s(i); }
    ZtVector accG_s(int i) const { return m_pose.accG_s(i); }
    ZtVector jointAngles(int j) const { return m_pose.jointAngles(j); }
    ZtVector jointAnglesXzy(int j) const { return m_pose.jointAnglesXzy(j); }
    ZtVector jointAnglesErgo(ErgoIdx::ErgoIdx e) const { return m_pose.jointAnglesErgo(e); }
    ZtVector jointAnglesErgoXzy(ErgoIdx::ErgoIdx e) const { return m_pose.jointAnglesErgoXzy(e); }
    ZtVector centerOfMassPos(bool b) const { return m_pose.centerOfMassPos(b); }
    ZtVector centerOfMassVel(bool b) const { return m_pose.centerOfMassVel(b); }
    ZtVector centerOfMassAcc(bool b) const { return m_pose.centerOfMassAcc(b); }
    bool hasFingerTrackingData() const { return m_pose.hasFingerTrackingData(); }
    BkeSegmentPose fingerTrackingData(ZtHandId h, int f) const { return m_pose.fingerTrackingData(h, f); }
    ZtVector fingerTrackingJointAngles(ZtHandId h, int k) const { return m_pose.fingerTrackingJointAngles(h, k); }
    ZtVector fingerTrackingJointAnglesXzy(ZtHandId h, int k) const { return m_pose.fingerTrackingJointAnglesXzy(h, k); }

private:
    TaviPose m_pose;
};

// Handle to a pose (or to none). The pose is shared so that a host can hand out handles to
// poses it keeps without copying them.
class TAVISDK_EXPORT TaviPoseObject
{
public:
    TaviPoseObject() = default;
    explicit TaviPoseObject(std::shared_ptr<const ConcreteTaviPose> pose)
        : m_pose(std::move(pose))
    { }
    virtual ~TaviPoseObject();

    virtual int segmentStateCount() const { return m_pose ? m_pose->segmentStateCount() : 0; }

    bool hasPose() const { return m_pose != nullptr; }
    // Null when the handle holds no pose.
    const ConcreteTaviPose* pose() const { return m_pose.get(); }

private:
    std::shared_ptr<const ConcreteTaviPose> m_pose;
};
