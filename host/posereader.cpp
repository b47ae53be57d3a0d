#include "posereader.h"

namespace {

TaviPose::Segment segment(RecordingValues& values)
{
    TaviPose::Segment s;
    values.json().object("a segment object", [&](std::string_view key) {
        if (key == "q")
            s.q = values.quaternion();
        else if (key == "pos")
            s.pos = values.vector();
        else if (key == "vel")
            s.vel = values.vector();
        else if (key == "acc")
            s.acc = values.vector();
        else if (key == "angVel")
            s.angVel = values.vector();
        else if (key == "angAcc")
            s.angAcc = values.vector();
        else if (key == "sensorQ")
            s.sensorQ = values.quaternion();
        else if (key == "sensorFreeAcc")
            s.sensorFreeAcc = values.vector();
        else if (key == "sensorMag")
            s.sensorMag = values.vector();
        else
            values.json().skip();
    });
    return s;
}

BkeSegmentPose fingerSegment(RecordingValues& values)
{
    BkeSegmentPose finger;
    values.json().object("a finger segment object {\"q\": quaternion, \"pos\": vector}", [&](std::string_view key) {
        if (key == "q")
            finger.q = values.quaternion();
        else if (key == "pos")
            finger.pos = values.vector();
        else
            values.json().skip();
    });
    return finger;
}

void fingerTracking(RecordingValues& values, TaviPose& pose)
{
    constexpr std::string_view perHandArrays = "an array of two arrays (hand 0, hand 1)";
    JsonStream& json = values.json();
    json.object("a finger-tracking object", [&](std::string_view key) {
        if (key == "hasData") {
            pose.fingerTrackingPresent = json.boolean("a boolean").value_or(false);
        } else if (key == "segments") {
            values.perHand(perHandArrays, [&](int hand) {
                json.array("an array of finger segment objects", [&](std::int64_t) {
                    values.charge(ElementCost<BkeSegmentPose>);
                    pose.hands[hand].segments.push_back(fingerSegment(values));
                });
            });
        } else if (key == "jointAngles") {
            values.perHand(perHandArrays, [&](int hand) { pose.hands[hand].jointAngles = values.vectorList(); });
        } else if (key == "jointAnglesXzy") {
            values.perHand(perHandArrays, [&](int hand) { pose.hands[hand].jointAnglesXzy = values.vectorList(); });
        } else {
            json.skip();
        }
    });
}

void centerOfMass(RecordingValues& values, TaviPose& pose)
{
    values.json().object("an object {\"pos\": vector, \"vel\": vector, \"acc\": vector}", [&](std::string_view key) {
        if (key == "pos")
            pose.comPos = values.vector();
        else if (key == "vel")
            pose.comVel = values.vector();
        else if (key == "acc")
            pose.comAcc = values.vector();
        else
            values.json().skip();
    });
}

} // namespace

std::shared_ptr<const ConcreteTaviPose> readPose(RecordingValues& values)
{
    values.charge(std::int64_t(sizeof(ConcreteTaviPose)) + AllocationCost);
    JsonStream& json = values.json();
    TaviPose pose;
    const bool isObject = json.object("a pose object or null", [&](std::string_view key) {
        if (key == "segments") {
            json.array("an array of segment objects", [&](std::int64_t) {
                values.charge(ElementCost<TaviPose::Segment>);
                values.budget().notePoseSegments(1);
                pose.segments.push_back(segment(values));
            });
        } else if (key == "jointAngles") {
            pose.jointAngleList = values.vectorList();
        } else if (key == "jointAnglesXzy") {
            pose.jointAngleXzyList = values.vectorList();
        } else if (key == "ergoJointAngles") {
            values.vectors(pose.ergoJointAngles);
        } else if (key == "ergoJointAnglesXzy") {
            values.vectors(pose.ergoJointAnglesXzy);
        } else if (key == "centerOfMass") {
            centerOfMass(values, pose);
        } else if (key == "globalPosition") {
            pose.globalPos = values.vector();
        } else if (key == "fingerTracking") {
            fingerTracking(values, pose);
        } else {
            json.skip();
        }
    });
    if (!isObject)
        return nullptr;
    return std::make_shared<const ConcreteTaviPose>(std::move(pose));
}
