#pragma once

// Runs the Python the build found (TAVI_PYTHON3) on a script or `-c` program: the one way
// tests start the independent readers.

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

struct PythonRun
{
    bool ok = false; // finished with exit status 0
    QByteArray out;
    QByteArray err;
};

inline PythonRun runPython(const QStringList& arguments, int timeoutMs = 120000)
{
    QProcess python;
    python.start(QStringLiteral(TAVI_PYTHON3), arguments);
    const bool finished = python.waitForFinished(timeoutMs);
    return {finished && python.exitStatus() == QProcess::NormalExit && python.exitCode() == 0,
        python.readAllStandardOutput(), python.readAllStandardError()};
}

// Runs a script of tests/support.
inline PythonRun runSupportScript(const QString& name, const QStringList& arguments, int timeoutMs = 120000)
{
    return runPython(QStringList{QStringLiteral(TAVI_SOURCE_DIR "/tests/support/") + name} + arguments, timeoutMs);
}
