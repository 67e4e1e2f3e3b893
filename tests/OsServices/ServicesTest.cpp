#include <malloc.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "OsServicesClient_Linux.h"
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

std::string NameOf(pid_t iPid)
{
    char acName[512] = "old";
    OsServices_GetProcessName(iPid, acName, sizeof(acName));
    return acName;
}

// A thread, which runs to its end.
KBOOL32 Thread()
{
    HCpuThreadId hRan   = 0;
    const auto   pfnRun = [](void* pv) {
        return static_cast<KUINT32>(*static_cast<HCpuThreadId*>(pv) = g_oOsServices.GetCurrentThreadId());
    };
    const auto fnStop = [&](HCpuThread h) {
        EXPECT_TRUE(g_oOsServices.CpuThread_Join(h) == (h != nullptr) && !h == !hRan);
        EXPECT_TRUE(g_oOsServices.IsThreadIdEqual(hRan, hRan));
        return !g_oOsServices.IsThreadIdEqual(hRan, pthread_self()) && g_oOsServices.CpuThread_Destroy(h);
    };
    return MakeAndUnmake<HCpuThread>([&](auto& rh) { return g_oOsServices.CpuThread_Create(pfnRun, &hRan, rh); }, fnStop);
}

// clang-format off
#define KIND(Name)                                                                              \
    KBOOL32 Name()                                                                              \
    {                                                                                           \
        return MakeAndUnmake<H##Name>([](auto& rh) { return g_oOsServices.Name##_Create(rh); }, \
                                      [](auto h) { return g_oOsServices.Name##_Destroy(h); });  \
    }
KIND(Event) KIND(Signal) KIND(SpinLock) KIND(Mutex) KIND(StackTrace)
    // clang-format on

    TEST(Services, FailuresUnderneathLeaveNothingBehind)
{
    const auto oBefore = Held();
    for (const auto pfn : {Event, Signal, SpinLock, Mutex, StackTrace, Thread}) EXPECT_TRUE(pfn() && Held() == oBefore);
    ExpectFailures({"_ZnamRKSt9nothrow_t"}, {Event, Signal, SpinLock, Mutex, StackTrace, Thread});
    ExpectFailures({"pthread_mutex_init"}, {Event, Signal, Mutex});
    ExpectFailures({"pthread_cond_init"}, {Event, Signal});
    ExpectFailures({"pthread_spin_init"}, {SpinLock});
    ExpectFailures({"pthread_mutexattr_init", "pthread_mutexattr_settype"}, {Mutex});
    ExpectFailures({"_ZnwmRKSt9nothrow_t", "pthread_create"}, {Thread});
    EXPECT_EQ(OsServices::PagedMemory_Alloc(~KUINTPTR{0} / 4), nullptr);
    ExpectFailures({"usleep"}, {[] { return g_oOsServices.SleepMilliSeconds(1); },
                                [] { return OsServices::WaitMicroSeconds(100'001); }});
    ExpectFailures({"fopen"}, {[] { return KBOOL32{OsServices_GetParentPid(getpid()) != 0}; },
                               [] { return KBOOL32{NameOf(getpid()) != ""}; }});
    const auto fnNoFunction = [](auto& rh) { return g_oOsServices.CpuThread_Create(nullptr, nullptr, rh); };
    EXPECT_FALSE(MakeAndUnmake<HCpuThread>(fnNoFunction, OsServices_CpuThread_Destroy));
}

TEST(Services, WhatDoesNotExistIsRefusedOrSaysSo)
{
    const std::string sLine = "Print stack not supported in this configuration\n";
    EXPECT_EQ(OutputOf([] { OsServices::StackTrace_Print(nullptr), OsServices::StackTrace_Dump(); }), sLine + sLine);
    HNonPagedMem hMemory = nullptr;
    EXPECT_TRUE(!g_oOsServices.NonPagedMemory_Alloc(8, &hMemory) &&
                !g_oOsServices.NonPagedMemory_GetPhysicalAddress(hMemory));
    const std::array<KBOOL32, 8> abAnswers = {
        g_oOsServices.Mutex_Acquire(nullptr, 0), g_oOsServices.Mutex_Acquire(nullptr, NO_LIMIT),
        g_oOsServices.SpinLock_Lock(nullptr),    OsServices::StackTrace_Save(nullptr),
        OsServices_Mutex_Create(nullptr),        OsServices_Event_Create(nullptr),
        OsServices_Signal_Create(nullptr),       OsServices_Event_Reset(nullptr)};
    EXPECT_EQ(abAnswers, decltype(abAnswers){});
    EXPECT_EQ((std::array{OsServices_StackTrace_GetHandleSize(), OsServices_SpinLock_GetHandleSize(),
                          OsServices_CpuThread_GetHandleSize()}),
              (std::array<KUINT32, 3>{4, 4, 8}));
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
    EXPECT_TRUE(!g_oOsServices.Mutex_Destroy(hMutex) && !fnElsewhere(fnRelease)) << "a held one stays";
#endif
    EXPECT_TRUE(fnRelease() && !fnAcquireElsewhere(0) && fnRelease() && fnAcquireElsewhere(0) &&
                fnAcquireElsewhere(NO_LIMIT));
    FailNext("pthread_mutex_timedlock", EINVAL);
    const std::string sText = OutputOf([&] { EXPECT_FALSE(g_oOsServices.Mutex_Acquire(hMutex, 5)); });
    EXPECT_EQ(WithoutNumbers(sText), "pthread_mutex_timedlock" + INVALID_DEADLINE);
    EXPECT_TRUE(g_oOsServices.Mutex_Destroy(hMutex));
}

TEST(Services, SpinLockKeepsTheOthersOut)
{
    HSpinLock hSpinLock = nullptr;
    ASSERT_TRUE(g_oOsServices.SpinLock_Create(hSpinLock));
    int        iCount  = 0;
    const auto fnCount = [&] {
        for (int i = 0; i < 200; ++i)
        {
            EXPECT_TRUE(g_oOsServices.SpinLock_Lock(hSpinLock));
            const int iOld = iCount;
            std::this_thread::yield();
            iCount = iOld + 1;  // whoever came in meanwhile loses his count
            EXPECT_TRUE(g_oOsServices.SpinLock_Unlock(hSpinLock));
        }
    };
    for (const std::jthread& roThread : {std::jthread(fnCount), std::jthread(fnCount), std::jthread(fnCount)})
        EXPECT_TRUE(roThread.joinable());
    EXPECT_EQ(std::pair(int{iCount}, g_oOsServices.SpinLock_Destroy(hSpinLock)), std::pair(600, TRUE));
}

TEST(Services, FourOperationsGoToTheServicesFromOutside)
{
    struct Outside : IOsServices
    {
        KUINT32 GetIrql() override { return 0x1234; }
        KBOOL32 Event_Create(HEvent& rh) override { return rh = nullptr, 2; }
        KBOOL32 Event_Trigger(HEvent h) override { return h == nullptr ? 3 : 0; }
        KBOOL32 Signal_Create(HSignal& rh) override { return rh = nullptr, 4; }
        KBOOL32 Signal_Trigger(HSignal h) override { return h == nullptr ? 5 : 0; }
    } oOutside;
    OsServices oServices(static_cast<IOsServices*>(&oOutside));
    auto       hEvent  = reinterpret_cast<HEvent>(0x20);
    auto       hSignal = reinterpret_cast<HSignal>(0x20);
    EXPECT_EQ((std::tuple{oServices.Event_Create(hEvent), oServices.Event_Trigger(hEvent)}), std::tuple(2, 3));
    EXPECT_EQ((std::tuple{oServices.Signal_Create(hSignal), oServices.Signal_Trigger(hSignal)}), std::tuple(4, 5));
    EXPECT_EQ(std::tuple(oServices.m_uiIrql, g_oOsServices.m_uiIrql), std::tuple(0x34, 0));
    EXPECT_TRUE(g_oOsServices.Event_Create(hEvent) && oServices.Event_Cancel(hEvent) && oServices.Event_Destroy(hEvent));
}

TEST(Services, CopiesTakeTheSourceFirstAndRandomNumbersFollowOneAnother)
{
    char acFrom[] = "from", acTo[] = "to##";
    EXPECT_TRUE(OsServices::CopyFromUser(acFrom, acTo, 2) && OsServices::CopyToUser(acTo, acFrom + 2, 1));
    EXPECT_EQ(std::pair(std::string(acTo), std::string(acFrom)), (std::pair<std::string, std::string>("fr##", "frfm")));
    for (KUINT32 i = 0, uiOld = OsServices::GetRandomNonZero(), uiNew; i < 1'000; ++i, uiOld = uiNew)
        EXPECT_TRUE(((uiNew = OsServices::GetRandom()) == ((uiOld >> 1 | uiOld << 31) ^ uiOld) + uiOld) || uiOld == 0);
    KUINT32 ui = 0xFFFFFFFD;  // 0 is next
    EXPECT_TRUE(OsServices_GetNextRandomNonZero(&ui) && OsServices_GetRandomNonZero() && OsServices::GetRandomNonZero());
    const auto uiBefore = mallinfo2().hblkhd + mallinfo2().uordblks;
    OsServices::PagedMemory_Free(std::memset(OsServices::PagedMemory_Alloc(1 << 26), 0, 8));
    for (KUINT32 i = 0, uiSeed = 0; i < 20; ++i, uiSeed = 0) OsServices_GetNextRandom(&uiSeed);
    EXPECT_EQ(mallinfo2().hblkhd + mallinfo2().uordblks, uiBefore) << "given back to the heap";
}

TEST(Diagnostics, ParentsAndNamesOfOtherProcesses)
{
    const auto                          oBefore  = Held();
    const std::string                   sWhole   = "pr (x) -c echo; read x  -b " + std::string(20, '\0');
    const std::pair<const char*, pid_t> aoRows[] = {{"plain", getpid()}, {"a(b)[c]", getpid()}, {"a b", 0}, {"a 5 7", 7}};
    for (const auto& [pszName, iParent] : aoRows)
    {
        const TestFolder  oFolder;
        const std::string sProgram = oFolder / pszName;  // what the process is called
        std::filesystem::create_symlink("/bin/sh", sProgram);
        int aiEnds[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, aiEnds), 0);
        const pid_t iPid = fork();
        if (iPid == 0)
            _exit(dup2(aiEnds[1], STDIN_FILENO) + dup2(aiEnds[1], STDOUT_FILENO) +
                  execl(sProgram.c_str(), "pr (x)", "-c", "echo; read x", "", "-b", nullptr));
        char ch;
        EXPECT_EQ(read(aiEnds[0], &ch, 1), 1) << "it runs";
        EXPECT_EQ(OsServices_GetParentPid(iPid), iParent) << pszName;
        ExpectCut(sWhole, [=](char* pch, KUINT32 uiSize) { OsServices_GetProcessName(iPid, pch, uiSize); });
        EXPECT_EQ(std::pair(close(aiEnds[0]), close(aiEnds[1])), std::pair(0, 0)) << "it ends";
        while (NameOf(iPid) != "") EXPECT_EQ(OsServices_GetParentPid(iPid), iParent);
        EXPECT_EQ(OsServices_GetParentPid(iPid), iParent) << "dead, and not yet buried";
        EXPECT_EQ(waitpid(iPid, nullptr, 0), iPid);
        EXPECT_EQ(std::tuple(NameOf(iPid), OsServices_GetParentPid(iPid)), std::tuple("", 0));
    }
    EXPECT_EQ(Held(), oBefore);
}

TEST(Diagnostics, ProcessStackIsCutToEveryBuffer)
{
    const auto  oBefore = Held();
    std::string sWhole;
    for (pid_t iPid = getpid(), iChild = 2; iChild > 1; iChild = std::exchange(iPid, OsServices_GetParentPid(iPid)))
        sWhole += NameOf(iPid) + "\n";
    ExpectCut(sWhole, [](char* pch, KUINT32 uiSize) { EXPECT_EQ(OsServices_GetProcessStack(pch, uiSize), TStatus_OK); });
    KCHAR8 acAll[0x8000];
    EXPECT_TRUE(OsServices_GetProcessStack(acAll, sizeof(acAll)) == TStatus_OK && acAll == sWhole) << "process 1 is last";
    EXPECT_EQ(OsServices_GetProcessStack(nullptr, 10), TStatus_INVALID_PARAM);
    EXPECT_EQ(Held(), oBefore);
}
}
