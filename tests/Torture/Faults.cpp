// Stands between the tool and what it calls (LD_PRELOAD). TORTURE="KIND N HOW" strikes at the N-th call of a kind: heap,
// read (of a PNG), file (the board's) or moment (an operation of the device library, or a wait). HOW is once or on, for
// failures, or the number of a signal. The call that was struck is written to $TORTURE_MARK, and on a second line what the
// board shows at that moment: the register that says that the tool runs, and each output. TORTURE_FAST=1 lets waits end at
// once. TORTURE="watch FRAMES -" watches a run that plays so many frames of 128 x 128 at the top left.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

#include "TavrinOperations.h"

namespace
{
char           s_acKind[8];  // empty until the environment is read
char           s_acHow[8];
long           s_iFirst = 0, s_iCount = 0;
bool           s_bFast    = false;
const KUINT32* s_puiPlane = nullptr;
KUINT32        s_uiPitch  = 0;
int s_iEnabled = 0, s_iDisabled = 0, s_iWritten = 0;  // calls that succeeded; the first write says that the tool runs

template <class T> T Next(const char* pszName)
{
    static const auto s_pfnDlsym = reinterpret_cast<void* (*)(void*, const char*)>(dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.34"));
    return reinterpret_cast<T>(s_pfnDlsym(RTLD_NEXT, pszName));
}

bool Strikes(const char* pszKind, const char* pszCall)
{
    if (std::strcmp(s_acKind, pszKind) != 0 || ++s_iCount < s_iFirst ||
        (s_iCount > s_iFirst && std::strcmp(s_acHow, "on") != 0))
        return false;
    static const auto s_pfnOpen = Next<int (*)(const char*, int, ...)>("open");
    if (const char* pszMark = std::getenv("TORTURE_MARK"); s_iCount == s_iFirst && pszMark != nullptr)
    {
        char       acText[80];
        const auto fShows = [](int iOutput) { return iOutput < s_iEnabled && iOutput >= s_iDisabled ? "on" : "off"; };
        const int  iLength =
            std::snprintf(acText, sizeof(acText), "%s\n%d;%s;%s;\n", pszCall, s_iWritten == 1, fShows(0), fShows(1));
        const int iMark = s_pfnOpen(pszMark, O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (write(iMark, acText, static_cast<size_t>(iLength)) < 0 || close(iMark) != 0) std::abort();
    }
    return true;
}

// What a long run must not change, and what it did; frames are told apart by a sum.
struct SWatch
{
    long           iSteps = 0, iWrong = 0, iLong = 0;
    timespec       oStart = {}, oLast = {};
    std::ptrdiff_t aiBefore[3] = {}, aiAfter[3] = {};
    KUINT32        auiSums[32] = {};

    static void Count(std::ptrdiff_t (&raiCounts)[3])
    {
        const auto fEntries = [](const char* psz) { return std::distance(std::filesystem::directory_iterator(psz), {}); };
        raiCounts[0]        = fEntries("/proc/self/fd");
        std::ifstream oMaps("/proc/self/maps");
        raiCounts[1] = std::count(std::istreambuf_iterator<char>(oMaps), {}, '\n');
        std::ifstream("/proc/self/statm") >> raiCounts[2] >> raiCounts[2];  // pages: the second number of the line
    }
    void OnWait(const timespec& roDeadline)
    {
        clock_gettime(CLOCK_REALTIME, &oLast);
        iLong += (roDeadline.tv_sec - oLast.tv_sec) * 1'000'000'000 + roDeadline.tv_nsec - oLast.tv_nsec > 16'000'000;
        KUINT32 uiSum = 0;
        for (KUINT32 i = 0; i < 128 * 128; ++i) uiSum = uiSum * 31 + s_puiPlane[i / 128 * s_uiPitch + i % 128];
        KUINT32& ruiOfFrame = auiSums[iSteps % s_iFirst];
        iWrong += iSteps <= s_iFirst ? std::count(auiSums, auiSums + s_iFirst, uiSum) : uiSum != ruiOfFrame;
        ruiOfFrame = iSteps == 0 ? 0 : uiSum;
        if (++iSteps == 100) oStart = oLast, Count(aiBefore);
        if (iSteps % 160 == 0) Count(aiAfter);
    }
    ~SWatch()
    {
        if (iSteps < 160) return;
        const double dUs = static_cast<double>(oLast.tv_sec - oStart.tv_sec) * 1e6 +
                           static_cast<double>(oLast.tv_nsec - oStart.tv_nsec) / 1e3;
        std::ofstream(std::getenv("TORTURE_MARK"))
            << iSteps << ' ' << iWrong << ' ' << iLong << ' ' << static_cast<long>(dUs) / (iSteps - 100) << ' '
            << std::clock() / iSteps << ' ' << aiAfter[0] - aiBefore[0] << ' ' << aiAfter[1] - aiBefore[1] << ' '
            << aiAfter[2] - aiBefore[2] << '\n';
    }
} s_oWatch;

[[gnu::constructor]] void ReadPlan()
{
    const char* pszPlan = std::getenv("TORTURE");
    s_bFast             = std::getenv("TORTURE_FAST") != nullptr;
    if (pszPlan != nullptr && std::sscanf(pszPlan, "%7s %ld %7s", s_acKind, &s_iFirst, s_acHow) != 3) std::abort();
    unsetenv("TORTURE");
    s_iCount = 0;
}

template <int iTag, class TFunction> struct SOperation;
template <int iTag, class TResult, class... TArguments> struct SOperation<iTag, TResult(TArguments...)>
{
    static inline const char* s_pszName               = nullptr;
    static inline TResult (*s_pfnReal)(TArguments...) = nullptr;

    static TResult Call(TArguments... arguments)
    {
        if (Strikes("moment", s_pszName)) raise(std::atoi(s_acHow));
        const TResult result = s_pfnReal(arguments...);
        if constexpr (std::is_same_v<TResult, TStatus>)
            for (const auto& [pszName, piCount] : {std::pair{"TVideoOut_Enable", &s_iEnabled},
                                                   {"TVideoOut_Disable", &s_iDisabled},
                                                   {"TBoard_RegWrite", &s_iWritten}})
                *piCount += result == TStatus_OK && std::strcmp(s_pszName, pszName) == 0;
        if constexpr (std::is_same_v<TResult(TArguments...), decltype(TBuffer_BeginAccess)>)
            s_puiPlane = reinterpret_cast<const KUINT32*>(*std::get<3>(std::tie(arguments...)));
        if constexpr (std::is_same_v<TResult(TArguments...), decltype(TBuffer_GetPlaneInfo)>)
            s_uiPitch = std::get<1>(std::tie(arguments...))->auiPitch[0];
        return result;
    }
    static void* StandBefore(const char* pszName, void* pvReal)
    {
        s_pszName = pszName;
        s_pfnReal = reinterpret_cast<TResult (*)(TArguments...)>(pvReal);
        return reinterpret_cast<void*>(&Call);
    }
};
}

extern "C"
{
#define STRUCK_HEAP(name, parameters, arguments) \
    void* __libc_##name parameters;              \
    void* name          parameters { return Strikes("heap", #name) ? (errno = ENOMEM, nullptr) : __libc_##name arguments; }
STRUCK_HEAP(malloc, (size_t u), (u))
STRUCK_HEAP(calloc, (size_t n, size_t u), (n, u))
STRUCK_HEAP(realloc, (void* p, size_t u), (p, u))

#define STRUCK(kind, result, name, parameters, arguments, failure)                  \
    result name parameters                                                          \
    {                                                                               \
        static const auto s_pfnNext = Next<decltype(&name)>(#name);                 \
        return Strikes(kind, #name) ? (errno = EIO, failure) : s_pfnNext arguments; \
    }
STRUCK("read", size_t, fread, (void* p, size_t u, size_t n, FILE* f), (p, u, n, f), 0)
STRUCK("file", int, mkdir, (const char* p, mode_t m), (p, m), -1)
STRUCK("file", int, fstat, (int i, struct stat* p) noexcept, (i, p), -1)
STRUCK("file", int, fstatat, (int i, const char* q, struct stat* p, int f) noexcept, (i, q, p, f), -1)
STRUCK("file", int, fchmod, (int i, mode_t m) noexcept, (i, m), -1)
STRUCK("file", off_t, lseek, (int i, off_t o, int w) noexcept, (i, o, w), -1)
STRUCK("file", ssize_t, pread, (int i, void* p, size_t n, off_t o), (i, p, n, o), -1)
STRUCK("file", ssize_t, pwrite, (int i, const void* p, size_t n, off_t o), (i, p, n, o), -1)
STRUCK("file", int, ftruncate, (int i, off_t o) noexcept, (i, o), -1)
STRUCK("file", int, posix_fallocate, (int i, off_t o, off_t n), (i, o, n), EIO)
STRUCK("file", void*, mmap, (void* p, size_t n, int r, int f, int i, off_t o) noexcept, (p, n, r, f, i, o), MAP_FAILED)
STRUCK("file", int, getrlimit, (__rlimit_resource_t e, struct rlimit* p) noexcept, (e, p), -1)
STRUCK("file", int, unlinkat, (int i, const char* p, int f) noexcept, (i, p, f), -1)
STRUCK("file", DIR*, fdopendir, (int i), (i), nullptr)
STRUCK("file", dirent*, readdir, (DIR * p), (p), nullptr)
STRUCK("file", int, renameat, (int i, const char* p, int j, const char* q) noexcept, (i, p, j, q), -1)

// Their last argument may be absent; it is passed on all the same.
#define STRUCK_VARIADIC(name, parameters, before, TLast, ...)                                                \
    int name parameters                                                                                      \
    {                                                                                                        \
        va_list argList;                                                                                     \
        va_start(argList, before);                                                                           \
        const auto last = va_arg(argList, TLast);                                                            \
        va_end(argList);                                                                                     \
        return Strikes("file", #name) ? (errno = EIO, -1) : Next<decltype(&name)>(#name)(__VA_ARGS__, last); \
    }
STRUCK_VARIADIC(open, (const char* p, int f, ...), f, mode_t, p, f)
STRUCK_VARIADIC(openat, (int i, const char* p, int f, ...), f, mode_t, i, p, f)
STRUCK_VARIADIC(fcntl, (int i, int c, ...), c, void*, i, c)

int dlclose(void* pvLibrary)
{
    static const auto s_pfnNext = Next<int (*)(void*)>("dlclose");
    if (Strikes("moment", "dlclose")) raise(std::atoi(s_acHow));
    return s_pfnNext(pvLibrary);
}

// A signal comes while the wait is under way, two milliseconds into it.
int pthread_cond_timedwait(pthread_cond_t* poCond, pthread_mutex_t* poMutex, const timespec* poDeadline)
{
    static const auto s_pfnNext = Next<decltype(&pthread_cond_timedwait)>("pthread_cond_timedwait");
    if (std::strcmp(s_acKind, "watch") == 0) s_oWatch.OnWait(*poDeadline);
    if (Strikes("moment", "a wait"))
    {
        sigevent oEvent         = {};
        timer_t  hTimer         = nullptr;
        oEvent.sigev_notify     = SIGEV_SIGNAL;
        oEvent.sigev_signo      = std::atoi(s_acHow);
        const itimerspec oAfter = {.it_interval = {}, .it_value = {.tv_sec = 0, .tv_nsec = 2'000'000}};
        if (timer_create(CLOCK_MONOTONIC, &oEvent, &hTimer) != 0 || timer_settime(hTimer, 0, &oAfter, nullptr) != 0)
            std::abort();
    }
    static int s_iWaits = 0;
    if (s_bFast && ++s_iWaits == 1000)  // who cannot read the progress waits for ever
        raise(SIGTERM);
    return s_bFast ? ETIMEDOUT : s_pfnNext(poCond, poMutex, poDeadline);
}

void* dlsym(void* pvLibrary, const char* pszName)
{
    static const auto s_pfnNext = Next<void* (*)(void*, const char*)>("dlsym");
    void* const       pvReal    = s_pfnNext(pvLibrary, pszName);
    if (std::strcmp(pszName, "Tavrin_GetDeviceCount") == 0 && Strikes("moment", "loading the library"))
        raise(std::atoi(s_acHow));
#define OPERATION(Result, Name, Parameters, Arguments)         \
    if (pvReal != nullptr && std::strcmp(pszName, #Name) == 0) \
        return SOperation<__COUNTER__, decltype(Name)>::StandBefore(#Name, pvReal);
    TAVRIN_OPERATION_TABLE(OPERATION)
    return pvReal;
}
}
