#pragma once

// Runs the exports of one command line, side by side as several exporters of the one loaded
// factory (as the studio application's parallel exporting does), each on a thread of its own.
// A failed or rejected recording does not stop the others. The calling thread draws the
// progress line and prints, as each export ends, one summary line on standard output or its
// error on standard error.

#include "exportrequest.h"
#include "workbooksummary.h"

#include <QString>

#include <cstdint>
#include <vector>

class AbstractExporterFactory;
class AbstractSettingsSynchronizer;
class BatchResults;

struct ExportResult
{
    enum class Status { NotStarted,
        Written,
        Skipped,
        Failed,
        Rejected,
        Interrupted };
    Status status = Status::NotStarted;
    QString error;
    std::int64_t frames = 0; // the recording's frames
    std::int64_t exportedFrames = 0;
    std::int64_t frameSkip = 0;
    WorkbookSummary workbook;
    double seconds = 0;
    std::int64_t bytes = 0;
};

struct BatchOptions
{
    int jobs = 1;
    bool noClobber = false; // skip a recording whose workbook exists
    bool summaries = true;  // one line per written workbook on standard output
    bool showProgress = false;
    bool nameInErrors = false; // several recordings: messages say which one they are about
};

// `settings` is the store the plug-in registered its settings with; it tells the frame skip.
// Each export's result goes into `results` (sized for the requests) as it ends.
void runExports(const AbstractExporterFactory& factory, const AbstractSettingsSynchronizer& settings,
    const std::vector<ExportRequest>& requests, const BatchOptions& options, BatchResults& results);

// 0 when every workbook was written or skipped, 1 when an export failed, 2 when a recording
// or an output was rejected: the worst of the recordings'.
int exitStatusOf(const std::vector<ExportResult>& results);

// "written", "skipped", "failed", "rejected", "interrupted", "not started".
QString statusName(ExportResult::Status status);

// The summary line of a written or skipped export.
QString summaryLine(const ExportRequest& request, const ExportResult& result);
// The note on the sheets that went on past the row limit; empty when none did.
QString continuationNote(const ExportRequest& request, const ExportResult& result);
