// The fixture for display runs: a fresh fake board, default arguments, captured output, and the calls to the library.
#ifndef DISPLAY_WORLD_H
#define DISPLAY_WORLD_H

#include <dlfcn.h>

#include "DisplayRun.h"
#include "FakeTavrin.h"
#include "PngFile.h"
#include "TestSupport.h"

using Calls = std::vector<std::string>;

const std::string REPORT    = "vesk\\(4\\.12\\.0\\.16\\)\\[0\\]: \\(Error\\) [A-Za-z]+\\.cpp\\([0-9]+\\) Assertion failed\n";
const std::string FALL_BACK = REPORT + "Animation Png failed to load fall back on rectangle animation\n";

inline Calls operator+(Calls asFirst, const Calls& asNext)
{
    asFirst.insert(asFirst.end(), asNext.begin(), asNext.end());
    return asFirst;
}

inline Calls OutputCalls(const std::string& s, const std::string& sOperation)
{
    return {"TVideoOut_GetHandle " + s + " 2", sOperation, "TVideoOut_ReleaseHandle " + s};
}

// The calls of a run of one step on a board with two outputs: up to the teardown, then the teardown.
// clang-format off
const Calls FORWARD = Calls{"Tavrin_GetDeviceCount", "Tavrin_GetDevice 0", "TBoard_GetFpgaCount", "TBoard_GetFpgaInfo 0",
                            "TBuffer_CreateVideo 52 80 60", "TBuffer_GetPlaneInfo", "TBuffer_BeginAccess 0 1",
                            "TBuffer_EndAccess", "TVideoOut_GetCount"}
    + OutputCalls("0", "TVideoOut_Enable 0 0 80 1") + OutputCalls("1", "TVideoOut_Enable 1 0 80 1")
    + Calls{"TBoard_RegWrite 6908 1", "TBuffer_BeginAccess 0 1", "TBoard_RegRead 7932", "TBuffer_EndAccess"};
// clang-format on
const Calls UNDO_BUFFER  = {"TBuffer_Destroy", "TBoard_RegWrite 6908 0"};
const Calls UNDO_OUTPUTS = OutputCalls("0", "TVideoOut_Disable 0") + OutputCalls("1", "TVideoOut_Disable 1") + UNDO_BUFFER;

inline bool                                          g_bRunIsUnderWay = false;
inline std::function<bool(const std::string& sName)> g_fServiceFails;  // asked at each call of the system in a run
// The bytes that a heap was asked for that may refuse. What the kernel was told of memory: address, bytes, advice.
inline std::vector<size_t>                            g_auiBlocks;
inline std::vector<std::tuple<KUINTPTR, size_t, int>> g_aoAdvice;

struct DisplayWorld : testing::Test
{
    DisplayWorld() { m_roBoard = SFakeTavrin(), g_fServiceFails = nullptr; }

    TStatus Run()
    {
        g_bStopSignal = FALSE;
        m_roBoard.asCalls.clear();
        m_roBoard.auiLoads.clear();
        TStatus eStatus = TStatus_OK;
        m_sOutput       = OutputOf([&] {
            g_bRunIsUnderWay = true;
            eStatus = DisplayProgressBar(m_uiDevIndex, m_oBar, m_pszImage, m_pszFrames, m_uiStepMs, m_oAnim, m_uiEnableTime,
                                               m_bProgressBar, m_bAnimation, m_oVidParam);
            g_bRunIsUnderWay = false;
        });
        return eStatus;
    }

    // Writes a background of bytes that are 40 and 41 by turns of its rows, and that many frames of grey 60, 120, ... and a
    // bit, which are half transparent. The next run shows them. A frame behind a missing one is not played.
    void MakePictures(int iFrames)
    {
        std::vector<png_byte> auiBack(80 * 4, 40);
        auiBack.resize(2 * 80 * 4, 41);
        WritePng(m_sBack, 80, 60, {}, auiBack);
        for (int i = 1; i <= iFrames + 2; ++i)
        {
            const std::string     sFrame = m_sFrames + "0" + std::to_string(i) + ".png";
            std::vector<png_byte> auiRows;
            for (int j = 0; j < 20 * 10; ++j)
                auiRows.insert(auiRows.end(), 3, static_cast<png_byte>(60 * i + j % 13)), auiRows.push_back(128);
            WritePng(sFrame, 20, 10, {}, auiRows);
            if (i == iFrames + 1) std::filesystem::remove(sFrame);
        }
        m_pszImage   = m_sBack.c_str();
        m_pszFrames  = m_sFrames.c_str();
        m_bAnimation = TRUE;
    }

    KUINT32 PixelAt(KUINT32 x, KUINT32 y) const
    {
        return m_roBoard.auiPixels.at(size_t{y} * (m_roBoard.uiWidth + m_roBoard.uiPitchExtra) + x);
    }

    // Compares the picture. The gap between its rows is never written.
    template <class TExpected> testing::AssertionResult Shows(TExpected fExpected) const
    {
        return IsPicture(
            96, 60, [this](KUINT32 x, KUINT32 y) { return PixelAt(x, y); },
            [&](KUINT32 x, KUINT32 y) { return x < 80 ? KUINT32(fExpected(x, y)) : 0xDEADBEEF; });
    }

    // Keeps the library loaded after the run, so that the test can still read its world.
    static inline void* const s_pvLibrary = dlopen("libTavrin.so.1", RTLD_NOW);

    SFakeTavrin&       m_roBoard = *reinterpret_cast<SFakeTavrin* (*)()>(dlsym(s_pvLibrary, "FakeTavrin_World"))();
    TestFolder         m_oFolder;
    std::string        m_sBack = m_oFolder / "back.png", m_sFrames = m_oFolder / "frame";
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
};

#endif
