// Loads the built plug-in the way the host does and talks to it only through the SDK
// interfaces. The module is never linked into this program.

#include "abstractoptionspage.h"
#include "abstractplugin.h"
#include "abstractsettingssynchronizer.h"
#include "abstracttavistudioplugininterface.h"
#include "sheetcatalogue.h"
#include "taviPose.h"

#include "widgetapplication.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QJsonObject>
#include <QLabel>
#include <QPluginLoader>
#include <QProcess>
#include <QTemporaryDir>
#include <QTranslator>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <utility>
#include <vector>

namespace {

// The plug-in built in the tree this test was built in.
QString pluginPath()
{
    return QStringLiteral(TAVI_BINARY_DIR "/plugins/" TAVI_PLUGIN_FILE_NAME);
}

// Answers the registered defaults until a key is written.
class MapSynchronizer : public AbstractSettingsSynchronizer
{
public:
    explicit MapSynchronizer(QMap<QString, QVariant> defaults) : m_values(std::move(defaults)) {}
    QVariant value(const QString& key) const override { return m_values.value(key); }
    void setValue(const QString& key, const QVariant& value) override { m_values.insert(key, value); }

private:
    QMap<QString, QVariant> m_values;
};

// A small recording: five frames of a 23-segment body standing still, and the registration
// calls the plug-in makes.
class FakeHost : public AbstractTaviStudioPluginInterface
{
public:
    static constexpr int SegmentCount = 23;

    int frameCount() const override { return 5; }
    int firstFrame() const override { return 0; }
    int lastFrame() const override { return 4; }
    double frameRate() const override { return 60.0; }
    QString filename() const override { return QStringLiteral("walk.rec"); }
    QString subjectName() const override { return QStringLiteral("Subject"); }
    QString markerText(int frame) const override { return frame == 2 ? QStringLiteral("step") : QString(); }

    std::unique_ptr<TaviPoseObject> pose(int frame) const override
    {
        TaviPose pose;
        pose.segments.resize(SegmentCount);
        for (int i = 0; i < SegmentCount; ++i) {
            TaviPose::Segment& segment = pose.segments[static_cast<std::size_t>(i)];
            segment.q = {1.0, 0.0, 0.0, 0.0};
            segment.sensorQ = {1.0, 0.0, 0.0, 0.0};
            segment.pos = {0.1 * i, 0.0, 1.0 + 0.01 * frame};
            segment.vel = segment.acc = segment.angVel = segment.angAcc = {0.0, 0.0, 0.0};
            segment.sensorFreeAcc = {0.0, 0.0, 0.0};
            segment.sensorMag = {1.0, 0.0, 0.0};
        }
        pose.jointAngleList.assign(SegmentCount - 1, ZtVector{0.0, 0.0, 0.0});
        pose.jointAngleXzyList = pose.jointAngleList;
        pose.ergoJointAngles.fill(ZtVector{0.0, 0.0, 0.0});
        pose.ergoJointAnglesXzy = pose.ergoJointAngles;
        pose.comPos = {0.0, 0.0, 1.0};
        pose.comVel = pose.comAcc = {0.0, 0.0, 0.0};
        pose.globalPos = {52.0, 4.0, 0.0};
        return std::make_unique<TaviPoseObject>(std::make_shared<const ConcreteTaviPose>(std::move(pose)));
    }

    QString applicationVersion() const override { return QStringLiteral("test host 1.0"); }

    AbstractSettingsSynchronizer* createSettingsSynchronizer(const QMap<QString, QVariant>& defaults,
                                                             const QMap<QString, QString>& descriptions,
                                                             QObject* owner) override
    {
        ++registrations;
        registeredDefaults = defaults;
        registeredDescriptions = descriptions;
        registeredOwner = owner;
        createdSynchronizer = new MapSynchronizer(defaults);
        return createdSynchronizer;
    }

