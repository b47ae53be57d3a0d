#pragma once

// The --report document: one JSON object per recording with what was written, for scripts.
// docs/report.md describes its fields.

#include "batch.h"

#include <QString>

#include <vector>

// Writes the report to `path` (replaced whole). Answers an empty string or the reason it
// could not be written.
QString writeReport(const QString& path, const std::vector<ExportRequest>& requests,
    const std::vector<ExportResult>& results, int exitStatus);
