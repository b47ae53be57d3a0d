#include "commandline.h"

#include "messagetext.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

namespace {

// More exports at once than this only compete for the same cores and disk.
constexpr int MostJobs = 64;

const QString ProgramName = QStringLiteral("tavi-export");

QString tooManyArguments(const QStringList& extra)
{
    return QStringLiteral("unexpected argument %1").arg(quoted(extra.first()));
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
    const QCommandLineOption outputDir(QStringLiteral("output-dir"), QString(), QStringLiteral("DIR"));
    const QCommandLineOption jobs(QStringLiteral("jobs"), QString(), QStringLiteral("N"));
    const QCommandLineOption noClobber(QStringLiteral("no-clobber"));
    const QCommandLineOption report(QStringLiteral("report"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption sheets(QStringLiteral("sheets"), QString(), QStringLiteral("KEYS"));
    const QCommandLineOption showSettings(QStringLiteral("show-settings"));
    const QCommandLineOption writeDemo(QStringLiteral("write-demo"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")});
    const QCommandLineOption version(QStringLiteral("version"));

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({plugin, settings, set, quiet, demo, synthetic, options, outputDir, jobs, noClobber, report, sheets,
        showSettings, writeDemo, help, version});
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
    if (parser.isSet(writeDemo)) {
        if (parser.optionNames().size() > 1 || !parser.positionalArguments().isEmpty())
            return QStringLiteral("--write-demo takes a file name and nothing else");
        line.action = CommandLine::Action::WriteDemo;
        line.outputPath = parser.value(writeDemo);
        if (line.outputPath.isEmpty())
            return QStringLiteral("--write-demo needs a file name");
        return line;
    }

    // Options given twice would silently lose a value; only --set may repeat.
    for (const QCommandLineOption* single : {&plugin, &settings, &synthetic, &outputDir, &jobs, &report, &sheets}) {
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
    line.noClobber = parser.isSet(noClobber);
    line.reportPath = parser.value(report);
    if (parser.isSet(report) && line.reportPath.isEmpty())
        return QStringLiteral("--report needs a file name");
    if (parser.isSet(sheets)) {
        line.sheets = parser.value(sheets).split(u',', Qt::SkipEmptyParts);
        if (line.sheets.isEmpty())
            return QStringLiteral("--sheets needs at least one sheet key");
    }
    if (parser.isSet(jobs)) {
        bool ok = false;
        line.jobs = parser.value(jobs).toInt(&ok);
        if (!ok || line.jobs < 1 || line.jobs > MostJobs)
            return QStringLiteral("--jobs takes a number from 1 to %1, not %2").arg(QString::number(MostJobs), quoted(parser.value(jobs)));
    }

    const int actions = int(parser.isSet(demo)) + int(parser.isSet(synthetic)) + int(parser.isSet(options))
        + int(parser.isSet(outputDir)) + int(parser.isSet(showSettings));
    if (actions > 1)
        return QStringLiteral("--demo, --synthetic, --output-dir, --options and --show-settings exclude one another");

    QStringList positional = parser.positionalArguments();
    if (parser.isSet(options) || parser.isSet(showSettings)) {
        if (!positional.isEmpty())
            return tooManyArguments(positional);
        if (parser.isSet(options)) {
            if (!line.settingAssignments.isEmpty() || !line.sheets.isEmpty())
                return QStringLiteral("--set and --sheets apply to an export, not to --options");
            line.action = CommandLine::Action::ShowOptions;
        } else {
            line.action = CommandLine::Action::ShowSettings;
        }
        return line;
    }

    if (parser.isSet(outputDir)) {
        line.outputDir = parser.value(outputDir);
        if (line.outputDir.isEmpty())
            return QStringLiteral("--output-dir needs a folder");
        if (positional.isEmpty())
            return QStringLiteral("missing the recording files to export into %1").arg(quoted(line.outputDir));
        if (positional.contains(QString()))
            return QStringLiteral("a recording file name is empty");
        line.recordingPaths = positional;
        line.action = CommandLine::Action::ExportBatch;
        return line;
    }
    if (line.jobs > 0)
        return QStringLiteral("--jobs goes with --output-dir");

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
                return QStringLiteral("--synthetic takes a number of frames of at least 1, not %1").arg(quoted(count));
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
        "  %1 [OPTIONS] RECORDING OUTPUT.xlsx           export a recording file\n"
        "  %1 [OPTIONS] --output-dir DIR RECORDING...   export several, DIR/<name>.xlsx each\n"
        "  %1 [OPTIONS] --demo OUTPUT.xlsx              export the built-in demo recording\n"
        "  %1 [OPTIONS] --synthetic N OUTPUT.xlsx       export a generated recording of N frames\n"
        "  %1 [OPTIONS] --show-settings                 print the settings in effect\n"
        "  %1 [OPTIONS] --options                       edit the export settings in a dialog\n"
        "  %1 --write-demo FILE.json                    write the demo recording as a recording file\n"
        "\n"
        "Runs the Excel exporter plug-in outside the studio application and writes each\n"
        "recording into an .xlsx workbook. RECORDING is a recording file (JSON, format\n"
        "\"tavi-recording\" version 1, plain or gzip-compressed; docs/recording-format.md).\n"
        "\n"
        "Options:\n"
        "  --output-dir DIR  batch mode: walk.json (or walk.json.gz) goes to DIR/walk.xlsx;\n"
        "                    two recordings with one name are refused\n"
        "  --jobs N          with --output-dir: N exports side by side (default: one per\n"
        "                    core)\n"
        "  --no-clobber      skip a recording whose workbook exists (resumes a batch)\n"
        "  --report FILE     write what each export did as JSON (see docs/report.md)\n"
        "  --sheets KEYS     only these sheets for this run, e.g. --sheets jointAngles,markers\n"
        "                    (General Information is always written)\n"
        "  --set KEY=VALUE   change one export setting for this run only; the settings\n"
        "                    file is not changed. frameSkip takes an integer from 0 to\n"
        "                    1000000, every other key true or false. Repeatable.\n"
        "  --settings FILE   the INI file that keeps the export settings (default:\n"
        "                    %2);\n"
        "                    the first export creates it with the defaults, for editing\n"
        "  --plugin PATH     the plug-in library to load (default: the one installed or\n"
        "                    built with this program)\n"
        "  --quiet           no progress display and no summary lines; errors still show\n"
        "  -h, --help        show this help\n"
        "  --version         show the program's version\n"
        "\n"
        "Settings: frameSkip (frames left out after each exported frame, 0 = none) and\n"
        "one switch per worksheet, e.g. markers, segmentPos, jointAngles, externalData.\n"
        "--show-settings lists them all with their values and where each comes from.\n"
        "\n"
        "Output: the name must end in .xlsx, its folder must exist and be writable, and it\n"
        "must not be the recording. An existing workbook is replaced only by a complete new\n"
        "one. Each written workbook gets one line on standard output: frames, sheets,\n"
        "rows, continuation sheets, seconds and bytes.\n"
        "\n"
        "Exit status (for several recordings, the worst of them):\n"
        "  0  every workbook was written (or skipped with --no-clobber)\n"
        "  1  an export failed (the reason is printed)\n"
        "  2  wrong command line, unreadable or rejected recording, refused output, or\n"
        "     the plug-in could not be loaded; nothing is written for that recording\n"
        "  128+N  ended by signal N (Ctrl-C: 130); temporary files are removed\n"
        "\n"
        "Examples:\n"
        "  %1 --set frameSkip=1 --set externalData=false walk01.json walk01.xlsx\n"
        "  %1 --output-dir workbooks --no-clobber --report report.json trials/*.json\n")
        .arg(ProgramName, defaultSettingsPath);
}

QString versionText()
{
    return QStringLiteral("%1 %2\n").arg(ProgramName, QStringLiteral(TAVI_EXPORT_VERSION));
}
