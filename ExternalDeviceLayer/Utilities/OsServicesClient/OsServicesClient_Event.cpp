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

SEventHandle& RecordOf(HEvent hEvent)
{
    return *reinterpret_cast<SEventHandle*>(hEvent);
}

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

    SEventHandle& roEvent = RecordOf(hEvent);
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
    DestroyMutexAndCondition(RecordOf(hEvent).oMutex, RecordOf(hEvent).oCond);
    return TRUE;
}

TStatus OsServices_Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds)
{
    if (hEvent == nullptr)
        return TStatus_FAIL;

    SEventHandle&   roEvent = RecordOf(hEvent);
    const MutexHold oHold(roEvent.oMutex);

    TStatus eStatus = TStatus_FAIL;
    if (roEvent.bIsActive)
        eStatus = roEvent.bIsSignaled ? TStatus_OK : WaitUntilGranted(roEvent, uiTimeOutMilliSeconds);

    // Whatever its result, a wait consumes a pending trigger, also one that came after its own.
    roEvent.bIsSignaled = FALSE;
    return roEvent.bIsActive ? eStatus : TStatus_CANCELED;
}

KBOOL32 OsServices_Event_Trigger(HEvent hEvent)
{
    if (hEvent == nullptr)
        return FALSE;

    SEventHandle&   roEvent = RecordOf(hEvent);
    const MutexHold oHold(roEvent.oMutex);
    if (!roEvent.bIsActive)
        return FALSE;

    const KUINT32 uiHandedOver = roEvent.uiBlocked > 0 ? 1 : 0;
    Grant(roEvent, uiHandedOver);
    roEvent.bIsSignaled = uiHandedOver == 0;
    if (pthread_cond_signal(&roEvent.oCond) == 0)
        return TRUE;

    TakeBack(roEvent, uiHandedOver);
    roEvent.bIsSignaled = FALSE;
    return FALSE;
}

KBOOL32 OsServices_Event_Reset(HEvent hEvent)
{
    if (hEvent == nullptr)
        return FALSE;

    SEventHandle&   roEvent = RecordOf(hEvent);
    const MutexHold oHold(roEvent.oMutex);
    roEvent.bIsSignaled = FALSE;
    return TRUE;
}

KBOOL32 OsServices_Event_Cancel(HEvent hEvent)
{
    if (hEvent == nullptr)
        return FALSE;

    SEventHandle&   roEvent = RecordOf(hEvent);
    const MutexHold oHold(roEvent.oMutex);
    if (!roEvent.bIsActive)
        return FALSE;

    const KUINT32 uiHandedOver = roEvent.uiBlocked;
    Grant(roEvent, uiHandedOver);
    roEvent.bIsSignaled = TRUE;
    roEvent.bIsActive   = FALSE;
    if (pthread_cond_broadcast(&roEvent.oCond) == 0)
        return TRUE;

    // The event stays inactive: only the wake-up failed.
    TakeBack(roEvent, uiHandedOver);
    roEvent.bIsSignaled = FALSE;
    return FALSE;
}

KBOOL32 OsServices_Event_Activate(HEvent hEvent)
{
    if (hEvent == nullptr)
        return FALSE;

    SEventHandle&   roEvent = RecordOf(hEvent);
    const MutexHold oHold(roEvent.oMutex);
    roEvent.bIsActive = TRUE;
    return TRUE;
}
