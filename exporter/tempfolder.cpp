#include "tempfolder.h"

#include <QFile>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace {

// A folder whose making was cut short (the process killed between making it and giving it its
// name) is swept away by a later export once it is this old, so it cannot be one in the making.
constexpr std::time_t AbandonedAfterSeconds = 60;
constexpr int Attempts = 5;

class Descriptor
{
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd)
    { }
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

int openFolder(const char* path, int at = AT_FDCWD)
{
    return ::openat(at, path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool sameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The names in a folder, with whether each is a folder (links are not followed). False when
// the folder cannot be read.
bool listEntries(int folder, std::vector<std::pair<std::string, bool>>& entries)
{
    const int copy = ::dup(folder);
    DIR* dir = copy >= 0 ? ::fdopendir(copy) : nullptr;
    if (!dir) {
        if (copy >= 0)
            ::close(copy);
        return false;
    }
    ::rewinddir(dir);
    while (const dirent* entry = ::readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        struct stat status
        { };
        const bool isFolder = ::fstatat(folder, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
        entries.emplace_back(entry->d_name, isFolder);
    }
    ::closedir(dir);
    return true;
}

// Removes every file and link in the folder but the lock file, never following links; false
// when the folder cannot be read.
bool removeFiles(int folder)
{
    std::vector<std::pair<std::string, bool>> entries;
    if (!listEntries(folder, entries))
        return false;
    for (const auto& [name, isFolder] : entries)
        if (!isFolder && name != TempFolder::LockFileName)
            ::unlinkat(folder, name.c_str(), 0);
    return true;
}

// An export never makes a folder inside its own; one that holds any is not ours.
bool holdsFolder(int folder)
{
    std::vector<std::pair<std::string, bool>> entries;
    if (!listEntries(folder, entries))
        return true;
    for (const auto& [name, isFolder] : entries)
        if (isFolder)
            return true;
    return false;
}

} // namespace

TempFolder::~TempFolder()
{
    remove();
}

TempFolder::Result TempFolder::acquire(const QString& path)
{
    remove();
    m_path = QFile::encodeName(path);
    while (m_path.size() > 1 && m_path.endsWith('/'))
        m_path.chop(1);
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        struct stat status
        { };
        Adoption outcome = Adoption::Unusable;
        if (::lstat(m_path.constData(), &status) == 0)
            outcome = adoptExisting();
        else if (errno == ENOENT)
            outcome = makeNew();
        switch (outcome) {
        case Adoption::Ready:
            sweepAbandonedSiblings();
            return Result::Ready;
        case Adoption::Busy:
            return Result::Busy;
        case Adoption::Unusable:
            return Result::Unusable;
        case Adoption::Retry:
            // Another export is just making or removing the folder.
            ::usleep(2000);
            break;
        }
    }
    return Result::Unusable;
}

// Makes the folder under a unique name, locks it, then gives it its name in one step, so no
// other export ever sees it half made.
TempFolder::Adoption TempFolder::makeNew()
{
    QByteArray staging = m_path + ".XXXXXX";
    if (!::mkdtemp(staging.data()))
        return Adoption::Unusable;
    Descriptor folder(openFolder(staging.constData()));
    Descriptor lock(folder.get() >= 0 ? ::openat(folder.get(), LockFileName,
                        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600)
                                      : -1);
    bool taken = false;
    if (lock.get() >= 0 && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) {
        if (::renameat2(AT_FDCWD, staging.constData(), AT_FDCWD, m_path.constData(), RENAME_NOREPLACE) == 0) {
            m_folder = folder.release();
            m_lock = lock.release();
            return Adoption::Ready;
        }
        taken = errno == EEXIST;
    }
    if (folder.get() >= 0)
        ::unlinkat(folder.get(), LockFileName, 0);
    ::rmdir(staging.constData());
    return taken ? Adoption::Retry : Adoption::Unusable;
}

// A folder of that name exists: ours to reuse only if it is a real folder of this user that
// holds our lock file and no living export holds the lock.
TempFolder::Adoption TempFolder::adoptExisting()
{
    Descriptor folder(openFolder(m_path.constData()));
    if (folder.get() < 0)
        return errno == ENOENT ? Adoption::Retry : Adoption::Unusable;
    struct stat folderStatus
    { };
    if (::fstat(folder.get(), &folderStatus) != 0 || folderStatus.st_uid != ::geteuid())
        return Adoption::Unusable;
    Descriptor lock(::openat(folder.get(), LockFileName, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (lock.get() < 0)
        // Missing: a finishing export may be between removing its lock file and its folder.
        return errno == ENOENT ? Adoption::Retry : Adoption::Unusable;
    struct stat lockStatus
    { };
    if (::fstat(lock.get(), &lockStatus) != 0 || !S_ISREG(lockStatus.st_mode))
        return Adoption::Unusable;
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? Adoption::Busy : Adoption::Unusable;

    // The lock was free: make sure the folder and its lock file were not removed meanwhile by
    // the export that held them.
    struct stat now
    { };
    if (::lstat(m_path.constData(), &now) != 0 || !sameFile(now, folderStatus)
        || ::fstatat(folder.get(), LockFileName, &now, AT_SYMLINK_NOFOLLOW) != 0 || !sameFile(now, lockStatus))
        return Adoption::Retry;
    if (holdsFolder(folder.get()) || !removeFiles(folder.get()))
        return Adoption::Unusable;
    m_folder = folder.release();
    m_lock = lock.release();
    return Adoption::Ready;
}

// Removes folders of this target's that a killed export made but never named: old enough,
// ours, holding nothing but an unlocked lock file.
void TempFolder::sweepAbandonedSiblings() const
{
    const qsizetype slash = m_path.lastIndexOf('/');
    const QByteArray parent = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/")
                                                                       : m_path.left(slash);
    const QByteArray prefix = m_path.mid(slash + 1) + '.';
    Descriptor parentFolder(openFolder(parent.constData()));
    std::vector<std::pair<std::string, bool>> entries;
    if (parentFolder.get() < 0 || !listEntries(parentFolder.get(), entries))
        return;
    const std::time_t now = std::time(nullptr);
    for (const auto& [name, isFolder] : entries) {
        if (!isFolder || name.size() != static_cast<std::size_t>(prefix.size()) + 6
            || name.compare(0, prefix.size(), prefix.constData()) != 0)
            continue;
        Descriptor folder(openFolder(name.c_str(), parentFolder.get()));
        struct stat status
        { };
        if (folder.get() < 0 || ::fstat(folder.get(), &status) != 0 || status.st_uid != ::geteuid()
            || now - status.st_mtime < AbandonedAfterSeconds)
            continue;
        Descriptor lock(::openat(folder.get(), LockFileName, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
        std::vector<std::pair<std::string, bool>> contents;
        if (lock.get() < 0 || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 || !listEntries(folder.get(), contents)
            || contents.size() != 1)
            continue;
        ::unlinkat(folder.get(), LockFileName, 0);
        ::unlinkat(parentFolder.get(), name.c_str(), AT_REMOVEDIR);
    }
}

void TempFolder::removeFile(const char* name) const
{
    if (m_folder >= 0)
        ::unlinkat(m_folder, name, 0);
}

void TempFolder::remove()
{
    if (m_folder < 0)
        return;
    removeFiles(m_folder);
    ::unlinkat(m_folder, LockFileName, 0);
    // Only the folder that was opened: rmdir itself refuses a link and a folder not empty.
    struct stat opened
    {
    }, named{};
    if (::fstat(m_folder, &opened) == 0 && ::lstat(m_path.constData(), &named) == 0 && sameFile(opened, named))
        ::rmdir(m_path.constData());
    close();
}

void TempFolder::close()
{
    // Closing the lock file's last descriptor drops the lock.
    ::close(m_lock);
    ::close(m_folder);
    m_lock = -1;
    m_folder = -1;
}
