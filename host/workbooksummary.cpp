#include "workbooksummary.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <zlib.h>

#include <vector>

namespace {

std::uint32_t read16(const QByteArray& bytes, qsizetype at)
{
    return static_cast<std::uint8_t>(bytes[at]) | static_cast<std::uint8_t>(bytes[at + 1]) << 8;
}

std::uint32_t read32(const QByteArray& bytes, qsizetype at)
{
    return read16(bytes, at) | read16(bytes, at + 2) << 16;
}

struct Entry
{
    QString name;
    std::uint32_t method = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t localHeaderOffset = 0;
};

// The archive's central directory; empty when there is none to read.
std::vector<Entry> readDirectory(QFile& file)
{
    constexpr qsizetype EndRecordSize = 22;
    const qint64 tailSize = std::min<qint64>(file.size(), EndRecordSize + 65535);
    if (tailSize < EndRecordSize || !file.seek(file.size() - tailSize))
        return {};
    const QByteArray tail = file.read(tailSize);
    const qsizetype end = tail.lastIndexOf(QByteArrayLiteral("PK\x05\x06"));
    if (end < 0 || end + EndRecordSize > tail.size())
        return {};
    const std::uint32_t directorySize = read32(tail, end + 12);
    const std::uint32_t directoryOffset = read32(tail, end + 16);
    if (!file.seek(directoryOffset))
        return {};
    const QByteArray directory = file.read(directorySize);
    if (directory.size() != qsizetype(directorySize))
        return {};

    std::vector<Entry> entries;
    for (qsizetype at = 0; at + 46 <= directory.size() && read32(directory, at) == 0x02014b50;) {
        const std::uint32_t nameLength = read16(directory, at + 28);
        const std::uint32_t extraLength = read16(directory, at + 30);
        const std::uint32_t commentLength = read16(directory, at + 32);
        if (at + 46 + nameLength > directory.size())
            return {};
        entries.push_back({QString::fromUtf8(directory.mid(at + 46, nameLength)), read16(directory, at + 10),
            read32(directory, at + 20), read32(directory, at + 42)});
        at += 46 + nameLength + extraLength + commentLength;
    }
    return entries;
}

// The first `limit` bytes of an entry's content (all of it when shorter); nothing on error.
std::optional<QByteArray> readEntry(QFile& file, const Entry& entry, qsizetype limit)
{
    if (!file.seek(entry.localHeaderOffset))
        return std::nullopt;
    const QByteArray header = file.read(30);
    if (header.size() != 30 || read32(header, 0) != 0x04034b50)
        return std::nullopt;
    if (!file.seek(entry.localHeaderOffset + 30 + read16(header, 26) + read16(header, 28)))
        return std::nullopt;
    // Stored text is read as it is; deflated text only as far as `limit` needs.
    const QByteArray stored = file.read(entry.method == 0 ? std::min<qint64>(entry.compressedSize, limit)
                                                          : std::min<qint64>(entry.compressedSize, limit + 65536));
    if (entry.method == 0)
        return stored;
    if (entry.method != Z_DEFLATED)
        return std::nullopt;

    QByteArray text(limit, Qt::Uninitialized);
    z_stream stream = {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return std::nullopt;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stored.constData()));
    stream.avail_in = static_cast<uInt>(stored.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    const int result = inflate(&stream, Z_SYNC_FLUSH);
    const qsizetype produced = text.size() - stream.avail_out;
    inflateEnd(&stream);
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
        return std::nullopt;
    text.truncate(produced);
    return text;
}

QString unescapeXml(QString text)
{
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&apos;"), QLatin1String("'"));
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text;
}

QStringList continuationSheets(const QStringList& titles)
{
    static const QRegularExpression numbered(QStringLiteral("^(.*) ([2-9]|[1-9][0-9]+)$"));
    const QSet<QString> all(titles.cbegin(), titles.cend());
    QStringList continuations;
    for (const QString& title : titles) {
        const QRegularExpressionMatch match = numbered.match(title);
        if (match.hasMatch() && all.contains(match.captured(1)))
            continuations << title;
    }
    return continuations;
}

} // namespace

std::optional<WorkbookSummary> summarizeWorkbook(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const std::vector<Entry> entries = readDirectory(file);

    static const QRegularExpression sheetTitle(QStringLiteral("<sheet [^>]*name=\"([^\"]*)\""));
    static const QRegularExpression dimension(QStringLiteral("<dimension ref=\"[A-Z]+[0-9]+(?::[A-Z]+([0-9]+))?\""));
    static const QRegularExpression worksheetName(QStringLiteral("^xl/worksheets/sheet[0-9]+\\.xml$"));
    constexpr qsizetype HeadBytes = 4096;
    constexpr qsizetype MostWorkbookBytes = 4 * 1024 * 1024;

    WorkbookSummary summary;
    QStringList titles;
    bool workbookPartFound = false;
    for (const Entry& entry : entries) {
        if (entry.name == u"xl/workbook.xml") {
            const std::optional<QByteArray> workbook = readEntry(file, entry, MostWorkbookBytes);
            if (!workbook)
                return std::nullopt;
            workbookPartFound = true;
            for (auto match = sheetTitle.globalMatch(QString::fromUtf8(*workbook)); match.hasNext();)
                titles << unescapeXml(match.next().captured(1));
        } else if (worksheetName.match(entry.name).hasMatch()) {
            const std::optional<QByteArray> head = readEntry(file, entry, HeadBytes);
            if (!head)
                return std::nullopt;
            const QRegularExpressionMatch match = dimension.match(QString::fromUtf8(*head));
            if (match.hasMatch())
                summary.rows += match.hasCaptured(1) ? match.captured(1).toLongLong() : 1;
        }
    }
    if (!workbookPartFound)
        return std::nullopt;
    summary.sheets = int(titles.size());
    summary.continuationSheets = continuationSheets(titles);
    return summary;
}
