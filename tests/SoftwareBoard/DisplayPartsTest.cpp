// What shows an output on a display, as far as that needs no card: modes, formats, who shows what, and the changed rows.
#include <sys/mman.h>

#include <numeric>

#include <drm_fourcc.h>

#include "Board.h"
#include "BoardError.h"
#include "BoardWorld.h"
#include "Connectors.h"
#include "DisplayMode.h"
#include "DrawingProcess.h"
#include "Refusal.h"
#include "ScreenCopy.h"

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

TEST(DisplayMode, IsListedAsATimingOrLeftOut)
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
        {4294836, 1, 1, 1, 0xFFFF, 0, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 1, uiPP, 0, ""},
        {65000, 1024, 1048, 1184, 1344, 0, 768, 771, 777, 806, 0, 60, uiNN, DRM_MODE_TYPE_PREFERRED, ""},
        {65001, 1024, 1048, 1184, 1344, 0, 768, 771, 777, 806, 0, 60, uiNN | DRM_MODE_FLAG_DBLSCAN, 0, ""},
        {65001, 1024, 1048, 1184, 1344, 0, 768, 771, 777, 806, 2, 60, uiNN, 0, ""},
        {65001, 1024, 1048, 1184, 1344, 1, 768, 771, 777, 806, 0, 60, uiNN, 0, ""},
        {65001, 0, 1048, 1184, 1344, 0, 768, 771, 777, 806, 0, 60, uiNN, 0, ""},
        {65001, 1024, 1048, 1184, 1344, 0, 768, 767, 777, 806, 0, 60, uiNN, 0, ""},
    };
    std::string strListed;
    for (const auto& [strTiming, bPreferred] : ListTimings(aoModes))
        strListed += strTiming + (bPreferred ? " best\n" : "\n");
    EXPECT_EQ(strListed, "1024 768 60 48 65000 24 136 160 3 6 29 no no - - no RGB_FULL 444 8 best\n"
                         "1280 800 60 49 83500 72 128 200 3 6 22 no no - + no RGB_FULL 444 8 best\n"
                         "1920 1080 60 33 74250 88 44 148 4 10 31 yes no + + no RGB_FULL 444 8\n"
                         "65535 1 1 65 4294836 0 0 0 0 0 65534 no no + + no RGB_FULL 444 8\n"
                         "1 65535 1 65 4294836 0 0 65534 0 0 0 no no + + no RGB_FULL 444 8\n");
}

