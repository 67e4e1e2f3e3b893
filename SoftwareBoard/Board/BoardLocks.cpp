#include "BoardLocks.h"

#include <chrono>
#include <thread>

#include "BoardError.h"

namespace SoftwareBoard
{
namespace
{
using namespace std::chrono_literals;

// How long to wait for a lock. A process that was stopped while it holds the lock may never release it.
constexpr std::chrono::seconds      PATIENCE      = 5s;
constexpr std::chrono::milliseconds BETWEEN_TRIES = 1ms;

struct flock OneByte(off_t iByte, short sType)
{
    struct flock oLock = {};
    oLock.l_type       = sType;
    oLock.l_whence     = SEEK_SET;
    oLock.l_start      = iByte;
    oLock.l_len        = 1;
    return oLock;
}
}

bool TryLockByte(int iFd, off_t iByte, short sType)
{
    struct flock oLock = OneByte(iByte, sType);
    while (fcntl(iFd, F_OFD_SETLK, &oLock) != 0)
    {
        if (errno == EAGAIN || errno == EACCES)
            return false;
        if (errno != EINTR)  // a signal handler of the client may run here
            ThrowSystemError("a lock of the board", "fcntl(F_OFD_SETLK)");
    }
    return true;
}

bool IsByteLocked(int iFd, off_t iByte, short sType)
{
    struct flock oLock = OneByte(iByte, sType);
    if (fcntl(iFd, F_OFD_GETLK, &oLock) != 0)
        ThrowSystemError("a lock of the board", "fcntl(F_OFD_GETLK)");
    return oLock.l_type != F_UNLCK;
}

void UnlockByte(int iFd, off_t iByte) noexcept
{
    struct flock oLock = OneByte(iByte, F_UNLCK);
    while (fcntl(iFd, F_OFD_SETLK, &oLock) != 0 && errno == EINTR)
        ;
}

BoardLocks::BoardLocks(const FileDescriptor& roFile) : m_oFile(fcntl(roFile.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    if (!m_oFile)
        ThrowSystemError("the locks of the board", "fcntl(F_DUPFD_CLOEXEC)");
}

// After a wait timed out, each call tries only once, until one succeeds. So a run with many things to undo ends soon.
void BoardLocks::Wait(off_t iByte, short sType) const
{
    const auto oEnd = std::chrono::steady_clock::now() + (m_bGaveUp ? 0s : PATIENCE);
    while (!TryLockByte(m_oFile.Get(), iByte, sType))
    {
        m_bGaveUp = std::chrono::steady_clock::now() >= oEnd;
        if (m_bGaveUp)
            throw BoardError("a lock of the board: another process holds it for too long; is it stopped?");
        std::this_thread::sleep_for(BETWEEN_TRIES);
    }
    m_bGaveUp = false;
}

}
