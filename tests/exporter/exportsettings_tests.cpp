#include "exportsettings.h"
#include "sheetcatalogue.h"

#include "fakesettings.h"

#include <gtest/gtest.h>

#include <QMetaType>

#include <climits>
#include <array>
#include <utility>

namespace {

// The settings key of each of the exporter's sheet switches, by index.
std::array<QString, SheetSwitchCount> switchKeys()
{
    std::array<QString, SheetSwitchCount> keys;
    for (const SheetEntry& entry : sheetCatalogue)
        if (entry.id != SheetId::GeneralInfo)
            keys[switchIndex(entry.id)] = QString::fromLatin1(entry.key);
    return keys;
}

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
    for (const SheetEntry& entry : sheetCatalogue) {
        EXPECT_EQ(defaults.value(entry.key).typeId(), QMetaType::Bool) << entry.key;
        EXPECT_EQ(defaults.value(entry.key), QVariant(true)) << entry.key;
        EXPECT_EQ(descriptions.value(entry.key), entry.title) << entry.key;
    }
}

TEST(LoadExportSettings, ReadsEachKeyIntoItsOwnSwitchInCatalogueOrder)
{
    // Asked for "frameSkip", then the data sheets in switch order, and "markers" last.
    const std::array<QString, SheetSwitchCount> keys = switchKeys();
    QStringList order{"frameSkip"};
    order.append(QStringList(keys.begin() + 1, keys.end()));
    order << "markers";

    // -1 clears nothing: fresh defaults export every frame and every sheet.
    for (int cleared = -1; cleared < SheetSwitchCount; ++cleared) {
        FakeSettings store(exportSettingDefaults());
        if (cleared >= 0)
            store.values.insert(keys[cleared], false);
        const ExportSettings settings = loadExportSettings(&store);
        EXPECT_EQ(store.asked, order);
        EXPECT_EQ(settings.frameSkip, 0);
        for (int i = 0; i < SheetSwitchCount; ++i)
            EXPECT_EQ(settings.sheetEnabled[i], i != cleared)
                << "cleared " << (cleared < 0 ? QString() : keys[cleared]).toStdString() << ", switch " << i;
    }
}

TEST(LoadExportSettings, FrameSkipIsBroughtIntoRange)
{
    const std::pair<QVariant, int> cases[] = {{QVariant(-1), 0}, {QVariant(INT_MIN), 0},
        {QVariant(QStringLiteral("3")), 3}, {QVariant(QStringLiteral("every other")), 0},
        {QVariant(FrameSkipLimit), FrameSkipLimit}, {QVariant(QStringLiteral("2147483647")), FrameSkipLimit},
        {QVariant(qlonglong{1} << 40), FrameSkipLimit}};
    for (const auto& [stored, expected] : cases) {
        FakeSettings store(exportSettingDefaults());
        store.values.insert("frameSkip", stored);
        EXPECT_EQ(loadExportSettings(&store).frameSkip, expected) << stored.toString().toStdString();
    }
}

TEST(LoadExportSettings, MissingKeysAndANullStoreReadZeroAndFalse)
{
    const FakeSettings onlyMarkers({{"markers", true}});
    const ExportSettings fromStore = loadExportSettings(&onlyMarkers);
    const ExportSettings fromNull = loadExportSettings(nullptr);
    EXPECT_EQ(fromStore.frameSkip, 0);
    EXPECT_EQ(fromNull.frameSkip, 0);
    for (int i = 0; i < SheetSwitchCount; ++i) {
        EXPECT_EQ(fromStore.sheetEnabled[i], i == switchIndex(SheetId::Markers)) << i;
        EXPECT_FALSE(fromNull.sheetEnabled[i]) << i;
    }
}

} // namespace
