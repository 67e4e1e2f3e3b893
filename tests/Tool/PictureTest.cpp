// What is painted: PNG pictures and frames, the blend, the bar and the rectangle animation.
#include <malloc.h>
#include <sys/mman.h>

#include "DisplayWorld.h"
#include "FrameBlend.h"
#include "LargePages.h"
#include "PngAnimation.h"
#include "ProgressBar.h"
#include "QelColor.h"
#include "QelSurfaceTyped.h"
#include "RectangleAnimation.h"

namespace
{
using Bytes = std::vector<KUINT8>;

// A fixture with a folder of its own, and with the tool's output captured.
struct Picture : testing::Test
{
    // The bytes of a PNG file.
    Bytes Png(KUINT32 uiWidth, KUINT32 uiHeight, const SPngKind& roKind, const Bytes& auiRows) const
    {
        WritePng(m_oFolder / "png", uiWidth, uiHeight, roKind, auiRows);
        return ReadFile<Bytes>(m_oFolder / "png");
    }

    // Loads into rows of uiWidth pixels and a gap, all filled with 0x5A, and checks that nothing else is written.
    static KBOOL32 Load(Bytes auiFile, KUINT32 uiWidth, KUINT32 uiHeight, Bytes& rauiPixels)
    {
        const KUINT32 uiPitch = uiWidth * 4 + 12;
        Bytes         auiPlane(size_t{uiPitch} * uiHeight + 16, 0x5A);
        std::FILE*    poFile   = fmemopen(auiFile.data(), auiFile.size(), "rb");
        const KBOOL32 bLoaded  = LoadImage(poFile, uiWidth, uiPitch, uiHeight, auiPlane.data());
        size_t        uiBeside = 0;
        std::fclose(poFile);
        rauiPixels.clear();
        for (size_t i = 0; i < auiPlane.size(); ++i)
            if (i % uiPitch < uiWidth * 4 && i / uiPitch < uiHeight)
                rauiPixels.push_back(auiPlane[i]);
            else if (auiPlane[i] != 0x5A)
                uiBeside = i;
        EXPECT_EQ(uiBeside, 0u) << "this byte is behind a row and was written";
        return bLoaded;
    }

    template <class FWork> KBOOL32 Captured(FWork fWork)
    {
        KBOOL32 bDone = FALSE;
        g_auiBlocks.clear(), g_aoAdvice.clear();
        testing::internal::CaptureStderr();
        m_sOutput = OutputOf([&] { bDone = fWork(); });
        m_sErrors = testing::internal::GetCapturedStderr();
        return bDone;
    }

