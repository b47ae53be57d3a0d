#pragma once

// The status line on standard error while exports run: for each running export its frames
// (done of total, rate, time left for the frames) and then its packaging with the time it has
// taken so far and, once the archive grows in the temporary folder, the share packed and the
// time left (finalize itself tells nothing of its progress).

#include <cstdint>
#include <vector>

#include <QString>

struct ExportActivity;

class ProgressDisplay
{
public:
    explicit ProgressDisplay(bool enabled)
        : m_enabled(enabled)
    { }
    ~ProgressDisplay() { clear(); }
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    // Redraws the line. `finished` of `total` exports are over; `running` are under way.
    void show(const std::vector<const ExportActivity*>& running, int finished, int total);
    // Takes the line away, before other output and at the end.
    void clear();

private:
    void draw(const QString& text);

    bool m_enabled;
    bool m_shown = false;
};

// The status of one export as the line shows it; `named` puts the export's name first.
QString describeActivity(const ExportActivity& activity, bool named, std::int64_t nowMs);

// "m:ss" or "h:mm:ss", rounded up.
QString formatDuration(double seconds);
