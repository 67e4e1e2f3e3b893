#include <cerrno>
#include <ctime>
#include <random>
#include <thread>
#include <vector>

#include "OsServicesClient_Linux.h"
#include "QelVxd.h"
#include "Support.h"

namespace
{
constexpr KUINT32 NO_LIMIT = 0xFFFFFFFF;

// An event or a signal of g_oOsServices, so that one test serves both.
struct SWaitable
{
    explicit SWaitable(bool bIsEvent) : m_bIsEvent(bIsEvent)
    {
        EXPECT_TRUE(bIsEvent ? g_oOsServices.Event_Create(m_hEvent) : g_oOsServices.Signal_Create(m_hSignal));
    }
    ~SWaitable()
    {
        EXPECT_TRUE(m_bIsEvent ? g_oOsServices.Event_Destroy(m_hEvent) : g_oOsServices.Signal_Destroy(m_hSignal));
    }
    SWaitable(const SWaitable&) = delete;
    TStatus Wait(KUINT32 uiMs)
    {
        return m_bIsEvent ? g_oOsServices.Event_Wait(m_hEvent, uiMs) : g_oOsServices.Signal_Wait(m_hSignal, uiMs, 7);
    }
    KBOOL32 Trigger()
    {
        return m_bIsEvent ? g_oOsServices.Event_Trigger(m_hEvent) : g_oOsServices.Signal_Trigger(m_hSignal);
    }
    KBOOL32 Cancel()
    {
        return m_bIsEvent ? g_oOsServices.Event_Cancel(m_hEvent) : g_oOsServices.Signal_Cancel(m_hSignal);
    }
    KBOOL32 Activate()
    {
        return m_bIsEvent ? g_oOsServices.Event_Activate(m_hEvent) : g_oOsServices.Signal_Activate(m_hSignal);
    }
    KBOOL32 Reset() { return m_bIsEvent ? g_oOsServices.Event_Reset(m_hEvent) : TRUE; }

    bool    m_bIsEvent;
    HEvent  m_hEvent  = nullptr;
    HSignal m_hSignal = nullptr;
};

class Waits : public testing::TestWithParam<bool>
{
protected:
    SWaitable m_oObject{GetParam()};