    TestFolder  m_oFolder;
    std::string m_sOutput, m_sErrors;
};

TEST_F(Picture, EveryKindArrivesAsRgba)
{
    // clang-format off
    const std::tuple<SPngKind, Bytes, Bytes> CASES[] = {
        // A row of four pixels, as it is stored and as it arrives. The picture has it twice.
        {{8, PNG_COLOR_TYPE_RGBA}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},
                                   {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {{8, PNG_COLOR_TYPE_RGB}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3}, {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 1, 2, 3, 0}},
        {{8, PNG_COLOR_TYPE_RGB, false, true}, {0, 0, 0, 4, 5, 6, 7, 8, 9, 1, 2, 3},
         {0, 0, 0, 0, 4, 5, 6, 255, 7, 8, 9, 255, 1, 2, 3, 255}},
        {{1, PNG_COLOR_TYPE_GRAY}, {0b10100000}, {255, 255, 255, 0, 0, 0, 0, 0, 255, 255, 255, 0, 0, 0, 0, 0}},
        {{2, PNG_COLOR_TYPE_GRAY, false, true}, {0b00011011},
         {0, 0, 0, 0, 85, 85, 85, 255, 170, 170, 170, 255, 255, 255, 255, 255}},
        {{8, PNG_COLOR_TYPE_GRAY_ALPHA}, {9, 8, 7, 6, 5, 4, 3, 2}, {9, 9, 9, 8, 7, 7, 7, 6, 5, 5, 5, 4, 3, 3, 3, 2}},
        {{4, PNG_COLOR_TYPE_PALETTE, false, true}, {0x01, 0x2F}, {0, 0, 0, 0, 1, 2, 3, 255, 2, 4, 6, 255, 15, 30, 45, 255}},
        {{16, PNG_COLOR_TYPE_RGBA}, {1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8,
                                     9, 9, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7},
                                    {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3, 4, 5, 6, 7}},
    };  // clang-format on
    for (auto [oKind, auiStored, auiExpected] : CASES)
        for (const bool bInterlaced : {false, true})
        {
            SCOPED_TRACE(testing::Message()
                         << oKind.iBitDepth << " bits, type " << oKind.iColorType << ", interlaced " << bInterlaced);
            oKind.bInterlaced   = bInterlaced;
            const Bytes auiFile = Png(4, 2, oKind, auiStored);
            Bytes       auiPixels, auiTwice = auiExpected;
            auiTwice.insert(auiTwice.end(), auiExpected.begin(), auiExpected.end());
            EXPECT_TRUE(Captured([&] { return Load(auiFile, 4, 2, auiPixels); }));
            EXPECT_EQ(m_sOutput + m_sErrors, "");
            EXPECT_TRUE(AreRows(auiPixels, auiTwice, 16));
            EXPECT_EQ(g_auiBlocks.at(0), auiStored.size() == 12 && !oKind.bTransparent ? 24u : 32u) << "bytes, decoded";
        }
}

TEST_F(Picture, AnotherSizeIsReportedAndCut)
{
    Bytes auiRows(5 * 3 * 4);
    for (size_t i = 0; i < auiRows.size(); ++i) auiRows[i] = static_cast<KUINT8>(i);
    const Bytes auiFile = Png(5, 3, {}, auiRows);

    for (const auto& [uiWidth, uiHeight] : {std::pair{3u, 2u}, {7u, 4u}, {3u, 4u}, {7u, 2u}, {5u, 2u}})
    {
        SCOPED_TRACE(testing::Message() << uiWidth << "x" << uiHeight);
        Bytes auiPixels;
        EXPECT_TRUE(Captured([&, x = uiWidth, y = uiHeight] { return Load(auiFile, x, y, auiPixels); }));
        EXPECT_EQ(m_sOutput,
                  "Supplied PNG 5x3 doens't match resolution " + std::to_string(uiWidth) + "x" + std::to_string(uiHeight));
        const auto fFound = [&, uiRow = uiWidth * 4](KUINT32 i, KUINT32 y) { return auiPixels[y * uiRow + i]; };
        EXPECT_TRUE(IsPicture(uiWidth * 4, uiHeight, fFound,
                              [](KUINT32 i, KUINT32 y) { return y < 3 && i < 20 ? y * 20 + i : 0x5A; }));
    }
}

// A damaged file is refused and leaves the target untouched. The test cuts the file at every byte, and damages every byte.
// It does that once with the checksums as they are, when the picture must be right if it is accepted, and once with
// checksums that match the damage.
TEST_F(Picture, DamageCostsAFalseAndNothingElse)
{
    KUINT8 auiNone[6 * 5 * 4];
    for (const bool bFile : {false, true})
        EXPECT_TRUE(!Captured([&] { return LoadImage(bFile ? stdin : nullptr, 6, 24, 5, bFile ? nullptr : auiNone); }) &&
                    m_sOutput.ends_with("Assertion failed\n"));
    size_t      uiHeld = 0;
    int         iTried = 0, iRefused = 0;
    std::string sWrong;  // the latest, told at the end: each damage is reported to the streams that are captured until then
    testing::internal::CaptureStdout(), testing::internal::CaptureStderr();
    for (const SPngKind& roKind :
         {SPngKind{8, PNG_COLOR_TYPE_RGBA}, {1, PNG_COLOR_TYPE_GRAY, true}, {4, PNG_COLOR_TYPE_PALETTE, false, true}})
    {
        const Bytes auiWhole = Png(6, 5, roKind, Bytes(6 * 5 * 4, 0x33)), auiUntouched(6 * 5 * 4, 0x5A);
        Bytes       auiPicture, auiPixels;
        const auto  fTry = [&](const Bytes& rauiFile, bool bMayPass, bool bMayDiffer, size_t uiByte, const char* pszWhat) {
            const KBOOL32 bLoaded = Load(rauiFile, 6, 5, auiPixels);
            ++iTried, iRefused += !bLoaded;
            if (bLoaded ? !bMayPass || (auiPixels != auiPicture && !bMayDiffer) : auiPixels != auiUntouched)
                sWrong = pszWhat + (" at byte " + std::to_string(uiByte)) + (bLoaded ? ": passed" : ": touched the target");
        };
        EXPECT_TRUE(Load(auiWhole, 6, 5, auiPicture));
        uiHeld = mallinfo2().uordblks;  // of the last kind, when the heap has kept what it keeps
        const std::string sWhole(auiWhole.begin(), auiWhole.end());
        const size_t      uiAlpha = std::min(sWhole.find("tRNS"), sWhole.size()), uiImage = sWhole.find("IDAT") - 4;
        for (size_t i = 0; i < auiWhole.size(); ++i)
        {
            if (i > 0) fTry({auiWhole.begin(), auiWhole.begin() + static_cast<std::ptrdiff_t>(i)}, false, false, i, "cut");
            // A byte of the header, such as the colour type, takes every value. Elsewhere one bit is damaged.
            for (unsigned int uiDamage = 1; uiDamage < 256; uiDamage += i >= 16 && i < 29 ? 1 : uiDamage)
            {
                Bytes auiDamaged = auiWhole;
                auiDamaged[i] ^= static_cast<KUINT8>(uiDamage);
                fTry(auiDamaged, true, i >= uiAlpha && i < uiImage, i, "damage");  // the transparency alone may be lost
                Bytes auiMended = auiDamaged;
                MendSums(auiMended);
                fTry(auiMended, true, true, i, "damage with its checksum");
            }
        }
    }
    testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr();
    EXPECT_EQ(sWrong, "");
    EXPECT_LT(mallinfo2().uordblks, uiHeld + 4 * static_cast<size_t>(iTried)) << "bytes of the heap";
    EXPECT_GT(iRefused, iTried / 2);
    RecordProperty("Tried", iTried);
}

// Their text is nonsense, and would control the terminal if a warning quoted it.
TEST_F(Picture, ChunksThatChangeNoPixelAreNotRead)
{
    const Bytes auiWhole = Png(6, 5, {8, PNG_COLOR_TYPE_RGBA}, Bytes(6 * 5 * 4, 0x33));
    for (const std::string sName : {"tEXt", "zTXt", "iTXt", "iCCP", "gAMA", "pHYs", "tIME", "sPLT", "xxXx"})
    {
        const std::string sChunk  = std::string("\0\0\0\x0c", 4) + sName + "\x1b[2Jabc\0\0xyz" + std::string(5, '\7');
        Bytes             auiFile = auiWhole, auiPixels;
        auiFile.insert(auiFile.begin() + 33, sChunk.begin(), sChunk.begin() + 24);
        MendSums(auiFile);
        EXPECT_TRUE(Captured([&] { return Load(auiFile, 6, 5, auiPixels); })) << sName;
        EXPECT_EQ(m_sErrors, "");
        EXPECT_EQ(auiPixels, Bytes(6 * 5 * 4, 0x33)) << sName;
    }
}

TEST_F(Picture, TooLargeIsRefusedBeforeItIsDecoded)
{
    for (const KUINT8 uiOver : {KUINT8{0}, KUINT8{1}})  // rows of 32 KiB, of which 256 MiB have 8192
    {
        Bytes        auiFile   = Png(1, 1, {1, PNG_COLOR_TYPE_GRAY}, Bytes(1)), auiPixels;
        const KUINT8 auiSize[] = {0, 0, 0x20, 0, 0, 0, 0x20, uiOver};
        std::copy(std::begin(auiSize), std::end(auiSize), auiFile.begin() + 16);
        MendSums(auiFile);
        EXPECT_FALSE(Captured([&] { return Load(auiFile, 4, 2, auiPixels); }));
        EXPECT_EQ(m_sErrors.empty(), uiOver == 1) << "libpng says that rows are missing";
        EXPECT_EQ(g_aoAdvice.empty(), uiOver == 1);
        EXPECT_EQ(auiPixels, Bytes(32, 0x5A));
    }
}

// The memory of a large picture is the heap's again, and what lies there later is shown: the kernel must not move it then.
TEST_F(Picture, LargePagesAreAdvisedOnlyWhileItIsDecoded)
{
    for (const KUINT32 uiHeight : {511u, 512u, 513u})  // rows of 4 KiB
    {
        const size_t uiBytes = size_t{uiHeight} * 4096, uiMore = uiHeight < 512 ? 0 : LARGE_PAGE_BYTES;
        const Bytes  auiRows(uiBytes, 7), auiFile              = Png(1024, uiHeight, {}, auiRows);
        Bytes        auiPixels;
        EXPECT_TRUE(Captured([&] { return Load(auiFile, 1024, uiHeight, auiPixels); }));
        EXPECT_TRUE(AreRows(auiPixels, auiRows, 1024 * 4));
        EXPECT_EQ(g_auiBlocks.at(0), uiBytes + uiMore);
        const KUINTPTR uiAt     = g_aoAdvice.empty() ? 0 : std::get<0>(g_aoAdvice[0]);
        auto           aoAdvice = decltype(g_aoAdvice){{uiAt, uiBytes, MADV_HUGEPAGE}, {uiAt, uiBytes, MADV_NOHUGEPAGE}};
        if (uiMore == 0) aoAdvice.clear();
        EXPECT_TRUE(g_aoAdvice == aoAdvice && uiAt % LARGE_PAGE_BYTES == 0) << uiHeight;
    }
}

TEST_F(Picture, BlendIsTheFloorForEveryByteAndWidth)
{
    for (KUINT32 uiAlpha = 0; uiAlpha < 256; ++uiAlpha)
        for (KUINT32 uiGround = 0; uiGround < 256; ++uiGround)
        {
            const KUINT32 uiPixels = 240 + uiGround % 17;
            Bytes         auiRow(uiPixels * 4), auiGround(uiPixels * 4, static_cast<KUINT8>(uiGround));
            for (KUINT32 i = 0; i < uiPixels; ++i)
            {
                auiRow[4 * i]     = static_cast<KUINT8>(i);
                auiRow[4 * i + 1] = static_cast<KUINT8>(255 - i);
                auiRow[4 * i + 2] = static_cast<KUINT8>(i + 128);
                auiRow[4 * i + 3] = static_cast<KUINT8>(uiAlpha + (i & 8) * i);  // runs of eight equal pixels
            }
            Bytes auiExpected = auiRow;
            for (size_t i = 0; i < auiExpected.size(); ++i)
                auiExpected[i] = static_cast<KUINT8>(
                    i % 4 == 3 ? 255 : (auiRow[i] * auiRow[i | 3] + uiGround * (255 - auiRow[i | 3])) / 255);
            BlendRowOverGround(auiRow.data(), auiGround.data(), uiPixels);
            ASSERT_TRUE(AreRows(auiRow, auiExpected, auiRow.size())) << "alpha " << uiAlpha << " over " << uiGround;
        }
}

TEST_F(Picture, SequencesThatCannotPlayAreRefused)
{
    Bytes auiGround(9 * 4 * 7);
    for (size_t i = 0; i < auiGround.size(); ++i) auiGround[i] = static_cast<KUINT8>(i);
    const KUINT8*     puiGround = auiGround.data();
    SAnimationPngData oData;
    const auto        fInit = [&](const std::string& sBase, TRECT oRegion) {
        oData               = {};
        const auto    fWork = [&] { return InitAnimationPng(puiGround, 9, 36, 7, sBase.c_str(), oRegion, oData); };
        const KBOOL32 bInit = Captured(fWork);
        EXPECT_EQ(m_sOutput.ends_with("Assertion failed\n"), !bInit);
        return bInit;
    };
    for (const char* psz : {"good01.png", "rotten01.png", "late02.png"}) WritePng(m_oFolder / psz, 4, 3, {}, Bytes(48));
    WritePng(m_oFolder / "low01.png", 4, 2, {}, Bytes(32, 255));
    std::ofstream(m_oFolder / "rotten02.png") << "no picture";

    for (const TRECT& roRegion : {TRECT{4, 3, 8, 6}, {0, 0, 4, 3}, {4, 3, 4, 6}, {4, 3, 8, 3}})
        EXPECT_TRUE(fInit(m_oFolder / "good", roRegion)) << roRegion.iRight << ' ' << roRegion.iBottom;
    ASSERT_TRUE(fInit(m_oFolder / "low", {4, 3, 8, 6}));
    const auto& [uiAddress, uiAdvised, iAdvice] = g_aoAdvice.at(0);
    EXPECT_EQ(uiAddress + uiAdvised, reinterpret_cast<KUINTPTR>(oData.ppuiAnimationSurface[0] + 48));
    EXPECT_EQ(uiAddress % static_cast<KUINTPTR>(getpagesize()), 0u);
    Bytes auiPlane = auiGround, auiExpected = auiGround;
    for (const KUINT32 y : {3u, 4u, 5u})
        for (size_t i = 16; i < 32; ++i) auiExpected[y * 36 + i] = y < 5 || i % 4 == 3 ? 255 : auiGround[y * 36 + i];
    AnimationPngUpdate(oData, 36, nullptr);
    AnimationPngUpdate(oData, 36, auiPlane.data());
    EXPECT_TRUE(AreRows(auiPlane, auiExpected, 36));
    for (const TRECT& roRegion : {TRECT{-1, 1, 3, 4}, {1, -1, 5, 2}, {5, 3, 9, 6}, {4, 4, 8, 7}, {8, 3, 4, 6}, {5, 3, 4, 3}})
        EXPECT_FALSE(fInit(m_oFolder / "good", roRegion)) << roRegion.iLeft << ' ' << roRegion.iTop;
    AnimationPngUpdate(oData, 36, auiPlane.data());
    EXPECT_FALSE(fInit(m_oFolder / "rotten", {4, 3, 8, 6}));
    EXPECT_FALSE(fInit(m_oFolder / "late", {4, 3, 8, 6}));

    // A name is cut to 511 characters. Without its number every frame would be this one file.
    for (const auto& [uiLength, pszFile] : {std::pair{511u, "long"}, {510u, "long0"}, {509u, "long01"}, {508u, "long01."}})
    {
        std::string sLong = m_oFolder / "long";
        sLong.insert(1, uiLength - sLong.size(), '/');
        WritePng(m_oFolder / pszFile, 4, 3, {}, Bytes(48));
        EXPECT_EQ(fInit(sLong, {4, 3, 8, 6}), uiLength < 510) << "as " << pszFile;
    }
    puiGround = nullptr;
    EXPECT_FALSE(fInit(m_oFolder / "good", {4, 3, 8, 6}));
}

using CSurface = QelSurfaceTyped<QelColor<TPixelFormat_R8G8B8A8, unsigned int>>;

// A small plane of the colour 7, seen through a surface.
struct SPlane
{
    std::vector<KUINT32> auiPixels = std::vector<KUINT32>(320 * 24, 7);
    KUINTPTR             uiData    = reinterpret_cast<KUINTPTR>(auiPixels.data());
    KUINT32              uiPitch   = 320;
    CSurface             oSurface{&uiData, &uiPitch, nullptr, 300, 24, 1};

