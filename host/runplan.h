#pragma once

// What one run of tavi-export is to do, worked out from its command line: the exports with
// the workbook each one writes, and the settings it changes for this run. A refusal is a
// message for the user, given before anything is loaded or written.

#include "commandline.h"
#include "exportrequest.h"
#include "settingsstore.h"

#include <QMap>
#include <QString>
#include <QVariant>

#include <variant>
#include <vector>

// The exports the command line asks for, their outputs checked; a message on a refusal.
std::variant<std::vector<ExportRequest>, QString> exportRequests(const CommandLine& line);

// The settings for this run: --sheets turns every sheet off but the ones named, then --set
// gives single values. Answers a message for a key or value the plug-in does not know.
std::variant<std::vector<SettingOverride>, QString> runOverrides(const CommandLine& line,
    const QMap<QString, QVariant>& registered);
