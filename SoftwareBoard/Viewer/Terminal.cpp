#include "Terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "BoardError.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr char ENTER[]      = "\x1b[?1049h\x1b[?25l\x1b[?7l";  // alternate screen, no cursor, no line wrap
constexpr char LEAVE[]      = "\x1b[0m\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr char END_OF_CUT[] = "\x1b\\";  // ends a sequence or an image that was cut off
constexpr char CLEAR[]      = "\x1b[0m\x1b[2J";

constexpr std::chrono::milliseconds PATIENCE(200);  // with a terminal that takes nothing, in Leave

// While it exists, the process may change the terminal from the background. Otherwise the system would stop the process.
class Unstopped
{
public:
    Unstopped()
    {
        sigset_t oSet = {};
        sigemptyset(&oSet);
        sigaddset(&oSet, SIGTTOU);
        sigprocmask(SIG_BLOCK, &oSet, &m_oBefore);
    }
    ~Unstopped() { sigprocmask(SIG_SETMASK, &m_oBefore, nullptr); }
    Unstopped(const Unstopped&)            = delete;
    Unstopped& operator=(const Unstopped&) = delete;

private:
    sigset_t m_oBefore = {};
};

// Opens the terminal anew, because the shell and others share standard output and its flags. If that is not allowed, as
// after su, it uses standard output.
FileDescriptor OpenTerminal()
{
    const int iNew = open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    return FileDescriptor(iNew >= 0 ? iNew : fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
}
}

Terminal::Terminal() : m_oFile(OpenTerminal())
{
    Enter();
}

void Terminal::AwaitForeground()
{
    // Changes nothing, and does not wait for output. But the system stops a background process that calls it.
    constexpr int iNoAction = -1;
    tcflow(STDOUT_FILENO, iNoAction);
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
        const Unstopped oUnstopped;
        tcsetattr(STDIN_FILENO, TCSANOW, &oMode);
    }
    Write(ENTER);
    Forget();
}

void Terminal::Leave()
{
    const Unstopped   oUnstopped;
    const std::string strLeave = END_OF_CUT + m_strImageEraser + LEAVE;
    try
    {
        if (!WriteWithin(strLeave, PATIENCE))
        {
            tcflush(m_oFile.Get(), TCOFLUSH);
            tcflow(m_oFile.Get(), TCOON);
            WriteWithin(strLeave, PATIENCE);
        }
    }
    catch (const BoardError&)
    {
        // A terminal that is gone needs nothing.
    }
    if (m_bKeys)
        tcsetattr(STDIN_FILENO, TCSANOW, &m_oBefore);
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

std::string Terminal::At(std::pair<int, int> oPlace, const std::string& strText)
{
    return "\x1b[" + std::to_string(oPlace.first + 1) + ";" + std::to_string(oPlace.second + 1) + "H\x1b[0m" + strText;
}

void Terminal::PresentChanges()
{
    std::string strOut;
    for (auto& [roPlace, rstrText] : m_oNext)
    {
        strOut += At(roPlace, rstrText);
        m_oShown[roPlace] = std::move(rstrText);
    }
    m_oNext.clear();
    Write(strOut);
}

void Terminal::Present()
{
    bool bSamePlaces = m_oShown.size() == m_oNext.size();
    for (const auto& [roPlace, roText] : m_oNext)
        bSamePlaces = bSamePlaces && m_oShown.contains(roPlace);

    std::string strOut;
    if (!bSamePlaces || m_bForgotten)
    {
        strOut = m_strImageEraser + CLEAR;
        m_oShown.clear();
    }
    for (const auto& [roPlace, roText] : m_oNext)
    {
        if (const auto i = m_oShown.find(roPlace); i != m_oShown.end() && i->second == roText)
            continue;
        strOut += At(roPlace, roText);
    }
    Write(strOut);
    m_oShown     = std::exchange(m_oNext, {});
    m_bForgotten = false;
}

void Terminal::Write(std::string strText)
{
    m_strOut    = std::move(strText);
    m_uiWritten = 0;
    WriteOn();
}

void Terminal::WriteOn()
{
    while (IsBehind())
    {
        const ssize_t iWritten = write(m_oFile.Get(), m_strOut.data() + m_uiWritten, m_strOut.size() - m_uiWritten);
        if (iWritten < 0 && errno == EAGAIN)
            return;
        if (iWritten < 0 && errno != EINTR)
            ThrowSystemError("the terminal", "write");
        m_uiWritten += iWritten > 0 ? static_cast<size_t>(iWritten) : 0;
    }
}

bool Terminal::WriteWithin(std::string strText, std::chrono::milliseconds oTime)
{
    const auto oEnd = std::chrono::steady_clock::now() + oTime;
    for (Write(std::move(strText)); IsBehind(); WriteOn())
    {
        const auto oLeft  = std::chrono::ceil<std::chrono::milliseconds>(oEnd - std::chrono::steady_clock::now());
        pollfd     oReady = {.fd = m_oFile.Get(), .events = POLLOUT};
        if (oLeft.count() <= 0 || poll(&oReady, 1, static_cast<int>(oLeft.count())) == 0)
            break;
    }
    return !IsBehind();
}
}
