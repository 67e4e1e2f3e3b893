#include "Support.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <utility>

OsServices g_oOsServices(nullptr);

std::atomic<int> g_iWaitsBegun{0};
std::atomic<int> g_iSpuriousWakeUps{0};

namespace
{
const char* s_pszFailingCall = nullptr;
int         s_iError         = 0;

bool Fails(const char* pszCall)
{
    if (s_pszFailingCall == nullptr || std::strcmp(s_pszFailingCall, pszCall) != 0)
        return false;
    s_pszFailingCall = nullptr;
    return true;
}
}

void FailNext(const char* pszCall, int iError)
{
    s_pszFailingCall = pszCall;
    s_iError         = iError;
}

bool HasFailed()
{
    return s_pszFailingCall == nullptr;
}

void Await(const std::function<bool()>& fnIsTrue)
{
    while (!fnIsTrue())
        std::this_thread::yield();
}

std::string OutputOf(const std::function<void()>& fnWrite)
{
    std::FILE* poCaught = std::tmpfile();
    std::fflush(stdout);
    const int iStdout = dup(STDOUT_FILENO);
    dup2(fileno(poCaught), STDOUT_FILENO);
    fnWrite();
    std::fflush(stdout);
    dup2(iStdout, STDOUT_FILENO);
    close(iStdout);

    std::string sText(static_cast<size_t>(std::ftell(poCaught)), '\0');
    std::rewind(poCaught);
    EXPECT_EQ(std::fread(sText.data(), 1, sText.size(), poCaught), sText.size());
    std::fclose(poCaught);
    return sText;
}

#define STAND_BEFORE(type, call, failure, parameters, arguments)                                                       \
    extern "C" type __real_##call parameters;                                                                          \
    extern "C" type __wrap_##call parameters { return Fails(#call) ? (failure) : __real_##call arguments; }

STAND_BEFORE(int, pthread_mutex_init, s_iError, (pthread_mutex_t* po, const pthread_mutexattr_t* poAttr), (po, poAttr))
STAND_BEFORE(int, pthread_cond_init, s_iError, (pthread_cond_t* po, const pthread_condattr_t* poAttr), (po, poAttr))
STAND_BEFORE(int, pthread_cond_signal, s_iError, (pthread_cond_t* po), (po))
STAND_BEFORE(int, pthread_cond_broadcast, s_iError, (pthread_cond_t* po), (po))
STAND_BEFORE(int, clock_gettime, -1, (clockid_t iClock, timespec* poNow), (iClock, poNow))
STAND_BEFORE(int, usleep, -1, (useconds_t uiMicroSeconds), (uiMicroSeconds))

extern "C" int __real_pthread_cond_wait(pthread_cond_t* poCond, pthread_mutex_t* poMutex);
extern "C" int __wrap_pthread_cond_wait(pthread_cond_t* poCond, pthread_mutex_t* poMutex)
{
    const bool bFails = Fails("pthread_cond_wait");
    ++g_iWaitsBegun;
    return bFails ? s_iError : __real_pthread_cond_wait(poCond, poMutex);
}

extern "C" int __real_pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* poEnd);
extern "C" int __wrap_pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* poEnd)
{
    static timespec s_oFirstEnd;
    const bool      bFails = Fails("pthread_cond_timedwait");
    ++g_iWaitsBegun;
    if (g_iSpuriousWakeUps > 0)
    {
        static bool s_bIsFirst = true;
        if (std::exchange(s_bIsFirst, false))
            s_oFirstEnd = *poEnd;
        EXPECT_EQ(std::memcmp(&s_oFirstEnd, poEnd, sizeof(timespec)), 0);
        s_bIsFirst = --g_iSpuriousWakeUps == 0;
        return 0;
    }
    return bFails ? s_iError : __real_pthread_cond_timedwait(poCond, poMutex, poEnd);
}
