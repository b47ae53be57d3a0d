// Feeds arbitrary bytes to the recording reader. It must answer either a recording or a
// message, never crash, and a recording it accepts must be one the host can serve without
// running away with memory or time.

#include "recordinghost.h"
#include "recordingreader.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RecordingReadResult result = readRecordingText(
        QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)), QStringLiteral("fuzz.json"));
    if (result.ok() != result.error.isEmpty())
        std::abort();
    if (!result.ok())
        return 0;

    // What the exporter asks of the host before and during an export.
    const RecordingHost host(std::move(*result.recording));
    (void)host.frameCount();
    (void)host.frameRate();
    (void)host.externalDataCount();
    (void)host.tPose().segmentStateCount();
    for (int hand = 0; hand < ZtHandCount; ++hand) {
        (void)host.fingerTrackingSegmentName(static_cast<ZtHandId>(hand), 0);
        (void)host.fingerTrackingJointInfoList(static_cast<ZtHandId>(hand));
    }
    for (int channel = 0; channel < host.externalChannelNames().size(); ++channel)
        (void)host.externalChannelInfo(channel);
    for (const int frame : host.frameNumbers()) {
        if (const std::unique_ptr<TaviPoseObject> pose = host.pose(frame))
            (void)pose->segmentStateCount();
        (void)host.externalData(frame);
        (void)host.markerText(frame);
    }
    return 0;
}
