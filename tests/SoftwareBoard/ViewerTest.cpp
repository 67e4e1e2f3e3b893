// What watch and preview share: how a picture is followed, how tiles stand in a room, and how captions are cut.
#include <random>

#include "ContactSheet.h"
#include "PanelWorld.h"
#include "Scaling.h"
#include "Text.h"
#include "Tiling.h"
#include "WatchedBoard.h"

namespace
{
using namespace SoftwareBoard::Viewer;
using SoftwareBoard::Panel::SPicture;

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
        const STiling oTiling = ChooseTiling({iTiles, iWidth, iHeight, 8, 4, fWidth, fHeight, fScale, 1,
                                              [](int, int iTall) { return iTall < 100 ? 20 : 40; }});
        const int     iDown   = (iTiles + iAcross - 1) / iAcross;
        const int     iTall   = std::max((iHeight - 4 * (iDown - 1)) / std::max(iDown, 1), 1);
        EXPECT_EQ(std::tuple(oTiling.iAcross, oTiling.iTileWidth, oTiling.iTileHeight, oTiling.iCaptionHeight),
                  std::tuple(iAcross, std::max((iWidth - 8 * (iAcross - 1)) / iAcross, 1), iTall, iTall < 100 ? 20 : 40))
            << iTiles << " of " << fWidth << "x" << fHeight << " in " << iWidth << "x" << iHeight;
    }
    EXPECT_EQ(std::tuple(FitPicture(1024, 768, 936, 5000), FitPicture(1080, 1920, 936, 960), UsualSize({})),
              std::tuple(std::pair(936, 702), std::pair(540, 960), std::pair(4u, 3u)));
    for (const auto& [ui, iRoom, oFits] : {std::tuple(0xFFFFFFFF, 0, std::pair(1, 1)), {1u, 3, {3, 3}}})
        EXPECT_TRUE(FitPicture(ui, 1, iRoom, 9) == oFits && FitPicture(1, ui, 9, iRoom) == oFits) << iRoom;
}

KUINT32 At(const SPicture& ro, size_t uiX, size_t uiY)
{
    return reinterpret_cast<const KUINT32*>(ro.auiRgba.data())[uiY * ro.uiWidth + uiX];
}

TEST(ContactSheet, FitsAScreenAndEnlargesNothing)
{
    const std::tuple<size_t, KUINT32, KUINT32, KUINT32, KUINT32, KUINT32> aoCases[] = {
        // pictures, their size, what it becomes, side by side
        {1, 64, 48, 64, 48, 1}, {3, 1024, 768, 650, 488, 2}, {5, 1080, 1920, 364, 647, 5},
        {3, 10, 10, 10, 10, 2}, {600, 10, 10, 10, 10, 25},
    };
    constexpr STextColours oColours = {{226, 230, 236}, {44, 48, 56}};
    for (const auto& [uiPictures, uiWidth, uiHeight, uiTileWidth, uiTileHeight, uiAcross] : aoCases)
    {
        ContactSheet  oSheet(uiPictures);
        const KUINT32 uiRoom = std::max(uiTileWidth, 56u), uiAcrossEach = uiRoom + 16, uiDownEach = uiTileHeight + 44;
        SPicture      aoLabels[2];
        for (size_t ui = 0; ui < uiPictures; ++ui)
        {
            SPicture oTile = oSheet.MakeTile(uiWidth, uiHeight);
            EXPECT_EQ(std::pair(oTile.uiWidth, oTile.uiHeight), std::pair(uiTileWidth, uiTileHeight));
            for (KUINT8 uiByte = 0; KUINT8 & rui : oTile.auiRgba) rui = uiByte++;
            const std::string strLabel = ui % 2 == 0 ? "25 %" : "a label that is too long" + std::string(200, '.'),
                              strCut   = CutText(strLabel, FitsPixels(static_cast<int>(uiRoom)));
            oSheet.Add(std::move(oTile), strLabel);
            aoLabels[ui % 2] = DrawText(strCut, static_cast<KUINT32>(TextWidth(strCut)), 28, oColours, false);
        }
        const SPicture oDrawn = oSheet.Draw();
        ASSERT_EQ(oDrawn.uiWidth, 16 + uiAcross * uiAcrossEach);
        ASSERT_EQ(oDrawn.uiHeight, 16 + (uiPictures + uiAcross - 1) / uiAcross * uiDownEach);
        const auto fExpected = [&](KUINT32 x, KUINT32 y) {
            const KUINT32 uiTile = (y - 16) / uiDownEach * uiAcross + (x - 16) / uiAcrossEach;
            const KUINT32 uiX = (x - 16) % uiAcrossEach, uiY = (y - 16) % uiDownEach;
            if (x < 16 || y < 16 || uiTile >= uiPictures || uiX >= uiRoom || uiY >= uiTileHeight + 28) return 0xFF38302C;
            const SPicture& roLabel = aoLabels[uiTile % 2];
            const KUINT32   uiWide = uiY < uiTileHeight ? uiTileWidth : roLabel.uiWidth, uiAt = uiX - (uiRoom - uiWide) / 2;
            if (uiAt >= uiWide) return 0xFF38302C;
            return uiY < uiTileHeight ? (uiY * uiTileWidth + uiAt) % 64 * 0x04040404 + 0x03020100
                                      : At(roLabel, uiAt, uiY - uiTileHeight);
        };
        EXPECT_TRUE(IsPicture(
            oDrawn.uiWidth, oDrawn.uiHeight, [&](KUINT32 x, KUINT32 y) { return At(oDrawn, x, y); }, fExpected))
            << uiPictures;
    }
}

