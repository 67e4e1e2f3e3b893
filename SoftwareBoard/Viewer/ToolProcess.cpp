#include "ToolProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <fstream>

#include "BoardError.h"
#include "Printable.h"

namespace SoftwareBoard::Viewer
{
ToolProcess::ToolProcess(const std::string& strPath, const std::vector<char*>& roArguments, const Panel::Signals& roSignals)
{
    const pid_t iPanel = getpid();
    m_iPid             = fork();
    if (m_iPid < 0)
        ThrowSystemError(strPath, "fork");
    if (m_iPid > 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != iPanel)
        _exit(127);
    sigprocmask(SIG_SETMASK, &roSignals.GetMaskBefore(), nullptr);
    execvp(strPath.c_str(), roArguments.data());
    dprintf(STDERR_FILENO, "tavrin-board: %s: exec: %s; is it installed?\n", MakePrintable(strPath).c_str(),
            std::generic_category().message(errno).c_str());
    _exit(1);
}

ToolProcess::~ToolProcess()
{
    if (HasEnded())
        return;
    kill(m_iPid, SIGKILL);
    waitpid(m_iPid, nullptr, 0);
}

bool ToolProcess::HasEnded()
{
    int iWait = 0;
    if (!m_oiWaitStatus && waitpid(m_iPid, &iWait, WNOHANG) == m_iPid)
        m_oiWaitStatus = iWait;
    return m_oiWaitStatus.has_value();
}

std::string ToolProcess::FindCall() const
{
    std::string strCall;
    std::getline(std::ifstream("/proc/" + std::to_string(m_iPid) + "/syscall"), strCall);
    return std::isdigit(static_cast<unsigned char>(strCall[0])) != 0 ? strCall : "";
}

bool ToolProcess::TryStop(const std::string& strCall)
{
    int iWait = 0;
    if (HasEnded() || strCall.empty() || kill(m_iPid, SIGSTOP) != 0)
        return false;
    if (waitpid(m_iPid, &iWait, WUNTRACED) == m_iPid && !WIFSTOPPED(iWait))
        m_oiWaitStatus = iWait;
    else if (FindCall() == strCall)
        return true;
    else
        GoOn();
    return false;
}
}
