// What a display run does and shows when nothing fails.
#include <sys/socket.h>

#include <csignal>

#include "DisplayWorld.h"

using DisplayRun = DisplayWorld;

TEST_F(DisplayRun, DeviceThatIsNotThereIsNotAskedForAndOutputWithoutAHandleIsLeftOut)
{
    m_roBoard.fFails   = [](const std::string& s) { return s == "TVideoOut_GetHandle 0 2"; };
    m_roBoard.eFailure = TStatus_OK;
    m_uiEnableTime     = 1000;  // no output is disabled, so no further handle is got
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(m_sOutput, "");
    const Calls asBefore(FORWARD.begin(), FORWARD.begin() + 10), asBehind(FORWARD.begin() + 12, FORWARD.end());
    EXPECT_EQ(m_roBoard.asCalls, asBefore + asBehind + UNDO_BUFFER);

    m_uiDevIndex = 1;
    EXPECT_EQ(Run(), TStatus_FAIL);
    EXPECT_EQ(m_roBoard.asCalls, Calls{"Tavrin_GetDeviceCount"});
}

// A signal before the loop skips it. scripts/torture sends one at every moment of a run on the software board.
TEST_F(DisplayRun, StopSignalSkipsOrEndsTheLoop)
{
    m_bProgressBar = FALSE;           // so the loop has nothing to draw or read
    m_pszFrames    = "/nonexistent";  // not looked for without an animation
    for (const auto& [pszWhen, iSignal] :
         {std::pair{"TVideoOut_GetCount", SIGTERM}, {"TVideoOut_GetCount", SIGINT}, {"pthread_cond_timedwait", SIGTERM}})
    {
        SCOPED_TRACE(testing::Message() << iSignal << " at " << pszWhen);
        g_fServiceFails  = [=, psz = pszWhen, i = iSignal](const std::string& s) { return s == psz && raise(i) != 0; };
        m_roBoard.fFails = g_fServiceFails;
        EXPECT_EQ(Run(), TStatus_OK);
        EXPECT_EQ(m_sOutput, "Received signal: " + std::to_string(iSignal) + "\n");
        EXPECT_EQ(m_roBoard.asCalls, Calls(FORWARD.begin(), FORWARD.end() - 2) + Calls{FORWARD.back()} + UNDO_OUTPUTS);
        EXPECT_TRUE(Shows([](KUINT32, KUINT32) { return 0; })) << "neither bar nor animation, and not black";
    }
    EXPECT_EQ(OutputOf([] { SignalHandler(64, nullptr, nullptr); }), "Received signal: 64\n");

    struct sigaction oInstalled;
    sigaction(SIGTERM, nullptr, &oInstalled);
    EXPECT_EQ(oInstalled.sa_flags & (SA_SIGINFO | SA_RESTART | SA_NODEFER), SA_SIGINFO);
    EXPECT_TRUE(sigismember(&oInstalled.sa_mask, SIGUSR1));

    // A line that cannot be written costs the interrupted code nothing. Nobody reads the socket, and it is full.
    int           aiSocket[2];
    const timeval oLimit = {.tv_sec = 10, .tv_usec = 0};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, aiSocket), 0);
    while (send(aiSocket[1], "", 1, MSG_DONTWAIT) == 1) continue;
    EXPECT_EQ(setsockopt(aiSocket[1], SOL_SOCKET, SO_SNDTIMEO, &oLimit, sizeof(oLimit)), 0);
    const int iClosed = aiSocket[1] + 100, iStdout = dup(STDOUT_FILENO);
    for (const int iLineTo : {aiSocket[1], iClosed})
    {
        dup2(iLineTo, STDOUT_FILENO) < 0 ? close(STDOUT_FILENO) : 0;
        const auto oStart = std::chrono::steady_clock::now();
        errno             = EXDEV;
        raise(SIGTERM);
        const int iErrno = errno;
        EXPECT_TRUE(dup2(iStdout, STDOUT_FILENO) == STDOUT_FILENO && iErrno == EXDEV) << iErrno << ", not what it was";
        EXPECT_LT(std::chrono::steady_clock::now() - oStart, std::chrono::seconds(5)) << "the reader held the run up";
    }
    for (const int iFd : {aiSocket[0], aiSocket[1], iStdout}) close(iFd);
}

TEST_F(DisplayRun, LoopHasOneMoreWaitAfterCompletionAndIgnoresTheUpperBits)
{
    using Clock = std::chrono::system_clock;  // waits are measured on it
    Clock::time_point oRead, oEnded;
    int               iReads = 0;

    m_uiStepMs          = 50;
    m_bAnimation        = TRUE;  // without frames to look for
    m_roBoard.fFails    = [&](const auto& s) { return (s == "TBoard_RegRead 7932" ? oRead : oEnded) = Clock::now(), false; };
    m_roBoard.fProgress = [&iReads] { return ++iReads < 3 ? 0xABCDEF00u + 99 : 0xFF000064u; };
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(iReads, 3);
    EXPECT_EQ(m_sOutput, "");
    EXPECT_EQ(PixelAt(59, 45), 0x00FFFFFFu);
    EXPECT_GE(oEnded - oRead, std::chrono::milliseconds(m_uiStepMs)) << "the full bar was not left on screen";
}

TEST_F(DisplayRun, PictureIsClearedAnimatedAndDrawnThroughTheSecondMapping)
{
    m_bAnimation = TRUE;
    m_oAnim      = {20, 5, 40, 45};             // partly under the bar
    m_pszImage = m_pszFrames = "/nonexistent";  // which is no failure
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_TRUE(std::regex_match(m_sOutput, std::regex(FALL_BACK))) << m_sOutput;
    EXPECT_TRUE(Shows([](KUINT32 x, KUINT32 y) {
        const bool bBlock = x >= 21 && x < 31 && y >= 5 && y < 45;  // 5 % to 55 % of 20 columns
        return bBlock || (x >= 20 && x <= 60 && y >= 40 && y <= 50) ? 0x00FFFFFF : 0;
    }));
}

TEST_F(DisplayRun, LibraryOfAnyNumberOfPlanesAndWithoutOutputsIsSurvived)
{
    m_roBoard.uiOutputs = 0;
    m_bAnimation        = TRUE;
    m_pszFrames         = "/nonexistent";
    for (const auto& [uiPlanes, uiAccessed, uiPixel] : {std::tuple{0u, 0u, 0xDEADBEEFu}, {4u, 3u, 0x00FFFFFFu}})
    {
        m_roBoard.uiPlanes = uiPlanes;
        EXPECT_EQ(Run(), TStatus_OK);
        EXPECT_EQ(m_roBoard.asCalls.at(6), "TBuffer_BeginAccess 0 " + std::to_string(uiAccessed));
        EXPECT_EQ(PixelAt(20, 40), uiPixel);
    }
}
