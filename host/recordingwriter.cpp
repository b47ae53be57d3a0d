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

    // The next key starts a new line.
    void lineBreak() { m_breakLine = true; }

    // A key and its colon, after a comma unless it is the first of its object.
    void key(const char* name, bool& first)
    {
        if (!first)
            m_out += m_breakLine ? ",\n" : ", ";
        m_breakLine = false;
        first = false;
        m_out += '"';
        m_out += name;
        m_out += "\": ";
    }

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

template <typename T, typename Fn>
void optionalField(JsonText& json, bool& first, const char* name, const std::optional<T>& value, Fn&& write)
{
    if (value) {
        json.key(name, first);
        write(*value);
    }
}

void writeSegment(JsonText& json, const TaviPose::Segment& segment)
{
    bool first = true;
    json.raw("{");
    json.key("q", first);
    json.quaternion(segment.q);
    const std::pair<const char*, const ZtVector*> vectors[] = {
        {"pos", &segment.pos}, {"vel", &segment.vel}, {"acc", &segment.acc}, {"angVel", &segment.angVel},
        {"angAcc", &segment.angAcc}};
    // An empty vector reads the same whether written or left out.
    for (const auto& [name, values] : vectors) {
        if (!values->empty()) {
            json.key(name, first);
            json.vector(*values);
        }
    }
    json.key("sensorQ", first);
    json.quaternion(segment.sensorQ);
    for (const auto& [name, values] : {std::pair{"sensorFreeAcc", &segment.sensorFreeAcc}, std::pair{"sensorMag", &segment.sensorMag}}) {
        if (!values->empty()) {
            json.key(name, first);
            json.vector(*values);
        }
    }
    json.raw("}");
}

template <typename PerHand>
void writeHands(JsonText& json, const std::array<TaviPose::Hand, ZtHandCount>& hands, PerHand&& member)
{
    json.array(hands, [&](const TaviPose::Hand& hand) { member(hand); });
}

void writePose(JsonText& json, const TaviPose& pose)
{
    bool first = true;
    json.raw("{");
    json.key("segments", first);
    json.array(pose.segments, [&](const TaviPose::Segment& segment) { writeSegment(json, segment); });
    const auto vectorList = [&](const auto& list) { json.array(list, [&](const ZtVector& v) { json.vector(v); }); };
    json.key("jointAngles", first);
    vectorList(pose.jointAngleList);
    json.key("jointAnglesXzy", first);
    vectorList(pose.jointAngleXzyList);
    json.key("ergoJointAngles", first);
    vectorList(pose.ergoJointAngles);
    json.key("ergoJointAnglesXzy", first);
    vectorList(pose.ergoJointAnglesXzy);
    json.key("centerOfMass", first);
    json.raw("{\"pos\": ");
    json.vector(pose.comPos);
    json.raw(", \"vel\": ");
    json.vector(pose.comVel);
    json.raw(", \"acc\": ");
    json.vector(pose.comAcc);
    json.raw("}");
    json.key("globalPosition", first);
    json.vector(pose.globalPos);

    json.key("fingerTracking", first);
    json.raw(pose.fingerTrackingPresent ? "{\"hasData\": true, \"segments\": " : "{\"hasData\": false, \"segments\": ");
    writeHands(json, pose.hands, [&](const TaviPose::Hand& hand) {
        json.array(hand.segments, [&](const BkeSegmentPose& finger) {
            json.raw("{\"q\": ");
            json.quaternion(finger.q);
            json.raw(", \"pos\": ");
            json.vector(finger.pos);
            json.raw("}");
        });
    });
    json.raw(", \"jointAngles\": ");
    writeHands(json, pose.hands, [&](const TaviPose::Hand& hand) { vectorList(hand.jointAngles); });
    json.raw(", \"jointAnglesXzy\": ");
    writeHands(json, pose.hands, [&](const TaviPose::Hand& hand) { vectorList(hand.jointAnglesXzy); });
    json.raw("}}");
}

void writeFrame(JsonText& json, int number, const RecordingFrame& frame)
{
    json.raw("{\"frame\": ");
    json.integer(number);
    json.raw(", \"pose\": ");
    if (frame.pose)
        writePose(json, frame.pose->pose());
    else
        json.raw("null");
    json.raw(", \"externalData\": ");
    json.array(frame.externalData, [&](const ExternalData& data) { json.vector(data.samples); });
    json.raw("}");
}

} // namespace

QByteArray recordingText(const Recording& rec)
{
    JsonText json;
    bool first = true;
    json.raw("{");
    json.key("format", first);
    json.raw("\"tavi-recording\"");
    json.key("version", first);
    json.raw("1");
    const auto text = [&](const QString& value) { json.string(value); };
    const auto integer = [&](int value) { json.integer(value); };
    json.lineBreak();
    optionalField(json, first, "applicationVersion", rec.applicationVersion, text);
    optionalField(json, first, "filename", rec.filename, text);
    optionalField(json, first, "subjectName", rec.subjectName, text);
    optionalField(json, first, "processingQuality", rec.processingQuality, text);
    optionalField(json, first, "recordStartTime", rec.recordStartTime,
        [&](const QDateTime& time) { json.string(time.toUTC().toString(Qt::ISODateWithMs)); });
    optionalField(json, first, "frameRate", rec.frameRate, [&](double rate) { json.number(rate); });
    optionalField(json, first, "firstFrame", rec.firstFrame, integer);
    optionalField(json, first, "lastFrame", rec.lastFrame, integer);
    optionalField(json, first, "frameCount", rec.frameCount, integer);
    optionalField(json, first, "tPoseSegmentCount", rec.tPoseSegmentCount, integer);
    optionalField(json, first, "externalDataCount", rec.externalDataCount, integer);
    json.lineBreak();
    json.key("markers", first);
    json.array(rec.markers, [&](const RecordingMarker& marker) {
        json.raw("{\"frame\": ");
        json.integer(marker.frame);
        json.raw(", \"text\": ");
        json.string(marker.text);
        json.raw("}");
    });
    json.lineBreak();
    json.key("externalChannels", first);
    json.array(rec.externalChannels, [&](const RecordingChannel& channel) {
        json.raw("{\"name\": ");
        json.string(channel.name);
        json.raw(", \"info\": ");
        if (!channel.info) {
            json.raw("null");
        } else {
            bool firstInfo = true;
            json.raw("{");
            for (auto entry = channel.info->cbegin(); entry != channel.info->cend(); ++entry) {
                if (!firstInfo)
                    json.raw(", ");
                firstInfo = false;
                json.string(entry.key());
                json.raw(": ");
                json.string(entry.value());
            }
            json.raw("}");
        }
        json.raw("}");
    });
    if (rec.fingerTracking) {
        json.lineBreak();
        json.key("fingerTracking", first);
        json.raw("{\"segmentNames\": ");
        json.array(rec.fingerTracking->segmentNames, [&](const QStringList& names) { json.strings(names); });
        json.raw(", \"jointNames\": ");
        json.array(rec.fingerTracking->jointNames, [&](const QStringList& names) { json.strings(names); });
        json.raw("}");
    }
    json.raw(",\n\"frames\": [");
    bool firstFrame = true;
    for (const int number : rec.frameNumbers()) {
        json.raw(firstFrame ? "\n" : ",\n");
        firstFrame = false;
        writeFrame(json, number, *rec.frame(number));
    }
    json.raw("]}\n");
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
