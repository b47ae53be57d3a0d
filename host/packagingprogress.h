#pragma once

// How far the plug-in has packed a workbook, read from the export's temporary folder. While it
// packages, the plug-in writes the archive there and removes each part file once its bytes are
// in the archive, so the archive's share of the folder's bytes is the share of the work done,
// and the rate at which the archive grew so far tells the time left.

#include <QString>

#include <cstdint>
#include <optional>

struct PackagingProgress
{
    std::int64_t archiveBytes = 0; // in the archive so far
    std::int64_t partBytes = 0;    // still in part files

    double fractionDone() const;
    // The part bytes left at the rate the archive grew over `secondsPackaging`; none before the
    // archive holds anything to measure a rate by.
    std::optional<double> secondsLeft(double secondsPackaging) const;
};

// The archive and the part files of a temporary folder (the lock file aside); zeros when the
// folder cannot be read.
PackagingProgress readPackagingProgress(const QString& temporaryFolder);
