#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

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
    KBOOL32 bIsMade = FALSE;
    try { bIsMade = fnCreate(hHandle); } catch (const std::bad_alloc&) {}
    EXPECT_TRUE(bIsMade == (hHandle != nullptr) && fnDestroy(hHandle) == bIsMade);
    return bIsMade;
}

KUINT32 StoreThreadId(void* pvUserData)
{
    return *static_cast<HCpuThreadId*>(pvUserData) = g_oOsServices.GetCurrentThreadId(), 7;
}

// A thread, which runs to its end.
KBOOL32 Thread()
{
    HCpuThreadId hRan = 0;
    return MakeAndUnmake<HCpuThread>([&](auto& rh) { return g_oOsServices.CpuThread_Create(StoreThreadId, &hRan, rh); },
                                     [&](auto h) {
                                         EXPECT_TRUE(g_oOsServices.CpuThread_Join(h) == (h != nullptr) && !h == !hRan);
                                         EXPECT_FALSE(g_oOsServices.IsThreadIdEqual(hRan, g_oOsServices.GetCurrentThreadId()));
                                         return g_oOsServices.CpuThread_Destroy(h);
                                     });
}

KBOOL32 Mapping()
{
    void* const pvMemory = g_oOsServices.IoMap(0x1010, 8, FALSE);
    g_oOsServices.IoUnMap(pvMemory, 12345);
    return pvMemory != nullptr && g_oQelVxdMapList.pNext == &g_oQelVxdMapList;
}

