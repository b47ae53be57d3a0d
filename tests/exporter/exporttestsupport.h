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

class ExportTest : public ::testing::Test
{
protected:
    QTemporaryDir dir;

    QString target(const QString& name = QStringLiteral("out.xlsx")) const { return dir.filePath(name); }

    // Exports every frame of the recording with the given settings changed from their defaults.
    std::optional<DumpedWorkbook> exportAndRead(const testrec::Options& options,
        const QMap<QString, QVariant>& changed = {})
    {
        RecordingHost host(testrec::makeRecording(options));
        MemorySettingsSynchronizer settings(exportSettingDefaults(), exportSettingDescriptions());
        for (auto it = changed.begin(); it != changed.end(); ++it)
            settings.setValue(it.key(), it.value());
        const QString path = target();
        {
            ExcelExporter exporter(host, &settings);
            EXPECT_TRUE(exporter.initialize(path)) << exporter.lastError().toStdString();
            for (int frame : host.frameNumbers())
                EXPECT_TRUE(exporter.exportFrame(frame)) << exporter.lastError().toStdString();
            EXPECT_FALSE(exporter.finalize(false));
            EXPECT_EQ(exporter.lastError(), QString());
            EXPECT_FALSE(QFileInfo::exists(path + QStringLiteral("_fldr")));
        }
        return readWorkbook(path);
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
