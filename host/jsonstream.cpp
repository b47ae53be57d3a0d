#include "jsonstream.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <locale.h>

namespace {

constexpr int MaxSkipDepth = 512;
constexpr const char* NonFiniteHint = "numbers that are not finite are written as the strings \"NaN\", \"Infinity\" and \"-Infinity\"";

bool isDigit(int c)
{
    return c >= '0' && c <= '9';
}

std::string describeByte(int c)
{
    if (c < 0)
        return "the end of the text";
    if (c >= 0x20 && c < 0x7f)
        return std::string("'") + static_cast<char>(c) + "'";
    char hex[16];
    std::snprintf(hex, sizeof hex, "byte 0x%02X", c);
    return hex;
}

// Numbers beyond the range of a double (1e400, 1e-400) are rare enough to leave to the C
// library, in the C locale whatever the process's locale is.
double parseOutOfRange(const std::string& text)
{
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text.c_str(), nullptr, cLocale);
}

bool isPlainKey(const std::string& key)
{
    if (key.empty() || isDigit(static_cast<unsigned char>(key[0])))
        return false;
    for (const char c : key) {
        if (!(c == '_' || isDigit(static_cast<unsigned char>(c)) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')))
            return false;
    }
    return true;
}

} // namespace

JsonSyntaxError::JsonSyntaxError(const std::string& reason, std::int64_t line, std::int64_t column,
    std::int64_t offset, const std::string& hint)
    : std::runtime_error(reason)
    , m_reason(reason)
    , m_hint(hint)
    , m_line(line)
    , m_column(column)
    , m_offset(offset)
{
}

JsonStream::JsonStream(Source source, std::size_t bufferSize)
    : m_source(std::move(source))
    , m_bufferSize(std::max<std::size_t>(bufferSize, 16))
    , m_buffer(std::make_unique_for_overwrite<char[]>(m_bufferSize))
{
    m_pos = m_end = m_buffer.get();
}

void JsonStream::setLimits(std::int64_t maxTextBytes, std::int64_t maxNumberCharacters)
{
    m_maxTextBytes = maxTextBytes;
    m_maxNumberCharacters = maxNumberCharacters;
}

void JsonStream::limitExceeded(std::string_view what) const
{
    throw JsonLimitError(path() + ": " + std::string(what));
}

std::string JsonStream::quote(std::string_view text)
{
    constexpr std::size_t Shown = 100;
    std::string out = "\"";
    std::size_t i = 0;
    for (; i < text.size() && i < Shown; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c < 0x20 || c == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    if (i < text.size()) {
        // Cut at a character boundary: drop the lead and continuation bytes of a split one.
        while (!out.empty() && (static_cast<unsigned char>(out.back()) & 0xC0) == 0x80)
            out.pop_back();
        if (!out.empty() && static_cast<unsigned char>(out.back()) >= 0xC0)
            out.pop_back();
        out += "\"... (" + std::to_string(text.size()) + " bytes)";
        return out;
    }
    return out + '"';
}

void JsonStream::skipByteOrderMark()
{
    m_started = true;
    if (peekByte() != 0xEF)
        return;
    // The mark is three bytes; the buffer holds at least those of a file that starts with it.
    if (m_end - m_pos >= 3 && static_cast<unsigned char>(m_pos[1]) == 0xBB && static_cast<unsigned char>(m_pos[2]) == 0xBF) {
        m_pos += 3;
        m_lineStart = 3;
    }
}

bool JsonStream::refill()
{
    if (m_atEnd)
        return false;
    m_bufferOffset += m_end - m_buffer.get();
    const std::size_t count = m_source(m_buffer.get(), m_bufferSize);
    m_pos = m_buffer.get();
    m_end = m_pos + count;
    m_atEnd = count == 0;
    return count != 0;
}

int JsonStream::peekByte()
{
    if (m_pos == m_end && !refill())
        return -1;
    return static_cast<unsigned char>(*m_pos);
}

int JsonStream::skipWhitespace()
{
    if (!m_started)
        skipByteOrderMark();
    for (;;) {
        const int c = peekByte();
        if (c == ' ' || c == '\t' || c == '\r') {
            advance();
        } else if (c == '\n') {
            advance();
            ++m_line;
            m_lineStart = m_bufferOffset + (m_pos - m_buffer.get());
        } else {
            return c;
        }
    }
}

void JsonStream::syntaxError(const std::string& reason, const std::string& hint) const
{
    const std::int64_t offset = m_bufferOffset + (m_pos - m_buffer.get());
    throw JsonSyntaxError(reason, m_line, offset - m_lineStart + 1, offset, hint);
}

void JsonStream::expectByte(char byte, const char* what)
{
    const int c = peekByte();
    if (c != static_cast<unsigned char>(byte))
        syntaxError(std::string("expected ") + what + ", found " + describeByte(c));
    advance();
}

bool JsonStream::continueAfterElement(char close)
{
    const int c = skipWhitespace();
    if (c == ',') {
        advance();
        return true;
    }
    if (c == static_cast<unsigned char>(close)) {
        advance();
        return false;
    }
    syntaxError(std::string("expected ',' or '") + close + "', found " + describeByte(c));
}

JsonStream::Kind JsonStream::peek()
{
    const int c = skipWhitespace();
    switch (c) {
    case '{':
        return Kind::Object;
    case '[':
        return Kind::Array;
    case '"':
        return Kind::String;
    case 't':
    case 'f':
        return Kind::Boolean;
    case 'n':
        return Kind::Null;
    default:
        if (c == '-' || isDigit(c))
            return Kind::Number;
        if (c == 'N' || c == 'I')
            syntaxError("expected a value, found " + describeByte(c), NonFiniteHint);
        syntaxError("expected a value, found " + describeByte(c));
    }
}

std::string_view JsonStream::describe(Kind kind)
{
    switch (kind) {
    case Kind::Object:
        return "an object";
    case Kind::Array:
        return "an array";
    case Kind::String:
        return "a string";
    case Kind::Number:
        return "a number";
    case Kind::Boolean:
        return "a boolean";
    case Kind::Null:
        return "null";
    }
    return "a value";
}

void JsonStream::appendUtf8(std::string& out, std::uint32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

std::uint32_t JsonStream::readHex4()
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        const int c = peekByte();
        int digit;
        if (isDigit(c))
            digit = c - '0';
        else if (c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        else
            syntaxError("expected four hexadecimal digits after \\u, found " + describeByte(c));
        value = value * 16 + static_cast<std::uint32_t>(digit);
        advance();
    }
    return value;
}

void JsonStream::readStringBody(std::string& out)
{
    out.clear();
    for (;;) {
        if (std::int64_t(out.size()) > m_maxTextBytes)
            limitExceeded("a string longer than " + std::to_string(m_maxTextBytes) + " bytes");
        const int c = peekByte();
        if (c == '"') {
            advance();
            return;
        }
        if (c < 0)
            syntaxError("unterminated string");
        if (c < 0x20)
            syntaxError("control character " + describeByte(c) + " in a string");
        if (c == '\\') {
            advance();
            const int escaped = peekByte();
            if (escaped < 0)
                syntaxError("unterminated string");
            advance();
            switch (escaped) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                std::uint32_t cp = readHex4();
                if (cp >= 0xDC00 && cp <= 0xDFFF)
                    syntaxError("unpaired surrogate in a \\u escape");
                if (cp >= 0xD800 && cp <= 0xDBFF) {
                    if (peekByte() != '\\')
                        syntaxError("unpaired surrogate in a \\u escape");
                    advance();
                    if (peekByte() != 'u')
                        syntaxError("unpaired surrogate in a \\u escape");
                    advance();
                    const std::uint32_t low = readHex4();
                    if (low < 0xDC00 || low > 0xDFFF)
                        syntaxError("unpaired surrogate in a \\u escape");
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                }
                appendUtf8(out, cp);
                break;
            }
            default:
                --m_pos;
                syntaxError("invalid escape \\" + std::string(1, static_cast<char>(escaped)));
            }
            continue;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
            advance();
            continue;
        }
        // A multi-byte UTF-8 sequence; overlong forms, surrogates and code points past
        // U+10FFFF are invalid.
        int length;
        int secondLow = 0x80, secondHigh = 0xBF;
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            if (c == 0xE0)
                secondLow = 0xA0;
            else if (c == 0xED)
                secondHigh = 0x9F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            if (c == 0xF0)
                secondLow = 0x90;
            else if (c == 0xF4)
                secondHigh = 0x8F;
        } else {
            syntaxError("invalid UTF-8 in a string");
        }
        out += static_cast<char>(c);
        advance();
        for (int i = 1; i < length; ++i) {
            const int next = peekByte();
            const int low = i == 1 ? secondLow : 0x80;
            const int high = i == 1 ? secondHigh : 0xBF;
            if (next < low || next > high)
                syntaxError("invalid UTF-8 in a string");
            out += static_cast<char>(next);
            advance();
        }
    }
}

