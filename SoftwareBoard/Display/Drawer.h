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

    // Since the last time that this was asked. TRUE once a second in any case, for writers that are nobody's guess.
    bool MayHaveDrawn(int iPixels);

private:
    std::optional<clockid_t> m_oClock;  // the processor time of the process
    timespec                 m_oRan     = {};
    timespec                 m_oWritten = {};
    timespec                 m_oLooked  = {};
    bool                     m_bGone    = false;
};
}

#endif
