// The progress that a board reports, as an updater or a ramp writes it, and those who wait for it.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "Board.h"
#include "PanelWorld.h"
#include "Percent.h"
#include "Ramp.h"

namespace
{
using namespace SoftwareBoard;
using namespace SoftwareBoard::Panel;
using ProgressTest = PanelWorld;

TEST_F(ProgressTest, WaitReturnsWhenItIsSo)
{
    Expect("wait --ended --timeout 0", 1,
           "waiting for one\ntavrin-board: the time is over: " + m_oFolder.string() + ": there is no board here");
    Live oRaised("wait --percent 40 --timeout 20");
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
    oRaised.ooProcess.reset();
    Process oDisplay([] {
        Board oServed = Board::Observe();
        if (oServed.m_oLocks.TryServeDevice(0)) Process::Pause();
    });
    oDisplay.Await();
    for (const auto& [uiVerdict, iDecided, iShown] : {std::tuple{0u, 1, 1}, {1u, 0, 0}, {2u, 0, 1}, {3u, 0, 0}})
    {
        Board oBoard = Board::Observe();
        for (const KUINT32 ui : {0u, 1u})
            oBoard.m_oState.WriteVerdict(Transaction(oBoard.m_oLocks), 0, ui, 1, EVerdict{ui == 0 ? 1 : uiVerdict}, "DP-1");
        Expect("wait --displayed --timeout 0", iDecided,
               iDecided == 0 ? "" : ": the time is over: the display process has not");
        Expect("wait --shown --timeout 0", iShown, iShown == 0 ? "" : ": the time is over: no run shows a picture");
    }
    oRun.Kill();
    Expect("wait --shown --timeout 0", 1, "no run shows a picture on every output");  // the outputs are still on
    Expect("wait --ended", 0, "");
}

TEST(Percent, IsTheLastNumberOfALineThatIsNoPartOfAnother)
{
    for (int i = 1; i < 256; ++i)
    {
        const std::string strC(1, static_cast<char>(i));
        const bool        bWord = i >= 0x80 || std::isalnum(i) != 0 || i == '_', bJoint = std::strchr(".,-/", i) != nullptr;
        EXPECT_EQ(PercentReader().Take("7" + strC).has_value(), i == '\n' || i == '\r') << "byte " << i;
        if (std::isdigit(i) != 0) continue;
        for (const auto& [strLine, bNone] : {std::pair{strC + "40", bWord || i == '-'},
                                             {"40" + strC, bWord},
                                             {"a" + strC + "40", bWord || bJoint},
                                             {"40" + strC + "a", bWord || bJoint},
                                             {"a40 " + strC, i != '%'}})
            EXPECT_EQ(FindPercent(strLine).value_or(99), bNone ? 99u : 40u) << strLine << ", byte " << i;
    }
    const std::string                      strSpaces(2048, ' ');
    const std::pair<std::string, unsigned> aoCases[] = {
        // clang-format off
        {"40", 40}, {"x40\xC2\xA0%", 40}, {"0.4\n", 0}, {"nothing\n\n", 99}, {"", 99}, {"progress=40\nnone\n", 40},
        {" 40% Checking slot rootfs.0\n", 40}, {"Writing: 40.9%\nWaiting for the device\n", 40}, {"at 40, and 2/5\n", 40},
        {"[===   ] 1 of 2 12% (root.ext4)\r[==== ] 2 of 2 40% (root.ext4)\r", 40}, {"39%\n4 of 5: 40,0 %.\n7", 7},
        {"40% of 3/4, in /run/5.bin\n", 40}, {"40 101 100.1 -5 v1.2 1.2.3 2MB mmcblk0 0x50 \303\2445\n", 40}, {"5%\n\n", 5},
        {"Writing\342\200\24640%", 40}, {"[----40%----]\n", 40}, {"\033[32m40\xE2\x80\xAF%\033[0m\n", 40},
        {"40" + strSpaces + strSpaces.substr(2), 40}, {"40" + strSpaces + strSpaces.substr(1), 99},  // the longest line, and
        {strSpaces.substr(1) + "40" + strSpaces, 0},  // longer ones, which lose the first half
        // clang-format on
    };
    for (const auto& [strLines, uiPercent] : aoCases)
    {
        PercentReader oReader;
        const auto    ouiFound = oReader.Take(strLines), ouiEnd = oReader.TakeEnd();
        EXPECT_EQ((ouiEnd ? ouiEnd : ouiFound).value_or(99), uiPercent) << strLines;
        EXPECT_EQ(oReader.TakeEnd(), std::nullopt) << strLines;
    }
    for (const char* psz :
         {"40%%", "1e1", "+5", "-5", "101", "100.5", "100,01%", "4294967297", "0x5", "", ".5", "5.", "%", "5.%"})
        EXPECT_EQ(ParsePercent(psz), std::nullopt) << psz;
    for (const char* psz : {"40", "40.5", "40%", "40,9%", "040", "40.05"}) EXPECT_EQ(ParsePercent(psz), 40u) << psz;
    EXPECT_EQ(std::pair(ParsePercent("100.00%").value_or(0), FindPercent({"40x", 2}).value_or(0)), std::pair(100u, 40u));
}

TEST(Ramp, HaltsTwiceAndNeverFalls)
{
    for (int i = 0, iHalts = 0; i < 1000; ++i)
    {
        const double fWork = i / 1000.0, fTime = RampTimeOf(fWork, false), fStep = RampTimeOf(fWork + 0.001, false) - fTime;
        EXPECT_TRUE(fStep > 0 && fTime >= fWork * (i > 30 ? 0 : 3)) << fWork;
        iHalts += fStep > 0.09;
        EXPECT_EQ(std::tuple(iHalts, RampTimeOf(fWork, true)), std::tuple((i >= 200) + (i >= 520), fWork));
    }
    EXPECT_EQ(std::pair(RampTimeOf(0, false), RampTimeOf(1, false)), std::pair(0.0, 1.0));
}

TEST_F(ProgressTest, ProgressFollowsTheLinesOfAnUpdater)
{
    std::ofstream(At("lines")) << 7 << std::flush, Expect("progress - <" + At("lines"), 0, "");  // a byte alone
    Expect("progress - </dev/null", 0, "");
    Expect("status", 0, " (7 %)");
    std::ofstream(At("lines")) << std::string(9000, '5') << " 100%\n";
    Expect("progress - --to 99 <" + At("lines"), 0, "");
    Expect("status", 0, " (99 %)");
    EXPECT_EQ(mkfifo(At("fifo").c_str(), 0600), 0);
    Live       oFifo("progress - --device 1 2>&1 <" + At("fifo"));
    const int  iFifo  = open(At("fifo").c_str(), O_WRONLY | O_CLOEXEC);
    int        iLeft  = 0;
    const auto fWrite = [&](const char* pszLine) {
        EXPECT_EQ(write(iFifo, pszLine, 3), 3);
        EXPECT_TRUE(Becomes([&] { return ioctl(iFifo, FIONREAD, &iLeft) == 0 && iLeft == 0; })) << "it does not read on";
    };
    // A board that cannot be written costs the updater nothing, and is said once.
    for (const char* pszLine : {"11\n", "12\n", "13\n"}) fWrite(pszLine);
    oFifo.Await(": there is no device 1, the board has 1, numbered from 0\n");
    Expect("create --devices 2", 0, "");
    fWrite("55\n");
    Expect("wait --percent 55 --device 1 --timeout 10", 0, "");
    EXPECT_EQ(ioctl(oFifo.aiFds[0], FIONREAD, &iLeft) + iLeft, 0) << "said again";
    Expect("create", 0, "");
    fWrite("14\n");
    oFifo.Await("no device 1, ");
    close(iFifo), oFifo.ooProcess->Kill(0, W_EXITCODE(1, 0));
}

TEST_F(ProgressTest, RampNeverFallsAndIsDoneAtTheEndOfItsTime)
{
    const auto fWrite = [](KUINT32 ui) { Board::Open().m_oState.WriteRegister(0, REG_PROGRESS_UPDATE, ui); };
    const auto fRead  = [] { return Board::Open().m_oState.ReadRegister(0, REG_PROGRESS_UPDATE); };
    for (const auto& [strHow, uiFrom, uiTo] : {std::tuple{" --linear", 100u, 100u}, {" --to 61", 20u, 61u}})
    {
        fWrite(0xABCDEF00 + uiFrom);
        const auto          oStart = std::chrono::steady_clock::now();
        Live                oRamp("progress --ramp 0.5" + std::string(strHow));
        std::optional<Live> ooSecond;
        if (uiFrom < uiTo) ooSecond.emplace("progress --ramp 0.7 --to 61");
        KUINT32 uiLast = uiFrom % 100, uiSeen = 0;
        EXPECT_TRUE(Becomes([&] { return fRead() != 0xABCDEF64; }));  // what is reached already starts anew
        EXPECT_TRUE(Becomes([&, uiEnd = uiTo] {
            const KUINT32 uiValue = fRead(), uiNow = uiValue & 0xFF;
            EXPECT_TRUE(uiNow >= uiLast && uiValue >> 8 == 0xABCDEF) << uiValue;
            uiSeen += uiNow != uiLast;
            return (uiLast = uiNow) >= uiEnd;
        }));
        EXPECT_TRUE(uiLast == uiTo && uiSeen > 5) << uiLast << ", after " << uiSeen;
        EXPECT_GE(std::chrono::steady_clock::now() - oStart, std::chrono::milliseconds(500));
    }
    // The line of each percentage, on terminals of several widths. At 100 % already, it begins at 0.
    for (const auto& [uiColumns, uiBar] : {std::pair{80u, 50u}, {40u, 20u}, {21u, 1u}, {20u, 0u}, {0u, 0u}})
    {
        fWrite(100);
        Live        oLines("progress --ramp 0", true, {24, static_cast<unsigned short>(uiColumns), 0, 0});
        std::string strLines;
        for (unsigned uiPercent = 0; uiPercent <= 100; ++uiPercent)
        {
            const std::string strDone(uiBar * uiPercent / 100, '#'),
                strFigures = std::to_string(uiPercent) + " %  0 s left  ";
            strLines += uiBar > 0 ? "\r[" + strDone + std::string(uiBar - strDone.size(), '-') + "] " : "\r";
            strLines += std::string(17 - strFigures.size(), ' ') + strFigures;
        }
        oLines.Await(strLines + "\r\n");
        oLines.ooProcess.reset();  // before its terminal goes
    }
    // As nohup and a shell's background job start it: SIGHUP stays ignored, and SIGINT ends it all the same.
    Live oStopped("progress --ramp 20", true, {24, 80, 0, 0}, "xterm", "trap '' HUP INT; ");
    for (const char* psz : {"]   0 %  20 s left  ", "]   0 %  ", "]   1 %  1"}) oStopped.Await(psz);
    kill(oStopped.ooProcess->GetPid(), SIGHUP), oStopped.ooProcess->Kill(SIGINT, SIGINT);
    oStopped.Await("\r\n");
    fWrite(61);
    Live oOverrun("progress --ramp 10 --linear", true, {24, 40, 0, 0});
    EXPECT_TRUE(Becomes([&] { return fRead() >= 63; }));
    pollfd oTerminal = {oOverrun.aiFds[0], POLLIN, 0};
    EXPECT_EQ(poll(&oTerminal, 1, 1000), 1) << "the line of 62 % was not shown before that of 63 %";
    fWrite(255), oOverrun.Await("#] 255 %");
    oOverrun.ooProcess->Kill(SIGINT, SIGINT);
    Expect("status", 0, "(255 %)");
}

TEST_F(ProgressTest, WhatChangesABoardWaitsForTheTransactionOfAnother)
{
    const auto             fIsMade     = [this] { return KUINT32{fs::exists(At("board.state"))}; };
    const auto             fProgress   = [] { return Board::Observe().m_oState.ReadRegister(0, REG_PROGRESS_UPDATE); };
    const auto             fGeneration = [] { return Board::Observe().m_oState.ReadGeneration(0, 0); };
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
    fHold("board.new", fIsMade, [] { execl(BOARD_PANEL, "", "create", nullptr); });
    EXPECT_EQ((ooProcess.reset(), fIsMade()), 1u);
    Expect("progress 50", 0, "");  // so that a ramp to 50 % begins at 0 again
    fHold("board.state", fProgress, [] { execl(BOARD_PANEL, "", "progress", "--ramp=10", "--linear", "--to=50", nullptr); });
    EXPECT_TRUE(Becomes([&] { return fProgress() == 1; }));
    fHold("board.state", fProgress, nullptr);  // its next step
    ooProcess->Kill(SIGTERM, SIGTERM);
    InClient([](TestClient& ro) { EXPECT_EQ((ro.MakeBuffer(), ro.Enable(0)), TStatus_OK); });
    fHold("board.state", fGeneration, [] { EXPECT_EQ(TestClient().Disable(0), TStatus_OK); });
    EXPECT_EQ((ooProcess.reset(), fGeneration()), 2u);
}
}
