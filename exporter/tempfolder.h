#pragma once

// The temporary folder of one export (target + "_fldr"), owned and locked for the export's
// whole life. It is made as a new folder beside the target, never through a link, with an
// exclusive lock on a lock file inside it that the system drops when the process ends, so a
// folder left by a killed export is recognised and reused while one that a living export
// holds, or that something else made, is left alone.

#include <QByteArray>
#include <QString>

class TempFolder
{
public:
    enum class Result {
        Ready,    // the folder is ours, empty but for the lock file
        Busy,     // another living export holds a folder of that name
        Unusable, // the name is taken by something else, or no folder can be made there
    };

    // The folder's name is the target's followed by FolderSuffix. Inside it: the lock file, and
    // the archive written before it replaces the target.
    static constexpr const char* FolderSuffix = "_fldr";
    static constexpr const char* LockFileName = ".export.lock";
    static constexpr const char* ArchiveName = "export.xlsx.tmp";

    TempFolder() = default;
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // Takes the folder at `path` (no trailing separator): made new, or a stale one of ours
    // emptied. A folder this object already holds is removed first. Unusable and Busy touch
    // nothing that existed before.
    Result acquire(const QString& path);
    bool isHeld() const { return m_folder >= 0; }

    // Removes one file of the folder (a part file once packed); never follows a link.
    void removeFile(const char* name) const;

    // Removes the files and links in the folder (never following them), the lock file and
    // the folder, and drops the lock. Nothing when not held.
    void remove();

private:
    enum class Adoption { Ready,
        Busy,
        Unusable,
        Retry };
    Adoption makeNew();
    Adoption adoptExisting();
    void sweepAbandonedSiblings() const;
    void close();

    QByteArray m_path;
    int m_folder = -1;
    int m_lock = -1;
};
