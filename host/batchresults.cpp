#include "batchresults.h"

#include <utility>

void BatchResults::begin(std::size_t index)
{
    const std::lock_guard lock(m_mutex);
    m_results[index].status = ExportResult::Status::Interrupted;
}

void BatchResults::finish(std::size_t index, ExportResult result)
{
    const std::lock_guard lock(m_mutex);
    m_results[index] = std::move(result);
}

ExportResult BatchResults::at(std::size_t index) const
{
    const std::lock_guard lock(m_mutex);
    return m_results[index];
}

std::vector<ExportResult> BatchResults::snapshot() const
{
    const std::lock_guard lock(m_mutex);
    return m_results;
}
