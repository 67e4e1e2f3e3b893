#include "OsServices.h"
#include "OsServicesClient_Linux.h"

KBOOL32 OsServices::WaitMicroSeconds(KUINT32 ui32MicroSeconds)
{
    constexpr KUINT32 uiMicroSecondsMax = 100'000;  // a longer busy wait would block a processor
    if (ui32MicroSeconds <= uiMicroSecondsMax)
        return OsServices_WaitMicroSeconds(ui32MicroSeconds);

    const KUINT32 uiMilliSeconds = ui32MicroSeconds / 1000;
    WriteMsg("OsServices::WaitMicroSeconds(%d) with delay greater than %d us isn't reliable, using SleepMilliSeconds(%d) "
             "command instead)\n",
             ui32MicroSeconds, uiMicroSecondsMax, uiMilliSeconds);
    return OsServices_SleepMilliSeconds(uiMilliSeconds);
}

KBOOL32 OsServices::SleepMilliSeconds(KUINT32 ui32MilliSeconds)
{
    return OsServices_SleepMilliSeconds(ui32MilliSeconds);
}

KUINT64 OsServices::GetRawTimeInNs()
{
    return OsServices_GetRawTimeInNs();
}

KUINT64 OsServices::GetTimeInMs()
{
    return GetRawTimeInNs() / 1'000'000;
}
