// One board for all processes, who holds its outputs, wrong arguments, threads.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdarg>
#include <deque>

#include "Board.h"
#include "BoardError.h"
#include "BoardWorld.h"

using LibraryTest = BoardWorld;

static bool s_bInterrupts = false;  // signals interrupt every lock and unlock once

extern "C" int __real_fcntl(int iFd, int iCommand, ...);
extern "C" int __wrap_fcntl(int iFd, int iCommand, ...)
{
    static bool s_bInterrupted = false;
    va_list     argList;
    va_start(argList, iCommand);
    void* const pv = va_arg(argList, void*);
    va_end(argList);
    if (s_bInterrupts && iCommand == F_OFD_SETLK && (s_bInterrupted = !s_bInterrupted)) return errno = EINTR, -1;
    return __real_fcntl(iFd, iCommand, pv);
}

TEST_F(LibraryTest, ProcessesThatStartAtOnceAgreeOnOneBoard)
{
    std::deque<Process> oProcesses;
    for (KUINT32 uiRegister = 16376; uiRegister < 16384; ++uiRegister)
        oProcesses.emplace_back([=] {
            Process::Pause();
            TestClient oClient;
            EXPECT_EQ(oClient.Tavrin_GetDeviceCount(), 1u);
            EXPECT_EQ(oClient.TBoard_RegWrite(oClient.hDev, uiRegister, ~uiRegister), TStatus_OK);
        });
    std::for_each(oProcesses.begin(), oProcesses.end(), [](Process& ro) { ro.Await(); });
    std::for_each(oProcesses.begin(), oProcesses.end(), [](Process& ro) { ro.Resume(); });
    oProcesses.clear();
    InClient([](TestClient& ro) {
        for (KUINT32 uiRegister = 16375, uiValue = 1; uiRegister < 16384; ++uiRegister)
        {
            EXPECT_EQ(ro.TBoard_RegRead(ro.hDev, uiRegister, &uiValue), TStatus_OK);
            EXPECT_EQ(uiValue, uiRegister == 16375 ? 0 : ~uiRegister) << "written to a board that was lost";
        }
        tagTBoard_FpgaInfo o = {.uiSize = sizeof(o)};
        EXPECT_EQ(ro.TBoard_GetFpgaInfo(ro.hDev, 0, &o), TStatus_OK);
        EXPECT_EQ(std::tuple(o.uiSize, o.uiI2cAddress, o.ui16VendorID, o.ui16DevID, std::string(o.szName)),
                  std::tuple(84u, 0xd0u, 0xc3e7, 3, "FPGA 0"));
        EXPECT_EQ(std::tuple(o.uiVersionMajor, o.uiVersionMinor, o.uiVersionBuild), std::tuple(1, 33, 0));
    });
    EXPECT_EQ(CountFiles(""), 1) << "only the state";
    struct stat oStat = {};
    EXPECT_TRUE(stat((m_oFolder / "board.state").c_str(), &oStat) == 0 && oStat.st_blocks * 512 >= oStat.st_size)
        << "a full disk would keep a register from being written";
}

TEST_F(LibraryTest, FilesOfTheBoardAreTheUsersAloneAndNobodysStandardStreams)
{
    for (const int iFirst : {0, 1, 2})
        Process([&] {
            const rlimit oNoRoom = {4096, RLIM_INFINITY}, oRoom = {RLIM_INFINITY, RLIM_INFINITY};
            setenv("TAVRIN_BOARD", (m_oFolder / std::to_string(iFirst)).c_str(), 1);
            umask(0);
            for (int iFd = iFirst; iFd < 3; ++iFd) close(iFd);
            EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &oNoRoom), 0);
            EXPECT_EQ(TestClient().Tavrin_GetDeviceCount(), 0u);
            EXPECT_EQ(EntriesOf(getenv("TAVRIN_BOARD")), 0) << "a board that has no room leaves nothing";
            EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &oRoom), 0);
            TestClient oClient;
            oClient.MakeBuffer();
            EXPECT_EQ(oClient.Enable(0), TStatus_OK);
            for (int iFd = iFirst; iFd < 3; ++iFd) EXPECT_EQ(fcntl(iFd, F_GETFD), -1) << iFd;
        });
    for (const auto& ro : std::filesystem::recursive_directory_iterator(m_oFolder))
        EXPECT_EQ(ro.status().permissions(), std::filesystem::perms(ro.is_directory() ? 0700 : 0600)) << ro.path();
}

