// One board for all processes, who holds its outputs, wrong arguments, threads.
#include <deque>
#include <thread>

#include "BoardWorld.h"

namespace
{
using LibraryTest = BoardWorld;

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
        tagTBoard_FpgaInfo o = {};
        o.uiSize             = sizeof(o);
        EXPECT_EQ(ro.TBoard_GetFpgaInfo(ro.hDev, 0, &o), TStatus_OK);
        EXPECT_EQ(std::tuple(o.uiSize, o.uiI2cAddress, o.ui16VendorID, o.ui16DevID), std::tuple(84u, 0xd0u, 0xc3e7, 3));
        EXPECT_EQ(std::tuple(o.uiVersionMajor, o.uiVersionMinor, o.uiVersionBuild), std::tuple(1, 33, 0));
    });
    EXPECT_EQ(CountFiles(""), 2) << "only the state and the locks";
}

// What another process is answered about output 0; output 1 is free in any case.
void ExpectForAnother(TStatus eExpected, const char* pszWhen)
{
    Process([&] {
        TestClient oClient;
        oClient.MakeBuffer();
        EXPECT_EQ(oClient.Disable(0), eExpected) << pszWhen;
        EXPECT_EQ(oClient.Enable(0), eExpected) << pszWhen;
        EXPECT_EQ(oClient.Disable(0), eExpected) << pszWhen;
        EXPECT_EQ(oClient.Enable(1), TStatus_OK) << pszWhen;
    });
}

