// The folder in which a board lives, and the only way to its files. It opens what is the user's own and nothing else: no
// symbolic links, no files of others, nothing that is not a plain file.
#ifndef BOARD_FOLDER_H
#define BOARD_FOLDER_H

#include <sys/types.h>

#include <string>

#include "FileDescriptor.h"
#include "QelTypes.h"

namespace SoftwareBoard
{
class BoardFolder
{
public:
    // The folder at DefaultPath; makes it when there is none.
    static BoardFolder OpenOrMake();
    // Throws NoBoardError when there is none.
    static BoardFolder Open();

    // $TAVRIN_BOARD, otherwise a folder in $XDG_RUNTIME_DIR, otherwise one of this user's in /tmp.
    static std::string DefaultPath();

    // Empty when there is no such file and none is to be made or, with O_EXCL, when there is one already.
    FileDescriptor OpenFile(const std::string& strName, int iFlags) const;

    // Makes the file at least that long, with all its blocks there, so that writing into it cannot fail later. Returns 0 or
    // an error number. A file beyond the process's size limit is an error: the system would answer it with a signal.
    static int Allocate(const FileDescriptor& roFile, off_t iSize);

    // Whether the file is empty or begins with zeros, as one does while a board is making it.
    static bool IsUnfinished(const FileDescriptor& roFile);

    // Whether the name still leads to this open file.
    bool IsNameOf(const std::string& strName, const FileDescriptor& roFile) const;
    bool Exists(const std::string& strName) const;

    void Remove(const std::string& strName) const;  // no failure when it is gone already
    void Rename(const std::string& strFrom, const std::string& strTo) const;

    std::string        PathOf(const std::string& strName) const { return m_strPath + "/" + strName; }
    const std::string& GetPath() const { return m_strPath; }
    int                GetDescriptor() const { return m_oFd.Get(); }

private:
    explicit BoardFolder(std::string strPath);

    std::string    m_strPath;
    FileDescriptor m_oFd;
};
}

#endif
