#pragma once

// The catalogue of worksheets: one row per kind of data, in the order in which sheets are
// numbered, created, filled and added to the workbook. Settings registration, header rows,
// frame rows and package assembly all follow this table.

#include <QtGlobal>

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
    None,        // General Information: label and value rows
    Markers,     // "Frame", "Marker Text"
    Segment,     // per segment x, y, z; with finger segments
    Quaternion,  // per segment q0..q3; with finger segments
    BodySegment, // the segment list before the finger extension
    Joint,       // per joint three angles; with finger joints
    Ergonomic,
    CenterOfMass,
    GlobalPosition,
    ExternalData, // "Frame", "Sample", the channel names
};

// The `spans` value the sheet's frame rows carry.
enum class RowSpan {
    None,
    Vector3,    // length of the segment list
    Quaternion, // length of the quaternion list
    Joint,      // length of the joint list
    Ergonomic,  // length of the ergonomic list
    Four,       // the literal 4
    External,   // 2 + the number of channels
};

struct SheetEntry
{
    SheetId id;
    const char* key;   // settings key
    const char* title; // tab title, also the settings description and the check box text
    HeaderList headers;
    RowSpan span;
    int hiddenColumnsPerSegment; // sensor sheets: segments without a valid sensor are hidden
};

// Titles are marked for translation in the options page's context, where they label the
// check boxes; tab titles in the workbook stay as they are.
inline constexpr auto sheetCatalogue = std::to_array<SheetEntry>({
    {SheetId::GeneralInfo, "generalInfo", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "General Information"), HeaderList::None, RowSpan::None, 0},
    {SheetId::Markers, "markers", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Markers"), HeaderList::Markers, RowSpan::None, 0},
    {SheetId::SegmentOriQuat, "segmentOriQuat", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Orientation - Quat"), HeaderList::Quaternion, RowSpan::Quaternion, 0},
    {SheetId::SegmentOriEuler, "segmentOriEuler", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Orientation - Euler"), HeaderList::Segment, RowSpan::Vector3, 0},
    {SheetId::SegmentPos, "segmentPos", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Position"), HeaderList::Segment, RowSpan::Vector3, 0},
    {SheetId::SegmentVel, "segmentVel", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Velocity"), HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::SegmentAcc, "segmentAcc", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Acceleration"), HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::SegmentAngVel, "segmentAngVel", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Angular Velocity"), HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::SegmentAngAcc, "segmentAngAcc", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Segment Angular Acceleration"), HeaderList::BodySegment, RowSpan::Vector3, 0},
    {SheetId::JointAngles, "jointAngles", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Joint Angles ZXY"), HeaderList::Joint, RowSpan::Joint, 0},
    {SheetId::JointAnglesXzy, "jointAnglesXZY", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Joint Angles XZY"), HeaderList::Joint, RowSpan::Joint, 0},
    {SheetId::ErgJointAngles, "ergJointAngles", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Ergonomic Joint Angles ZXY"), HeaderList::Ergonomic, RowSpan::Ergonomic, 0},
    {SheetId::ErgJointAnglesXzy, "ergJointAnglesXZY", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Ergonomic Joint Angles XZY"), HeaderList::Ergonomic, RowSpan::Ergonomic, 0},
    {SheetId::CenterOfMass, "centerOfMass", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Center of Mass"), HeaderList::CenterOfMass, RowSpan::Four, 0},
    {SheetId::GlobalPosition, "globalPosition", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Global Position"), HeaderList::GlobalPosition, RowSpan::Four, 0},
    {SheetId::ExternalData, "externalData", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "External Data"), HeaderList::ExternalData, RowSpan::External, 0},
    {SheetId::SensorFreeAcc, "sensorFreeAcc", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Sensor Free Acceleration"), HeaderList::Segment, RowSpan::Vector3, 3},
    {SheetId::SensorMagField, "sensorMagField", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Sensor Magnetic Field"), HeaderList::Segment, RowSpan::Vector3, 3},
    {SheetId::SensorOri, "sensorOri", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Sensor Orientation - Quat"), HeaderList::Quaternion, RowSpan::Vector3, 4},
    {SheetId::SensorOriEuler, "sensorOriEuler", QT_TRANSLATE_NOOP("ExcelExporterOptionsPage", "Sensor Orientation - Euler"), HeaderList::Segment, RowSpan::Vector3, 3},
});

inline constexpr const SheetEntry& sheetEntry(SheetId id) { return sheetCatalogue[static_cast<std::size_t>(id)]; }

// sheetEntry() indexes the table by id: row i must be the sheet SheetId(i).
inline constexpr bool catalogueFollowsSheetIds()
{
    for (std::size_t i = 0; i < sheetCatalogue.size(); ++i)
        if (sheetCatalogue[i].id != static_cast<SheetId>(i))
            return false;
    return true;
}
static_assert(catalogueFollowsSheetIds(), "row i of the sheet catalogue must be SheetId(i)");

// The exporter's sheet switches exist for every sheet but General Information (always
// written): index 0 is Markers, then the data sheets in catalogue order.
inline constexpr int SheetSwitchCount = static_cast<int>(sheetCatalogue.size()) - 1;
inline constexpr int switchIndex(SheetId id) { return static_cast<int>(id) - 1; }

// The exporter's member part files exist for the data sheets, in catalogue order: every
// sheet but General Information and Markers.
inline constexpr int DataSheetCount = static_cast<int>(sheetCatalogue.size()) - 2;
inline constexpr SheetId dataSheetAt(int slot) { return static_cast<SheetId>(slot + 2); }
