#include "exportrequest.h"

#include "demorecording.h"
#include "recordingreader.h"
#include "syntheticrecording.h"

#include <QFileInfo>

#include <new>

QString ExportRequest::inputName() const
{
    switch (source) {
    case Source::Demo:
        return QStringLiteral("--demo");
    case Source::Synthetic:
        return QStringLiteral("--synthetic %1").arg(syntheticFrames);
    case Source::File:
        break;
    }
    return recordingPath;
}

namespace {

std::shared_ptr<PreparedRecording> prepare(const ExportRequest& request, QString& error, PrepareFailure& failure)
{
    auto prepared = std::make_shared<PreparedRecording>();
    switch (request.source) {
    case ExportRequest::Source::Synthetic:
        prepared->host = std::make_unique<SyntheticRecordingHost>(request.syntheticFrames);
        prepared->frameCalls = request.syntheticFrames;
        prepared->frameAt = [](std::int64_t call) { return static_cast<int>(call); };
        return prepared;
    case ExportRequest::Source::File: {
        RecordingReadResult read = readRecordingFile(request.recordingPath);
        if (!read.ok()) {
            error = read.error;
            failure = read.outOfMemory ? PrepareFailure::OutOfMemory : PrepareFailure::Rejected;
            return nullptr;
        }
        prepared->host = std::make_unique<RecordingHost>(std::move(*read.recording));
        break;
    }
    case ExportRequest::Source::Demo:
        prepared->host = std::make_unique<RecordingHost>(makeDemoRecording());
        break;
    }
    const RecordingHost* host = prepared->host.get();
    prepared->frameCalls = static_cast<std::int64_t>(host->frameNumbers().size());
    prepared->frameAt = [host](std::int64_t call) { return host->frameNumbers()[static_cast<std::size_t>(call)]; };
    return prepared;
}

} // namespace

std::shared_ptr<PreparedRecording> prepareRecording(const ExportRequest& request, QString& error,
    PrepareFailure& failure)
{
    failure = PrepareFailure::None;
    try {
        return prepare(request, error, failure);
    } catch (const std::bad_alloc&) {
        // Running out of memory is a failed export, not a wrong recording.
        error = QStringLiteral("%1: not enough memory to prepare the recording; you could retry with a smaller data set")
                    .arg(request.inputName());
        failure = PrepareFailure::OutOfMemory;
        return nullptr;
    }
}

QString workbookNameFor(const QString& recordingPath)
{
    QString name = QFileInfo(recordingPath).fileName();
    for (const QLatin1String suffix : {QLatin1String(".gz"), QLatin1String(".json")}) {
        if (name.endsWith(suffix, Qt::CaseInsensitive) && name.size() > suffix.size())
            name.chop(suffix.size());
    }
    return name + QStringLiteral(".xlsx");
}