TEST_F(LibraryTest, EachLockIsTheByteThatIsDocumented)
{
    using namespace SoftwareBoard;
    Board                oBoard = Board::Open();
    const FileDescriptor oOther(open((m_oFolder / "board.state").c_str(), O_RDWR));
    const auto           fLocked = [&] {
        std::vector<int> aiBytes;
        for (int iByte = 0; iByte < 9 * 1024; ++iByte)
            if (IsByteLocked(oOther.Get(), iByte, F_WRLCK)) aiBytes.push_back(iByte);
        return aiBytes;
    };
    EXPECT_TRUE(oBoard.m_oLocks.TryServeDevice(1) && oBoard.m_oLocks.TryHoldOutput(2, 5));
    EXPECT_EQ(fLocked(), (std::vector{1, 513, 3 * 1024 + 5}));
    const Transaction oTransaction(oBoard.m_oLocks);
    oBoard.m_oLocks.ReleaseOutput(2, 5);
    EXPECT_EQ(fLocked(), (std::vector{0, 1, 513}));
    EXPECT_FALSE(IsByteLocked(oOther.Get(), 1, F_RDLCK)) << "of clients there may be several";
}

TEST_F(LibraryTest, StateIsReadAsItWasWrittenWhereItIsDocumented)
{
    using namespace SoftwareBoard;
    Board         oBoard         = Board::Create(Plan(2));
    BoardState&   roState        = oBoard.m_oState;
    const KUINT32 auiPlaces[][3] = {{0, 6908, 16}, {0, 7932, 20}, {1, 6908, 24}, {1, 7932, 28}, {0, 16383, 0}, {1, 0, 0}};
    for (const auto& [uiDevice, uiRegister, uiInLabel] : auiPlaces)
        roState.WriteRegister(uiDevice, uiRegister, 0x10000 * (uiDevice + 1) + uiRegister);
    for (const auto& [uiDevice, uiRegister, uiInLabel] : auiPlaces)
    {
        KUINT32 uiStored = 0;
        std::memcpy(&uiStored,
                    ReadFile(m_oFolder / "board.state").data() +
                        (uiInLabel > 0 ? 2 * 73728 + uiInLabel : 73728 * uiDevice + 8192 + 4 * uiRegister),
                    4);
        EXPECT_EQ(uiStored, 0x10000 * (uiDevice + 1) + uiRegister);
        EXPECT_EQ(roState.ReadRegister(uiDevice, uiRegister), uiStored);
        roState.WriteRegisterLowByte(uiDevice, uiRegister, 0x99);
        EXPECT_EQ(roState.ReadRegister(uiDevice, uiRegister), (uiStored & 0xFFFFFF00) + 0x99);
    }

    const Transaction                                                    oTransaction(oBoard.m_oLocks);
    const std::tuple<KUINT32, KUINT32, KUINT32, bool, std::set<KUINT32>> aoChanges[] = {
        // output of device 1, whether on, pixel file, whether that leaves a file, and the files that are shown then
        {0, 1, 7, false, {7}}, {1, 1, 7, false, {7}}, {0, 1, 8, false, {7, 8}}, {1, 0, 0, true, {8}},
        {0, 1, 8, false, {8}}, {0, 0, 0, true, {}},   {0, 0, 0, false, {}}};
    for (KUINT32 auiGenerations[2] = {}; const auto& [uiOutput, bOn, uiFile, bLeft, oShown] : aoChanges)
    {
        const SOutputChange oChange =
            roState.WriteOutput(oTransaction, 1, uiOutput, {.bEnabled = bOn, .uiPixelFile = uiFile});
        EXPECT_EQ(std::pair(oChange.uiGeneration, oChange.bPixelFileLeft), std::pair(++auiGenerations[uiOutput], bLeft));
        EXPECT_EQ(roState.ReadShownPixelFiles(oTransaction), oShown);
    }
    constexpr KUINT32 uiTall = 0x06000000;  // rows: too many, where as many columns are not
    const std::tuple<KUINT32, KUINT32, KUINT32, KUINT32, KUINT32, bool> aoRecords[] = {
        // whether on, buffer, timing, and whether it is read
        {1, 8, 8, 8, 8, true},       {0, 0, 0, 0, 0, true},       {2, 8, 8, 8, 8, false}, {1, uiTall, 8, 8, 8, true},
        {1, 8, uiTall, 8, 8, false}, {1, 8, 8, 8, uiTall, false}, {1, 0, 8, 8, 8, false}, {1, 8, 8, 8, 0, false}};
    for (const auto& [bOn, uiX, uiY, uiHActive, uiVActive, bGood] : aoRecords)
    {
        const SOutputRecord oRecord = {
            .bEnabled = bOn, .oVidParam = {uiHActive, uiVActive}, .uiBufferWidth = uiX, .uiBufferHeight = uiY};
        roState.WriteOutput(oTransaction, 1, 0, oRecord);
        const auto fRead = [&] { return roState.ReadOutput(oTransaction, 1, 0).uiBufferWidth; };
        if (bGood)
            EXPECT_EQ(fRead(), uiX);
        else
            EXPECT_THROW(fRead(), BoardError);
    }
    for (const auto& [uiLetters, uiMore] : {std::pair(3u, 0u), {60u, 0u}, {0u, 200u}})
    {
        roState.WriteVerdict(oTransaction, 1, 0, 9, EVerdict::Refused, std::string(uiLetters, 'c'),
                             std::string(uiMore, 'r'));
        const SVerdict oVerdict = roState.ReadVerdict(oTransaction, 1, 0);
        EXPECT_EQ(oVerdict.acConnector.data(), std::string(std::min(uiLetters, 39u), 'c'));
        EXPECT_EQ(oVerdict.acReason.data(), std::string(std::min(uiMore, 127u), 'r'));
    }
    EXPECT_THROW(roState.WriteVerdict(oTransaction, 2, 0, 9, EVerdict::Shown, ""), BoardError);
}

