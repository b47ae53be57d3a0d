#include "abstracttavistudioplugininterface.h"
#include "headerlists.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>

namespace {

// A host that reports a T-pose of a chosen segment count, optional finger tracking with
// named segments and joint records, and external channels.
class FakeHost : public AbstractTaviStudioPluginInterface
{
public:
    std::optional<int> tPoseSegments;
    bool fingerSegmentsNamed[ZtHandCount] = {false, false};
    std::array<ZtArray<BkeJointInfo>, ZtHandCount> jointRecords;
    QStringList channels;

    TaviPoseObject tPose() const override
    {
        if (!tPoseSegments)
            return TaviPoseObject();
        TaviPose pose;
        pose.segments.resize(*tPoseSegments);
        return TaviPoseObject(std::make_shared<ConcreteTaviPose>(pose));
    }

    QString fingerTrackingSegmentName(ZtHandId hand, int segment) const override
    {
        if (!fingerSegmentsNamed[hand])
            return QString();
        return (hand == ZtHandLeft ? QStringLiteral("LeftFinger%1") : QStringLiteral("RightFinger%1")).arg(segment);
    }

    ZtArray<BkeJointInfo> fingerTrackingJointInfoList(ZtHandId hand) const override { return jointRecords[hand]; }
    QStringList externalChannelNames() const override { return channels; }

