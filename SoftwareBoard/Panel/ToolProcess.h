// The tool as a child of the panel, on a board that nobody else uses. It goes with this object, and with the panel however
// that ends.
#ifndef TOOL_PROCESS_H
#define TOOL_PROCESS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "Signals.h"

namespace Panel
{
class ToolProcess
{
public:
    // Runs it with these arguments, the first of which is its own name; null after the last.
    ToolProcess(const std::string& strPath, const std::vector<char*>& roArguments, const Signals& roSignals);
    ~ToolProcess();
    ToolProcess(const ToolProcess&)            = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    bool HasEnded();
    // As a shell counts it: 128 and more is a signal. Once it has ended.
    int GetStatus() const { return *m_oiStatus; }

    // Stops it where it stands, and lets it go on. FALSE when it has ended instead.
    bool Stop();
    void GoOn() const;

    // Whether it sleeps: its loop does nothing else between two steps.
    bool IsAsleep() const;

    // Asks it to end as a person would, and waits for that.
    void End();

private:
    void TakeStatus(int iWait);

    pid_t              m_iPid = -1;
    std::optional<int> m_oiStatus;
};
}

#endif