TEST_F(LibraryTest, OutputIsHeldByItsProcessUntilThatDisablesItOrEnds)
{
    Process oHolder([] {
        HoldOutput();
        TestClient oClient;
        oClient.MakeBuffer();
        EXPECT_EQ(oClient.Enable(0), TStatus_OK) << "its own output again";
        EXPECT_EQ(oClient.TVideoOut_ReleaseHandle(oClient.Output(0)), TStatus_OK);
        EXPECT_EQ(oClient.TBuffer_Destroy(oClient.hBuffer), TStatus_OK);
        EXPECT_EQ(dlclose(oClient.m_pLibrary), 0);
        Process::Pause();
        EXPECT_EQ(TestClient().Disable(0), TStatus_OK);
        EXPECT_EQ(TestClient().Disable(0), TStatus_OK) << "off already";
        Process::Pause();
        HoldOutput();
    });
    for (const auto& [eExpected, pszWhen] : {std::pair{TStatus_RESOURCES_BUSY, "enabled"},
                                             {TStatus_RESOURCES_BUSY, "handle, buffer and library gone"},
                                             {TStatus_OK, "disabled"},
                                             {TStatus_RESOURCES_BUSY, "enabled anew"}})
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
    ASSERT_EQ(pipe(aiUntilTheEnd), 0);
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
        Process oSilent([&]  // never calls the library, and outlives its parent
        {
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
    close(aiUntilTheEnd[1]);
}

TEST_F(LibraryTest, WrongArgumentsAreRefusedAndChangeNothing)
{
    InClient([](TestClient& ro) {
        TBuffer_Handle h565 = nullptr;
        EXPECT_EQ(ro.TBuffer_CreateVideo(ro.hDev, TPixelFormat_B5G6R5, 8, 8, &h565), TStatus_OK);
        const TBuffer_Handle   hBuf = ro.MakeBuffer(), hDead = ro.MakeBuffer();
        const TVideoOut_Handle hOut = ro.Output(1), hDeadOut = ro.Output(0);
        EXPECT_EQ(ro.TBuffer_Destroy(hDead), TStatus_OK);
        EXPECT_EQ(ro.TVideoOut_ReleaseHandle(hDeadOut), TStatus_OK);

        // What the calls are to fill in, with marks that must stay.
        KUINT32              ui      = 77;
        KUINTPTR             uiPlane = 77;
        TBuffer_Handle       hNewBuf = hDead;
        TVideoOut_Handle     hNewOut = hDeadOut;
        tagTBuffer_PlaneInfo oInfo   = {};
        tagTBoard_FpgaInfo   oFpga   = {};
        oFpga.uiSize                 = sizeof(oFpga);
        const auto fCreate = [&](TDevice_Handle h, KUINT32 uiFormat, KUINT32 uiWidth, KUINT32 uiHeight) {
            return ro.TBuffer_CreateVideo(h, TPixelFormat{uiFormat}, uiWidth, uiHeight, &hNewBuf);
        };
        const auto fEnable = [&](TVideoOut_Handle h, TBuffer_Handle hShown, KUINT32 uiSignal, KUINT32 uiPower, KUINT32 uiSide) {
            tagTVideo_VidParam oVid = {};
            oVid.uiHActive          = uiSide;
            oVid.uiVActive          = 8;
            return ro.TVideoOut_Enable(h, TVideo_SignalType{uiSignal}, &oVid, hShown, TVideoOut_PowerState{uiPower});
        };
        const auto fGet = [&](TDevice_Handle h, KUINT32 uiIndex, KUINT32 uiMode) {
            return ro.TVideoOut_GetHandle(h, uiIndex, TAccessMode{uiMode}, &hNewOut);
        };
        std::vector<TStatus> oAnswers = {
            fCreate(ro.hDev, 52, 0, 8), fCreate(ro.hDev, 52, 8, 0), fCreate(ro.hDev, 52, 0x40000000, 1),
            fCreate(ro.hDev, 52, 0xFFFFFFFF, 1), fCreate(ro.hDev, 52, 65536, 65536), fCreate(ro.hDev, 52, 1, 0xFFFFFFFF),
            fCreate(ro.hDev, 0, 8, 8), fCreate(ro.hDev, 53, 8, 8), fCreate(ro.hDev, 0x10002D09, 8, 8),
            ro.TBuffer_CreateVideo(ro.hDev, TPixelFormat_R8G8B8A8, 8, 8, nullptr), ro.TBuffer_GetPlaneInfo(hBuf, nullptr),
            ro.TBuffer_BeginAccess(hBuf, 1, 1, &uiPlane), ro.TBuffer_BeginAccess(hBuf, 0, 0, &uiPlane),
            ro.TBuffer_BeginAccess(hBuf, 0, 2, &uiPlane), ro.TBuffer_BeginAccess(hBuf, 0, 1, nullptr),
            ro.TVideoOut_GetCount(ro.hDev, nullptr), fGet(ro.hDev, 2, 2), fGet(ro.hDev, 0, 1),
            ro.TVideoOut_GetHandle(ro.hDev, 0, TAccessMode_READWRITE, nullptr), fEnable(hOut, hBuf, 1, 1, 8),
            fEnable(hOut, hBuf, 0, 0, 8), fEnable(hOut, hBuf, 0, 1, 0), fEnable(hOut, hBuf, 0, 1, 0xFFFFFFFF),
            fEnable(hOut, h565, 0, 1, 8),
            ro.TVideoOut_Enable(hOut, TVideo_SignalType_USEDEFAULT, nullptr, hBuf, TVideoOut_PowerState_ON),
            ro.TBoard_RegWrite(ro.hDev, 16384, 1), ro.TBoard_RegRead(ro.hDev, 16384, &ui), ro.TBoard_RegRead(ro.hDev, 1, nullptr),
            ro.TBoard_GetFpgaCount(ro.hDev, nullptr), ro.TBoard_GetFpgaInfo(ro.hDev, 1, &oFpga),
            ro.TBoard_GetFpgaInfo(ro.hDev, 0, nullptr)};
        for (const auto h : {TDevice_Handle{}, reinterpret_cast<TDevice_Handle>(16), reinterpret_cast<TDevice_Handle>(hBuf)})
            oAnswers.insert(oAnswers.end(), {fCreate(h, 52, 8, 8), ro.TVideoOut_GetCount(h, &ui), fGet(h, 0, 2),
                                             ro.TBoard_RegWrite(h, 1, 1), ro.TBoard_RegRead(h, 1, &ui),
                                             ro.TBoard_GetFpgaCount(h, &ui), ro.TBoard_GetFpgaInfo(h, 0, &oFpga)});
        for (const auto h : {TBuffer_Handle{}, hDead, reinterpret_cast<TBuffer_Handle>(hOut)})
            oAnswers.insert(oAnswers.end(), {ro.TBuffer_GetPlaneInfo(h, &oInfo), ro.TBuffer_BeginAccess(h, 0, 1, &uiPlane),
                                             ro.TBuffer_EndAccess(h), ro.TBuffer_Destroy(h), fEnable(hOut, h, 0, 1, 8)});
        for (const auto h : {TVideoOut_Handle{}, hDeadOut, reinterpret_cast<TVideoOut_Handle>(ro.hDev)})
            oAnswers.insert(oAnswers.end(), {fEnable(h, hBuf, 0, 1, 8), ro.TVideoOut_Disable(h), ro.TVideoOut_ReleaseHandle(h)});
        oFpga.uiSize = sizeof(oFpga) + 1;
        oAnswers.push_back(ro.TBoard_GetFpgaInfo(ro.hDev, 0, &oFpga));
        for (size_t uiCall = 0; uiCall < oAnswers.size(); ++uiCall)
            EXPECT_EQ(oAnswers[uiCall], TStatus_INVALID_PARAM) << "call " << uiCall;
        EXPECT_EQ(ro.Tavrin_GetDevice(1), nullptr);
        EXPECT_EQ(std::tuple(ui, uiPlane, hNewBuf, hNewOut, oInfo.uiPlaneCount, oFpga.szName[0]),
                  std::tuple(77u, 77u, hDead, hDeadOut, 0u, '\0'));
    });
    EXPECT_EQ(CountFiles("board.pixels-"), 2) << "the two that were made and not destroyed";
}

TEST_F(LibraryTest, ThreadsShareTheLibrary)
{
    InClient([](TestClient& ro) {
        std::deque<std::thread> oThreads;
        for (KUINT32 uiThread = 0; uiThread < 4; ++uiThread)
            oThreads.emplace_back([o = ro, uiThread]() mutable {
                for (KUINT32 uiTurn = 1, uiValue = 0; uiTurn <= 20; ++uiTurn)
                {
                    o.MakeBuffer();
                    *o.Access() = 1;
                    EXPECT_EQ(o.Enable(uiThread % 2), TStatus_OK);
                    EXPECT_EQ(o.TBuffer_Destroy(o.hBuffer), TStatus_OK);
                    EXPECT_EQ(o.TBoard_RegWrite(o.hDev, uiThread, uiTurn), TStatus_OK);
                    EXPECT_EQ(o.TBoard_RegRead(o.hDev, uiThread, &uiValue), TStatus_OK);
                    EXPECT_EQ(uiValue, uiTurn);
                }
            });
        std::for_each(oThreads.begin(), oThreads.end(), [](std::thread& roThread) { roThread.join(); });
        EXPECT_EQ(std::pair(ro.Disable(0), ro.Disable(1)), std::pair(TStatus_OK, TStatus_OK));
    });
    EXPECT_EQ(CountFiles("board.pixels-"), 0);
}
}
