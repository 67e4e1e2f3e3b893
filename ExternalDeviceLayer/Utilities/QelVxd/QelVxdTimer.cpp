#include "QelVxd.h"

KUINT32 tmInit(void)
{
    return 1;
}

KUINT32 tmDelay(KUINT32 dwDelay)
{
    return QelVxdPrivateLinuxTimer_Delay(dwDelay);
}

KUINT32 tmCounter(void* pvCounter64)
{
    return QelVxdPrivateLinuxTimer_Counter(pvCounter64);
}

KUINT32 tmFrequency(void* pvFrequency64)
{
    return QelVxdPrivateLinuxTimer_Frequency(pvFrequency64);
}
