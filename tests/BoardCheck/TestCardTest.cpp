// The test card in memory: bytes in the order of format 52, and nothing outside. Then the pattern that is drawn and
// compared, in a plane of a device library in this process.
#include "TestCard.h"

#include "PlanePattern.h"
#include "TestSupport.h"

namespace
{
constexpr KUINT32 PADDING = 16, OUTSIDE = 0xDEADBEEF;

KUINT32 Hash(const std::vector<KUINT32>& rauiWords)  // FNV-1a, by words
{
    KUINT32 uiHash = 2166136261u;
    for (const KUINT32 uiWord : rauiWords) uiHash = (uiHash ^ uiWord) * 16777619u;
    return uiHash;
}

// A card whose rows have padding, with a row of memory above and below.
struct Card
{
    Card(KUINT32 uiPictureWidth, KUINT32 uiPictureHeight) : uiWidth(uiPictureWidth), uiHeight(uiPictureHeight)
    {
        BoardCheck::DrawTestCard(oInfo, &uiPlane, 7);
    }
    void Blink(bool bLit) { BoardCheck::DrawBlinkingSquare(oInfo, &uiPlane, bLit); }

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
        const auto iOutside = std::count(oCard.auiMemory.begin(), oCard.auiMemory.end(), OUTSIDE);
        EXPECT_EQ(size_t(iOutside), oCard.auiMemory.size() - size_t{uiWidth} * uiHeight) << uiWidth << ' ' << uiHeight;
    }
}

// Of the pictures that somebody has looked at. If one changes on purpose, look at it (QelBoardCheck --draw, tavrin-board
// snapshot) and take the new numbers: of the card, and of the card whose square is lit.
TEST(TestCard, IsTheOneThatWasLookedAt)
{
    for (const auto& [uiWidth, uiHeight, uiDark, uiLit] : {std::tuple(1024u, 768u, 3580833310u, 3226684958u),
                                                           {600, 900, 2161846943u, 3773456287u},
                                                           {1500, 720, 3551355248u, 3976330608u}})
    {
        Card oCard(uiWidth, uiHeight);
        for (const auto& [bLit, uiHash] : {std::pair(false, uiDark), {true, uiLit}, {false, uiDark}})
        {
            EXPECT_EQ(Hash(oCard.auiMemory), uiHash) << uiWidth << ' ' << uiHeight << ' ' << bLit;
            oCard.Blink(!bLit);
        }
    }
}

TEST(PlanePattern, TellsWhatBecameOfIt)
{
    using namespace BoardCheck;
    const std::set<std::string> astrNoneHangs;
    Trial                       oTrial(-1, -1, astrNoneHangs, std::chrono::seconds(0));  // which tells nobody
    SRequest                    oRequest;
    const KUINT32               w = oRequest.oVidParam.uiHActive = 300, h = oRequest.oVidParam.uiVActive = 260;
    const Device                oDevice(oTrial, {oRequest, 0});
    const Buffer                oBuffer(oDevice);
    const Access                oAccess(oBuffer);
    const Pixels                auiBefore = ReadPlane(oAccess);
    Pixels                      auiDrawn;
    const auto                  At = [&](KUINT32 x, KUINT32 y) { return auiDrawn[size_t{y} * w + x]; };
    const auto Exchange            = [](KUINT32 ui) { return (ui & 0xff00ff00) | (ui & 0xff) << 16 | (ui >> 16 & 0xff); };

    const std::pair<std::string, std::function<KUINT32(KUINT32 x, KUINT32 y)>> aoCases[] = {
        {"", At},
        {"upside down", [&](KUINT32 x, KUINT32 y) { return At(x, h - 1 - y); }},
        {"mirrored", [&](KUINT32 x, KUINT32 y) { return At(w - 1 - x, y); }},
        {"upside down and mirrored", [&](KUINT32 x, KUINT32 y) { return At(w - 1 - x, h - 1 - y); }},
        {"red and blue exchanged", [&](KUINT32 x, KUINT32 y) { return Exchange(At(x, y)); }},
        {"upside down, red and blue exchanged", [&](KUINT32 x, KUINT32 y) { return Exchange(At(x, h - 1 - y)); }},
        {"the bytes of a pixel in reverse order", [&](KUINT32 x, KUINT32 y) { return __builtin_bswap32(At(x, y)); }},
        {"nothing of it: the plane holds what it held before", [&](KUINT32, KUINT32) { return auiBefore[0]; }},
        {"the pixel in column 299 of row 258 is 0x00000005 instead of 0x",
         [&](KUINT32 x, KUINT32 y) { return y == 258 && x == 299 ? 5 : At(x, y); }},
    };
    for (const bool bInverted : {false, true})
    {
        DrawPattern(oAccess, bInverted);
        auiDrawn = ReadPlane(oAccess);
        EXPECT_EQ(Hash(auiDrawn), bInverted ? 2095222613u : 2787361557u);  // of the patterns that were chosen
        for (const auto& [sSays, fPixel] : aoCases)
        {
            for (KUINT32 i = 0; i < w * h; ++i) oAccess.GetRow(i / w)[i % w] = fPixel(i % w, i / w);
            char acPixel[9] = "";
            if (sSays.ends_with("0x")) std::snprintf(acPixel, sizeof(acPixel), "%08x", At(299, 258));
            EXPECT_EQ(CompareWithPattern(oAccess, bInverted, auiBefore), sSays + acPixel);
        }
    }
    // A trial in a call that hangs does not outlive its parent for long.
    oTrial.At("a call", std::chrono::seconds(7));
    EXPECT_EQ(alarm(0), 14u);
}
