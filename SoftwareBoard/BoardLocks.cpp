#include "BoardLocks.h"

#include "BoardError.h"

namespace SoftwareBoard
{
namespace
{
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

bool LockByte(int iFd, off_t iByte, short sType, bool bWait)
{
    struct flock oLock = OneByte(iByte, sType);
    while (fcntl(iFd, bWait ? F_OFD_SETLKW : F_OFD_SETLK, &oLock) != 0)
    {
        if (!bWait && (errno == EAGAIN || errno == EACCES))
            return false;
        if (errno != EINTR)  // a client's signal handler may well run here
            ThrowSystemError("a lock of the board", "fcntl(F_OFD_SETLK)");
    }
    return true;
}

void UnlockByte(int iFd, off_t iByte) noexcept
{
    struct flock oLock = OneByte(iByte, F_UNLCK);
    fcntl(iFd, F_OFD_SETLK, &oLock);
}

BoardLocks::BoardLocks(const BoardFolder& roFolder) : m_oFile(roFolder.OpenFile("board.lock", O_RDWR | O_CREAT)) {}

bool BoardLocks::IsOutputHeldByAnother(KUINT32 uiDevice, KUINT32 uiOutput) const
{
    struct flock oLock = OneByte(OutputByte(uiDevice, uiOutput), F_WRLCK);
    if (fcntl(m_oFile.Get(), F_OFD_GETLK, &oLock) != 0)
        ThrowSystemError("a lock of the board", "fcntl(F_OFD_GETLK)");
    return oLock.l_type != F_UNLCK;
}
}