    int registrations = 0;
    QMap<QString, QVariant> registeredDefaults;
    QMap<QString, QString> registeredDescriptions;
    QObject* registeredOwner = nullptr;
    AbstractSettingsSynchronizer* createdSynchronizer = nullptr;
};

class PluginTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        loader.setFileName(pluginPath());
        ASSERT_TRUE(loader.load()) << loader.errorString().toStdString();
        instance = loader.instance();
        ASSERT_NE(instance, nullptr) << loader.errorString().toStdString();
        factory = qobject_cast<AbstractExporterFactory*>(instance);
        ASSERT_NE(factory, nullptr);
    }

    // Each test gets a fresh factory: the entry point makes a new one once the old is gone.
    void TearDown() override { delete instance; }

    QPluginLoader loader;
    QObject* instance = nullptr;
    AbstractExporterFactory* factory = nullptr;
};

TEST_F(PluginTest, MetadataNamesTheFactoryAndItsRequirements)
{
    const QJsonObject metaData = loader.metaData();
    EXPECT_EQ(metaData.value(QStringLiteral("IID")).toString(), "ExcelExporter");
    EXPECT_EQ(metaData.value(QStringLiteral("className")).toString(), "ExcelExporterFactory");
    EXPECT_FALSE(metaData.contains(QStringLiteral("MetaData"))) << "the plug-in carries no user metadata";
    EXPECT_FALSE(metaData.value(QStringLiteral("debug")).toBool());
    ASSERT_TRUE(metaData.contains(QStringLiteral("archlevel")));
    EXPECT_EQ(metaData.value(QStringLiteral("archlevel")).toInt(), 3) << "built for x86-64-v3";
    const int qtVersion = metaData.value(QStringLiteral("version")).toInt();
    EXPECT_EQ(qtVersion >> 16, QT_VERSION_MAJOR);
    EXPECT_EQ((qtVersion >> 8) & 0xff, QT_VERSION_MINOR);
}

TEST_F(PluginTest, InstanceAnswersBothFactoryInterfaces)
{
    EXPECT_STREQ(instance->metaObject()->className(), "ExcelExporterFactory");
    EXPECT_NE(instance->qt_metacast("ExcelExporterFactory"), nullptr);
    EXPECT_EQ(instance->qt_metacast("AbstractExporterFactory"), static_cast<void*>(factory));
    EXPECT_EQ(instance->qt_metacast(AbstractExporterFactory_iid), static_cast<void*>(factory));
    AbstractPluginFactory* pluginFactory = qobject_cast<AbstractPluginFactory*>(instance);
    ASSERT_NE(pluginFactory, nullptr);
    EXPECT_EQ(pluginFactory, static_cast<AbstractPluginFactory*>(factory));
    EXPECT_EQ(qobject_cast<AbstractOptionsPage*>(instance), nullptr);

    // The entry point hands out one object until it is destroyed.
    EXPECT_EQ(loader.instance(), instance);
}

TEST_F(PluginTest, IdentityAndCapabilities)
{
    EXPECT_EQ(factory->orgName(), "Excel Exporter");
    EXPECT_EQ(factory->trName(), "Excel Exporter");
    EXPECT_EQ(factory->extension(), "xlsx");
    EXPECT_EQ(factory->type(), 1);
    EXPECT_EQ(factory->version(), "2026.4.0 build 260430012 rev 1777549956 built on 2026-04-30");
    EXPECT_EQ(factory->menuEntry(), QString());
    EXPECT_TRUE(factory->supportsBatchExporting());
    EXPECT_TRUE(factory->supportsParallelExporting());
    EXPECT_FALSE(factory->supportsObjectExporting());
    EXPECT_TRUE(factory->supportsMultipleExports());
}