TEST(ScanFormat, CheapestOneThatThePlaneHasShowsTheSameOpaqueColours)
{
    constexpr uint32_t uiB = DRM_FORMAT_XBGR8888, uiBA = DRM_FORMAT_ABGR8888, uiR = DRM_FORMAT_XRGB8888,
                       uiRA                                                       = DRM_FORMAT_ARGB8888;
    const std::tuple<std::vector<uint32_t>, uint32_t, KUINT32, KUINT32> aoCases[] = {
        // has, chosen, and its pixels
        {{uiR, uiRA, uiBA, uiB}, uiB, 0x00322210, 0x80FEEEDD},
        {{uiR, uiRA, uiBA}, uiBA, 0xFF322210, 0xFFFEEEDD},
        {{DRM_FORMAT_BGRX8888, uiRA, uiR}, uiR, 0x00102232, 0x80DDEEFE},
        {{DRM_FORMAT_RGB565, uiRA}, uiRA, 0xFF102232, 0xFFDDEEFE},
    };
    for (const auto& [auiHas, uiChosen, uiFirst, uiSecond] : aoCases)
    {
        const SScanFormat* const poFormat = ChooseFormat(auiHas);
        ASSERT_TRUE(poFormat != nullptr && poFormat->uiFourCc == uiChosen);
        KUINT32 auiRow[] = {0x00322210, 0x80FEEEDD}, auiShown[] = {1, 1, 1};
        CopyRow(*poFormat, auiRow, auiShown, 2);
        EXPECT_EQ(std::vector({auiShown[0], auiShown[1], auiShown[2]}), std::vector({uiFirst, uiSecond, 1u}));
    }
    EXPECT_EQ(ChooseFormat({DRM_FORMAT_RGB565, DRM_FORMAT_BGRX8888}), nullptr);
    char szName[5] = {'.', '.', '.', '.', '.'};
    NameFourCc(CommonFormat().uiFourCc | DRM_FORMAT_BIG_ENDIAN, szName);
    EXPECT_STREQ(szName, "XR24");
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

TEST(Refusal, TellsTheErrorOfTheKernel)
{
    const auto f = [](int i) { return BoardWorld::ReasonOf([=] { errno = ENODEV, CheckDrm(i, ""); }); };
    EXPECT_EQ(f(-1) + f(-EFAULT) + f(0) + f(1), ": the kernel says: No such device: the kernel says: Bad address");
}

// What a client draws, the copy of what an output shows of it, and two buffers that are filled from the copy.
struct Drawing
{
    static constexpr KUINT32 NOTHING = 0xDEAD;  // what nobody draws

    Drawing(TestClient& ro, KUINT32 uiBufferX, KUINT32 uiBufferY, KUINT32 uiHActive, KUINT32 uiVActive)
        : uiPitch((uiBufferX / 16 + 1) * 16), uiX(std::min(uiBufferX, uiHActive)), uiY(std::min(uiBufferY, uiVActive)),
          uiSide(uiHActive + 3), uiRows(uiVActive)
    {
        ro.MakeBuffer(uiBufferX, uiBufferY);
        puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        std::iota(puiDrawn, puiDrawn + uiPitch * uiBufferY, 1u << 20);
        ooCopy.emplace(BoardWorld::Observe(
            {.oVidParam = {uiHActive, uiVActive}, .uiBufferWidth = uiBufferX, .uiBufferHeight = uiBufferY}));
    }
    KUINT32& At(size_t x, size_t y) { return puiDrawn[y * uiPitch + x]; }
    void     DrawAll(KUINT32 uiPixel) { std::fill_n(puiDrawn, uiPitch * uiY, uiPixel); }
    void     Look(size_t uiLooks = 1)
    {
        while (uiLooks-- > 0) ooCopy->Update();
    }
    // Brings a buffer up to date, and returns how many pixels that took.
    long Fill(size_t uiBuffer)
    {
        std::vector<KUINT32> auiNew(uiSide * uiRows, NOTHING);
        ooCopy->CopyChanges(std::exchange(auiTimes[uiBuffer], ooCopy->GetTime()), *ChooseFormat({DRM_FORMAT_XBGR8888}),
                            reinterpret_cast<KUINT8*>(auiNew.data()), uiSide * 4);
        aauiShown[uiBuffer].resize(auiNew.size(), NOTHING);
        long iTaken = 0;
        for (size_t ui = 0; ui < auiNew.size(); ++ui)
            if (auiNew[ui] != NOTHING) aauiShown[uiBuffer][ui] = auiNew[ui], ++iTaken;
        return iTaken;
    }
    testing::AssertionResult IsShown(size_t uiBuffer)
    {
        return IsPicture(
            uiSide, uiRows, [&](KUINT32 x, KUINT32 y) { return aauiShown[uiBuffer][y * uiSide + x]; },
            [&](KUINT32 x, KUINT32 y) { return x < uiX && y < uiY ? At(x, y) : NOTHING; });
    }

    const KUINT32             uiPitch, uiX, uiY, uiSide, uiRows;
    KUINT32*                  puiDrawn = nullptr;
    std::optional<ScreenCopy> ooCopy;
    std::vector<KUINT32>      aauiShown[2];
    KUINT64                   auiTimes[2] = {};
};

struct ScreenCopyTest : BoardWorld
{
    static constexpr KUINT32 uiWidth = 33, uiHeight = 700;  // more rows than are read at once
    void                     Cut(size_t uiSize) const { std::filesystem::resize_file(m_oFolder / "board.pixels-0", uiSize); }
};

TEST_F(ScreenCopyTest, BuffersOfAnyAgeGetTheTilesThatTheyLack)
{
    InClient([&](TestClient& ro) {
        Drawing                                        oDrawing(ro, 83, 700, 70, 800);
        const std::tuple<size_t, size_t, size_t, long> aoSteps[] = {
            // row and column drawn, buffer filled, pixels copied: of tiles with 64 or 6 columns and 16 or 12 rows
            {0, 0, 0, 70 * 700},   {699, 69, 1, 70 * 700}, {5, 3, 0, 64 * 16 + 6 * 12}, {345, 64, 0, 6 * 16},
            {346, 70, 1, 70 * 16}, {9, 63, 1, 64 * 16},    {9, 63, 0, 64 * 16}};
        for (const auto& [uiRow, uiColumn, uiBuffer, uiCopied] : aoSteps)
        {
            oDrawing.At(uiColumn, uiRow) = 77;
            oDrawing.Look(ScreenCopy::LOOKS);
            EXPECT_EQ(oDrawing.Fill(uiBuffer), uiCopied) << "row " << uiRow;
            EXPECT_TRUE(oDrawing.IsShown(uiBuffer)) << "row " << uiRow;
            EXPECT_EQ(oDrawing.Fill(uiBuffer), 0) << "what is unchanged counts for nothing";
        }
        Cut(700 * oDrawing.uiPitch * 4 - 1);
        EXPECT_THROW(oDrawing.Look(), SoftwareBoard::BoardError);
    });
}

TEST_F(ScreenCopyTest, FindsLargeShapesAtOnce)
{
    InClient([](TestClient& ro) {
        Drawing oDrawing(ro, 200, 90, 200, 90);
        EXPECT_TRUE(oDrawing.Fill(0) == 200 * 90 && oDrawing.IsShown(0)) << "what was there before the first look";
        const size_t auiShapes[][5] = {{60, 7, 140, 79, 1}, {0, 0, 199, 89, 1}, {199, 74, 199, 89, 4}};
        for (const auto& [uiLeft, uiTop, uiRight, uiBottom, uiLooks] : auiShapes)
        {
            oDrawing.Look(ScreenCopy::LOOKS + 1);  // nothing changed lately
            for (size_t y = uiTop; y <= uiBottom; ++y)
                for (size_t x = uiLeft; x <= uiRight; ++x) ++oDrawing.At(x, y);
            oDrawing.Look(uiLooks), oDrawing.Fill(0);
            EXPECT_TRUE(oDrawing.IsShown(0)) << "from column " << uiLeft << ", row " << uiTop << " on";
        }
    });
}

TEST_F(ScreenCopyTest, FindsASpeckWhenItsRowsTurnComesAndAtOnceWhereItChangedLately)
{
    for (const auto& [uiX, uiY] : {std::pair(193u, 97u), {192, 96}})
        InClient([&](TestClient& ro) {
            Drawing                                            oDrawing(ro, uiX, uiY, uiX, uiY);
            KUINT64                                            uiNow    = 1 + ScreenCopy::LOOKS;
            std::vector<std::tuple<KUINT32, KUINT32, KUINT64>> aoSpecks = {
                // column and row, in tiles that do not touch, and the look that found it last
                {5, 3, 1}, {uiX - 1, 9, 1}, {64, 20, 1}, {63, 47, 1}, {191, 40, 1}, {64, 70, 1}, {0, uiY - 1, 1}};
            for (const size_t uiPause : {0u, 0u, 0u, 1u, 0u})
            {
                oDrawing.Look(uiPause), uiNow += uiPause;
                for (auto& [x, y, uiFound] : aoSpecks)
                {
                    ++oDrawing.At(x, y);
                    KUINT64 ui = uiNow + 1;
                    while (ui - uiFound > ScreenCopy::LOOKS &&
                           (ui % 4 != y / 16 % 4 || ui / 4 % std::min(16u, uiY - y / 16 * 16) != y % 16))
                        ++ui;
                    uiFound = ui;
                }
                for (const KUINT64 uiEnd = uiNow + ScreenCopy::LOOKS; uiNow++ < uiEnd;)
                {
                    oDrawing.Look(), oDrawing.Fill(0);
                    for (const auto& [x, y, uiFound] : aoSpecks)
                        EXPECT_EQ(oDrawing.aauiShown[0][y * oDrawing.uiSide + x] == oDrawing.At(x, y), uiFound <= uiNow)
                            << "look " << uiNow << ", column " << x << ", row " << y;
                }
                --uiNow;
            }
        });
}

TEST_F(ScreenCopyTest, WhatChangesAtEveryLookIsShownAndAlsoItsEnd)
{
    InClient([this](TestClient& ro) {
        Drawing    oDrawing(ro, 100, 40, 100, 40);
        const auto fLook = [&](size_t uiBuffer) {
            oDrawing.Look(), oDrawing.Fill(uiBuffer);
            return oDrawing.IsShown(uiBuffer);
        };
        // How many frames follow each other, and after how many they repeat.
        for (const auto& [iFrames, iPeriod] : {std::pair(40, 1000), {41, 16}, {51, 8}, {4, 1000}})
        {
            for (int iFrame = 0; iFrame < iFrames; ++iFrame)
            {
                oDrawing.DrawAll(static_cast<KUINT32>(iFrame % iPeriod) + 1);
                EXPECT_TRUE(fLook(iFrame % 2 == 0)) << iFrame << " of " << iFrames;
            }
            oDrawing.Look(ScreenCopy::LOOKS);
            EXPECT_TRUE(fLook(0) && fLook(1)) << iFrames;
            oDrawing.Fill(0), oDrawing.Look();
            EXPECT_EQ(oDrawing.Fill(0), 0) << "nothing changes any more: " << iFrames;
        }
        for (KUINT32 ui = 100; ui < 120; ++ui)
        {
            oDrawing.DrawAll(ui), oDrawing.Look();
            oDrawing.DrawAll(ui + 100), oDrawing.Fill(0);  // a buffer gets it from the screen after four changes in a row
            EXPECT_EQ(oDrawing.aauiShown[0][0], ui < 103 ? ui : ui + 100);
        }
        Cut(0), oDrawing.Fill(1);
        EXPECT_EQ(oDrawing.aauiShown[1][0] / 20, 100 / 20u) << "a picture that was drawn";
        EXPECT_THROW(oDrawing.Look(), SoftwareBoard::BoardError);
    });
}

TEST_F(ScreenCopyTest, FileThatIsCutWhileItIsReadIsAFailureAndNoSignal)
{
    InClient([this](TestClient& ro) {
        ro.MakeBuffer(uiWidth, uiHeight);
        const auto fObserve = [](KUINT32 uiFile, KUINT32 uiShown) {
            return Observe(
                {.oVidParam = {20, uiShown}, .uiPixelFile = uiFile, .uiBufferWidth = uiWidth, .uiBufferHeight = uiHeight});
        };
        const Screen oScreen = fObserve(0, 700);
        ro.MakeBuffer(uiWidth, uiHeight);
        EXPECT_TRUE(oScreen == fObserve(0, 700)) << "its outputs would not share it";
        EXPECT_FALSE(oScreen == fObserve(1, 700) || oScreen == fObserve(0, 600));
        std::optional<PixelMapping> ooMapping(oScreen);
        volatile KUINT32            uiLast   = 0;
        const std::string           strFile  = m_oFolder / "board.pixels-0";
        const KUINT32*              puiFirst = nullptr;
        const auto                  fCut     = [&](const KUINT32* pui, size_t uiPitch) {
            EXPECT_EQ(truncate(strFile.c_str(), 0), 0);
            uiLast = pui[uiPitch];
        };
        for (int iTry = 0; iTry < 2; ++iTry)
        {
            EXPECT_THROW(ooMapping->Read(fCut), SoftwareBoard::BoardError);
            std::filesystem::resize_file(strFile, uiHeight * 48 * 4);
        }
        ooMapping->Read([&](const KUINT32* pui, size_t) { uiLast = *(puiFirst = pui); });
        ooMapping.reset();
        unsigned char ucThere = 0;
        EXPECT_EQ(mincore(const_cast<KUINT32*>(puiFirst), 1, &ucThere), -1) << "the mapping is still there";
    });
}

TEST_F(ScreenCopyTest, OnlyAProcessThatRanMayHaveDrawn)
{
    Process oDrawing([] { TestClient().MakeBuffer(uiWidth, uiHeight), Process::Pause(), Process::Pause(); });
    oDrawing.Await();
    const SoftwareBoard::FileDescriptor oPixels(open((m_oFolder / "board.pixels-0").c_str(), O_RDONLY));
    DrawingProcess                      oKnown(oPixels.Get(), oDrawing.GetPid()), oStranger(oPixels.Get(), getppid());
    // Of three looks in far less than a second.
    const auto fCount = [](DrawingProcess& ro) { return ro.MayHaveDrawn() + ro.MayHaveDrawn() + ro.MayHaveDrawn(); };
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
