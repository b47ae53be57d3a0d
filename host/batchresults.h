#pragma once

// The results of a run's exports as they come in, readable from any thread: the export
// threads record each export's start and result, and a signal that ends the run at once
// reads what is known by then to write the report.

#include "batch.h"

#include <cstddef>
#include <mutex>
#include <vector>

class BatchResults
{
public:
    explicit BatchResults(std::size_t count)
        : m_results(count)
    { }

    // An export that has begun reads as interrupted until its result comes: that is what it
    // is if the run ends meanwhile. One never begun reads as not started.
    void begin(std::size_t index);
    void finish(std::size_t index, ExportResult result);

    ExportResult at(std::size_t index) const;
    std::vector<ExportResult> snapshot() const;

private:
    mutable std::mutex m_mutex;
    std::vector<ExportResult> m_results;
};
