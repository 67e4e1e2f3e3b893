// The process that draws into a pixel file. It draws through a mapping, which leaves no trace on the file; but a process
// that has not run since has not drawn, and one that is gone never will. Every question costs a few system calls.
#ifndef DRAWING_PROCESS_H
#define DRAWING_PROCESS_H

#include <time.h>

#include <optional>

#include "PixelFiles.h"
#include "QelTypes.h"

namespace SoftwareBoard
{
class DrawingProcess
{
public:
    // iPid is taken for the process that made the file only if it is seen to have it open; in a container, for example, the
    // number may mean another one. iPixels must stay open as long as this is used.
    DrawingProcess(int iPixels, KINT32 iPid);

    // Whether the picture may have changed since this was asked last; TRUE at the first time. While the process lives, TRUE
    // once a second in any case, for what draws behind its back.
    bool MayHaveDrawn();

    // Whether somebody still has the buffer, which may be another process than the one that is known.
    bool CanDraw() const { return HasMaker(m_iPixels); }

    // Nobody can draw any more, as MayHaveDrawn found.
    bool IsGone() const { return m_bGone; }

    // Calls fLook, and returns whether nothing was drawn meanwhile: the process slept from before it until after it, or was
    // gone. FALSE when the process is not known.
    template <class TLook> bool SleptWhile(TLook fLook) const
    {
        const std::optional<KINT64> oiBefore = FindTimeAsleep();
        fLook();
        return oiBefore && oiBefore == FindTimeAsleep();
    }

private:
    // The processor time that the process has used, in nanoseconds, while its first thread sleeps. Nothing while that runs,
    // waits for a processor or was stopped, which may be in the middle of a picture. A constant once it is gone.
    std::optional<KINT64> FindTimeAsleep() const;

    int                      m_iPixels;
    pid_t                    m_iPid = 0;  // 0: not known
    std::optional<clockid_t> m_ooClock;   // the processor time of the process
    timespec                 m_oRan     = {};
    timespec                 m_oWritten = {};
    time_t                   m_iLooked  = 0;
    bool                     m_bGone    = false;
};
}

#endif
