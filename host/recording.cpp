#include "recording.h"

#include <algorithm>

void Recording::noteFrameNumber(int number)
{
    if (m_frameNumbers.empty()) {
        m_minFrame = m_maxFrame = number;
    } else {
        m_minFrame = std::min(m_minFrame, number);
        m_maxFrame = std::max(m_maxFrame, number);
    }
    m_frameNumbers.push_back(number);
}

void Recording::appendFrame(int number, RecordingFrame frame)
{
    noteFrameNumber(number);
    if (m_frameIndex.try_emplace(number, m_frames.size()).second)
        m_frames.push_back(std::move(frame));
}

const RecordingFrame* Recording::frame(int number) const
{
    const auto found = m_frameIndex.find(number);
    return found == m_frameIndex.end() ? nullptr : &m_frames[found->second];
}

std::optional<int> Recording::derivedFirstFrame() const
{
    return m_frameNumbers.empty() ? std::nullopt : std::optional<int>(m_minFrame);
}

std::optional<int> Recording::derivedLastFrame() const
{
    return m_frameNumbers.empty() ? std::nullopt : std::optional<int>(m_maxFrame);
}

std::optional<int> Recording::derivedFrameCount() const
{
    if (m_frameNumbers.empty())
        return std::nullopt;
    return static_cast<int>(m_frameNumbers.size());
}
