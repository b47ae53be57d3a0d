#pragma once

// What a finished workbook holds, read back from the file itself (its archive directory, the
// workbook part and the head of each worksheet), so that reports say what was written rather
// than what was meant to be.

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

struct WorkbookSummary
{
    int sheets = 0;
    // Rows of every worksheet, header rows included, as the worksheets' dimensions state them.
    std::int64_t rows = 0;
    // The titles of the sheets that carry on a sheet past the row limit: titled like another
    // sheet plus " 2", " 3" and so on.
    QStringList continuationSheets;
};

// Answers nothing when the file is not a workbook that can be read.
std::optional<WorkbookSummary> summarizeWorkbook(const QString& path);
