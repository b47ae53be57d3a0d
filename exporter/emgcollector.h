#pragma once

// Gathers the external channels (EMG and the like) of every exported frame before the first
// row is written, and resamples each channel to a fixed number of samples per exported frame.

#include "zttypes.h"

#include <QList>

#include <functional>

class AbstractTaviStudioPluginInterface;

class EmgCollector
{
public:
    // Called after each appended block with (channel, exported frame ordinal).
    using ProgressObserver = std::function<void(int, int)>;

    // Channel count, output rate (2400, or 4800 above 3000 samples per second) and samples
    // per frame; false when there is nothing to export.
    bool initialize(const AbstractTaviStudioPluginInterface* host);
    // Collects the frames the exporter selects between first and last and resamples them.
    void collectAndResample(int firstFrame, int lastFrame, int frameSkip);

    int channelCount() const { return m_channelCount; }
    int samplesPerFrame() const { return m_samplesPerFrame; }
    int outputRate() const { return m_outputRate; }
    int exportedFrameCount() const { return m_exportedFrameCount; }
    // One vector per channel of exportedFrameCount() * samplesPerFrame() samples, or empty.
    const QList<ZtVector>& resampled() const { return m_resampled; }
    bool hasResampledData() const;

    void setProgressObserver(ProgressObserver observer) { m_progress = std::move(observer); }

private:
    const AbstractTaviStudioPluginInterface* m_host = nullptr;
    int m_channelCount = 0;
    int m_samplesPerFrame = 0;
    int m_outputRate = 0;
    int m_exportedFrameCount = 0;
    QList<ZtVector> m_raw;
    QList<ZtVector> m_resampled;
    ProgressObserver m_progress;
};

// Linear resampling of a channel's samples onto `count` points spread over the whole range.
ZtVector resampleChannel(const ZtVector& raw, int count);
