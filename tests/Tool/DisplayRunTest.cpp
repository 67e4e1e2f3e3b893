#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <regex>
#include <tuple>
#include <unistd.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "DisplayRun.h"
#include "FakeTavrin.h"
#include "OsServices.h"
#include "PngFile.h"

OsServices g_oOsServices(nullptr);

namespace
{
std::atomic<int> s_iAllocations{0};
}

// The linker leads every allocation of the program's own objects through here.
extern "C"
{
void* __real__Znwm(std::size_t uiSize);
void* __real__Znam(std::size_t uiSize);
void* __real_malloc(std::size_t uiSize);
void* __wrap__Znwm(std::size_t uiSize) { return ++s_iAllocations, __real__Znwm(uiSize); }
void* __wrap__Znam(std::size_t uiSize) { return ++s_iAllocations, __real__Znam(uiSize); }
void* __wrap_malloc(std::size_t uiSize) { return ++s_iAllocations, __real_malloc(uiSize); }
}

namespace
{
using Calls = std::vector<std::string>;

const std::string REPORT = "vesk\\(4\\.12\\.0\\.16\\)\\[0\\]: \\(Error\\) [A-Za-z]+\\.cpp\\([0-9]+\\) Assertion failed\n";
const std::string BUSY_1 = "ABORTING: Cannot enable display, the resource is busy! \\(Video output:1\\) \n";

Calls Joined(std::initializer_list<Calls> aasParts)
{
    Calls asAll;
    for (const Calls& asPart : aasParts)
        asAll.insert(asAll.end(), asPart.begin(), asPart.end());
    return asAll;
}

Calls EnableCalls(int i)
{
    const std::string s = std::to_string(i);
    return {"TVideoOut_GetHandle " + s + " 2", "TVideoOut_Enable " + s + " 0 80 1", "TVideoOut_ReleaseHandle " + s};
}

Calls DisableCalls(int i)
{
    const std::string s = std::to_string(i);
    return {"TVideoOut_GetHandle " + s + " 2", "TVideoOut_Disable " + s, "TVideoOut_ReleaseHandle " + s};
}

// The calls of a run of one step on a board of two outputs, up to its teardown.
const Calls FORWARD = Joined(
    {{"Tavrin_GetDeviceCount", "Tavrin_GetDevice 0", "TBoard_GetFpgaCount", "TBoard_GetFpgaInfo 0",
      "TBuffer_CreateVideo 52 80 60", "TBuffer_GetPlaneInfo", "TBuffer_BeginAccess 0 1", "TBuffer_EndAccess",
      "TVideoOut_GetCount"},
     EnableCalls(0), EnableCalls(1),
     {"TBoard_RegWrite 6908 1", "TBuffer_BeginAccess 0 1", "TBoard_RegRead 7932", "TBuffer_EndAccess"}});

// What is undone, by how far the run came.
const Calls UNDO_NOTHING;
const Calls UNDO_DEVICE  = {"TBoard_RegWrite 6908 0"};
const Calls UNDO_BUFFER  = {"TBuffer_Destroy", "TBoard_RegWrite 6908 0"};
const Calls UNDO_OUTPUTS = Joined({DisableCalls(0), DisableCalls(1), UNDO_BUFFER});

struct SFault
{
    const char*  pszCall;
    int          iOccurrence;
    TStatus      eFailure;
    TStatus      eRunStatus;
    std::string  sOutput;   // a regular expression
    Calls        asBetween;  // after the failing call, before the teardown
    const Calls* pasUndone;
};

const SFault FAULTS[] = {
    {"Tavrin_GetDeviceCount", 0, TStatus_FAIL, TStatus_FAIL, REPORT, {}, &UNDO_NOTHING},
    {"Tavrin_GetDevice 0", 0, TStatus_FAIL, TStatus_FAIL, REPORT, {}, &UNDO_NOTHING},
    {"TBoard_GetFpgaCount", 0, TStatus_TIMEOUT, TStatus_FAIL, "", {}, &UNDO_DEVICE},
    {"TBoard_GetFpgaInfo 0", 0, TStatus_TIMEOUT, TStatus_FAIL, "", {}, &UNDO_DEVICE},
    {"TBuffer_CreateVideo 52 80 60", 0, TStatus_TIMEOUT, TStatus_FAIL, REPORT, {}, &UNDO_DEVICE},
    {"TBuffer_GetPlaneInfo", 0, TStatus_TIMEOUT, TStatus_TIMEOUT, REPORT, {}, &UNDO_BUFFER},
    {"TBuffer_BeginAccess 0 1", 0, TStatus_RESOURCES_BUSY, TStatus_RESOURCES_BUSY, REPORT, {}, &UNDO_BUFFER},
    {"TBuffer_EndAccess", 0, TStatus_INVALID_PARAM, TStatus_INVALID_PARAM, REPORT, {}, &UNDO_BUFFER},
    {"TVideoOut_GetCount", 0, TStatus_CANCELED, TStatus_CANCELED, REPORT, {}, &UNDO_BUFFER},
    {"TVideoOut_GetHandle 1 2", 0, TStatus_FAIL, TStatus_FAIL, REPORT, {}, &UNDO_OUTPUTS},
    {"TVideoOut_GetHandle 1 2", 0, TStatus_RESOURCES_BUSY, TStatus_RESOURCES_BUSY, BUSY_1, {}, &UNDO_OUTPUTS},
    {"TVideoOut_Enable 1 0 80 1", 0, TStatus_RESOURCES_BUSY, TStatus_RESOURCES_BUSY, REPORT + BUSY_1,
     {"TVideoOut_ReleaseHandle 1"}, &UNDO_OUTPUTS},
    {"TVideoOut_Enable 0 0 80 1", 0, TStatus_TIMEOUT, TStatus_TIMEOUT, REPORT + REPORT,
     {"TVideoOut_ReleaseHandle 0"}, &UNDO_OUTPUTS},
    {"TVideoOut_ReleaseHandle 1", 0, TStatus_CANCELED, TStatus_CANCELED, REPORT + REPORT, {}, &UNDO_OUTPUTS},
    {"TVideoOut_ReleaseHandle 1", 0, TStatus_RESOURCES_BUSY, TStatus_RESOURCES_BUSY, REPORT + BUSY_1, {}, &UNDO_OUTPUTS},
    {"TBuffer_BeginAccess 0 1", 1, TStatus_TIMEOUT, TStatus_TIMEOUT, REPORT, {}, &UNDO_OUTPUTS},
    {"TBuffer_EndAccess", 1, TStatus_TIMEOUT, TStatus_TIMEOUT, REPORT, {}, &UNDO_OUTPUTS},
};

// A world for one display run: the fake board fresh, the run's arguments at their defaults, standard output captured.
class DisplayRun : public testing::Test
{
protected:
    DisplayRun() : m_roBoard(World())
    {
        m_roBoard = SFakeTavrin();
        m_roBoard.aoFpgas.push_back({.uiSize = 84, .szName = "in", .ui16DevID = 3, .ui16VendorID = 0xc3e7, .uiI2cBusIndex = 0,
                                     .uiI2cAddress = 0xd0, .uiVersionMajor = 1, .uiVersionMinor = 33, .uiVersionBuild = 0});
        g_bStopSignal = FALSE;
    }

