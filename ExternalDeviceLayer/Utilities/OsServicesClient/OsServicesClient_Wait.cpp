#include "OsServicesClient_Wait.h"

#include <cstdio>

timespec ReadRealTime()
{
    timespec oNow{};
    return clock_gettime(CLOCK_REALTIME, &oNow) == 0 ? oNow : timespec{};
}

timespec DeadlineAfter(KUINT32 uiTimeOutMilliSeconds)
{
    const timespec oNow = ReadRealTime();
    const KUINT64  uiNs = KUINT64{uiTimeOutMilliSeconds} * 1'000'000 + static_cast<KUINT64>(oNow.tv_nsec);
    return {.tv_sec  = oNow.tv_sec + static_cast<time_t>(uiNs / 1'000'000'000),
            .tv_nsec = static_cast<long>(uiNs % 1'000'000'000)};
}

void PrintInvalidDeadline(const KCHAR8* pszCall, const timespec& roDeadline)
{
    const timespec oNow = ReadRealTime();
    std::printf("%s returned %d INVALID\n", pszCall, EINVAL);
    std::printf("TimeOut occurs Req timespec.tv_sec=%ld,timespec.tv_nsec=%ld, Now timespec.tv_sec=%ld,"
                "timespec.tv_nsec=%ld\n",
                roDeadline.tv_sec, roDeadline.tv_nsec, oNow.tv_sec, oNow.tv_nsec);
}

KBOOL32 CreateMutexAndCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond)
{
    if (pthread_mutex_init(&roMutex, nullptr) != 0)
        return FALSE;
    if (pthread_cond_init(&roCond, nullptr) == 0)
        return TRUE;

    pthread_mutex_destroy(&roMutex);
    return FALSE;
}

void DestroyMutexAndCondition(pthread_mutex_t& roMutex, pthread_cond_t& roCond)
{
    pthread_cond_destroy(&roCond);
    pthread_mutex_destroy(&roMutex);
}
