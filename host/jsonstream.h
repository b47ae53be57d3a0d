#pragma once

// A strict JSON reader that pulls one value at a time from a byte stream, so that a large
// recording is never held in memory as a document besides the model built from it. The
// caller walks the document in the shape it expects: a value of another type is recorded as
// a mismatch at its JSON path and skipped, and the walk goes on (so a later check, such as
// the format version, can still take precedence). Malformed JSON ends the walk with
// JsonSyntaxError, which tells the line, column and byte offset. A text or number longer
// than the limits set, or a limit the caller checks, ends it with JsonLimitError. A UTF-8
// byte-order mark at the start is skipped.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class JsonSyntaxError : public std::runtime_error
{
public:
    JsonSyntaxError(const std::string& reason, std::int64_t line, std::int64_t column, std::int64_t offset,
        const std::string& hint = {});

    const std::string& reason() const { return m_reason; }
    const std::string& hint() const { return m_hint; } // what to do about it, if known
    std::int64_t line() const { return m_line; }       // from 1
    std::int64_t column() const { return m_column; }   // from 1, in bytes
    std::int64_t offset() const { return m_offset; }   // bytes from the start of the text

private:
    std::string m_reason;
    std::string m_hint;
    std::int64_t m_line;
    std::int64_t m_column;
    std::int64_t m_offset;
};

// A value beyond what the reader accepts; the message starts with the value's JSON path.
class JsonLimitError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class JsonStream
{
public:
    // Fills the buffer with up to `capacity` bytes and returns how many; 0 at the end of the
    // input. May throw std::runtime_error for a read failure.
    using Source = std::function<std::size_t(char* buffer, std::size_t capacity)>;

    enum class Kind { Object,
        Array,
        String,
        Number,
        Boolean,
        Null };

    static constexpr std::size_t DefaultBufferSize = std::size_t(1) << 20;

    // Reads through a buffer of `bufferSize` bytes (a text already in memory needs no more
    // than its own size).
    explicit JsonStream(Source source, std::size_t bufferSize = DefaultBufferSize);

    // The longest string (in UTF-8 bytes) and number (in characters) accepted; unlimited
    // until set.
    void setLimits(std::int64_t maxTextBytes, std::int64_t maxNumberCharacters);

    // The kind of the next value.
    Kind peek();

    // Typed values. `expected` describes the wanted value for a mismatch message
    // ("a number"); on another kind the value is skipped and the result is empty.
    // A number may also be given as the string "NaN", "Infinity" or "-Infinity".
    std::optional<double> number(std::string_view expected);
    // A number with an integral value within the range of int.
    std::optional<int> integer(std::string_view expected);
    std::optional<std::string> string(std::string_view expected);
    std::optional<bool> boolean(std::string_view expected);
    // Consumes a null and answers true, or leaves any other value and answers false.
    bool null();
    void skip();

    // Walks an array, calling element(index) for each element with the path extended by
    // [index]; element must consume exactly one value. Answers false (after recording a
    // mismatch) when the value is not an array.
    template <typename ElementFn>
    bool array(std::string_view expected, ElementFn&& element);
    // Walks an object, calling member(key) for each member with the path extended by the
    // key; member must consume the member's value (skip() for a key it does not know).
    template <typename MemberFn>
    bool object(std::string_view expected, MemberFn&& member);

    // Records a mismatch at the current path unless an earlier one was recorded.
    void mismatch(std::string_view expected, std::string_view found);
    // "path: expected ..., found ..." of the first mismatch.
    const std::optional<std::string>& firstMismatch() const { return m_firstMismatch; }
    // The current JSON path, e.g. "frames[12].pose.segments[3].q".
    std::string path() const;
    // Requires the input to end after white space.
    void finish();
    // Ends the walk with JsonLimitError: "path: what".
    [[noreturn]] void limitExceeded(std::string_view what) const;

    static std::string_view describe(Kind kind);
    // A text for a message: in double quotes, control characters and quotes escaped as in
    // JSON, and cut after about 100 bytes.
    static std::string quote(std::string_view text);

private:
    struct PathStep
    {
        std::string key; // empty for an array index
        std::int64_t index = -1;
    };

    int peekByte(); // -1 at the end of the input
    int skipWhitespace();
    void advance() { ++m_pos; }
    bool refill();
    [[noreturn]] void syntaxError(const std::string& reason, const std::string& hint = {}) const;
    void expectByte(char byte, const char* what);
    // After an element: true after ',' (another follows), false after `close`.
    bool continueAfterElement(char close);
    void readStringBody(std::string& out); // from after the opening quote
    void skipByteOrderMark();
    void appendUtf8(std::string& out, std::uint32_t codePoint);
    std::uint32_t readHex4();
    double readNumberBody();
    void expectLiteral(std::string_view literal);
    void skipValue(int depth);
    void mismatchAndSkip(std::string_view expected);

    Source m_source;
    std::size_t m_bufferSize;
    std::unique_ptr<char[]> m_buffer; // m_bufferSize bytes, left uninitialised
    const char* m_pos = nullptr;
    const char* m_end = nullptr;
    std::int64_t m_bufferOffset = 0; // offset of m_buffer[0] in the text
    std::int64_t m_line = 1;
    std::int64_t m_lineStart = 0; // offset of the current line's first byte
    bool m_atEnd = false;
    bool m_started = false; // the byte-order mark was looked for
    std::int64_t m_maxTextBytes = INT64_MAX;
    std::int64_t m_maxNumberCharacters = INT64_MAX;
    std::string m_scratch;
    std::vector<PathStep> m_path;
    std::optional<std::string> m_firstMismatch;
};

template <typename ElementFn>
bool JsonStream::array(std::string_view expected, ElementFn&& element)
{
    if (peek() != Kind::Array) {
        mismatchAndSkip(expected);
        return false;
    }
    advance();
    if (skipWhitespace() == ']') {
        advance();
        return true;
    }
    std::int64_t index = 0;
    do {
        m_path.push_back(PathStep{std::string(), index});
        element(index);
        m_path.pop_back();
        ++index;
    } while (continueAfterElement(']'));
    return true;
}

template <typename MemberFn>
bool JsonStream::object(std::string_view expected, MemberFn&& member)
{
    if (peek() != Kind::Object) {
        mismatchAndSkip(expected);
        return false;
    }
    advance();
    if (skipWhitespace() == '}') {
        advance();
        return true;
    }
    do {
        if (skipWhitespace() != '"')
            syntaxError("expected a member name in double quotes");
        advance();
        PathStep step;
        readStringBody(step.key);
        skipWhitespace();
        expectByte(':', "':' after a member name");
        m_path.push_back(std::move(step));
        member(std::string_view(m_path.back().key));
        m_path.pop_back();
    } while (continueAfterElement('}'));
    return true;
}