    // Runs fnAct while that many threads are blocked in a wait, and returns how their waits ended.
    std::vector<TStatus> WaitWhile(size_t uiWaits, KUINT32 uiMs, const std::function<void()>& fnAct)
    {
        std::vector<TStatus>     aeStatus(uiWaits, TStatus_INVALID_PARAM);
        std::vector<std::thread> aoThreads;
        const int                iBlocked = g_iWaitsBegun + static_cast<int>(uiWaits);
        for (TStatus& reStatus : aeStatus)
            aoThreads.emplace_back([&reStatus, uiMs, this] { reStatus = m_oObject.Wait(uiMs); });
        Await([=] { return g_iWaitsBegun >= iBlocked; });
        fnAct();
        for (std::thread& roThread : aoThreads)
            roThread.join();
        return aeStatus;
    }
};
INSTANTIATE_TEST_SUITE_P(Of, Waits, testing::Values(true, false),
                         [](const auto& roInfo) { return roInfo.param ? "Event" : "Signal"; });

TEST_P(Waits, SingleThreadedStatesFollowTheModel)
{
    std::minstd_rand oRandom(1);
    bool             bIsActive = true, bIsPending = false;
    for (int i = 0; i < 20'000; ++i)
    {
        SCOPED_TRACE(i);
        switch (oRandom() % 5)
        {
        case 0:
            ASSERT_EQ(m_oObject.Wait(0), !bIsActive ? TStatus_CANCELED : bIsPending ? TStatus_OK : TStatus_TIMEOUT);
            bIsPending = false;
            break;
        case 1:
            ASSERT_EQ(m_oObject.Trigger(), bIsActive);
            bIsPending = bIsPending || (bIsActive && GetParam());
            break;
        case 2:
            ASSERT_EQ(m_oObject.Reset(), TRUE);
            bIsPending = false;
            break;
        case 3:
            ASSERT_EQ(m_oObject.Cancel(), bIsActive);
            bIsPending = bIsPending || (bIsActive && GetParam());
            bIsActive  = false;
            break;
        default:
            ASSERT_EQ(m_oObject.Activate(), TRUE);
            bIsActive = true;
        }
    }
}

TEST_P(Waits, EveryWaitThatIsBlockedGetsItsEnd)
{
    constexpr size_t  uiWaits = 3;
    const std::vector aeAllOk(uiWaits, TStatus_OK), aeAllCanceled(uiWaits, TStatus_CANCELED);
    for (const KUINT32 uiMs : {NO_LIMIT, 3'600'000u})
        for (int i = 0; i < 40; ++i)
        {
            EXPECT_EQ(WaitWhile(uiWaits, uiMs, [&] {
                          for (size_t j = 0; j < (GetParam() ? uiWaits : 1); ++j)
                              EXPECT_TRUE(m_oObject.Trigger() && m_oObject.Reset());
                      }), aeAllOk);
            EXPECT_EQ(WaitWhile(uiWaits, uiMs, [&] { EXPECT_TRUE(m_oObject.Cancel() && !m_oObject.Cancel()); }),
                      aeAllCanceled);
            EXPECT_TRUE(m_oObject.Activate());
            for (TStatus eStatus : WaitWhile(uiWaits, uiMs, [&] { EXPECT_TRUE(m_oObject.Cancel() && m_oObject.Activate()); }))
                EXPECT_TRUE(eStatus == TStatus_OK || eStatus == TStatus_CANCELED) << eStatus;
            EXPECT_EQ(m_oObject.Wait(0), TStatus_TIMEOUT) << "the waits consumed what was pending";
        }
}

TEST_P(Waits, WakeUpWithoutReasonEndsNoWait)
{
    const KUINT64 uiStart = g_oOsServices.GetRawTimeInNs();
    g_iSpuriousWakeUps    = 5;
    EXPECT_EQ(m_oObject.Wait(20), TStatus_TIMEOUT);
    EXPECT_EQ(g_iSpuriousWakeUps, 0);
    EXPECT_GE(g_oOsServices.GetRawTimeInNs() - uiStart, 20'000'000u);

    g_iSpuriousWakeUps = 5;
    EXPECT_EQ(WaitWhile(1, 3'600'000, [&] { m_oObject.Trigger(); }), std::vector{TStatus_OK});
}

TEST_P(Waits, StormOfAllOperationsLosesNoWakeUp)
{
    std::atomic<int>         iTriggers{0}, iCancels{0}, iEnded{0};
    std::atomic<bool>        bIsOver{false};
    std::vector<std::thread> aoThreads;
    for (int iThread = 0; iThread < 3; ++iThread)
        aoThreads.emplace_back([&, iThread] {
            for (int iOwn = 0; iThread == 0 ? iOwn < 2'000 : !bIsOver; ++iOwn)
                if (m_oObject.Wait(iThread == 0 ? NO_LIMIT : static_cast<KUINT32>(iOwn % 2)) == TStatus_OK)
                    ++iEnded;
                else if (iThread == 0)
                    --iOwn;
            bIsOver = bIsOver || iThread == 0;
        });
    for (int i = 0; !bIsOver; ++i)
    {
        iTriggers += m_oObject.Trigger();
        if (i % 7 == 0)
        {
            iCancels += m_oObject.Cancel();
            m_oObject.Activate();
        }
        std::this_thread::yield();
    }
    for (std::thread& roThread : aoThreads)
        roThread.join();
    EXPECT_TRUE(!GetParam() || iEnded <= iTriggers + 4 * iCancels) << "a trigger ended more than one wait";
}

TEST_P(Waits, WakeFailureIsReportedAndPutBack)
{
    for (const bool bCancel : {false, true})
    {
        const auto aeStatus = WaitWhile(1, NO_LIMIT, [&] {
            FailNext(bCancel || !GetParam() ? "pthread_cond_broadcast" : "pthread_cond_signal", EINVAL);
            EXPECT_FALSE(bCancel ? m_oObject.Cancel() : m_oObject.Trigger());
            EXPECT_TRUE(HasFailed());
            EXPECT_EQ(m_oObject.Wait(0), bCancel ? TStatus_CANCELED : TStatus_TIMEOUT);
            EXPECT_TRUE(m_oObject.Activate());
            EXPECT_TRUE(m_oObject.Trigger()) << "the blocked wait is still there to be ended";
        });
        EXPECT_EQ(aeStatus, std::vector{TStatus_OK});
    }
}

TEST_P(Waits, WaitErrorsHaveTheirResultsAndLines)
{
    const struct
    {
        const char* pszCall;
        int         iError;
        TStatus     eStatus;
    } aoRows[] = {
        {"pthread_cond_wait", EPERM, TStatus_CANCELED},
        {"pthread_cond_timedwait", EPERM, TStatus_FAIL},
        {"pthread_cond_timedwait", ETIMEDOUT, TStatus_TIMEOUT},
        {"pthread_cond_timedwait", EINVAL, TStatus_TIMEOUT},
        {"clock_gettime", EINVAL, TStatus_TIMEOUT},
    };
    for (const auto& roRow : aoRows)
    {
        SCOPED_TRACE(roRow.pszCall);
        FailNext(roRow.pszCall, roRow.iError);
        const std::string sText = OutputOf([&] {
            EXPECT_EQ(m_oObject.Wait(std::string("pthread_cond_wait") == roRow.pszCall ? NO_LIMIT : 3'000), roRow.eStatus);
        });
        EXPECT_TRUE(HasFailed());
        long       aiNumbers[4] = {};
        const bool bIsPrinted   = std::sscanf(sText.c_str(),
                                              "pthread_cond_timedwait returned 22 INVALID\nTimeOut occurs Req timespec.tv_sec="
                                              "%ld,timespec.tv_nsec=%ld, Now timespec.tv_sec=%ld,timespec.tv_nsec=%ld",
                                              &aiNumbers[0], &aiNumbers[1], &aiNumbers[2], &aiNumbers[3]) == 4;
        EXPECT_EQ(bIsPrinted, roRow.iError == EINVAL && roRow.pszCall[0] == 'p') << sText;
        EXPECT_EQ(sText.empty(), !bIsPrinted);
        const long iLeftNs = (aiNumbers[0] - aiNumbers[2]) * 1'000'000'000 + aiNumbers[1] - aiNumbers[3];
        EXPECT_TRUE(!bIsPrinted || (iLeftNs > 0 && iLeftNs <= 3'000'000'000)) << sText;
        EXPECT_TRUE(m_oObject.Trigger()) << "no place of a wait is left behind";
        EXPECT_EQ(m_oObject.Wait(0), GetParam() ? TStatus_OK : TStatus_TIMEOUT);
    }
}

TEST(Time, WaitsLastAndReportWhatTheySay)
{
    KUINT64 uiBefore = 0, uiAfter = 0, uiFrequency = 0;
    OsServices::SetMsgLevel(TRUE, TRUE, TRUE);
    OsServices::SetMsgPrefixEnable(FALSE);
    const struct
    {
        KUINT32     uiMicroSeconds, uiAtLeast;
        const char* pszText;
    } aoRows[] = {
        {0, 0, ""},
        {1'500, 1'500, ""},
        {100'000, 100'000, ""},
        {102'999, 102'000, "OsServices::WaitMicroSeconds(102999) with delay greater than 100000 us isn't reliable, using "
                           "SleepMilliSeconds(102) command instead)\n"},
    };
    EXPECT_EQ(tmInit() + tmFrequency(&uiFrequency), 2u);
    EXPECT_EQ(uiFrequency, 1'000'000u);
    for (const auto& roRow : aoRows)
    {
        EXPECT_EQ(tmCounter(&uiBefore), 1u);
        EXPECT_EQ(OutputOf([&] { EXPECT_TRUE(OsServices::WaitMicroSeconds(roRow.uiMicroSeconds)); }), roRow.pszText);
        EXPECT_EQ(tmCounter(&uiAfter), 1u);
        EXPECT_GE(uiAfter - uiBefore, roRow.uiAtLeast);
    }
    OsServices::SetMsgLevel(TRUE, TRUE, FALSE);
    OsServices::SetMsgPrefixEnable(TRUE);

    const KUINT64 uiMs = g_oOsServices.GetTimeInMs();
    EXPECT_LE(uiMs, g_oOsServices.GetRawTimeInNs() / 1'000'000);
    EXPECT_LT(static_cast<KUINT64>(std::time(nullptr) - 2) * 1'000, uiMs);

    uiAfter = 5;
    FailNext("clock_gettime", EINVAL);
    EXPECT_EQ(tmCounter(&uiAfter), 0u);
    EXPECT_EQ(uiAfter, 5u);
    FailNext("clock_gettime", EINVAL);
    EXPECT_EQ(tmDelay(4'000'000'000u), 1u);
    FailNext("clock_gettime", EINVAL);
    EXPECT_EQ(g_oOsServices.GetRawTimeInNs(), 0u);
    FailNext("usleep", EINTR);
    EXPECT_FALSE(g_oOsServices.SleepMilliSeconds(5));
}
}
