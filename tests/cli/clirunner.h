#pragma once

// Runs the built tavi-export program in a scratch folder that also serves as its
// configuration folder, so that no run touches the user's settings.

#include "workbookreader.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <zlib.h>

#include <optional>

struct CliResult
{
    int exitCode = -1;
    QString out;
    QString err;
};

inline QString cliProgram()
{
    return QStringLiteral(TAVI_BINARY_DIR "/host/tavi-export");
}

// The names of the entries whose content differs between two workbooks (or that one lacks),
// the document properties with their creation time aside; read with Python's zipfile.
inline QString differingEntries(const QString& first, const QString& second)
{
    const PythonRun python = runPython({"-c",
        "import sys, zipfile\n"
        "a, b = (zipfile.ZipFile(p) for p in sys.argv[1:])\n"
        "names = (set(a.namelist()) | set(b.namelist())) - {'docProps/core.xml'}\n"
        "print(' '.join(sorted(n for n in names if n not in a.namelist() or n not in b.namelist()"
        " or a.read(n) != b.read(n))))\n",
        first, second});
    EXPECT_TRUE(python.ok) << python.err.toStdString();
    return QString::fromUtf8(python.out).trimmed();
}

class CliWorkspace
{
public:
    // A name relative to the scratch folder; an absolute path stays as it is.
    QString path(const QString& name) const { return QDir(m_dir.path()).filePath(name); }
    // Where the program keeps its settings when no --settings is given.
    QString defaultSettingsPath() const { return path(QStringLiteral("config/tavi-export/excelexporter.ini")); }

    // Starts `program` (tavi-export unless given) in the scratch folder under `locale`.
    void start(QProcess& process, const QStringList& arguments, const QString& locale = QStringLiteral("C.UTF-8"),
        const QString& program = cliProgram()) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("LC_ALL"), locale);
        env.remove(QStringLiteral("LANGUAGE"));
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(m_dir.path());
        process.start(program, arguments);
    }

    // Runs the program; with `shell` given, /bin/sh runs those commands first (limits,
    // environment) and then the program.
    CliResult run(const QStringList& arguments, const QString& shell = {}, const QString& locale = QStringLiteral("C.UTF-8")) const
    {
        QProcess process;
        if (shell.isEmpty())
            start(process, arguments, locale);
        else
            start(process, QStringList{"-c", shell + "; exec \"$0\" \"$@\"", cliProgram()} + arguments, locale, "/bin/sh");
        const bool finished = process.waitForFinished(120000);
        EXPECT_TRUE(finished) << "tavi-export did not finish: " << arguments.join(u' ').toStdString();
        return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromLocal8Bit(process.readAllStandardOutput()),
            QString::fromLocal8Bit(process.readAllStandardError())};
    }

    // Runs an export that must succeed without a word on standard error and leave no
    // temporary folder; answers its summary line.
    QString exportQuietly(const QStringList& arguments) const
    {
        const CliResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        EXPECT_TRUE(temporaryFolders().isEmpty());
        return result.out;
    }

    void writeFile(const QString& name, const QByteArray& bytes, bool gzipped = false) const
    {
        if (gzipped) {
            gzFile file = gzopen(QFile::encodeName(path(name)).constData(), "wb");
            ASSERT_NE(file, nullptr) << name.toStdString();
            gzwrite(file, bytes.constData(), unsigned(bytes.size()));
            ASSERT_EQ(gzclose(file), Z_OK);
            return;
        }
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
        file.write(bytes);
    }

    QByteArray readFile(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    bool exists(const QString& name) const { return QFileInfo::exists(path(name)); }

    // Temporary export folders ("<output>_fldr") left anywhere in the scratch folder.
    QStringList temporaryFolders() const
    {
        QStringList found;
        for (QDirIterator it(m_dir.path(), {"*_fldr"}, QDir::Dirs | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
            found << it.next();
        return found;
    }

private:
    QTemporaryDir m_dir;
};
