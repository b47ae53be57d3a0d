#include "recordingreader.h"

#include "filesource.h"
#include "jsonstream.h"
#include "memorysource.h"
#include "recordinglimits.h"
#include "recordingschema.h"

#include <QFileInfo>

#include <new>

namespace {

// Added to the messages about a file that does not hold a JSON object at all.
constexpr QStringView NotARecordingHint = u"; a recording is a JSON object as docs/recording-format.md describes";

// Reads a recording from `source`, turning every way the reading can fail into a message
// that names the file.
RecordingReadResult readFrom(JsonStream::Source source, std::size_t bufferSize, std::int64_t fileBytes,
    const QString& name)
{
    RecordingReadResult result;
    bool topLevelIsObject = false;
    try {
        JsonStream json(std::move(source), bufferSize);
        json.setLimits(recordinglimits::MaxTextBytes, recordinglimits::MaxNumberCharacters);
        RecordingBudget budget(fileBytes);
        Recording recording;
        const std::string error = readRecordingJson(json, budget, recording, topLevelIsObject);
        if (error.empty())
            result.recording = std::move(recording);
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
    return readFrom(memorySource(json), memorySourceBufferSize(json), json.size(), sourceName);
}

RecordingReadResult readRecordingFile(const QString& fileName)
{
    FileSource file(fileName);
    if (!file.isOpen()) {
        RecordingReadResult failed;
        failed.error = QStringLiteral("%1: cannot open: %2").arg(fileName, file.openError());
        return failed;
    }
    return readFrom(file.source(), JsonStream::DefaultBufferSize, QFileInfo(fileName).size(), fileName);
}
