// What an enable answers while a process shows the outputs on displays; that of these tests says what it is told to.
#include <deque>

#include "Board.h"
#include "BoardWorld.h"

namespace
{
using namespace SoftwareBoard;
// The device of these tests; its output 0 is another one than output 1 of device 0.
constexpr KUINT32 DEVICE = 1;

using Answer = std::function<bool(Board&, KUINT32 uiGeneration)>;

// Holds the display's lock, and answers each new generation of output 0 until the answer is FALSE.
struct Display : Process
{
    explicit Display(const Answer& fAnswer)
        : Process([=] {
              Board oBoard = Board::ObserveOrMake(BoardWorld::Plan(2));
              EXPECT_TRUE(oBoard.m_oLocks.TryServeDevice(DEVICE));
              KUINT32 uiSeen = oBoard.m_oState.ReadGeneration(DEVICE, 0), uiNow = uiSeen;
              Process::Pause();
              do usleep(1000), uiNow = oBoard.m_oState.ReadGeneration(DEVICE, 0);
              while (std::exchange(uiSeen, uiNow) == uiNow || fAnswer(oBoard, uiNow));
          })
    {
        Await(), Resume();
    }
};

struct VerdictTest : BoardWorld
{
    static void InClient(const std::function<void(TestClient&)>& fBody)
    {
        BoardWorld::InClient([&](TestClient& ro) { ro.hDev = ro.Tavrin_GetDevice(DEVICE), fBody(ro); });
    }
    static SOutputRecord ReadOutput(const Board& ro)
    {
        const Transaction oTransaction(ro.m_oLocks);
        return ro.m_oState.ReadOutput(oTransaction, DEVICE, 0);
    }
    static bool Say(Board& ro, KUINT32 uiGeneration, EVerdict eVerdict)
    {
        const Transaction oTransaction(ro.m_oLocks);
        ro.m_oState.WriteVerdict(oTransaction, DEVICE, 0, uiGeneration, eVerdict, "why");
        return true;
    }
    static void ExpectAnswer(const std::string& strName, const Answer& fAnswer, TStatus eStatus, int iFromMs, int iToMs)
    {
        Display oDisplay(fAnswer);
        InClient([&](TestClient& ro) {
            const auto oStart = std::chrono::steady_clock::now();
            EXPECT_EQ((ro.MakeBuffer(), ro.Enable(0)), eStatus) << strName;
            const auto iMs = (std::chrono::steady_clock::now() - oStart) / std::chrono::milliseconds(1);
            EXPECT_TRUE(iFromMs <= iMs && iMs < iToMs) << strName << " took " << iMs << " ms";
            const Board oBoard = Board::Observe();
            for (const bool bOn : {ReadOutput(oBoard).bEnabled != 0, oBoard.m_oLocks.IsOutputHeldByAnother(DEVICE, 0)})
                EXPECT_EQ(bOn, eStatus == TStatus_OK) << strName;
            EXPECT_EQ(ro.Disable(0), TStatus_OK);
        });
        if (strName != "dies") oDisplay.Kill();
    }
};

TEST_F(VerdictTest, EnableAnswersWhatTheDisplayProcessSays)
{
    const std::tuple<std::string, Answer, TStatus, int, int> aoCases[] = {
        // answer, and after how many ms, from and to
        {"shown", [](Board& ro, KUINT32 ui) { return Say(ro, ui, EVerdict::Shown); }, TStatus_OK, 0, 1500},
        {"refused", [](Board& ro, KUINT32 ui) { return Say(ro, ui, EVerdict::Refused); }, TStatus_FAIL, 0, 1500},
        {"no display", [](Board& ro, KUINT32 ui) { return Say(ro, ui, EVerdict::NoDisplay); }, TStatus_OK, 0, 1500},
        {"dies", [](Board&, KUINT32) { return false; }, TStatus_OK, 0, 1500},
        {"hangs", [](Board&, KUINT32) { return true; }, TStatus_FAIL, 2000, 3500},
        {"another's", [](Board& ro, KUINT32 ui) { return Say(ro, ui - 1, EVerdict::Shown); }, TStatus_FAIL, 2000, 3500},
    };
    std::deque<Process> oSlow;  // those that wait do so at once, each on a board of its own
    for (const auto& roCase : aoCases)
        if (std::get<3>(roCase) > 0)
            oSlow.emplace_back([&] {
                setenv("TAVRIN_BOARD", (m_oFolder / std::get<0>(roCase)).c_str(), 1);
                std::apply(ExpectAnswer, roCase);
            });
        else
            std::apply(ExpectAnswer, roCase);
}

TEST_F(VerdictTest, RefusalBringsBackWhatWasThereAndKeepsItsPixels)
{
    const auto fShowWide = [](TestClient& ro) {
        EXPECT_EQ((ro.MakeBuffer(64, 8), ro.Show(ro.Output(0), 64, 8)), TStatus_OK);
    };
    Display oDisplay([](Board& ro, KUINT32 ui) {
        const bool bNarrow = ReadOutput(ro).oVidParam.uiHActive == 32;
        if (bNarrow) InClient([](TestClient& roOther) { roOther.MakeBuffer(); });  // sweeps what nobody needs
        return Say(ro, ui, bNarrow ? EVerdict::Refused : EVerdict::Shown);
    });
    for (const auto& [bOwn, bGone] : {std::pair(false, false), {true, false}, {false, true}})
    {
        if (!bOwn) InClient(fShowWide);
        EXPECT_EQ(CountFiles("board.pixels-"), 1) << "the one before is not shown any more";
        if (bGone)
            std::filesystem::remove(m_oFolder /
                                    ("board.pixels-" + std::to_string(ReadOutput(Board::Observe()).uiPixelFile)));
        InClient([&](TestClient& ro) {
            if (bOwn) fShowWide(ro), ro.TBuffer_Destroy(ro.hBuffer);
            EXPECT_EQ((ro.MakeBuffer(), ro.Enable(0)), TStatus_FAIL);
            EXPECT_EQ(Board::Observe().m_oLocks.IsOutputHeldByAnother(DEVICE, 0), bOwn) << bGone;
        });
        const SOutputRecord oNow = ReadOutput(Board::Observe());
        EXPECT_EQ(std::pair(oNow.bEnabled, oNow.oVidParam.uiHActive), std::pair(KUINT32{!bGone}, bGone ? 0u : 64u)) << bOwn;
        InClient([](TestClient& ro) { ro.TBuffer_Destroy(ro.MakeBuffer()); });  // sweeps
        EXPECT_EQ(CountFiles("board.pixels-"), !bGone) << "the picture that is shown again";
    }
    oDisplay.Kill();
}
}
