#include "Terminal.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "BoardError.h"

namespace Panel
{
namespace
{
constexpr char pszEnter[] = "\x1b[?1049h\x1b[?25l\x1b[?7l";  // other screen, no cursor, no line wrap
constexpr char pszLeave[] = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr char pszClear[] = "\x1b[0m\x1b[2J";

// Settings of the terminal, also from the background, where the system would stop the process that changes them.
void SetMode(const termios& roMode)
{
    sigset_t oSet = {}, oBefore = {};
    sigemptyset(&oSet);
    sigaddset(&oSet, SIGTTOU);
    sigprocmask(SIG_BLOCK, &oSet, &oBefore);
    tcsetattr(STDIN_FILENO, TCSADRAIN, &roMode);
    sigprocmask(SIG_SETMASK, &oBefore, nullptr);
}
}

void Terminal::AwaitForeground()
{
    tcdrain(STDOUT_FILENO);
}

void Terminal::Enter()
{
    AwaitForeground();
    m_bKeys = tcgetattr(STDIN_FILENO, &m_oBefore) == 0;
    if (m_bKeys)
    {
        termios oMode = m_oBefore;
        oMode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        oMode.c_cc[VMIN]  = 0;  // a read that finds no key returns
        oMode.c_cc[VTIME] = 0;
        SetMode(oMode);
    }
    Write(pszEnter);
    Forget();
}

void Terminal::Leave()
{
    try
    {
        Write(m_strImageEraser + pszLeave);
    }
    catch (const SoftwareBoard::BoardError&)
    {
        // A terminal that is gone needs nothing.
    }
    if (m_bKeys)
        SetMode(m_oBefore);
}

STerminalSize Terminal::GetSize()
{
    winsize       oSize = {};
    STerminalSize oTerminal;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &oSize) != 0 || oSize.ws_col == 0 || oSize.ws_row == 0)
        return oTerminal;
    oTerminal.iColumns      = oSize.ws_col;
    oTerminal.iRows         = oSize.ws_row;
    oTerminal.iCellWidthPx  = oSize.ws_xpixel / oSize.ws_col;
    oTerminal.iCellHeightPx = oSize.ws_ypixel / oSize.ws_row;
    return oTerminal;
}

void Terminal::Present()
{
    bool bSameplaces = m_oShown.size() == m_oNext.size();
    for (const auto& [roPlace, roText] : m_oNext)
        bSameplaces = bSameplaces && m_oShown.contains(roPlace);

    std::string strOut;
    if (!bSameplaces || m_bForgotten)
    {
        strOut = m_strImageEraser + pszClear;
        m_oShown.clear();
    }
    for (const auto& [roPlace, roText] : m_oNext)
    {
        if (const auto i = m_oShown.find(roPlace); i != m_oShown.end() && i->second == roText)
            continue;
        strOut +=
            "\x1b[" + std::to_string(roPlace.first + 1) + ";" + std::to_string(roPlace.second + 1) + "H\x1b[0m" + roText;
    }
    Write(strOut);
    m_oShown     = std::exchange(m_oNext, {});
    m_bForgotten = false;
}

void Terminal::Write(const std::string& strText)
{
    for (size_t uiDone = 0; uiDone < strText.size();)
    {
        const ssize_t iWritten = write(STDOUT_FILENO, strText.data() + uiDone, strText.size() - uiDone);
        if (iWritten < 0 && errno != EINTR)
            SoftwareBoard::ThrowSystemError("the terminal", "write");
        uiDone += iWritten > 0 ? static_cast<size_t>(iWritten) : 0;
    }
}
}
