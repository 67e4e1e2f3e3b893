#include "Support.h"

OsServices g_oOsServices(nullptr);

// Under a sanitizer as without one, the heap refuses what it does not have.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

static std::atomic<int> s_iHeld{0};

bool Fails(const char* pszCall)
{
    const char* pszFailing = g_pszFailing;
    return pszFailing != nullptr && std::strcmp(pszFailing, pszCall) == 0 && g_pszFailing.exchange(nullptr) != nullptr;
}

std::pair<int, long> Held() { return {s_iHeld, EntriesOf("/proc/self/fd")}; }

void ExpectFailures(const std::vector<const char*>& rapszCalls, const std::vector<KBOOL32 (*)()>& rapfnWorks)
{
    for (const char* const pszCall : rapszCalls)
        for (size_t i = 0; i < rapfnWorks.size(); ++i)
        {
            const auto oBefore = Held();
            FailNext(pszCall, EAGAIN);
            const KBOOL32 bIsDone = rapfnWorks[i]();
            EXPECT_TRUE(!bIsDone && HasFailed() && Held() == oBefore) << pszCall << " in " << i;
            FailNext(nullptr);
        }
}

std::string WithoutNumbers(const std::string& rsText)
{
    const std::string sText = std::regex_replace(rsText, std::regex("sec=[0-9]{10}"), "sec=now");
    return std::regex_replace(sText, std::regex("[0-9]+"), "#");
}

#define STAND_BEFORE(type, call, failure, parameters, arguments) \
    extern "C" type __real_##call parameters;                    \
    extern "C" type __wrap_##call parameters { return Fails(#call) ? (failure) : __real_##call arguments; }

STAND_BEFORE(int, pthread_mutex_init, g_iError, (pthread_mutex_t * p, const pthread_mutexattr_t* pa), ((++s_iHeld, p), pa))
STAND_BEFORE(int, pthread_mutex_destroy, g_iError, (pthread_mutex_t * po), ((--s_iHeld, po)))
STAND_BEFORE(int, pthread_mutexattr_init, g_iError, (pthread_mutexattr_t * po), (po))
STAND_BEFORE(int, pthread_mutexattr_settype, g_iError, (pthread_mutexattr_t * po, int iType), (po, iType))
STAND_BEFORE(int, pthread_mutex_timedlock, g_iError, (pthread_mutex_t * po, const timespec* poEnd), (po, poEnd))
STAND_BEFORE(int, pthread_cond_init, g_iError, (pthread_cond_t * p, const pthread_condattr_t* pa), ((++s_iHeld, p), pa))
STAND_BEFORE(int, pthread_cond_destroy, g_iError, (pthread_cond_t * po), ((--s_iHeld, po)))
STAND_BEFORE(int, pthread_cond_signal, g_iError, (pthread_cond_t * po), (po))
STAND_BEFORE(int, pthread_cond_broadcast, g_iError, (pthread_cond_t * po), (po))
STAND_BEFORE(int, pthread_cond_wait, g_iError, (pthread_cond_t * po, pthread_mutex_t* pm), ((++g_iWaitsBegun, po), pm))
STAND_BEFORE(int, pthread_spin_init, g_iError, (pthread_spinlock_t * po, int iShared), (po, iShared))
STAND_BEFORE(int, pthread_create, g_iError, (pthread_t * po, const pthread_attr_t* poAttr, void* (*pfn)(void*), void* pv),
             (po, poAttr, pfn, pv))
STAND_BEFORE(int, clock_gettime, -1, (clockid_t iClock, timespec* poNow), (iClock, poNow))
STAND_BEFORE(int, usleep, -1, (useconds_t uiMicroSeconds), (uiMicroSeconds))
STAND_BEFORE(FILE*, fopen, nullptr, (const char* pszPath, const char* pszMode), (pszPath, pszMode))
STAND_BEFORE(int, open, -1, (const char* pszPath, int iFlags, mode_t uiMode), (pszPath, iFlags, uiMode))
STAND_BEFORE(void*, _ZnwmRKSt9nothrow_t, nullptr, (size_t uiSize, const std::nothrow_t& ro), (uiSize, ro))
STAND_BEFORE(void*, _ZnamRKSt9nothrow_t, nullptr, (size_t uiSize, const std::nothrow_t& ro), ((++s_iHeld, uiSize), ro))
STAND_BEFORE(void, _ZdaPv, static_cast<void>(0), (void* pv), ((s_iHeld -= pv != nullptr, pv)))
STAND_BEFORE(KUINT32, InitQELLibrary, 0, (), ())

extern "C" int __real_pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* poEnd);
extern "C" int __wrap_pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* poEnd)
{
    static timespec s_oSpuriousEnd;  // of the wait that goes on; all 0: none does
    EXPECT_TRUE(s_oSpuriousEnd.tv_sec == 0 || std::memcmp(&s_oSpuriousEnd, poEnd, sizeof(timespec)) == 0);
    const bool bFails = Fails("pthread_cond_timedwait"), bWakes = g_iSpuriousWakeUps > 0 && g_iSpuriousWakeUps-- > 0;
    s_oSpuriousEnd = bWakes ? *poEnd : timespec{};
    ++g_iWaitsBegun;
    if (const auto fInstead = std::exchange(g_fInsteadOfWait, nullptr))
        return pthread_mutex_unlock(poMutex), fInstead(), pthread_mutex_lock(poMutex), bWakes ? 0 : ETIMEDOUT;
    return bWakes ? 0 : bFails ? g_iError : __real_pthread_cond_timedwait(poCond, poMutex, poEnd);
}
