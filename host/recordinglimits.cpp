#include "recordinglimits.h"

#include "recording.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace recordinglimits;

std::string describeBytes(std::int64_t bytes)
{
    if (bytes < 1024)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    const char* const units[] = {"KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes) / 1024;
    int unit = 0;
    while (value >= 1024 && unit < 3) {
        value /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}

namespace {

std::string plural(std::int64_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

// Estimates are kept in double: declared counts multiply far past 64 bits.
std::int64_t clampedEstimate(double value)
{
    return value >= 9.0e18 ? std::int64_t(9'000'000'000'000'000'000) : static_cast<std::int64_t>(value);
}

} // namespace

RecordingBudget::RecordingBudget(std::int64_t fileBytes)
    : m_fileBytes(std::max<std::int64_t>(fileBytes, 0))
{ }

std::int64_t RecordingBudget::memoryAllowed() const
{
    return BaseMemoryBytes + MemoryPerFileByte * m_fileBytes;
}

std::int64_t RecordingBudget::cellsAllowed() const
{
    return BaseCells + CellsPerFileByte * m_fileBytes;
}

bool RecordingBudget::chargeMemory(std::int64_t bytes)
{
    m_memory += bytes;
    return m_memory <= memoryAllowed();
}

void RecordingBudget::noteChannelsWithSamples(std::int64_t count)
{
    m_channelsWithSamples = std::max(m_channelsWithSamples, count);
}

std::string RecordingBudget::memoryRefusal() const
{
    return "a file of " + describeBytes(m_fileBytes) + " may use at most " + describeBytes(memoryAllowed()) + " ("
        + describeBytes(BaseMemoryBytes) + " plus " + std::to_string(MemoryPerFileByte) + " bytes per byte of the file)";
}

std::string RecordingBudget::checkExport(const Recording& recording) const
{
    // The external-data collector walks every frame number from the first to the last.
    const std::int64_t first = recording.effectiveFirstFrame().value_or(0);
    const std::int64_t last = recording.effectiveLastFrame().value_or(0);
    const std::int64_t range = last >= first ? last - first + 1 : 0;
    const char* rangeField = recording.lastFrame ? "lastFrame" : recording.firstFrame ? "firstFrame"
                                                                                      : "frames";
    if (range > MaxFrameRange) {
        return std::string(rangeField) + ": frames " + std::to_string(first) + " to " + std::to_string(last) + " are "
            + std::to_string(range) + " frames; at most " + std::to_string(MaxFrameRange)
            + " frames from the first to the last are allowed";
    }

    // Each channel with samples is resampled over that range to up to 4800 samples per second
    // (samples per frame: 4800 / the whole frame rate), held next to a copy of the raw samples,
    // and every exported frame writes that many rows of one cell per channel.
    const double rate = recording.frameRate.value_or(0.0);
    const std::int64_t channels = recording.externalChannels.size();
    const std::int64_t withSamples = std::min(channels, m_channelsWithSamples);
    const std::int64_t samplesPerFrame = rate >= 1.0 ? MaxResampledRate / static_cast<std::int64_t>(rate) : 0;
    double externalBytes = 0;
    double externalCells = 0;
    if (channels > 0 && samplesPerFrame > 0) {
        const std::int64_t walkable = BaseFramesWalked + FramesWalkedPerFileByte * m_fileBytes;
        if (range > walkable) {
            return std::string(rangeField) + ": the external data of frames " + std::to_string(first) + " to "
                + std::to_string(last) + " would be collected frame by frame; a file of " + describeBytes(m_fileBytes)
                + " may span at most " + std::to_string(walkable) + " frames (" + std::to_string(BaseFramesWalked)
                + " plus " + std::to_string(FramesWalkedPerFileByte) + " per byte of the file)";
        }
    }
    if (withSamples > 0 && samplesPerFrame > 0) {
        externalBytes = double(withSamples) * double(range) * double(samplesPerFrame) * sizeof(double)
            + double(m_externalSamples) * sizeof(double);
        externalCells = double(recording.frameNumbers().size()) * double(samplesPerFrame) * double(channels + 2);
    }
    if (double(m_memory) + externalBytes > double(memoryAllowed())) {
        char rateText[32];
        std::snprintf(rateText, sizeof rateText, "%g", rate);
        return "externalChannels: " + plural(withSamples, "channel", "channels") + " resampled over "
            + plural(range, "frame", "frames") + " at a frame rate of " + rateText + " ("
            + plural(samplesPerFrame, "sample", "samples") + " per frame) would take "
            + describeBytes(clampedEstimate(externalBytes)) + "; " + memoryRefusal();
    }

    const double cells = externalCells + double(m_poseSegments) * CellsPerPoseSegment;
    if (cells > double(cellsAllowed())) {
        return "frames: the export would write about " + std::to_string(clampedEstimate(cells))
            + " cells of poses and external data; a file of " + describeBytes(m_fileBytes) + " may have at most "
            + std::to_string(clampedEstimate(double(cellsAllowed()))) + " written (" + std::to_string(BaseCells)
            + " plus " + std::to_string(CellsPerFileByte) + " per byte of the file)";
    }
    return {};
}
