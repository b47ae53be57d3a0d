#pragma once

// A file as the byte source of a JsonStream: a gzip-compressed file is recognised by its first
// bytes, whatever its name, and read decompressed; any other file is read as it is.

#include "jsonstream.h"

#include <QByteArray>
#include <QString>

#include <string>

struct gzFile_s;

class FileSource
{
public:
    // Opens the file; isOpen() tells whether that worked and openError() why not.
    explicit FileSource(const QString& fileName);
    ~FileSource();
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    bool isOpen() const { return m_file != nullptr; }
    const QString& openError() const { return m_openError; }

    // Reads on from the file for a JsonStream; the FileSource must outlive it. A read
    // failure (a damaged or truncated gzip stream) throws std::runtime_error with its reason.
    JsonStream::Source source();

private:
    std::size_t read(char* buffer, std::size_t capacity);

    QByteArray m_path;
    gzFile_s* m_file = nullptr;
    QString m_openError;
};
