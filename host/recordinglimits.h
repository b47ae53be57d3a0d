#pragma once

// What a recording file may ask of the program. Some numbers in a file cost far more than
// the bytes that state them: a T-pose size is allocated, a frame range is walked and, with
// external channels, resampled to thousands of samples per frame. The bounds below lie far
// beyond any real recording (days of frames at 1000 frames per second, hundreds of channels),
// and the budget lets the memory and the cells of an export grow only with the file's size,
// so a small file can never exhaust the machine. docs/recording-format.md lists them for users.

#include "externalrate.h"

#include <cstdint>
#include <string>

class Recording;

namespace recordinglimits {

constexpr int MaxFrameNumber = 1'000'000'000;       // frame numbers, first and last frame
constexpr std::int64_t MaxFrameRange = 100'000'000; // lastFrame - firstFrame + 1, frameCount
constexpr int MaxExternalDataCount = 1'000'000'000;
constexpr int MaxTPoseSegments = 1000;
constexpr double MaxFrameRate = 100'000;
constexpr std::int64_t MaxTextBytes = 1 << 20;     // any one string, in UTF-8
constexpr std::int64_t MaxNumberCharacters = 1000; // the text of any one number

// The external-data collector brings every channel to at most this many samples per second.
constexpr int MaxResampledRate = MaxExternalOutputRate;

// Memory the recording and its export may take: a base plus so much per byte of the file
// (as stored, so a gzip file counts its compressed size).
constexpr std::int64_t BaseMemoryBytes = std::int64_t(48) << 20;
constexpr std::int64_t MemoryPerFileByte = 100;
// Cells the export may write: a base plus so many per byte of the file.
constexpr std::int64_t BaseCells = 5'000'000;
constexpr std::int64_t CellsPerFileByte = 8;
// Frame numbers the external-data collector may walk from the first frame to the last,
// asking the host for each one's samples: a base plus so many per byte of the file.
constexpr std::int64_t BaseFramesWalked = 10'000'000;
constexpr std::int64_t FramesWalkedPerFileByte = 1;
// Cells a pose segment fills across the per-segment sheets.
constexpr std::int64_t CellsPerPoseSegment = 60;

} // namespace recordinglimits

// Keeps count of what a recording being read will cost, against what its file size allows.
class RecordingBudget
{
public:
    explicit RecordingBudget(std::int64_t fileBytes);

    // Adds memory the model will hold; false once the allowance is passed.
    bool chargeMemory(std::int64_t bytes);
    // What the reader saw besides the model's memory, for the export's own needs.
    void notePoseSegments(std::int64_t count) { m_poseSegments += count; }
    void noteExternalSamples(std::int64_t count) { m_externalSamples += count; }
    void noteChannelsWithSamples(std::int64_t count);

    // "a file of N bytes may use at most M (...)": the end of a refusal message.
    std::string memoryRefusal() const;

    // The export's own memory and cells for the finished recording, checked against the
    // allowance. Answers "field: what is too much" or an empty text.
    std::string checkExport(const Recording& recording) const;

private:
    std::int64_t memoryAllowed() const;
    std::int64_t cellsAllowed() const;

    std::int64_t m_fileBytes;
    std::int64_t m_memory = 0;
    std::int64_t m_poseSegments = 0;
    std::int64_t m_externalSamples = 0;
    std::int64_t m_channelsWithSamples = 0;
};

// "1.8 GiB", "48.0 MiB", "168 bytes".
std::string describeBytes(std::int64_t bytes);
