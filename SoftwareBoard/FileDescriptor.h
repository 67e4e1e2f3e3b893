// Owns one open file descriptor, or none. Closing it gives up the locks taken through it, unless a forked child has it too.
#ifndef FILE_DESCRIPTOR_H
#define FILE_DESCRIPTOR_H

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

    explicit operator bool() const { return m_iFd >= 0; }
    int      Get() const { return m_iFd; }

    // No name leads to the file any more.
    bool IsRemoved() const
    {
        struct stat oStat = {};
        return fstat(m_iFd, &oStat) == 0 && oStat.st_nlink == 0;
    }

private:
    int m_iFd = -1;
};
}

#endif