    TStatus Run()
    {
        testing::internal::CaptureStdout();
        const TStatus eStatus =
            DisplayProgressBar(m_uiDevIndex, m_oBar, m_pszImage, m_pszFrames, m_uiStepMs, m_oAnim, m_uiEnableTime,
                               m_bProgressBar, m_bAnimation, m_oVidParam);
        fflush(stdout);
        m_sOutput = testing::internal::GetCapturedStdout();
        return eStatus;
    }

    KUINT32 PixelAt(KUINT32 x, KUINT32 y) const
    {
        return m_roBoard.auiPixels.at(std::size_t{y} * (m_roBoard.uiWidth + m_roBoard.uiPitchExtra) + x);
    }

    SFakeTavrin&       m_roBoard;
    std::string        m_sOutput;
    KUINT32            m_uiDevIndex   = 0;
    tagTRECT           m_oBar         = {20, 40, 60, 50};
    const char*        m_pszImage     = nullptr;
    const char*        m_pszFrames    = nullptr;
    KUINT32            m_uiStepMs     = 1;
    tagTRECT           m_oAnim        = {10, 5, 30, 15};
    KUINT32            m_uiEnableTime = 0;
    KBOOL32            m_bProgressBar = TRUE;
    KBOOL32            m_bAnimation   = FALSE;
    tagTVideo_VidParam m_oVidParam    = {.uiHActive = 80, .uiVActive = 60};

private:
    // The tool unloads its library at the end of a run; the world must stay to be read.
    static SFakeTavrin& World()
    {
        static void* s_pvLibrary = dlopen("libTavrin.so.1", RTLD_NOW);
        static auto  s_pfnWorld  = reinterpret_cast<SFakeTavrin* (*)()>(dlsym(s_pvLibrary, "FakeTavrin_World"));
        return *s_pfnWorld();
    }
};

TEST_F(DisplayRun, AnyFailingCallEndsTheRunAndUndoesJustWhatWasDone)
{
    for (const SFault& roFault : FAULTS)
    {
        SCOPED_TRACE(testing::Message() << roFault.pszCall << " #" << roFault.iOccurrence << " = " << roFault.eFailure);
        m_roBoard.asCalls.clear();
        m_roBoard.sFailingCall       = roFault.pszCall;
        m_roBoard.iFailingOccurrence = roFault.iOccurrence;
        m_roBoard.eFailure           = roFault.eFailure;

        EXPECT_EQ(Run(), roFault.eRunStatus);
        EXPECT_TRUE(std::regex_match(m_sOutput, std::regex(roFault.sOutput))) << m_sOutput;

        auto itFailing = std::find(FORWARD.begin(), FORWARD.end(), roFault.pszCall);
        for (int i = 0; i < roFault.iOccurrence; ++i)
            itFailing = std::find(itFailing + 1, FORWARD.end(), roFault.pszCall);
        EXPECT_EQ(m_roBoard.asCalls, Joined({Calls(FORWARD.begin(), itFailing + 1), roFault.asBetween, *roFault.pasUndone}));
        EXPECT_EQ(Tavrin_GetDeviceCount(), 0u) << "the library is still loaded";
    }
}

TEST_F(DisplayRun, CallsThatAreNotExaminedChangeNothing)
{
    for (const char* pszCall : {"", "TBoard_RegWrite 6908 1", "TBoard_RegWrite 6908 0", "TBuffer_Destroy", "TVideoOut_Disable 0"})
    {
        SCOPED_TRACE(pszCall);
        m_roBoard.asCalls.clear();
        m_roBoard.sFailingCall = pszCall;
        EXPECT_EQ(Run(), TStatus_OK);
        const bool bReported = m_roBoard.sFailingCall == "TVideoOut_Disable 0";
        EXPECT_TRUE(std::regex_match(m_sOutput, std::regex(bReported ? REPORT : ""))) << m_sOutput;
        EXPECT_EQ(m_roBoard.asCalls, Joined({FORWARD, UNDO_OUTPUTS}));
    }
}

TEST_F(DisplayRun, FirmwareThatMayNotBeDrivenEndsItBeforeTheBuffer)
{
    m_roBoard.aoFpgas[0].uiVersionBuild = 7;
    EXPECT_EQ(Run(), TStatus_FAIL);
    EXPECT_EQ(m_sOutput, "");
    EXPECT_EQ(m_roBoard.asCalls, Joined({Calls(FORWARD.begin(), FORWARD.begin() + 4), UNDO_DEVICE}));

    m_roBoard.aoFpgas.clear();
    EXPECT_EQ(Run(), TStatus_FAIL);
    EXPECT_EQ(m_sOutput, "No FPGA detected!\n");
}

TEST_F(DisplayRun, OutputWithoutAHandleIsLeftOutInSilence)
{
    m_roBoard.sFailingCall = "TVideoOut_GetHandle 0 2";
    m_roBoard.eFailure     = TStatus_OK;
    m_uiEnableTime         = 1000;  // no output is disabled, so no further handle is got
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(m_sOutput, "");
    EXPECT_EQ(std::count(m_roBoard.asCalls.begin(), m_roBoard.asCalls.end(), "TVideoOut_Enable 1 0 80 1"), 1);
    EXPECT_EQ(std::count(m_roBoard.asCalls.begin(), m_roBoard.asCalls.end(), "TVideoOut_Enable 0 0 80 1"), 0);
    EXPECT_EQ(m_roBoard.asCalls.end()[-2] + m_roBoard.asCalls.back(), UNDO_BUFFER[0] + UNDO_BUFFER[1]);
}

TEST_F(DisplayRun, BadRectanglesAndIndexTouchNoBoard)
{
    m_uiDevIndex = 1;
    EXPECT_EQ(Run(), TStatus_FAIL);
    EXPECT_EQ(m_roBoard.asCalls, Calls{"Tavrin_GetDeviceCount"});

    m_roBoard.asCalls.clear();
    m_oAnim.iBottom = 60;
    EXPECT_EQ(Run(), TStatus_FAIL);
    EXPECT_EQ(m_sOutput, "Animation Bar Rectangle is invalid\n");
    m_oBar.iRight = 80;
    EXPECT_EQ(Run(), TStatus_FAIL);
    EXPECT_EQ(m_sOutput, "Progress Bar Rectangle is invalid\n");
    EXPECT_TRUE(m_roBoard.asCalls.empty());
}

// Every moment at which the library is called: the line is printed, the run ends in its good way, and all is undone.
TEST_F(DisplayRun, StopSignalAtAnyCallEndsItWell)
{
    const std::size_t iFirstOfLoop = FORWARD.size() - 2;
    m_roBoard.fProgress            = [] { return 0xFFFFFF00u; };

    for (std::size_t iCall = 0; iCall <= iFirstOfLoop; ++iCall)
    {
        SCOPED_TRACE(FORWARD[iCall]);
        const int iSignal = iCall % 2 == 0 ? SIGTERM : SIGINT;
        g_bStopSignal     = FALSE;
        m_roBoard.asCalls.clear();
        m_roBoard.fOnCall = [&](const std::string&) {
            if (m_roBoard.asCalls.size() == iCall + 1)
                raise(iSignal);
        };
        EXPECT_EQ(Run(), TStatus_OK);
        EXPECT_EQ(m_sOutput, "Received signal: " + std::to_string(iSignal) + "\n");

        Calls asForward = FORWARD;
        if (iCall < iFirstOfLoop)
            asForward.erase(asForward.end() - 2);  // the loop is skipped
        EXPECT_EQ(m_roBoard.asCalls, Joined({asForward, UNDO_OUTPUTS}));
    }

    struct sigaction oInstalled;
    sigaction(SIGTERM, nullptr, &oInstalled);
    EXPECT_EQ(oInstalled.sa_flags & (SA_SIGINFO | SA_RESTART | SA_NODEFER), SA_SIGINFO);
    EXPECT_TRUE(sigismember(&oInstalled.sa_mask, SIGUSR1));
}

TEST_F(DisplayRun, LoopHasOneMoreWaitAfterCompletionAndIgnoresTheUpperBits)
{
    using Clock = std::chrono::system_clock;  // the one that waits are measured on
    Clock::time_point oLastRead, oEnded;
    int               iReads = 0;

    m_uiStepMs          = 50;
    m_roBoard.fOnCall   = [&](const std::string& s) { s == "TBoard_RegRead 7932" ? oLastRead = Clock::now() : oEnded = Clock::now(); };
    m_roBoard.fProgress = [&iReads] { return ++iReads < 3 ? 0xABCDEF00u + 99 : 0xFF000064u; };
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(iReads, 3);
    EXPECT_EQ(PixelAt(59, 45), 0x00FFFFFFu);
    EXPECT_GE(oEnded - oLastRead, std::chrono::milliseconds(m_uiStepMs)) << "the full bar was not left on screen";
}

TEST_F(DisplayRun, EnableTimeEndsItAndLeavesTheOutputsOn)
{
    m_uiEnableTime      = 1;
    m_uiStepMs          = 50;
    m_roBoard.fProgress = [] { return 10u; };
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(Calls(m_roBoard.asCalls.end() - 3, m_roBoard.asCalls.end()), Joined({{"TBuffer_EndAccess"}, UNDO_BUFFER}));
    EXPECT_EQ(PixelAt(23, 45), 0x00FFFFFFu);
    EXPECT_EQ(PixelAt(24, 45), 0u);
}

TEST_F(DisplayRun, StepAllocatesAndOpensNothing)
{
    const auto fOpenFiles = [] {
        namespace fs = std::filesystem;
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const int iAllocationsBefore = s_iAllocations;
    int  iReads = 0, iAllocationsAtFirst = 0;
    long iFilesAtFirst = 0;

    m_bAnimation            = TRUE;
    m_roBoard.bRecordsReads = false;
    m_roBoard.fProgress     = [&] {
        if (++iReads == 1)
        {
            iFilesAtFirst       = fOpenFiles();
            iAllocationsAtFirst = s_iAllocations;
        }
        else if (iReads == 20)
        {
            EXPECT_EQ(s_iAllocations, iAllocationsAtFirst);
            EXPECT_EQ(fOpenFiles(), iFilesAtFirst);
        }
        return iReads < 20 ? 5u * static_cast<KUINT32>(iReads) : 100u;
    };
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(iReads, 20);
    EXPECT_GT(iAllocationsAtFirst, iAllocationsBefore) << "the count counts nothing";
}

TEST_F(DisplayRun, FailedRegisterReadKeepsTheLastPercentage)
{
    int iReads                   = 0;
    m_roBoard.fProgress          = [&iReads] { return ++iReads == 1 ? 50u : 100u; };
    m_roBoard.sFailingCall       = "TBoard_RegRead 7932";
    m_roBoard.iFailingOccurrence = 1;
    KUINT32 uiSeen               = 0;
    m_roBoard.fOnCall            = [&](const std::string& s) { uiSeen += s == "TBoard_RegRead 7932"; };
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(uiSeen, 3u);
}

TEST_F(DisplayRun, PictureIsClearedAnimatedAndDrawnThroughTheSecondMapping)
{
    m_bAnimation = TRUE;
    EXPECT_EQ(Run(), TStatus_OK);
    for (KUINT32 y = 0; y < 60; ++y)
    {
        for (KUINT32 x = 0; x < 80; ++x)
        {
            const bool bBar   = x >= 20 && x <= 60 && y >= 40 && y <= 50;
            const bool bBlock = x >= 11 && x < 21 && y >= 5 && y < 15;  // 5 % to 55 % of 20 columns
            ASSERT_EQ(PixelAt(x, y), bBar || bBlock ? 0x00FFFFFFu : 0u) << x << "," << y;
        }
        ASSERT_EQ(PixelAt(80, y), 0xDEADBEEFu) << "the gap between rows was written";
    }
}

// The frames carry the background but not the bar, and the bar is drawn over them.
TEST_F(DisplayRun, PicturesAreShownInTheirOrder)
{
    const std::string sBase = std::filesystem::temp_directory_path() / ("display-run-" + std::to_string(getpid()) + "-");
    for (const auto& [pszName, uiWidth, uiHeight, uiByte] : {std::tuple{"back", 80u, 60u, 40}, {"01", 20u, 10u, 0}, {"02", 20u, 10u, 128}})
        WritePng(sBase + pszName + ".png", uiWidth, uiHeight, {}, std::vector<png_byte>(uiWidth * uiHeight * 4, static_cast<png_byte>(uiByte)));
    const std::string sBack = sBase + "back.png";
    m_pszImage   = sBack.c_str();
    m_pszFrames  = sBase.c_str();
    m_bAnimation = TRUE;
    m_oBar       = {20, 10, 60, 50};  // over the right half of the frames

    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(m_sOutput, "");
    EXPECT_EQ(PixelAt(79, 59), 0x28282828u);
    EXPECT_EQ(PixelAt(10, 5), 0xFF545454u) << "128 * 128 / 255 + 40 * 127 / 255";
    EXPECT_EQ(PixelAt(29, 9), 0xFF545454u);
    EXPECT_EQ(PixelAt(29, 12), 0x00FFFFFFu);
    for (const char* pszName : {"back.png", "01.png", "02.png"})
        std::filesystem::remove(sBase + pszName);
}

TEST_F(DisplayRun, WithoutBarAndAnimationThePictureStaysBlack)
{
    m_bProgressBar      = FALSE;
    m_pszFrames         = "/nonexistent";
    m_roBoard.uiOutputs = 0;
    m_roBoard.fOnCall   = [](const std::string& s) { s == "TBoard_RegWrite 6908 1" ? raise(SIGINT) : 0; };
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(m_sOutput, "Received signal: 2\n");
    EXPECT_EQ(PixelAt(20, 40) | PixelAt(60, 50) | PixelAt(10, 5), 0u);
}

TEST_F(DisplayRun, UnreadablePicturesAreNoFailure)
{
    m_pszImage   = "/nonexistent.png";
    m_pszFrames  = "/nonexistent";
    m_bAnimation = TRUE;
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_TRUE(std::regex_match(m_sOutput, std::regex(REPORT + "Animation Png failed to load fall back on rectangle animation\n")));
    EXPECT_EQ(PixelAt(11, 5), 0x00FFFFFFu);
}

TEST_F(DisplayRun, LibraryWithoutPlanesIsSurvived)
{
    m_roBoard.uiPlanes = 0;
    m_bAnimation       = TRUE;
    m_pszFrames        = "/nonexistent";
    EXPECT_EQ(Run(), TStatus_OK);
    EXPECT_EQ(PixelAt(20, 40), 0xDEADBEEFu);
}
}
