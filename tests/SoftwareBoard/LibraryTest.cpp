// One board for all processes, who holds its outputs, wrong arguments, threads.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdarg>
#include <deque>

#include "Board.h"
#include "BoardError.h"
#include "BoardWorld.h"

using namespace SoftwareBoard;
using LibraryTest = BoardWorld;

static int s_iInterrupted = -1;  // from 0 on, signals interrupt every lock and unlock once

extern "C" int __real_fcntl(int iFd, int iCommand, ...);
extern "C" int __wrap_fcntl(int iFd, int iCommand, ...)
{
    va_list argList;
    va_start(argList, iCommand);
    void* const pv = va_arg(argList, void*);
    va_end(argList);
    if (s_iInterrupted >= 0 && iCommand == F_OFD_SETLK && s_iInterrupted++ % 2 == 0) return errno = EINTR, -1;
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
    for (Process& ro : oProcesses) ro.Await();
    for (Process& ro : oProcesses) ro.Resume();
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
    Board oBoard = Board::Create(Plan(2));
    EXPECT_THROW(Board::Create(Plan(2)), BoardError) << "its maker is a client";
    BoardState&   roState        = oBoard.m_oState;
    std::string   strExpected    = ReadFile(m_oFolder / "board.state");
    const KUINT32 auiPlaces[][3] = {// device and register, and where it is in the file
                                    {0, 6908, 147472}, {0, 7932, 147476}, {1, 6908, 147480},
                                    {1, 7932, 147484}, {0, 16383, 73724}, {1, 0, 81920}};
    for (const auto& [uiDevice, uiRegister, uiOffset] : auiPlaces)
    {
        const KUINT32 uiValue = uiOffset << 8 | 0x99;
        roState.WriteRegister(uiDevice, uiRegister, uiOffset << 8);
        roState.WriteRegisterLowByte(uiDevice, uiRegister, 0x99);
        std::memcpy(&strExpected[uiOffset], &uiValue, 4);
        EXPECT_EQ(roState.ReadRegister(uiDevice, uiRegister), uiValue);
    }
    EXPECT_TRUE(ReadFile(m_oFolder / "board.state") == strExpected);
    const Transaction                                                    oTransaction(oBoard.m_oLocks);
    const std::tuple<KUINT32, KUINT32, KUINT32, bool, std::set<KUINT32>> aoChanges[] = {
        // output of device 1, whether on, pixel file, whether that leaves a file, and the files that are shown then
        {0, 1, 7, false, {7}}, {1, 1, 7, false, {7}}, {0, 1, 8, false, {7, 8}}, {1, 0, 0, true, {8}},
        {0, 1, 8, false, {8}}, {0, 0, 0, true, {}},   {0, 0, 0, false, {}}};
    for (KUINT32 auiGenerations[2] = {}; const auto& [uiOutput, bOn, uiFile, bLeft, oShown] : aoChanges)
    {
        const auto oChange = roState.WriteOutput(oTransaction, 1, uiOutput, {.bEnabled = bOn, .uiPixelFile = uiFile});
        EXPECT_EQ(std::pair(oChange.uiGeneration, oChange.bPixelFileLeft), std::pair(++auiGenerations[uiOutput], bLeft));
        EXPECT_EQ(roState.ReadShownPixelFiles(oTransaction), oShown);
    }
    constexpr KUINT32 uiTall          = 0x06000000;  // rows: too many, where as many columns are not
    const KUINT32     auiRecords[][6] = {            // whether on, buffer, timing, and whether it is read
                                     {1, 8, 8, 8, 8, 1},      {0, 0, 0, 0, 0, 1},      {2, 8, 8, 8, 8, 0},
                                     {1, uiTall, 8, 8, 8, 1}, {1, 8, uiTall, 8, 8, 0}, {1, 8, 8, 8, uiTall, 0},
                                     {1, 0, 8, 8, 8, 0},      {1, 8, 8, 8, 0, 0}};
    for (const auto& [uiOn, uiX, uiY, uiHActive, uiVActive, uiRead] : auiRecords)
    {
        roState.WriteOutput(oTransaction, 1, 0, {uiOn, 0, {uiHActive, uiVActive}, 0, uiX, uiY});
        const auto fCheck = [&] { EXPECT_EQ(roState.ReadOutput(oTransaction, 1, 0).uiBufferWidth, uiX); };
        EXPECT_EQ(ReasonOf(fCheck).empty(), uiRead == 1) << uiX << " x " << uiY;
    }
    for (const size_t uiLetters : {3u, 60u, 200u})
    {
        const std::string strText(uiLetters, 'c');
        roState.WriteVerdict(oTransaction, 1, 0, 9, EVerdict::Refused, strText, 'r' + strText);
        const SVerdict oVerdict = roState.ReadVerdict(oTransaction, 1, 0);
        EXPECT_EQ(oVerdict.acConnector.data(), strText.substr(0, 39));
        EXPECT_EQ(oVerdict.acReason.data(), ('r' + strText).substr(0, 127));
    }
    EXPECT_THROW(roState.WriteVerdict(oTransaction, 2, 0, 9, EVerdict::Shown, ""), BoardError);
}

