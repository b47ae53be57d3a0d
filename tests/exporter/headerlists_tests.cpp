#include "headerlists.h"
#include "recordinghost.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>

namespace {

// The recording host serving a T-pose of the given segment count, the channels and the
// finger-tracking names given.
RecordingHost hostWith(std::optional<int> tPoseSegments, const QStringList& channels = {},
    std::optional<FingerTrackingNames> fingers = std::nullopt)
{
    Recording rec;
    rec.tPoseSegmentCount = tPoseSegments;
    for (const QString& name : channels)
        rec.externalChannels.append({name, std::nullopt});
    rec.fingerTracking = std::move(fingers);
    return RecordingHost(std::move(rec));
}

QString handName(ZtHandId hand) { return hand == ZtHandLeft ? "Left" : "Right"; }

// Segments named hand + "Finger" + i, and joints named "x" + hand + "Joint" + k (giving the
// labels hand + " Joint" + k), for the hands given.
FingerTrackingNames fingerNames(std::initializer_list<ZtHandId> hands)
{
    FingerTrackingNames names;
    for (const ZtHandId hand : hands) {
        for (int i = 0; i < ZtFingerSegmentsPerHand; ++i)
            names.segmentNames[hand] << handName(hand) + QStringLiteral("Finger%1").arg(i);
        for (int k = 0; k < ZtFingerJointsPerHand; ++k)
            names.jointNames[hand] << QStringLiteral("x%1Joint%2").arg(handName(hand)).arg(k);
    }
    return names;
}

void appendHeaders(QStringList& list, const QString& name, std::initializer_list<const char*> suffixes)
{
    for (const char* suffix : suffixes)
        list << name + QLatin1Char(' ') + QLatin1String(suffix);
}

const QStringList bodyAndPropNames = {"Pelvis", "L5", "L3", "T12", "T8", "Neck", "Head", "Right Shoulder",
    "Right Upper Arm", "Right Forearm", "Right Hand", "Left Shoulder", "Left Upper Arm", "Left Forearm", "Left Hand",
    "Right Upper Leg", "Right Lower Leg", "Right Foot", "Right Toe", "Left Upper Leg", "Left Lower Leg", "Left Foot",
    "Left Toe", "Prop Tracker 1", "Prop Tracker 2", "Prop Tracker 3", "Prop Tracker 4"};

// The segment, quaternion and joint lists of a suit with four props.
QStringList fullVectorList(std::initializer_list<const char*> components)
{
    QStringList list{"Frame"};
    for (const QString& segment : bodyAndPropNames)
        appendHeaders(list, segment, components);
    return list;
}
const QStringList fullSegmentList = fullVectorList({"x", "y", "z"});
const QStringList fullQuaternionList = fullVectorList({"q0", "q1", "q2", "q3"});

QStringList jointList()
{
    QStringList joints{"Frame"};
    appendHeaders(joints, "L5S1", {"Lateral Bending", "Axial Bending", "Flexion/Extension"});
    for (const char* spine : {"L4L3", "L1T12", "T9T8", "T1C7", "C1 Head"})
        appendHeaders(joints, spine, {"Lateral Bending", "Axial Rotation", "Flexion/Extension"});
    const auto rotation = {"Abduction/Adduction", "Internal/External Rotation", "Flexion/Extension"};
    const auto forearm = {"Ulnar Deviation/Radial Deviation", "Pronation/Supination", "Flexion/Extension"};
    for (const QString side : {"Right", "Left"}) {
        appendHeaders(joints, side + " T4 Shoulder", rotation);
        appendHeaders(joints, side + " Shoulder", rotation);
        appendHeaders(joints, side + " Elbow", forearm);
        appendHeaders(joints, side + " Wrist", forearm);
    }
    for (const QString side : {"Right", "Left"}) {
        appendHeaders(joints, side + " Hip", rotation);
        appendHeaders(joints, side + " Knee", rotation);
        appendHeaders(joints, side + " Ankle",
            {"Abduction/Adduction", "Internal/External Rotation", "Dorsiflexion/Plantarflexion"});
        appendHeaders(joints, side + " Ball Foot", rotation);
    }
    for (int prop = 1; prop <= 4; ++prop)
        appendHeaders(joints, QStringLiteral("Prop %1").arg(prop), {"x", "y", "z"});
    return joints;
}
const QStringList fullJointList = jointList();

TEST(HeaderLists, PropColumnsFollowTheTPoseAndEachHandAppendsItsColumnsAfterTheBody)
{
    QStringList ergonomic{"Frame"};
    for (const char* joint : {"T8_Head", "T8_LeftUpperArm", "T8_RightUpperArm", "Pelvis_T8", "Vertical_Pelvis",
             "Vertical_T8"})
        appendHeaders(ergonomic, joint, {"Lateral Bending", "Axial Bending", "Flexion/Extension"});
    const QStringList centerOfMass = {"Frame", "CoM pos x", "CoM pos y", "CoM pos z", "CoM vel x",
        "CoM vel y", "CoM vel z", "CoM acc x", "CoM acc y", "CoM acc z"};
    const QStringList channels = {"EMG 2", "EMG 1", QString::fromUtf8("Kraft \xc3\x9c & <x>"), ""};
    EXPECT_EQ(segmentNames(), bodyAndPropNames);

    // T-pose segment count and the props it leaves: 23 is the bare body; no T-pose, or a
    // count that names no prop set, keeps all four.
    const std::pair<std::optional<int>, int> cases[] = {{23, 0}, {24, 1}, {25, 2}, {26, 3}, {27, 4},
        {std::nullopt, 4}, {0, 4}, {22, 4}, {28, 4}};
    for (const bool fingers : {false, true}) {
        for (const auto& [tPoseSegments, props] : cases) {
            SCOPED_TRACE(QStringLiteral("T-pose %1, fingers %2").arg(tPoseSegments.value_or(-1)).arg(fingers).toStdString());
            const HeaderLists lists = buildHeaderLists(hostWith(tPoseSegments, channels,
                fingers ? std::optional(fingerNames({ZtHandLeft, ZtHandRight})) : std::nullopt));
            const QStringList bodySegment = fullSegmentList.first(70 + 3 * props);
            QStringList segment = bodySegment;
            QStringList quaternion = fullQuaternionList.first(93 + 4 * props);
            QStringList joint = fullJointList.first(67 + 3 * props);
            for (const ZtHandId hand : {ZtHandLeft, ZtHandRight}) {
                for (int i = 0; fingers && i < 20; ++i) {
                    appendHeaders(segment, handName(hand) + QStringLiteral("Finger%1").arg(i), {"x", "y", "z"});
                    appendHeaders(quaternion, handName(hand) + QStringLiteral("Finger%1").arg(i), {"q0", "q1", "q2", "q3"});
                }
                for (int i = 0; fingers && i < 19; ++i)
                    appendHeaders(joint, handName(hand) + QStringLiteral(" Joint%1").arg(i),
                        {"Abduction/Adduction", "Internal/External Rotation", "Flexion/Extension"});
            }
            EXPECT_EQ(lists.hasFingerTracking, fingers);
            EXPECT_EQ(lists.segment, segment);
            EXPECT_EQ(lists.quaternion, quaternion);
            EXPECT_EQ(lists.joint, joint);
            // The kinematic sheets keep the body columns.
            EXPECT_EQ(lists.bodySegment, bodySegment);
            EXPECT_EQ(lists.ergonomic, ergonomic);
            EXPECT_EQ(lists.centerOfMass, centerOfMass);
            EXPECT_EQ(lists.globalPosition, QStringList({"Frame", "Latitude", "Longitude", "Altitude"}));
            // Channel names verbatim, in the host's order.
            EXPECT_EQ(lists.externalData, QStringList({"Frame", "Sample"}) + channels);
        }
    }
}

TEST(HeaderLists, SecondHandDecidesAndMissingRecordsGiveEmptyLabels)
{
    const HeaderLists withoutFingers = buildHeaderLists(hostWith(27, {}, fingerNames({ZtHandLeft})));
    EXPECT_FALSE(withoutFingers.hasFingerTracking);
    EXPECT_EQ(withoutFingers.segment, fullSegmentList);
    EXPECT_EQ(withoutFingers.joint, fullJointList);

    // One UTF-8 record for the left hand, none for the right.
    FingerTrackingNames names = fingerNames({ZtHandLeft, ZtHandRight});
    names.jointNames[ZtHandLeft] = QStringList{QString::fromUtf8(
        "jMittel\xc3\x96"
        "ffnung")};
    names.jointNames[ZtHandRight].clear();
    const HeaderLists lists = buildHeaderLists(hostWith(27, {}, names));
    ASSERT_EQ(lists.joint.size(), 79 + 114);
    EXPECT_EQ(lists.joint[79], QString::fromUtf8("Mittel \xc3\x96"
                                                 "ffnung Abduction/Adduction"));
    EXPECT_EQ(lists.joint[79 + 3], " Abduction/Adduction");
    EXPECT_EQ(lists.joint.last(), " Flexion/Extension");
}

TEST(FingerJointLabel, DropsThePrefixAndSeparatesCapitalisedWords)
{
    const std::pair<const char*, const char*> cases[] = {{"xAbcDEF", "Abc DEF"},
        {"lIndexProximalJoint", "Index Proximal Joint"}, {"xabcDef", "abc Def"}, {"xa1B", "a1 B"}, {"xA", "A"},
        // Names shorter than two characters give no label.
        {"", ""}, {"x", ""}, {"\xc3\x84", ""},
        // Capitals outside ASCII start words too: German, Greek, and Deseret beyond the basic plane.
        {"xgr\xc3\xb6\xc3\x9f"
         "e\xc3\x84nderung",
            "gr\xc3\xb6\xc3\x9f"
            "e \xc3\x84nderung"},
        {"x\xce\xb1\xce\x92", "\xce\xb1 \xce\x92"},
        {"x\xf0\x90\x90\x80"
         "a\xf0\x90\x90\x81",
            "\xf0\x90\x90\x80"
            "a \xf0\x90\x90\x81"}};
    for (const auto& [name, label] : cases)
        EXPECT_EQ(fingerJointLabel(QString::fromUtf8(name)), QString::fromUtf8(label)) << name;
}

} // namespace
