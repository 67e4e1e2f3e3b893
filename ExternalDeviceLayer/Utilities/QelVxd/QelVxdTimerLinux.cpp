#include <ctime>

#include "QelVxd.h"

namespace
{
constexpr KUINT32 MICROSECONDS_PER_SECOND     = 1'000'000;
constexpr long    NANOSECONDS_PER_SECOND      = 1'000'000'000;
constexpr long    NANOSECONDS_PER_MICROSECOND = 1'000;

bool ReadClock(timespec& roNow)
{
    return clock_gettime(CLOCK_MONOTONIC, &roNow) == 0;
}

bool IsBefore(const timespec& roA, const timespec& roB)
{
    return roA.tv_sec != roB.tv_sec ? roA.tv_sec < roB.tv_sec : roA.tv_nsec < roB.tv_nsec;
}
}

KUINT32 QelVxdPrivateLinuxTimer_Delay(KUINT32 dwDelay)
{
    timespec oNow;
    if (!ReadClock(oNow))
        return 1;

    timespec oEnd = oNow;
    oEnd.tv_sec += dwDelay / MICROSECONDS_PER_SECOND;
    oEnd.tv_nsec += dwDelay % MICROSECONDS_PER_SECOND * NANOSECONDS_PER_MICROSECOND;
    if (oEnd.tv_nsec >= NANOSECONDS_PER_SECOND)
    {
        oEnd.tv_nsec -= NANOSECONDS_PER_SECOND;
        ++oEnd.tv_sec;
    }

    while (ReadClock(oNow) && IsBefore(oNow, oEnd))
    {
        // Sleeping or yielding would return too late for a delay of microseconds.
    }
    return 1;
}

KUINT32 QelVxdPrivateLinuxTimer_Counter(void* pvCounter64)
{
    timespec oNow;
    if (!ReadClock(oNow))
        return 0;

    *static_cast<KUINT64*>(pvCounter64) = static_cast<KUINT64>(oNow.tv_sec) * MICROSECONDS_PER_SECOND +
                                          static_cast<KUINT64>(oNow.tv_nsec / NANOSECONDS_PER_MICROSECOND);
    return 1;
}

KUINT32 QelVxdPrivateLinuxTimer_Frequency(void* pvFrequency64)
{
    *static_cast<KUINT64*>(pvFrequency64) = MICROSECONDS_PER_SECOND;
    return 1;
}
