#include "messagetext.h"

namespace {

constexpr qsizetype MostQuotedCharacters = 100;

// C0 and C1 controls and DEL would move the cursor or start terminal escapes.
bool isControl(char16_t code)
{
    return code < 0x20 || (code >= 0x7f && code < 0xa0);
}

struct ShortEscape
{
    char16_t character;
    QLatin1String text;
};
constexpr ShortEscape ShortEscapes[] = {
    {u'\n', QLatin1String("\\n")},
    {u'\r', QLatin1String("\\r")},
    {u'\t', QLatin1String("\\t")},
    {u'"', QLatin1String("\\\"")},
    {u'\\', QLatin1String("\\\\")},
};

// The character as it stands in a quoted value: escaped when it is a control, a quote or a
// backslash.
void appendEscaped(QString& out, QChar character)
{
    const char16_t code = character.unicode();
    for (const ShortEscape& escape : ShortEscapes) {
        if (escape.character == code) {
            out += escape.text;
            return;
        }
    }
    if (isControl(code))
        out += QString::asprintf("\\x%02x", static_cast<unsigned>(code));
    else
        out += character;
}

} // namespace

QString printable(const QString& message)
{
    QString out;
    out.reserve(message.size());
    for (const QChar character : message) {
        // Line breaks and tabs lay a message out; quotes and backslashes are harmless.
        if (isControl(character.unicode()) && character != u'\n' && character != u'\t')
            appendEscaped(out, character);
        else
            out += character;
    }
    return out;
}

QString quoted(const QString& value)
{
    QString out = QStringLiteral("\"");
    qsizetype taken = 0;
    for (; taken < value.size() && taken < MostQuotedCharacters; ++taken) {
        // Never cut a surrogate pair in half.
        if (taken + 1 == MostQuotedCharacters && value.at(taken).isHighSurrogate())
            break;
        appendEscaped(out, value.at(taken));
    }
    if (taken < value.size())
        out += QLatin1String("...");
    out += u'"';
    return out;
}
