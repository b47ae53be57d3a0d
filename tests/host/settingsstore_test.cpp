// The settings stores: registered defaults, values kept in an INI file with their types, and
// one-run overrides given as KEY=VALUE.

#include "recordinghost.h"
#include "settingsstore.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QMap<QString, QVariant> Defaults{{"frameSkip", 0}, {"markers", true}, {"segmentPos", true}};

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString overrideError(const QString& text)
{
    const auto parsed = parseSettingOverride(text, Defaults);
    return std::holds_alternative<QString>(parsed) ? std::get<QString>(parsed) : QString();
}

} // namespace

TEST(HostSettings, MemoryStoreAnswersDefaultsAndNotesWhatWasAsked)
{
    MemorySettingsSynchronizer store(Defaults, {{"markers", "Markers"}});
    EXPECT_EQ(store.value("frameSkip"), QVariant(0));
    store.setValue("frameSkip", 3);
    store.setValue("markers", false);
    EXPECT_EQ(store.value("frameSkip"), QVariant(3));
    EXPECT_EQ(store.value("markers"), QVariant(false));
    EXPECT_EQ(store.value("segmentPos"), QVariant(true));
    EXPECT_FALSE(store.value("unregistered").isValid());
    EXPECT_EQ(store.requestedKeys(), (QStringList{"frameSkip", "frameSkip", "markers", "segmentPos", "unregistered"}));
    EXPECT_EQ(store.descriptions().value("markers"), "Markers");
}

TEST(HostSettings, IniStoreKeepsTypedValuesAcrossInstances)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("settings.ini");
    {
        IniSettingsSynchronizer fresh(path, Defaults);
        EXPECT_EQ(fresh.value("frameSkip"), QVariant(0));
        EXPECT_EQ(fresh.value("markers"), QVariant(true));
        fresh.setValue("frameSkip", 4);
        fresh.setValue("markers", false);
        EXPECT_EQ(fresh.status(), QSettings::NoError);
    }
    EXPECT_TRUE(QFile::exists(path));

    IniSettingsSynchronizer reopened(path, Defaults);
    const QVariant frameSkip = reopened.value("frameSkip");
    EXPECT_EQ(frameSkip.typeId(), QMetaType::Int);
    EXPECT_EQ(frameSkip.toInt(), 4);
    const QVariant markers = reopened.value("markers");
    EXPECT_EQ(markers.typeId(), QMetaType::Bool);
    EXPECT_FALSE(markers.toBool());
    EXPECT_EQ(reopened.value("segmentPos"), QVariant(true));

    // Hand-edited text that does not convert reads as the type's null value.
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("[General]\nframeSkip=abc\nmarkers=false\n");
    file.close();
    IniSettingsSynchronizer edited(path, Defaults);
    EXPECT_EQ(edited.value("frameSkip"), QVariant(0));
    EXPECT_EQ(edited.value("markers"), QVariant(false));
}

TEST(HostSettings, OverridesAnswerForOneRunOnly)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("settings.ini");
    IniSettingsSynchronizer store(path, Defaults);
    store.setValue("frameSkip", 2);
    const QByteArray before = fileBytes(path);

    for (const QString& text : {QStringLiteral("frameSkip=-1"), QStringLiteral("markers=false")}) {
        const auto parsed = parseSettingOverride(text, Defaults);
        ASSERT_TRUE(std::holds_alternative<SettingOverride>(parsed)) << std::get<QString>(parsed).toStdString();
        store.setOverride(std::get<SettingOverride>(parsed));
    }
    EXPECT_EQ(store.value("frameSkip"), QVariant(-1));
    EXPECT_EQ(store.value("markers"), QVariant(false));
    EXPECT_EQ(fileBytes(path), before);
    IniSettingsSynchronizer other(path, Defaults);
    EXPECT_EQ(other.value("frameSkip"), QVariant(2));
    EXPECT_EQ(other.value("markers"), QVariant(true));

    // A value written later replaces the override and reaches the file.
    store.setValue("frameSkip", 5);
    EXPECT_EQ(store.value("frameSkip"), QVariant(5));
    EXPECT_EQ(IniSettingsSynchronizer(path, Defaults).value("frameSkip"), QVariant(5));
}

TEST(HostSettings, MalformedOverridesAreExplained)
{
    EXPECT_EQ(overrideError("frameSkip=3"), QString());
    EXPECT_EQ(overrideError("markers=true"), QString());
    EXPECT_EQ(overrideError("frameSkip"), "\"frameSkip\" is not of the form KEY=VALUE");
    EXPECT_EQ(overrideError("=3"), "\"=3\" is not of the form KEY=VALUE");
    EXPECT_EQ(overrideError("frameskip=3"),
              "unknown setting \"frameskip\"; the settings are: frameSkip, markers, segmentPos");
    EXPECT_EQ(overrideError("frameSkip=two"), "setting frameSkip takes an integer, not \"two\"");
    EXPECT_EQ(overrideError("frameSkip=1.5"), "setting frameSkip takes an integer, not \"1.5\"");
    EXPECT_EQ(overrideError("frameSkip="), "setting frameSkip takes an integer, not \"\"");
    EXPECT_EQ(overrideError("frameSkip=99999999999"), "setting frameSkip takes an integer, not \"99999999999\"");
    EXPECT_EQ(overrideError("markers=yes"), "setting markers takes true or false, not \"yes\"");
    EXPECT_EQ(overrideError("markers=True"), "setting markers takes true or false, not \"True\"");
}

TEST(HostSettings, HostCreatesTheStoreItsFactoryMakes)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("export.ini");
    RecordingHost host(Recording(), [&](const QMap<QString, QVariant>& defaults, const QMap<QString, QString>& descriptions) {
        return std::make_unique<IniSettingsSynchronizer>(path, defaults, descriptions);
    });
    std::unique_ptr<AbstractSettingsSynchronizer> store(host.createSettingsSynchronizer(Defaults, {}, nullptr));
    auto* ini = dynamic_cast<IniSettingsSynchronizer*>(store.get());
    ASSERT_NE(ini, nullptr);
    EXPECT_EQ(ini->fileName(), path);
    store->setValue("segmentPos", false);
    EXPECT_EQ(IniSettingsSynchronizer(path, Defaults).value("segmentPos"), QVariant(false));
}