    std::unique_ptr<TaviPoseObject> pose(int) const override { return nullptr; }
    QString applicationVersion() const override { return QStringLiteral("test host"); }
    AbstractSettingsSynchronizer* createSettingsSynchronizer(const QMap<QString, QVariant>&,
                                                             const QMap<QString, QString>&, QObject*) override
    {
        return nullptr;
    }
};

ZtArray<BkeJointInfo> jointRecordsNamed(const char* prefix, int count)
{
    ZtArray<BkeJointInfo> records;
    for (int i = 0; i < count; ++i)
        records.append(BkeJointInfo{ZtString{std::string(prefix) + "Joint" + std::to_string(i)}});
    return records;
}

const QStringList bodySegmentNames = {
    "Pelvis", "L5", "L3", "T12", "T8", "Neck", "Head",
    "Right Shoulder", "Right Upper Arm", "Right Forearm", "Right Hand",
    "Left Shoulder", "Left Upper Arm", "Left Forearm", "Left Hand",
    "Right Upper Leg", "Right Lower Leg", "Right Foot", "Right Toe",
    "Left Upper Leg", "Left Lower Leg", "Left Foot", "Left Toe",
};

const QStringList bodyJointHeaders = {
    "L5S1 Lateral Bending", "L5S1 Axial Bending", "L5S1 Flexion/Extension",
    "L4L3 Lateral Bending", "L4L3 Axial Rotation", "L4L3 Flexion/Extension",
    "L1T12 Lateral Bending", "L1T12 Axial Rotation", "L1T12 Flexion/Extension",
    "T9T8 Lateral Bending", "T9T8 Axial Rotation", "T9T8 Flexion/Extension",
    "T1C7 Lateral Bending", "T1C7 Axial Rotation", "T1C7 Flexion/Extension",
    "C1 Head Lateral Bending", "C1 Head Axial Rotation", "C1 Head Flexion/Extension",
    "Right T4 Shoulder Abduction/Adduction", "Right T4 Shoulder Internal/External Rotation", "Right T4 Shoulder Flexion/Extension",
    "Right Shoulder Abduction/Adduction", "Right Shoulder Internal/External Rotation", "Right Shoulder Flexion/Extension",
    "Right Elbow Ulnar Deviation/Radial Deviation", "Right Elbow Pronation/Supination", "Right Elbow Flexion/Extension",
    "Right Wrist Ulnar Deviation/Radial Deviation", "Right Wrist Pronation/Supination", "Right Wrist Flexion/Extension",
    "Left T4 Shoulder Abduction/Adduction", "Left T4 Shoulder Internal/External Rotation", "Left T4 Shoulder Flexion/Extension",
    "Left Shoulder Abduction/Adduction", "Left Shoulder Internal/External Rotation", "Left Shoulder Flexion/Extension",
    "Left Elbow Ulnar Deviation/Radial Deviation", "Left Elbow Pronation/Supination", "Left Elbow Flexion/Extension",
    "Left Wrist Ulnar Deviation/Radial Deviation", "Left Wrist Pronation/Supination", "Left Wrist Flexion/Extension",
    "Right Hip Abduction/Adduction", "Right Hip Internal/External Rotation", "Right Hip Flexion/Extension",
    "Right Knee Abduction/Adduction", "Right Knee Internal/External Rotation", "Right Knee Flexion/Extension",
    "Right Ankle Abduction/Adduction", "Right Ankle Internal/External Rotation", "Right Ankle Dorsiflexion/Plantarflexion",
    "Right Ball Foot Abduction/Adduction", "Right Ball Foot Internal/External Rotation", "Right Ball Foot Flexion/Extension",
    "Left Hip Abduction/Adduction", "Left Hip Internal/External Rotation", "Left Hip Flexion/Extension",
    "Left Knee Abduction/Adduction", "Left Knee Internal/External Rotation", "Left Knee Flexion/Extension",
    "Left Ankle Abduction/Adduction", "Left Ankle Internal/External Rotation", "Left Ankle Dorsiflexion/Plantarflexion",
    "Left Ball Foot Abduction/Adduction", "Left Ball Foot Internal/External Rotation", "Left Ball Foot Flexion/Extension",
};

struct PropCase
{
    std::optional<int> tPoseSegments;
    qsizetype segment, quaternion, joint;
    const char* lastSegment;
    const char* lastQuaternion;
    const char* lastJoint;
};

TEST(HeaderLists, PropColumnsFollowTheTPoseSegmentCount)
{
    const PropCase cases[] = {
        {23, 70, 93, 67, "Left Toe z", "Left Toe q3", "Left Ball Foot Flexion/Extension"},
        {24, 73, 97, 70, "Prop Tracker 1 z", "Prop Tracker 1 q3", "Prop 1 z"},
        {25, 76, 101, 73, "Prop Tracker 2 z", "Prop Tracker 2 q3", "Prop 2 z"},
        {26, 79, 105, 76, "Prop Tracker 3 z", "Prop Tracker 3 q3", "Prop 3 z"},
        {27, 82, 109, 79, "Prop Tracker 4 z", "Prop Tracker 4 q3", "Prop 4 z"},
        {std::nullopt, 82, 109, 79, "Prop Tracker 4 z", "Prop Tracker 4 q3", "Prop 4 z"},
        {0, 82, 109, 79, "Prop Tracker 4 z", "Prop Tracker 4 q3", "Prop 4 z"},
        {22, 82, 109, 79, "Prop Tracker 4 z", "Prop Tracker 4 q3", "Prop 4 z"},
        {28, 82, 109, 79, "Prop Tracker 4 z", "Prop Tracker 4 q3", "Prop 4 z"},
    };
    for (const PropCase& c : cases) {
        SCOPED_TRACE(c.tPoseSegments ? *c.tPoseSegments : -1);
        FakeHost host;
        host.tPoseSegments = c.tPoseSegments;
        const HeaderLists lists = buildHeaderLists(host);
        EXPECT_EQ(lists.segment.size(), c.segment);
        EXPECT_EQ(lists.quaternion.size(), c.quaternion);
        EXPECT_EQ(lists.joint.size(), c.joint);
        EXPECT_EQ(lists.segment.last(), c.lastSegment);
        EXPECT_EQ(lists.quaternion.last(), c.lastQuaternion);
        EXPECT_EQ(lists.joint.last(), c.lastJoint);
        EXPECT_EQ(lists.bodySegment, lists.segment);
        EXPECT_EQ(lists.ergonomic.size(), 19);
        EXPECT_EQ(lists.centerOfMass.size(), 10);
        EXPECT_FALSE(lists.hasFingerTracking);
    }
}

TEST(HeaderLists, BodyColumnsNameEverySegmentAndJoint)
{
    FakeHost host;
    host.tPoseSegments = 27;
    const HeaderLists lists = buildHeaderLists(host);

    QStringList names = bodySegmentNames;
    for (int prop = 1; prop <= 4; ++prop)
        names << QStringLiteral("Prop Tracker %1").arg(prop);
    EXPECT_EQ(segmentNames(), names);

    ASSERT_EQ(lists.segment.size(), 1 + 3 * names.size());
    ASSERT_EQ(lists.quaternion.size(), 1 + 4 * names.size());
    EXPECT_EQ(lists.segment.first(), "Frame");
    EXPECT_EQ(lists.quaternion.first(), "Frame");
    for (qsizetype i = 0; i < names.size(); ++i) {
        EXPECT_EQ(lists.segment[1 + 3 * i], names[i] + " x");
        EXPECT_EQ(lists.segment[2 + 3 * i], names[i] + " y");
        EXPECT_EQ(lists.segment[3 + 3 * i], names[i] + " z");
        EXPECT_EQ(lists.quaternion[1 + 4 * i], names[i] + " q0");
        EXPECT_EQ(lists.quaternion[4 + 4 * i], names[i] + " q3");
    }

    const QStringList joints = QStringList{"Frame"} + bodyJointHeaders
        + QStringList{"Prop 1 x", "Prop 1 y", "Prop 1 z", "Prop 2 x", "Prop 2 y", "Prop 2 z",
                      "Prop 3 x", "Prop 3 y", "Prop 3 z", "Prop 4 x", "Prop 4 y", "Prop 4 z"};
    EXPECT_EQ(lists.joint, joints);
}

TEST(HeaderLists, ErgonomicCentreOfMassAndGlobalPositionAreFixed)
{
    FakeHost host;
    host.tPoseSegments = 23;
    const HeaderLists lists = buildHeaderLists(host);

    const char* ergonomicJoints[] = {"T8_Head", "T8_LeftUpperArm", "T8_RightUpperArm",
                                     "Pelvis_T8", "Vertical_Pelvis", "Vertical_T8"};
    ASSERT_EQ(lists.ergonomic.size(), 19);
    EXPECT_EQ(lists.ergonomic.first(), "Frame");
    for (int i = 0; i < 6; ++i) {
        const QString name = QString::fromLatin1(ergonomicJoints[i]);
        EXPECT_EQ(lists.ergonomic[1 + 3 * i], name + " Lateral Bending");
        EXPECT_EQ(lists.ergonomic[2 + 3 * i], name + " Axial Bending");
        EXPECT_EQ(lists.ergonomic[3 + 3 * i], name + " Flexion/Extension");
    }
    EXPECT_EQ(lists.ergonomic.last(), "Vertical_T8 Flexion/Extension");

    EXPECT_EQ(lists.centerOfMass, QStringList({"Frame", "CoM pos x", "CoM pos y", "CoM pos z", "CoM vel x",
                                               "CoM vel y", "CoM vel z", "CoM acc x", "CoM acc y", "CoM acc z"}));
    EXPECT_EQ(lists.globalPosition, QStringList({"Frame", "Latitude", "Longitude", "Altitude"}));
    EXPECT_EQ(lists.externalData, QStringList({"Frame", "Sample"}));
}

TEST(HeaderLists, ExternalChannelNamesAreUsedVerbatimInHostOrder)
{
    FakeHost host;
    host.channels = {"EMG 2", "EMG 1", QString::fromUtf8("Kraft \xc3\x9c & <x>"), ""};
    const HeaderLists lists = buildHeaderLists(host);
    EXPECT_EQ(lists.externalData, QStringList({"Frame", "Sample"}) + host.channels);
}

TEST(HeaderLists, SheetsTakeTheirListsFromTheCatalogue)
{
    FakeHost host;
    host.tPoseSegments = 24;
    host.fingerSegmentsNamed[ZtHandLeft] = host.fingerSegmentsNamed[ZtHandRight] = true;
    const HeaderLists lists = buildHeaderLists(host);

    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::SegmentOriQuat).headers), lists.quaternion);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::SensorOri).headers), lists.quaternion);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::SegmentPos).headers), lists.segment);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::SensorMagField).headers), lists.segment);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::SegmentAngAcc).headers), lists.bodySegment);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::JointAnglesXzy).headers), lists.joint);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::ErgJointAngles).headers), lists.ergonomic);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::CenterOfMass).headers), lists.centerOfMass);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::GlobalPosition).headers), lists.globalPosition);
    EXPECT_EQ(lists.forSheet(sheetEntry(SheetId::ExternalData).headers), lists.externalData);
    EXPECT_TRUE(lists.forSheet(sheetEntry(SheetId::GeneralInfo).headers).isEmpty());
    EXPECT_NE(lists.segment, lists.bodySegment);
}

