#include "filesource.h"

#include <QFile>

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace {

constexpr unsigned ReadBufferBytes = 1 << 20;

} // namespace

FileSource::FileSource(const QString& fileName)
    : m_path(QFile::encodeName(fileName))
{
    // zlib reads a gzip stream by its magic bytes and any other file as it is.
    m_file = gzopen(m_path.constData(), "rb");
    if (!m_file) {
        m_openError = QString::fromLocal8Bit(std::strerror(errno));
        return;
    }
    gzbuffer(m_file, ReadBufferBytes);
}

FileSource::~FileSource()
{
    if (m_file)
        gzclose(m_file);
}

JsonStream::Source FileSource::source()
{
    return [this](char* buffer, std::size_t capacity) { return read(buffer, capacity); };
}

std::size_t FileSource::read(char* buffer, std::size_t capacity)
{
    const int count = gzread(m_file, buffer, static_cast<unsigned>(capacity));
    int status = Z_OK;
    const char* message = gzerror(m_file, &status);
    // A truncated stream reads to its end and then reports Z_BUF_ERROR.
    if (count < 0 || (status != Z_OK && status != Z_STREAM_END)) {
        if (status == Z_ERRNO)
            throw std::runtime_error(std::strerror(errno));
        // zlib puts the path before its message; the caller names the file already.
        std::string_view text(message);
        const std::string prefix = m_path.toStdString() + ": ";
        if (text.starts_with(prefix))
            text.remove_prefix(prefix.size());
        throw std::runtime_error(std::string(text));
    }
    return std::size_t(count);
}
