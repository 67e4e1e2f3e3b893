#include "BoardFolder.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

#include "BoardError.h"

namespace SoftwareBoard
{
namespace
{
constexpr char SERVICE_FOLDER[] = "/run/tavrin-board";

// Removes "/" and "/." from the end. With them, opening the path would follow a symbolic link in spite of O_NOFOLLOW.
std::string WithoutSlash(std::string strPath)
{
    while (strPath.size() > 1 && (strPath.back() == '/' || strPath.ends_with("/.")))
        strPath.pop_back();
    return strPath;
}
}

BoardFolder BoardFolder::OpenOrMake()
{
    std::string strPath = WithoutSlash(DefaultPath());
    if (mkdir(strPath.c_str(), 0700) != 0 && errno != EEXIST)
        ThrowSystemError(strPath, "mkdir");
    return BoardFolder(std::move(strPath));
}

BoardFolder BoardFolder::Open()
{
    return BoardFolder(WithoutSlash(DefaultPath()));
}

BoardFolder::BoardFolder(std::string strPath) : m_strPath(std::move(strPath))
{
    m_oFd = FileDescriptor::AboveStandardStreams(open(m_strPath.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!m_oFd && errno == ENOENT)
        throw NoBoardError(m_strPath);
    if (!m_oFd)
        ThrowSystemError(m_strPath, "open as a folder that is no symbolic link");

    struct stat oStat = {};
    if (fstat(m_oFd.Get(), &oStat) != 0)
        ThrowSystemError(m_strPath, "fstat");
    if (oStat.st_uid != geteuid())
        throw BoardError(m_strPath + ": belongs to another user; set TAVRIN_BOARD to a folder of your own");
    if ((oStat.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw BoardError(m_strPath + ": others may write to it; make it yours alone with chmod 700");
}

std::string BoardFolder::DefaultPath()
{
    if (const char* pszBoard = std::getenv("TAVRIN_BOARD"); pszBoard != nullptr && *pszBoard != '\0')
        return pszBoard;
    if (struct stat oStat = {}; geteuid() == 0 && lstat(SERVICE_FOLDER, &oStat) == 0)
        return SERVICE_FOLDER;
    if (const char* pszRuntime = std::getenv("XDG_RUNTIME_DIR"); pszRuntime != nullptr && *pszRuntime != '\0')
        return std::string(pszRuntime) + "/tavrin-board";
    return "/tmp/tavrin-board-" + std::to_string(geteuid());
}

FileDescriptor BoardFolder::OpenFile(const std::string& strName, int iFlags) const
{
    // O_NONBLOCK makes no difference to a plain file. Without it, opening a pipe of that name would block.
    const int      iAlways = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    FileDescriptor oFile =
        FileDescriptor::AboveStandardStreams(openat(m_oFd.Get(), strName.c_str(), iFlags | iAlways, 0600));
    if (!oFile)
    {
        // ENOENT with O_CREAT is a failure: the folder itself is gone.
        if ((errno == ENOENT && (iFlags & O_CREAT) == 0) || errno == EEXIST)
            return {};
        ThrowSystemError(PathOf(strName), errno == ELOOP ? "open (a symbolic link is refused)" : "open");
    }
    struct stat oStat = {};
    if (fstat(oFile.Get(), &oStat) != 0 || !S_ISREG(oStat.st_mode) || oStat.st_uid != geteuid())
        throw BoardError(PathOf(strName) + ": not a plain file of this user; it is left alone");
    return oFile;
}

int BoardFolder::Allocate(const FileDescriptor& roFile, off_t iSize)
{
    rlimit oLimit = {};
    if (getrlimit(RLIMIT_FSIZE, &oLimit) == 0 && static_cast<rlim_t>(iSize) > oLimit.rlim_cur)
        return EFBIG;
    int iError = EINTR;
    while (iError == EINTR)
        iError = posix_fallocate(roFile.Get(), 0, iSize);
    return iError;
}

bool BoardFolder::IsUnfinished(const FileDescriptor& roFile)
{
    KUINT64 uiBegin = 0;
    return pread(roFile.Get(), &uiBegin, sizeof(uiBegin), 0) >= 0 && uiBegin == 0;
}

bool BoardFolder::IsNameOf(const std::string& strName, const FileDescriptor& roFile) const
{
    struct stat oNamed = {};
    struct stat oOpen  = {};
    return fstatat(m_oFd.Get(), strName.c_str(), &oNamed, AT_SYMLINK_NOFOLLOW) == 0 && fstat(roFile.Get(), &oOpen) == 0 &&
           oNamed.st_ino == oOpen.st_ino && oNamed.st_dev == oOpen.st_dev;
}

bool BoardFolder::Exists(const std::string& strName) const
{
    struct stat oStat = {};
    if (fstatat(m_oFd.Get(), strName.c_str(), &oStat, AT_SYMLINK_NOFOLLOW) == 0)
        return true;
    if (errno != ENOENT)
        ThrowSystemError(PathOf(strName), "fstatat");
    return false;
}

void BoardFolder::Remove(const std::string& strName) const
{
    if (unlinkat(m_oFd.Get(), strName.c_str(), 0) != 0 && errno != ENOENT)
        ThrowSystemError(PathOf(strName), "unlink");
}

void BoardFolder::Rename(const std::string& strFrom, const std::string& strTo) const
{
    if (renameat(m_oFd.Get(), strFrom.c_str(), m_oFd.Get(), strTo.c_str()) != 0)
        ThrowSystemError(PathOf(strFrom), "rename");
}
}
