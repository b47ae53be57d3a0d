// The --options dialog around the plug-in's options page, driven through its buttons: Apply
// and OK store the page's choices in the settings file, Cancel drops what was not applied;
// the buttons follow the language.

#include "dialogapplication.h"
#include "optionsdialog.h"
#include "pluginlocator.h"
#include "recordinghost.h"
#include "settingsstore.h"
#include "widgetapplication.h"

#include "abstractplugin.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>

namespace {

// Runs the dialog; `use` works it from inside its event loop and must close it.
int withDialog(AbstractExporterFactory& factory, const IniSettingsSynchronizer& settings,
    const std::function<void(QDialog&)>& use)
{
    QTimer::singleShot(0, [&] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QDialog*>(widget); dialog && dialog->isVisible())
                return use(*dialog);
        }
        ADD_FAILURE() << "no dialog shown";
        QApplication::exit();
    });
    return runOptionsDialog(factory, settings);
}

void press(QDialog& dialog, QDialogButtonBox::StandardButton which)
{
    dialog.findChild<QDialogButtonBox*>()->button(which)->click();
}

} // namespace

TEST(OptionsDialog, ApplyAndOkStoreCancelDiscardsButtonsFollowTheLanguage)
{
    // The plug-in as the program finds it in the build tree, with a settings file of its own.
    QTemporaryDir dir;
    const QString file = dir.filePath("options.ini");
    const auto stored = [&](const char* key) { return QSettings(file, QSettings::IniFormat).value(key).toString(); };
    IniSettingsSynchronizer* settings = nullptr;
    RecordingHost host{Recording(), [&](const QMap<QString, QVariant>& defaults, const QMap<QString, QString>& descriptions) {
                           auto store = std::make_unique<IniSettingsSynchronizer>(file, defaults, descriptions);
                           settings = store.get();
                           return std::unique_ptr<AbstractSettingsSynchronizer>(std::move(store));
                       }};
    auto loaded = ExporterPlugin::load(locateDefaultPlugin(QStringLiteral(TAVI_BINARY_DIR "/host")));
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<ExporterPlugin>>(loaded)) << std::get<QString>(loaded).toStdString();
    const std::unique_ptr<ExporterPlugin> plugin = std::move(std::get<std::unique_ptr<ExporterPlugin>>(loaded));
    plugin->factory().initializePlugin(host);
    ASSERT_NE(settings, nullptr);

    int status = withDialog(plugin->factory(), *settings, [](QDialog& dialog) {
        dialog.findChild<QComboBox*>("frameSkipComboBox")->setCurrentIndex(2);
        dialog.findChild<QCheckBox*>("segmentVelCheckBox")->setChecked(false);
        press(dialog, QDialogButtonBox::Apply);
        EXPECT_TRUE(dialog.isVisible());
        // Changed after Apply, then cancelled.
        dialog.findChild<QComboBox*>("frameSkipComboBox")->setCurrentIndex(4);
        dialog.findChild<QCheckBox*>("markersCheckBox")->setChecked(false);
        press(dialog, QDialogButtonBox::Cancel);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(stored("frameSkip"), "2");
    EXPECT_EQ(stored("segmentVel"), "false");
    EXPECT_EQ(stored("markers"), "true");

    // OK stores the new choices and closes; the buttons speak the user's language.
    const QLocale german(QLocale::German, QLocale::Germany);
    const auto qtTranslations = installQtTranslations(german);
    ASSERT_NE(qtTranslations, nullptr) << "Qt's own translations are not installed";
    ASSERT_TRUE(plugin->installTranslator(german));
    QStringList texts;
    status = withDialog(plugin->factory(), *settings, [&](QDialog& dialog) {
        const auto* buttons = dialog.findChild<QDialogButtonBox*>();
        for (const auto which : {QDialogButtonBox::Ok, QDialogButtonBox::Apply, QDialogButtonBox::Cancel})
            texts << buttons->button(which)->text().remove(u'&');
        dialog.findChild<QCheckBox*>("markersCheckBox")->setChecked(false);
        press(dialog, QDialogButtonBox::Ok);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(texts, (QStringList{"OK", "Anwenden", "Abbrechen"}));
    EXPECT_EQ(stored("frameSkip"), "2");
    EXPECT_EQ(stored("markers"), "false");
}