TEST_F(LibraryTest, StoppedHolderOfALockHoldsNobodyUpForLong)
{
    const Board oStopped = Board::Open(), oBoard = Board::Open();
    const auto  oStart = std::chrono::steady_clock::now();
    {
        const Transaction oTransaction(oStopped.m_oLocks);
        for (int iTry = 0; iTry < 20; ++iTry)  // as the end of a run with many outputs would
            EXPECT_THROW(Transaction(oBoard.m_oLocks), BoardError);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - oStart, std::chrono::seconds(8));
    s_iInterrupted = 0;
    for (const Board* const po : {&oBoard, &oStopped}) const Transaction oTransaction(po->m_oLocks);
    EXPECT_EQ(std::exchange(s_iInterrupted, -1), 8) << "each was asked for twice";
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
    Process oHolder([] {
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
    for (const char* pszWhen : {"enabled", "handle, buffer, library gone", "disabled", "cannot be written", "enabled anew"})
    {
        oHolder.Resume(), oHolder.Await();
        ExpectForAnother(*pszWhen == 'd' || *pszWhen == 'c' ? TStatus_OK : TStatus_RESOURCES_BUSY, pszWhen);
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
        oSilent.Await(), oSilent.Resume();
        Process::Pause();
    });
    oParent.Await(), oParent.Kill();
    ExpectForAnother(TStatus_OK, "a child that inherited the open files does not hold its parent's output");
    EXPECT_EQ(CountFiles("board.pixels-"), 1) << "nor the pixels of its buffers, only what an output shows is left";
    close(aiUntilTheEnd[1]);
}

TEST_F(LibraryTest, WrongArgumentsAreRefusedAndChangeNothing)
{
    Board::Create(Plan(2));
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
        EXPECT_EQ((std::array{o.TBuffer_Destroy(hDead), o.TVideoOut_ReleaseHandle(hDeadOut)}), (std::array<TStatus, 2>{}));
        EXPECT_TRUE(o.Output(0) != hDeadOut && o.MakeBuffer() != hDead) << "a dead handle was given out again";
        const auto fRefused = [](auto... aeResults) {
            EXPECT_EQ(std::vector<TStatus>({aeResults...}), std::vector(sizeof...(aeResults), TStatus_INVALID_PARAM));
        };
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
        fRefused(fCreate(hDev, 52, 0, 8), fCreate(hDev, 52, 8, 0), fCreate(hDev, 52, 0x40000000, 1),
                 fCreate(hDev, 52, ~0u, 1), fCreate(hDev, 52, 65536, 65536), fCreate(hDev, 52, 1, ~0u),
                 fCreate(hDev, 0, 8, 8), fCreate(hDev, 53, 8, 8), fCreate(hDev, 0x10002D09, 8, 8),
                 o.TBuffer_CreateVideo(hDev, TPixelFormat_R8G8B8A8, 8, 8, nullptr));
        fRefused(o.TBuffer_GetPlaneInfo(hBuf, nullptr), o.TBuffer_BeginAccess(hBuf, 1, 1, &uiPlane),
                 o.TBuffer_BeginAccess(hBuf, 0, 0, &uiPlane), o.TBuffer_BeginAccess(hBuf, 0, 2, &uiPlane),
                 o.TBuffer_BeginAccess(hBuf, 0, 1, nullptr));
        fRefused(fGet(hDev, 2, 2), fGet(hDev, 0, 1), o.TVideoOut_GetCount(hDev, nullptr),
                 o.TVideoOut_GetHandle(hDev, 0, TAccessMode_READWRITE, nullptr), fOn(hOut, hBuf, 1, 1, 8),
                 fOn(hOut, hBuf, 0, 0, 8), fOn(hOut, hBuf, 0, 1, 0), fOn(hOut, hBuf, 0, 1, 0x06000000),
                 fOn(hOut, h565, 0, 1, 8), fOn(hOut, hForeign, 0, 1, 8),
                 o.TVideoOut_Enable(hOut, TVideo_SignalType_USEDEFAULT, nullptr, hBuf, TVideoOut_PowerState_ON));
        fRefused(o.TBoard_RegWrite(hDev, 16384, 1), o.TBoard_RegRead(hDev, 16384, &ui), o.TBoard_RegRead(hDev, 1, nullptr),
                 o.TBoard_GetFpgaCount(hDev, nullptr), o.TBoard_GetFpgaInfo(hDev, 1, &oFpga),
                 o.TBoard_GetFpgaInfo(hDev, 0, nullptr), o.TBoard_GetFpgaInfo(hDev, 0, &oLarger));
        const auto fAs = [](auto hKind, auto h) { return reinterpret_cast<decltype(hKind)>(h); };
        const std::tuple<TDevice_Handle, TBuffer_Handle, TVideoOut_Handle> ahWrong[] = {
            {}, {fAs(hDev, 16ul), hDead, hDeadOut}, {fAs(hDev, hBuf), fAs(hBuf, hOut), fAs(hOut, hDev)}};
        for (const auto& [hD, hB, hO] : ahWrong)
        {
            fRefused(fCreate(hD, 52, 8, 8), o.TVideoOut_GetCount(hD, &ui), fGet(hD, 0, 2), o.TBoard_RegWrite(hD, 1, 1),
                     o.TBoard_RegRead(hD, 1, &ui), o.TBoard_GetFpgaCount(hD, &ui), o.TBoard_GetFpgaInfo(hD, 0, &oFpga));
            fRefused(o.TBuffer_GetPlaneInfo(hB, &oInfo), o.TBuffer_BeginAccess(hB, 0, 1, &uiPlane), o.TBuffer_EndAccess(hB),
                     o.TBuffer_Destroy(hB), fOn(hOut, hB, 0, 1, 8));
            fRefused(fOn(hO, hBuf, 0, 1, 8), o.TVideoOut_Disable(hO), o.TVideoOut_ReleaseHandle(hO));
        }
        EXPECT_EQ(std::tuple(o.Tavrin_GetDevice(2), ui, uiPlane, hNewBuf, hNewOut, oInfo.uiPlaneCount, oFpga.szName[0],
                             oLarger.szName[0]),
                  std::tuple(nullptr, 77u, 77u, hDead, hDeadOut, 0u, '\0', '\0'));
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
                    EXPECT_EQ((std::array{o.Enable(uiThread % 2), o.TBuffer_Destroy(o.hBuffer)}),
                              (std::array<TStatus, 2>{}));
                    o.TBoard_RegWrite(o.hDev, uiThread, uiTurn), o.TBoard_RegRead(o.hDev, uiThread, &uiValue);
                    EXPECT_EQ(uiValue, uiTurn);
                }
            });
    });
    EXPECT_EQ(CountFiles("board.pixels-"), 2) << "what the outputs show";
}
