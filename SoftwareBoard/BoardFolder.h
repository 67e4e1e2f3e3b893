// The folder in which a board lives, and the only way to its files. It opens what is the user's own and nothing else: no
// symbolic links, no files of others, nothing that is not a plain file.
#ifndef BOARD_FOLDER_H
#define BOARD_FOLDER_H

#include <sys/types.h>

#include <string>

#include "FileDescriptor.h"

namespace SoftwareBoard
{
class BoardFolder
{
public:
    // Makes the folder when there is none.
    explicit BoardFolder(std::string strPath);

    // $TAVRIN_BOARD, otherwise a folder in $XDG_RUNTIME_DIR, otherwise one of this user's in /tmp.
    static std::string DefaultPath();

    // Empty when there is no such file and none is to be made or, with O_EXCL, when there is one already.
    FileDescriptor OpenFile(const std::string& strName, int iFlags) const;

    // A file beyond the process's limit would be answered with a signal: ask before one is made that long.
    static bool IsFileSizeAllowed(off_t iSize);

    void Remove(const std::string& strName) const;
    void Rename(const std::string& strFrom, const std::string& strTo) const;

    std::string        PathOf(const std::string& strName) const { return m_strPath + "/" + strName; }
    const std::string& GetPath() const { return m_strPath; }
    int                GetDescriptor() const { return m_oFd.Get(); }

private:
    std::string    m_strPath;
    FileDescriptor m_oFd;
};
}

#endif
