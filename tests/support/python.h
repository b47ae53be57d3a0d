#pragma once

// Runs the Python the build found (TAVI_PYTHON3) on a script or `-c` program: the one way
// tests start the independent readers.
//
// The child is started with fork and exec, not QProcess: Qt starts children with vfork
// semantics (a clone sharing the parent's memory), and the child's calls made on the parent's
// memory upset the thread sanitizer's record of the parent's thread, which then reports
// races on the exporter's locked data that are not there.

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QStringList>
#include <QTemporaryFile>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

struct PythonRun
{
    bool ok = false; // finished with exit status 0
    QByteArray out;
    QByteArray err;
};

inline PythonRun runPython(const QStringList& arguments, int timeoutMs = 120000)
{
    QTemporaryFile out, err;
    if (!out.open() || !err.open())
        return {};
    std::vector<QByteArray> words{QByteArrayLiteral(TAVI_PYTHON3)};
    for (const QString& argument : arguments)
        words.push_back(QFile::encodeName(argument));
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    const pid_t child = ::fork();
    if (child == 0) {
        const int nothing = ::open("/dev/null", O_RDONLY);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(out.handle(), STDOUT_FILENO);
        ::dup2(err.handle(), STDERR_FILENO);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    if (child < 0)
        return {};
    QElapsedTimer timer;
    timer.start();
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(child, &status, WNOHANG)) == 0 && timer.elapsed() < timeoutMs)
        QThread::msleep(2);
    if (ended == 0) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
    }
    const auto contents = [](const QTemporaryFile& file) {
        QFile written(file.fileName());
        return written.open(QIODevice::ReadOnly) ? written.readAll() : QByteArray();
    };
    return {ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0, contents(out), contents(err)};
}

// Runs a script of tests/support.
inline PythonRun runSupportScript(const QString& name, const QStringList& arguments, int timeoutMs = 120000)
{
    return runPython(QStringList{QStringLiteral(TAVI_SOURCE_DIR "/tests/support/") + name} + arguments, timeoutMs);
}