TEST_F(PluginTest, GermanTranslationsShipInsideThePlugin)
{
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(":/i18n/excelexporter_de.qm")));
    EXPECT_EQ(german.language(), "de_DE");

    // Every text a user sees has a German form, including each worksheet title.
    const auto germanFor = [&](const char* context, const char* source) {
        return german.translate(context, source);
    };
    for (const SheetEntry& sheet : sheetCatalogue)
        EXPECT_FALSE(germanFor("ExcelExporterOptionsPage", sheet.title).isEmpty()) << sheet.title;
    EXPECT_FALSE(germanFor("ExcelExporterOptionsPage", "Exporter frame skip (for downsampling)").isEmpty());
    for (const char* message :
         {"Export was not initialized", "Exception encountered: %1", "Unknown exception encountered",
          "Exception encountered: %1\nYou could retry with a smaller data set.\nMemory cleanup may take a while."}) {
        const QString translated = germanFor("ExcelExporter", message);
        EXPECT_FALSE(translated.isEmpty()) << message;
        EXPECT_EQ(translated.contains(QStringLiteral("%1")), QByteArray(message).contains("%1")) << message;
        EXPECT_EQ(translated.count(QLatin1Char('\n')), QByteArray(message).count('\n')) << message;
    }

    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    EXPECT_EQ(factory->trName(), "Excel-Exporter");
    EXPECT_EQ(factory->orgName(), "Excel Exporter");

    FakeHost host;
    factory->initializePlugin(host);
    std::unique_ptr<AbstractOptionsPage> page(factory->optionsPage());
    std::unique_ptr<QWidget> widget(page->createPage(nullptr));
    EXPECT_EQ(widget->findChild<QCheckBox*>(QStringLiteral("generalInfoCheckBox"))->text(),
              "Allgemeine Informationen");
    EXPECT_EQ(widget->findChild<QLabel*>()->text(),
              "Übersprungene Frames beim Export (zur Reduzierung der Abtastrate)");

    const std::unique_ptr<AbstractExporter> exporter = factory->doCreate(host);
    EXPECT_FALSE(exporter->exportFrame(0));
    EXPECT_EQ(exporter->lastError(), "Der Export wurde nicht initialisiert");

    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(factory->trName(), "Excel Exporter");
}

TEST_F(PluginTest, InitializeRegistersTheExportSettings)
{
    FakeHost host;
    EXPECT_EQ(factory->settingsSynchronizer(), nullptr);
    {
        // Created before initialisation, a page holds no store; it must still be creatable.
        std::unique_ptr<AbstractOptionsPage> early(factory->optionsPage());
        EXPECT_NE(early, nullptr);
    }

    factory->initializePlugin(host);
    EXPECT_EQ(host.registrations, 1);
    EXPECT_EQ(host.registeredOwner, instance);
    EXPECT_EQ(factory->settingsSynchronizer(), host.createdSynchronizer);

    QStringList expectedKeys{QStringLiteral("frameSkip")};
    for (const SheetEntry& sheet : sheetCatalogue)
        expectedKeys << QString::fromLatin1(sheet.key);
    expectedKeys.sort();
    EXPECT_EQ(host.registeredDefaults.keys(), expectedKeys);
    EXPECT_EQ(host.registeredDescriptions.keys(), expectedKeys);
    EXPECT_EQ(expectedKeys.size(), 21);

    const QVariant frameSkip = host.registeredDefaults.value(QStringLiteral("frameSkip"));
    EXPECT_EQ(frameSkip.typeId(), QMetaType::Int);
    EXPECT_EQ(frameSkip.toInt(), 0);
    EXPECT_EQ(host.registeredDescriptions.value(QStringLiteral("frameSkip")),
              "The number of frames to skip between exported frames, use for downsampling.");
    for (const SheetEntry& sheet : sheetCatalogue) {
        const QVariant value = host.registeredDefaults.value(QString::fromLatin1(sheet.key));
        EXPECT_EQ(value.typeId(), QMetaType::Bool) << sheet.key;
        EXPECT_TRUE(value.toBool()) << sheet.key;
        EXPECT_EQ(host.registeredDescriptions.value(QString::fromLatin1(sheet.key)), sheet.title);
    }
}

