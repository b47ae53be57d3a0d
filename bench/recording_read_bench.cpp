// Reads one recording file and prints how long it took; run under /usr/bin/time -v for the
// peak memory. With --qjson the file is parsed by QJsonDocument instead (no model is built),
// to compare what holding the whole document would cost.

#include "recordingreader.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

int main(int argc, char** argv)
{
    const bool qjson = argc == 3 && QByteArray(argv[1]) == "--qjson";
    if (argc != 2 && !qjson) {
        std::fprintf(stderr, "usage: bench_recording_read [--qjson] RECORDING\n");
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[argc - 1]);
    QElapsedTimer timer;
    timer.start();

    if (qjson) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot open %s\n", qPrintable(path));
            return 1;
        }
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        if (document.isNull()) {
            std::fprintf(stderr, "%s: %s at offset %d\n", qPrintable(path), qPrintable(error.errorString()), error.offset);
            return 1;
        }
        std::printf("QJsonDocument: %lld top-level members in %.2f s\n",
            static_cast<long long>(document.object().size()), double(timer.nsecsElapsed()) / 1e9);
        return 0;
    }

    const RecordingReadResult result = readRecordingFile(path);
    if (!result.ok()) {
        std::fprintf(stderr, "%s\n", qPrintable(result.error));
        return 1;
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    const QFileInfo info(path);
    std::printf("read %zu frames (%.0f MB) in %.2f s, %.0f MB/s\n", result.recording->frameNumbers().size(),
        double(info.size()) / 1e6, seconds, double(info.size()) / 1e6 / seconds);
    return 0;
}
