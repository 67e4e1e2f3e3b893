#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"

namespace
{
// A trigger grants one blocked wait its end, and a cancel grants all of them theirs: it moves them from uiBlocked to
// uiGranted. A wait ends only by taking a grant. So a spurious wake-up ends no wait, and a later reset or activation cannot
// take a grant back. Any waiting thread may take a grant. While a wait is blocked, no trigger is pending.
struct SEventHandle
{
    pthread_mutex_t oMutex;  // guards the fields after oCond
    pthread_cond_t  oCond;
    KUINT32         bIsSignaled : 1;  // a trigger is pending
    KUINT32         uiGranted : 31;   // waits that may end but have not returned yet
    KUINT32         bIsActive : 1;    // FALSE from a cancel to the next activation
    KUINT32         uiBlocked : 31;   // waits that have no grant
};
#ifdef __x86_64__  // the C libraries of other machines have mutexes of other sizes
static_assert(sizeof(SEventHandle) == 96);
#endif

using EventHold = RecordHold<SEventHandle>;

// Moves waits from blocked to granted. The counts wrap at 31 bits.
void Grant(SEventHandle& roEvent, KUINT32 uiCount)
{
    roEvent.uiBlocked = (roEvent.uiBlocked - uiCount) & 0x7FFFFFFF;
    roEvent.uiGranted = (roEvent.uiGranted + uiCount) & 0x7FFFFFFF;
}

void TakeBack(SEventHandle& roEvent, KUINT32 uiCount)
{
    Grant(roEvent, 0 - uiCount);
}

TStatus WaitUntilGranted(SEventHandle& roEvent, KUINT32 uiTimeOutMilliSeconds)
{
    ++roEvent.uiBlocked;
    const TStatus eStatus =
        WaitOnCondition(roEvent.oMutex, roEvent.oCond, uiTimeOutMilliSeconds, [&roEvent] { return roEvent.uiGranted > 0; });

    // A wait that ends takes a grant. One that times out leaves uiBlocked instead, unless all waits have a grant by now.
    if (eStatus == TStatus_OK || roEvent.uiBlocked == 0)
    {
        --roEvent.uiGranted;
        return eStatus;
    }

    --roEvent.uiBlocked;
    // This wait may have received the wake-up that was meant for another one.
    if (roEvent.uiGranted > 0)
        pthread_cond_signal(&roEvent.oCond);
    return eStatus;
}
}

KUINT32 OsServices_Event_GetHandleSize(void)
{
    return sizeof(SEventHandle);
}

KBOOL32 OsServices_Event_Create(HEvent hEvent)
{
    if (hEvent == nullptr)
        return FALSE;

    SEventHandle& roEvent = *RecordOf<SEventHandle>(hEvent);
    roEvent.bIsSignaled   = FALSE;
    roEvent.uiGranted     = 0;
    roEvent.uiBlocked     = 0;
    if (!CreateMutexAndCondition(roEvent.oMutex, roEvent.oCond))
        return FALSE;

    roEvent.bIsActive = TRUE;
    return TRUE;
}

KBOOL32 OsServices_Event_Destroy(HEvent hEvent)
{
    if (hEvent == nullptr)
        return FALSE;

    OsServices_Event_Cancel(hEvent);
    SEventHandle& roEvent = *RecordOf<SEventHandle>(hEvent);
    DestroyMutexAndCondition(roEvent.oMutex, roEvent.oCond);
    return TRUE;
}

TStatus OsServices_Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds)
{
    const EventHold oEvent(hEvent);
    if (!oEvent)
        return TStatus_FAIL;

    TStatus eStatus = TStatus_FAIL;
    if (oEvent->bIsActive)
        eStatus = oEvent->bIsSignaled ? TStatus_OK : WaitUntilGranted(*oEvent, uiTimeOutMilliSeconds);

    // Every wait consumes a pending trigger, whatever its result, and even if the trigger came after its own.
    oEvent->bIsSignaled = FALSE;
    return oEvent->bIsActive ? eStatus : TStatus_CANCELED;
}

KBOOL32 OsServices_Event_Trigger(HEvent hEvent)
{
    const EventHold oEvent(hEvent);
    if (!oEvent || !oEvent->bIsActive)
        return FALSE;

    const KUINT32 uiHandedOver = oEvent->uiBlocked > 0 ? 1 : 0;
    Grant(*oEvent, uiHandedOver);
    oEvent->bIsSignaled = uiHandedOver == 0;
    if (pthread_cond_signal(&oEvent->oCond) == 0)
        return TRUE;

    TakeBack(*oEvent, uiHandedOver);
    oEvent->bIsSignaled = FALSE;
    return FALSE;
}

KBOOL32 OsServices_Event_Reset(HEvent hEvent)
{
    const EventHold oEvent(hEvent);
    if (!oEvent)
        return FALSE;

    oEvent->bIsSignaled = FALSE;
    return TRUE;
}

KBOOL32 OsServices_Event_Cancel(HEvent hEvent)
{
    const EventHold oEvent(hEvent);
    if (!oEvent || !oEvent->bIsActive)
        return FALSE;

    const KUINT32 uiHandedOver = oEvent->uiBlocked;
    Grant(*oEvent, uiHandedOver);
    oEvent->bIsSignaled = TRUE;
    oEvent->bIsActive   = FALSE;
    if (pthread_cond_broadcast(&oEvent->oCond) == 0)
        return TRUE;

    // The event stays cancelled: only the wake-up failed.
    TakeBack(*oEvent, uiHandedOver);
    oEvent->bIsSignaled = FALSE;
    return FALSE;
}

KBOOL32 OsServices_Event_Activate(HEvent hEvent)
{
    const EventHold oEvent(hEvent);
    if (!oEvent)
        return FALSE;

    oEvent->bIsActive = TRUE;
    return TRUE;
}
