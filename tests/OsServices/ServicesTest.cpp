#include <sys/socket.h>
#include <sys/wait.h>

#include "OsServicesClient_Linux.h"
#include "QelVxd.h"
#include "Support.h"

namespace
{
// Makes an object, which leaves a whole handle or a null one, and unmakes it; TRUE when it was made.
template <typename Handle, typename FnCreate, typename FnDestroy>
KBOOL32 MakeAndUnmake(FnCreate fnCreate, FnDestroy fnDestroy)
{
    auto    hHandle = reinterpret_cast<Handle>(0x10);
    KBOOL32 bIsMade = fnCreate(hHandle);
    EXPECT_TRUE(bIsMade == (hHandle != nullptr) && fnDestroy(hHandle) == bIsMade);
    return bIsMade;
}

KUINT32 StoreThreadId(void* pvId)
{
    return static_cast<KUINT32>(*static_cast<HCpuThreadId*>(pvId) = g_oOsServices.GetCurrentThreadId());
}

// A thread, which runs to its end.
KBOOL32 Thread()
{
    HCpuThreadId hRan   = 0;
    const auto   fnStop = [&](HCpuThread h) {
        EXPECT_TRUE(g_oOsServices.CpuThread_Join(h) == (h != nullptr) && !h == !hRan);
        return !g_oOsServices.IsThreadIdEqual(hRan, g_oOsServices.GetCurrentThreadId()) && g_oOsServices.CpuThread_Destroy(h);
    };
    return MakeAndUnmake<HCpuThread>([&](auto& rh) { return g_oOsServices.CpuThread_Create(StoreThreadId, &hRan, rh); }, fnStop);
}

KBOOL32 Mapping()
{
    void* const pvMemory = g_oOsServices.IoMap(0x1010, 8, FALSE);
    g_oOsServices.IoUnMap(pvMemory, 12345);
    return pvMemory != nullptr && g_oQelVxdMapList.pNext == &g_oQelVxdMapList;
}

#define KIND(Name) KBOOL32 Name() { return MakeAndUnmake<H##Name>([](auto& rh) { return g_oOsServices.Name##_Create(rh); },   \
                                                                  [](auto h) { return g_oOsServices.Name##_Destroy(h); }); }
KIND(Event) KIND(Signal) KIND(SpinLock) KIND(Mutex) KIND(StackTrace)

TEST(Services, FailuresUnderneathLeaveNothingBehind)
{
    const std::pair<const char*, std::vector<KBOOL32 (*)()>> aoRows[] = {
        {nullptr, {Event, Signal, SpinLock, Mutex, StackTrace, Thread, Mapping}},
        {"_ZnamRKSt9nothrow_t", {Event, Signal, SpinLock, Mutex, StackTrace, Thread}},
        {"pthread_mutex_init", {Event, Signal, Mutex}}, {"pthread_cond_init", {Event, Signal}}, {"pthread_create", {Thread}},
        {"pthread_mutexattr_init", {Mutex}}, {"pthread_mutexattr_settype", {Mutex}}, {"pthread_spin_init", {SpinLock}},
        {"open", {Mapping}}, {"_ZnwmRKSt9nothrow_t", {Mapping, Thread}},
        {"fopen", {[] { return KBOOL32{OsServices_GetParentPid(getpid()) != 0}; },
                   [] { char ac[] = "old"; OsServices_GetProcessName(getpid(), ac, 3); return KBOOL32{ac[0] != 0}; }}},
    };
    for (const auto& [pszCall, apfnWork] : aoRows)
        for (const auto pfnWork : apfnWork)
        {
            const auto oBefore = Held();
            FailNext(pszCall, EAGAIN);
            EXPECT_EQ(pfnWork(), pszCall == nullptr) << pszCall;
            EXPECT_TRUE(HasFailed() && Held() == oBefore) << pszCall;
        }
    const auto fnNoFunction = [](auto& rh) { return g_oOsServices.CpuThread_Create(nullptr, nullptr, rh); };
    EXPECT_FALSE(MakeAndUnmake<HCpuThread>(fnNoFunction, OsServices_CpuThread_Destroy));
}

TEST(Services, MutexIsRecursiveAndItsAcquireTimesOut)
{
    HMutex hMutex = nullptr;
    ASSERT_TRUE(g_oOsServices.Mutex_Create(hMutex));
    const auto fnElsewhere        = [](auto fnWork) { return std::async(std::launch::async, fnWork).get(); };
    const auto fnRelease          = [=] { return g_oOsServices.Mutex_Release(hMutex); };
    const auto fnAcquireElsewhere = [=](KUINT32 uiMs) {
        return fnElsewhere([=] { return g_oOsServices.Mutex_Acquire(hMutex, uiMs) && fnRelease(); });
    };
    EXPECT_TRUE(g_oOsServices.Mutex_Acquire(hMutex, NO_LIMIT) && g_oOsServices.Mutex_Acquire(hMutex, 0));
    const KUINT64 uiStart = g_oOsServices.GetRawTimeInNs();
    EXPECT_EQ(OutputOf([&] { EXPECT_FALSE(fnAcquireElsewhere(10)); }), "");
    EXPECT_GE(g_oOsServices.GetRawTimeInNs() - uiStart, 10'000'000u);
#if !defined(__SANITIZE_THREAD__)  // which reports what is done here on purpose
    EXPECT_FALSE(g_oOsServices.Mutex_Destroy(hMutex)) << "a held one stays";
    EXPECT_FALSE(fnElsewhere(fnRelease)) << "another thread's";
#endif
    EXPECT_TRUE(fnRelease() && !fnAcquireElsewhere(0));
    EXPECT_TRUE(fnRelease() && fnAcquireElsewhere(0) && fnAcquireElsewhere(NO_LIMIT));
    for (const int iError : {EINVAL, EAGAIN})
    {
        FailNext("pthread_mutex_timedlock", iError);
        const std::string sText = OutputOf([&] { EXPECT_FALSE(g_oOsServices.Mutex_Acquire(hMutex, 5)); });
        EXPECT_EQ(WithoutNumbers(sText), iError == EINVAL ? "pthread_mutex_timedlock" + INVALID_DEADLINE : "");
    }
    EXPECT_TRUE(g_oOsServices.Mutex_Destroy(hMutex));
}

TEST(Services, CopiesTakeTheSourceFirstAndRandomNumbersFollowOneAnother)
{
    char acFrom[] = "from", acTo[] = "to##";
    EXPECT_TRUE(OsServices::CopyFromUser(acFrom, acTo, 2) && OsServices::CopyToUser(acTo, acFrom + 2, 1));
    EXPECT_TRUE(std::string("fr##") == acTo && std::string("frfm") == acFrom);
    for (KUINT32 i = 0, uiOld = OsServices::GetRandomNonZero(), uiNew; i < 1'000; ++i, uiOld = uiNew)
        EXPECT_TRUE(((uiNew = OsServices::GetRandom()) == ((uiOld >> 1 | uiOld << 31) ^ uiOld) + uiOld) || uiOld == 0);
}

TEST(Diagnostics, ParentsAndNamesOfOtherProcesses)
{
    const std::string                   sWhole   = "pr (x) -c echo; read x  -b " + std::string(20, '\0');
    const std::pair<const char*, pid_t> aoRows[] = {{"plain", getpid()}, {"a(b)[c]", getpid()}, {"a b", 0}, {"a 5 7", 7}};
    for (const auto& [pszName, iParent] : aoRows)
    {
        std::string sFolder = testing::TempDir() + "namesXXXXXX";
        ASSERT_NE(mkdtemp(sFolder.data()), nullptr);
        const std::string sProgram = sFolder + "/" + pszName;  // what the process is called
        std::filesystem::create_symlink("/bin/sh", sProgram);
        int aiEnds[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, aiEnds), 0);
        const pid_t iPid = fork();
        if (iPid == 0)
            _exit(dup2(aiEnds[1], STDIN_FILENO) + dup2(aiEnds[1], STDOUT_FILENO)
                  + execl(sProgram.c_str(), "pr (x)", "-c", "echo; read x", "", "-b", nullptr));
        char ch;
        EXPECT_EQ(read(aiEnds[0], &ch, 1), 1) << "it runs";

        EXPECT_EQ(OsServices_GetParentPid(iPid), iParent) << pszName;
        ExpectCut(sWhole, [=](char* pch, KUINT32 uiSize) { OsServices_GetProcessName(iPid, pch, uiSize); });
        EXPECT_TRUE(close(aiEnds[0]) + close(aiEnds[1]) == 0 && waitpid(iPid, nullptr, 0) == iPid);
        std::filesystem::remove_all(sFolder);
    }
    EXPECT_EQ(OsServices_GetParentPid(0x7FFFFFFF), 0);
}

TEST(Diagnostics, ProcessStackIsCutToEveryBuffer)
{
    const auto  oBefore = Held();
    std::string sWhole;
    for (pid_t iPid = getpid(), iChild = 2; iChild > 1; iChild = std::exchange(iPid, OsServices_GetParentPid(iPid)))
    {
        char acName[512];
        OsServices_GetProcessName(iPid, acName, sizeof(acName));
        sWhole += std::string(acName) + "\n";
    }
    ExpectCut(sWhole, [](char* pch, KUINT32 uiSize) { EXPECT_EQ(OsServices_GetProcessStack(pch, uiSize), TStatus_OK); });
    EXPECT_TRUE(OsServices_GetProcessStack(nullptr, 10) == TStatus_INVALID_PARAM && Held() == oBefore);
}
}
