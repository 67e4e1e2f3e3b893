#include "OsServicesClient_Wait.h"
#include "QelVxd.h"
#include "Support.h"

namespace
{
// One name an operation, so that one test serves both kinds.
// clang-format off
#define BOTH(Operation)                                                        \
    KBOOL32 Operation(HEvent h) { return g_oOsServices.Event_##Operation(h); } \
    KBOOL32 Operation(HSignal h) { return g_oOsServices.Signal_##Operation(h); }
BOTH(Trigger) BOTH(Cancel) BOTH(Activate) BOTH(Destroy)
KBOOL32 Create(HEvent& rh) { return g_oOsServices.Event_Create(rh); }
// clang-format on
KBOOL32 Create(HSignal& rh) { return g_oOsServices.Signal_Create(rh); }
KBOOL32 Reset(HEvent h) { return g_oOsServices.Event_Reset(h); }
KBOOL32 Reset(HSignal) { return TRUE; }
TStatus Wait(HEvent h, KUINT32 uiMs) { return g_oOsServices.Event_Wait(h, uiMs); }
TStatus Wait(HSignal h, KUINT32 uiMs) { return g_oOsServices.Signal_Wait(h, uiMs, 7); }

template <typename Handle> struct Waits : testing::Test
{
    static constexpr bool IS_EVENT = std::is_same_v<Handle, HEvent>;

    Waits() { EXPECT_TRUE(Create(m_h)); }
    ~Waits() override { EXPECT_TRUE(Destroy(m_h)); }

    // Runs fnAct while that many threads are blocked in a wait, and expects how their waits end.
    template <typename FnAct> void ExpectWaits(size_t uiWaits, KUINT32 uiMs, std::vector<TStatus> aeAllowed, FnAct fnAct)
    {
        std::vector<std::jthread> aoThreads;
        const int                 iBlocked = g_iWaitsBegun + static_cast<int>(uiWaits);
        m_iOk                              = 0;
        while (aoThreads.size() < uiWaits)
            aoThreads.emplace_back([&, uiMs, this] {
                const TStatus eStatus = Wait(m_h, uiMs);
                EXPECT_TRUE(eStatus == aeAllowed.front() || eStatus == aeAllowed.back()) << eStatus;
                m_iOk += eStatus == TStatus_OK;
            });
        while (g_iWaitsBegun < iBlocked) std::this_thread::yield();
        fnAct();
        aoThreads.clear();
    }

    Handle           m_h = nullptr;
    std::atomic<int> m_iOk{0};  // waits of the latest ExpectWaits that ended so
};
TYPED_TEST_SUITE(Waits, decltype(testing::Types<HEvent, HSignal>()));

TYPED_TEST(Waits, SingleThreadedStatesFollowTheModel)
{
    const TypeParam hNull = nullptr;
    EXPECT_TRUE(Wait(hNull, 0) == TStatus_FAIL && !Trigger(hNull) && !Cancel(hNull) && !Activate(hNull) && !Destroy(hNull));
    using PfnDo               = KINT32 (*)(TypeParam);
    const PfnDo      apfnDo[] = {[](TypeParam h) -> KINT32 { return Wait(h, 0); }, Trigger, Cancel, Reset, Activate};
    std::minstd_rand oRandom(1);
    bool             bIsActive = true, bIsPending = false;
    for (int i = 0; i < 20'000; ++i)
    {
        const auto   uiDo     = oRandom() % std::size(apfnDo);
        const KINT32 iResult  = apfnDo[uiDo](this->m_h);
        const KINT32 iWaiting = !bIsActive ? TStatus_CANCELED : bIsPending ? TStatus_OK : TStatus_TIMEOUT;
        ASSERT_EQ(iResult, uiDo == 0 ? iWaiting : uiDo > 2 || bIsActive) << "operation " << uiDo << " in round " << i;
        bIsPending = uiDo != 0 && uiDo != 3 && (bIsPending || (this->IS_EVENT && bIsActive && uiDo < 3));
        bIsActive  = uiDo == 4 || (bIsActive && uiDo != 2);
    }
}

TYPED_TEST(Waits, EveryWaitThatIsBlockedGetsItsEnd)
{
    for (int i = 0; i < 80; ++i)
    {
        const KUINT32 uiMs = i % 2 == 0 ? NO_LIMIT : 3'600'000;
        this->ExpectWaits(3, uiMs, {TStatus_OK}, [&] {
            for (int j = 0; j < (this->IS_EVENT ? 3 : 1); ++j) EXPECT_TRUE(Trigger(this->m_h) && Reset(this->m_h));
        });
        this->ExpectWaits(3, uiMs, {TStatus_OK, TStatus_CANCELED}, [&] {
            EXPECT_TRUE(!this->IS_EVENT || Trigger(this->m_h));
            while (this->m_iOk < this->IS_EVENT) std::this_thread::yield();
            EXPECT_TRUE(Cancel(this->m_h) && !Cancel(this->m_h));
        });
        EXPECT_TRUE(this->m_iOk == this->IS_EVENT && Activate(this->m_h)) << "one trigger ended " << this->m_iOk;
        this->ExpectWaits(3, uiMs, {TStatus_OK, TStatus_CANCELED}, [&] { Cancel(this->m_h), Activate(this->m_h); });
        EXPECT_EQ(Wait(this->m_h, 0), TStatus_TIMEOUT) << "the waits consumed what was pending";
    }
    this->ExpectWaits(1, NO_LIMIT, {TStatus_OK}, [&] {
        g_fInsteadOfWait = [&] {
            if (this->IS_EVENT) FailNext("pthread_cond_signal", 0);  // the wake-up goes to the wait that times out
            EXPECT_TRUE(Trigger(this->m_h));
        };
        EXPECT_EQ(Wait(this->m_h, 5), TStatus_TIMEOUT);
        const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (this->m_iOk == 0 && std::chrono::steady_clock::now() < oEnd) std::this_thread::yield();
        EXPECT_EQ(this->m_iOk, 1) << "the other wait was not passed its wake-up";
        EXPECT_TRUE(Cancel(this->m_h) && Activate(this->m_h));
    });
}

TYPED_TEST(Waits, WakeUpWithoutReasonEndsNoWait)
{
    g_iSpuriousWakeUps = 3;
    this->ExpectWaits(1, 3'600'000, {TStatus_OK}, [&] { Trigger(this->m_h); });
    const KUINT64 uiStart = g_oOsServices.GetRawTimeInNs();
    g_iSpuriousWakeUps    = 3;
    EXPECT_EQ((std::pair{Wait(this->m_h, 20), int{g_iSpuriousWakeUps}}), std::pair(TStatus_TIMEOUT, 0));
    EXPECT_GE(g_oOsServices.GetRawTimeInNs() - uiStart, 20'000'000u);
}

TYPED_TEST(Waits, StormOfAllOperationsLosesNoWaitAndLeavesNoCountBehind)
{
    std::atomic<int>          iWaiting{4};
    std::vector<std::jthread> aoThreads;
    for (const KUINT32 uiMs : {0u, 1u, NO_LIMIT, NO_LIMIT})
        aoThreads.emplace_back([&, uiMs] {
            for (int i = 0; i < 400;)  // waits that got as far as to block, or found a trigger
            {
                const TStatus eStatus = Wait(this->m_h, uiMs);
                EXPECT_TRUE(eStatus != TStatus_FAIL && (eStatus != TStatus_TIMEOUT || uiMs < 2)) << eStatus;
                i += eStatus != TStatus_CANCELED;
            }
            --iWaiting;
        });
    for (const int iFirst : {0, 3})
        aoThreads.emplace_back([&, iFirst] {
            for (int i = iFirst; iWaiting > 0; ++i, std::this_thread::yield())
                i % 7 != 0 ? Trigger(this->m_h) : (Cancel(this->m_h), Activate(this->m_h));
        });
    aoThreads.clear();
    EXPECT_EQ((std::tuple{Activate(this->m_h), Reset(this->m_h), Trigger(this->m_h)}), std::tuple(TRUE, TRUE, TRUE));
    EXPECT_EQ(Wait(this->m_h, 0), this->IS_EVENT ? TStatus_OK : TStatus_TIMEOUT) << "nobody was counted as waiting";
}

TYPED_TEST(Waits, WakeFailureIsReportedAndPutBack)
{
    for (const bool bCancel : {false, true})
        this->ExpectWaits(1, NO_LIMIT, {TStatus_OK}, [&] {
            g_iSpuriousWakeUps = 1;
            g_fInsteadOfWait   = [&] {
                FailNext(bCancel || !this->IS_EVENT ? "pthread_cond_broadcast" : "pthread_cond_signal", EINVAL);
                EXPECT_TRUE(!(bCancel ? Cancel(this->m_h) : Trigger(this->m_h)) && HasFailed());
                EXPECT_TRUE(!(bCancel && Cancel(this->m_h)) && Activate(this->m_h)) << "cancelled all the same";
            };
            EXPECT_EQ(Wait(this->m_h, 5), TStatus_TIMEOUT) << "woken, but by nothing";
            EXPECT_TRUE(Trigger(this->m_h)) << "the blocked wait is still to be ended";
        });
    FailNext("pthread_cond_broadcast", EINVAL);  // Destroy cancels
    EXPECT_TRUE(Destroy(this->m_h) && Create(this->m_h) && HasFailed());
}

TYPED_TEST(Waits, ErrorsOfTheWaitHaveTheirResultsAndLines)
{
    const std::tuple<const char*, int, KUINT32, TStatus> aoRows[] = {
        {"pthread_cond_wait", EPERM, NO_LIMIT, TStatus_CANCELED},
        {"pthread_cond_timedwait", EPERM, 3'000, TStatus_FAIL},
        {"clock_gettime", EINVAL, 3'000, TStatus_TIMEOUT},
        {"pthread_cond_timedwait", EINVAL, 3'000, TStatus_TIMEOUT}};
    for (const auto& [pszCall, iError, uiMs, eExpected] : aoRows)
    {
        FailNext(pszCall, iError);
        TStatus           eStatus = TStatus_INVALID_PARAM;
        const std::string sText   = OutputOf([&, uiTimeOut = uiMs] { eStatus = Wait(this->m_h, uiTimeOut); });
        const bool        bIsSaid = pszCall[0] == 'p' && iError == EINVAL;
        EXPECT_TRUE(HasFailed() && eStatus == eExpected) << pszCall << " " << iError << ": " << eStatus;
        EXPECT_EQ(WithoutNumbers(sText), bIsSaid ? "pthread_cond_timedwait" + INVALID_DEADLINE : "") << iError;
        EXPECT_TRUE(Trigger(this->m_h));
        EXPECT_EQ(Wait(this->m_h, 0), this->IS_EVENT ? TStatus_OK : TStatus_TIMEOUT) << "no place of a wait is left";
    }
}

TEST(Time, DelaysLastAndReportWhatTheySay)
{
    OsServices::SetMsgLevel(TRUE, TRUE, TRUE);
    KUINT64 uiHz = 0;
    EXPECT_EQ((std::tuple{tmInit(), tmFrequency(&uiHz), KUINT64{uiHz}}), std::tuple(1, 1, 1'000'000));
    const std::string sAdvice = "vesk(4.12.0.16)[0]: (Debug) OsServices::WaitMicroSeconds(102000) with delay greater than "
                                "100000 us isn't reliable, using SleepMilliSeconds(102) command instead)\n";
    for (const KUINT32 uiMicroSeconds : {0u, 1'500u, 100'000u, 102'000u})
    {
        KUINT64 uiBefore = 0, uiAfter = 0;
        EXPECT_TRUE(tmCounter(&uiBefore));
        EXPECT_EQ(OutputOf([&] { EXPECT_TRUE(OsServices::WaitMicroSeconds(uiMicroSeconds)); }),
                  uiMicroSeconds <= 100'000 ? "" : sAdvice);
        EXPECT_TRUE(tmCounter(&uiAfter) == 1 && uiAfter - uiBefore >= uiMicroSeconds);
    }
    OsServices::SetMsgLevel(TRUE, TRUE, FALSE);
    constexpr KUINT64 MS = 1'000'000, LONG = 4'000'000'123;  // ns; ms
    const auto     fNow = [] { return static_cast<KUINT64>(std::chrono::system_clock::now().time_since_epoch().count()); };
    const KUINT64  uiBefore = fNow(), uiRaw = g_oOsServices.GetRawTimeInNs(), uiTime = g_oOsServices.GetTimeInMs();
    const timespec o     = DeadlineAfter(LONG);
    const KUINT64  uiEnd = static_cast<KUINT64>(o.tv_sec) * 1'000 * MS + static_cast<KUINT64>(o.tv_nsec), uiAfter = fNow();
    EXPECT_TRUE(uiBefore <= uiRaw && uiRaw / MS <= uiTime && uiTime <= uiAfter / MS) << uiRaw << ' ' << uiTime;
    EXPECT_TRUE(uiBefore + LONG * MS <= uiEnd && uiEnd <= uiAfter + LONG * MS) << uiEnd;
    ExpectFailures({"clock_gettime"}, {[] { return KBOOL32{g_oOsServices.GetRawTimeInNs() != 0}; },
                                       [] { return KBOOL32{tmDelay(4'000'000'000u) != 1}; },
                                       [] {
                                           KUINT64 ui = 5;
                                           return KBOOL32{tmCounter(&ui) != 0 || ui != 5};
                                       }});
}
}
