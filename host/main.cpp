// tavi-export: runs the Excel exporter plug-in outside the studio application. Loads the
// plug-in, serves it recordings (files, the demo or a generated one) through the host
// interface and drives their exports, or shows the plug-in's settings or options page.

#include "abstractplugin.h"
#include "batch.h"
#include "batchresults.h"
#include "commandline.h"
#include "demorecording.h"
#include "dialogapplication.h"
#include "exportrequest.h"
#include "exportrun.h"
#include "interruptwatcher.h"
#include "messagetext.h"
#include "optionsdialog.h"
#include "outputcheck.h"
#include "pluginlocator.h"
#include "recordinghost.h"
#include "recordingwriter.h"
#include "report.h"
#include "runplan.h"
#include "settingsstore.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <variant>
#include <vector>

namespace {

void printError(const QString& message)
{
    std::fprintf(stderr, "tavi-export: %s\n", qPrintable(printable(message)));
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

void printSettings(const IniSettingsSynchronizer& settings)
{
    const bool fileExists = QFileInfo::exists(settings.fileName());
    std::printf("settings file: %s%s\n", qPrintable(settings.fileName()),
        fileExists ? "" : " (not written yet: the defaults apply)");
    const QMap<QString, QVariant>& defaults = settings.defaults();
    for (auto setting = defaults.cbegin(); setting != defaults.cend(); ++setting) {
        const QString value = settings.value(setting.key()).toString();
        QString source;
        switch (settings.sourceOf(setting.key())) {
        case IniSettingsSynchronizer::Source::Default:
            source = QStringLiteral("default");
            break;
        case IniSettingsSynchronizer::Source::File:
            source = QStringLiteral("settings file; default %1").arg(setting->toString());
            break;
        case IniSettingsSynchronizer::Source::Override:
            source = QStringLiteral("this command line; default %1").arg(setting->toString());
            break;
        }
        const QString entry = setting.key() + u'=' + value;
        std::printf("%-26s (%s)\n", qPrintable(entry), qPrintable(source));
    }
}

int run(const CommandLine& line)
{
    const QString settingsPath = line.settingsPath.isEmpty() ? defaultSettingsPath() : line.settingsPath;
    if (settingsPath.isEmpty())
        return usageError(QStringLiteral("no configuration folder for the settings file; give one with --settings"));

    std::vector<ExportRequest> requests;
    if (line.exports()) {
        auto listed = exportRequests(line);
        if (const QString* error = std::get_if<QString>(&listed))
            return usageError(*error);
        requests = std::move(std::get<std::vector<ExportRequest>>(listed));
        if (!line.reportPath.isEmpty()) {
            if (const QString error = checkReportPath(line.reportPath); !error.isEmpty())
                return usageError(error);
        }
    }
    // A single export is checked and its recording read before anything is loaded or written.
    if (line.exports() && line.action != CommandLine::Action::ExportBatch) {
        ExportRequest& request = requests.front();
        if (const QString error = checkOutput(request.outputPath, request.recordingPath); !error.isEmpty()) {
            printError(error);
            return ExitUsageError;
        }
        QString recordingError;
        PrepareFailure failure = PrepareFailure::None;
        request.prepared = prepareRecording(request, recordingError, failure);
        if (!request.prepared) {
            printError(recordingError);
            return failure == PrepareFailure::OutOfMemory ? ExitExportFailed : ExitUsageError;
        }
    }

    // The store the plug-in registers its settings with; the plug-in's factory owns it.
    IniSettingsSynchronizer* settings = nullptr;
    const auto settingsFactory = [&settings, settingsPath](const QMap<QString, QVariant>& defaults,
                                     const QMap<QString, QString>& descriptions) {
        auto store = std::make_unique<IniSettingsSynchronizer>(settingsPath, defaults, descriptions);
        settings = store.get();
        return std::unique_ptr<AbstractSettingsSynchronizer>(std::move(store));
    };
    // The plug-in registers its settings through this host; each export gets a host of its own.
    RecordingHost registrationHost(Recording(), settingsFactory);

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
    factory.initializePlugin(registrationHost);
    if (!settings) {
        printError(QStringLiteral("the plug-in %1 registered no settings").arg(pluginPath));
        return ExitUsageError;
    }
    const auto overrides = runOverrides(line, settings->defaults());
    if (const QString* error = std::get_if<QString>(&overrides))
        return usageError(*error);
    for (const QString& problem : settings->malformedValues())
        printError(QStringLiteral("warning: %1").arg(problem));

    // The first export leaves the registered defaults in the settings file, where the user
    // finds every key to edit. Overrides come after: writing a key drops its override.
    if (line.exports() && !QFileInfo::exists(settingsPath)) {
        const QMap<QString, QVariant>& defaults = settings->defaults();
        for (auto setting = defaults.cbegin(); setting != defaults.cend(); ++setting)
            settings->setValue(setting.key(), setting.value());
        if (settings->status() != QSettings::NoError)
            printError(QStringLiteral("warning: could not write the settings file %1").arg(settingsPath));
    }
    for (const SettingOverride& setting : std::get<std::vector<SettingOverride>>(overrides))
        settings->setOverride(setting);

    if (line.action == CommandLine::Action::ShowOptions) {
        const auto qtTranslations = installQtTranslations(QLocale::system());
        return runOptionsDialog(factory, *settings);
    }
    if (line.action == CommandLine::Action::ShowSettings) {
        printSettings(*settings);
        return ExitSuccess;
    }

    BatchOptions options;
    options.jobs = line.jobs > 0 ? line.jobs : std::max(1, QThread::idealThreadCount());
    options.noClobber = line.noClobber;
    options.summaries = !line.quiet;
    options.showProgress = !line.quiet && standardErrorIsTerminal();
    options.nameInErrors = line.action == CommandLine::Action::ExportBatch;
    BatchResults results(requests.size());
    // Answers whether the report, if one is asked for, was written.
    const auto report = [&](int exitStatus) {
        if (line.reportPath.isEmpty())
            return true;
        const QString error = writeReport(line.reportPath, requests, results.snapshot(), exitStatus);
        if (!error.isEmpty())
            printError(QStringLiteral("could not write the report %1: %2").arg(quoted(line.reportPath), error));
        return error.isEmpty();
    };
    // A run that a signal ends at once still leaves its report.
    const interrupts::LastWords lastWords([&](int signal) { report(interrupts::exitStatusFor(signal)); });
    runExports(factory, *settings, requests, options, results);

    const int signal = interrupts::stopSignal();
    int status = signal != 0 ? interrupts::exitStatusFor(signal) : exitStatusOf(results.snapshot());
    if (!report(status))
        status = std::max<int>(status, ExitExportFailed);
    if (signal != 0)
        printError(QString::fromLatin1(interrupts::interruptedMessage()));
    return status;
}

} // namespace

// What the command line asks for, once it has been parsed.
static int runAction(const CommandLine& line)
{
    switch (line.action) {
    case CommandLine::Action::ShowHelp:
        std::fputs(qPrintable(helpText(defaultSettingsPath())), stdout);
        return ExitSuccess;
    case CommandLine::Action::ShowVersion:
        std::fputs(qPrintable(versionText()), stdout);
        return ExitSuccess;
    case CommandLine::Action::WriteDemo:
        if (const QString error = writeRecordingFile(makeDemoRecording(), line.outputPath); !error.isEmpty()) {
            printError(error);
            return ExitExportFailed;
        }
        return ExitSuccess;
    default:
        return run(line);
    }
}

int main(int argc, char** argv)
{
    // Before any thread starts, so that only the watcher takes these signals.
    blockInterruptSignals();
    interrupts::startWatcher();
    const std::unique_ptr<QCoreApplication> application = wantsOptionsDialog(argc, argv)
        ? createDialogApplication(argc, argv)
        : std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavi-export"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVI_EXPORT_VERSION));

    const auto parsed = parseCommandLine(QCoreApplication::arguments());
    if (const QString* error = std::get_if<QString>(&parsed))
        return usageError(*error);
    const CommandLine& line = std::get<CommandLine>(parsed);

    try {
        return runAction(line);
    } catch (const std::bad_alloc&) {
        // The plug-in reports its own; this is the program's memory running out.
        printError(QStringLiteral("not enough memory; you could retry with a smaller data set"));
        return ExitExportFailed;
    }
}
