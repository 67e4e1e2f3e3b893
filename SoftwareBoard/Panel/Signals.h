// Signals as events that a loop waits for: blocked while this exists, and read one by one. Nothing is interrupted, so
// whatever a command made or changed is taken back by destructors on every way out.
#ifndef SIGNALS_H
#define SIGNALS_H

#include <poll.h>
#include <signal.h>

#include <chrono>
#include <initializer_list>
#include <span>

#include "FileDescriptor.h"

namespace SoftwareBoard::Panel
{
class Signals
{
public:
    // Those that end a process and are no fault of its own, and the others that are named. A signal that the caller had
    // ignored stays so, as a hang-up under nohup; SIGINT, SIGTERM and SIGQUIT always count. SIGPIPE does nothing meanwhile:
    // a write to what nobody reads any more fails.
    explicit Signals(std::initializer_list<int> aiOthers = {});
    ~Signals();
    Signals(const Signals&)            = delete;
    Signals& operator=(const Signals&) = delete;

    // The next signal, or 0 after the time or when one of the other descriptors has something to say.
    int Wait(std::chrono::milliseconds oTimeout, std::span<pollfd> aoOthers = {}) const;

    // Readable when a signal is there.
    int GetDescriptor() const { return m_oFile.Get(); }

    const sigset_t& GetMaskBefore() const { return m_oBefore; }

private:
    sigset_t         m_oBefore     = {};
    struct sigaction m_oPipeBefore = {};
    FileDescriptor   m_oFile;
};

// From here on the signal does nothing to this process. What it executes finds the default again, as this process found it;
// one that is ignored stays so. Returns what was there.
struct sigaction Defuse(int iSignal);

// A command that a signal ended. Thrown past the destructors; main then ends the process by that signal, as its caller
// expects.
struct EndedBySignal
{
    int iSignal;
};

[[noreturn]] void EndProcessBy(int iSignal);
}

#endif
