// What an enable answers while a process shows the outputs on displays: that process's word, and none of its accidents. The
// display process of these tests is one that says what it is told to.
#include <chrono>
#include <thread>

#include "Board.h"
#include "BoardWorld.h"

namespace
{
using namespace SoftwareBoard;

class VerdictTest : public BoardWorld
{
protected:
    // Holds the display's lock, and answers each generation of output 0 by fAnswer until that is FALSE.
    static std::function<void()> Display(const std::function<bool(Board&, KUINT32 uiGeneration)>& fAnswer)
    {
        return [=] {
            Board oBoard = Board::Observe();
            EXPECT_TRUE(oBoard.m_oLocks.TryServeDevice(0));
            KUINT32 uiSeen = oBoard.m_oState.ReadGeneration(0, 0);
            Process::Pause();
            for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1)))
            {
                const KUINT32 uiNow = oBoard.m_oState.ReadGeneration(0, 0);
                if (std::exchange(uiSeen, uiNow) != uiNow && !fAnswer(oBoard, uiNow))
                    break;
            }
        };
    }
    static bool Say(Board& ro, KUINT32 uiGeneration, EVerdict eVerdict)
    {
        const BoardLocks::Transaction oTransaction(ro.m_oLocks);
        ro.m_oState.WriteVerdict(0, 0, uiGeneration, eVerdict, "why");
        return true;
    }
};

TEST_F(VerdictTest, EnableAnswersWhatTheDisplayProcessSays)
{
    const std::tuple<const char*, std::function<bool(Board&, KUINT32)>, TStatus, int, int> aoCases[] = {  // ms, from and to
        {"shown", [](Board& ro, KUINT32 ui) { return Say(ro, ui, EVerdict::Shown); }, TStatus_OK, 0, 1500},
        {"refused", [](Board& ro, KUINT32 ui) { return Say(ro, ui, EVerdict::Refused); }, TStatus_FAIL, 0, 1500},
        {"dies without a word", [](Board&, KUINT32) { return false; }, TStatus_OK, 0, 1500},
        {"hangs", [](Board&, KUINT32) { return true; }, TStatus_FAIL, 2000, 3500},
        {"speaks of another", [](Board& ro, KUINT32 ui) { return Say(ro, ui - 1, EVerdict::Shown); }, TStatus_FAIL, 2000, 3500},
    };
    for (const auto& [pszName, fAnswer, eExpected, iFromMs, iToMs] : aoCases)
    {
        Process oDisplay(Display(fAnswer));
        oDisplay.Await();
        oDisplay.Resume();
        InClient([&, eStatus = eExpected, iFrom = iFromMs, iTo = iToMs](TestClient& ro) {
            ro.MakeBuffer();
            const auto oStart = std::chrono::steady_clock::now();
            EXPECT_EQ(ro.Enable(0), eStatus) << pszName;
            const auto iMs = (std::chrono::steady_clock::now() - oStart) / std::chrono::milliseconds(1);
            EXPECT_TRUE(iFrom <= iMs && iMs < iTo) << pszName << " took " << iMs << " ms";
            EXPECT_EQ(Board::Observe().m_oState.ReadOutput(0, 0).bEnabled, eStatus == TStatus_OK ? 1u : 0u) << pszName;
            EXPECT_EQ(Board::Observe().m_oLocks.IsOutputHeldByAnother(0, 0), eStatus == TStatus_OK) << pszName;
            EXPECT_EQ(ro.Disable(0), TStatus_OK);
        });
        if (pszName != std::string("dies without a word"))
            oDisplay.Kill();
    }
}

TEST_F(VerdictTest, RefusalBringsBackWhatAnotherProcessLeftOnAndKeepsItsPixels)
{
    InClient([](TestClient& ro) {
        ro.MakeBuffer(64, 8);
        EXPECT_EQ(ro.Show(ro.Output(0), 64, 8), TStatus_OK);
    });
    Process oDisplay(Display([](Board& ro, KUINT32 ui) {
        InClient([](TestClient& roOther) { roOther.MakeBuffer(); });  // sweeps what nobody shows
        return Say(ro, ui, EVerdict::Refused);
    }));
    oDisplay.Await();
    oDisplay.Resume();
    InClient([](TestClient& ro) {
        ro.MakeBuffer();
        EXPECT_EQ(ro.Enable(0), TStatus_FAIL);
        EXPECT_EQ(Board::Observe().m_oState.ReadOutput(0, 0).oVidParam.uiHActive, 64u);
        EXPECT_FALSE(Board::Observe().m_oLocks.IsOutputHeldByAnother(0, 0));
    });
    oDisplay.Kill();
    EXPECT_EQ(CountFiles("board.pixels-0"), 1) << "the picture that is shown again";
}

TEST_F(VerdictTest, ObserverSeesThatTheBoardWasReplaced)
{
    Board oBoard = Board::Observe();
    EXPECT_FALSE(oBoard.m_oState.IsReplaced() || oBoard.m_oLocks.IsRemoved());
    Board::Create(DefaultPlan());  // which it does not stand in the way of
    EXPECT_TRUE(oBoard.m_oState.IsReplaced() && !oBoard.m_oLocks.IsRemoved());
}
}