TEST_F(LibraryTest, StoppedHolderOfALockHoldsNobodyUpForLong)
{
    using namespace SoftwareBoard;
    const Board oStopped = Board::Open(), oBoard = Board::Open();
    const auto  oStart = std::chrono::steady_clock::now();
    {
        const Transaction oTransaction(oStopped.m_oLocks);
        for (int iTry = 0; iTry < 20; ++iTry)  // as the end of a run with many outputs would
            EXPECT_THROW(Transaction(oBoard.m_oLocks), BoardError);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - oStart, std::chrono::seconds(8));
    s_bInterrupts = true;
    for (const Board* const po : {&oBoard, &oStopped}) const Transaction oTransaction(po->m_oLocks);
    s_bInterrupts = false;
}

// What another process is answered about output 0; output 1 is free in any case.
static void ExpectForAnother(TStatus eExpected, const char* pszWhen)
{
    Process([&] {
        TestClient oClient;
        oClient.MakeBuffer();
        EXPECT_EQ(std::tuple(oClient.Disable(0), oClient.Enable(1)), std::tuple(eExpected, TStatus_OK)) << pszWhen;
        EXPECT_EQ(std::pair(oClient.Enable(0), oClient.Disable(0)), std::pair(eExpected, eExpected)) << pszWhen;
    });
}

