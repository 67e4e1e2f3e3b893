#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"

namespace
{
struct SSignalHandle
{
    pthread_mutex_t oMutex;  // guards the fields after oCond
    pthread_cond_t  oCond;
    KBOOL32         bIsActive;      // FALSE from a cancel to the next activation
    KUINT32         uiPulseNumber;  // a wait ends when this number changes; wraps
};
#ifdef __x86_64__  // the C libraries of other machines have mutexes of other sizes
static_assert(sizeof(SSignalHandle) == 96);
#endif

using SignalHold = RecordHold<SSignalHandle>;

// Ends every wait that has begun. The caller holds the mutex.
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

    SSignalHandle& roSignal = *RecordOf<SSignalHandle>(hSignal);
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
    SSignalHandle& roSignal = *RecordOf<SSignalHandle>(hSignal);
    DestroyMutexAndCondition(roSignal.oMutex, roSignal.oCond);
    return TRUE;
}

TStatus OsServices_Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64)
{
    const SignalHold oSignal(hSignal);
    if (!oSignal)
        return TStatus_FAIL;
    if (!oSignal->bIsActive)
        return TStatus_CANCELED;

    const KUINT32 uiPulseAtStart = oSignal->uiPulseNumber;
    const TStatus eStatus        = WaitOnCondition(oSignal->oMutex, oSignal->oCond, uiTimeOutMilliSeconds,
                                                   [&] { return oSignal->uiPulseNumber != uiPulseAtStart; });
    return oSignal->bIsActive ? eStatus : TStatus_CANCELED;
}

KBOOL32 OsServices_Signal_Trigger(HSignal hSignal)
{
    const SignalHold oSignal(hSignal);
    return oSignal && oSignal->bIsActive ? Pulse(*oSignal) : FALSE;
}

KBOOL32 OsServices_Signal_Cancel(HSignal hSignal)
{
    const SignalHold oSignal(hSignal);
    if (!oSignal || !oSignal->bIsActive)
        return FALSE;

    oSignal->bIsActive = FALSE;
    return Pulse(*oSignal);
}

KBOOL32 OsServices_Signal_Activate(HSignal hSignal)
{
    const SignalHold oSignal(hSignal);
    if (!oSignal)
        return FALSE;

    oSignal->bIsActive = TRUE;
    return TRUE;
}
