// The tool as a child process. The destructor kills it. If this process ends in another way, the kernel kills it.
#ifndef TOOL_PROCESS_H
#define TOOL_PROCESS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "Signals.h"

namespace SoftwareBoard::Viewer
{
class ToolProcess
{
public:
    // Starts the tool. The first argument is its name, the last is null. It gets the signal mask from before roSignals.
    ToolProcess(const std::string& strPath, const std::vector<char*>& roArguments, const Panel::Signals& roSignals);
    ~ToolProcess();
    ToolProcess(const ToolProcess&)            = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    bool HasEnded();
    // The status from waitpid; nothing until HasEnded has returned true.
    std::optional<int> GetWaitStatus() const { return m_oiWaitStatus; }

    // The call of the system that the tool is in, with its arguments; empty if it is in none or the system does not tell.
    std::string FindCall() const;
    // Stops the tool if it is still in that call, or in the same one again. A tool that was stopped there draws nothing
    // until GoOn.
    bool TryStop(const std::string& strCall);
    void GoOn() { kill(m_iPid, SIGCONT); }

private:
    pid_t              m_iPid = {};
    std::optional<int> m_oiWaitStatus;
};
}

#endif
