#include "recordingschema.h"

#include "posereader.h"
#include "recordingvalues.h"

#include <QRegularExpression>

#include <cstdio>

namespace {

constexpr std::string_view FormatName = "tavi-recording";
constexpr int FormatVersion = 1;

using Kind = JsonStream::Kind;

class RecordingSchema
{
public:
    RecordingSchema(JsonStream& json, RecordingBudget& budget, Recording& recording)
        : m_json(json)
        , m_values(json, budget)
        , m_rec(recording)
    {
    }

    // The error message without the file name, or an empty string.
    std::string read(bool& topLevelIsObject)
    {
        topLevelIsObject = m_json.peek() == Kind::Object;
        if (!topLevelIsObject) {
            m_json.mismatch("an object", JsonStream::describe(m_json.peek()));
            m_json.skip();
            m_json.finish();
            return *m_json.firstMismatch();
        }
        m_json.object("an object", [&](std::string_view key) { topLevelMember(key); });
        m_json.finish();

        const std::string expectedFormat = "the string \"" + std::string(FormatName) + "\"";
        if (!m_formatFound)
            return "format: missing, expected " + expectedFormat;
        if (*m_formatFound != "")
            return "format: expected " + expectedFormat + ", found " + *m_formatFound;
        if (!m_versionFound)
            return "version: missing, expected the integer " + std::to_string(FormatVersion);
        if (*m_versionFound != "")
            return "version: expected the integer " + std::to_string(FormatVersion) + ", found " + *m_versionFound;
        if (m_json.firstMismatch())
            return *m_json.firstMismatch();
        return m_values.budget().checkExport(m_rec);
    }

private:
    static std::string numberText(double value)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.17g", value);
        return std::string("the number ") + text;
    }

    // Describes the value of "format" or "version" when it is not the expected one; an
    // empty text means it is.
    std::string checkFormat()
    {
        if (m_json.peek() == Kind::String) {
            const std::string text = *m_json.string(RecordingValues::AString);
            return text == FormatName ? std::string() : "the string " + JsonStream::quote(text);
        }
        return skipAndDescribe();
    }

    std::string checkVersion()
    {
        if (m_json.peek() == Kind::Number) {
            const std::optional<double> value = m_json.number(RecordingValues::ANumber);
            return value && *value == FormatVersion ? std::string() : numberText(value.value_or(0.0));
        }
        if (m_json.peek() == Kind::String)
            return "the string " + JsonStream::quote(*m_json.string(RecordingValues::AString));
        return skipAndDescribe();
    }

    std::string skipAndDescribe()
    {
        const std::string found(JsonStream::describe(m_json.peek()));
        m_json.skip();
        return found;
    }

    void frameRate()
    {
        const std::string expected = "a frame rate from 0 to " + std::to_string(int(recordinglimits::MaxFrameRate))
            + " frames per second";
        const std::optional<double> rate = m_json.number(expected);
        if (rate && !(*rate >= 0 && *rate <= recordinglimits::MaxFrameRate)) {
            m_json.mismatch(expected, numberText(*rate));
            return;
        }
        m_rec.frameRate = rate;
    }

    void recordStartTime()
    {
        const std::optional<std::string> text = m_json.string(RecordingValues::AString);
        if (!text)
            return;
        static const QRegularExpression isoWithZone(
            QStringLiteral("^\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}(:\\d{2}(\\.\\d{1,3})?)?(Z|[+-]\\d{2}:\\d{2})$"));
        const QString value = QString::fromStdString(*text);
        const QDateTime time = isoWithZone.match(value).hasMatch() ? QDateTime::fromString(value, Qt::ISODateWithMs)
                                                                   : QDateTime();
        if (!time.isValid()) {
            m_json.mismatch("an ISO 8601 date and time with Z or an offset (2026-03-01T10:20:30.250Z)",
                "the string " + JsonStream::quote(*text));
            return;
        }
        m_rec.recordStartTime = time;
    }

    void tPoseSegmentCount()
    {
        if (m_json.null())
            return;
        m_rec.tPoseSegmentCount = m_values.boundedInteger("null or an integer segment count", 0,
            recordinglimits::MaxTPoseSegments);
    }

    void markers()
    {
        m_json.array("an array of marker objects", [&](std::int64_t) {
            m_values.charge(ElementCost<RecordingMarker>);
            RecordingMarker marker;
            bool hasFrame = false;
            const bool isObject = m_json.object("a marker object {\"frame\": int, \"text\": string}",
                [&](std::string_view key) {
                    if (key == "frame") {
                        hasFrame = true;
                        if (const std::optional<int> frame = m_values.frameNumber())
                            marker.frame = *frame;
                    } else if (key == "text") {
                        marker.text = m_values.qstring().value_or(QString());
                    } else {
                        m_json.skip();
                    }
                });
            if (!isObject)
                return;
            if (!hasFrame)
                m_json.mismatch("a marker object with an integer \"frame\"", "none");
            m_rec.markers.append(std::move(marker));
        });
    }

