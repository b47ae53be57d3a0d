#include "recordingreader.h"

#include "jsonstream.h"
#include "recordinglimits.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <zlib.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

constexpr std::string_view FormatName = "tavi-recording";
constexpr int FormatVersion = 1;

constexpr std::string_view AString = "a string";
constexpr std::string_view ANumber = "a number";
constexpr std::string_view AVector = "an array of numbers";
constexpr std::string_view AQuaternion = "an array of 4 numbers";

std::string arrayOf(std::int64_t count, std::string_view what)
{
    return "an array of " + std::to_string(count) + " " + std::string(what);
}

std::string fromTo(std::string_view what, std::int64_t low, std::int64_t high)
{
    return std::string(what) + " from " + std::to_string(low) + " to " + std::to_string(high);
}

// What the model holds per element read, for the memory budget: the element's own size with
// room for the growth of the container holding it, and a little for the allocator.
template <typename T>
constexpr std::int64_t ElementCost = 2 * std::int64_t(sizeof(T));
constexpr std::int64_t AllocationCost = 32;
// A string is held as UTF-8 while read and as UTF-16 in the model.
std::int64_t textCost(std::size_t utf8Bytes)
{
    return 3 * std::int64_t(utf8Bytes) + AllocationCost;
}

// Walks the top-level object and builds the Recording. Type errors are collected by the
// stream (the first one is reported); "format" and "version" are checked at the end so
// that a file of another format or version is reported as such whatever its fields hold.
class RecordingParser
{
public:
    // `topLevelIsObject` is set once the text is seen to start with an object, as a
    // recording does; it stays false when the first value cannot even be read.
    RecordingParser(JsonStream& json, RecordingBudget& budget, bool& topLevelIsObject)
        : m_json(json)
        , m_budget(budget)
        , m_topLevelIsObject(topLevelIsObject)
    {
    }

