// The tool as a child of the panel, on a board that nobody else uses. It goes with this object, and with the panel however
// that ends.
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
    // Runs it with these arguments, the first of which is its own name; null after the last.
    ToolProcess(const std::string& strPath, const std::vector<char*>& roArguments, const Panel::Signals& roSignals);
    ~ToolProcess();
    ToolProcess(const ToolProcess&)            = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    bool HasEnded();
    // How waitpid tells that it ended; nothing while it runs.
    std::optional<int> GetWaitStatus() const { return m_oiWaitStatus; }

private:
    pid_t              m_iPid = -1;
    std::optional<int> m_oiWaitStatus;
};
}

#endif
