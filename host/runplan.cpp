#include "runplan.h"

#include "messagetext.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

std::variant<std::vector<ExportRequest>, QString> exportRequests(const CommandLine& line)
{
    std::vector<ExportRequest> requests;
    if (line.action != CommandLine::Action::ExportBatch) {
        ExportRequest request;
        request.source = line.action == CommandLine::Action::ExportDemo ? ExportRequest::Source::Demo
            : line.action == CommandLine::Action::ExportSynthetic       ? ExportRequest::Source::Synthetic
                                                                        : ExportRequest::Source::File;
        request.recordingPath = line.recordingPath;
        request.syntheticFrames = line.syntheticFrames;
        request.outputPath = line.outputPath;
        requests.push_back(request);
        return requests;
    }

    const QFileInfo folder(line.outputDir);
    if (!folder.isDir())
        return QStringLiteral("the output folder %1 does not exist; create it first").arg(quoted(line.outputDir));
    QHash<QString, QString> recordingOf;
    for (const QString& recording : line.recordingPaths) {
        ExportRequest request;
        request.recordingPath = recording;
        request.outputPath = QDir(line.outputDir).filePath(workbookNameFor(recording));
        const auto taken = recordingOf.constFind(request.outputPath);
        if (taken != recordingOf.cend()) {
            return QStringLiteral("%1 and %2 would both be written to %3; rename one or export them separately")
                .arg(quoted(*taken), quoted(recording), quoted(request.outputPath));
        }
        recordingOf.insert(request.outputPath, recording);
        requests.push_back(request);
    }
    return requests;
}

std::variant<std::vector<SettingOverride>, QString> runOverrides(const CommandLine& line,
    const QMap<QString, QVariant>& registered)
{
    std::vector<SettingOverride> overrides;
    if (!line.sheets.isEmpty()) {
        QStringList sheetKeys;
        for (auto key = registered.cbegin(); key != registered.cend(); ++key) {
            if (key->typeId() == QMetaType::Bool)
                sheetKeys << key.key();
        }
        for (const QString& sheet : line.sheets) {
            if (!sheetKeys.contains(sheet)) {
                return QStringLiteral("--sheets: unknown sheet %1; the sheets are: %2")
                    .arg(quoted(sheet), sheetKeys.join(QStringLiteral(", ")));
            }
        }
        for (const QString& key : sheetKeys)
            overrides.push_back({key, QVariant(line.sheets.contains(key))});
    }
    for (const QString& assignment : line.settingAssignments) {
        const auto parsed = parseSettingOverride(assignment, registered);
        if (const QString* error = std::get_if<QString>(&parsed))
            return QStringLiteral("--set: %1").arg(*error);
        overrides.push_back(std::get<SettingOverride>(parsed));
    }
    return overrides;
}
