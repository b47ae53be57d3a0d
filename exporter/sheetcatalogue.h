#pragma once

// The catalogue of worksheets: one row per kind of data, in the order in which sheets are
// numbered, created, filled and added to the workbook. Settings registration, header rows,
// frame rows and package assembly all follow this table.

#include <array>
#include <cstddef>
#include <optional>

enum class SheetId {
    GeneralInfo,
    Markers,
    SegmentOriQuat,
    SegmentOriEuler,
    SegmentPos,
    SegmentVel,
    SegmentAcc,
    SegmentAngVel,
    SegmentAngAcc,
    JointAngles,
    JointAnglesXzy,
    ErgJointAngles,
    ErgJointAnglesXzy,
    CenterOfMass,
    GlobalPosition,
    ExternalData,
    SensorFreeAcc,
    SensorMagField,
    SensorOri,
    SensorOriEuler,
};

// Which header list a sheet's row 1 holds.
enum class HeaderList {
    None,          // General Information: label and value rows
    Markers,       // "Frame", "Marker Text"
    Segment,       // per segment x, y, z; with finger segments
    Quaternion,    // per segment q0..q3; with finger segments
    BodySegment,   // the segment list before the finger extension
    Joint,         // per joint three angles; with finger joints
    Ergonomic,
    CenterOfMass,
    GlobalPosition,
    ExternalData,  // "Frame", "Sample", the channel names
};

// The `spans` value the sheet's frame rows carry.
enum class RowSpan {
    None,
    Vector3,     // length of the segment list
    Quaternion,  // length of the quaternion list
    Joint,       // length of the joint list
    Ergonomic,   // length of the ergonomic list
    Four,        // the literal 4
    External,    // 2 + the number of channels
};

struct SheetEntry
{
    SheetId id;
    const char* key;    // settings key
    const char* title;  // tab title, also the settings description
    HeaderList headers;
    RowSpan span;
    int hiddenColumnsPerSegment;  // sensor sheets: segments without a valid sensor are hidden
};

inline constexpr std::array<SheetEntry, 20> sheetCatalogue = {{
    {SheetId::GeneralInfo, "generalInfo", "General Information", HeaderList::None, RowSpan::None, 0},
    {SheetId::Markers, "markers", "Markers", HeaderList::Markers, RowSpan::None, 0},
    {SheetId::SegmentOriQuat, "segmentOriQuat", "Segment Orientation - Quat", HeaderList::Quaternion, RowSpan::Quaternion, 0},
    {SheetId::SegmentOriEuler, "segmentOriEuler", "Segment Orientation - Euler", HeaderList::Segment, RowSpan::Vector3, 0},
    {SheetId::SegmentPos, "segmentPos", "Segment Position", HeaderList::Segment, RowSpan::Vector3, 0},
    {SheetId::SegmentVel, "segmentVel", "Segment Velocity", HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::SegmentAcc, "segmentAcc", "Segment Acceleration", HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::SegmentAngVel, "segmentAngVel", "Segment Angular Velocity", HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::SegmentAngAcc, "segmentAngAcc", "Segment Angular Acceleration", HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::JointAngles, "jointAngles", "Joint Angles ZXY", HeaderList::Joint, RowSpan::Joint, 0},
    {SheetId::JointAnglesXzy, "jointAnglesXZY", "Joint Angles XZY", HeaderList::Joint, RowSpan::Joint, 0},
    {SheetId::ErgJointAngles, "ergJointAngles", "Ergonomic Joint Angles ZXY", HeaderList::Ergonomic, RowSpan::Ergonomic, 0},
    {SheetId::ErgJointAnglesXzy, "ergJointAnglesXZY", "Ergonomic Joint Angles XZY", HeaderList::Ergonomic, RowSpan::Ergonomic, 0},
    {SheetId::CenterOfMass, "centerOfMass", "Center of Mass", HeaderList::CenterOfMass, RowSpan::Four, 0},
    {SheetId::GlobalPosition, "globalPosition", "Global Position", HeaderList::GlobalPosition, RowSpan::Four, 0},
    {SheetId::ExternalData, "externalData", "External Data", HeaderList::ExternalData, RowSpan::External, 0},
    {SheetId::SensorFreeAcc, "sensorFreeAcc", "Sensor Free Acceleration", HeaderList::Segment, RowSpan::Vector3, 3},
    {SheetId::SensorMagField, "sensorMagField", "Sensor Magnetic Field", HeaderList::Segment, RowSpan::Vector3, 3},
    {SheetId::SensorOri, "sensorOri", "Sensor Orientation - Quat", HeaderList::Quaternion, RowSpan::Vector3, 4},
    {SheetId::SensorOriEuler, "sensorOriEuler", "Sensor Orientation - Euler", HeaderList::Segment, RowSpan::Vector3, 3},
}};

inline constexpr const SheetEntry& sheetEntry(SheetId id) { return sheetCatalogue[static_cast<std::size_t>(id)]; }

// The exporter's sheet switches exist for every sheet but General Information (always
// written): index 0 is Markers, then the data sheets in catalogue order.
inline constexpr int SheetSwitchCount = 19;
inline constexpr int switchIndex(SheetId id) { return static_cast<int>(id) - 1; }

// The exporter's member part files exist for the 18 data sheets, in catalogue order.
inline constexpr int DataSheetCount = 18;
inline constexpr int dataSheetSlot(SheetId id) { return static_cast<int>(id) - 2; }
inline constexpr SheetId dataSheetAt(int slot) { return static_cast<SheetId>(slot + 2); }
