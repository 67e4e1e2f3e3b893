// What the waiting objects of the C layer share: the deadline, and the wait on a condition until it.
#ifndef OS_SERVICES_CLIENT_WAIT_H
#define OS_SERVICES_CLIENT_WAIT_H

#include <pthread.h>

#include <cerrno>
#include <ctime>

#include "QelTypes.h"
#include "Tavrin.h"

constexpr KUINT32 WAIT_WITHOUT_LIMIT = 0xFFFFFFFF;

// The real-time clock; all 0 when it cannot be read.
timespec ReadRealTime();

// The moment that many milliseconds from now, on the real-time clock. A clock that cannot be read gives a moment long
// past: the wait ends at once instead of lasting for ever.
timespec DeadlineAfter(KUINT32 uiTimeOutMilliSeconds);

// Says on standard output that the named POSIX call took this deadline for an invalid argument.
void PrintInvalidDeadline(const KCHAR8* pszCall, const timespec& roDeadline);

// A mutex with a condition, both with default attributes; when the second cannot be made the first is unmade.
KBOOL32 CreateMutexAndCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond);
void    DestroyMutexAndCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond);

// The record behind a handle.
template <class TRecord, class THandle> TRecord* RecordOf(THandle hHandle)
{
    return reinterpret_cast<TRecord*>(hHandle);
}

// Calls a POSIX function on the record behind a handle. FALSE for a null handle, and when the call fails.
template <class TRecord, class THandle> KBOOL32 CallOnRecord(int (*pfnCall)(TRecord*), THandle hHandle)
{
    return hHandle != nullptr && pfnCall(RecordOf<TRecord>(hHandle)) == 0 ? TRUE : FALSE;
}

// The record behind a handle, its mutex held for the length of a block; behind a null handle there is none.
template <class TRecord> class RecordHold
{
public:
    template <class THandle> explicit RecordHold(THandle hHandle) : m_poRecord(RecordOf<TRecord>(hHandle))
    {
        if (m_poRecord != nullptr)
            pthread_mutex_lock(&m_poRecord->oMutex);
    }
    ~RecordHold()
    {
        if (m_poRecord != nullptr)
            pthread_mutex_unlock(&m_poRecord->oMutex);
    }

    RecordHold(const RecordHold&)            = delete;
    RecordHold& operator=(const RecordHold&) = delete;

    explicit operator bool() const { return m_poRecord != nullptr; }
    TRecord& operator*() const { return *m_poRecord; }
    TRecord* operator->() const { return m_poRecord; }

private:
    TRecord* const m_poRecord;
};

// Blocks until fIsOver says so: TStatus_OK. It is asked with the mutex held, after every wake-up, as a condition may
// wake a thread without any reason; the deadline stays where it was.
template <class TIsOver>
TStatus WaitOnCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond, KUINT32 uiTimeOutMilliSeconds, TIsOver fIsOver)
{
    int iResult = 0;
    if (uiTimeOutMilliSeconds == WAIT_WITHOUT_LIMIT)
    {
        do
            iResult = pthread_cond_wait(&roCond, &roMutex);
        while (iResult == 0 && !fIsOver());
        return iResult == 0 ? TStatus_OK : TStatus_CANCELED;
    }

    const timespec oDeadline = DeadlineAfter(uiTimeOutMilliSeconds);
    do
        iResult = pthread_cond_timedwait(&roCond, &roMutex, &oDeadline);
    while (iResult == 0 && !fIsOver());

    switch (iResult)
    {
    case 0: return TStatus_OK;
    case ETIMEDOUT: return TStatus_TIMEOUT;
    case EINVAL: PrintInvalidDeadline("pthread_cond_timedwait", oDeadline); return TStatus_TIMEOUT;
    default: return TStatus_FAIL;
    }
}

#endif
