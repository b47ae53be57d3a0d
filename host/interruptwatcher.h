#pragma once

// Ends the program cleanly on SIGINT, SIGTERM and SIGHUP, at any moment and however often
// they come. The signals are blocked in every thread and taken by one watcher thread with
// sigwait(), so no export code runs in a signal handler:
// - the first signal asks the exports to stop; each one calls finalize(true) between frames,
//   which removes its temporary folder, and the program ends with 128 + the signal;
// - a signal while an export is packaging (finalize cannot be stopped from outside), or a
//   second signal, ends the program at once: the watcher removes the temporary folders of
//   the exports that own one (only those whose initialize succeeded, so a folder held by
//   another export is never touched), says its last words (the report, if one is asked for)
//   and exits with 128 + the signal.
// The target is never written by the watcher: the plug-in replaces it whole by renaming the
// finished archive, so it is either untouched or complete.

#include <functional>
#include <vector>

struct ExportActivity;

// Blocks the three signals in the calling thread, so in every thread started after it, and
// ignores SIGXFSZ so that a file-size limit is an ordinary write failure. Call first in main.
void blockInterruptSignals();

namespace interrupts {

// Starts the watcher thread (once).
void startWatcher();

// The exports the watcher cleans up after; an empty list when none runs. The activities must
// stay alive until replaced.
void watch(std::vector<ExportActivity*> activities);

// While one lives, a signal that ends the program at once runs `lastWords(signal)` on the
// watcher thread, after the temporary folders are removed and before the interrupted message,
// while exports may still be running. The destructor waits for last words under way.
class LastWords
{
public:
    explicit LastWords(std::function<void(int signal)> lastWords);
    ~LastWords();
    LastWords(const LastWords&) = delete;
    LastWords& operator=(const LastWords&) = delete;
};

// The signal that asked the program to stop, or 0.
int stopSignal();

// The message and exit status for a run ended by `signal`.
const char* interruptedMessage();
int exitStatusFor(int signal);

} // namespace interrupts
