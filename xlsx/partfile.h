#pragma once

#include "deflateworkers.h"

#include <QFile>
#include <QString>

#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

namespace xlsx {

// A package part written as text into a temporary file. Writes collect in a large buffer that
// goes to the file when full, so the many small writes of a worksheet cost a copy each. A
// failed write of the buffer throws std::runtime_error carrying the device's error text.
// A part file opened with deflate workers holds the raw deflate stream of its text instead:
// full buffers go to the workers, and a failed write there is thrown by a later write or close.
class PartFile
{
public:
    static constexpr std::size_t BufferSize = 128 * 1024;

    PartFile();
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // Creates (truncates) the file, never through a link; throws "Could not create temporary
    // file <path>". A file still open is abandoned first.
    void open(const QString& path);
    // The same, the text being deflated on `workers` (which must outlive the file's stream).
    void open(const QString& path, DeflateWorkers& workers);
    bool isOpen() const { return m_file.isOpen(); }
    bool isDeflated() const { return m_deflatedText.has_value(); }
    // CRC-32 and length of the text of a deflated file, once it is closed.
    DeflatedText deflatedText() const { return m_deflatedText.value_or(DeflatedText{}); }
    QString fileName() const { return m_file.fileName(); }

    void write(std::string_view text)
    {
        if (text.size() > BufferSize - m_used)
            drain();
        if (text.size() > BufferSize) {
            writeThrough(text);
            return;
        }
        std::memcpy(m_buffer.get() + m_used, text.data(), text.size());
        m_used += text.size();
    }

    // Room for at most `size` bytes (size <= 256) at the end of the buffer; commit() takes the
    // bytes actually written. Lets formatters write in place without a temporary.
    char* reserve(std::size_t size)
    {
        if (size > BufferSize - m_used)
            drain();
        return m_buffer.get() + m_used;
    }
    void commit(const char* end) { m_used = static_cast<std::size_t>(end - m_buffer.get()); }

    // Writes the buffer to the file; throws on a write error.
    void flush();
    // Flushes and closes; throws on a write error (the file is closed all the same). Nothing if
    // not open.
    void close();
    // Closes without writing what is still buffered and without reporting errors (for cleanup
    // after a failure). Destroying an open PartFile writes the buffer first, errors ignored (a
    // deflated one is abandoned).
    void abandon();

private:
    void drain();
    void writeThrough(std::string_view text);
    void writeFully(const char* data, std::size_t size);
    void checkError();

    QFile m_file;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_used = 0;
    DeflateWorkers* m_workers = nullptr;
    DeflateStream* m_stream = nullptr;
    std::optional<DeflatedText> m_deflatedText;
};

} // namespace xlsx
