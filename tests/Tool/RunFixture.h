// A world for one display run: the fake board fresh, the run's arguments at their defaults, standard output captured.
#ifndef RUN_FIXTURE_H
#define RUN_FIXTURE_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "DisplayRun.h"
#include "FakeTavrin.h"

class CRunFixture : public testing::Test
{
protected:
    CRunFixture() : m_roBoard(World())
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

#endif