TEST(FingerTrackingHeaders, EachHandAddsItsSegmentsAndJointsAfterTheBody)
{
    for (const int tPoseSegments : {23, 27}) {
        SCOPED_TRACE(tPoseSegments);
        FakeHost bodyOnly;
        bodyOnly.tPoseSegments = tPoseSegments;
        const HeaderLists body = buildHeaderLists(bodyOnly);

        FakeHost host;
        host.tPoseSegments = tPoseSegments;
        host.fingerSegmentsNamed[ZtHandLeft] = host.fingerSegmentsNamed[ZtHandRight] = true;
        host.jointRecords[ZtHandLeft] = jointRecordsNamed("l", 19);
        host.jointRecords[ZtHandRight] = jointRecordsNamed("r", 19);
        const HeaderLists lists = buildHeaderLists(host);

        EXPECT_TRUE(lists.hasFingerTracking);
        ASSERT_EQ(lists.segment.size(), body.segment.size() + 120);
        ASSERT_EQ(lists.quaternion.size(), body.quaternion.size() + 160);
        ASSERT_EQ(lists.joint.size(), body.joint.size() + 114);
        EXPECT_EQ(lists.bodySegment, body.segment);
        EXPECT_EQ(lists.segment.mid(0, body.segment.size()), body.segment);
        EXPECT_EQ(lists.quaternion.mid(0, body.quaternion.size()), body.quaternion);
        EXPECT_EQ(lists.joint.mid(0, body.joint.size()), body.joint);

        const qsizetype s = body.segment.size();
        EXPECT_EQ(lists.segment[s], "LeftFinger0 x");
        EXPECT_EQ(lists.segment[s + 59], "LeftFinger19 z");
        EXPECT_EQ(lists.segment[s + 60], "RightFinger0 x");
        EXPECT_EQ(lists.segment.last(), "RightFinger19 z");

        const qsizetype q = body.quaternion.size();
        EXPECT_EQ(lists.quaternion[q], "LeftFinger0 q0");
        EXPECT_EQ(lists.quaternion[q + 79], "LeftFinger19 q3");
        EXPECT_EQ(lists.quaternion[q + 80], "RightFinger0 q0");
        EXPECT_EQ(lists.quaternion.last(), "RightFinger19 q3");

        const qsizetype j = body.joint.size();
        EXPECT_EQ(lists.joint[j], "Joint0 Abduction/Adduction");
        EXPECT_EQ(lists.joint[j + 1], "Joint0 Internal/External Rotation");
        EXPECT_EQ(lists.joint[j + 2], "Joint0 Flexion/Extension");
        EXPECT_EQ(lists.joint[j + 56], "Joint18 Flexion/Extension");
        EXPECT_EQ(lists.joint[j + 57], "Joint0 Abduction/Adduction");
        EXPECT_EQ(lists.joint.last(), "Joint18 Flexion/Extension");
    }
}

