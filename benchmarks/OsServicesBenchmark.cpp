// What the OS services cost beside the bare POSIX calls that they stand on, on the same kinds of objects.
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <pthread.h>
#include <stop_token>
#include <thread>
#include <vector>

#include "BenchmarkTable.h"
#include "OsServices.h"

OsServices g_oOsServices(nullptr);

namespace
{
constexpr int     CALLS_A_WORK = 100;
constexpr int     WAITS        = 61;
constexpr KUINT32 WAIT_MS      = 16;
constexpr KUINT32 NO_LIMIT     = 0xFFFFFFFF;
constexpr KUINT64 NS_A_SECOND  = 1'000'000'000;

timespec DeadlineAfter(KUINT32 uiMs)
{
    timespec oEnd{};
    clock_gettime(CLOCK_REALTIME, &oEnd);
    const KUINT64 uiNs = KUINT64{uiMs} * 1'000'000 + static_cast<KUINT64>(oEnd.tv_nsec);
    oEnd.tv_sec += static_cast<time_t>(uiNs / NS_A_SECOND);
    oEnd.tv_nsec = static_cast<long>(uiNs % NS_A_SECOND);
    return oEnd;
}

// An event as one would write it down: a flag, its mutex and its condition.
struct BareEvent
{
    pthread_mutex_t oMutex = {};  // as PTHREAD_MUTEX_INITIALIZER has it, but for warnings
    pthread_cond_t  oCond  = PTHREAD_COND_INITIALIZER;
    bool            bIsSet = false;

    void Trigger()
    {
        pthread_mutex_lock(&oMutex);
        bIsSet = true;
        pthread_cond_signal(&oCond);
        pthread_mutex_unlock(&oMutex);
    }

    // False when the time is over.
    bool Wait(KUINT32 uiMs)
    {
        pthread_mutex_lock(&oMutex);
        int iResult = 0;
        if (!bIsSet)
        {
            const timespec oEnd = DeadlineAfter(uiMs);
            while (!bIsSet && iResult == 0)
                iResult = pthread_cond_timedwait(&oCond, &oMutex, &oEnd);
        }
        bIsSet = false;
        pthread_mutex_unlock(&oMutex);
        return iResult == 0;
    }
};

KUINT64 NowNs()
{
    timespec oNow{};
    clock_gettime(CLOCK_MONOTONIC, &oNow);
    return static_cast<KUINT64>(oNow.tv_sec) * NS_A_SECOND + static_cast<KUINT64>(oNow.tv_nsec);
}

// Median microseconds by which a wait that nothing ends lasts longer than asked, ours and the bare one in turns.
void CompareLateness(HEvent hEvent, BareEvent& roBare)
{
    std::vector<double> adLateUs[2];
    for (int i = 0; i < WAITS; ++i)
    {
        for (const bool bOurs : {i % 2 == 0, i % 2 != 0})
        {
            const KUINT64 uiStart = NowNs();
            if (bOurs ? g_oOsServices.Event_Wait(hEvent, WAIT_MS) == TStatus_TIMEOUT : !roBare.Wait(WAIT_MS))
                adLateUs[bOurs ? 0 : 1].push_back(static_cast<double>(NowNs() - uiStart) / 1e3 - WAIT_MS * 1e3);
        }
    }
    for (std::vector<double>& roLate : adLateUs)
        std::nth_element(roLate.begin(), roLate.begin() + WAITS / 2, roLate.end());
    std::printf("%-46s %12.2f us     %-32s %12.2f us\n", "lateness of a wait of 16 ms", adLateUs[0][WAITS / 2],
                "pthread_cond_timedwait", adLateUs[1][WAITS / 2]);
}
}

int main(int iArguments, char** ppszArguments)
{
    // With a second thread alive the C library leaves its shortcuts for single-threaded processes.
    std::mutex                  oMutex;
    std::condition_variable_any oCond;
    const std::jthread          oSecondThread([&](std::stop_token oStop) {
        std::unique_lock oLock(oMutex);
        oCond.wait(oLock, oStop, [] { return false; });
    });

    HEvent    hEvent = nullptr;
    HMutex    hMutex = nullptr;
    BareEvent oBareEvent;
    if (!g_oOsServices.Event_Create(hEvent) || !g_oOsServices.Mutex_Create(hMutex))
        return 1;

    pthread_mutexattr_t oRecursive;
    pthread_mutex_t     oBareMutex;
    pthread_mutexattr_init(&oRecursive);
    pthread_mutexattr_settype(&oRecursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&oBareMutex, &oRecursive);

    const auto fnRepeat = [](auto fnCall) {
        return [fnCall] {
            for (int i = 0; i < CALLS_A_WORK; ++i)
                fnCall();
        };
    };
    BenchmarkTable oTable(iArguments, ppszArguments);
    oTable.Compare("event: trigger and wait, 100 times", "bare POSIX calls", {},
                   fnRepeat([=] { g_oOsServices.Event_Trigger(hEvent), g_oOsServices.Event_Wait(hEvent, NO_LIMIT); }),
                   fnRepeat([&oBareEvent] { oBareEvent.Trigger(), oBareEvent.Wait(1'000); }));
    oTable.Compare("mutex: acquire and release, 100 times", "bare POSIX calls", {},
                   fnRepeat([=] { g_oOsServices.Mutex_Acquire(hMutex, NO_LIMIT), g_oOsServices.Mutex_Release(hMutex); }),
                   fnRepeat([&oBareMutex] { pthread_mutex_lock(&oBareMutex), pthread_mutex_unlock(&oBareMutex); }));
    oTable.Compare("mutex: acquire within 1 s and release, 100 times", "bare POSIX calls", {},
                   fnRepeat([=] { g_oOsServices.Mutex_Acquire(hMutex, 1'000), g_oOsServices.Mutex_Release(hMutex); }),
                   fnRepeat([&oBareMutex] {
                       const timespec oEnd = DeadlineAfter(1'000);
                       pthread_mutex_timedlock(&oBareMutex, &oEnd), pthread_mutex_unlock(&oBareMutex);
                   }));
    if (oTable.IsWhole())
        CompareLateness(hEvent, oBareEvent);

    pthread_mutex_destroy(&oBareMutex);
    return g_oOsServices.Event_Destroy(hEvent) && g_oOsServices.Mutex_Destroy(hMutex) ? 0 : 1;
}
