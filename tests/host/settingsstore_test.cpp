// The settings stores: registered defaults, values kept in an INI file with their types, and
// one-run overrides given as KEY=VALUE.

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

} // namespace

TEST(HostSettings, MemoryStoreAnswersDefaultsAndWhatWasSet)
{
    MemorySettingsSynchronizer store(Defaults, {{"markers", "Markers"}});
    EXPECT_EQ(store.value("frameSkip"), QVariant(0));
    store.setValue("frameSkip", 3);
    store.setValue("markers", false);
    EXPECT_EQ(store.value("frameSkip"), QVariant(3));
    EXPECT_EQ(store.value("markers"), QVariant(false));
    EXPECT_EQ(store.value("segmentPos"), QVariant(true));
    EXPECT_FALSE(store.value("unregistered").isValid());
    EXPECT_EQ(store.descriptions().value("markers"), "Markers");
}

TEST(HostSettings, IniStoreKeepsTypedValuesAndOverridesForOneRun)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("settings.ini");
    {
        IniSettingsSynchronizer fresh(path, Defaults);
        EXPECT_EQ(fresh.value("frameSkip"), QVariant(0));
        fresh.setValue("frameSkip", 4);
        fresh.setValue("markers", false);
        EXPECT_EQ(fresh.status(), QSettings::NoError);
    }
    // INI files hold text: the values come back with the types of their defaults.
    IniSettingsSynchronizer store(path, Defaults);
    EXPECT_EQ(store.value("frameSkip").typeId(), QMetaType::Int);
    EXPECT_EQ(store.value("frameSkip"), QVariant(4));
    EXPECT_EQ(store.value("markers").typeId(), QMetaType::Bool);
    EXPECT_EQ(store.value("markers"), QVariant(false));
    EXPECT_EQ(store.value("segmentPos"), QVariant(true));

    const QByteArray before = fileBytes(path);
    for (const QString& text : {QStringLiteral("frameSkip=1000000"), QStringLiteral("segmentPos=false")}) {
        const auto parsed = parseSettingOverride(text, Defaults);
        ASSERT_TRUE(std::holds_alternative<SettingOverride>(parsed)) << std::get<QString>(parsed).toStdString();
        store.setOverride(std::get<SettingOverride>(parsed));
    }
    EXPECT_EQ(store.value("frameSkip"), QVariant(1000000));
    EXPECT_EQ(store.value("segmentPos"), QVariant(false));
    EXPECT_EQ(store.sourceOf("segmentPos"), IniSettingsSynchronizer::Source::Override);
    EXPECT_EQ(fileBytes(path), before);
    EXPECT_EQ(IniSettingsSynchronizer(path, Defaults).value("segmentPos"), QVariant(true));
    // A value written later replaces the override and reaches the file.
    store.setValue("frameSkip", 5);
    EXPECT_EQ(store.value("frameSkip"), QVariant(5));
    EXPECT_EQ(IniSettingsSynchronizer(path, Defaults).value("frameSkip"), QVariant(5));

    // Hand-edited text that does not convert is reported, and the default answers for it;
    // -1, which the options page stores for "no skip chosen", is kept.
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("[General]\nframeSkip=abc\nmarkers=1\nsegmentPos=false\n");
    file.close();
    IniSettingsSynchronizer edited(path, Defaults);
    EXPECT_EQ(edited.value("frameSkip"), QVariant(0));
    EXPECT_EQ(edited.value("markers"), QVariant(true));
    EXPECT_EQ(edited.value("segmentPos"), QVariant(false));
    EXPECT_EQ(edited.sourceOf("markers"), IniSettingsSynchronizer::Source::Default);
    EXPECT_EQ(edited.sourceOf("segmentPos"), IniSettingsSynchronizer::Source::File);
    const QString quotedPath = QStringLiteral("\"%1\"").arg(path);
    EXPECT_EQ(edited.malformedValues(),
        QStringList({QStringLiteral("settings file %1: frameSkip is \"abc\", not an integer from 0 to 1000000; "
                                    "the default 0 is used instead")
                         .arg(quotedPath),
            QStringLiteral("settings file %1: markers is \"1\", not true or false; the default true is "
                           "used instead")
                .arg(quotedPath)}));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("[General]\nframeSkip=-1\n");
    file.close();
    EXPECT_EQ(IniSettingsSynchronizer(path, Defaults).value("frameSkip"), QVariant(-1));
}

TEST(HostSettings, MalformedOverridesAreExplained)
{
    const char* const cases[][2] = {
        {"frameSkip", R"("frameSkip" is not of the form KEY=VALUE)"},
        {"=3", R"("=3" is not of the form KEY=VALUE)"},
        {"frameskip=3", R"(unknown setting "frameskip"; the settings are: frameSkip, markers, segmentPos)"},
        {"frameSkip=two", R"(setting frameSkip takes an integer from 0 to 1000000, not "two")"},
        {"frameSkip=1.5", R"(setting frameSkip takes an integer from 0 to 1000000, not "1.5")"},
        {"frameSkip=", R"(setting frameSkip takes an integer from 0 to 1000000, not "")"},
        {"frameSkip=99999999999", R"(setting frameSkip takes an integer from 0 to 1000000, not "99999999999")"},
        {"frameSkip=1000001", R"(setting frameSkip takes an integer from 0 to 1000000, not "1000001")"},
        {"frameSkip=-1", R"(setting frameSkip takes an integer from 0 to 1000000, not "-1")"},
        {"markers=yes", R"(setting markers takes true or false, not "yes")"},
        {"markers=True", R"(setting markers takes true or false, not "True")"},
    };
    for (const auto& [text, message] : cases) {
        const auto parsed = parseSettingOverride(QString::fromUtf8(text), Defaults);
        ASSERT_TRUE(std::holds_alternative<QString>(parsed)) << text;
        EXPECT_EQ(std::get<QString>(parsed), QString::fromUtf8(message));
    }
}
