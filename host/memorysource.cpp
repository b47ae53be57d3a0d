#include "memorysource.h"

#include <algorithm>
#include <cstring>

JsonStream::Source memorySource(QByteArrayView text)
{
    return [text, position = qsizetype(0)](char* buffer, std::size_t capacity) mutable {
        const qsizetype count = std::min<qsizetype>(text.size() - position, qsizetype(capacity));
        std::memcpy(buffer, text.data() + position, std::size_t(count));
        position += count;
        return std::size_t(count);
    };
}

std::size_t memorySourceBufferSize(QByteArrayView text)
{
    return std::min(std::size_t(text.size()), JsonStream::DefaultBufferSize);
}
