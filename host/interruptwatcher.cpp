#include "interruptwatcher.h"

#include "exportrun.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

#include <pthread.h>
#include <unistd.h>

namespace {

std::atomic<int> requestedStop{0};
std::mutex watchedMutex;
std::vector<ExportActivity*> watched;
std::function<void(int)> lastWords;

sigset_t interruptSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    return set;
}

void writeError(const char* text)
{
    // The progress line, if any, is cleared first so that the message starts a line.
    if (::isatty(STDERR_FILENO) == 1)
        (void)!::write(STDERR_FILENO, "\r\033[K", 4);
    (void)!::write(STDERR_FILENO, text, std::strlen(text));
}

// Removes a folder and what it holds without following links. The export's own thread may be
// removing the same files at this moment, so a file already gone is no failure, and the
// folder is tried again while something new appeared in it.
void removeFolder(const QString& path)
{
    for (int attempt = 0; attempt < 5; ++attempt) {
        QDirIterator entries(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        while (entries.hasNext()) {
            const QFileInfo entry = entries.nextFileInfo();
            if (entry.isDir() && !entry.isSymLink())
                removeFolder(entry.filePath());
            else
                QFile::remove(entry.filePath());
        }
        if (QDir().rmdir(path) || !QFileInfo::exists(path))
            return;
    }
}

[[noreturn]] void endNow(int signal)
{
    // Never released: no export may start initializing once the folders are being removed.
    for (ExportActivity* activity : watched)
        activity->initializing.lock();
    // Held until the process ends (taken after the exports' own locks, which a thread may
    // hold while it writes): an export that fails because its folder goes away now waits to
    // report that, so the last line on the terminal says why the run ended.
    ::flockfile(stderr);
    for (ExportActivity* activity : watched) {
        if (activity->ownsTemporaryFolder && activity->phase != ExportActivity::Phase::Done)
            removeFolder(activity->temporaryFolder);
    }
    if (lastWords)
        lastWords(signal);
    writeError("tavi-export: ");
    writeError(interrupts::interruptedMessage());
    writeError("\n");
    ::_exit(interrupts::exitStatusFor(signal));
}

void watchSignals()
{
    const sigset_t set = interruptSignals();
    for (;;) {
        int signal = 0;
        if (sigwait(&set, &signal) != 0)
            continue;
        const bool repeated = requestedStop.exchange(signal) != 0;
        const std::lock_guard lock(watchedMutex);
        bool packaging = false;
        for (const ExportActivity* activity : watched)
            packaging = packaging || activity->phase == ExportActivity::Phase::Packaging;
        // With no export running there is nothing to wait for.
        if (repeated || packaging || watched.empty())
            endNow(signal);
    }
}

} // namespace

void blockInterruptSignals()
{
    const sigset_t set = interruptSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGXFSZ, SIG_IGN);
}

namespace interrupts {

void startWatcher()
{
    static std::once_flag started;
    std::call_once(started, [] { std::thread(watchSignals).detach(); });
}

void watch(std::vector<ExportActivity*> activities)
{
    const std::lock_guard lock(watchedMutex);
    watched = std::move(activities);
}

LastWords::LastWords(std::function<void(int)> words)
{
    const std::lock_guard lock(watchedMutex);
    lastWords = std::move(words);
}

LastWords::~LastWords()
{
    const std::lock_guard lock(watchedMutex);
    lastWords = nullptr;
}

int stopSignal()
{
    return requestedStop.load();
}

const char* interruptedMessage()
{
    return "interrupted; unfinished exports were abandoned and their temporary files removed";
}

int exitStatusFor(int signal)
{
    return 128 + signal;
}

} // namespace interrupts
