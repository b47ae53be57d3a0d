#include "recordingwriter.h"

#include <QSaveFile>

#include <charconv>
#include <cmath>

namespace {

class JsonText
{
public:
    QByteArray& out() { return m_out; }

    void raw(const char* text) { m_out += text; }

    void number(double value)
    {
        if (std::isnan(value)) {
            m_out += "\"NaN\"";
        } else if (std::isinf(value)) {
            m_out += value > 0 ? "\"Infinity\"" : "\"-Infinity\"";
        } else {
            char text[32];
            m_out.append(text, std::to_chars(text, text + sizeof text, value).ptr - text);
        }
    }

    void integer(long long value) { m_out += QByteArray::number(value); }

    void string(const QString& text)
    {
        m_out += '"';
        for (const char c : text.toUtf8()) {
            const auto byte = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\') {
                m_out += '\\';
                m_out += c;
            } else if (byte < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
                m_out += escaped;
            } else {
                m_out += c;
            }
        }
        m_out += '"';
    }

    // The next member of an object starts a new line.
    void lineBreak() { m_breakLine = true; }

    // An object; members(object) writes its members, each starting with object.key(name).
    template <typename Fn>
    void object(Fn&& members)
    {
        m_out += '{';
        Members object(*this);
        members(object);
        m_out += '}';
    }

    class Members
    {
    public:
        explicit Members(JsonText& json)
            : m_json(json)
        {
        }

        // A key and its colon, after a comma unless it is the first of the object.
        void key(const char* name)
        {
            separate();
            m_json.m_out += '"';
            m_json.m_out += name;
            m_json.m_out += "\": ";
        }
        void key(const QString& name)
        {
            separate();
            m_json.string(name);
            m_json.m_out += ": ";
        }
        void vector(const char* name, const ZtVector& values)
        {
            key(name);
            m_json.vector(values);
        }
        void quaternion(const char* name, const ZtQuaternion& q)
        {
            key(name);
            m_json.quaternion(q);
        }
        // The member only when the value is set.
        template <typename T, typename Fn>
        void optional(const char* name, const std::optional<T>& value, Fn&& write)
        {
            if (value) {
                key(name);
                write(*value);
            }
        }

    private:
        void separate()
        {
            if (!m_first)
                m_json.m_out += m_json.m_breakLine ? ",\n" : ", ";
            m_json.m_breakLine = false;
            m_first = false;
        }

        JsonText& m_json;
        bool m_first = true;
    };

    template <typename List, typename Fn>
    void array(const List& list, Fn&& element)
    {
        m_out += '[';
        bool first = true;
        for (const auto& item : list) {
            if (!first)
                m_out += ", ";
            first = false;
            element(item);
        }
        m_out += ']';
    }

    void vector(const ZtVector& values)
    {
        array(values, [&](double value) { number(value); });
    }

    void quaternion(const ZtQuaternion& q)
    {
        vector(ZtVector{q.q0, q.q1, q.q2, q.q3});
    }

    void strings(const QStringList& list)
    {
        array(list, [&](const QString& text) { string(text); });
    }

private:
    QByteArray m_out;
    bool m_breakLine = false;
};

void writeSegment(JsonText& json, const TaviPose::Segment& segment)
{
    json.object([&](JsonText::Members& object) {
        // An empty vector reads the same whether written or left out.
        const auto vectors = [&](std::initializer_list<std::pair<const char*, const ZtVector*>> list) {
            for (const auto& [name, values] : list) {
                if (!values->empty()) {
                    object.vector(name, *values);
                }
            }
        };
        object.quaternion("q", segment.q);
        vectors({{"pos", &segment.pos}, {"vel", &segment.vel}, {"acc", &segment.acc}, {"angVel", &segment.angVel},
            {"angAcc", &segment.angAcc}});
        object.quaternion("sensorQ", segment.sensorQ);
        vectors({{"sensorFreeAcc", &segment.sensorFreeAcc}, {"sensorMag", &segment.sensorMag}});
    });
}