TEST(Scaling, AChangedPartIsScaledAsTheWholeIs)
{
    const std::tuple<KUINT32, KUINT32, KUINT32, KUINT32, SArea> aoCases[] = {
        // the picture, what it is scaled to, and what changes
        {64, 48, 10, 7, {0, 0, 1, 1}},    {64, 48, 10, 7, {63, 47, 64, 48}}, {64, 48, 10, 7, {13, 6, 14, 7}},
        {50, 9, 49, 9, {7, 3, 31, 5}},    {30, 30, 30, 30, {4, 5, 6, 7}},    {9, 300, 1, 1, {2, 299, 9, 300}},
        {64, 48, 10, 7, {12, 5, 12, 48}}, {64, 48, 10, 7, {0, 0, 48, 0}},
    };
    std::mt19937 oRandom(1);
    for (const auto& [uiWidth, uiHeight, uiToWidth, uiToHeight, oChanged] : aoCases)
    {
        // Light, as sums overflow there first: the green is always 255.
        SPicture oFrom = MakePlain(uiWidth, uiHeight, {255, 255, 255}), oPart = MakePlain(uiToWidth, uiToHeight);
        for (size_t ui = 0; ui < oFrom.auiRgba.size(); ui += 2) oFrom.auiRgba[ui] = static_cast<KUINT8>(oRandom());
        ScaleDown(oFrom, WholeOf(oFrom), oPart);
        for (size_t uiY = oChanged.uiTop; uiY < oChanged.uiBottom; ++uiY)
            for (size_t uiX = oChanged.uiLeft; uiX < oChanged.uiRight; ++uiX)
                oFrom.auiRgba[uiY * oFrom.GetPitchInBytes() + uiX * 4 + uiX % 3] ^= 0xFF;
        const SArea oDrawn = ScaleDown(oFrom, oChanged, oPart);
        EXPECT_EQ(oDrawn.uiLeft, oChanged.uiLeft * uiToWidth / uiWidth) << "more than what changed";
        EXPECT_EQ(oDrawn.uiTop, oChanged.uiTop * uiToHeight / uiHeight);
        EXPECT_LE(oDrawn.uiRight, oChanged.uiRight * uiToWidth / uiWidth + 1);
        EXPECT_LE(oDrawn.uiBottom, oChanged.uiTop == oChanged.uiBottom ? 0 : oChanged.uiBottom * uiToHeight / uiHeight + 1);
        // A pixel is the mean of the pixels that it replaces, rounded. What rows that are too short lack is black.
        auto          oShort = MakePlain(uiToWidth, uiToHeight);
        const KUINT32 uiFrom = uiToWidth / 3;
        RowScaler     oScaler(uiWidth, uiHeight, oShort, {uiFrom, 0, uiToWidth, uiToHeight});
        for (KUINT32 uiRow = oScaler.GetFirstRow(); uiRow < oScaler.GetEndRow(); ++uiRow)
            oScaler.AddRow({reinterpret_cast<const KUINT32*>(oFrom.auiRgba.data()) + uiRow * uiWidth, uiWidth / 2});
        for (size_t ui = 0; ui < oPart.auiRgba.size(); ++ui)
        {
            const size_t uiX = ui / 4 % uiToWidth, uiY = ui / 4 / uiToWidth;
            size_t       uiSum = 0, uiShort = 0, uiPixels = 0;
            for (size_t y = uiY * uiHeight / uiToHeight; y < (uiY + 1) * uiHeight / uiToHeight; ++y)
                for (size_t x = uiX * uiWidth / uiToWidth; x < (uiX + 1) * uiWidth / uiToWidth; ++x, ++uiPixels)
                {
                    const KUINT8 ui8 = oFrom.auiRgba[y * oFrom.GetPitchInBytes() + x * 4 + ui % 4];
                    uiSum += ui8;
                    uiShort += (uiX >= uiFrom && x < uiWidth / 2) || ui % 4 == 3 ? ui8 : KUINT8{0};
                }
            ASSERT_EQ(std::pair(size_t{oPart.auiRgba[ui]}, size_t{oShort.auiRgba[ui]}),
                      std::pair((uiSum + uiPixels / 2) / uiPixels, (uiShort + uiPixels / 2) / uiPixels))
                << uiWidth << "x" << uiHeight << ", byte " << ui;
        }
    }
}

