#pragma once

// Runs an export of an in-memory recording the way the host does and reads the workbook back.

#include "excelexporter.h"
#include "exportsettings.h"
#include "recordinghost.h"
#include "settingsstore.h"
#include "testrecording.h"
#include "workbookreader.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// A host and a settings store for driving an exporter by hand.
struct ExportSession
{
    explicit ExportSession(const testrec::Options& o = {})
        : ExportSession(testrec::makeRecording(o))
    { }
    explicit ExportSession(Recording recording)
        : host(std::move(recording))
        , settings(exportSettingDefaults(), exportSettingDescriptions())
    { }

    // Drives the exporter as the host does; the last error, empty on success.
    QString run(ExcelExporter& exporter, const QString& path)
    {
        if (!exporter.initialize(path))
            return exporter.lastError();
        for (int frame : host.frameNumbers()) {
            if (!exporter.exportFrame(frame)) {
                const QString message = exporter.lastError();
                exporter.finalize(true);
                return message;
            }
        }
        EXPECT_FALSE(exporter.finalize(false)) << "finalize answers false on every path";
        return exporter.lastError();
    }
    QString run(const QString& path)
    {
        ExcelExporter exporter(host, &settings);
        return run(exporter, path);
    }

    RecordingHost host;
    MemorySettingsSynchronizer settings;
};

class ExportTest : public ::testing::Test
{
protected:
    QTemporaryDir dir;

    QString target(const QString& name = QStringLiteral("out.xlsx")) const { return dir.filePath(name); }

    // Exports every frame of the recording with the given settings changed from their defaults
    // to `name` in the test's folder; answers its path.
    QString exportTo(const QString& name, const testrec::Options& options, const QMap<QString, QVariant>& changed = {})
    {
        ExportSession session(options);
        for (auto it = changed.begin(); it != changed.end(); ++it)
            session.settings.setValue(it.key(), it.value());
        EXPECT_EQ(session.run(target(name)), QString());
        EXPECT_FALSE(QFileInfo::exists(target(name) + QStringLiteral("_fldr")));
        return target(name);
    }

    std::optional<DumpedWorkbook> exportAndRead(const testrec::Options& options, const QMap<QString, QVariant>& changed = {})
    {
        return readWorkbook(exportTo(QStringLiteral("out.xlsx"), options, changed));
    }
};

inline QStringList catalogueTitles(std::initializer_list<SheetId> without = {})
{
    QStringList titles;
    for (const SheetEntry& entry : sheetCatalogue)
        if (std::find(without.begin(), without.end(), entry.id) == without.end())
            titles << QString::fromLatin1(entry.title);
    return titles;
}
