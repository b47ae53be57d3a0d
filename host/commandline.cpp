#include "commandline.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

namespace {

const QString ProgramName = QStringLiteral("tavi-export");

QString tooManyArguments(const QStringList& extra)
{
    return QStringLiteral("unexpected argument \"%1\"").arg(extra.first());
}

} // namespace

std::variant<CommandLine, QString> parseCommandLine(const QStringList& arguments)
{
    const QCommandLineOption plugin(QStringLiteral("plugin"), QString(), QStringLiteral("PATH"));
    const QCommandLineOption settings(QStringLiteral("settings"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption set(QStringLiteral("set"), QString(), QStringLiteral("KEY=VALUE"));
    const QCommandLineOption quiet(QStringLiteral("quiet"));
    const QCommandLineOption demo(QStringLiteral("demo"));
    const QCommandLineOption synthetic(QStringLiteral("synthetic"), QString(), QStringLiteral("N"));
    const QCommandLineOption options(QStringLiteral("options"));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringLiteral("version"));

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({plugin, settings, set, quiet, demo, synthetic, options, help, version});
    if (!parser.parse(arguments))
        return parser.errorText();

    CommandLine line;
    if (parser.isSet(help)) {
        line.action = CommandLine::Action::ShowHelp;
        return line;
    }
    if (parser.isSet(version)) {
        line.action = CommandLine::Action::ShowVersion;
        return line;
    }

    // Options given twice would silently lose a value; only --set may repeat.
    for (const QCommandLineOption* single : {&plugin, &settings, &synthetic}) {
        if (parser.values(*single).size() > 1)
            return QStringLiteral("--%1 is given more than once").arg(single->names().first());
    }
    line.pluginPath = parser.value(plugin);
    line.settingsPath = parser.value(settings);
    line.settingAssignments = parser.values(set);
    line.quiet = parser.isSet(quiet);
    if (parser.isSet(plugin) && line.pluginPath.isEmpty())
        return QStringLiteral("--plugin needs a file name");
    if (parser.isSet(settings) && line.settingsPath.isEmpty())
        return QStringLiteral("--settings needs a file name");

    const int actions = int(parser.isSet(demo)) + int(parser.isSet(synthetic)) + int(parser.isSet(options));
    if (actions > 1)
        return QStringLiteral("--demo, --synthetic and --options exclude one another");

    QStringList positional = parser.positionalArguments();
    if (parser.isSet(options)) {
        if (!positional.isEmpty())
            return tooManyArguments(positional);
        if (!line.settingAssignments.isEmpty())
            return QStringLiteral("--set applies to an export, not to --options");
        line.action = CommandLine::Action::ShowOptions;
        return line;
    }

    if (parser.isSet(demo) || parser.isSet(synthetic)) {
        if (positional.isEmpty())
            return QStringLiteral("missing the output file");
        if (positional.size() > 1)
            return tooManyArguments(positional.mid(1));
        line.outputPath = positional.first();
        if (parser.isSet(demo)) {
            line.action = CommandLine::Action::ExportDemo;
        } else {
            const QString count = parser.value(synthetic);
            bool ok = false;
            line.syntheticFrames = count.toInt(&ok);
            if (!ok || line.syntheticFrames < 1)
                return QStringLiteral("--synthetic takes a number of frames of at least 1, not \"%1\"").arg(count);
            line.action = CommandLine::Action::ExportSynthetic;
        }
    } else {
        if (positional.isEmpty())
            return QStringLiteral("missing the recording file and the output file");
        if (positional.size() == 1)
            return QStringLiteral("missing the output file");
        if (positional.size() > 2)
            return tooManyArguments(positional.mid(2));
        line.recordingPath = positional[0];
        line.outputPath = positional[1];
        if (line.recordingPath.isEmpty())
            return QStringLiteral("the recording file name is empty");
        line.action = CommandLine::Action::ExportFile;
    }
    if (line.outputPath.isEmpty())
        return QStringLiteral("the output file name is empty");
    return line;
}

QString helpText(const QString& defaultSettingsPath)
{
    return QStringLiteral(
        "Usage:\n"
        "  %1 [OPTIONS] RECORDING OUTPUT.xlsx      export a recording file\n"
        "  %1 [OPTIONS] --demo OUTPUT.xlsx         export the built-in demo recording\n"
        "  %1 [OPTIONS] --synthetic N OUTPUT.xlsx  export a generated recording of N frames\n"
        "  %1 [OPTIONS] --options                  edit the export settings in a dialog\n"
        "\n"
        "Runs the Excel exporter plug-in outside the studio application and writes one\n"
        "recording into an .xlsx workbook. RECORDING is a recording file (JSON, format\n"
        "\"tavi-recording\" version 1; a name ending in .gz is read through gzip).\n"
        "\n"
        "Options:\n"
        "  --plugin PATH     the plug-in library to load (default: the one installed or\n"
        "                    built with this program)\n"
        "  --settings FILE   the INI file that keeps the export settings (default:\n"
        "                    %2);\n"
        "                    the first export creates it with the defaults, for editing\n"
        "  --set KEY=VALUE   change one export setting for this run only; the settings\n"
        "                    file is not changed. frameSkip takes an integer, every\n"
        "                    other key true or false. Repeatable.\n"
        "  --quiet           no progress display\n"
        "  -h, --help        show this help\n"
        "  --version         show the program's version\n"
        "\n"
        "Settings: frameSkip (frames left out after each exported frame, 0 = none) and\n"
        "one switch per worksheet, e.g. markers, segmentPos, jointAngles, externalData.\n"
        "A --set with an unknown key lists every key the plug-in knows.\n"
        "\n"
        "Exit status:\n"
        "  0  the workbook was written\n"
        "  1  the export failed (the reason is printed)\n"
        "  2  wrong command line, unreadable or rejected recording file, or the plug-in\n"
        "     could not be loaded; nothing is written\n"
        "\n"
        "Example:\n"
        "  %1 --set frameSkip=1 --set externalData=false walk01.json walk01.xlsx\n")
        .arg(ProgramName, defaultSettingsPath);
}

QString versionText()
{
    return QStringLiteral("%1 %2\n").arg(ProgramName, QStringLiteral(TAVI_EXPORT_VERSION));
}
