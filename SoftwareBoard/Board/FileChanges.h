// Reports changes to a file or to the files of a folder, so that the caller need not poll. It does not report pixels that
// are drawn through a mapping, or changes that another machine makes.
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
    // uiEvents are the inotify events to report.
    FileChanges(const std::string& strPath, uint32_t uiEvents)
        : m_oFile(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
          m_bWatching(m_oFile && inotify_add_watch(m_oFile.Get(), strPath.c_str(), uiEvents) >= 0)
    {}

    // False if the system refused to watch the path; errno then says why, until the next call.
    bool IsWatching() const { return m_bWatching; }

    // Readable when there is a change to take; -1 if the system has no inotify instance left.
    int GetDescriptor() const { return m_oFile.Get(); }

    // Takes all reported changes. Returns whether there was one.
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
    bool           m_bWatching;
};
}

#endif
