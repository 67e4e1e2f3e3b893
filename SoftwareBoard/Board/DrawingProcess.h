// The process that draws into a pixel file. It draws through a mapping, which leaves no trace on the file. But a process
// that has not run has not drawn, and one that has ended never draws again. Each call costs a few system calls.
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
    // iPid is the process that made the file. It is used only if that process has the file open: in a container, for
    // example, the number may belong to another process. iPixels must stay open as long as this object is used.
    DrawingProcess(int iPixels, KINT32 iPid);

    // Whether the picture may have changed since the last call; true the first time. While somebody can draw, true once a
    // second in any case, because another process may draw too.
    bool MayHaveDrawn();

    // Whether the maker of the buffer still has it open. The maker may be another process than iPid.
    bool CanDraw() const { return HasMaker(m_iPixels); }

    // True once MayHaveDrawn has found that nobody can draw any more.
    bool IsGone() const { return m_bGone; }

    // Calls fLook. Returns true if nothing was drawn meanwhile: the process slept the whole time, or nobody can draw any
    // more. Returns false if the process is not known but somebody can draw.
    template <class TLook> bool SleptWhile(TLook fLook) const
    {
        const std::optional<KINT64> oiBefore = FindTimeAsleep();
        fLook();
        return oiBefore && oiBefore == FindTimeAsleep();
    }

private:
    // The processor time that the process has used, in nanoseconds, if its first thread sleeps. Nothing if that thread runs,
    // waits for a processor or was stopped: it may be in the middle of a picture. 0 if nobody can draw any more.
    std::optional<KINT64> FindTimeAsleep() const;

    int                      m_iPixels;
    pid_t                    m_iPid = 0;  // 0: not known
    std::optional<clockid_t> m_oiClock;   // the processor time of the process
    timespec                 m_oRan     = {};
    timespec                 m_oWritten = {};
    time_t                   m_iLooked  = 0;
    bool                     m_bGone    = false;
};
}

#endif