TEST(FingerTrackingHeaders, OnlyASecondHandSegmentNameSwitchesFingerTrackingOn)
{
    FakeHost host;
    host.tPoseSegments = 27;
    host.fingerSegmentsNamed[ZtHandLeft] = true;
    host.jointRecords[ZtHandLeft] = jointRecordsNamed("l", 19);
    const HeaderLists lists = buildHeaderLists(host);
    EXPECT_FALSE(lists.hasFingerTracking);
    EXPECT_EQ(lists.segment.size(), 82);
    EXPECT_EQ(lists.quaternion.size(), 109);
    EXPECT_EQ(lists.joint.size(), 79);
}

TEST(FingerTrackingHeaders, JointNamesAreUtf8AndMissingRecordsGiveEmptyLabels)
{
    FakeHost host;
    host.tPoseSegments = 27;
    host.fingerSegmentsNamed[ZtHandLeft] = host.fingerSegmentsNamed[ZtHandRight] = true;
    host.jointRecords[ZtHandLeft] = {BkeJointInfo{ZtString{"jMittel\xc3\x96""ffnung"}}};
    const HeaderLists lists = buildHeaderLists(host);

    ASSERT_EQ(lists.joint.size(), 79 + 114);
    EXPECT_EQ(lists.joint[79], QString::fromUtf8("Mittel \xc3\x96""ffnung Abduction/Adduction"));
    EXPECT_EQ(lists.joint[79 + 3], " Abduction/Adduction");
    EXPECT_EQ(lists.joint[79 + 56], " Flexion/Extension");
    EXPECT_EQ(lists.joint.last(), " Flexion/Extension");
}