using WatchedPictureTest = PanelWorld;

TEST_F(WatchedPictureTest, FollowsWhateverIsDrawn)
{
    InClient([](TestClient& ro) {
        constexpr KUINT32    uiWidth = 100, uiHeight = 40, uiLooks = 8;  // after which nothing is missed
        tagTBuffer_PlaneInfo oInfo = {};
        ro.MakeBuffer(uiWidth, uiHeight);
        EXPECT_EQ(ro.TBuffer_GetPlaneInfo(ro.hBuffer, &oInfo), TStatus_OK);
        KUINT32* const puiDrawn = reinterpret_cast<KUINT32*>(ro.Access());
        const auto     fObserve = [](KUINT32 uiLessWide, KUINT32 uiLessHigh, KINT32 iHolder, KUINT32 uiFile) {
            return Observe({0, iHolder, {uiWidth - uiLessWide, uiHeight - uiLessHigh}, uiFile, uiWidth, uiHeight});
        };
        WatchedPicture oPicture(fObserve(0, 0, 0, 0));
        ro.MakeBuffer(uiWidth, uiHeight);
        for (const auto& [ui, uiHigh, i, uiFile] :
             {std::tuple(0u, 0u, 0, 0u), {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}})
            EXPECT_EQ(oPicture.IsOf(fObserve(ui, uiHigh, i, uiFile)), ui + uiHigh + uiFile == 0 && i == 0);
        std::mt19937 oRandom(1);
        const auto   Below = [&](KUINT32 uiLimit) { return static_cast<KUINT32>(oRandom()) % uiLimit; };
        const auto   fLook = [&](KUINT32 uiTimes) {  // how many times it finds something
            const KUINT32 uiBefore = oPicture.GetVersion();
            for (KUINT32 uiLook = 0; uiLook < uiTimes; ++uiLook) oPicture.Look();
            return oPicture.GetVersion() - uiBefore;
        };
        for (int iStep = 0; iStep < 300; ++iStep)
        {
            const KUINT32 uiLeft = Below(uiWidth), uiRight = std::min(uiLeft + 1 + Below(2) * Below(50), uiWidth);
            const KUINT32 uiTop = Below(uiHeight), uiBottom = std::min(uiTop + 1 + Below(20), uiHeight);
            const KUINT32 uiColour = Below(0xFFFFFFFF);
            for (KUINT32 uiY = uiTop; uiY < uiBottom; ++uiY)
                std::fill_n(puiDrawn + uiY * oInfo.auiPitch[0] + uiLeft, uiRight - uiLeft, uiColour);
            // One look finds all of it; the first one if it is high.
            const KUINT32 uiHigh = uiBottom - uiTop >= uiLooks ? 1 : 0, uiFound = fLook(uiHigh);
            ASSERT_EQ(std::pair(uiFound, uiFound + fLook(uiLooks)), std::pair(uiHigh, 1u)) << iStep;
            const auto& [uiFromColumn, uiFromRow, uiToColumn, uiToRow] = oPicture.GetChanged();
            ASSERT_EQ(std::tuple(uiFromRow, uiToRow, uiFromColumn), std::tuple(uiTop, uiBottom, uiLeft / 32 * 32));
            ASSERT_LT(uiToColumn - uiRight, 32u);
            ASSERT_TRUE(IsPicture(
                uiWidth, uiHeight, [&](KUINT32 x, KUINT32 y) { return ::At(oPicture.GetPixels(), x, y); },
                [&](KUINT32 x, KUINT32 y) { return puiDrawn[y * oInfo.auiPitch[0] + x] | 0xFF000000; }))
                << "step " << iStep;
            // Where something has changed before, the next change is found at once.
            puiDrawn[uiTop * oInfo.auiPitch[0] + uiLeft] ^= 1;
            ASSERT_EQ(fLook(1), 1u) << iStep;
        }
        // A row that has not changed for long is left out of most looks.
        EXPECT_EQ(fLook(60), 0u);
        KUINT32 uiNeeded = 0;
        for (KUINT32 uiRow = 0; uiRow < uiLooks; ++uiRow)
            for (puiDrawn[uiRow * oInfo.auiPitch[0]] ^= 1; uiNeeded < 99 && fLook(1) == 0;) ++uiNeeded;
        EXPECT_TRUE(uiNeeded > 4 * uiLooks && uiNeeded < uiLooks * uiLooks) << uiNeeded;
    });
}