    QMap<QString, QString> channelInfo()
    {
        QMap<QString, QString> info;
        m_json.object("an object of strings or null", [&](std::string_view key) {
            if (const std::optional<QString> value = m_values.qstring()) {
                m_values.charge(textCost(key.size()) + AllocationCost);
                info.insert(QString::fromUtf8(key.data(), qsizetype(key.size())), *value);
            }
        });
        return info;
    }

    void externalChannels()
    {
        m_json.array("an array of channel objects", [&](std::int64_t) {
            m_values.charge(ElementCost<RecordingChannel>);
            RecordingChannel channel;
            const bool isObject = m_json.object("a channel object {\"name\": string, \"info\": object or null}",
                [&](std::string_view key) {
                    if (key == "name") {
                        channel.name = m_values.qstring().value_or(QString());
                    } else if (key == "info") {
                        if (!m_json.null())
                            channel.info = channelInfo();
                    } else {
                        m_json.skip();
                    }
                });
            if (isObject)
                m_rec.externalChannels.append(std::move(channel));
        });
    }

    void fingerTrackingNames()
    {
        constexpr std::string_view perHandNames = "an array of two arrays of strings (hand 0, hand 1)";
        FingerTrackingNames names;
        const bool isObject = m_json.object("a finger-tracking object", [&](std::string_view key) {
            if (key == "segmentNames")
                m_values.perHand(perHandNames, [&](int hand) { names.segmentNames[hand] = m_values.stringList(); });
            else if (key == "jointNames")
                m_values.perHand(perHandNames, [&](int hand) { names.jointNames[hand] = m_values.stringList(); });
            else
                m_json.skip();
        });
        if (isObject)
            m_rec.fingerTracking = std::move(names);
    }

    void externalData(QList<ExternalData>& channels)
    {
        m_json.array("an array of arrays of numbers", [&](std::int64_t channel) {
            m_values.charge(ElementCost<ExternalData>);
            ExternalData data;
            data.samples = m_values.vector();
            if (!data.samples.empty()) {
                m_values.budget().noteExternalSamples(std::int64_t(data.samples.size()));
                m_values.budget().noteChannelsWithSamples(channel + 1);
            }
            channels.append(std::move(data));
        });
    }

    void frames()
    {
        m_json.array("an array of frame objects", [&](std::int64_t) {
            // The frame, its number in the export order and its entry in the index.
            m_values.charge(ElementCost<RecordingFrame> + ElementCost<int> + AllocationCost);
            std::optional<int> number;
            bool hasNumber = false;
            RecordingFrame frame;
            const bool isObject = m_json.object("a frame object", [&](std::string_view key) {
                if (key == "frame") {
                    hasNumber = true;
                    number = m_values.frameNumber();
                } else if (key == "pose") {
                    if (!m_json.null())
                        frame.pose = readPose(m_values);
                } else if (key == "externalData") {
                    externalData(frame.externalData);
                } else {
                    m_json.skip();
                }
            });
            if (!isObject)
                return;
            if (!hasNumber)
                m_json.mismatch("a frame object with an integer \"frame\"", "none");
            if (number)
                m_rec.appendFrame(*number, std::move(frame));
        });
    }

    void topLevelMember(std::string_view key)
    {
        if (key == "format")
            m_formatFound = checkFormat();
        else if (key == "version")
            m_versionFound = checkVersion();
        else if (key == "applicationVersion")
            m_rec.applicationVersion = m_values.qstring();
        else if (key == "filename")
            m_rec.filename = m_values.qstring();
        else if (key == "subjectName")
            m_rec.subjectName = m_values.qstring();
        else if (key == "processingQuality")
            m_rec.processingQuality = m_values.qstring();
        else if (key == "recordStartTime")
            recordStartTime();
        else if (key == "frameRate")
            frameRate();
        else if (key == "firstFrame")
            m_rec.firstFrame = m_values.frameNumber();
        else if (key == "lastFrame")
            m_rec.lastFrame = m_values.frameNumber();
        else if (key == "frameCount")
            m_rec.frameCount = m_values.boundedInteger("an integer frame count", 0, int(recordinglimits::MaxFrameRange));
        else if (key == "tPoseSegmentCount")
            tPoseSegmentCount();
        else if (key == "markers")
            markers();
        else if (key == "externalChannels")
            externalChannels();
        else if (key == "externalDataCount")
            m_rec.externalDataCount = m_values.boundedInteger("an integer sample count", 0,
                recordinglimits::MaxExternalDataCount);
        else if (key == "fingerTracking")
            fingerTrackingNames();
        else if (key == "frames")
            frames();
        else
            m_json.skip();
    }

    JsonStream& m_json;
    RecordingValues m_values;
    Recording& m_rec;
    std::optional<std::string> m_formatFound;  // unset: absent; empty: as expected
    std::optional<std::string> m_versionFound; // likewise
};

} // namespace

std::string readRecordingJson(JsonStream& json, RecordingBudget& budget, Recording& recording, bool& topLevelIsObject)
{
    return RecordingSchema(json, budget, recording).read(topLevelIsObject);
}
