// Turns signals into events that a loop waits for. They are blocked while this object exists, and are read one by one. They
// interrupt nothing, so destructors undo what a command did, on every path.
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
    // Takes the signals that end a process, except those that report a fault of its own, and those in aiOthers. A signal
    // that is ignored stays ignored, such as SIGHUP under nohup; SIGINT, SIGTERM and SIGQUIT are always taken. SIGPIPE does
    // nothing while this object exists: a write to a closed pipe just fails.
    explicit Signals(std::initializer_list<int> aiOthers = {});
    ~Signals();
    Signals(const Signals&)            = delete;
    Signals& operator=(const Signals&) = delete;

    // Returns the next signal, or 0 after the time or if one of the other descriptors has an event.
    int Wait(std::chrono::milliseconds oTimeout, std::span<pollfd> aoOthers = {}) const;

    // Readable when a signal is pending.
    int GetDescriptor() const { return m_oFile.Get(); }

    const sigset_t& GetMaskBefore() const { return m_oBefore; }

private:
    sigset_t         m_oBefore     = {};
    struct sigaction m_oPipeBefore = {};
    FileDescriptor   m_oFile;
};

// From here on the signal does nothing to this process, unless it has a handler. Programs that this process executes get the
// default action again, or still ignore the signal if this process did. Returns the action before.
struct sigaction Defuse(int iSignal);

// Thrown when a signal ends a command. After the destructors have run, RunProgram ends the process by that signal, as the
// caller of the process expects.
struct EndedBySignal
{
    int iSignal;
};

[[noreturn]] void EndProcessBy(int iSignal);
}

#endif
