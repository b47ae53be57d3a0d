#include "headerlists.h"

#include "abstracttavistudioplugininterface.h"

#include <QChar>

#include <array>

namespace {

constexpr int BodySegmentCount = 23;
constexpr int PropCount = 4;

// The three angle headers of a joint are its name followed by these texts, in column order.
struct JointAxes
{
    const char* joint;
    const char* first;
    const char* second;
    const char* third;
};

constexpr const char* LateralBending = " Lateral Bending";
constexpr const char* AxialRotation = " Axial Rotation";
constexpr const char* FlexionExtension = " Flexion/Extension";
constexpr const char* AbductionAdduction = " Abduction/Adduction";
constexpr const char* InternalExternalRotation = " Internal/External Rotation";
constexpr const char* UlnarRadialDeviation = " Ulnar Deviation/Radial Deviation";
constexpr const char* PronationSupination = " Pronation/Supination";
constexpr const char* DorsiPlantarflexion = " Dorsiflexion/Plantarflexion";

// L5S1 says "Axial Bending" where the other spine joints say "Axial Rotation", and the ankles
// flex "Dorsiflexion/Plantarflexion": users' spreadsheets refer to these exact labels.
constexpr std::array<JointAxes, 22> bodyJoints = {{
    {"L5S1", LateralBending, " Axial Bending", FlexionExtension},
    {"L4L3", LateralBending, AxialRotation, FlexionExtension},
    {"L1T12", LateralBending, AxialRotation, FlexionExtension},
    {"T9T8", LateralBending, AxialRotation, FlexionExtension},
    {"T1C7", LateralBending, AxialRotation, FlexionExtension},
    {"C1 Head", LateralBending, AxialRotation, FlexionExtension},
    {"Right T4 Shoulder", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Right Shoulder", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Right Elbow", UlnarRadialDeviation, PronationSupination, FlexionExtension},
    {"Right Wrist", UlnarRadialDeviation, PronationSupination, FlexionExtension},
    {"Left T4 Shoulder", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Left Shoulder", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Left Elbow", UlnarRadialDeviation, PronationSupination, FlexionExtension},
    {"Left Wrist", UlnarRadialDeviation, PronationSupination, FlexionExtension},
    {"Right Hip", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Right Knee", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Right Ankle", AbductionAdduction, InternalExternalRotation, DorsiPlantarflexion},
    {"Right Ball Foot", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Left Hip", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Left Knee", AbductionAdduction, InternalExternalRotation, FlexionExtension},
    {"Left Ankle", AbductionAdduction, InternalExternalRotation, DorsiPlantarflexion},
    {"Left Ball Foot", AbductionAdduction, InternalExternalRotation, FlexionExtension},
}};

// In the host's ErgoIdx order.
constexpr std::array<const char*, 6> ergonomicJoints = {
    "T8_Head",
    "T8_LeftUpperArm",
    "T8_RightUpperArm",
    "Pelvis_T8",
    "Vertical_Pelvis",
    "Vertical_T8",
};

const QString Frame = QStringLiteral("Frame");

void appendVectorHeaders(QStringList& list, const QString& name)
{
    list << name + QLatin1String(" x") << name + QLatin1String(" y") << name + QLatin1String(" z");
}

void appendQuaternionHeaders(QStringList& list, const QString& name)
{
    list << name + QLatin1String(" q0") << name + QLatin1String(" q1") << name + QLatin1String(" q2")
         << name + QLatin1String(" q3");
}

void appendFingerJointHeaders(QStringList& list, const QString& label)
{
    list << label + QLatin1String(AbductionAdduction) << label + QLatin1String(InternalExternalRotation)
         << label + QLatin1String(FlexionExtension);
}

void removeLast(QStringList& list, qsizetype count)
{
    list.remove(list.size() - count, count);
}

// The T-pose segment count tells how many props the suit carries: 23 is the bare body, each
// further segment one prop. Any other count keeps every prop column.
int missingProps(int tPoseSegmentCount)
{
    if (tPoseSegmentCount >= BodySegmentCount && tPoseSegmentCount < BodySegmentCount + PropCount)
        return BodySegmentCount + PropCount - tPoseSegmentCount;
    return 0;
}

void appendFingerHeaders(HeaderLists& lists, const AbstractTaviStudioPluginInterface& host, ZtHandId hand)
{
    const ZtArray<BkeJointInfo> joints = host.fingerTrackingJointInfoList(hand);
    for (int i = 0; i < ZtFingerSegmentsPerHand; ++i) {
        const QString segment = host.fingerTrackingSegmentName(hand, i);
        appendVectorHeaders(lists.segment, segment);
        appendQuaternionHeaders(lists.quaternion, segment);
        if (i == ZtFingerJointsPerHand)
            break;
        // A host that sends fewer joint records than joints gets labels from an empty name.
        const QString jointName = static_cast<std::size_t>(i) < joints.size()
            ? QString::fromUtf8(joints[i].name.text.data(), static_cast<qsizetype>(joints[i].name.text.size()))
            : QString();
        appendFingerJointHeaders(lists.joint, fingerJointLabel(jointName));
    }
}

} // namespace

