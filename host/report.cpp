#include "report.h"

#include "messagetext.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

QJsonObject describe(const ExportRequest& request, const ExportResult& result)
{
    const bool written = result.status == ExportResult::Status::Written;
    const auto count = [written](std::int64_t value) { return written ? QJsonValue(double(value)) : QJsonValue(); };
    return QJsonObject{
        {QStringLiteral("input"), request.inputName()},
        {QStringLiteral("output"), request.outputPath},
        {QStringLiteral("status"), statusName(result.status)},
        {QStringLiteral("error"), result.error.isEmpty() ? QJsonValue() : QJsonValue(result.error)},
        {QStringLiteral("frames"), count(result.frames)},
        {QStringLiteral("exportedFrames"), count(result.exportedFrames)},
        {QStringLiteral("frameSkip"), count(result.frameSkip)},
        {QStringLiteral("sheets"), count(result.workbook.sheets)},
        {QStringLiteral("rows"), count(result.workbook.rows)},
        {QStringLiteral("continuationSheets"), count(result.workbook.continuationSheets.size())},
        {QStringLiteral("seconds"), written ? QJsonValue(result.seconds) : QJsonValue()},
        {QStringLiteral("bytes"), count(result.bytes)},
    };
}

} // namespace

// The report's folder must take the file before any export starts.
QString checkReportPath(const QString& path)
{
    const QFileInfo report(path);
    if (report.isDir())
        return QStringLiteral("the report %1 is a folder; give a file name").arg(quoted(path));
    if (!QFileInfo(report.absolutePath()).isDir())
        return QStringLiteral("the folder of the report %1 does not exist; create it first").arg(quoted(path));
    return QString();
}

QString writeReport(const QString& path, const std::vector<ExportRequest>& requests,
    const std::vector<ExportResult>& results, int exitStatus)
{
    QJsonArray recordings;
    for (std::size_t index = 0; index < requests.size(); ++index)
        recordings.append(describe(requests[index], results[index]));
    const QJsonObject report{{QStringLiteral("exitStatus"), exitStatus}, {QStringLiteral("recordings"), recordings}};

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    file.write(QJsonDocument(report).toJson(QJsonDocument::Indented));
    if (!file.commit())
        return file.errorString();
    return QString();
}
