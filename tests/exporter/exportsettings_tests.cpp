#include "abstractsettingssynchronizer.h"
#include "exportsettings.h"

#include <gtest/gtest.h>

#include <QMetaType>

namespace {

struct ExpectedSetting
{
    const char* key;
    QVariant value;
    const char* description;
};

const ExpectedSetting expectedSettings[] = {
    {"frameSkip", QVariant(0), "The number of frames to skip between exported frames, use for downsampling."},
    {"generalInfo", QVariant(true), "General Information"},
    {"markers", QVariant(true), "Markers"},
    {"segmentOriQuat", QVariant(true), "Segment Orientation - Quat"},
    {"segmentOriEuler", QVariant(true), "Segment Orientation - Euler"},
    {"segmentPos", QVariant(true), "Segment Position"},
    {"segmentVel", QVariant(true), "Segment Velocity"},
    {"segmentAcc", QVariant(true), "Segment Acceleration"},
    {"segmentAngVel", QVariant(true), "Segment Angular Velocity"},
    {"segmentAngAcc", QVariant(true), "Segment Angular Acceleration"},
    {"centerOfMass", QVariant(true), "Center of Mass"},
    {"globalPosition", QVariant(true), "Global Position"},
    {"externalData", QVariant(true), "External Data"},
    {"jointAngles", QVariant(true), "Joint Angles ZXY"},
    {"jointAnglesXZY", QVariant(true), "Joint Angles XZY"},
    {"ergJointAngles", QVariant(true), "Ergonomic Joint Angles ZXY"},
    {"ergJointAnglesXZY", QVariant(true), "Ergonomic Joint Angles XZY"},
    {"sensorOri", QVariant(true), "Sensor Orientation - Quat"},
    {"sensorOriEuler", QVariant(true), "Sensor Orientation - Euler"},
    {"sensorFreeAcc", QVariant(true), "Sensor Free Acceleration"},
    {"sensorMagField", QVariant(true), "Sensor Magnetic Field"},
};

// Switch index of each key as the exporter's flags use it.
const char* const switchKeys[SheetSwitchCount] = {
    "markers", "segmentOriQuat", "segmentOriEuler", "segmentPos", "segmentVel", "segmentAcc",
    "segmentAngVel", "segmentAngAcc", "jointAngles", "jointAnglesXZY", "ergJointAngles",
    "ergJointAnglesXZY", "centerOfMass", "globalPosition", "externalData", "sensorFreeAcc",
    "sensorMagField", "sensorOri", "sensorOriEuler",
};

// Answers from a map (an invalid QVariant for a key it lacks) and logs every key asked.
class RecordingStore : public AbstractSettingsSynchronizer
{
public:
    QMap<QString, QVariant> values;
    mutable QStringList asked;

    QVariant value(const QString& key) const override
    {
        asked << key;
        return values.value(key);
    }
    void setValue(const QString& key, const QVariant& value) override { values.insert(key, value); }
};

TEST(ExportSettingDefaults, RegisterTwentyOneKeysWithTypedDefaultsAndDescriptions)
{
    const QMap<QString, QVariant> defaults = exportSettingDefaults();
    const QMap<QString, QString> descriptions = exportSettingDescriptions();
    ASSERT_EQ(defaults.size(), 21);
    ASSERT_EQ(descriptions.size(), 21);
    for (const ExpectedSetting& expected : expectedSettings) {
        SCOPED_TRACE(expected.key);
        ASSERT_TRUE(defaults.contains(expected.key));
        EXPECT_EQ(defaults[expected.key].typeId(), expected.value.typeId());
        EXPECT_EQ(defaults[expected.key], expected.value);
        EXPECT_EQ(descriptions.value(expected.key), QString::fromLatin1(expected.description));
    }
}

TEST(LoadExportSettings, AsksFrameSkipFirstThenTheDataSheetsThenMarkers)
{
    RecordingStore store;
    loadExportSettings(&store);
    const QStringList expectedOrder = {
        "frameSkip", "segmentOriQuat", "segmentOriEuler", "segmentPos", "segmentVel", "segmentAcc",
        "segmentAngVel", "segmentAngAcc", "jointAngles", "jointAnglesXZY", "ergJointAngles",
        "ergJointAnglesXZY", "centerOfMass", "globalPosition", "externalData", "sensorFreeAcc",
        "sensorMagField", "sensorOri", "sensorOriEuler", "markers",
    };
    EXPECT_EQ(store.asked, expectedOrder);
    EXPECT_FALSE(store.asked.contains("generalInfo"));
}

TEST(LoadExportSettings, FreshDefaultsExportEveryFrameAndSheet)
{
    RecordingStore store;
    store.values = exportSettingDefaults();
    const ExportSettings settings = loadExportSettings(&store);
    EXPECT_EQ(settings.frameSkip, 0);
    for (int i = 0; i < SheetSwitchCount; ++i)
        EXPECT_TRUE(settings.sheetEnabled[i]) << switchKeys[i];
}

TEST(LoadExportSettings, EachKeyFillsItsOwnSwitch)
{
    for (int cleared = 0; cleared < SheetSwitchCount; ++cleared) {
        SCOPED_TRACE(switchKeys[cleared]);
        RecordingStore store;
        store.values = exportSettingDefaults();
        store.values.insert(switchKeys[cleared], false);
        const ExportSettings settings = loadExportSettings(&store);
        for (int i = 0; i < SheetSwitchCount; ++i)
            EXPECT_EQ(settings.sheetEnabled[i], i != cleared) << switchKeys[i];
    }
}

TEST(LoadExportSettings, ValuesPassUnvalidated)
{
    RecordingStore store;
    store.values = exportSettingDefaults();
    store.values.insert("frameSkip", -1);
    store.values.insert("generalInfo", false);
    EXPECT_EQ(loadExportSettings(&store).frameSkip, -1);

    store.values.insert("frameSkip", QStringLiteral("3"));
    EXPECT_EQ(loadExportSettings(&store).frameSkip, 3);

    store.values.insert("frameSkip", QStringLiteral("every other"));
    EXPECT_EQ(loadExportSettings(&store).frameSkip, 0);
}

TEST(LoadExportSettings, MissingKeysReadZeroAndFalse)
{
    RecordingStore empty;
    empty.values.insert("markers", true);
    const ExportSettings settings = loadExportSettings(&empty);
    EXPECT_EQ(settings.frameSkip, 0);
    EXPECT_TRUE(settings.sheetEnabled[switchIndex(SheetId::Markers)]);
    for (int i = 1; i < SheetSwitchCount; ++i)
        EXPECT_FALSE(settings.sheetEnabled[i]) << switchKeys[i];
}

TEST(LoadExportSettings, NullStoreLeavesEverythingOff)
{
    const ExportSettings settings = loadExportSettings(nullptr);
    EXPECT_EQ(settings.frameSkip, 0);
    for (int i = 0; i < SheetSwitchCount; ++i)
        EXPECT_FALSE(settings.sheetEnabled[i]) << switchKeys[i];
}

} // namespace
