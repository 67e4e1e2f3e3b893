// Owns one open file descriptor, or none. Closing it releases the locks of the open file, unless a duplicate is still open.
#ifndef FILE_DESCRIPTOR_H
#define FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace SoftwareBoard
{
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int iFd) : m_iFd(iFd) {}
    FileDescriptor(FileDescriptor&& roOther) noexcept : m_iFd(std::exchange(roOther.m_iFd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& roOther) noexcept
    {
        std::swap(m_iFd, roOther.m_iFd);
        return *this;
    }
    ~FileDescriptor()
    {
        if (m_iFd >= 0)
            close(m_iFd);
    }

    // Takes iFd and moves it to a number above the standard streams. A process that was started without these streams would
    // otherwise print into the file.
    static FileDescriptor AboveStandardStreams(int iFd)
    {
        FileDescriptor oFile(iFd);
        return iFd < 0 || iFd > STDERR_FILENO ? std::move(oFile)
                                              : FileDescriptor(fcntl(iFd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }

    explicit operator bool() const { return m_iFd >= 0; }
    int      Get() const { return m_iFd; }
    int      Release() { return std::exchange(m_iFd, -1); }  // the caller closes it

    // Whether the last name of the file was removed.
    bool IsRemoved() const
    {
        struct stat oStat = {};
        return fstat(m_iFd, &oStat) == 0 && oStat.st_nlink == 0;
    }
    ino_t GetInode() const
    {
        struct stat oStat = {};
        return fstat(m_iFd, &oStat) == 0 ? oStat.st_ino : 0;
    }

private:
    int m_iFd = -1;
};
}

#endif
