#include "DrawingProcess.h"

#include <dirent.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <string>
#include <utility>

namespace SoftwareBoard
{
namespace
{
bool IsSame(const timespec& roLeft, const timespec& roRight)
{
    return roLeft.tv_sec == roRight.tv_sec && roLeft.tv_nsec == roRight.tv_nsec;
}

bool HasOpen(KINT32 iPid, const struct stat& roFile)
{
    const std::string                         strPath = "/proc/" + std::to_string(iPid) + "/fd";
    const std::unique_ptr<DIR, int (*)(DIR*)> poDir(opendir(strPath.c_str()), closedir);
    while (const dirent* const poEntry = poDir != nullptr ? readdir(poDir.get()) : nullptr)
    {
        struct stat oStat = {};
        if (fstatat(dirfd(poDir.get()), poEntry->d_name, &oStat, 0) == 0 && oStat.st_ino == roFile.st_ino &&
            oStat.st_dev == roFile.st_dev)
            return true;
    }
    return false;
}

// The letter of the process's state, such as 'S' for sleeping. It follows the name, which may hold any character and ends
// with the last parenthesis.
char StateOf(pid_t iPid)
{
    std::string strStat;
    std::getline(std::ifstream("/proc/" + std::to_string(iPid) + "/stat"), strStat, '\0');
    const size_t uiName = strStat.rfind(") ");
    return uiName != std::string::npos && uiName + 2 < strStat.size() ? strStat[uiName + 2] : '?';
}
}

DrawingProcess::DrawingProcess(int iPixels, KINT32 iPid) : m_iPixels(iPixels)
{
    struct stat oStat  = {};
    clockid_t   oClock = {};
    if (iPid <= 0 || fstat(iPixels, &oStat) != 0 || !HasOpen(iPid, oStat) || clock_getcpuclockid(iPid, &oClock) != 0)
        return;
    m_iPid    = iPid;
    m_oiClock = oClock;
}

bool DrawingProcess::MayHaveDrawn()
{
    timespec oNow = {};
    timespec oRan = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &oNow);
    struct stat oStat    = {};
    const bool  bWritten = fstat(m_iPixels, &oStat) != 0 || !IsSame(oStat.st_mtim, m_oWritten);
    m_oWritten           = oStat.st_mtim;
    if (m_bGone)
        return bWritten;
    m_bGone = !CanDraw();  // returns true once more, for what it drew before it ended
    // Read before the caller reads the picture, so that what is drawn meanwhile counts at the next call.
    const bool bRan = !m_oiClock || clock_gettime(*m_oiClock, &oRan) != 0 || !IsSame(oRan, m_oRan);
    m_oRan          = oRan;
    return std::exchange(m_iLooked, oNow.tv_sec) != oNow.tv_sec || bWritten || bRan || m_bGone;
}

std::optional<KINT64> DrawingProcess::FindTimeAsleep() const
{
    if (!CanDraw())
        return 0;
    timespec   oRan   = {};
    const char cState = m_oiClock ? StateOf(m_iPid) : '?';
    if (cState != 'S' || clock_gettime(*m_oiClock, &oRan) != 0)
        return std::nullopt;
    return KINT64{oRan.tv_sec} * 1'000'000'000 + oRan.tv_nsec;
}
}
