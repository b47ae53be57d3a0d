#pragma once

// In-memory model of one recording as the substitute host serves it (recording file format,
// version 1). A field left unset means "the host leaves this operation unimplemented":
// RecordingHost then answers with the SDK's default. Frame numbers, first/last frame and
// frame count can also be derived from the frame list.

#include "taviPose.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

struct RecordingMarker
{
    int frame = 0;
    QString text;
};

struct RecordingChannel
{
    QString name;
    // Unset: the host answers a null description for this channel.
    std::optional<QMap<QString, QString>> info;
};

// Finger-tracking names per hand (index: ZtHandId).
struct FingerTrackingNames
{
    std::array<QStringList, ZtHandCount> segmentNames;
    std::array<QStringList, ZtHandCount> jointNames;
};

// What one frame object of a file carries besides its number.
struct RecordingFrame
{
    // Null: the host has no pose for this frame.
    std::shared_ptr<const ConcreteTaviPose> pose;
    // Entry k: the samples of external channel k taken during this frame.
    QList<ExternalData> externalData;
};

class Recording
{
public:
    std::optional<QString> applicationVersion;
    std::optional<QString> filename;
    std::optional<QString> subjectName;
    std::optional<QString> processingQuality;
    std::optional<QDateTime> recordStartTime;
    std::optional<double> frameRate;
    // Explicit values; when unset the host derives them from the frame list
    // (effectiveFirstFrame() and the like).
    std::optional<int> firstFrame;
    std::optional<int> lastFrame;
    std::optional<int> frameCount;
    // Unset (absent or null): the host's T-pose handle holds no pose.
    std::optional<int> tPoseSegmentCount;
    QList<RecordingMarker> markers;
    QList<RecordingChannel> externalChannels;
    std::optional<int> externalDataCount;
    std::optional<FingerTrackingNames> fingerTracking;

    // Appends a frame in export order together with what the file holds for it. When a number
    // occurs more than once, lookups find the first frame that carries it.
    void appendFrame(int number, RecordingFrame frame);

    // The frame numbers in the order the host exports them.
    const std::vector<int>& frameNumbers() const { return m_frameNumbers; }
    // The data stored for a frame number; null for an unknown number.
    const RecordingFrame* frame(int number) const;

    // The smallest and largest frame number and the number of frames; unset without frames.
    std::optional<int> derivedFirstFrame() const;
    std::optional<int> derivedLastFrame() const;
    std::optional<int> derivedFrameCount() const;

    // Explicit value, else derived value, else unset.
    std::optional<int> effectiveFirstFrame() const { return firstFrame ? firstFrame : derivedFirstFrame(); }
    std::optional<int> effectiveLastFrame() const { return lastFrame ? lastFrame : derivedLastFrame(); }
    std::optional<int> effectiveFrameCount() const { return frameCount ? frameCount : derivedFrameCount(); }

private:
    void noteFrameNumber(int number);

    std::vector<int> m_frameNumbers;
    std::vector<RecordingFrame> m_frames;
    std::unordered_map<int, std::size_t> m_frameIndex; // frame number -> index in m_frames
    int m_minFrame = 0;
    int m_maxFrame = 0;
};