const QStringList& segmentNames()
{
    static const QStringList names = {
        QStringLiteral("Pelvis"),
        QStringLiteral("L5"),
        QStringLiteral("L3"),
        QStringLiteral("T12"),
        QStringLiteral("T8"),
        QStringLiteral("Neck"),
        QStringLiteral("Head"),
        QStringLiteral("Right Shoulder"),
        QStringLiteral("Right Upper Arm"),
        QStringLiteral("Right Forearm"),
        QStringLiteral("Right Hand"),
        QStringLiteral("Left Shoulder"),
        QStringLiteral("Left Upper Arm"),
        QStringLiteral("Left Forearm"),
        QStringLiteral("Left Hand"),
        QStringLiteral("Right Upper Leg"),
        QStringLiteral("Right Lower Leg"),
        QStringLiteral("Right Foot"),
        QStringLiteral("Right Toe"),
        QStringLiteral("Left Upper Leg"),
        QStringLiteral("Left Lower Leg"),
        QStringLiteral("Left Foot"),
        QStringLiteral("Left Toe"),
        QStringLiteral("Prop Tracker 1"),
        QStringLiteral("Prop Tracker 2"),
        QStringLiteral("Prop Tracker 3"),
        QStringLiteral("Prop Tracker 4"),
    };
    return names;
}

const QStringList& HeaderLists::forSheet(HeaderList list) const
{
    static const QStringList none;
    switch (list) {
    case HeaderList::Segment:
        return segment;
    case HeaderList::Quaternion:
        return quaternion;
    case HeaderList::BodySegment:
        return bodySegment;
    case HeaderList::Joint:
        return joint;
    case HeaderList::Ergonomic:
        return ergonomic;
    case HeaderList::CenterOfMass:
        return centerOfMass;
    case HeaderList::GlobalPosition:
        return globalPosition;
    case HeaderList::ExternalData:
        return externalData;
    case HeaderList::None:
    case HeaderList::Markers:
        break; // General Information has none; finalize writes the Markers row
    }
    return none;
}

HeaderLists buildHeaderLists(const AbstractTaviStudioPluginInterface& host)
{
    HeaderLists lists;

    lists.segment << Frame;
    lists.quaternion << Frame;
    for (const QString& name : segmentNames()) {
        appendVectorHeaders(lists.segment, name);
        appendQuaternionHeaders(lists.quaternion, name);
    }

    lists.joint << Frame;
    for (const JointAxes& j : bodyJoints) {
        const QString joint = QLatin1String(j.joint);
        lists.joint << joint + QLatin1String(j.first) << joint + QLatin1String(j.second)
                    << joint + QLatin1String(j.third);
    }
    for (int prop = 1; prop <= PropCount; ++prop)
        appendVectorHeaders(lists.joint, QStringLiteral("Prop %1").arg(prop));

    lists.ergonomic << Frame;
    for (const char* name : ergonomicJoints) {
        const QString joint = QLatin1String(name);
        lists.ergonomic << joint + QLatin1String(LateralBending) << joint + QLatin1String(" Axial Bending")
                        << joint + QLatin1String(FlexionExtension);
    }

    lists.centerOfMass << Frame;
    for (const char* quantity : {"CoM pos", "CoM vel", "CoM acc"})
        appendVectorHeaders(lists.centerOfMass, QLatin1String(quantity));

    lists.globalPosition = {Frame, QStringLiteral("Latitude"), QStringLiteral("Longitude"), QStringLiteral("Altitude")};
    lists.externalData = QStringList{Frame, QStringLiteral("Sample")} + host.externalChannelNames();

    const int propsToRemove = missingProps(host.tPose().segmentStateCount());
    removeLast(lists.segment, 3 * propsToRemove);
    removeLast(lists.joint, 3 * propsToRemove);
    removeLast(lists.quaternion, 4 * propsToRemove);

    // The kinematic sheets have no finger columns.
    lists.bodySegment = lists.segment;

    if (!host.fingerTrackingSegmentName(ZtHandRight, 0).isEmpty()) {
        lists.hasFingerTracking = true;
        appendFingerHeaders(lists, host, ZtHandLeft);
        appendFingerHeaders(lists, host, ZtHandRight);
    }
    return lists;
}

QString fingerJointLabel(const QString& name)
{
    // Walk code points so that capitals outside the BMP count as capitals too.
    const QList<uint> characters = name.toUcs4();
    if (characters.size() < 2)
        return QString();

    // The first character is a prefix and is dropped.
    QString label;
    bool lastWasUpper = true; // no blank before the label's first character
    for (qsizetype i = 1; i < characters.size(); ++i) {
        const char32_t c = characters[i];
        const bool upper = QChar::isUpper(c);
        if (upper && !lastWasUpper)
            label += QLatin1Char(' ');
        label += QString::fromUcs4(&c, 1);
        lastWasUpper = upper;
    }
    return label;
}