    SPlane() { oSurface.SetFgColorFromARGB(0, 1, 2, 3), oSurface.SetBgColourFromARGB(0, 1, 2, 3); }

    template <class TExpected> testing::AssertionResult Shows(TExpected fExpected) const
    {
        return IsPicture(
            320, 24, [&](KUINT32 x, KUINT32 y) { return auiPixels[y * 320 + x]; }, fExpected);
    }
};

TEST(ProgressBar, FillsInProportionAndStaysInside)
{
    constexpr KUINT32 WHITE = 0x00FFFFFF;
    const TRECT       oRect = {3, 2, 102, 12};  // 99 wide
    SPlane            oPlane;
    SProgressBarData  oData = {};
    InitProgressDrawing(oRect, &oPlane.oSurface);
    for (const KUINT32 uiPct : {0u, 1u, 2u, 50u, 50u, 100u, 40u, 39u, 101u, 255u, 99u, 0u})
    {
        ProgressDrawingUpdate(oRect, uiPct, oData, &oPlane.oSurface);
        EXPECT_EQ(oData.uiPrevProgressPct, uiPct);
        const KUINT32 uiEnd = 3 + 99 * std::min(uiPct, 100u) / 100;
        EXPECT_TRUE(oPlane.Shows([=](KUINT32 x, KUINT32 y) {
            const bool bInside = x > 3 && x < 102 && y > 2 && y < 12;
            return x < 3 || x > 102 || y < 2 || y > 12 ? 7 : !bInside || x < uiEnd ? WHITE : 0;
        })) << uiPct
            << " %";
    }
    oPlane.auiPixels[5 * 320 + 50] = 7;
    ProgressDrawingUpdate(oRect, 0, oData, &oPlane.oSurface);
    EXPECT_EQ(oPlane.auiPixels[5 * 320 + 50], 7u) << "only a fall clears the bar";
    oPlane.oSurface.Clr();
    EXPECT_TRUE(oPlane.Shows([](KUINT32 x, KUINT32) { return x < 300 ? 0 : 7; })) << "its background is black";
}

TEST(RectangleAnimation, ShowsTheBlockOfEveryStep)
{
    for (const auto& [uiWidth, uiFrom, uiTo, uiTurn] :
         {std::tuple{256u, 0u, 50u, 5u}, {255u, 0u, 50u, 5u}, {20u, 0u, 50u, 5u}, {100u, 10u, 30u, 7u}})
    {
        const TRECT    oRect = {5, 1, 5 + static_cast<KINT32>(uiWidth), 9};
        SPlane         oPlane;
        SAnimationData oData = {};
        InitAnimationDrawing(oRect, uiFrom, uiTo, oData, &oPlane.oSurface);
        for (KUINT32 uiStep = 0; uiStep < 45; ++uiStep)
        {
            const KUINT32 uiBegin = (uiFrom + uiStep * uiTurn) % 100, uiEnd = (uiTo + uiStep * uiTurn) % 100;
            const KUINT32 uiBeginX = 5 + uiWidth * uiBegin / 100, uiEndX = 5 + uiWidth * uiEnd / 100, uiRight = 5 + uiWidth;
            EXPECT_TRUE(oPlane.Shows([=](KUINT32 x, KUINT32 y) {
                const bool bBlock = uiBegin < uiEnd ? x >= uiBeginX && x < uiEndX : x >= uiBeginX || x < uiEndX;
                return x < 5 || x >= uiRight || y < 1 || y >= 9 ? 7u : bBlock ? 0x00FFFFFFu : 0u;
            })) << "step "
                << uiStep;
            AnimationDrawingUpdate(oRect, uiTurn, oData, &oPlane.oSurface);
        }
        AnimationDrawingUpdate(oRect, 200, oData, &oPlane.oSurface);
        EXPECT_TRUE(oPlane.Shows([=, uiRight = 5 + uiWidth](KUINT32 x, KUINT32 y) {
            return x < 5 || x >= uiRight || y < 1 || y >= 9 ? 7 : 0;
        })) << "a whole turn paints white, then black";
    }
}

TEST(Rectangle, IsValidOnlyStrictlyInside)
{
    const TVideo_VidParam oVidParam = {.uiHActive = 1024, .uiVActive = 768};
    const TRECT OUTSIDE[] = {{0, 0, 1024, 767}, {0, 0, 1023, 768}, {-1, 0, 5, 5}, {0, -1, 5, 5}, {5, 0, 5, 5}, {0, 5, 5, 5}};
    for (const TRECT& ro : {TRECT{0, 0, 1023, 767}, {1022, 766, 1023, 767}})
        EXPECT_TRUE(IsRectangleValidInsideVidParam(ro, oVidParam));
    for (const TRECT& ro : OUTSIDE) EXPECT_FALSE(IsRectangleValidInsideVidParam(ro, oVidParam)) << &ro - OUTSIDE;
    EXPECT_FALSE(IsRectangleValidInsideVidParam({0, 0, 5, 5}, {.uiHActive = 0x80000000u, .uiVActive = 9}));
}
}
