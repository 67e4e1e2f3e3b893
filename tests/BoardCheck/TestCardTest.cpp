// The test card in memory: bytes in the order of format 52, a frame along the edges, and nothing outside.
#include "TestCard.h"

#include "TestSupport.h"

namespace
{
constexpr KUINT32 PADDING = 16, OUTSIDE = 0xDEADBEEF, BLACK = 0xff000000, WHITE = 0xffffffff;

// A card whose rows have padding, with a row of memory above and below.
struct Card
{
    Card(KUINT32 uiPictureWidth, KUINT32 uiPictureHeight) : uiWidth(uiPictureWidth), uiHeight(uiPictureHeight)
    {
        BoardCheck::DrawTestCard(oInfo, &uiPlane, 7);
    }
    void     Blink(bool bLit) { BoardCheck::DrawBlinkingSquare(oInfo, &uiPlane, bLit); }
    KUINT32  At(KUINT32 x, KUINT32 y) const { return auiMemory[(y + 1) * uiPitch + x]; }
    unsigned Count(KUINT32 uiWord) const { return unsigned(std::count(auiMemory.begin(), auiMemory.end(), uiWord)); }

    const KUINT32        uiWidth, uiHeight, uiPitch = uiWidth + PADDING;
    std::vector<KUINT32> auiMemory = std::vector<KUINT32>(uiPitch * (uiHeight + 2), OUTSIDE);

    const tagTBuffer_PlaneInfo oInfo   = {.uiPlaneCount    = 1,
                                          .auiWidth        = {uiWidth},
                                          .auiHeight       = {uiHeight},
                                          .auiPitch        = {uiPitch},
                                          .auiPitchInBytes = {uiPitch * 4}};
    const KUINTPTR             uiPlane = reinterpret_cast<KUINTPTR>(auiMemory.data() + uiPitch);
};
}

TEST(TestCard, StaysInsidePicturesOfEverySize)
{
    for (const auto& [uiWidth, uiHeight] : {std::pair(1u, 1u), {2, 9}, {3, 2}, {40, 700}, {700, 40}, {1920, 1080}})
    {
        Card oCard(uiWidth, uiHeight);
        oCard.Blink(false);
        EXPECT_EQ(oCard.Count(OUTSIDE), oCard.auiMemory.size() - size_t{uiWidth} * uiHeight) << uiWidth << ' ' << uiHeight;
        for (KUINT32 x = 0; x < uiWidth; ++x)
            ASSERT_TRUE(oCard.At(x, 0) == WHITE && oCard.At(x, uiHeight - 1) == WHITE) << uiWidth << ' ' << uiHeight;
        for (KUINT32 y = 0; y < uiHeight; ++y)
            ASSERT_TRUE(oCard.At(0, y) == WHITE && oCard.At(uiWidth - 1, y) == WHITE) << uiWidth << ' ' << uiHeight;
    }
}

// Of the pictures that somebody has looked at. If one changes on purpose, look at it (QelBoardCheck --draw, tavrin-board
// snapshot) and take the new number.
TEST(TestCard, IsTheOneThatWasLookedAt)
{
    for (const auto& [uiWidth, uiHeight, uiHash] : {std::tuple(1024u, 768u, 3580833310u), {200, 150, 1479584077u}})
    {
        const Card oCard(uiWidth, uiHeight);
        KUINT32    uiSum = 2166136261u;  // FNV-1a, by words
        for (const KUINT32 uiWord : oCard.auiMemory) uiSum = (uiSum ^ uiWord) * 16777619u;
        EXPECT_EQ(uiSum, uiHash) << uiWidth << ' ' << uiHeight;
    }
}

TEST(TestCard, ShowsItsColoursInTheirOrderAndHalfABar)
{
    for (const auto& [uiWidth, uiHeight] : {std::pair(640u, 480u), {1024, 768}, {1920, 1080}})
    {
        Card oCard(uiWidth, uiHeight);
        // The colours in the order in which they first come, downwards: the words, then the bars.
        std::vector<KUINT32> auiFound;
        for (KUINT32 y = 1; y < uiHeight - 1; ++y)
            for (KUINT32 x = 1; x < uiWidth - 1; ++x)
                if (std::count(auiFound.begin(), auiFound.end(), oCard.At(x, y)) == 0) auiFound.push_back(oCard.At(x, y));
        EXPECT_EQ(auiFound, (std::vector<KUINT32>{BLACK, WHITE, 0xff0000ff, 0xff00ff00, 0xffff0000, 0xff00ffff, 0xffffff00,
                                                  0xffff00ff}));

        // The lowest things on it are the bar, whose left half is filled, and the square, which is not unless it is lit.
        const KUINT32 uiLeft = uiWidth / 10, uiRight = uiLeft * 6 - 1, uiMiddle = uiLeft * 7 / 2, uiSquare = uiWidth * 4 / 5;
        KUINT32       uiRow = uiHeight - 2;
        while (oCard.At(uiLeft, uiRow) != WHITE) --uiRow;
        uiRow -= 5;
        const auto IsWhite = [&](KUINT32 x) { return oCard.At(x, uiRow) == WHITE; };
        EXPECT_TRUE(!IsWhite(uiLeft - 1) && IsWhite(uiLeft) && IsWhite(uiMiddle - 1) && !IsWhite(uiMiddle) &&
                    !IsWhite(uiRight - 1) && IsWhite(uiRight) && !IsWhite(uiRight + 1) && !IsWhite(uiSquare));
        const auto auiDark = oCard.auiMemory;
        oCard.Blink(true);
        EXPECT_TRUE(IsWhite(uiSquare) && oCard.Count(OUTSIDE) == oCard.auiMemory.size() - size_t{uiWidth} * uiHeight);
        oCard.Blink(false);
        EXPECT_TRUE(AreRows(oCard.auiMemory, auiDark, oCard.uiPitch));
    }
}
