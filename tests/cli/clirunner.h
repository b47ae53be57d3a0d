#pragma once

// Runs the built tavi-export program in a scratch folder that also serves as its
// configuration folder, so that no run touches the user's settings.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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

class CliWorkspace
{
public:
    // A name relative to the scratch folder; an absolute path stays as it is.
    QString path(const QString& name) const { return QDir(m_dir.path()).filePath(name); }
    // Where the program keeps its settings when no --settings is given.
    QString defaultSettingsPath() const { return path(QStringLiteral("config/tavi-export/excelexporter.ini")); }

    // Runs the program in the scratch folder under the C locale; `locale` picks another one.
    CliResult run(const QStringList& arguments, const QString& locale = QStringLiteral("C.UTF-8")) const
    {
        QProcess process;
        process.setProcessEnvironment(environment(locale));
        process.setWorkingDirectory(m_dir.path());
        process.start(cliProgram(), arguments);
        CliResult result;
        if (!process.waitForFinished(120000)) {
            ADD_FAILURE() << "tavi-export did not finish: " << arguments.join(u' ').toStdString();
            process.kill();
            process.waitForFinished();
            return result;
        }
        result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.out = QString::fromLocal8Bit(process.readAllStandardOutput());
        result.err = QString::fromLocal8Bit(process.readAllStandardError());
        return result;
    }

    QProcessEnvironment environment(const QString& locale) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("LC_ALL"), locale);
        env.remove(QStringLiteral("LANGUAGE"));
        return env;
    }

    void writeJson(const QString& name, const QJsonObject& json) const { writeFile(name, QJsonDocument(json).toJson()); }

    void writeFile(const QString& name, const QByteArray& bytes) const
    {
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
        QDirIterator it(m_dir.path(), QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString folder = it.next();
            if (folder.endsWith(QStringLiteral("_fldr")))
                found << folder;
        }
        return found;
    }

private:
    QTemporaryDir m_dir;
};
