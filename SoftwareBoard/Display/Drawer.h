// Whether a pixel file can have changed, at the price of a few system calls. Who draws does so through a mapping, which
// leaves no trace on the file; but a process that has not run since has not drawn, and one that is gone never will.
#ifndef DRAWER_H
#define DRAWER_H

#include <time.h>

#include <optional>

#include "FileDescriptor.h"
#include "QelTypes.h"

namespace Display
{
class Drawer
{
public:
    // iPid made the file, if it is still seen to have it open; otherwise anything is thought possible.
    Drawer(int iPixels, KINT32 iPid);

    // Since the last time that this was asked; TRUE at the first. While it lives, TRUE once a second in any case, for what
    // draws behind its back.
    bool MayHaveDrawn(int iPixels);

    // Nobody draws any more.
    bool IsGone() const { return m_bGone; }

private:
    std::optional<clockid_t> m_oClock;  // the processor time of the process
    timespec                 m_oRan     = {};
    timespec                 m_oWritten = {};
    time_t                   m_iLooked  = 0;
    bool                     m_bGone    = false;
};
}

#endif
