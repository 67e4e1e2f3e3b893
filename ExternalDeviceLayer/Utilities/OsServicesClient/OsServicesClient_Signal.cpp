#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"

namespace
{
struct SSignalHandle
{
    pthread_mutex_t oMutex;  // guards what follows the condition
    pthread_cond_t  oCond;
    KBOOL32         bIsActive;      // FALSE between a cancel and the next activation
    KUINT32         uiPulseNumber;  // a wait is over when it is no longer the one that the wait began with; wraps
};
static_assert(sizeof(SSignalHandle) == 96);

SSignalHandle& RecordOf(HSignal hSignal)
{
    return *reinterpret_cast<SSignalHandle*>(hSignal);
}

// Ends every wait of the moment, with the mutex held.
KBOOL32 Pulse(SSignalHandle& roSignal)
{
    ++roSignal.uiPulseNumber;
    if (pthread_cond_broadcast(&roSignal.oCond) == 0)
        return TRUE;

    --roSignal.uiPulseNumber;
    return FALSE;
}
}

KUINT32 OsServices_Signal_GetHandleSize(void)
{
    return sizeof(SSignalHandle);
}

KBOOL32 OsServices_Signal_Create(HSignal hSignal)
{
    if (hSignal == nullptr)
        return FALSE;

    SSignalHandle& roSignal = RecordOf(hSignal);
    if (!CreateMutexAndCondition(roSignal.oMutex, roSignal.oCond))
        return FALSE;

    roSignal.bIsActive     = TRUE;
    roSignal.uiPulseNumber = 0;
    return TRUE;
}

KBOOL32 OsServices_Signal_Destroy(HSignal hSignal)
{
    if (hSignal == nullptr)
        return FALSE;

    OsServices_Signal_Cancel(hSignal);
    DestroyMutexAndCondition(RecordOf(hSignal).oMutex, RecordOf(hSignal).oCond);
    return TRUE;
}

TStatus OsServices_Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64)
{
    if (hSignal == nullptr)
        return TStatus_FAIL;

    SSignalHandle&  roSignal = RecordOf(hSignal);
    const MutexHold oHold(roSignal.oMutex);
    if (!roSignal.bIsActive)
        return TStatus_CANCELED;

    const KUINT32 uiPulseAtStart = roSignal.uiPulseNumber;
    const TStatus eStatus        = WaitOnCondition(roSignal.oMutex, roSignal.oCond, uiTimeOutMilliSeconds,
                                                   [&] { return roSignal.uiPulseNumber != uiPulseAtStart; });
    return roSignal.bIsActive ? eStatus : TStatus_CANCELED;
}

KBOOL32 OsServices_Signal_Trigger(HSignal hSignal)
{
    if (hSignal == nullptr)
        return FALSE;

    SSignalHandle&  roSignal = RecordOf(hSignal);
    const MutexHold oHold(roSignal.oMutex);
    return roSignal.bIsActive ? Pulse(roSignal) : FALSE;
}

KBOOL32 OsServices_Signal_Cancel(HSignal hSignal)
{
    if (hSignal == nullptr)
        return FALSE;

    SSignalHandle&  roSignal = RecordOf(hSignal);
    const MutexHold oHold(roSignal.oMutex);
    if (!roSignal.bIsActive)
        return FALSE;

    roSignal.bIsActive = FALSE;
    return Pulse(roSignal);
}

KBOOL32 OsServices_Signal_Activate(HSignal hSignal)
{
    if (hSignal == nullptr)
        return FALSE;

    SSignalHandle&  roSignal = RecordOf(hSignal);
    const MutexHold oHold(roSignal.oMutex);
    roSignal.bIsActive = TRUE;
    return TRUE;
}
