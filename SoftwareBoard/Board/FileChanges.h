// Tells that something happened to a file or to the files of a folder, so that nobody has to look again and again. It does
// not tell of pixels that are drawn through a mapping, nor of changes that another machine makes.
#ifndef FILE_CHANGES_H
#define FILE_CHANGES_H

#include <sys/inotify.h>

#include <string>

#include "FileDescriptor.h"

namespace SoftwareBoard
{
class FileChanges
{
public:
    // uiEvents are those of inotify that count.
    FileChanges(const std::string& strPath, uint32_t uiEvents) : m_oFile(inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    {
        m_bWatching = inotify_add_watch(m_oFile.Get(), strPath.c_str(), uiEvents) >= 0;
    }

    // FALSE where the system tells nothing.
    bool IsWatching() const { return m_bWatching; }

    // Readable when there is something to take; -1 where the system tells nothing.
    int GetDescriptor() const { return m_oFile.Get(); }

    // Takes what has come. Returns whether anything has.
    bool Take() const
    {
        alignas(inotify_event) char acEvents[4096];
        bool                        bAny = false;
        while (read(m_oFile.Get(), acEvents, sizeof(acEvents)) > 0)
            bAny = true;
        return bAny;
    }

private:
    FileDescriptor m_oFile;
    bool           m_bWatching = false;
};
}

#endif
