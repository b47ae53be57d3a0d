#include "emgcollector.h"

#include "abstracttavistudioplugininterface.h"
#include "externalrate.h"

#include <algorithm>
#include <climits>

namespace {

int channelRate(const AbstractTaviStudioPluginInterface& host, int channel)
{
    const std::unique_ptr<AbstractTaviStudioPluginInterface::ChannelInfo> info = host.externalChannelInfo(channel);
    if (!info)
        return 0;
    bool ok = false;
    const int rate = info->value(QStringLiteral("frameRate")).toInt(&ok, 10);
    return ok ? rate : 0;
}

// The frame rate truncated to an integer; rates below one (and NaN) give 0.
int wholeFrameRate(double frameRate)
{
    if (!(frameRate >= 1.0))
        return 0;
    return frameRate >= static_cast<double>(INT_MAX) ? INT_MAX : static_cast<int>(frameRate);
}

} // namespace

bool EmgCollector::initialize(const AbstractTaviStudioPluginInterface* host)
{
    m_host = host;
    m_channelCount = static_cast<int>(host->externalChannelNames().size());
    if (m_channelCount == 0)
        return false;

    int maxRate = 0;
    for (int channel = 0; channel < m_channelCount; ++channel)
        maxRate = std::max(maxRate, channelRate(*host, channel));
    m_outputRate = externalOutputRate(maxRate);

    const int frameRate = wholeFrameRate(host->frameRate());
    if (frameRate < 1) {
        m_samplesPerFrame = 0;
        return false;
    }
    m_samplesPerFrame = m_outputRate / frameRate;
    return m_samplesPerFrame > 0;
}

void EmgCollector::collectAndResample(int firstFrame, int lastFrame, int frameSkip)
{
    m_resampled.clear();
    m_raw.clear();
    m_exportedFrameCount = 0;

    // The same selection as the exporter's: the first frame, then every (frameSkip + 1)-th.
    bool haveFirstUsed = false;
    long long firstUsed = 0;
    // No export has more than INT_MAX frames: the count of frames used stays an int.
    const long long last = std::min<long long>(lastFrame, static_cast<long long>(firstFrame) + INT_MAX - 1);
    for (long long frame = firstFrame; frame <= last; ++frame) {
        if (!haveFirstUsed) {
            haveFirstUsed = true;
            firstUsed = frame;
        } else if (frameSkip >= 1 && (frame - firstUsed) % (frameSkip + 1LL) != 0) {
            continue;
        }

        if (m_raw.size() != m_channelCount)
            m_raw.resize(m_channelCount);
        ++m_exportedFrameCount;
        const QList<ExternalData> blocks = m_host->externalData(static_cast<int>(frame));
        const int usable = std::min(static_cast<int>(blocks.size()), m_channelCount);
        for (int channel = 0; channel < usable; ++channel) {
            m_raw[channel].append(blocks[channel].samples);
            if (m_progress)
                m_progress(channel, m_exportedFrameCount - 1);
        }
    }

    const long long total = static_cast<long long>(m_exportedFrameCount) * m_samplesPerFrame;
    for (int channel = 0; channel < m_channelCount; ++channel)
        m_resampled.append(resampleChannel(m_raw.value(channel), static_cast<int>(std::min<long long>(total, INT_MAX))));
}

bool EmgCollector::hasResampledData() const
{
    return std::any_of(m_resampled.begin(), m_resampled.end(), [](const ZtVector& v) { return !v.empty(); });
}

ZtVector resampleChannel(const ZtVector& raw, int count)
{
    const std::size_t n = raw.size();
    if (n == 0 || count <= 0)
        return {};
    const auto total = static_cast<std::size_t>(count);
    if (n == total)
        return raw;
    if (n == 1)
        return ZtVector(total, raw[0]);
    if (total == 1)
        return ZtVector{raw[0]};

    // Maps the first and last raw samples of the whole export onto the first and last output
    // samples; per-frame block sizes play no part.
    ZtVector out(total);
    const double span = static_cast<double>(n - 1);
    const double steps = static_cast<double>(total - 1);
    for (std::size_t i = 0; i < total; ++i) {
        const double x = static_cast<double>(i) * span / steps;
        const auto j = static_cast<std::size_t>(x);
        if (j >= n - 1) {
            out[i] = raw[n - 1];
        } else {
            const double fraction = x - static_cast<double>(j);
            out[i] = fraction * raw[j + 1] + (1.0 - fraction) * raw[j];
        }
    }
    return out;
}
