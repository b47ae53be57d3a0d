#pragma once

// Reads a recording file (JSON, format version 1; gzip-compressed files are recognised by
// their first bytes, and a UTF-8 byte-order mark is skipped) into a Recording. The file is
// walked as a stream, so memory holds the model and a read buffer but never the whole text.
// Reading is strict: invalid JSON, a missing or other "format" or "version", a field of the
// wrong JSON type, and values past the bounds of recordinglimits.h reject the file with a
// message naming the file, the field's JSON path and what was expected, e.g.
//     walk.json: frames[12].pose.segments[3].q: expected an array of 4 numbers, found a string
// Invalid JSON is reported with its line, column and byte offset. Unknown fields are ignored.

#include "recording.h"

#include <QByteArrayView>
#include <QString>

#include <optional>

struct RecordingReadResult
{
    std::optional<Recording> recording; // set when the file was read
    QString error;                      // set when it was not
    bool outOfMemory = false;           // the file could not be held, not that it is wrong

    bool ok() const { return recording.has_value(); }
};

RecordingReadResult readRecordingFile(const QString& fileName);
// Reads a recording from JSON text already in memory; `sourceName` stands for the file name
// in messages.
RecordingReadResult readRecordingText(QByteArrayView json, const QString& sourceName);
