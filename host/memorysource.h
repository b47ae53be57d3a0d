#pragma once

// A text already in memory as the byte source of a JsonStream.

#include "jsonstream.h"

#include <QByteArrayView>

// Hands out `text` in order; `text` must outlive the source.
JsonStream::Source memorySource(QByteArrayView text);
// The buffer a stream over `text` needs: never more than the text itself.
std::size_t memorySourceBufferSize(QByteArrayView text);
