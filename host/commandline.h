#pragma once

// The command line of tavi-export: what to export (or which other action to take) and the
// options that shape the run.

#include <QString>
#include <QStringList>

#include <variant>

// Exit statuses of the program.
enum ExitStatus : int {
    ExitSuccess = 0,
    ExitExportFailed = 1,
    ExitUsageError = 2, // command line, recording file or plug-in
};

struct CommandLine
{
    enum class Action {
        ExportFile,      // RECORDING OUTPUT
        ExportDemo,      // --demo OUTPUT
        ExportSynthetic, // --synthetic N OUTPUT
        ExportBatch,     // --output-dir DIR RECORDING...
        ShowOptions,     // --options
        ShowSettings,    // --show-settings
        WriteDemo,       // --write-demo FILE: the demo as a recording file
        ShowHelp,
        ShowVersion,
    };

    Action action = Action::ShowHelp;
    QString recordingPath;
    QString outputPath;
    QStringList recordingPaths; // ExportBatch
    QString outputDir;          // ExportBatch
    int syntheticFrames = 0;
    QString pluginPath;   // empty: look for the plug-in built with the program
    QString settingsPath; // empty: the user's configuration folder
    // KEY=VALUE texts as given; checked against the plug-in's registered settings later.
    QStringList settingAssignments;
    // --sheets: the only sheet keys on for this run; empty when not given.
    QStringList sheets;
    bool quiet = false;
    int jobs = 0; // 0: one per core
    bool noClobber = false;
    QString reportPath;

    bool exports() const
    {
        return action == Action::ExportFile || action == Action::ExportDemo || action == Action::ExportSynthetic
            || action == Action::ExportBatch;
    }
};

// Parses the arguments (program name first). Answers the command line or a message saying
// what is wrong with it.
std::variant<CommandLine, QString> parseCommandLine(const QStringList& arguments);

// The text of --help (naming where the settings file is kept by default) and of --version.
QString helpText(const QString& defaultSettingsPath);
QString versionText();