TEST_F(LibraryTest, OutputIsHeldByItsProcessUntilThatDisablesItOrEnds)
{
    Process    oHolder([] {
        const auto fEnableInVain = [](TestClient& ro) {
            const rlimit oNoRoom = {0, RLIM_INFINITY}, oRoom = {RLIM_INFINITY, RLIM_INFINITY};
            ro.MakeBuffer();
            EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &oNoRoom), 0);
            EXPECT_EQ(ro.Enable(0), TStatus_FAIL);
            EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &oRoom), 0);
        };
        signal(SIGXFSZ, SIG_IGN);
        HoldOutput();
        TestClient oClient;
        fEnableInVain(oClient);
        EXPECT_EQ((oClient.MakeBuffer(), oClient.Enable(0)), TStatus_OK) << "its own output again";
        fEnableInVain(oClient);
        EXPECT_EQ(oClient.TVideoOut_ReleaseHandle(oClient.Output(0)), TStatus_OK);
        EXPECT_EQ(oClient.TBuffer_Destroy(oClient.hBuffer), TStatus_OK);
        for (int i = 0; i < 2; ++i) EXPECT_EQ(dlclose(oClient.m_pLibrary), 0) << "opened twice";
        Process::Pause();
        for (const char* pszState : {"on", "off already"}) EXPECT_EQ(TestClient().Disable(0), TStatus_OK) << pszState;
        Process::Pause();
        TestClient oOther;
        fEnableInVain(oOther);
        Process::Pause();
        HoldOutput();
    });
    const auto eBusy = TStatus_RESOURCES_BUSY;
    // clang-format off
    for (const auto& [eExpected, pszWhen] : {std::pair{eBusy, "enabled"}, {eBusy, "handle, buffer and library gone"},
                                             {TStatus_OK, "disabled"},
                                             {TStatus_OK, "its record cannot be written"}, {eBusy, "enabled anew"}})
    // clang-format on
    {
        oHolder.Resume();
        oHolder.Await();
        ExpectForAnother(eExpected, pszWhen);
    }
    oHolder.Kill();
    ExpectForAnother(TStatus_OK, "killed");
}

TEST_F(LibraryTest, ForkedChildIsNotItsParent)
{
    int aiUntilTheEnd[2] = {};
    EXPECT_EQ(pipe(aiUntilTheEnd), 0);
    Process oParent([&] {
        TestClient oClient;
        oClient.MakeBuffer();
        const TVideoOut_Handle hVideoOut = oClient.Output(0);
        EXPECT_EQ(oClient.Show(hVideoOut), TStatus_OK);
        Process([&] {
            EXPECT_EQ(oClient.TVideoOut_Disable(hVideoOut), TStatus_INVALID_PARAM) << "a handle of the parent's";
            EXPECT_EQ(oClient.TBuffer_Destroy(oClient.hBuffer), TStatus_INVALID_PARAM);
            ExpectForAnother(TStatus_RESOURCES_BUSY, "the parent holds it");
        });
        EXPECT_EQ(oClient.TVideoOut_Disable(hVideoOut), TStatus_OK) << "the parent has lost nothing";
        EXPECT_EQ(oClient.Show(hVideoOut), TStatus_OK);
        Process oSilent([&] {  // never calls the library, and outlives its parent
            close(aiUntilTheEnd[1]);
            Process::Pause();
            EXPECT_EQ(read(aiUntilTheEnd[0], aiUntilTheEnd, 1), 0);
        });
        oSilent.Await();
        oSilent.Resume();
        Process::Pause();
    });
    oParent.Await();
    oParent.Kill();
    ExpectForAnother(TStatus_OK, "a child that inherited the open files does not hold its parent's output");
    EXPECT_EQ(CountFiles("board.pixels-"), 1) << "nor the pixels of its buffers, only what an output shows is left";
    close(aiUntilTheEnd[1]);
}