double JsonStream::readNumberBody()
{
    std::string& text = m_scratch;
    text.clear();
    auto take = [&] {
        if (std::int64_t(text.size()) >= m_maxNumberCharacters)
            limitExceeded("a number longer than " + std::to_string(m_maxNumberCharacters) + " characters");
        text += static_cast<char>(peekByte());
        advance();
    };
    auto takeDigits = [&](const char* where) {
        if (!isDigit(peekByte()))
            syntaxError(std::string("invalid number: expected a digit ") + where + ", found " + describeByte(peekByte()));
        while (isDigit(peekByte()))
            take();
    };

    if (peekByte() == '-') {
        take();
        if (peekByte() == 'I')
            syntaxError("invalid number: expected a digit after '-', found 'I'", NonFiniteHint);
    }
    if (peekByte() == '0') {
        take();
        if (isDigit(peekByte()))
            syntaxError("invalid number: leading zero");
    } else {
        takeDigits(text.empty() ? "" : "after '-'");
    }
    if (peekByte() == '.') {
        take();
        takeDigits("after '.'");
    }
    if (peekByte() == 'e' || peekByte() == 'E') {
        take();
        if (peekByte() == '+' || peekByte() == '-')
            take();
        takeDigits("in the exponent");
    }

    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    (void)end;
    if (error == std::errc::result_out_of_range)
        return parseOutOfRange(text);
    return value;
}

