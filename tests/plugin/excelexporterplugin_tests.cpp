// Loads the built plug-in the way the host does and talks to it only through the SDK
// interfaces. The module is never linked into this program.

#include "abstractoptionspage.h"
#include "abstractplugin.h"
#include "abstractsettingssynchronizer.h"
#include "exportsettings.h"
#include "pluginidentity.h"
#include "sheetcatalogue.h"

#include "fakesettings.h"
#include "testrecording.h"
#include "widgetapplication.h"
#include "workbookreader.h"

#include <QCheckBox>
#include <QComboBox>
#include <QJsonObject>
#include <QLabel>
#include <QPluginLoader>
#include <QTemporaryDir>
#include <QTranslator>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>

namespace {

// The host the plug-in meets: ten frames of the test recording, no external channels; the
// settings registration is logged.
class RegisteringHost : public RecordingHost
{
public:
    RegisteringHost()
        : RecordingHost(testrec::makeRecording({}))
    { }

    AbstractSettingsSynchronizer* createSettingsSynchronizer(const QMap<QString, QVariant>& defaults,
        const QMap<QString, QString>& descriptions,
        QObject* owner) override
    {
        ++registrations;
        registeredDescriptions = descriptions;
        registeredOwner = owner;
        createdSynchronizer = new FakeSettings(defaults); // holds the registered defaults
        return createdSynchronizer;
    }

    int registrations = 0;
    QMap<QString, QString> registeredDescriptions;
    QObject* registeredOwner = nullptr;
    FakeSettings* createdSynchronizer = nullptr;
};

class PluginTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        loader.setFileName(QStringLiteral(TAVI_BINARY_DIR "/plugins/" TAVI_PLUGIN_FILE_NAME));
        ASSERT_TRUE(loader.load()) << loader.errorString().toStdString();
        instance = loader.instance();
        factory = qobject_cast<AbstractExporterFactory*>(instance);
        ASSERT_NE(factory, nullptr) << loader.errorString().toStdString();
    }

    // Each test gets a fresh factory: the entry point makes a new one once the old is gone.
    void TearDown() override { delete instance; }

    QPluginLoader loader;
    QObject* instance = nullptr;
    AbstractExporterFactory* factory = nullptr;
    RegisteringHost host;
};

TEST_F(PluginTest, MetadataInstanceAndIdentity)
{
    const QJsonObject metaData = loader.metaData();
    EXPECT_EQ(metaData.value(QStringLiteral("IID")).toString(), EXCEL_EXPORTER_IID) << "the id tavi-export looks for";
    EXPECT_EQ(metaData.value(QStringLiteral("className")).toString(), "ExcelExporterFactory");
    EXPECT_FALSE(metaData.contains(QStringLiteral("MetaData"))) << "the plug-in carries no user metadata";
    EXPECT_FALSE(metaData.value(QStringLiteral("debug")).toBool());
    EXPECT_EQ(metaData.value(QStringLiteral("archlevel")).toInt(-1), 3) << "built for x86-64-v3";
    const int qtVersion = metaData.value(QStringLiteral("version")).toInt();
    EXPECT_EQ(qtVersion >> 16, QT_VERSION_MAJOR);
    EXPECT_EQ((qtVersion >> 8) & 0xff, QT_VERSION_MINOR);

    EXPECT_EQ(qobject_cast<AbstractPluginFactory*>(instance), static_cast<AbstractPluginFactory*>(factory));
    // The entry point hands out one object until it is destroyed.
    EXPECT_EQ(loader.instance(), instance);

    EXPECT_EQ(factory->orgName(), "Excel Exporter");
    EXPECT_EQ(factory->trName(), "Excel Exporter");
    EXPECT_EQ(factory->extension(), "xlsx");
    EXPECT_EQ(factory->type(), 1);
    EXPECT_EQ(factory->version(), "2026.4.0 build 260430012 rev 1777549956 built on 2026-04-30");
    EXPECT_EQ(factory->menuEntry(), QString());
    EXPECT_TRUE(factory->supportsBatchExporting() && factory->supportsParallelExporting()
        && factory->supportsMultipleExports());
    EXPECT_FALSE(factory->supportsObjectExporting());
}

