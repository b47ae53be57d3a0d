#pragma once

// The generated recording of --synthetic N, the workload of the benchmarks: N frames at 240
// frames per second from a suit with all 27 segments (23 body segments, four props), finger
// tracking with data on both hands, four external channels at 2000 samples per second and a
// marker every 100 frames. Each pose is computed when the exporter asks for it, so memory
// does not grow with N. Values vary from frame to frame and carry all 15 significant digits;
// computing them costs a few multiplications per value.

#include "recordinghost.h"

#include <vector>

namespace synthetic {

inline constexpr double FrameRate = 240.0;
inline constexpr int SegmentCount = 27;
inline constexpr int ChannelCount = 4;
inline constexpr int ChannelSampleRate = 2000;
inline constexpr int MarkerInterval = 100;

} // namespace synthetic

class SyntheticRecordingHost : public RecordingHost
{
public:
    // Frames 0 .. frameCount - 1; the settings stores come from `settingsFactory`.
    explicit SyntheticRecordingHost(int frameCount, SettingsFactory settingsFactory = {});

    std::unique_ptr<TaviPoseObject> pose(int frame) const override;
    QList<ExternalData> externalData(int frame) const override;
    QString markerText(int frame) const override;

private:
    // One generated quantity: offset + sine * sin(frame phase) + cosine * cos(other phase).
    struct Wave
    {
        double offset, sine, cosine;
    };
    // A unit quaternion turning with the frame: angle `phase` + frame phase about `axis`.
    struct Spin
    {
        double cosPhase, sinPhase;
        double axis[3];
    };

    class Generator;

    bool hasFrame(int frame) const { return frame >= 0 && frame < m_frameCount; }

    int m_frameCount;
    std::vector<Wave> m_waves;
    std::vector<Spin> m_spins;
};
