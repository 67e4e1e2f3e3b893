// The progress that a board reports, as an updater or a ramp writes it, and those who wait for it.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "Board.h"
#include "PanelWorld.h"

namespace
{
using ProgressTest = PanelWorld;

TEST_F(ProgressTest, WaitReturnsWhenItIsSo)
{
    Expect("wait --ended --timeout 0", 1, "the time is over: " + m_oFolder.string() + ": there is no board here");
    Live oBoard("wait --percent 40 --timeout 20");
    Expect("create", 0, "");
    Expect("wait --displayed --timeout 0.1", 1, "no display process");
    Expect("wait --percent 1 --timeout 0.1", 1, "the progress is 0 %");
    Live    oShown("wait --shown --timeout 20");
    Process oRun([] {
        TestClient oClient;
        EXPECT_EQ((oClient.MakeBuffer(), oClient.Enable(0)), TStatus_OK);
        Process::Pause();
        EXPECT_EQ(oClient.Enable(1), TStatus_OK);
        Process::Pause();
    });
    oRun.Await();
    Expect("wait --shown --timeout 0", 1, "no run shows a picture on every output");
    Expect("wait --ended --timeout 0.1", 1, "a run still holds an output");
    oRun.Resume();
    Expect("progress 41", 0, "");
    oShown.ooProcess.reset();  // both have returned with 0
    oBoard.ooProcess.reset();
    oRun.Kill();
    Expect("wait --shown --timeout 0", 1, "no run shows a picture on every output");  // the outputs are still on
    Expect("wait --ended", 0, "");
}

TEST_F(ProgressTest, ProgressFollowsTheLinesOfAnUpdater)
{
    const std::pair<std::string, int> aoCases[] = {
        // what it prints, and the progress then; each begins at 7
        {"40", 40},
        {" 40% Checking slot rootfs.0\n", 40},
        {"Writing: 40.9%\nWaiting for the device\n", 40},
        {"[===   ] 1 of 2 12% (root.ext4)\r[==== ] 2 of 2 40% (root.ext4)\r", 40},
        {"39%\n4 of 5: 40,0 %.\n", 40},
        {"40% of 3/4, in /run/5.bin\n", 40},
        {"40 101 100.1 -5 v1.2 1.2.3 2MB mmcblk0 0x50 \xC3\xA4"
         "5\n",
         40},
        {"progress=40\nnone\n", 40},
        {"at 40, and 2/5\n", 40},
        {"Writing\xE2\x80\xA6"
         "40%",
         40},
        {"[----40%----]\n", 40},
        {"\033[32m40\xE2\x80\xAF%\033[0m\n", 40},
        {"0.4\n", 0},
        {"nothing\n\n", 7},
        {"", 7},
        {"100%\n", 99},
        {std::string(9000, '5').append(" 40\n"), 40},
    };
    for (const auto& [strLines, iPercent] : aoCases)
    {
        Expect("progress 7", 0, "");
        std::ofstream(At("lines")) << strLines;
        Expect("progress - --to 99 <" + At("lines"), 0, "");
        Expect("status", 0, " (" + std::to_string(iPercent) + " %)");
    }
    const std::string strFifo = At("fifo");
    EXPECT_EQ(mkfifo(strFifo.c_str(), 0600), 0);
    Live      oFifo("progress - <" + strFifo);
    const int iFifo = open(strFifo.c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(write(iFifo, "55\n", 3), 3);
    Expect("wait --percent 55 --timeout 10", 0, "");
    close(iFifo);
    oFifo.ooProcess.reset();
    Expect("status", 0, " (55 %)");
    // A board that cannot be written costs the updater nothing, and is said once.
    Expect("run -- sh -c '(for i in 1 2 3; do echo $i; sleep 0.05; done && echo >" + At("all") +
               ") | " BOARD_PANEL " progress - --device 1' 2>&1 | grep -c 'no device 1'",
           0, "1\n");
    EXPECT_TRUE(fs::exists(At("all")));
}

TEST_F(ProgressTest, RampNeverFallsAndIsDoneAtTheEndOfItsTime)
{
    using Clock = std::chrono::steady_clock;
    InClient([](TestClient& ro) {
        KUINT32    uiValue = 0;
        const auto fRead   = [&] { return ro.TBoard_RegRead(ro.hDev, 7932, &uiValue), uiValue; };
        for (const auto& [strHow, uiFrom, uiTo] : {std::tuple{" --linear", 100u, 100u}, {" --to 61", 20u, 61u}})
        {
            EXPECT_EQ(ro.TBoard_RegWrite(ro.hDev, 7932, 0xABCDEF00 + uiFrom), TStatus_OK);
            const Clock::time_point oStart = Clock::now();
            Live                    oRamp("progress --ramp 0.5" + std::string(strHow));
            std::optional<Live>     ooSecond;
            if (uiFrom < uiTo) ooSecond.emplace("progress --ramp 0.7 --to 61");
            KUINT32 uiLast = uiFrom % 100, uiSeen = 0;
            EXPECT_TRUE(Becomes([&] { return fRead() != 0xABCDEF64; }));  // what is reached already starts anew
            EXPECT_TRUE(Becomes([&, uiEnd = uiTo] {
                EXPECT_TRUE((uiValue & 0xFF) >= uiLast && uiValue >> 8 == 0xABCDEF) << uiValue;
                uiSeen += (uiValue & 0xFF) != uiLast;
                uiLast = uiValue & 0xFF;
                return uiLast >= uiEnd || (fRead(), false);
            }));
            EXPECT_TRUE(uiLast == uiTo && uiSeen > 5) << uiLast << ", after " << uiSeen;
            EXPECT_GE(Clock::now() - oStart, std::chrono::milliseconds(500));
        }
        // As nohup and a shell's background job start it: SIGHUP stays ignored, and SIGINT ends it all the same.
        Live oStopped("progress --ramp 1000", true, {24, 80, 0, 0}, "xterm", "trap '' HUP INT; ");
        oStopped.Await("100");
        oStopped.Await("[");
        kill(oStopped.ooProcess->GetPid(), SIGHUP);
        oStopped.ooProcess->Kill(SIGINT, SIGINT);
        Live oOverrun("progress --ramp 10 --linear", true, {24, 40, 0, 0});
        EXPECT_TRUE(Becomes([&] { return (fRead() & 0xFF) >= 63; }));
        pollfd oTerminal = {oOverrun.aiFds[0], POLLIN, 0};
        EXPECT_EQ(poll(&oTerminal, 1, 1000), 1) << "the line of 62 % was not shown before that of 63 %";
        EXPECT_EQ(ro.TBoard_RegWrite(ro.hDev, 7932, 255), TStatus_OK);
        oOverrun.Await("#] 255 %");
        oOverrun.ooProcess->Kill(SIGINT, SIGINT);
    });
    Expect("status", 0, "(255 %)");
}

TEST_F(ProgressTest, WhatChangesABoardWaitsForTheTransactionOfAnother)
{
    using namespace SoftwareBoard;
    const auto fIsMade     = [this] { return KUINT32{fs::exists(At("board.state"))}; };
    const auto fProgress   = [] { return Board::Observe().m_oState.ReadRegister(0, REG_PROGRESS_UPDATE); };
    const auto fGeneration = [] { return Board::Observe().m_oState.ReadGeneration(0, 0); };
    const auto fPanel      = [](const char* pszCommand) {
        return [=] { execl("/bin/sh", "sh", "-c", ("exec " BOARD_PANEL " " + std::string(pszCommand)).c_str(), nullptr); };
    };
    std::optional<Process> ooProcess;
    // Holds the lock until the process waits for it, and expects that it has changed nothing.
    const auto fHold = [&](const char* pszFile, std::function<KUINT32()> fState, std::function<void()> fBody) {
        const BoardLocks  oLocks(FileDescriptor(open(At(pszFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)));
        const Transaction oTransaction(oLocks);
        const KUINT32     uiBefore = fState();
        if (fBody) ooProcess.emplace(fBody);
        const std::string strCall = "/proc/" + std::to_string(ooProcess->GetPid()) + "/syscall";
        EXPECT_TRUE(Becomes([&] { return ReadFile(strCall).starts_with(std::to_string(SYS_clock_nanosleep) + " "); }))
            << pszFile << ": the process does not wait";
        EXPECT_EQ(fState(), uiBefore) << pszFile;
    };
    fHold("board.new", fIsMade, fPanel("create"));
    ooProcess.reset();
    EXPECT_EQ(fIsMade(), 1u);
    Expect("progress 50", 0, "");
    fHold("board.state", fProgress, fPanel("progress --ramp 10 --linear --to 50"));  // begins at 0 again
    EXPECT_TRUE(Becomes([&] { return fProgress() == 1; }));
    fHold("board.state", fProgress, nullptr);  // its next step
    ooProcess->Kill(SIGTERM, SIGTERM);
    InClient([](TestClient& ro) { EXPECT_EQ((ro.MakeBuffer(), ro.Enable(0)), TStatus_OK); });
    fHold("board.state", fGeneration, [] { EXPECT_EQ(TestClient().Disable(0), TStatus_OK); });
    ooProcess.reset();
    EXPECT_EQ(fGeneration(), 2u);
}
}
