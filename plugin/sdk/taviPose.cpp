#include "taviPose.h"

namespace {
template <typename T>
T itemOrEmpty(const std::vector<T>& items, int index)
{
    if (index < 0 || static_cast<std::size_t>(index) >= items.size())
        return T();
    return items[static_cast<std::size_t>(index)];
}
} // namespace

const TaviPose::Segment* TaviPose::segmentAt(int index) const
{
    if (index < 0 || static_cast<std::size_t>(index) >= segments.size())
        return nullptr;
    return &segments[static_cast<std::size_t>(index)];
}

ZtQuaternion TaviPose::q_s(int sensor) const
{
    const Segment* s = segmentAt(sensor);
    return s ? s->sensorQ : ZtQuaternion();
}

ZtQuaternion TaviPose::q_gb(int segment, PoseBase) const
{
    const Segment* s = segmentAt(segment);
    return s ? s->q : ZtQuaternion();
}

ZtVector TaviPose::pos_g(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->pos : ZtVector();
}
ZtVector TaviPose::vel_g(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->vel : ZtVector();
}
ZtVector TaviPose::acc_g(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->acc : ZtVector();
}
ZtVector TaviPose::angvel_g(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->angVel : ZtVector();
}
ZtVector TaviPose::angacc_g(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->angAcc : ZtVector();
}
ZtVector TaviPose::mag_s(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->sensorMag : ZtVector();
}
ZtVector TaviPose::accG_s(int i) const
{
    const Segment* s = segmentAt(i);
    return s ? s->sensorFreeAcc : ZtVector();
}

ZtVector TaviPose::jointAngles(int joint) const { return itemOrEmpty(jointAngleList, joint); }
ZtVector TaviPose::jointAnglesXzy(int joint) const { return itemOrEmpty(jointAngleXzyList, joint); }

ZtVector TaviPose::jointAnglesErgo(ErgoIdx::ErgoIdx joint) const
{
    return joint >= 0 && joint < ErgoIdx::Count ? ergoJointAngles[joint] : ZtVector();
}

ZtVector TaviPose::jointAnglesErgoXzy(ErgoIdx::ErgoIdx joint) const
{
    return joint >= 0 && joint < ErgoIdx::Count ? ergoJointAnglesXzy[joint] : ZtVector();
}

BkeSegmentPose TaviPose::fingerTrackingData(ZtHandId hand, int segment) const
{
    if (hand < 0 || hand >= ZtHandCount)
        return {};
    return itemOrEmpty(hands[hand].segments, segment);
}

ZtVector TaviPose::fingerTrackingJointAngles(ZtHandId hand, int joint) const
{
    if (hand < 0 || hand >= ZtHandCount)
        return {};
    return itemOrEmpty(hands[hand].jointAngles, joint);
}

ZtVector TaviPose::fingerTrackingJointAnglesXzy(ZtHandId hand, int joint) const
{
    if (hand < 0 || hand >= ZtHandCount)
        return {};
    return itemOrEmpty(hands[hand].jointAnglesXzy, joint);
}

ConcreteTaviPose::~ConcreteTaviPose() = default;
TaviPoseObject::~TaviPoseObject() = default;
