#include "exportsettings.h"

#include "abstractsettingssynchronizer.h"

QMap<QString, QVariant> exportSettingDefaults()
{
    QMap<QString, QVariant> defaults;
    defaults.insert(QLatin1String(FrameSkipKey), QVariant(0));
    for (const SheetEntry& sheet : sheetCatalogue)
        defaults.insert(QLatin1String(sheet.key), QVariant(true));
    return defaults;
}

QMap<QString, QString> exportSettingDescriptions()
{
    QMap<QString, QString> descriptions;
    descriptions.insert(QLatin1String(FrameSkipKey),
        QStringLiteral("The number of frames to skip between exported frames, use for downsampling."));
    for (const SheetEntry& sheet : sheetCatalogue)
        descriptions.insert(QLatin1String(sheet.key), QLatin1String(sheet.title));
    return descriptions;
}

ExportSettings loadExportSettings(const AbstractSettingsSynchronizer* store)
{
    ExportSettings settings;
    if (!store)
        return settings;

    settings.frameSkip = boundedFrameSkip(store->value(QLatin1String(FrameSkipKey)));
    for (int slot = 0; slot < DataSheetCount; ++slot) {
        const SheetId id = dataSheetAt(slot);
        settings.sheetEnabled[switchIndex(id)] = store->value(QLatin1String(sheetEntry(id).key)).toBool();
    }
    settings.sheetEnabled[switchIndex(SheetId::Markers)] = store->value(QLatin1String(sheetEntry(SheetId::Markers).key)).toBool();
    // "generalInfo" is deliberately not read: General Information is always written.
    return settings;
}
