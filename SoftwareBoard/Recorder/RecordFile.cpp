#include "RecordFile.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <exception>

#include "FileLock.h"

namespace SoftwareBoard::Recorder
{
namespace
{
constexpr std::string_view CALL = "{\"call\":", THREAD = ",\"thread\":", END = "{\"end\":";

template <class T> T NumberAfter(std::string_view svLine, std::string_view svKey)
{
    T            tValue = 0;
    const size_t uiKey  = svLine.find(svKey);
    if (uiKey != std::string_view::npos)
        std::from_chars(svLine.data() + uiKey + svKey.size(), svLine.data() + svLine.size(), tValue);
    return tValue;
}

rlim_t FindSizeLimit()
{
    rlimit oLimit = {};
    return getrlimit(RLIMIT_FSIZE, &oLimit) == 0 ? oLimit.rlim_cur : RLIM_INFINITY;
}
}

KUINT64 NowNs()
{
    timespec oNow = {};
    clock_gettime(CLOCK_MONOTONIC, &oNow);
    return static_cast<KUINT64>(oNow.tv_sec) * 1'000'000'000 + static_cast<KUINT64>(oNow.tv_nsec);
}

RecordFile::RecordFile(std::string strPath) : m_strPath(std::move(strPath)), m_uiSizeLimit(FindSizeLimit()) {}

bool RecordFile::IsOpen() const
{
    struct stat oStat = {};
    return fstat(m_oFile.Get(), &oStat) == 0 && oStat.st_dev == m_uiDevice && oStat.st_ino == m_uiInode;
}

void RecordFile::Reopen()
{
    // Never closed: the number may be that of another file of the command by now.
    m_oFile.Release();
    m_oFile           = FileDescriptor::AboveStandardStreams(open(m_strPath.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
    struct stat oStat = {};
    if (fstat(m_oFile.Get(), &oStat) != 0)
        return;
    m_uiDevice = oStat.st_dev;
    m_uiInode  = oStat.st_ino;
}

void RecordFile::Count(std::string_view svLine)
{
    m_oRecorded.bEnded = m_oRecorded.bEnded || svLine.starts_with(END);
    if (!svLine.starts_with(CALL))
        return;
    m_oRecorded.uiCalls   = NumberAfter<KUINT64>(svLine, CALL);
    m_oRecorded.uiThreads = std::max(m_oRecorded.uiThreads, NumberAfter<KUINT32>(svLine, THREAD));
}

void RecordFile::TakeInOthers(off_t iSize)
{
    std::string   strNew(static_cast<size_t>(std::max<off_t>(iSize - m_iSize, 0)), '\0');
    const ssize_t iRead = pread(m_oFile.Get(), strNew.data(), strNew.size(), m_iSize);
    strNew.resize(static_cast<size_t>(std::max<ssize_t>(iRead, 0)));
    size_t uiBegin = 0;
    for (size_t uiEnd = 0; (uiEnd = strNew.find('\n', uiBegin)) != std::string::npos; uiBegin = uiEnd + 1)
        Count(std::string_view(strNew).substr(uiBegin, uiEnd - uiBegin));
    m_iSize += static_cast<off_t>(uiBegin);
    if (m_iSize != iSize)  // it does not end with a whole line, so an append has failed
        m_oRecorded.bEnded = true;
}

bool RecordFile::Append(const std::function<std::string(const SRecorded&)>& fLine)
{
    if (!IsOpen())
        Reopen();
    const FileLock oLock(m_oFile.Get(), m_strPath);
    struct stat    oStat    = {};
    const bool     bRegular = fstat(m_oFile.Get(), &oStat) == 0 && S_ISREG(oStat.st_mode);
    if (bRegular)
        TakeInOthers(oStat.st_size);
    if (m_oRecorded.bEnded)
        return false;

    try
    {
        const std::string strLine = fLine(m_oRecorded) + '\n';
        const auto        iSize   = static_cast<ssize_t>(strLine.size());
        errno                     = EFBIG;
        if (static_cast<KUINT64>(m_iSize) + strLine.size() <= m_uiSizeLimit &&
            write(m_oFile.Get(), strLine.data(), strLine.size()) == iSize)
        {
            Count(strLine);
            m_iSize += iSize;
            return true;
        }
    }
    catch (const std::exception&)
    {
        errno = ENOMEM;
    }
    // A record that lacks its last line end is cut, and no process appends to it any more.
    const int iError   = errno;
    m_oRecorded.bEnded = true;
    if (bRegular)
        (void)!ftruncate(m_oFile.Get(), std::max<off_t>(m_iSize - 1, 0));
    errno = iError;
    return false;
}
}
