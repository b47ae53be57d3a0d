#pragma once

#include <QString>

// Puts a finished file in the target's place in one step. The file's data reach stable
// storage before it takes the target's name, and the name change before this returns, so
// after a crash or power loss the target is the earlier file or the whole new one. The new
// file keeps an earlier file's permission bits; a link at the target is replaced, not
// followed; an earlier file that may not be written is refused. False on a failure, with the
// target unchanged (unless only the last step, flushing the folder's new entry, failed).
bool replaceTarget(const QString& finishedPath, const QString& targetPath);
