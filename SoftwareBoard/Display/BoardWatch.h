// Tells that something was written to a board's files or done to its folder, so that nobody has to look again and again.
// Pixels that are drawn through a mapping are not told of, and neither is anything on file systems of other machines.
#ifndef BOARD_WATCH_H
#define BOARD_WATCH_H

#include <sys/inotify.h>

#include <string>

#include "FileDescriptor.h"

namespace SoftwareBoard::Display
{
class BoardWatch
{
public:
    explicit BoardWatch(const std::string& strFolder) : m_oFd(inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    {
        inotify_add_watch(m_oFd.Get(), strFolder.c_str(),
                          IN_MODIFY | IN_MOVED_TO | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF);
    }

    // Readable when there is something to take; -1 where the system tells nothing.
    int GetFd() const { return m_oFd.Get(); }
    // Takes what has come; TRUE when anything has.
    bool Take() const
    {
        char acEvents[4096];
        bool bAny = false;
        while (read(m_oFd.Get(), acEvents, sizeof(acEvents)) > 0)
            bAny = true;
        return bAny;
    }

private:
    FileDescriptor m_oFd;
};
}

#endif
