#include "messagetext.h"

namespace {

constexpr qsizetype MostQuotedCharacters = 100;

void appendEscaped(QString& out, QChar character)
{
    switch (character.unicode()) {
    case u'\n':
        out += QLatin1String("\\n");
        return;
    case u'\r':
        out += QLatin1String("\\r");
        return;
    case u'\t':
        out += QLatin1String("\\t");
        return;
    case u'"':
        out += QLatin1String("\\\"");
        return;
    case u'\\':
        out += QLatin1String("\\\\");
        return;
    default:
        break;
    }
    // C0 and C1 controls and DEL would move the cursor or start terminal escapes.
    const char16_t code = character.unicode();
    if (code < 0x20 || (code >= 0x7f && code < 0xa0))
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
        if (character == u'\n' || character == u'\t' || character == u'"' || character == u'\\')
            out += character;
        else
            appendEscaped(out, character);
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