TEST_F(LibraryTest, WrongArgumentsAreRefusedAndChangeNothing)
{
    SoftwareBoard::Board::Create(Plan(2));
    InClient([](TestClient& o) {
        const auto             hDev = o.hDev;
        const TBuffer_Handle   hBuf = o.MakeBuffer(), hDead = o.MakeBuffer();
        const TVideoOut_Handle hOut = o.Output(1), hDeadOut = o.Output(0);
        TBuffer_Handle         h565 = nullptr, hForeign = nullptr;
        TBuffer_Handle         hNewBuf = hDead;  // this and the next ones are to be filled in, and must stay
        TVideoOut_Handle       hNewOut = hDeadOut;
        KUINTPTR               uiPlane = 77;
        KUINT32                ui      = 77;
        tagTBuffer_PlaneInfo   oInfo   = {};
        tagTBoard_FpgaInfo     oFpga = {.uiSize = sizeof(oFpga)}, oLarger = {.uiSize = sizeof(oFpga) + 1};
        EXPECT_EQ(o.TBuffer_CreateVideo(hDev, TPixelFormat_B5G6R5, 8, 8, &h565), TStatus_OK);
        EXPECT_EQ(o.TBuffer_CreateVideo(o.Tavrin_GetDevice(1), TPixelFormat_R8G8B8A8, 8, 8, &hForeign), TStatus_OK);
        EXPECT_EQ(o.TBuffer_Destroy(hDead), TStatus_OK);
        EXPECT_EQ(o.TVideoOut_ReleaseHandle(hDeadOut), TStatus_OK);
        EXPECT_TRUE(o.Output(0) != hDeadOut && o.MakeBuffer() != hDead) << "a dead handle was given out again";
        const auto fCreate = [&](TDevice_Handle h, KUINT32 uiFormat, KUINT32 uiWidth, KUINT32 uiHeight) {
            return o.TBuffer_CreateVideo(h, TPixelFormat{uiFormat}, uiWidth, uiHeight, &hNewBuf);
        };
        const auto fGet = [&](TDevice_Handle h, KUINT32 uiIndex, KUINT32 uiMode) {
            return o.TVideoOut_GetHandle(h, uiIndex, TAccessMode{uiMode}, &hNewOut);
        };
        const auto fOn = [&](TVideoOut_Handle h, TBuffer_Handle hShown, KUINT32 uiSignal, KUINT32 uiPower, KUINT32 uiSide) {
            o.hBuffer = hShown;
            return o.Show(h, 8, uiSide, uiSignal, uiPower);
        };
#define REFUSED(call) EXPECT_EQ(call, TStatus_INVALID_PARAM)
        // clang-format off
        REFUSED(fCreate(hDev, 52, 0, 8)); REFUSED(fCreate(hDev, 52, 8, 0)); REFUSED(fCreate(hDev, 52, 0x40000000, 1));
        REFUSED(fCreate(hDev, 52, ~0u, 1)); REFUSED(fCreate(hDev, 52, 65536, 65536)); REFUSED(fCreate(hDev, 52, 1, ~0u));
        REFUSED(fCreate(hDev, 0, 8, 8)); REFUSED(fCreate(hDev, 53, 8, 8)); REFUSED(fCreate(hDev, 0x10002D09, 8, 8));
        REFUSED(o.TBuffer_CreateVideo(hDev, TPixelFormat_R8G8B8A8, 8, 8, nullptr));
        REFUSED(o.TBuffer_GetPlaneInfo(hBuf, nullptr)); REFUSED(o.TBuffer_BeginAccess(hBuf, 1, 1, &uiPlane));
        REFUSED(o.TBuffer_BeginAccess(hBuf, 0, 0, &uiPlane)); REFUSED(o.TBuffer_BeginAccess(hBuf, 0, 2, &uiPlane));
        REFUSED(o.TBuffer_BeginAccess(hBuf, 0, 1, nullptr));
        REFUSED(fGet(hDev, 2, 2)); REFUSED(fGet(hDev, 0, 1)); REFUSED(o.TVideoOut_GetCount(hDev, nullptr));
        REFUSED(o.TVideoOut_GetHandle(hDev, 0, TAccessMode_READWRITE, nullptr));
        REFUSED(fOn(hOut, hBuf, 1, 1, 8)); REFUSED(fOn(hOut, hBuf, 0, 0, 8)); REFUSED(fOn(hOut, hBuf, 0, 1, 0));
        REFUSED(fOn(hOut, hBuf, 0, 1, 0x06000000)); REFUSED(fOn(hOut, h565, 0, 1, 8)); REFUSED(fOn(hOut, hForeign, 0, 1, 8));
        REFUSED(o.TVideoOut_Enable(hOut, TVideo_SignalType_USEDEFAULT, nullptr, hBuf, TVideoOut_PowerState_ON));
        REFUSED(o.TBoard_RegWrite(hDev, 16384, 1)); REFUSED(o.TBoard_RegRead(hDev, 16384, &ui));
        REFUSED(o.TBoard_RegRead(hDev, 1, nullptr)); REFUSED(o.TBoard_GetFpgaCount(hDev, nullptr));
        REFUSED(o.TBoard_GetFpgaInfo(hDev, 1, &oFpga)); REFUSED(o.TBoard_GetFpgaInfo(hDev, 0, nullptr));
        REFUSED(o.TBoard_GetFpgaInfo(hDev, 0, &oLarger));
        for (const auto h : {TDevice_Handle{}, reinterpret_cast<TDevice_Handle>(16), reinterpret_cast<TDevice_Handle>(hBuf)})
        {
            REFUSED(fCreate(h, 52, 8, 8)); REFUSED(o.TVideoOut_GetCount(h, &ui)); REFUSED(fGet(h, 0, 2));
            REFUSED(o.TBoard_RegWrite(h, 1, 1)); REFUSED(o.TBoard_RegRead(h, 1, &ui));
            REFUSED(o.TBoard_GetFpgaCount(h, &ui)); REFUSED(o.TBoard_GetFpgaInfo(h, 0, &oFpga));
        }
        for (const auto h : {TBuffer_Handle{}, hDead, reinterpret_cast<TBuffer_Handle>(hOut)})
        {
            REFUSED(o.TBuffer_GetPlaneInfo(h, &oInfo)); REFUSED(o.TBuffer_BeginAccess(h, 0, 1, &uiPlane));
            REFUSED(o.TBuffer_EndAccess(h)); REFUSED(o.TBuffer_Destroy(h)); REFUSED(fOn(hOut, h, 0, 1, 8));
        }
        for (const auto h : {TVideoOut_Handle{}, hDeadOut, reinterpret_cast<TVideoOut_Handle>(hDev)})
        {
            REFUSED(fOn(h, hBuf, 0, 1, 8)); REFUSED(o.TVideoOut_Disable(h)); REFUSED(o.TVideoOut_ReleaseHandle(h));
        }
        // clang-format on
        EXPECT_EQ(std::tuple(o.Tavrin_GetDevice(2), ui, uiPlane, hNewBuf, hNewOut, oInfo.uiPlaneCount, oFpga.szName[0]),
                  std::tuple(nullptr, 77u, 77u, hDead, hDeadOut, 0u, '\0'));
        EXPECT_EQ(oLarger.szName[0], '\0');
    });
    EXPECT_EQ(CountFiles("board.pixels-"), 4) << "those that were made and not destroyed";
}

TEST_F(LibraryTest, ThreadsShareTheLibrary)
{
    InClient([](TestClient& ro) {
        std::vector<std::jthread> oThreads;
        for (KUINT32 uiThread = 0; uiThread < 4; ++uiThread)
            oThreads.emplace_back([o = ro, uiThread]() mutable {
                for (KUINT32 uiTurn = 1, uiValue = 0; uiTurn <= 20; ++uiTurn)
                {
                    o.MakeBuffer();
                    *o.Access() = 1;
                    EXPECT_EQ(o.Enable(uiThread % 2), TStatus_OK);
                    EXPECT_EQ(o.TBuffer_Destroy(o.hBuffer), TStatus_OK);
                    o.TBoard_RegWrite(o.hDev, uiThread, uiTurn);
                    o.TBoard_RegRead(o.hDev, uiThread, &uiValue);
                    EXPECT_EQ(uiValue, uiTurn);
                }
            });
    });
    EXPECT_EQ(CountFiles("board.pixels-"), 2) << "what the outputs show";
}