TEST_F(WatchedPictureTest, PausesGrowWhereNothingChangesAndPicturesAreShared)
{
    Expect("create --outputs 3", 0, "");
    WatchedBoard oBoard(0, true);
    const auto   fPicture = [&](size_t ui) { return oBoard.GetView().aoOutputs[ui].poPicture; };
    const auto   fExpect  = [&](int iSpentMs, std::initializer_list<int> aiPausesMs) {
        for (bool bChanged = true; const int i : aiPausesMs)
        {
            EXPECT_EQ(oBoard.Update(), std::exchange(bChanged, false)) << i;
            const auto oNow   = std::chrono::steady_clock::now();
            const auto oPause = oBoard.GetPause(oNow - std::chrono::milliseconds(iSpentMs));
            const auto iLost  = (std::chrono::steady_clock::now() - oNow) / std::chrono::milliseconds(1);
            EXPECT_LE(std::abs(oPause.count() - i), 2 * (iLost + 2)) << i;
        }
    };
    fExpect(0, {66, 132, 264, 528, -1, -1});
    std::optional<Process> ooLast([] {  // draws at last, and ends
        TestClient    o;
        KUINT8* const pui = (o.MakeBuffer(), o.Access());
        for (KUINT32 ui : {0u, 1u, 2u}) EXPECT_EQ(o.Show(o.Output(ui), 32 >> ui / 2), TStatus_OK);
        Process::Pause();
        *pui = 200;
    });
    ooLast->Await();
    fExpect(150, {300, 300, 300, 378, 850, 850});
    ooLast.reset();
    fExpect(0, {66, 132, 264, 528, -1});
    EXPECT_EQ(std::tuple(fPicture(1), fPicture(0)->GetPixels().uiWidth, fPicture(2)->GetPixels().uiWidth),
              std::tuple(fPicture(0), 32u, 16u));
    EXPECT_EQ(std::pair(fPicture(0)->GetVersion(), ::At(fPicture(0)->GetPixels(), 0, 0)), std::pair(1u, 0xFF0000C8));
    fs::remove(At("board.pixels-0"));
    fExpect(0, {66});
    EXPECT_NE(oBoard.GetView().aoOutputs[1].strState.find("; " + At("board.pixels-0")), std::string::npos);
    fs::remove(At("board.state"));
    fExpect(0, {66});
}