TEST_F(PluginTest, EveryOptionsPageIsNewAndWritesTheFactoryStore)
{
    FakeHost host;
    factory->initializePlugin(host);
    std::unique_ptr<AbstractOptionsPage> first(factory->optionsPage());
    std::unique_ptr<AbstractOptionsPage> second(factory->optionsPage());
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(first->parent(), nullptr);
    EXPECT_STREQ(first->metaObject()->className(), "ExcelExporterOptionsPage");
    EXPECT_EQ(first->factoryName(), factory->orgName());

    std::unique_ptr<QWidget> widget(first->createPage(nullptr));
    widget->findChild<QComboBox*>(QStringLiteral("frameSkipComboBox"))->setCurrentIndex(2);
    widget->findChild<QCheckBox*>(QStringLiteral("markersCheckBox"))->setChecked(false);
    first->apply();
    EXPECT_EQ(factory->settingsSynchronizer()->value(QStringLiteral("frameSkip")), QVariant(2));
    EXPECT_EQ(factory->settingsSynchronizer()->value(QStringLiteral("markers")), QVariant(false));
}

struct ZipListing
{
    int exitCode = -1;
    QStringList names;
    QString workbook;
};

// Python's zipfile checks every member's CRC and lists the archive.
ZipListing readWithZipfile(const QString& path)
{
    QProcess python;
    python.start(QStringLiteral(TAVI_PYTHON3),
                 {QStringLiteral("-c"),
                  QStringLiteral("import sys, zipfile\n"
                                 "z = zipfile.ZipFile(sys.argv[1])\n"
                                 "bad = z.testzip()\n"
                                 "print('\\n'.join(z.namelist()))\n"
                                 "print('--')\n"
                                 "print(z.read('xl/workbook.xml').decode('utf-8'))\n"
                                 "sys.exit(1 if bad else 0)\n"),
                  path});
    ZipListing listing;
    if (!python.waitForFinished(60000))
        return listing;
    const QString output = QString::fromUtf8(python.readAllStandardOutput());
    const qsizetype separator = output.indexOf(QStringLiteral("\n--\n"));
    listing.exitCode = python.exitStatus() == QProcess::NormalExit ? python.exitCode() : -1;
    listing.names = output.left(separator).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    listing.workbook = output.mid(separator + 4);
    return listing;
}

TEST_F(PluginTest, ExportsAWorkbookThroughTheFactory)
{
    FakeHost host;
    factory->initializePlugin(host);
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString target = folder.filePath(QStringLiteral("walk.xlsx"));

    const std::unique_ptr<AbstractExporter> exporter = factory->doCreate(host);
    ASSERT_NE(exporter, nullptr);
    ASSERT_TRUE(exporter->initialize(target)) << exporter->lastError().toStdString();
    EXPECT_TRUE(QFileInfo(target + QStringLiteral("_fldr")).isDir());
    for (int frame = host.firstFrame(); frame <= host.lastFrame(); ++frame)
        ASSERT_TRUE(exporter->exportFrame(frame)) << exporter->lastError().toStdString();
    exporter->finalize(false);
    EXPECT_EQ(exporter->lastError(), QString());

    ASSERT_TRUE(QFileInfo(target).isFile());
    EXPECT_FALSE(QFileInfo::exists(target + QStringLiteral("_fldr"))) << "temporary folder left behind";
    const ZipListing listing = readWithZipfile(target);
    EXPECT_EQ(listing.exitCode, 0) << "zipfile found a damaged member";
    EXPECT_TRUE(listing.names.contains(QStringLiteral("[Content_Types].xml")));
    EXPECT_TRUE(listing.names.contains(QStringLiteral("xl/workbook.xml")));
    EXPECT_TRUE(listing.workbook.contains(QStringLiteral("name=\"General Information\"")));
    EXPECT_TRUE(listing.workbook.contains(QStringLiteral("name=\"Segment Position\"")));
}

} // namespace
