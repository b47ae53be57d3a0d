#pragma once

// The values a recording file is built of (texts, bounded integers, vectors, quaternions,
// per-hand arrays), read from a JsonStream with the messages of the format, and charged to
// the recording's memory budget as the model takes them in.

#include "jsonstream.h"
#include "recordinglimits.h"

#include "taviPose.h"

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the model holds per element read, for the memory budget: the element's own size with
// room for the growth of the container holding it, and a little for the allocator.
template <typename T>
constexpr std::int64_t ElementCost = 2 * std::int64_t(sizeof(T));
constexpr std::int64_t AllocationCost = 32;
// A string is held as UTF-8 while read and as UTF-16 in the model.
constexpr std::int64_t textCost(std::size_t utf8Bytes)
{
    return 3 * std::int64_t(utf8Bytes) + AllocationCost;
}

class RecordingValues
{
public:
    static constexpr std::string_view AString = "a string";
    static constexpr std::string_view ANumber = "a number";

    RecordingValues(JsonStream& json, RecordingBudget& budget)
        : m_json(json)
        , m_budget(budget)
    {
    }

    JsonStream& json() { return m_json; }
    RecordingBudget& budget() { return m_budget; }

    // Adds to the memory the model holds; past the allowance the walk ends with JsonLimitError.
    void charge(std::int64_t bytes);

    // An integer from `low` to `high`; another value is a mismatch that names the range.
    std::optional<int> boundedInteger(std::string_view what, int low, int high);
    std::optional<int> frameNumber();
    std::optional<QString> qstring();
    QStringList stringList();
    ZtVector vector();
    ZtQuaternion quaternion();
    std::vector<ZtVector> vectorList();
    // An array of at most `target.size()` vectors, read into `target` in order.
    template <std::size_t N>
    void vectors(std::array<ZtVector, N>& target)
    {
        fixedArray("an array of " + std::to_string(N) + " vectors", N,
            [&](std::size_t index) { target[index] = vector(); });
    }
    // An array of up to two per-hand arrays; element(hand) reads one hand's array.
    template <typename HandFn>
    void perHand(std::string_view expected, HandFn&& element)
    {
        fixedArray(expected, ZtHandCount, [&](std::size_t hand) { element(static_cast<int>(hand)); });
    }

    // "an array of 5 elements"
    static std::string arrayOf(std::int64_t count, std::string_view what);

private:
    // An array of at most `most` elements; element(index) reads each of them, and a longer
    // array is a mismatch.
    template <typename ElementFn>
    void fixedArray(std::string_view expected, std::size_t most, ElementFn&& element)
    {
        std::int64_t count = 0;
        const bool isArray = m_json.array(expected, [&](std::int64_t index) {
            ++count;
            if (index < std::int64_t(most))
                element(static_cast<std::size_t>(index));
            else
                m_json.skip();
        });
        if (isArray && count > std::int64_t(most))
            m_json.mismatch(expected, arrayOf(count, "elements"));
    }

    JsonStream& m_json;
    RecordingBudget& m_budget;
};