    // The error message without the file name, or an empty string.
    std::string parse()
    {
        m_topLevelIsObject = m_json.peek() == JsonStream::Kind::Object;
        if (!m_topLevelIsObject) {
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
        return m_budget.checkExport(m_rec);
    }

    Recording takeRecording() { return std::move(m_rec); }

private:
    void charge(std::int64_t bytes)
    {
        if (!m_budget.chargeMemory(bytes))
            m_json.limitExceeded("reading the recording needs more memory than allowed; " + m_budget.memoryRefusal());
    }

    // An integer from `low` to `high`; another value is a mismatch that names the range.
    std::optional<int> boundedInteger(std::string_view what, int low, int high)
    {
        const std::string expected = fromTo(what, low, high);
        const std::optional<int> value = m_json.integer(expected);
        if (value && (*value < low || *value > high)) {
            m_json.mismatch(expected, "the number " + std::to_string(*value));
            return std::nullopt;
        }
        return value;
    }

    std::optional<int> frameNumber()
    {
        return boundedInteger("an integer frame number", -recordinglimits::MaxFrameNumber, recordinglimits::MaxFrameNumber);
    }

    void frameRate()
    {
        const std::string expected = "a frame rate from 0 to " + std::to_string(int(recordinglimits::MaxFrameRate))
            + " frames per second";
        const std::optional<double> rate = m_json.number(expected);
        if (rate && !(*rate >= 0 && *rate <= recordinglimits::MaxFrameRate)) {
            char text[32];
            std::snprintf(text, sizeof text, "%.17g", *rate);
            m_json.mismatch(expected, std::string("the number ") + text);
            return;
        }
        m_rec.frameRate = rate;
    }

    // Describes the value of "format" or "version" when it is not the expected one; an
    // empty text means it is.
    std::string checkFormat()
    {
        if (m_json.peek() == JsonStream::Kind::String) {
            const std::string text = *m_json.string(AString);
            return text == FormatName ? std::string() : "the string " + JsonStream::quote(text);
        }
        const std::string found(JsonStream::describe(m_json.peek()));
        m_json.skip();
        return found;
    }

    std::string checkVersion()
    {
        if (m_json.peek() == JsonStream::Kind::Number) {
            const std::optional<double> value = m_json.number(ANumber);
            if (value && *value == FormatVersion)
                return {};
            char text[32];
            std::snprintf(text, sizeof text, "%.17g", value.value_or(0.0));
            return std::string("the number ") + text;
        }
        if (m_json.peek() == JsonStream::Kind::String) {
            return "the string " + JsonStream::quote(*m_json.string(AString));
        }
        const std::string found(JsonStream::describe(m_json.peek()));
        m_json.skip();
        return found;
    }

    std::optional<QString> qstring()
    {
        const std::optional<std::string> text = m_json.string(AString);
        if (!text)
            return std::nullopt;
        charge(textCost(text->size()));
        return QString::fromStdString(*text);
    }

    void recordStartTime()
    {
        const std::optional<std::string> text = m_json.string(AString);
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
        m_rec.tPoseSegmentCount = boundedInteger("null or an integer segment count", 0, recordinglimits::MaxTPoseSegments);
    }

    void markers()
    {
        m_json.array("an array of marker objects", [&](std::int64_t) {
            charge(ElementCost<RecordingMarker>);
            RecordingMarker marker;
            bool hasFrame = false;
            const bool isObject = m_json.object("a marker object {\"frame\": int, \"text\": string}",
                [&](std::string_view key) {
                    if (key == "frame") {
                        hasFrame = true;
                        if (const std::optional<int> frame = frameNumber())
                            marker.frame = *frame;
                    } else if (key == "text") {
                        marker.text = qstring().value_or(QString());
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

    void externalChannels()
    {
        m_json.array("an array of channel objects", [&](std::int64_t) {
            charge(ElementCost<RecordingChannel>);
            RecordingChannel channel;
            const bool isObject = m_json.object("a channel object {\"name\": string, \"info\": object or null}",
                [&](std::string_view key) {
                    if (key == "name") {
                        channel.name = qstring().value_or(QString());
                    } else if (key == "info") {
                        if (m_json.null())
                            return;
                        QMap<QString, QString> info;
                        m_json.object("an object of strings or null", [&](std::string_view infoKey) {
                            if (const std::optional<QString> value = qstring()) {
                                charge(textCost(infoKey.size()) + AllocationCost);
                                info.insert(QString::fromUtf8(infoKey.data(), qsizetype(infoKey.size())), *value);
                            }
                        });
                        channel.info = std::move(info);
                    } else {
                        m_json.skip();
                    }
                });
            if (isObject)
                m_rec.externalChannels.append(std::move(channel));
        });
    }

    // An array of up to two per-hand arrays; element(hand) reads one hand's array.
    template <typename HandFn>
    void perHand(std::string_view expected, HandFn&& element)
    {
        std::int64_t count = 0;
        const bool isArray = m_json.array(expected, [&](std::int64_t hand) {
            ++count;
            if (hand < ZtHandCount)
                element(static_cast<int>(hand));
            else
                m_json.skip();
        });
        if (isArray && count > ZtHandCount)
            m_json.mismatch(expected, arrayOf(count, "elements"));
    }

    QStringList stringList()
    {
        QStringList list;
        m_json.array("an array of strings", [&](std::int64_t) {
            charge(ElementCost<QString>);
            list.append(qstring().value_or(QString()));
        });
        return list;
    }

    void fingerTrackingNames()
    {
        FingerTrackingNames names;
        const bool isObject = m_json.object("a finger-tracking object", [&](std::string_view key) {
            if (key == "segmentNames")
                perHand("an array of two arrays of strings (hand 0, hand 1)",
                    [&](int hand) { names.segmentNames[hand] = stringList(); });
            else if (key == "jointNames")
                perHand("an array of two arrays of strings (hand 0, hand 1)",
                    [&](int hand) { names.jointNames[hand] = stringList(); });
            else
                m_json.skip();
        });
        if (isObject)
            m_rec.fingerTracking = std::move(names);
    }

    ZtVector vector()
    {
        ZtVector values;
        m_json.array(AVector, [&](std::int64_t) {
            charge(ElementCost<double>);
            if (const std::optional<double> value = m_json.number(ANumber))
                values.push_back(*value);
        });
        return values;
    }

    ZtQuaternion quaternion()
    {
        double values[4] = {};
        std::int64_t count = 0;
        const bool isArray = m_json.array(AQuaternion, [&](std::int64_t index) {
            const std::optional<double> value = m_json.number(ANumber);
            if (value && index < 4)
                values[index] = *value;
            ++count;
        });
        if (isArray && count != 4)
            m_json.mismatch(AQuaternion, arrayOf(count, count == 1 ? "element" : "elements"));
        return ZtQuaternion{values[0], values[1], values[2], values[3]};
    }

    std::vector<ZtVector> vectorList()
    {
        std::vector<ZtVector> list;
        m_json.array("an array of vectors", [&](std::int64_t) {
            charge(ElementCost<ZtVector>);
            list.push_back(vector());
        });
        return list;
    }

    void ergoVectors(std::array<ZtVector, ErgoIdx::Count>& target)
    {
        const std::string expected = "an array of " + std::to_string(ErgoIdx::Count) + " vectors";
        std::int64_t count = 0;
        const bool isArray = m_json.array(expected, [&](std::int64_t index) {
            ++count;
            if (index < ErgoIdx::Count)
                target[static_cast<std::size_t>(index)] = vector();
            else
                m_json.skip();
        });
        if (isArray && count > ErgoIdx::Count)
            m_json.mismatch(expected, arrayOf(count, "elements"));
    }

    TaviPose::Segment segment()
    {
        TaviPose::Segment s;
        m_json.object("a segment object", [&](std::string_view key) {
            if (key == "q")
                s.q = quaternion();
            else if (key == "pos")
                s.pos = vector();
            else if (key == "vel")
                s.vel = vector();
            else if (key == "acc")
                s.acc = vector();
            else if (key == "angVel")
                s.angVel = vector();
            else if (key == "angAcc")
                s.angAcc = vector();
            else if (key == "sensorQ")
                s.sensorQ = quaternion();
            else if (key == "sensorFreeAcc")
                s.sensorFreeAcc = vector();
            else if (key == "sensorMag")
                s.sensorMag = vector();
            else
                m_json.skip();
        });
        return s;
    }

    void poseFingerTracking(TaviPose& pose)
    {
        constexpr std::string_view perHandArrays = "an array of two arrays (hand 0, hand 1)";
        m_json.object("a finger-tracking object", [&](std::string_view key) {
            if (key == "hasData") {
                pose.fingerTrackingPresent = m_json.boolean("a boolean").value_or(false);
            } else if (key == "segments") {
                perHand(perHandArrays, [&](int hand) {
                    m_json.array("an array of finger segment objects", [&](std::int64_t) {
                        charge(ElementCost<BkeSegmentPose>);
                        BkeSegmentPose finger;
                        m_json.object("a finger segment object {\"q\": quaternion, \"pos\": vector}",
                            [&](std::string_view member) {
                                if (member == "q")
                                    finger.q = quaternion();
                                else if (member == "pos")
                                    finger.pos = vector();
                                else
                                    m_json.skip();
                            });
                        pose.hands[hand].segments.push_back(std::move(finger));
                    });
                });
            } else if (key == "jointAngles") {
                perHand(perHandArrays, [&](int hand) { pose.hands[hand].jointAngles = vectorList(); });
            } else if (key == "jointAnglesXzy") {
                perHand(perHandArrays, [&](int hand) { pose.hands[hand].jointAnglesXzy = vectorList(); });
            } else {
                m_json.skip();
            }
        });
    }

    std::shared_ptr<const ConcreteTaviPose> pose()
    {
        charge(std::int64_t(sizeof(ConcreteTaviPose)) + AllocationCost);
        TaviPose pose;
        const bool isObject = m_json.object("a pose object or null", [&](std::string_view key) {
            if (key == "segments") {
                m_json.array("an array of segment objects", [&](std::int64_t) {
                    charge(ElementCost<TaviPose::Segment>);
                    m_budget.notePoseSegments(1);
                    pose.segments.push_back(segment());
                });
            } else if (key == "jointAngles") {
                pose.jointAngleList = vectorList();
            } else if (key == "jointAnglesXzy") {
                pose.jointAngleXzyList = vectorList();
            } else if (key == "ergoJointAngles") {
                ergoVectors(pose.ergoJointAngles);
            } else if (key == "ergoJointAnglesXzy") {
                ergoVectors(pose.ergoJointAnglesXzy);
            } else if (key == "centerOfMass") {
                m_json.object("an object {\"pos\": vector, \"vel\": vector, \"acc\": vector}",
                    [&](std::string_view member) {
                        if (member == "pos")
                            pose.comPos = vector();
                        else if (member == "vel")
                            pose.comVel = vector();
                        else if (member == "acc")
                            pose.comAcc = vector();
                        else
                            m_json.skip();
                    });
            } else if (key == "globalPosition") {
                pose.globalPos = vector();
            } else if (key == "fingerTracking") {
                poseFingerTracking(pose);
            } else {
                m_json.skip();
            }
        });
        if (!isObject)
            return nullptr;
        return std::make_shared<const ConcreteTaviPose>(std::move(pose));
    }

    void frames()
    {
        m_json.array("an array of frame objects", [&](std::int64_t) {
            // The frame, its number in the export order and its entry in the index.
            charge(ElementCost<RecordingFrame> + ElementCost<int> + AllocationCost);
            std::optional<int> number;
            bool hasNumber = false;
            RecordingFrame frame;
            const bool isObject = m_json.object("a frame object", [&](std::string_view key) {
                if (key == "frame") {
                    hasNumber = true;
                    number = frameNumber();
                } else if (key == "pose") {
                    if (!m_json.null())
                        frame.pose = pose();
                } else if (key == "externalData") {
                    m_json.array("an array of arrays of numbers", [&](std::int64_t channel) {
                        charge(ElementCost<ExternalData>);
                        ExternalData data;
                        data.samples = vector();
                        if (!data.samples.empty()) {
                            m_budget.noteExternalSamples(std::int64_t(data.samples.size()));
                            m_budget.noteChannelsWithSamples(channel + 1);
                        }
                        frame.externalData.append(std::move(data));
                    });
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
            m_rec.applicationVersion = qstring();
        else if (key == "filename")
            m_rec.filename = qstring();
        else if (key == "subjectName")
            m_rec.subjectName = qstring();
        else if (key == "processingQuality")
            m_rec.processingQuality = qstring();
        else if (key == "recordStartTime")
            recordStartTime();
        else if (key == "frameRate")
            frameRate();
        else if (key == "firstFrame")
            m_rec.firstFrame = frameNumber();
        else if (key == "lastFrame")
            m_rec.lastFrame = frameNumber();
        else if (key == "frameCount")
            m_rec.frameCount = boundedInteger("an integer frame count", 0, int(recordinglimits::MaxFrameRange));
        else if (key == "tPoseSegmentCount")
            tPoseSegmentCount();
        else if (key == "markers")
            markers();
        else if (key == "externalChannels")
            externalChannels();
        else if (key == "externalDataCount")
            m_rec.externalDataCount = boundedInteger("an integer sample count", 0, recordinglimits::MaxExternalDataCount);
        else if (key == "fingerTracking")
            fingerTrackingNames();
        else if (key == "frames")
            frames();
        else
            m_json.skip();
    }

    JsonStream& m_json;
    RecordingBudget& m_budget;
    Recording m_rec;
    bool& m_topLevelIsObject;
    std::optional<std::string> m_formatFound;  // unset: absent; empty: as expected
    std::optional<std::string> m_versionFound; // likewise
};

// Added to the messages about a file that does not hold a JSON object at all.
constexpr QStringView NotARecordingHint = u"; a recording is a JSON object as docs/recording-format.md describes";

RecordingReadResult readFrom(JsonStream::Source source, std::size_t bufferSize, std::int64_t fileBytes,
    const QString& name)
{
    RecordingReadResult result;
    bool topLevelIsObject = false;
    try {
        JsonStream json(std::move(source), bufferSize);
        json.setLimits(recordinglimits::MaxTextBytes, recordinglimits::MaxNumberCharacters);
        RecordingBudget budget(fileBytes);
        RecordingParser parser(json, budget, topLevelIsObject);
        const std::string error = parser.parse();
        if (error.empty())
            result.recording = parser.takeRecording();
        else
            result.error = QStringLiteral("%1: %2%3").arg(name, QString::fromStdString(error), topLevelIsObject ? QStringView() : NotARecordingHint);
    } catch (const JsonSyntaxError& e) {
        result.error = QStringLiteral("%1:%2:%3: invalid JSON: %4 (byte offset %5)%6")
                           .arg(name, QString::number(e.line()), QString::number(e.column()),
                               QString::fromStdString(e.reason()), QString::number(e.offset()),
                               !e.hint().empty()      ? QStringLiteral("; ") + QString::fromStdString(e.hint())
                                   : topLevelIsObject ? QString()
                                                      : NotARecordingHint.toString());
    } catch (const JsonLimitError& e) {
        result.error = QStringLiteral("%1: %2").arg(name, QString::fromStdString(e.what()));
    } catch (const std::bad_alloc&) {
        result.recording.reset();
        result.outOfMemory = true;
        result.error = QStringLiteral("%1: not enough memory to read the recording; you could retry with a smaller data set")
                           .arg(name);
    } catch (const std::runtime_error& e) {
        result.error = QStringLiteral("%1: cannot read: %2").arg(name, QString::fromLocal8Bit(e.what()));
    }
    return result;
}

} // namespace

RecordingReadResult readRecordingText(QByteArrayView json, const QString& sourceName)
{
    qsizetype position = 0;
    return readFrom(
        [&](char* buffer, std::size_t capacity) {
            const qsizetype count = std::min<qsizetype>(json.size() - position, qsizetype(capacity));
            std::memcpy(buffer, json.data() + position, std::size_t(count));
            position += count;
            return std::size_t(count);
        },
        std::min(std::size_t(json.size()), JsonStream::DefaultBufferSize), json.size(), sourceName);
}

RecordingReadResult readRecordingFile(const QString& fileName)
{
    // zlib reads a gzip stream by its magic bytes and any other file as it is, whatever the name.
    const QByteArray path = QFile::encodeName(fileName);
    gzFile file = gzopen(path.constData(), "rb");
    if (!file) {
        RecordingReadResult failed;
        failed.error = QStringLiteral("%1: cannot open: %2").arg(fileName, QString::fromLocal8Bit(std::strerror(errno)));
        return failed;
    }
    gzbuffer(file, 1 << 20);
    RecordingReadResult result = readFrom(
        [file, &path](char* buffer, std::size_t capacity) {
            const int count = gzread(file, buffer, static_cast<unsigned>(capacity));
            int status = Z_OK;
            const char* message = gzerror(file, &status);
            // A truncated stream reads to its end and then reports Z_BUF_ERROR.
            if (count < 0 || (status != Z_OK && status != Z_STREAM_END)) {
                if (status == Z_ERRNO)
                    throw std::runtime_error(std::strerror(errno));
                // zlib puts the path before its message; the caller names the file already.
                std::string_view text(message);
                const std::string prefix = path.toStdString() + ": ";
                if (text.starts_with(prefix))
                    text.remove_prefix(prefix.size());
                throw std::runtime_error(std::string(text));
            }
            return std::size_t(count);
        },
        JsonStream::DefaultBufferSize, QFileInfo(fileName).size(), fileName);
    gzclose(file);
    return result;
}
