// Locks an open file while it exists, against every other opening of that file.
#ifndef FILE_LOCK_H
#define FILE_LOCK_H

#include <sys/file.h>

#include <cerrno>
#include <string>

#include "BoardError.h"

namespace SoftwareBoard::Recorder
{
class FileLock
{
public:
    // Throws BoardError, which names the file.
    FileLock(int iFd, const std::string& strFile) : m_iFd(iFd)
    {
        while (flock(m_iFd, LOCK_EX) != 0)
        {
            if (errno != EINTR)
                ThrowSystemError(strFile, "flock");
        }
    }
    ~FileLock() { flock(m_iFd, LOCK_UN); }
    FileLock(const FileLock&)            = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int m_iFd;
};
}

#endif
