#include "partfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace xlsx {

PartFile::PartFile() : m_buffer(new char[BufferSize]) {}

PartFile::~PartFile()
{
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
        drain();
    } catch (...) {
        m_file.close();
        throw;
    }
    m_file.close();
    checkError();
}

void PartFile::abandon()
{
    m_used = 0;
    m_file.close();
}

void PartFile::drain()
{
    const std::size_t size = m_used;
    m_used = 0;
    writeFully(m_buffer.get(), size);
}

void PartFile::writeThrough(std::string_view text)
{
    writeFully(text.data(), text.size());
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
