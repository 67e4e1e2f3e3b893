#include "ToolProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "BoardError.h"

using namespace SoftwareBoard;

namespace Panel
{
ToolProcess::ToolProcess(const std::string& strPath, const std::vector<char*>& roArguments, const Signals& roSignals)
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
    // The panel ends it by SIGINT, which a shell lets background jobs ignore.
    signal(SIGINT, SIG_DFL);
    sigprocmask(SIG_SETMASK, &roSignals.GetMaskBefore(), nullptr);
    execvp(strPath.c_str(), roArguments.data());
    dprintf(STDERR_FILENO, "tavrin-board: %s: exec: %s; is it installed?\n", strPath.c_str(),
            std::generic_category().message(errno).c_str());
    _exit(1);
}

ToolProcess::~ToolProcess()
{
    if (m_oiStatus)
        return;
    kill(m_iPid, SIGKILL);
    waitpid(m_iPid, nullptr, 0);
}

void ToolProcess::TakeStatus(int iWait)
{
    if (WIFEXITED(iWait))
        m_oiStatus = WEXITSTATUS(iWait);
    else if (WIFSIGNALED(iWait))
        m_oiStatus = 128 + WTERMSIG(iWait);
}

bool ToolProcess::HasEnded()
{
    int iWait = 0;
    if (!m_oiStatus && waitpid(m_iPid, &iWait, WNOHANG) == m_iPid)
        TakeStatus(iWait);
    return m_oiStatus.has_value();
}

bool ToolProcess::Stop()
{
    int iWait = 0;
    if (HasEnded())
        return false;
    kill(m_iPid, SIGSTOP);
    if (waitpid(m_iPid, &iWait, WUNTRACED) == m_iPid)
        TakeStatus(iWait);
    return !m_oiStatus.has_value();
}

void ToolProcess::GoOn() const
{
    if (!m_oiStatus)
        kill(m_iPid, SIGCONT);
}

bool ToolProcess::IsAsleep() const
{
    // The state follows the name, which may hold anything but ends with the last parenthesis.
    std::string strStat;
    std::getline(std::ifstream("/proc/" + std::to_string(m_iPid) + "/stat"), strStat, '\0');
    const size_t uiName = strStat.rfind(") ");
    return uiName != std::string::npos && strStat.compare(uiName, 3, ") S") == 0;
}

void ToolProcess::End()
{
    int iWait = 0;
    if (HasEnded())
        return;
    kill(m_iPid, SIGINT);
    GoOn();
    if (waitpid(m_iPid, &iWait, 0) == m_iPid)
        TakeStatus(iWait);
}
}
