#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"

namespace
{
// A trigger, or a cancel, that finds blocked waits grants them their end by moving them from one count to the other, so
// that a wake-up without a reason ends no wait and neither a reset nor an activation takes back an end once granted.
// Which of the threads then waiting takes a grant is left open. A blocked wait and a pending trigger never meet.
struct SEventHandle
{
    pthread_mutex_t oMutex;  // guards what follows the condition
    pthread_cond_t  oCond;
    KUINT32         bIsSignaled : 1;  // a trigger that no wait has consumed yet
    KUINT32         uiGranted : 31;   // waits that may end, and whose threads have not run yet
    KUINT32         bIsActive : 1;    // FALSE between a cancel and the next activation
    KUINT32         uiBlocked : 31;   // waits that nothing has ended yet
};
static_assert(sizeof(SEventHandle) == 96);

using EventHold = RecordHold<SEventHandle>;

// Moves waits from blocked to granted; the counts wrap at their 31 bits.
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

    // Whoever leaves without a grant gives up a place among the blocked; when all were granted meanwhile, a grant.
    if (eStatus == TStatus_OK || roEvent.uiBlocked == 0)
    {
        --roEvent.uiGranted;
        return eStatus;
    }

    --roEvent.uiBlocked;
    // A wait that times out may have used up the wake-up of another one.
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

    // Whatever its result, a wait consumes a pending trigger, also one that came after its own.
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

    // The event stays inactive: only the wake-up failed.
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
