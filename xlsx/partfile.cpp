#include "partfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace xlsx {

PartFile::PartFile()
    : m_buffer(new char[BufferSize])
{ }

PartFile::~PartFile()
{
    if (m_stream) {
        abandon();
        return;
    }
    // Like a QFile going out of scope: what is buffered still reaches the file, but a
    // destructor cannot report a failure.
    if (m_file.isOpen() && m_used > 0)
        m_file.write(m_buffer.get(), static_cast<qint64>(m_used));
    m_file.close();
}

void PartFile::open(const QString& path)
{
    abandon();
    m_file.setFileName(path);
    // Never through a link: one planted where a part file goes is refused, not followed.
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666);
    // The buffer here already batches the writes; QFile's own buffer would only copy twice.
    if (fd < 0 || !m_file.open(fd, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        if (fd >= 0)
            ::close(fd);
        throw std::runtime_error(QStringLiteral("Could not create temporary file %1").arg(path).toUtf8().toStdString());
    }
    m_deflatedText.reset();
}

void PartFile::open(const QString& path, DeflateWorkers& workers)
{
    open(path);
    // Blocks handed to the workers come back as others of their size.
    if (workers.blockSize() != BufferSize)
        throw std::logic_error("deflate blocks must be the part file's buffer size");
    m_workers = &workers;
    m_stream = workers.open(m_file);
    m_deflatedText = DeflatedText{};
}

void PartFile::flush()
{
    drain();
}

void PartFile::close()
{
    if (!m_file.isOpen())
        return;
    try {
        if (m_stream) {
            const std::size_t size = m_used;
            m_used = 0;
            DeflateStream* const stream = std::exchange(m_stream, nullptr);
            m_deflatedText = m_workers->finish(stream, m_buffer, size);
        } else {
            drain();
        }
    } catch (...) {
        m_file.close();
        throw;
    }
    m_file.close();
    checkError();
}

void PartFile::abandon()
{
    if (m_stream)
        m_workers->drop(std::exchange(m_stream, nullptr));
    m_used = 0;
    m_file.close();
}

void PartFile::drain()
{
    const std::size_t size = m_used;
    m_used = 0;
    if (m_stream)
        m_workers->submit(m_stream, m_buffer, size);
    else
        writeFully(m_buffer.get(), size);
}

void PartFile::writeThrough(std::string_view text)
{
    if (!m_stream) {
        writeFully(text.data(), text.size());
        return;
    }
    while (!text.empty()) {
        const std::size_t piece = std::min(text.size(), BufferSize - m_used);
        std::memcpy(m_buffer.get() + m_used, text.data(), piece);
        m_used += piece;
        text.remove_prefix(piece);
        if (m_used == BufferSize)
            drain();
    }
}

void PartFile::writeFully(const char* data, std::size_t size)
{
    // A write cut short (a file size limit, a full disk) has not yet set an error; writing the
    // rest makes the device report why.
    while (size > 0) {
        const qint64 written = m_file.write(data, static_cast<qint64>(size));
        if (written <= 0)
            throw std::runtime_error(m_file.errorString().toUtf8().toStdString());
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    checkError();
}

void PartFile::checkError()
{
    if (m_file.error() != QFileDevice::NoError)
        throw std::runtime_error(m_file.errorString().toUtf8().toStdString());
}

} // namespace xlsx
