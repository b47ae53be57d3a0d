// Rate selection, frame selection and resampling of the external-data collector.

#include "emgcollector.h"
#include "recordinghost.h"
#include "testrecording.h"

#include <gtest/gtest.h>

using namespace testrec;

namespace {

Recording channelRecording(std::vector<int> rates, double frameRate, int frames, int rawSamples)
{
    Options o;
    o.channelRates = std::move(rates);
    o.frameRate = frameRate;
    o.rawSamplesPerFrame = rawSamples;
    o.frames.clear();
    for (int f = 0; f < frames; ++f)
        o.frames.push_back(f);
    return makeRecording(o);
}

} // namespace

TEST(EmgCollector, OutputRateAndSamplesPerFrame)
{
    struct Case
    {
        std::vector<int> rates;
        double frameRate;
        int rate;
        int samples;
        bool ok;
    };
    const Case cases[] = {
        {{2000, 2000}, 60.0, 2400, 40, true},
        {{3000, 3000}, 60.0, 2400, 40, true},
        {{4000}, 60.0, 4800, 80, true},
        {{3001, 100}, 60.0, 4800, 80, true},
        {{2400}, 240.0, 2400, 10, true},
        {{2400}, 120.0, 2400, 20, true},
        {{2400}, 0.5, 2400, 0, false},    // truncates to 0 frames per second
        {{2400}, 4800.0, 2400, 0, false}, // fewer output samples than frames
    };
    for (const Case& c : cases) {
        RecordingHost host(channelRecording(c.rates, c.frameRate, 1, 1));
        EmgCollector collector;
        EXPECT_EQ(collector.initialize(&host), c.ok) << c.frameRate;
        EXPECT_EQ(collector.outputRate(), c.rate) << c.frameRate;
        EXPECT_EQ(collector.samplesPerFrame(), c.samples) << c.frameRate;
        EXPECT_EQ(collector.channelCount(), static_cast<int>(c.rates.size()));
    }
}

TEST(EmgCollector, UnreadableRatesCountAsZeroAndExtraOrMissingEntriesAreTolerated)
{
    Recording rec = channelRecording({2000}, 60.0, 0, 0);
    rec.externalChannels.append({QStringLiteral("no info"), std::nullopt});
    rec.externalChannels.append({QStringLiteral("bad"), QMap<QString, QString>{{QStringLiteral("frameRate"), QStringLiteral("fast")}}});
    for (int f = 0; f < 2; ++f) {
        RecordingFrame frame;
        // Four entries for three channels; channel 2 gets nothing in frame 0.
        frame.externalData = {ExternalData{ZtVector(40, 1.0)}, ExternalData{ZtVector(40, 2.0)}};
        if (f == 1)
            frame.externalData.append({ExternalData{ZtVector(40, 3.0)}, ExternalData{ZtVector(40, 4.0)}});
        rec.appendFrame(f, frame);
    }
    RecordingHost host(rec);
    EmgCollector collector;
    ASSERT_TRUE(collector.initialize(&host));
    EXPECT_EQ(collector.outputRate(), 2400);
    EXPECT_EQ(collector.channelCount(), 3);
    collector.collectAndResample(0, 1, 0);
    ASSERT_EQ(collector.resampled().size(), 3);
    EXPECT_EQ(collector.resampled()[0].size(), 80u);
    EXPECT_EQ(collector.resampled()[2].size(), 80u); // 40 samples stretched over both frames
    EXPECT_EQ(collector.resampled()[2][79], 3.0);
    EXPECT_TRUE(collector.hasResampledData());

    RecordingHost silent{Recording()};
    EXPECT_FALSE(collector.initialize(&silent));
    EXPECT_EQ(collector.channelCount(), 0);
}

TEST(EmgCollector, CollectsTheFramesTheExporterSelects)
{
    // 120 frames per second at 2400: 20 samples per frame; skip 1 over 0..9 keeps 0, 2, 4, 6, 8.
    RecordingHost host(channelRecording({2400}, 120.0, 10, 20));
    EmgCollector collector;
    std::vector<std::pair<int, int>> progress;
    collector.setProgressObserver([&](int channel, int ordinal) { progress.emplace_back(channel, ordinal); });
    ASSERT_TRUE(collector.initialize(&host));
    collector.collectAndResample(0, 9, 1);
    EXPECT_EQ(collector.exportedFrameCount(), 5);
    ASSERT_EQ(collector.resampled().size(), 1);
    const ZtVector& samples = collector.resampled()[0];
    ASSERT_EQ(samples.size(), 100u);
    EXPECT_EQ(samples[0], channelSample(0, 0, 0));
    EXPECT_EQ(samples[20], channelSample(2, 0, 0));
    EXPECT_EQ(samples[99], channelSample(8, 0, 19));
    EXPECT_EQ(progress.size(), 5u);
    EXPECT_EQ(progress.back(), std::make_pair(0, 4));
}

TEST(EmgCollector, ResamplingRules)
{
    EXPECT_TRUE(resampleChannel(ZtVector(), 5).empty());
    EXPECT_TRUE(resampleChannel(ZtVector{1.0, 2.0}, 0).empty());
    EXPECT_EQ(resampleChannel(ZtVector{1.0, 2.0, 4.0}, 3), (ZtVector{1.0, 2.0, 4.0}));
    EXPECT_EQ(resampleChannel(ZtVector{7.5}, 4), (ZtVector{7.5, 7.5, 7.5, 7.5}));
    EXPECT_EQ(resampleChannel(ZtVector{1.0, 2.0, 3.0}, 1), (ZtVector{1.0}));
    EXPECT_EQ(resampleChannel(ZtVector{1.0, 3.0, 7.0}, 5), (ZtVector{1.0, 2.0, 3.0, 5.0, 7.0}));
    // Downsampling keeps both ends.
    const ZtVector down = resampleChannel(ZtVector{0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0}, 3);
    EXPECT_EQ(down, (ZtVector{0.0, 4.0, 8.0}));
}
