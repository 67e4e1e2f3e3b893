#include <unistd.h>

#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"
#include "QelVxd.h"

KBOOL32 OsServices_WaitMicroSeconds(KUINT32 ui32MicroSeconds)
{
    if (ui32MicroSeconds != 0)
        tmDelay(ui32MicroSeconds);
    return TRUE;
}

KBOOL32 OsServices_SleepMilliSeconds(KUINT32 ui32MilliSeconds)
{
    return usleep(ui32MilliSeconds * 1000) == 0 ? TRUE : FALSE;
}

KUINT64 OsServices_GetRawTimeInNs(void)
{
    const timespec oNow = ReadRealTime();
    return static_cast<KUINT64>(oNow.tv_sec) * 1'000'000'000 + static_cast<KUINT64>(oNow.tv_nsec);
}
