// tavi-export: runs the Excel exporter plug-in outside the studio application. Loads the
// plug-in, serves it a recording (a file, the demo or a generated one) through the host
// interface and drives an export, or shows the plug-in's options page.

#include "abstractplugin.h"
#include "commandline.h"
#include "demorecording.h"
#include "dialogapplication.h"
#include "exportrun.h"
#include "optionsdialog.h"
#include "pluginlocator.h"
#include "recordinghost.h"
#include "recordingreader.h"
#include "settingsstore.h"
#include "syntheticrecording.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

void printError(const QString& message)
{
    std::fprintf(stderr, "tavi-export: %s\n", qPrintable(message));
}

int usageError(const QString& message)
{
    printError(message);
    std::fputs("Try 'tavi-export --help' for more information.\n", stderr);
    return ExitUsageError;
}

QString defaultSettingsPath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    return folder.isEmpty() ? QString() : folder + QStringLiteral("/excelexporter.ini");
}

// Only the options dialog needs a display; exports run without one. Qt's own GUI options
// (-platform and the like) are taken out of the arguments by QApplication.
bool wantsOptionsDialog(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "--options" || argument == "-options")
            return true;
    }
    return false;
}

struct PreparedHost
{
    std::unique_ptr<RecordingHost> host;
    std::int64_t frameCalls = 0;
    std::function<int(std::int64_t)> frameAt;
};

// The recording the command line asks for, served by a host whose settings stores come from
// `settingsFactory`. Answers an empty host when the recording file is rejected.
PreparedHost prepareHost(const CommandLine& line, RecordingHost::SettingsFactory settingsFactory, QString& error)
{
    PreparedHost prepared;
    switch (line.action) {
    case CommandLine::Action::ExportSynthetic:
        prepared.host = std::make_unique<SyntheticRecordingHost>(line.syntheticFrames, std::move(settingsFactory));
        prepared.frameCalls = line.syntheticFrames;
        prepared.frameAt = [](std::int64_t call) { return static_cast<int>(call); };
        return prepared;
    case CommandLine::Action::ExportFile: {
        RecordingReadResult read = readRecordingFile(line.recordingPath);
        if (!read.ok()) {
            error = read.error;
            return prepared;
        }
        prepared.host = std::make_unique<RecordingHost>(std::move(*read.recording), std::move(settingsFactory));
        break;
    }
    case CommandLine::Action::ExportDemo:
        prepared.host = std::make_unique<RecordingHost>(makeDemoRecording(), std::move(settingsFactory));
        break;
    default:
        prepared.host = std::make_unique<RecordingHost>(Recording(), std::move(settingsFactory));
        break;
    }
    const RecordingHost* host = prepared.host.get();
    prepared.frameCalls = static_cast<std::int64_t>(host->frameNumbers().size());
    prepared.frameAt = [host](std::int64_t call) { return host->frameNumbers()[static_cast<std::size_t>(call)]; };
    return prepared;
}

