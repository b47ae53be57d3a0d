#include "abstractsettingssynchronizer.h"
#include "exportsettings.h"

#include <gtest/gtest.h>

#include <QMetaType>

#include <climits>
#include <utility>

namespace {

// Every sheet key with the description registered for it.
const std::pair<const char*, const char*> sheetSettings[] = {
    {"generalInfo", "General Information"},
    {"markers", "Markers"},
    {"segmentOriQuat", "Segment Orientation - Quat"},
    {"segmentOriEuler", "Segment Orientation - Euler"},
    {"segmentPos", "Segment Position"},
    {"segmentVel", "Segment Velocity"},
    {"segmentAcc", "Segment Acceleration"},
    {"segmentAngVel", "Segment Angular Velocity"},
    {"segmentAngAcc", "Segment Angular Acceleration"},
    {"centerOfMass", "Center of Mass"},
    {"globalPosition", "Global Position"},
    {"externalData", "External Data"},
    {"jointAngles", "Joint Angles ZXY"},
    {"jointAnglesXZY", "Joint Angles XZY"},
    {"ergJointAngles", "Ergonomic Joint Angles ZXY"},
    {"ergJointAnglesXZY", "Ergonomic Joint Angles XZY"},
    {"sensorOri", "Sensor Orientation - Quat"},
    {"sensorOriEuler", "Sensor Orientation - Euler"},
    {"sensorFreeAcc", "Sensor Free Acceleration"},
    {"sensorMagField", "Sensor Magnetic Field"},
};

// The key of each of the exporter's sheet switches, by index.
const char* const switchKeys[SheetSwitchCount] = {
    "markers",
    "segmentOriQuat",
    "segmentOriEuler",
    "segmentPos",
    "segmentVel",
    "segmentAcc",
    "segmentAngVel",
    "segmentAngAcc",
    "jointAngles",
    "jointAnglesXZY",
    "ergJointAngles",
    "ergJointAnglesXZY",
    "centerOfMass",
    "globalPosition",
    "externalData",
    "sensorFreeAcc",
    "sensorMagField",
    "sensorOri",
    "sensorOriEuler",
};

// Answers from a map (an invalid QVariant for a key it lacks) and logs every key asked.
class RecordingStore : public AbstractSettingsSynchronizer
{
public:
    explicit RecordingStore(QMap<QString, QVariant> initial = exportSettingDefaults())
        : values(std::move(initial))
    { }

    QVariant value(const QString& key) const override
    {
        asked << key;
        return values.value(key);
    }
    void setValue(const QString& key, const QVariant& value) override { values.insert(key, value); }

    QMap<QString, QVariant> values;
    mutable QStringList asked;
};

TEST(ExportSettingDefaults, TwentyOneKeysWithTypedDefaultsAndDescriptions)
{
    const QMap<QString, QVariant> defaults = exportSettingDefaults();
    const QMap<QString, QString> descriptions = exportSettingDescriptions();
    ASSERT_EQ(defaults.size(), 21);
    ASSERT_EQ(descriptions.size(), 21);
    EXPECT_EQ(defaults.value("frameSkip").typeId(), QMetaType::Int);
    EXPECT_EQ(defaults.value("frameSkip"), QVariant(0));
    EXPECT_EQ(descriptions.value("frameSkip"),
        "The number of frames to skip between exported frames, use for downsampling.");
    for (const auto& [key, description] : sheetSettings) {
        EXPECT_EQ(defaults.value(key).typeId(), QMetaType::Bool) << key;
        EXPECT_EQ(defaults.value(key), QVariant(true)) << key;
        EXPECT_EQ(descriptions.value(key), description) << key;
    }
}

TEST(LoadExportSettings, ReadsEachKeyIntoItsOwnSwitchInCatalogueOrder)
{
    // Asked for "frameSkip", then the data sheets in switch order, and "markers" last.
    QStringList order{"frameSkip"};
    for (int i = 1; i < SheetSwitchCount; ++i)
        order << switchKeys[i];
    order << "markers";

    // -1 clears nothing: fresh defaults export every frame and every sheet.
    for (int cleared = -1; cleared < SheetSwitchCount; ++cleared) {
        RecordingStore store;
        if (cleared >= 0)
            store.values.insert(switchKeys[cleared], false);
        const ExportSettings settings = loadExportSettings(&store);
        EXPECT_EQ(store.asked, order);
        EXPECT_EQ(settings.frameSkip, 0);
        for (int i = 0; i < SheetSwitchCount; ++i)
            EXPECT_EQ(settings.sheetEnabled[i], i != cleared)
                << "cleared " << (cleared < 0 ? "nothing" : switchKeys[cleared]) << ", switch " << switchKeys[i];
    }
}

TEST(LoadExportSettings, FrameSkipIsBroughtIntoRange)
{
    const std::pair<QVariant, int> cases[] = {{QVariant(-1), 0},
        {QVariant(INT_MIN), 0},
        {QVariant(QStringLiteral("3")), 3},
        {QVariant(QStringLiteral("every other")), 0},
        {QVariant(FrameSkipLimit), FrameSkipLimit},
        {QVariant(QStringLiteral("2147483647")), FrameSkipLimit},
        {QVariant(qlonglong{1} << 40), FrameSkipLimit}};
    for (const auto& [stored, expected] : cases) {
        RecordingStore store;
        store.values.insert("frameSkip", stored);
        EXPECT_EQ(loadExportSettings(&store).frameSkip, expected) << stored.toString().toStdString();
    }
}

TEST(LoadExportSettings, MissingKeysAndANullStoreReadZeroAndFalse)
{
    const RecordingStore onlyMarkers({{"markers", true}});
    const ExportSettings fromStore = loadExportSettings(&onlyMarkers);
    const ExportSettings fromNull = loadExportSettings(nullptr);
    EXPECT_EQ(fromStore.frameSkip, 0);
    EXPECT_EQ(fromNull.frameSkip, 0);
    for (int i = 0; i < SheetSwitchCount; ++i) {
        EXPECT_EQ(fromStore.sheetEnabled[i], i == switchIndex(SheetId::Markers)) << switchKeys[i];
        EXPECT_FALSE(fromNull.sheetEnabled[i]) << switchKeys[i];
    }
}

} // namespace
