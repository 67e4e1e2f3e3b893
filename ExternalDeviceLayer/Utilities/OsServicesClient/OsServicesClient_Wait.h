// What the objects behind handles share: the access to their record, the deadline, and the wait on a condition.
#ifndef OS_SERVICES_CLIENT_WAIT_H
#define OS_SERVICES_CLIENT_WAIT_H

#include <pthread.h>

#include <cerrno>
#include <ctime>

#include "QelTypes.h"
#include "Tavrin.h"

constexpr KUINT32 WAIT_WITHOUT_LIMIT = 0xFFFFFFFF;

// Reads the real-time clock. Returns 0 seconds and nanoseconds on failure.
timespec ReadRealTime();

// Returns the time that many milliseconds from now, on the real-time clock. If the clock cannot be read, that time is long
// past, so the wait ends at once.
timespec DeadlineAfter(KUINT32 uiTimeOutMilliSeconds);

// Prints that the POSIX call rejected this deadline as an invalid argument.
void PrintInvalidDeadline(const KCHAR8* pszCall, const timespec& roDeadline);

// A mutex and a condition with default attributes. Create makes both, or neither and returns FALSE.
KBOOL32 CreateMutexAndCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond);
void    DestroyMutexAndCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond);

// The record that a handle points to, or null.
template <class TRecord, class THandle> TRecord* RecordOf(THandle hHandle)
{
    return reinterpret_cast<TRecord*>(hHandle);
}

// Calls a POSIX function on the record behind a handle. Returns FALSE for a null handle, or if the call fails.
template <class TRecord, class THandle> KBOOL32 CallOnRecord(int (*pfnCall)(TRecord*), THandle hHandle)
{
    return hHandle != nullptr && pfnCall(RecordOf<TRecord>(hHandle)) == 0 ? TRUE : FALSE;
}

// Locks the mutex of the record behind a handle until the end of the block. Converts to false for a null handle.
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

// Blocks until fIsOver returns true, and then returns TStatus_OK. The caller holds the mutex. fIsOver runs with the mutex
// held, after every wake-up, because a condition may wake a thread without a reason. Returns TStatus_TIMEOUT at the deadline
// or for an invalid one. If POSIX fails otherwise, returns TStatus_CANCELED for a wait without limit, else TStatus_FAIL.
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