int run(const CommandLine& line)
{
    const QString settingsPath = line.settingsPath.isEmpty() ? defaultSettingsPath() : line.settingsPath;
    if (settingsPath.isEmpty())
        return usageError(QStringLiteral("no configuration folder for the settings file; give one with --settings"));

    // The store the plug-in registers its settings with; the plug-in's factory owns it.
    IniSettingsSynchronizer* settings = nullptr;
    const auto settingsFactory = [&settings, settingsPath](const QMap<QString, QVariant>& defaults,
                                                           const QMap<QString, QString>& descriptions) {
        auto store = std::make_unique<IniSettingsSynchronizer>(settingsPath, defaults, descriptions);
        settings = store.get();
        return std::unique_ptr<AbstractSettingsSynchronizer>(std::move(store));
    };

    QString recordingError;
    PreparedHost prepared = prepareHost(line, settingsFactory, recordingError);
    if (!prepared.host) {
        printError(recordingError);
        return ExitUsageError;
    }

    QString pluginPath = line.pluginPath;
    if (pluginPath.isEmpty()) {
        const QString programDir = QCoreApplication::applicationDirPath();
        pluginPath = locateDefaultPlugin(programDir);
        if (pluginPath.isEmpty()) {
            return usageError(QStringLiteral("the plug-in was not found; looked for %1; give its path with --plugin")
                                  .arg(defaultPluginCandidates(programDir).join(QStringLiteral(", "))));
        }
    }
    auto loaded = ExporterPlugin::load(pluginPath);
    if (const QString* error = std::get_if<QString>(&loaded)) {
        printError(*error);
        return ExitUsageError;
    }
    const std::unique_ptr<ExporterPlugin> plugin = std::move(std::get<std::unique_ptr<ExporterPlugin>>(loaded));
    plugin->installTranslator(QLocale::system());
    AbstractExporterFactory& factory = plugin->factory();

    // Registers the settings; only now are their keys and types known.
    factory.initializePlugin(*prepared.host);
    if (!settings) {
        printError(QStringLiteral("the plug-in %1 registered no settings").arg(pluginPath));
        return ExitUsageError;
    }
    std::vector<SettingOverride> overrides;
    for (const QString& assignment : line.settingAssignments) {
        const auto parsed = parseSettingOverride(assignment, settings->defaults());
        if (const QString* error = std::get_if<QString>(&parsed))
            return usageError(QStringLiteral("--set: %1").arg(*error));
        overrides.push_back(std::get<SettingOverride>(parsed));
    }

    // The first export leaves the registered defaults in the settings file, where the user
    // finds every key to edit. Overrides come after: writing a key drops its override.
    if (line.exports() && !QFileInfo::exists(settingsPath)) {
        const QMap<QString, QVariant>& defaults = settings->defaults();
        for (auto setting = defaults.cbegin(); setting != defaults.cend(); ++setting)
            settings->setValue(setting.key(), setting.value());
        if (settings->status() != QSettings::NoError)
            printError(QStringLiteral("warning: could not write the settings file %1").arg(settingsPath));
    }
    for (const SettingOverride& setting : overrides)
        settings->setOverride(setting);

    if (line.action == CommandLine::Action::ShowOptions) {
        const auto qtTranslations = installQtTranslations(QLocale::system());
        return runOptionsDialog(factory, *settings);
    }

    for (const QString& warning : rowLimitWarnings(*prepared.host, settings->defaults(), *settings, prepared.frameCalls))
        std::fprintf(stderr, "tavi-export: %s\n", qPrintable(warning));

    ExportJob job;
    job.factory = &factory;
    job.host = prepared.host.get();
    job.outputPath = line.outputPath;
    job.frameCalls = prepared.frameCalls;
    job.frameAt = prepared.frameAt;
    job.showProgress = !line.quiet && standardErrorIsTerminal();
    QElapsedTimer clock;
    clock.start();
    const ExportOutcome outcome = runExport(job);
    if (outcome.exitStatus != ExitSuccess) {
        printError(outcome.error);
        return outcome.exitStatus;
    }
    if (job.showProgress) {
        std::fprintf(stderr, "tavi-export: wrote %s: %lld frames in %.1f s\n", qPrintable(line.outputPath),
                     static_cast<long long>(job.frameCalls), static_cast<double>(clock.elapsed()) / 1000.0);
    }
    return ExitSuccess;
}

} // namespace

int main(int argc, char** argv)
{
    const std::unique_ptr<QCoreApplication> application = wantsOptionsDialog(argc, argv)
        ? createDialogApplication(argc, argv)
        : std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavi-export"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVI_EXPORT_VERSION));

    const auto parsed = parseCommandLine(QCoreApplication::arguments());
    if (const QString* error = std::get_if<QString>(&parsed))
        return usageError(*error);
    const CommandLine& line = std::get<CommandLine>(parsed);

    switch (line.action) {
    case CommandLine::Action::ShowHelp:
        std::fputs(qPrintable(helpText(defaultSettingsPath())), stdout);
        return ExitSuccess;
    case CommandLine::Action::ShowVersion:
        std::fputs(qPrintable(versionText()), stdout);
        return ExitSuccess;
    default:
        return run(line);
    }
}