TEST_F(PluginTest, GermanTranslationsShipInsideThePlugin)
{
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(":/i18n/excelexporter_de.qm")));
    EXPECT_EQ(german.language(), "de_DE");
    // Every text a user sees has a German form that keeps its placeholder and line breaks.
    for (const char* message :
        {"Export was not initialized", "Exception encountered: %1", "Unknown exception encountered",
            "Exception encountered: %1\nYou could retry with a smaller data set.\nMemory cleanup may take a while."}) {
        const QString translated = german.translate("ExcelExporter", message);
        EXPECT_FALSE(translated.isEmpty()) << message;
        EXPECT_EQ(translated.contains(QStringLiteral("%1")), QByteArray(message).contains("%1")) << message;
        EXPECT_EQ(translated.count(QLatin1Char('\n')), QByteArray(message).count('\n')) << message;
    }

    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    EXPECT_EQ(factory->trName(), "Excel-Exporter");
    EXPECT_EQ(factory->orgName(), "Excel Exporter");
    factory->initializePlugin(host);
    std::unique_ptr<AbstractOptionsPage> page(factory->optionsPage());
    std::unique_ptr<QWidget> widget(page->createPage(nullptr));
    EXPECT_EQ(widget->findChild<QCheckBox*>(QStringLiteral("generalInfoCheckBox"))->text(),
        "Allgemeine Informationen");
    for (const SheetEntry& sheet : sheetCatalogue) {
        const QString text = widget->findChild<QCheckBox*>(QLatin1String(sheet.key) + QStringLiteral("CheckBox"))->text();
        EXPECT_TRUE(!text.isEmpty() && text == german.translate("ExcelExporterOptionsPage", sheet.title)) << sheet.key;
    }
    EXPECT_EQ(widget->findChild<QLabel*>()->text(), "Übersprungene Frames beim Export (zur Reduzierung der Abtastrate)");
    const std::unique_ptr<AbstractExporter> exporter = factory->doCreate(host);
    EXPECT_FALSE(exporter->exportFrame(0));
    EXPECT_EQ(exporter->lastError(), "Der Export wurde nicht initialisiert");

    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(factory->trName(), "Excel Exporter");
}

TEST_F(PluginTest, InitializeRegistersTheSettingsThatOptionsPagesWrite)
{
    EXPECT_EQ(factory->settingsSynchronizer(), nullptr);
    // Created before initialisation, a page holds no store; it must still be creatable.
    EXPECT_NE(std::unique_ptr<AbstractOptionsPage>(factory->optionsPage()), nullptr);

    factory->initializePlugin(host);
    EXPECT_EQ(host.registrations, 1);
    EXPECT_EQ(host.registeredOwner, instance);
    EXPECT_EQ(factory->settingsSynchronizer(), host.createdSynchronizer);

    // The plug-in's own defaults and descriptions, typed as the store keeps them.
    EXPECT_EQ(host.createdSynchronizer->values, exportSettingDefaults());
    EXPECT_EQ(host.registeredDescriptions, exportSettingDescriptions());

    // Every options page is new, and writes the registered store.
    std::unique_ptr<AbstractOptionsPage> first(factory->optionsPage());
    std::unique_ptr<AbstractOptionsPage> second(factory->optionsPage());
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_EQ(first->factoryName(), factory->orgName());

    std::unique_ptr<QWidget> widget(first->createPage(nullptr));
    widget->findChild<QComboBox*>(QStringLiteral("frameSkipComboBox"))->setCurrentIndex(2);
    widget->findChild<QCheckBox*>(QStringLiteral("markersCheckBox"))->setChecked(false);
    first->apply();
    EXPECT_EQ(factory->settingsSynchronizer()->value(QStringLiteral("frameSkip")), QVariant(2));
    EXPECT_EQ(factory->settingsSynchronizer()->value(QStringLiteral("markers")), QVariant(false));
}

TEST_F(PluginTest, ExportsAWorkbookThroughTheFactory)
{
    factory->initializePlugin(host);
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString target = folder.filePath(QStringLiteral("walk.xlsx"));

    const std::unique_ptr<AbstractExporter> exporter = factory->doCreate(host);
    ASSERT_NE(exporter, nullptr);
    ASSERT_TRUE(exporter->initialize(target)) << exporter->lastError().toStdString();
    for (int frame = host.firstFrame(); frame <= host.lastFrame(); ++frame)
        ASSERT_TRUE(exporter->exportFrame(frame)) << exporter->lastError().toStdString();
    exporter->finalize(false);
    EXPECT_EQ(exporter->lastError(), QString());

    // Read back by zipfile (every member's CRC) and openpyxl: every sheet but External Data,
    // as the host has no external channels, each holding the ten frames.
    const std::optional<DumpedWorkbook> book = readWorkbook(target);
    ASSERT_TRUE(book);
    EXPECT_EQ(book->sheets.size(), static_cast<qsizetype>(sheetCatalogue.size()) - 1);
    EXPECT_FALSE(book->sheet(QStringLiteral("External Data")));
    EXPECT_EQ(book->sheet(QStringLiteral("Segment Position"))->rowCount(), 1 + host.frameCount());
}

} // namespace