TEST(FingerJointLabel, DropsThePrefixAndSeparatesCapitalisedWords)
{
    EXPECT_EQ(fingerJointLabel("xAbcDEF"), "Abc DEF");
    EXPECT_EQ(fingerJointLabel("lIndexProximalJoint"), "Index Proximal Joint");
    EXPECT_EQ(fingerJointLabel("xabcDef"), "abc Def");
    EXPECT_EQ(fingerJointLabel("xABc"), "ABc");
    EXPECT_EQ(fingerJointLabel("xa1B"), "a1 B");
    EXPECT_EQ(fingerJointLabel("xA"), "A");
    EXPECT_EQ(fingerJointLabel("xy"), "y");
}

TEST(FingerJointLabel, NamesShorterThanTwoCharactersGiveNoLabel)
{
    EXPECT_EQ(fingerJointLabel(""), "");
    EXPECT_EQ(fingerJointLabel("x"), "");
    EXPECT_EQ(fingerJointLabel(QString::fromUtf8("\xc3\x84")), "");
}

TEST(FingerJointLabel, NonAsciiCapitalsStartWordsToo)
{
    EXPECT_EQ(fingerJointLabel(QString::fromUtf8("xgr\xc3\xb6\xc3\x9f""e\xc3\x84nderung")),
              QString::fromUtf8("gr\xc3\xb6\xc3\x9f""e \xc3\x84nderung"));
    // Greek capital beta after a small alpha.
    EXPECT_EQ(fingerJointLabel(QString::fromUtf8("x\xce\xb1\xce\x92")), QString::fromUtf8("\xce\xb1 \xce\x92"));
    // Deseret capitals lie outside the basic plane and still count as capitals.
    EXPECT_EQ(fingerJointLabel(QString::fromUtf8("x\xf0\x90\x90\x80""a\xf0\x90\x90\x81")),
              QString::fromUtf8("\xf0\x90\x90\x80""a \xf0\x90\x90\x81"));
}

} // namespace