#define KIND(Name) KBOOL32 Name() { return MakeAndUnmake<H##Name>([](auto& rh) { return g_oOsServices.Name##_Create(rh); },   \
                                                                  [](auto h) { return g_oOsServices.Name##_Destroy(h); }); }
KIND(Event)
KIND(Signal)
KIND(SpinLock)
KIND(Mutex)
KIND(StackTrace)

TEST(Services, FailuresUnderneathLeaveNothingBehind)
{
    const std::pair<const char*, std::vector<KBOOL32 (*)()>> aoRows[] = {
        {nullptr, {Event, Signal, SpinLock, Mutex, StackTrace, Thread}},
        {"_Znam", {Event, Signal, SpinLock, Mutex, StackTrace, Thread}},
        {"pthread_mutex_init", {Event, Signal, Mutex}},
        {"pthread_cond_init", {Event, Signal}}, {"pthread_mutexattr_init", {Mutex}}, {"pthread_mutexattr_settype", {Mutex}},
        {"pthread_spin_init", {SpinLock}}, {"pthread_create", {Thread}}, {"_ZnwmRKSt9nothrow_t", {Thread}},
        {"open", {Mapping}}, {"_ZnwmRKSt9nothrow_t", {Mapping}}, {nullptr, {Mapping}},
        {"fopen", {[] { return KBOOL32{OsServices_GetParentPid(getpid()) != 0}; },
                   [] { char ac[] = "old"; OsServices_GetProcessName(getpid(), ac, 3); return KBOOL32{ac[0] != 0}; }}},
    };
    const SMemoryFile oFile;
    for (const auto& [pszCall, apfnWork] : aoRows)
        for (const auto pfnWork : apfnWork)
        {
            const auto oBefore = Held();
            FailNext(pszCall, EAGAIN);
            EXPECT_EQ(pfnWork(), pszCall == nullptr) << pszCall;
            EXPECT_TRUE(HasFailed() && Held() == oBefore) << pszCall;
        }
    EXPECT_FALSE(MakeAndUnmake<HCpuThread>([](auto& rh) { return g_oOsServices.CpuThread_Create(nullptr, nullptr, rh); },
                                           OsServices_CpuThread_Destroy));
}

TEST(Services, NullHandlesAreRefused)
{
    for (const KBOOL32 bResult :
         {OsServices_Event_Create(nullptr), OsServices_Event_Trigger(nullptr), OsServices_Event_Reset(nullptr),
          OsServices_Event_Cancel(nullptr), OsServices_Event_Activate(nullptr), OsServices_Signal_Create(nullptr),
          OsServices_Signal_Trigger(nullptr), OsServices_Signal_Cancel(nullptr), OsServices_Signal_Activate(nullptr),
          OsServices_CpuThread_Create(StoreThreadId, nullptr, nullptr), OsServices_SpinLock_Create(nullptr, 0),
          OsServices_SpinLock_Lock(nullptr, TRUE), OsServices_SpinLock_Unlock(nullptr), OsServices_Mutex_Create(nullptr),
          OsServices_Mutex_Acquire(nullptr, NO_LIMIT), OsServices_Mutex_Release(nullptr), OsServices_StackTrace_Save(nullptr),
          OsServices_Event_Wait(nullptr, 0) - TStatus_FAIL, OsServices_Signal_Wait(nullptr, 0, 0) - TStatus_FAIL})
        EXPECT_EQ(bResult, FALSE);
}

TEST(Services, OutsideServicesGetTheirFourOperationsAndNoOther)
{
    struct SOutside : IOsServices
    {
        KUINT32 GetIrql() override { return 0x1FF; }
        KBOOL32 Event_Create(HEvent& rh) override { return rh = nullptr, 21; }
        KBOOL32 Event_Trigger(HEvent) override { return 22; }
        KBOOL32 Signal_Create(HSignal& rh) override { return rh = nullptr, 23; }
        KBOOL32 Signal_Trigger(HSignal) override { return 24; }
    } oOutside;
    OsServices oServices(static_cast<IOsServices*>(&oOutside));
    HEvent     hEvent;
    HSignal    hSignal;
    EXPECT_TRUE(oServices.Event_Create(hEvent) == 21 && oServices.Event_Trigger(hEvent) == 22);
    EXPECT_TRUE(oServices.Signal_Create(hSignal) == 23 && oServices.Signal_Trigger(hSignal) == 24);
    EXPECT_TRUE(!oServices.Event_Reset(hEvent) && !oServices.Signal_Cancel(hSignal) && !oServices.Event_Destroy(hEvent));
}

TEST(Services, LocksExcludeAndTheMutexIsRecursiveAndTimesOut)
{
    HMutex    hMutex    = nullptr;
    HSpinLock hSpinLock = nullptr;
    ASSERT_TRUE(g_oOsServices.Mutex_Create(hMutex) && g_oOsServices.SpinLock_Create(hSpinLock));
    const auto fnAcquireElsewhere = [&](KUINT32 uiMs) {
        const auto fnTry = [=] { return g_oOsServices.Mutex_Acquire(hMutex, uiMs) && g_oOsServices.Mutex_Release(hMutex); };
        return std::async(std::launch::async, fnTry).get();
    };
    EXPECT_TRUE(g_oOsServices.Mutex_Acquire(hMutex, NO_LIMIT) && g_oOsServices.Mutex_Acquire(hMutex, 0));
    const KUINT64 uiStart = g_oOsServices.GetRawTimeInNs();
    EXPECT_EQ(OutputOf([&] { EXPECT_FALSE(fnAcquireElsewhere(10)); }), "");
    EXPECT_GE(g_oOsServices.GetRawTimeInNs() - uiStart, 10'000'000u);
#if !defined(__SANITIZE_THREAD__)  // which reports what is done here on purpose
    EXPECT_FALSE(g_oOsServices.Mutex_Destroy(hMutex)) << "a held one stays";
    EXPECT_FALSE(std::async(std::launch::async, [=] { return g_oOsServices.Mutex_Release(hMutex); }).get()) << "another thread's";
#endif
    EXPECT_TRUE(g_oOsServices.Mutex_Release(hMutex) && !fnAcquireElsewhere(0));
    EXPECT_TRUE(g_oOsServices.Mutex_Release(hMutex) && fnAcquireElsewhere(0) && fnAcquireElsewhere(NO_LIMIT));
    for (const int iError : {EINVAL, EAGAIN})
    {
        FailNext("pthread_mutex_timedlock", iError);
        const std::string sText = OutputOf([&] { EXPECT_FALSE(g_oOsServices.Mutex_Acquire(hMutex, 5)); });
        EXPECT_EQ(WithoutNumbers(sText), iError == EINVAL ? "pthread_mutex_timedlock" + INVALID_DEADLINE : "");
    }
    int        iCount  = 0;
    const auto fnCount = [&] {
        for (int i = 0; i < 2'000; ++i, g_oOsServices.SpinLock_Unlock(hSpinLock))
            iCount += g_oOsServices.SpinLock_Lock(hSpinLock);
    };
    const auto oOther = std::async(std::launch::async, fnCount);
    fnCount();
    oOther.wait();
    EXPECT_EQ(iCount, 4'000);
    EXPECT_TRUE(g_oOsServices.Mutex_Destroy(hMutex) && g_oOsServices.SpinLock_Destroy(hSpinLock));
}

TEST(Services, CopiesRandomNumbersAndTheLineOfStackTraces)
{
    char acFrom[] = "from", acTo[] = "to##";
    EXPECT_TRUE(OsServices::CopyFromUser(acFrom, acTo, 2) && OsServices::CopyToUser(acTo, acFrom + 2, 1));
    EXPECT_TRUE(std::string("fr##") == acTo && std::string("frfm") == acFrom);
    EXPECT_EQ(OutputOf([] { OsServices::StackTrace_Print(nullptr), OsServices::StackTrace_Dump(); }),
              "Print stack not supported in this configuration\nPrint stack not supported in this configuration\n");
    for (auto [uiOld, i] = std::pair{OsServices::GetRandomNonZero(), 0}; i < 1'000; ++i)
    {
        const KUINT32 uiBefore = std::exchange(uiOld, OsServices::GetRandom());
        EXPECT_TRUE(uiBefore == 0 || uiOld == ((uiBefore >> 1 | uiBefore << 31) ^ uiBefore) + uiBefore);
    }
}

TEST(Diagnostics, ParentsAndNamesOfOtherProcesses)
{
    const std::string                   sWhole   = "pr (x) -c echo; read x  -b " + std::string(20, '\0');
    const std::pair<const char*, pid_t> aoRows[] = {{"plain", getpid()}, {"a(b)[c]", getpid()}, {"a b", 0}, {"a 5 7", 7}};
    for (const auto& [pszName, iParent] : aoRows)
    {
        const std::string sProgram = testing::TempDir() + pszName;  // what the process is called
        std::filesystem::remove(sProgram);
        std::filesystem::create_symlink("/bin/sh", sProgram);
        int aiEnds[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, aiEnds), 0);
        const pid_t iPid = fork();
        if (iPid == 0)
            _exit(dup2(aiEnds[1], STDIN_FILENO) + dup2(aiEnds[1], STDOUT_FILENO)
                  + execl(sProgram.c_str(), "pr (x)", "-c", "echo; read x", "", "-b", nullptr));
        char ch = 0;
        EXPECT_EQ(read(aiEnds[0], &ch, 1), 1) << "it runs";

        EXPECT_EQ(OsServices_GetParentPid(iPid), iParent) << pszName;
        for (KUINT32 uiSize = 0; uiSize < 40; ++uiSize)
        {
            std::string sName(40, '#');
            OsServices_GetProcessName(iPid, sName.data(), uiSize);
            EXPECT_EQ(sName.substr(0, uiSize), uiSize > 0 ? sWhole.substr(0, uiSize - 1) + '\0' : "");
            EXPECT_EQ(sName.substr(uiSize), std::string(40 - uiSize, '#'));
        }
        close(aiEnds[0]);
        close(aiEnds[1]);
        waitpid(iPid, nullptr, 0);
        std::filesystem::remove(sProgram);
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
    for (KUINT32 uiSize = 0; uiSize < sWhole.size() + 3; ++uiSize)
    {
        std::string sStack(sWhole.size() + 4, '\x7F');
        EXPECT_EQ(OsServices_GetProcessStack(sStack.data(), uiSize), TStatus_OK);
        const std::string sCut = uiSize > 0 ? sWhole.substr(0, uiSize - 1) + '\0' : "";
        EXPECT_EQ(sStack, sCut + std::string(sStack.size() - sCut.size(), '\x7F')) << uiSize;
    }
    EXPECT_TRUE(OsServices_GetProcessStack(nullptr, 10) == TStatus_INVALID_PARAM && Held() == oBefore);
}
}
