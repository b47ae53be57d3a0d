#pragma once

// Checks an output before any export starts, so that a mistake is refused with nothing
// created instead of being found after the whole export (or, worse, overwriting the
// recording).

#include <QString>

// Answers an empty string when `outputPath` may receive a workbook, or a message saying what
// is wrong and what to do. `recordingPath` (empty for built-in recordings) must not be the
// output, however either is named: through a link or another relative path.
QString checkOutput(const QString& outputPath, const QString& recordingPath = QString());

// Whether the two names reach the same existing file (same device and inode).
bool sameFile(const QString& first, const QString& second);
