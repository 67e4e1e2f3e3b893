#include "Support.h"

#include <cctype>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <new>
#include <pthread.h>
#include <unistd.h>

OsServices       g_oOsServices(nullptr);
std::string      g_sMemoryFile;
int              g_iLibraryStarts = 0;
std::atomic<int> g_iWaitsBegun{0}, g_iSpuriousWakeUps{0};

namespace
{
const char*      s_pszFailing = nullptr;
int              s_iError     = 0;
std::atomic<int> s_iBlocks{0};
}

void FailNext(const char* pszCall, int iError)
{
    s_pszFailing = pszCall;
    s_iError     = iError;
}

bool Fails(const char* pszCall)
{
    const bool bFails = s_pszFailing != nullptr && std::strcmp(s_pszFailing, pszCall) == 0;
    if (bFails)
        s_pszFailing = nullptr;
    return bFails;
}

bool HasFailed()
{
    return s_pszFailing == nullptr;
}

std::pair<int, long> Held()
{
    return {s_iBlocks, std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})};
}

std::string OutputOf(const std::function<void()>& fnWrite)
{
    testing::internal::CaptureStdout();
    fnWrite();
    return testing::internal::GetCapturedStdout();
}

SMemoryFile::SMemoryFile() : m_iFile((g_sMemoryFile = testing::TempDir() + "memoryXXXXXX", mkstemp(g_sMemoryFile.data())))
{
    EXPECT_EQ(ftruncate(m_iFile, off_t{6} << 30), 0);
}

SMemoryFile::~SMemoryFile()
{
    EXPECT_TRUE(close(m_iFile) == 0 && std::filesystem::remove(std::exchange(g_sMemoryFile, "")));
}

std::string WithoutNumbers(const std::string& rsText)
{
    std::string sResult;
    for (const char ch : rsText)
        if (!std::isdigit(ch) || sResult.empty() || sResult.back() != '#')
            sResult += std::isdigit(ch) ? '#' : ch;
    return sResult;
}

#define STAND_BEFORE(type, call, failure, parameters, arguments)                                                       \
    extern "C" type __real_##call parameters;                                                                          \
    extern "C" type __wrap_##call parameters { return Fails(#call) ? (failure) : __real_##call arguments; }

STAND_BEFORE(int, pthread_mutex_init, s_iError, (pthread_mutex_t* po, const pthread_mutexattr_t* poAttr), (po, poAttr))
STAND_BEFORE(int, pthread_mutexattr_init, s_iError, (pthread_mutexattr_t* po), (po))
STAND_BEFORE(int, pthread_mutexattr_settype, s_iError, (pthread_mutexattr_t* po, int iType), (po, iType))
STAND_BEFORE(int, pthread_mutex_timedlock, s_iError, (pthread_mutex_t* po, const timespec* poEnd), (po, poEnd))
STAND_BEFORE(int, pthread_cond_init, s_iError, (pthread_cond_t* po, const pthread_condattr_t* poAttr), (po, poAttr))
STAND_BEFORE(int, pthread_cond_signal, s_iError, (pthread_cond_t* po), (po))
STAND_BEFORE(int, pthread_cond_broadcast, s_iError, (pthread_cond_t* po), (po))
STAND_BEFORE(int, pthread_spin_init, s_iError, (pthread_spinlock_t* po, int iShared), (po, iShared))
STAND_BEFORE(int, pthread_create, s_iError,
             (pthread_t* po, const pthread_attr_t* poAttr, void* (*pfn)(void*), void* pv), (po, poAttr, pfn, pv))
STAND_BEFORE(int, clock_gettime, -1, (clockid_t iClock, timespec* poNow), (iClock, poNow))
STAND_BEFORE(int, usleep, -1, (useconds_t uiMicroSeconds), (uiMicroSeconds))
STAND_BEFORE(FILE*, fopen, nullptr, (const char* pszPath, const char* pszMode), (pszPath, pszMode))
STAND_BEFORE(void*, _ZnwmRKSt9nothrow_t, nullptr, (size_t uiSize, const std::nothrow_t& ro), (uiSize, ro))
STAND_BEFORE(void*, _Znam, throw std::bad_alloc(), (size_t uiSize), ((++s_iBlocks, uiSize)))
STAND_BEFORE(void, _ZdaPv, static_cast<void>(0), (void* pv), ((s_iBlocks -= pv != nullptr, pv)))

extern "C" KUINT32 __real_InitQELLibrary();
extern "C" KUINT32 __wrap_InitQELLibrary() { return ++g_iLibraryStarts, Fails("InitQELLibrary") ? 0 : __real_InitQELLibrary(); }

extern "C" int __real_open(const char* pszPath, int iFlags, ...);
extern "C" int __wrap_open(const char* pszPath, int iFlags, mode_t uiMode)
{
    const bool bIsMemory = std::strcmp(pszPath, "/dev/mem") == 0;
    if (Fails("open") || (bIsMemory && (g_sMemoryFile.empty() || (iFlags & O_ACCMODE) != O_RDWR)))
        return -1;
    return __real_open(bIsMemory ? g_sMemoryFile.c_str() : pszPath, iFlags, uiMode);
}

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
    static timespec s_oSpuriousEnd;  // of the wait that goes on; all 0: none does
    EXPECT_TRUE(s_oSpuriousEnd.tv_sec == 0 || std::memcmp(&s_oSpuriousEnd, poEnd, sizeof(timespec)) == 0);
    const bool bFails = Fails("pthread_cond_timedwait"), bWakes = g_iSpuriousWakeUps > 0 && g_iSpuriousWakeUps-- > 0;
    s_oSpuriousEnd    = bWakes ? *poEnd : timespec{};
    ++g_iWaitsBegun;
    return bWakes ? 0 : bFails ? s_iError : __real_pthread_cond_timedwait(poCond, poMutex, poEnd);
}
