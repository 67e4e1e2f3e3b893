#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"
#include "QelTools.h"

#ifdef __x86_64__  // the C libraries of other machines have mutexes of other sizes
static_assert(sizeof(pthread_mutex_t) == 40);
#endif

KUINT32 OsServices_Mutex_GetHandleSize(void)
{
    return sizeof(pthread_mutex_t);
}

KBOOL32 OsServices_Mutex_Create(HMutex hMutex)
{
    if (hMutex == nullptr)
        return FALSE;

    QelTools_memset(RecordOf<pthread_mutex_t>(hMutex), 0, sizeof(pthread_mutex_t));
    pthread_mutexattr_t oAttributes;
    if (pthread_mutexattr_init(&oAttributes) != 0)
        return FALSE;

    const bool bIsMade = pthread_mutexattr_settype(&oAttributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                         pthread_mutex_init(RecordOf<pthread_mutex_t>(hMutex), &oAttributes) == 0;
    pthread_mutexattr_destroy(&oAttributes);
    return bIsMade ? TRUE : FALSE;
}

KBOOL32 OsServices_Mutex_Destroy(HMutex hMutex)
{
    return CallOnRecord(pthread_mutex_destroy, hMutex);
}

KBOOL32 OsServices_Mutex_Acquire(HMutex hMutex, KUINT32 uiTimeOutMilliSeconds)
{
    if (hMutex == nullptr)
        return FALSE;
    if (uiTimeOutMilliSeconds == WAIT_WITHOUT_LIMIT)
        return CallOnRecord(pthread_mutex_lock, hMutex);

    const timespec oDeadline = DeadlineAfter(uiTimeOutMilliSeconds);
    const int      iResult   = pthread_mutex_timedlock(RecordOf<pthread_mutex_t>(hMutex), &oDeadline);
    if (iResult == EINVAL)
        PrintInvalidDeadline("pthread_mutex_timedlock", oDeadline);
    return iResult == 0 ? TRUE : FALSE;
}

KBOOL32 OsServices_Mutex_Release(HMutex hMutex)
{
    return CallOnRecord(pthread_mutex_unlock, hMutex);
}
