// What shows an output on a display, as far as that needs no card: modes, formats, who shows what, and the changed rows.
#include <drm_fourcc.h>

#include "Board.h"
#include "BoardError.h"
#include "BoardWorld.h"
#include "Connectors.h"
#include "DisplayMode.h"
#include "DrawingProcess.h"
#include "ScreenCopy.h"
#include "VideoTimings.h"

namespace
{
using namespace SoftwareBoard::Display;
using SoftwareBoard::DrawingProcess, SoftwareBoard::PixelMapping, SoftwareBoard::Screen;

TEST(DisplayMode, HasTheTimingsOfTheOutputOrIsNone)
{
    EXPECT_EQ(DescribeMode(*MakeMode({1024, 768, 60, 48, 65000, 24, 136, 160, 3, 6, 29})),
              "1024x768-60 (1024 1048 1184 1344 768 771 777 806 65000 flags: nhsync, nvsync)");
    EXPECT_EQ(DescribeMode(*MakeMode({1920, 1080, 30, 33, 74250, 88, 44, 148, 4, 10, 31, 1, 0, 1, 1})),
              "1920x1080i-30 (1920 2008 2052 2200 1080 1084 1094 1125 74250 flags: interlace, phsync, pvsync)");
    // Active and front porch of a line, which has 296 pixels more.
    for (const auto& [uiActive, uiFPorch, bFits] :
         {std::tuple{0xFFFFu - 296, 0u, true}, {0xFFFFu - 296, 1u, false}, {1024u, 0xFFFFFFFF, false}, {0u, 24u, false}})
        EXPECT_EQ(MakeMode({uiActive, 768, 60, 48, 65000, uiFPorch, 136, 160, 3, 6, 29}).has_value(), bFits) << uiActive;
}

TEST(DisplayMode, AListedTimingMakesItsModeAgainOrIsLeftOut)
{
    constexpr uint32_t uiNN         = DRM_MODE_FLAG_NHSYNC | DRM_MODE_FLAG_NVSYNC,
                       uiPP         = DRM_MODE_FLAG_PHSYNC | DRM_MODE_FLAG_PVSYNC,
                       uiNP         = DRM_MODE_FLAG_NHSYNC | DRM_MODE_FLAG_PVSYNC;
    const drmModeModeInfo aoModes[] = {
        // clock, four edges of a line, skew, four edges of the picture, scans of a line, rate, flags, type
        {65000, 1024, 1048, 1184, 1344, 0, 768, 771, 777, 806, 0, 60, uiNN, DRM_MODE_TYPE_DRIVER, ""},
        {83500, 1280, 1352, 1480, 1680, 0, 800, 803, 809, 831, 1, 60, uiNP, DRM_MODE_TYPE_PREFERRED, ""},
        {74250, 1920, 2008, 2052, 2200, 0, 1080, 1084, 1094, 1125, 0, 60, uiPP | DRM_MODE_FLAG_INTERLACE, 0, ""},
        {4294836, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 1, 1, 1, 0xFFFF, 0, 1, uiPP, 0, ""},
    };
    std::vector<drmModeModeInfo> aoAll(std::begin(aoModes), std::end(aoModes));
    aoAll.push_back(aoModes[0]);
    aoAll.back().type = DRM_MODE_TYPE_PREFERRED;
    for (const uint32_t uiFlag : std::initializer_list<uint32_t>{DRM_MODE_FLAG_DBLSCAN, DRM_MODE_FLAG_CLKDIV2,
                                                                 DRM_MODE_FLAG_DBLCLK, DRM_MODE_FLAG_3D_FRAME_PACKING})
        (aoAll.push_back(aoModes[0]), aoAll.back().flags |= uiFlag);
    for (const auto& [puiField, uiValue] : {std::pair(&drmModeModeInfo::vscan, 2),
                                            {&drmModeModeInfo::hskew, 1},
                                            {&drmModeModeInfo::hdisplay, 0},
                                            {&drmModeModeInfo::vsync_start, 767}})
        (aoAll.push_back(aoModes[0]), aoAll.back().*puiField = static_cast<uint16_t>(uiValue));

    const std::vector<SListedTiming> aoListed = ListTimings(aoAll);
    ASSERT_EQ(aoListed.size(), std::size(aoModes));
    EXPECT_EQ(aoListed[1].strTiming, "1280 800 60 49 83500 72 128 200 3 6 22 no no - + no RGB_FULL 444 8");
    for (size_t uiMode = 0; uiMode < aoListed.size(); ++uiMode)
    {
        std::istringstream       oWords(aoListed[uiMode].strTiming);
        std::vector<std::string> astrWords{std::istream_iterator<std::string>(oWords), {}};
        std::vector<const char*> apszWords;
        for (const std::string& str : astrWords) apszWords.push_back(str.c_str());
        tagTVideo_VidParam oVidParam = {};
        ASSERT_TRUE(apszWords.size() == TIMING_VALUES && !ReadVideoTimings(apszWords.data(), oVidParam));
        drmModeModeInfo oAgain = *MakeMode(oVidParam);
        oAgain.name[0]         = '\0';
        EXPECT_EQ(DescribeMode(oAgain), DescribeMode(aoModes[uiMode]));
        EXPECT_EQ(aoListed[uiMode].bPreferred, uiMode < 2);
    }
}

TEST(ScanFormat, CheapestOneThatThePlaneHasShowsTheSameOpaqueColours)
{
    constexpr uint32_t uiB = DRM_FORMAT_XBGR8888, uiBA = DRM_FORMAT_ABGR8888, uiR = DRM_FORMAT_XRGB8888,
                       uiRA                                                       = DRM_FORMAT_ARGB8888;
    const std::tuple<std::vector<uint32_t>, uint32_t, KUINT32, KUINT32> aoCases[] = {
        // has, chosen, and its pixels
        {{uiR, uiRA, uiBA, uiB}, uiB, 0x00332211, 0x80FFEEDD},
        {{uiR, uiRA, uiBA}, uiBA, 0xFF332211, 0xFFFFEEDD},
        {{DRM_FORMAT_BGRX8888, uiRA, uiR}, uiR, 0x00112233, 0x80DDEEFF},
        {{DRM_FORMAT_RGB565, uiRA}, uiRA, 0xFF112233, 0xFFDDEEFF},
    };
    for (const auto& [auiHas, uiChosen, uiFirst, uiSecond] : aoCases)
    {
        const SScanFormat* const poFormat = ChooseFormat(auiHas);
        ASSERT_TRUE(poFormat != nullptr && poFormat->uiFourCc == uiChosen);
        KUINT32 auiRow[] = {0x00332211, 0x80FFEEDD}, auiShown[] = {1, 1, 1};
        CopyRow(*poFormat, auiRow, auiShown, 2);
        EXPECT_EQ(std::vector({auiShown[0], auiShown[1], auiShown[2]}), std::vector({uiFirst, uiSecond, 1u}));
    }
    EXPECT_EQ(ChooseFormat({DRM_FORMAT_RGB565, DRM_FORMAT_BGRX8888}), nullptr);
}

TEST(Connectors, EachOutputKeepsItsOwnUntilItIsPulled)
{
    using Ids         = std::vector<uint32_t>;
    const auto fThree = [](bool bA, bool bB, bool bC) {
        return std::vector<SConnector>{{1, "A", bA, 1, 0}, {2, "B", bB, 1, 0}, {3, "C", bC, 1, 0}};
    };
    const std::tuple<std::vector<SConnector>, std::vector<std::string>, Ids, Ids> aoCases[] = {
        // names, before, now
        {fThree(true, false, true), {}, {0, 0, 0}, {1, 3, 0}},
        {fThree(true, true, true), {}, {0, 3}, {1, 3}},
        {fThree(false, false, true), {}, {1, 3}, {0, 3}},
        {fThree(true, true, true), {"C", "A"}, {0, 0, 0}, {3, 1, 0}},
        {fThree(true, true, false), {"C", "A"}, {3, 1, 0}, {0, 1, 0}},
    };
    for (const auto& [oConnectors, oNames, oBefore, oNow] : aoCases)
        EXPECT_EQ(AssignConnectors(oConnectors, oNames, oBefore), oNow);
}

struct ScreenCopyTest : BoardWorld
{
    static constexpr KUINT32 uiWidth = 33, uiHeight = 700;  // more rows than are read at once
    auto Open() const { return SoftwareBoard::FileDescriptor(open((m_oFolder / "board.pixels-0").c_str(), O_RDONLY)); }
};

TEST_F(ScreenCopyTest, BuffersOfAnyAgeGetTheRowsThatTheyLack)
{
    InClient([&](TestClient& ro) {
        constexpr KUINT32 uiFrom = 48, uiTo = 40, uiRows = 800;  // pixels from row to row
        ro.MakeBuffer(uiWidth, uiHeight);
        KUINT32* const puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        ScreenCopy     oPicture(Observe({.oVidParam = {20, uiRows}, .uiBufferWidth = uiWidth, .uiBufferHeight = uiHeight}));
        std::vector<KUINT32> aauiShown[] = {std::vector(uiTo * uiRows, 5u), std::vector(uiTo * uiRows, 5u)};
        KUINT64              auiTimes[2] = {};
        const std::tuple<size_t, size_t, int, bool> aoSteps[] = {
            // row and column drawn, buffer filled, whether that is a change
            {0, 0, 0, true},     {699, 19, 1, true}, {5, 3, 0, true},  {345, 0, 0, true},
            {346, 20, 1, false}, {9, 19, 1, true},   {9, 19, 0, false}};
        for (const auto& [uiRow, uiX, iBuffer, bChange] : aoSteps)
        {
            const KUINT64 uiBefore         = oPicture.GetTime();
            puiDrawn[uiRow * uiFrom + uiX] = 77;
            for (size_t uiLook = 0; uiLook < ScreenCopy::LOOKS; ++uiLook) oPicture.Update();
            EXPECT_EQ(oPicture.GetTime() != uiBefore, bChange)
                << "row " << uiRow << ": what is unseen or unchanged counts for nothing";
            KUINT32* const puiShown = aauiShown[iBuffer].data();
            oPicture.CopyChanges(std::exchange(auiTimes[iBuffer], oPicture.GetTime()), *ChooseFormat({DRM_FORMAT_XBGR8888}),
                                 reinterpret_cast<KUINT8*>(puiShown), uiTo * 4);
            EXPECT_TRUE(IsPicture(
                uiTo, uiRows, [&](KUINT32 x, KUINT32 y) { return puiShown[y * uiTo + x]; },
                [&](KUINT32 x, KUINT32 y) { return y < uiHeight && x < 20 ? puiDrawn[y * uiFrom + x] : 5; }))
                << "row " << uiRow;
        }
        std::filesystem::resize_file(m_oFolder / "board.pixels-0", uiHeight * uiFrom * 4 - 1);
        EXPECT_THROW(oPicture.Update(), SoftwareBoard::BoardError);
    });
}

TEST_F(ScreenCopyTest, FindsLargeShapesAtOnceAndSpecksInTime)
{
    InClient([](TestClient& ro) {
        constexpr KUINT32 uiPitch = 208, uiX = 200, uiY = 90;
        ro.MakeBuffer(uiX, uiY);
        KUINT32* const puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        ScreenCopy     oPicture(Observe({.oVidParam = {uiX, uiY}, .uiBufferWidth = uiX, .uiBufferHeight = uiY}));
        const std::tuple<KUINT32, KUINT32, KUINT32, KUINT32, size_t> aoShapes[] = {
            // left, top, right and bottom, all included, and looks at most
            {60, 7, 140, 79, 1},  // begins and ends within tiles
            {0, 0, 199, 89, 1},
            {199, 74, 199, 89, 4},
            {63, 0, 63, 0, ScreenCopy::LOOKS},
            {199, 89, 199, 89, ScreenCopy::LOOKS},
        };
        for (const auto& [uiLeft, uiTop, uiRight, uiBottom, uiMost] : aoShapes)
        {
            for (size_t uiLook = 0; uiLook <= ScreenCopy::LOOKS; ++uiLook) oPicture.Update();  // nothing changed lately
            for (KUINT32 y = uiTop; y <= uiBottom; ++y)
                for (KUINT32 x = uiLeft; x <= uiRight; ++x) ++puiDrawn[y * uiPitch + x];
            for (size_t uiLook = 0; uiLook < uiMost; ++uiLook) oPicture.Update();
            std::vector<KUINT32> auiShown(uiX * uiY);
            oPicture.CopyChanges(0, *ChooseFormat({DRM_FORMAT_XBGR8888}), reinterpret_cast<KUINT8*>(auiShown.data()),
                                 uiX * 4);
            EXPECT_TRUE(IsPicture(
                uiX, uiY, [&](KUINT32 x, KUINT32 y) { return auiShown[y * uiX + x]; },
                [&](KUINT32 x, KUINT32 y) { return puiDrawn[y * uiPitch + x]; }))
                << uiLeft << ' ' << uiTop;
        }
    });
}

TEST_F(ScreenCopyTest, WhatChangesAtEveryLookIsShownAndAlsoItsEnd)
{
    InClient([this](TestClient& ro) {
        constexpr KUINT32 uiX = 100, uiY = 40, uiPitch = 112;
        ro.MakeBuffer(uiX, uiY);
        KUINT32* const       puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        ScreenCopy           oPicture(Observe({.oVidParam = {uiX, uiY}, .uiBufferWidth = uiX, .uiBufferHeight = uiY}));
        std::vector<KUINT32> aauiShown[] = {std::vector(uiX * uiY, 0u), std::vector(uiX * uiY, 0u)};
        KUINT64              auiTimes[2] = {};
        const auto           fLook       = [&](int iBuffer) {
            oPicture.Update();
            oPicture.CopyChanges(std::exchange(auiTimes[iBuffer], oPicture.GetTime()), *ChooseFormat({DRM_FORMAT_XBGR8888}),
                                                 reinterpret_cast<KUINT8*>(aauiShown[iBuffer].data()), uiX * 4);
            return IsPicture(
                                uiX, uiY, [&](KUINT32 x, KUINT32 y) { return aauiShown[iBuffer][y * uiX + x]; },
                                [&](KUINT32 x, KUINT32 y) { return puiDrawn[y * uiPitch + x]; });
        };
        // How many frames follow each other, and after how many they repeat.
        for (const auto& [iFrames, iPeriod] : {std::pair(40, 1000), {41, 16}, {51, 8}, {4, 1000}})
        {
            for (int iFrame = 0; iFrame < iFrames; ++iFrame)
            {
                std::fill_n(puiDrawn, uiPitch * uiY, static_cast<KUINT32>(iFrame % iPeriod) + 1);
                EXPECT_TRUE(fLook(iFrame % 2)) << iFrame << " of " << iFrames;
            }
            for (size_t uiLook = 0; uiLook < ScreenCopy::LOOKS; ++uiLook) oPicture.Update();
            EXPECT_TRUE(fLook(0) && fLook(1)) << iFrames;
            const KUINT64 uiTime = oPicture.GetTime();
            EXPECT_TRUE(fLook(0) && uiTime == oPicture.GetTime()) << "nothing changes any more: " << iFrames;
        }
        for (KUINT32 ui = 100; ui < 120; ++ui) std::fill_n(puiDrawn, uiPitch * uiY, ui), fLook(0);
        std::filesystem::resize_file(m_oFolder / "board.pixels-0", 0);
        oPicture.CopyChanges(0, *ChooseFormat({DRM_FORMAT_XBGR8888}), reinterpret_cast<KUINT8*>(aauiShown[1].data()),
                             uiX * 4);
        EXPECT_TRUE(aauiShown[1][0] > 100 && aauiShown[1][0] < 120) << "a picture that was drawn: " << aauiShown[1][0];
        EXPECT_THROW(oPicture.Update(), SoftwareBoard::BoardError);
    });
}

TEST_F(ScreenCopyTest, FileThatIsCutWhileItIsReadIsAFailureAndNoSignal)
{
    InClient([this](TestClient& ro) {
        ro.MakeBuffer(uiWidth, uiHeight);
        const auto fObserve = [](KUINT32 uiFile, KUINT32 uiShown) {
            SoftwareBoard::SOutputRecord oOutput = {
                .oVidParam = {20, uiShown}, .uiBufferWidth = uiWidth, .uiBufferHeight = uiHeight};
            oOutput.uiPixelFile = uiFile;
            return Observe(oOutput);
        };
        const Screen oScreen = fObserve(0, 700);
        ro.MakeBuffer(uiWidth, uiHeight);
        EXPECT_TRUE(oScreen == fObserve(0, 700)) << "its outputs would not share it";
        EXPECT_FALSE(oScreen == fObserve(1, 700) || oScreen == fObserve(0, 600));
        const PixelMapping oMapping(oScreen);
        volatile KUINT32   uiLast  = 0;
        const std::string  strFile = m_oFolder / "board.pixels-0";
        const auto         fCut    = [&](const KUINT32* pui, size_t uiPitch) {
            EXPECT_EQ(truncate(strFile.c_str(), 0), 0);
            uiLast = pui[uiPitch];
        };
        for (int iTry = 0; iTry < 2; ++iTry)
        {
            EXPECT_THROW(oMapping.Read(fCut), SoftwareBoard::BoardError);
            std::filesystem::resize_file(strFile, uiHeight * 48 * 4);
        }
        oMapping.Read([&](const KUINT32* pui, size_t) { uiLast = *pui; });
    });
}

TEST_F(ScreenCopyTest, OnlyAProcessThatRanMayHaveDrawn)
{
    Process oDrawing([] { TestClient().MakeBuffer(uiWidth, uiHeight), Process::Pause(), Process::Pause(); });
    oDrawing.Await();
    const auto     oPixels = Open();
    DrawingProcess oKnown(oPixels.Get(), oDrawing.GetPid()), oStranger(oPixels.Get(), getppid());
    const auto     fCount = [&](DrawingProcess& ro) {  // of three looks in far less than a second
        return ro.MayHaveDrawn() + ro.MayHaveDrawn() + ro.MayHaveDrawn();
    };
    EXPECT_LE(fCount(oKnown), 2) << "the first look, and that of a new second";
    EXPECT_EQ(fCount(oStranger), 3) << "the time of who has not made the pixels says nothing";
    const auto fRun = [&] { oDrawing.Resume(), oDrawing.Await(); };
    EXPECT_EQ(std::tuple(oKnown.SleptWhile([] {}), oKnown.SleptWhile(fRun), oStranger.SleptWhile([] {})),
              std::tuple(false, false, false))
        << "one that was stopped may be in the middle of a picture";
    EXPECT_GE(fCount(oKnown), 1);
    oDrawing.Kill();
    EXPECT_EQ(fCount(oKnown), 1) << "what it drew last";
    EXPECT_TRUE(oStranger.SleptWhile([] {})) << "nobody can draw";
    std::filesystem::resize_file(m_oFolder / "board.pixels-0", 5);
    EXPECT_EQ(fCount(oKnown), 1) << "written by another";
}
}