void JsonStream::expectLiteral(std::string_view literal)
{
    for (const char expected : literal) {
        if (peekByte() != static_cast<unsigned char>(expected))
            syntaxError("invalid literal, expected " + std::string(literal));
        advance();
    }
}

std::optional<double> JsonStream::number(std::string_view expected)
{
    const Kind kind = peek();
    if (kind == Kind::Number)
        return readNumberBody();
    if (kind == Kind::String) {
        advance();
        std::string text;
        readStringBody(text);
        if (text == "NaN")
            return std::numeric_limits<double>::quiet_NaN();
        if (text == "Infinity")
            return std::numeric_limits<double>::infinity();
        if (text == "-Infinity")
            return -std::numeric_limits<double>::infinity();
        mismatch(expected, "the string " + quote(text));
        return std::nullopt;
    }
    if (kind == Kind::Null) {
        expectLiteral("null");
        mismatch(expected, "null (write the string \"NaN\" for a value that is missing)");
        return std::nullopt;
    }
    mismatchAndSkip(expected);
    return std::nullopt;
}

std::optional<int> JsonStream::integer(std::string_view expected)
{
    if (peek() != Kind::Number) {
        mismatchAndSkip(expected);
        return std::nullopt;
    }
    const double value = readNumberBody();
    if (!(value >= INT_MIN && value <= INT_MAX) || value != std::trunc(value)) {
        mismatch(expected, "the number " + (m_scratch.size() <= 100 ? m_scratch : m_scratch.substr(0, 100) + "..."));
        return std::nullopt;
    }
    return static_cast<int>(value);
}

std::optional<std::string> JsonStream::string(std::string_view expected)
{
    if (peek() != Kind::String) {
        mismatchAndSkip(expected);
        return std::nullopt;
    }
    advance();
    std::string text;
    readStringBody(text);
    return text;
}

std::optional<bool> JsonStream::boolean(std::string_view expected)
{
    if (peek() != Kind::Boolean) {
        mismatchAndSkip(expected);
        return std::nullopt;
    }
    const bool value = peekByte() == 't';
    expectLiteral(value ? "true" : "false");
    return value;
}

bool JsonStream::null()
{
    if (peek() != Kind::Null)
        return false;
    expectLiteral("null");
    return true;
}

void JsonStream::skip()
{
    skipValue(0);
}

void JsonStream::skipValue(int depth)
{
    if (depth > MaxSkipDepth)
        syntaxError("values nested more than " + std::to_string(MaxSkipDepth) + " deep");
    switch (peek()) {
    case Kind::Object:
        advance();
        if (skipWhitespace() == '}') {
            advance();
            return;
        }
        do {
            skipWhitespace();
            expectByte('"', "a member name in double quotes");
            readStringBody(m_scratch);
            skipWhitespace();
            expectByte(':', "':' after a member name");
            skipValue(depth + 1);
        } while (continueAfterElement('}'));
        return;
    case Kind::Array:
        advance();
        if (skipWhitespace() == ']') {
            advance();
            return;
        }
        do {
            skipValue(depth + 1);
        } while (continueAfterElement(']'));
        return;
    case Kind::String:
        advance();
        readStringBody(m_scratch);
        return;
    case Kind::Number:
        readNumberBody();
        return;
    case Kind::Boolean:
        expectLiteral(peekByte() == 't' ? "true" : "false");
        return;
    case Kind::Null:
        expectLiteral("null");
        return;
    }
}

void JsonStream::mismatchAndSkip(std::string_view expected)
{
    mismatch(expected, describe(peek()));
    skipValue(0);
}

void JsonStream::mismatch(std::string_view expected, std::string_view found)
{
    if (m_firstMismatch)
        return;
    std::string message = path();
    message += ": expected ";
    message += expected;
    message += ", found ";
    message += found;
    m_firstMismatch = std::move(message);
}

std::string JsonStream::path() const
{
    if (m_path.empty())
        return "the top level";
    std::string text;
    for (const PathStep& step : m_path) {
        if (step.index >= 0) {
            text += '[';
            text += std::to_string(step.index);
            text += ']';
        } else if (isPlainKey(step.key)) {
            if (!text.empty())
                text += '.';
            text += step.key;
        } else {
            text += '[';
            text += quote(step.key);
            text += ']';
        }
    }
    return text;
}

void JsonStream::finish()
{
    const int c = skipWhitespace();
    if (c >= 0)
        syntaxError("unexpected " + describeByte(c) + " after the top-level value");
}
