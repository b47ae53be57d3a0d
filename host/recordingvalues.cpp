#include "recordingvalues.h"

namespace {

constexpr std::string_view AVector = "an array of numbers";
constexpr std::string_view AQuaternion = "an array of 4 numbers";

std::string fromTo(std::string_view what, std::int64_t low, std::int64_t high)
{
    return std::string(what) + " from " + std::to_string(low) + " to " + std::to_string(high);
}

} // namespace

std::string RecordingValues::arrayOf(std::int64_t count, std::string_view what)
{
    return "an array of " + std::to_string(count) + " " + std::string(what);
}

void RecordingValues::charge(std::int64_t bytes)
{
    if (!m_budget.chargeMemory(bytes))
        m_json.limitExceeded("reading the recording needs more memory than allowed; " + m_budget.memoryRefusal());
}

std::optional<int> RecordingValues::boundedInteger(std::string_view what, int low, int high)
{
    const std::string expected = fromTo(what, low, high);
    const std::optional<int> value = m_json.integer(expected);
    if (value && (*value < low || *value > high)) {
        m_json.mismatch(expected, "the number " + std::to_string(*value));
        return std::nullopt;
    }
    return value;
}

std::optional<int> RecordingValues::frameNumber()
{
    return boundedInteger("an integer frame number", -recordinglimits::MaxFrameNumber, recordinglimits::MaxFrameNumber);
}

std::optional<QString> RecordingValues::qstring()
{
    const std::optional<std::string> text = m_json.string(AString);
    if (!text)
        return std::nullopt;
    charge(textCost(text->size()));
    return QString::fromStdString(*text);
}

QStringList RecordingValues::stringList()
{
    QStringList list;
    m_json.array("an array of strings", [&](std::int64_t) {
        charge(ElementCost<QString>);
        list.append(qstring().value_or(QString()));
    });
    return list;
}

ZtVector RecordingValues::vector()
{
    ZtVector values;
    m_json.array(AVector, [&](std::int64_t) {
        charge(ElementCost<double>);
        if (const std::optional<double> value = m_json.number(ANumber))
            values.push_back(*value);
    });
    return values;
}

ZtQuaternion RecordingValues::quaternion()
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

std::vector<ZtVector> RecordingValues::vectorList()
{
    std::vector<ZtVector> list;
    m_json.array("an array of vectors", [&](std::int64_t) {
        charge(ElementCost<ZtVector>);
        list.push_back(vector());
    });
    return list;
}
