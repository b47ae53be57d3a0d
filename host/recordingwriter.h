#pragma once

// Writes a Recording as a recording file (JSON, format version 1) that the reader reads
// back into the same recording: every field the model sets, numbers in their shortest form
// that reads back exactly (non-finite ones as the strings "NaN", "Infinity", "-Infinity"),
// the start time in UTC. One line per frame, so the file stays readable in an editor.

#include "recording.h"

#include <QString>

// Writes the file whole or not at all; answers an empty text or what went wrong.
QString writeRecordingFile(const Recording& recording, const QString& fileName);
// The file's text.
QByteArray recordingText(const Recording& recording);
