// The folder of a board, and the only way to its files. It opens plain files of the user. It refuses symbolic links, files
// of other users and everything else. Functions throw BoardError on failure, unless they say otherwise.
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
    // Opens the folder at DefaultPath(); makes it if there is none.
    static BoardFolder OpenOrMake();
    // Opens the folder at DefaultPath(). Throws NoBoardError if there is none.
    static BoardFolder Open();

    // $TAVRIN_BOARD, otherwise for root /run/tavrin-board if it exists, otherwise $XDG_RUNTIME_DIR/tavrin-board, otherwise
    // /tmp/tavrin-board-UID. The services of the machine use /run/tavrin-board.
    static std::string DefaultPath();

    // Returns an empty descriptor if the file is missing (without O_CREAT) or if it exists (with O_EXCL).
    FileDescriptor OpenFile(const std::string& strName, int iFlags) const;

    // Makes the file at least iSize bytes long and allocates all its blocks, so that writing to it cannot fail later.
    // Returns 0 or an error number: EFBIG above the process's size limit, where the system itself would send a signal.
    static int Allocate(const FileDescriptor& roFile, off_t iSize);

    // Whether the file is empty or begins with zeros, like a file of the board that is still being made.
    static bool IsUnfinished(const FileDescriptor& roFile);

    // Whether the name still leads to the open file.
    bool IsNameOf(const std::string& strName, const FileDescriptor& roFile) const;
    bool Exists(const std::string& strName) const;

    void Remove(const std::string& strName) const;  // does nothing if it is gone already
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