void writePose(JsonText& json, const TaviPose& pose)
{
    const auto vectorList = [&](const auto& list) { json.array(list, [&](const ZtVector& v) { json.vector(v); }); };
    // An array of the two hands, member(hand) writing each.
    const auto hands = [&](auto&& member) { json.array(pose.hands, member); };
    json.object([&](JsonText::Members& object) {
        object.key("segments");
        json.array(pose.segments, [&](const TaviPose::Segment& segment) { writeSegment(json, segment); });
        object.key("jointAngles");
        vectorList(pose.jointAngleList);
        object.key("jointAnglesXzy");
        vectorList(pose.jointAngleXzyList);
        object.key("ergoJointAngles");
        vectorList(pose.ergoJointAngles);
        object.key("ergoJointAnglesXzy");
        vectorList(pose.ergoJointAnglesXzy);
        object.key("centerOfMass");
        json.object([&](JsonText::Members& com) {
            com.vector("pos", pose.comPos);
            com.vector("vel", pose.comVel);
            com.vector("acc", pose.comAcc);
        });
        object.vector("globalPosition", pose.globalPos);
        object.key("fingerTracking");
        json.object([&](JsonText::Members& fingers) {
            fingers.key("hasData");
            json.raw(pose.fingerTrackingPresent ? "true" : "false");
            fingers.key("segments");
            hands([&](const TaviPose::Hand& hand) {
                json.array(hand.segments, [&](const BkeSegmentPose& finger) {
                    json.object([&](JsonText::Members& segment) {
                        segment.quaternion("q", finger.q);
                        segment.vector("pos", finger.pos);
                    });
                });
            });
            fingers.key("jointAngles");
            hands([&](const TaviPose::Hand& hand) { vectorList(hand.jointAngles); });
            fingers.key("jointAnglesXzy");
            hands([&](const TaviPose::Hand& hand) { vectorList(hand.jointAnglesXzy); });
        });
    });
}

void writeFrame(JsonText& json, int number, const RecordingFrame& frame)
{
    json.object([&](JsonText::Members& object) {
        object.key("frame");
        json.integer(number);
        object.key("pose");
        if (frame.pose)
            writePose(json, frame.pose->pose());
        else
            json.raw("null");
        object.key("externalData");
        json.array(frame.externalData, [&](const ExternalData& data) { json.vector(data.samples); });
    });
}

void writeChannel(JsonText& json, const RecordingChannel& channel)
{
    json.object([&](JsonText::Members& object) {
        object.key("name");
        json.string(channel.name);
        object.key("info");
        if (!channel.info) {
            json.raw("null");
            return;
        }
        json.object([&](JsonText::Members& info) {
            for (auto entry = channel.info->cbegin(); entry != channel.info->cend(); ++entry) {
                info.key(entry.key());
                json.string(entry.value());
            }
        });
    });
}

} // namespace

QByteArray recordingText(const Recording& rec)
{
    JsonText json;
    json.object([&](JsonText::Members& object) {
        object.key("format");
        json.raw("\"tavi-recording\"");
        object.key("version");
        json.raw("1");
        const auto text = [&](const QString& value) { json.string(value); };
        const auto integer = [&](int value) { json.integer(value); };
        json.lineBreak();
        object.optional("applicationVersion", rec.applicationVersion, text);
        object.optional("filename", rec.filename, text);
        object.optional("subjectName", rec.subjectName, text);
        object.optional("processingQuality", rec.processingQuality, text);
        object.optional("recordStartTime", rec.recordStartTime,
            [&](const QDateTime& time) { json.string(time.toUTC().toString(Qt::ISODateWithMs)); });
        object.optional("frameRate", rec.frameRate, [&](double rate) { json.number(rate); });
        object.optional("firstFrame", rec.firstFrame, integer);
        object.optional("lastFrame", rec.lastFrame, integer);
        object.optional("frameCount", rec.frameCount, integer);
        object.optional("tPoseSegmentCount", rec.tPoseSegmentCount, integer);
        object.optional("externalDataCount", rec.externalDataCount, integer);
        json.lineBreak();
        object.key("markers");
        json.array(rec.markers, [&](const RecordingMarker& marker) {
            json.object([&](JsonText::Members& member) {
                member.key("frame");
                json.integer(marker.frame);
                member.key("text");
                json.string(marker.text);
            });
        });
        json.lineBreak();
        object.key("externalChannels");
        json.array(rec.externalChannels, [&](const RecordingChannel& channel) { writeChannel(json, channel); });
        if (rec.fingerTracking) {
            json.lineBreak();
            object.key("fingerTracking");
            json.object([&](JsonText::Members& names) {
                const auto perHand = [&](const auto& lists) {
                    json.array(lists, [&](const QStringList& list) { json.strings(list); });
                };
                names.key("segmentNames");
                perHand(rec.fingerTracking->segmentNames);
                names.key("jointNames");
                perHand(rec.fingerTracking->jointNames);
            });
        }
        // One line per frame.
        json.lineBreak();
        object.key("frames");
        json.raw("[");
        bool firstFrame = true;
        for (const int number : rec.frameNumbers()) {
            json.raw(firstFrame ? "\n" : ",\n");
            firstFrame = false;
            writeFrame(json, number, *rec.frame(number));
        }
        json.raw("]");
    });
    json.raw("\n");
    return std::move(json.out());
}

QString writeRecordingFile(const Recording& recording, const QString& fileName)
{
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("%1: cannot write: %2").arg(fileName, file.errorString());
    file.write(recordingText(recording));
    if (!file.commit())
        return QStringLiteral("%1: cannot write: %2").arg(fileName, file.errorString());
    return {};
}
