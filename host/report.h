#pragma once

// The --report document: one JSON object per recording with what was written, for scripts.
// docs/report.md describes its fields.

#include "batch.h"

#include <QString>

#include <vector>

// Checks, before any export starts, that the report can be written at `path`: answers an
// empty string or a message for the user.
QString checkReportPath(const QString& path);

// Writes the report to `path` (replaced whole). Answers an empty string or the reason it
// could not be written.
QString writeReport(const QString& path, const std::vector<ExportRequest>& requests,
    const std::vector<ExportResult>& results, int exitStatus);
