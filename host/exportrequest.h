#pragma once

// One export the command line asks for: which recording (a file, the demo or a generated
// one) goes to which workbook, and the recording made ready for the exporter.

#include "recordinghost.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

// A recording served through a host, with the frames the exporter is to be given.
struct PreparedRecording
{
    std::unique_ptr<RecordingHost> host;
    std::int64_t frameCalls = 0;
    std::function<int(std::int64_t)> frameAt; // the frame number of call i
};

struct ExportRequest
{
    enum class Source { File,
        Demo,
        Synthetic };
    Source source = Source::File;
    QString recordingPath;   // Source::File
    int syntheticFrames = 0; // Source::Synthetic
    QString outputPath;
    // Read ahead by the caller; otherwise the export reads it when it starts.
    std::shared_ptr<PreparedRecording> prepared;

    // The recording as the user named it ("--demo" and "--synthetic N" for built-in ones).
    QString inputName() const;
};

// Why a recording could not be made ready.
enum class PrepareFailure { None,
    Rejected,
    OutOfMemory };

// Reads or generates the request's recording. Answers nothing, with `error` set, when the
// recording file is rejected or memory runs out while it is read or generated.
std::shared_ptr<PreparedRecording> prepareRecording(const ExportRequest& request, QString& error,
    PrepareFailure& failure);

// The workbook name of a recording in batch mode: its file name without ".json", ".json.gz"
// or ".gz", followed by ".xlsx".
QString workbookNameFor(const QString& recordingPath);
