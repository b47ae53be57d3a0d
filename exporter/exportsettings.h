#pragma once

// The export settings: "frameSkip" and one switch per worksheet of the catalogue, registered
// with the host's settings store by the factory and read by each exporter at initialize.

#include "sheetcatalogue.h"

#include <QMap>
#include <QString>
#include <QVariant>

#include <algorithm>
#include <array>

class AbstractSettingsSynchronizer;

inline constexpr const char* FrameSkipKey = "frameSkip";
// The largest frame skip applied; a larger stored value counts as this one. Frame numbers
// stay below a billion, so a skip this large keeps only the first frame of any recording.
inline constexpr int FrameSkipLimit = 1000000000;

// The frame skip applied for a stored "frameSkip" value: read wide and brought into
// 0..FrameSkipLimit (a negative one, which the options page stores when nothing is selected,
// counts as 0), so that no count or frame distance computed with skip + 1 can overflow.
// Inline, so that a host can tell the skip without linking the exporter.
inline int boundedFrameSkip(const QVariant& stored)
{
    return static_cast<int>(std::clamp<qlonglong>(stored.toLongLong(), 0, FrameSkipLimit));
}

// The 21 keys with their defaults ("frameSkip" int 0, every sheet key bool true).
QMap<QString, QVariant> exportSettingDefaults();
// The 21 keys with their descriptions (each sheet key's description is its tab title).
QMap<QString, QString> exportSettingDescriptions();

struct ExportSettings
{
    int frameSkip = 0;
    std::array<bool, SheetSwitchCount> sheetEnabled{}; // indexed by switchIndex()
};

// Reads "frameSkip", then the data-sheet switches in catalogue order, then "markers". A value
// that does not convert reads 0 or false; the frame skip is bounded by boundedFrameSkip(). A
// null store reads nothing.
ExportSettings loadExportSettings(const AbstractSettingsSynchronizer* store);