TEST(Text, IsInkOnPaperInTheMiddleOfTheHeight)
{
    constexpr KUINT32 uiHeight = 28;
    const SPicture    oText =
        DrawText("HnH", static_cast<KUINT32>(TextWidth("HnH")), uiHeight, {{250, 40, 190}, {10, 240, 70}}, false);
    SArea oInk = {uiHeight, uiHeight, 0, 0};
    for (KUINT32 ui = 0; ui < oText.auiRgba.size() / 4; ++ui)
    {
        const KUINT32       uiX = ui % oText.uiWidth, uiY = ui / oText.uiWidth;
        const KUINT8* const pui  = &oText.auiRgba[size_t{ui} * 4];
        const double        fInk = (pui[0] - 10) / 240.0;
        EXPECT_NEAR(pui[1], 240 - 200 * fInk, 2);
        EXPECT_NEAR(pui[2], 70 + 120 * fInk, 2);
        if (fInk > 0.5)
            oInk = {std::min(oInk.uiLeft, uiX), std::min(oInk.uiTop, uiY), std::max(oInk.uiRight, uiX + 1),
                    std::max(oInk.uiBottom, uiY + 1)};
    }
    EXPECT_NEAR(oInk.uiLeft + oInk.uiRight, oText.uiWidth, 3);
    EXPECT_NEAR(oInk.uiTop + oInk.uiBottom, uiHeight, 4);
    EXPECT_NEAR(oInk.uiBottom - oInk.uiTop, 11, 2);
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
        astrCuts.insert(astrCuts.end(), static_cast<size_t>(iColumns), strText + "..");  // until the letter fits as well
        strText += strLetter;
    }
    EXPECT_EQ(TextColumns(strText), 13);
    for (int iRoom = 0; iRoom <= 13; ++iRoom)
        EXPECT_EQ(CutText(strText, FitsColumns(iRoom)), iRoom < 13 ? astrCuts[static_cast<size_t>(iRoom)] : strText);
    for (const int iWidth : {0, 9, 30, 60}) EXPECT_LE(TextWidth(CutText(strText, FitsPixels(iWidth))), iWidth);
    EXPECT_EQ(CutText("on", FitsPixels(TextWidth("on"))), "on");
    EXPECT_EQ(CutText("\u0308\u0323", FitsColumns(-1)), "");
    const std::tuple<const char*, size_t, int, std::vector<std::string>> aoWrapped[] = {
        // clang-format off
        {"größe 日本 on", 2, 10, {"größe 日本", "on"}}, {"größe 日本 on", 3, 9, {"größe", "日本 on"}}, {"größe", 2, 2, {"größe"}},
        {"größe 日本 on", 2, 5, {"größe", "日本 on"}},  {"größe 日本 on", 1, 5, {"größe 日本 on"}}, {" größe", 2, 2, {" größe"}},
        {"größe on", 3, 2, {"größe on"}}, {"größe 日本 on", 3, 5, {"größe", "日本", "on"}}, {"on", 0, 9, {}},
        {"日a größe", 2, 2, {"日a größe"}}, {"größe  on", 2, 5, {"größe", " on"}}, {"a größe", 2, 0, {"a größe"}},
    };  // clang-format on
    for (const auto& [pszText, uiRows, iColumns, astrRows] : aoWrapped)
        EXPECT_EQ(WrapText(pszText, uiRows, FitsColumns(iColumns)), astrRows);
}
}
