// What watch and preview share: how a picture is followed, how tiles stand in a room, and how captions are cut.
#include <random>

#include "BoardWorld.h"
#include "ContactSheet.h"
#include "Scaling.h"
#include "Text.h"
#include "Tiling.h"
#include "WatchedPicture.h"

namespace
{
using namespace SoftwareBoard::Viewer;

TEST(Tiling, PicturesBecomeLargestInRoomsOfAnyShape)
{
    constexpr double                                             fAny      = std::numeric_limits<double>::infinity();
    const std::tuple<int, int, int, double, double, double, int> aoCases[] = {
        // tiles, width, height, picture, its largest scale, side by side
        {2, 1024, 450, 1024, 768, fAny, 2},  {2, 400, 900, 1024, 768, fAny, 1},   {2, 1024, 450, 3000, 300, fAny, 1},
        {3, 1900, 500, 1920, 1080, fAny, 3}, {3, 900, 1000, 1920, 1080, fAny, 1}, {3, 1024, 900, 1024, 768, fAny, 2},
        {5, 1024, 450, 1024, 768, fAny, 3},  {5, 1024, 450, 1080, 1920, fAny, 5}, {16, 1900, 1000, 1920, 1080, fAny, 4},
        {16, 20, 3000, 1024, 768, fAny, 1},  {7, 8, 8, 1024, 768, fAny, 1},       {0, 0, 0, 4, 3, fAny, 1},
        {16, 1888, 1048, 64, 64, 1, 8},      {16, 1888, 1048, 64, 10, 1, 4},      {4, 1888, 1048, 900, 480, 1, 2},
    };
    for (const auto& [iTiles, iWidth, iHeight, fWidth, fHeight, fScale, iAcross] : aoCases)
    {
        const STiling oTiling = ChooseTiling({iTiles, iWidth, iHeight, 8, 8, fWidth, fHeight, fScale, 1,
                                              [](int, int iTall) { return iTall < 100 ? 20 : 40; }});
        EXPECT_EQ(oTiling.iAcross, iAcross)
            << iTiles << " of " << fWidth << "x" << fHeight << " in " << iWidth << "x" << iHeight;
        EXPECT_EQ(oTiling.iCaptionHeight, oTiling.iTileHeight < 100 ? 20 : 40);
        EXPECT_LE(iAcross * (oTiling.iTileWidth + 8) - 8, std::max(iWidth, 1));
    }
    EXPECT_EQ(FitPicture(1024, 768, 936, 5000), std::pair(936, 702));
    EXPECT_EQ(FitPicture(1080, 1920, 936, 960), std::pair(540, 960));
    EXPECT_EQ(FitPicture(0xFFFFFFFF, 1, 100, 0), std::pair(100, 1));
}

TEST(ContactSheet, FitsAScreenAndEnlargesNothing)
{
    const std::tuple<size_t, KUINT32, KUINT32, KUINT32, KUINT32> aoCases[] = {
        // pictures, their size, the sheet's
        {1, 640, 480, 672, 540},    {2, 300, 700, 648, 760}, {3, 1024, 768, 1348, 1080}, {5, 1920, 1080, 1918, 798},
        {5, 1080, 1920, 1916, 707}, {3, 10, 10, 160, 124},   {600, 10, 10, 1816, 1312},
    };
    for (const auto& [uiPictures, uiWidth, uiHeight, uiSheetWidth, uiSheetHeight] : aoCases)
    {
        ContactSheet oSheet(uiPictures);
        for (size_t ui = 0; ui < uiPictures; ++ui)
            oSheet.Add(oSheet.MakeTile(uiWidth, uiHeight), "a label that is much too long");
        const auto oDrawn = oSheet.Draw();
        EXPECT_EQ(std::pair(oDrawn.uiWidth, oDrawn.uiHeight), std::pair(uiSheetWidth, uiSheetHeight)) << uiPictures;
    }
}

TEST(Scaling, AChangedPartIsScaledAsTheWholeIs)
{
    const std::tuple<KUINT32, KUINT32, KUINT32, KUINT32, SArea> aoCases[] = {
        // the picture, what it is scaled to, and what changes
        {64, 48, 10, 7, {0, 0, 1, 1}},    {64, 48, 10, 7, {63, 47, 64, 48}}, {64, 48, 10, 7, {13, 6, 14, 7}},
        {50, 9, 49, 9, {7, 3, 31, 5}},    {30, 30, 30, 30, {4, 5, 6, 7}},    {9, 300, 1, 1, {2, 299, 9, 300}},
        {64, 48, 10, 7, {12, 5, 12, 48}}, {64, 48, 10, 7, {12, 5, 48, 5}},
    };
    for (const auto& [uiWidth, uiHeight, uiToWidth, uiToHeight, oChanged] : aoCases)
    {
        SoftwareBoard::Panel::SPicture oFrom = MakePlain(uiWidth, uiHeight), oPart = MakePlain(uiToWidth, uiToHeight);
        ScaleDown(oFrom, WholeOf(oFrom), oPart);
        for (size_t uiY = oChanged.uiTop; uiY < oChanged.uiBottom; ++uiY)
        {
            for (size_t uiX = oChanged.uiLeft; uiX < oChanged.uiRight; ++uiX)
                oFrom.auiRgba[uiY * oFrom.GetPitchInBytes() + uiX * 4 + uiX % 3] = 255;
        }
        const SArea oDrawn = ScaleDown(oFrom, oChanged, oPart);
        EXPECT_LE(oDrawn.uiRight, oChanged.uiRight * uiToWidth / uiWidth + 1) << "more than what changed";
        EXPECT_LE(oDrawn.uiBottom, oChanged.uiBottom * uiToHeight / uiHeight + 1);
        // A pixel is the mean of the pixels that it replaces, rounded.
        for (size_t ui = 0; ui < oPart.auiRgba.size(); ++ui)
        {
            const size_t uiX = ui / 4 % uiToWidth, uiY = ui / 4 / uiToWidth;
            size_t       uiSum = 0, uiPixels = 0;
            for (size_t y = uiY * uiHeight / uiToHeight; y < (uiY + 1) * uiHeight / uiToHeight; ++y)
            {
                for (size_t x = uiX * uiWidth / uiToWidth; x < (uiX + 1) * uiWidth / uiToWidth; ++x, ++uiPixels)
                    uiSum += oFrom.auiRgba[y * oFrom.GetPitchInBytes() + x * 4 + ui % 4];
            }
            ASSERT_EQ(oPart.auiRgba[ui], (uiSum + uiPixels / 2) / uiPixels) << uiWidth << "x" << uiHeight << ", byte " << ui;
        }
    }
}

struct WatchedPictureTest : BoardWorld
{
};

TEST_F(WatchedPictureTest, FollowsWhateverIsDrawn)
{
    InClient([](TestClient& ro) {
        constexpr KUINT32    uiWidth = 100, uiHeight = 40, uiLooks = 8;  // after which nothing is missed
        tagTBuffer_PlaneInfo oInfo = {};
        ro.MakeBuffer(uiWidth, uiHeight);
        EXPECT_EQ(ro.TBuffer_GetPlaneInfo(ro.hBuffer, &oInfo), TStatus_OK);
        KUINT32* const puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        WatchedPicture oPicture(
            Observe({.oVidParam = {uiWidth, uiHeight}, .uiBufferWidth = uiWidth, .uiBufferHeight = uiHeight}));
        const auto* const puiPicture = reinterpret_cast<const KUINT32*>(oPicture.GetPixels().auiRgba.data());
        std::vector       auiFollowed(puiPicture, puiPicture + size_t{uiWidth} * uiHeight);  // by what is said to change
        std::mt19937      oRandom(1);
        const auto        Below = [&](KUINT32 uiLimit) { return static_cast<KUINT32>(oRandom()) % uiLimit; };
        for (int iStep = 0; iStep < 300; ++iStep)
        {
            const KUINT32 uiLeft = Below(uiWidth), uiRight = std::min(uiLeft + 1 + Below(2) * Below(50), uiWidth);
            const KUINT32 uiTop = Below(uiHeight), uiBottom = std::min(uiTop + 1 + Below(20), uiHeight);
            const KUINT32 uiColour = Below(0xFFFFFFFF);
            for (KUINT32 uiY = uiTop; uiY < uiBottom; ++uiY)
                std::fill(puiDrawn + uiY * oInfo.auiPitch[0] + uiLeft, puiDrawn + uiY * oInfo.auiPitch[0] + uiRight,
                          uiColour);
            for (KUINT32 uiLook = 0; uiLook < uiLooks; ++uiLook)
            {
                const KUINT32 uiBefore = oPicture.GetVersion();
                oPicture.Look();
                const SArea& roChanged = oPicture.GetChanged();
                for (KUINT32 uiY = roChanged.uiTop; oPicture.GetVersion() != uiBefore && uiY < roChanged.uiBottom; ++uiY)
                    std::copy(puiPicture + uiY * uiWidth + roChanged.uiLeft, puiPicture + uiY * uiWidth + roChanged.uiRight,
                              auiFollowed.begin() + uiY * uiWidth + roChanged.uiLeft);
            }
            ASSERT_TRUE(IsPicture(
                uiWidth, uiHeight, [&](KUINT32 x, KUINT32 y) { return auiFollowed[y * uiWidth + x]; },
                [&](KUINT32 x, KUINT32 y) { return puiDrawn[y * oInfo.auiPitch[0] + x] | 0xFF000000; }))
                << "step " << iStep;
        }
    });
}

TEST(Text, CutsBetweenLettersOnly)
{
    const std::vector<std::pair<std::string, int>> aoLetters = {
        // and their columns
        {"o", 1}, {"ü", 1},       {"u\u0308\u0323", 1},    {"日", 2},   {"の", 2},
        {"ｶ", 1}, {"e\u0301", 1}, {"\U0001F680\uFE0F", 2}, {"\xFF", 1}, {"z", 1}};
    std::string              strText;
    std::vector<std::string> astrCuts(2);  // by columns
    for (const auto& [strLetter, iColumns] : aoLetters)
    {
        const std::string strCut = strText + "..";
        astrCuts.insert(astrCuts.end(), static_cast<size_t>(iColumns), strCut);  // until the letter fits as well
        strText += strLetter;
    }
    const int iWhole = TextColumns(strText);
    ASSERT_EQ(iWhole, 13);
    for (int iRoom = 0; iRoom <= iWhole; ++iRoom)
        EXPECT_EQ(CutText(strText, FitsColumns(iRoom)), iRoom < iWhole ? astrCuts[static_cast<size_t>(iRoom)] : strText);
    for (const int iWidth : {0, 9, 30, 60}) EXPECT_LE(TextWidth(CutText(strText, FitsPixels(iWidth))), iWidth);
    using Rows = std::vector<std::string>;
    EXPECT_EQ(WrapText("größe 日本 on", 2, FitsColumns(10)), (Rows{"größe 日本", "on"}));
    EXPECT_EQ(WrapText("größe 日本 on", 3, FitsColumns(9)), (Rows{"größe", "日本 on"}));
    EXPECT_EQ(WrapText("größe", 2, FitsColumns(2)), Rows{"größe"});
    EXPECT_EQ(WrapText("on", 0, FitsColumns(9)), Rows{});
}
}
