// Runs the command of `record` and `replay` as a child process, and waits for it. Signals and the exit status pass through.
#ifndef CHILD_COMMAND_H
#define CHILD_COMMAND_H

#include "Program.h"
#include "RecordReader.h"

namespace SoftwareBoard::Panel
{
// How a command ended.
struct SEnd
{
    bool                           bSignal;
    int                            iValue;     // the signal or the exit status
    std::vector<Recorder::SSignal> aoSignals;  // that came before; times on the monotonic clock

    // Ends this process in the same way.
    [[noreturn]] void PassOn() const;
};

// Throws BoardError if the command cannot be executed. Meanwhile signals go to the command and do not end this process.
SEnd RunChild(const PassedOn& roCommand);
}

#endif
