// How fast rows of pixels are converted: the YUV formats beside libyuv's plain C rows of the same kind, the packed ones
// beside shifts and masks written down by hand. All take or give rows of R8G8B8A8 words, and ten bits rows of 16-bit
// components.
#include <random>
#include <string>
#include <vector>

#include <libyuv/convert_argb.h>
#include <libyuv/row.h>

#include "BenchmarkTable.h"
#include "QelColor.h"

namespace
{
constexpr KUINT32 WIDTH = 1920;
constexpr int     ROW   = WIDTH;

using V8U8Y8A8 = QelColor<TPixelFormat_V8U8Y8A8, KUINT32>;
using Y8_444   = QelColor<TPixelFormat_MP_Y8_U8V8_444, KUINT32>;
using Y8_422   = QelColor<TPixelFormat_MP_Y8_U8V8_422, KUINT32>;
using Y10_422  = QelColor<TPixelFormat_MP_Y10_U10V10_X2_422, KUINT32>;

// The rows that all work on, the same in every process: random colours, the words of their conversion, and the bytes of
// these words in planes.
struct SRows
{
    SRows()
    {
        std::mt19937 oRandom(1);
        for (KUINT32 i = 0; i < WIDTH; ++i)
        {
            KUINT16* const pui = &auiDeep[4 * i];
            for (KUINT32 k = 0; k < 4; ++k)
                pui[k] = oRandom() & 0x3FF;
            auiRgba[i]      = static_cast<KUINT32>(oRandom());
            auiDeepWords[i] = Y10_422::FromARGB(pui[0], pui[1], pui[2], pui[3]).m_uiColorValue;
            auiWords[i]     = V8U8Y8A8::FromARGB(pui[0] & 0xFF, pui[1] & 0xFF, pui[2] & 0xFF, pui[3] & 0xFF).m_uiColorValue;
            auiV[i]         = static_cast<KUINT8>(auiWords[i]);
            auiU[i]         = static_cast<KUINT8>(auiWords[i] >> 8);
            auiY[i]         = static_cast<KUINT8>(auiWords[i] >> 16);
            auiA[i]         = static_cast<KUINT8>(auiWords[i] >> 24);
        }
    }

    std::vector<KUINT32> auiRgba = std::vector<KUINT32>(WIDTH), auiOut = auiRgba, auiWords = auiRgba, auiDeepWords = auiRgba;
    std::vector<KUINT16> auiDeep = std::vector<KUINT16>(4 * WIDTH), auiShorts = std::vector<KUINT16>(WIDTH);
    std::vector<KUINT8>  auiY = std::vector<KUINT8>(WIDTH), auiU = auiY, auiV = auiY, auiA = auiY;
};
SRows g_oRows;

// A component of an R8G8B8A8 word: 0 red, 1 green, 2 blue, 3 alpha. Cut by a type: g++ folds a conversion into what follows,
// where a mask that is narrowed to 16 bits stays.
constexpr KUINT16 Component(KUINT32 uiRgba, KUINT32 uiIndex)
{
    return static_cast<KUINT8>(uiRgba >> (8 * uiIndex));
}

constexpr KUINT32 Rgba(KUINT32 uiAlpha, KUINT32 uiRed, KUINT32 uiGreen, KUINT32 uiBlue)
{
    return uiAlpha << 24 | uiBlue << 16 | uiGreen << 8 | uiRed;
}

// Eight bits go to and from R8G8B8A8 words, in which a component of fewer bits lies as it stands.
template <typename Colour, typename T> [[gnu::noinline]] void ToFormat(const KUINT32* puiRgba, T* puiWords)
{
    for (KUINT32 i = 0; i < WIDTH; ++i)
    {
        const KUINT32 ui = puiRgba[i];
        puiWords[i] =
            Colour::FromARGB(Component(ui, 3), Component(ui, 0), Component(ui, 1), Component(ui, 2)).m_uiColorValue;
    }
}

template <typename Colour, typename T> [[gnu::noinline]] void FromFormat(const T* puiWords, KUINT32* puiRgba)
{
    for (KUINT32 i = 0; i < WIDTH; ++i)
    {
        Colour  oColour(puiWords[i]);
        KUINT16 uiAlpha, uiRed, uiGreen, uiBlue;
        Colour::ToARGB(oColour, uiAlpha, uiRed, uiGreen, uiBlue);
        puiRgba[i] = Rgba(uiAlpha, uiRed, uiGreen, uiBlue);
    }
}

// Ten bits go to and from rows of 16-bit components.
template <typename Colour> [[gnu::noinline]] void DeepToFormat(const KUINT16* pui, KUINT32* puiWords)
{
    for (KUINT32 i = 0; i < WIDTH; ++i, pui += 4)
        puiWords[i] = Colour::FromARGB(pui[0], pui[1], pui[2], pui[3]).m_uiColorValue;
}

template <typename Colour> [[gnu::noinline]] void DeepFromFormat(const KUINT32* puiWords, KUINT16* pui)
{
    for (KUINT32 i = 0; i < WIDTH; ++i, pui += 4)
    {
        Colour oColour(puiWords[i]);
        Colour::ToARGB(oColour, pui[0], pui[1], pui[2], pui[3]);
    }
}

// The packed formats by hand: what FromARGB and ToARGB of each come to.
template <TPixelFormat eFormat> constexpr KUINT32 PackByHand(KUINT32 a, KUINT32 r, KUINT32 g, KUINT32 b)
{
    switch (eFormat)
    {
    case TPixelFormat_R8G8B8A8: return (a & 0xFF) << 24 | (b & 0xFF) << 16 | (g & 0xFF) << 8 | (r & 0xFF);
    case TPixelFormat_B8G8R8A8: return (a & 0xFF) << 24 | (r & 0xFF) << 16 | (g & 0xFF) << 8 | (b & 0xFF);
    case TPixelFormat_B5G5R5A1: return (a & 1) << 15 | (r & 0x1F) << 10 | (g & 0x1F) << 5 | (b & 0x1F);
    case TPixelFormat_B5G6R5: return (r & 0x1F) << 11 | (g & 0x3F) << 5 | (b & 0x1F);
    default: return (a & 3) << 30 | (r & 0x3FF) << 20 | (g & 0x3FF) << 10 | (b & 0x3FF);
    }
}

template <TPixelFormat eFormat> constexpr void UnpackByHand(KUINT32 w, KUINT32& a, KUINT32& r, KUINT32& g, KUINT32& b)
{
    switch (eFormat)
    {
    case TPixelFormat_R8G8B8A8: a = w >> 24, b = w >> 16 & 0xFF, g = w >> 8 & 0xFF, r = w & 0xFF; break;
    case TPixelFormat_B8G8R8A8: a = w >> 24, r = w >> 16 & 0xFF, g = w >> 8 & 0xFF, b = w & 0xFF; break;
    case TPixelFormat_B5G5R5A1: a = w >> 15, r = w >> 10 & 0x1F, g = w >> 5 & 0x1F, b = w & 0x1F; break;
    case TPixelFormat_B5G6R5: a = 0, r = w >> 11, g = w >> 5 & 0x3F, b = w & 0x1F; break;
    default: a = w >> 30, r = w >> 20 & 0x3FF, g = w >> 10 & 0x3FF, b = w & 0x3FF;
    }
}

template <TPixelFormat eFormat, typename T> [[gnu::noinline]] void ToFormatByHand(const KUINT32* puiRgba, T* puiWords)
{
    for (KUINT32 i = 0; i < WIDTH; ++i)
    {
        const KUINT32 ui = puiRgba[i];
        puiWords[i]      = static_cast<T>(PackByHand<eFormat>(ui >> 24, ui & 0xFF, ui >> 8 & 0xFF, ui >> 16 & 0xFF));
    }
}

template <TPixelFormat eFormat, typename T> [[gnu::noinline]] void FromFormatByHand(const T* puiWords, KUINT32* puiRgba)
{
    for (KUINT32 i = 0; i < WIDTH; ++i)
    {
        KUINT32 a, r, g, b;
        UnpackByHand<eFormat>(puiWords[i], a, r, g, b);
        puiRgba[i] = Rgba(a, r, g, b);
    }
}

template <TPixelFormat eFormat, typename T>
void ComparePacked(BenchmarkTable& roTable, const char* pszName, std::vector<T>& rauiWords)
{
    using Colour = QelColor<eFormat, T>;
    roTable.Compare(
        std::string(pszName) + " FromARGB, 1920", "shifts and masks", SpeedAtLeast(0.9),
        [&] { ToFormat<Colour>(g_oRows.auiRgba.data(), rauiWords.data()); },
        [&] { ToFormatByHand<eFormat>(g_oRows.auiRgba.data(), rauiWords.data()); });
    roTable.Compare(
        std::string(pszName) + " ToARGB, 1920", "shifts and masks", SpeedAtLeast(0.9),
        [&] { FromFormat<Colour>(rauiWords.data(), g_oRows.auiOut.data()); },
        [&] { FromFormatByHand<eFormat>(rauiWords.data(), g_oRows.auiOut.data()); });
}

KUINT8* Bytes(std::vector<KUINT32>& raui)
{
    return reinterpret_cast<KUINT8*>(raui.data());
}

// Luma and, with a chroma sample a pixel (444) or for every two (422), chroma, into planes of their own.
void Libyuv444FromArgb()
{
    libyuv::ARGBToYRow_C(Bytes(g_oRows.auiRgba), g_oRows.auiY.data(), ROW);
    libyuv::ARGBToUV444Row_C(Bytes(g_oRows.auiRgba), g_oRows.auiU.data(), g_oRows.auiV.data(), ROW);
}

void Libyuv422FromArgb()
{
    libyuv::ARGBToYRow_C(Bytes(g_oRows.auiRgba), g_oRows.auiY.data(), ROW);
    libyuv::ARGBToUVRow_C(Bytes(g_oRows.auiRgba), 0, g_oRows.auiU.data(), g_oRows.auiV.data(), ROW);
}
}

int main(int iArguments, char** ppszArguments)
{
    BenchmarkTable oTable(iArguments, ppszArguments);
    SRows&         ro = g_oRows;

    ComparePacked<TPixelFormat_R8G8B8A8>(oTable, "R8G8B8A8", ro.auiWords);
    ComparePacked<TPixelFormat_B8G8R8A8>(oTable, "B8G8R8A8", ro.auiWords);
    ComparePacked<TPixelFormat_B5G5R5A1>(oTable, "B5G5R5A1", ro.auiShorts);
    ComparePacked<TPixelFormat_B5G6R5>(oTable, "B5G6R5", ro.auiShorts);
    ComparePacked<TPixelFormat_B10G10R10A2>(oTable, "B10G10R10A2", ro.auiWords);

    oTable.Compare(
        "V8U8Y8A8 FromARGB, 1920", "ARGBToYRow_C, ARGBToUV444Row_C", SpeedAtLeast(1),
        [&] { ToFormat<V8U8Y8A8>(ro.auiRgba.data(), ro.auiWords.data()); }, Libyuv444FromArgb);
    oTable.Compare(
        "V8U8Y8A8 ToARGB, 1920", "I444AlphaToARGBRow_C", SpeedAtLeast(1),
        [&] { FromFormat<V8U8Y8A8>(ro.auiWords.data(), ro.auiOut.data()); },
        [&] {
            libyuv::I444AlphaToARGBRow_C(ro.auiY.data(), ro.auiU.data(), ro.auiV.data(), ro.auiA.data(), Bytes(ro.auiOut),
                                         &libyuv::kYuvI601Constants, ROW);
        });
    oTable.Compare(
        "MP_Y8_U8V8_444 FromARGB, 1920", "ARGBToYRow_C, ARGBToUV444Row_C", SpeedAtLeast(1),
        [&] { ToFormat<Y8_444>(ro.auiRgba.data(), ro.auiWords.data()); }, Libyuv444FromArgb);
    oTable.Compare(
        "MP_Y8_U8V8_444 ToARGB, 1920", "I444ToARGBRow_C", SpeedAtLeast(1),
        [&] { FromFormat<Y8_444>(ro.auiWords.data(), ro.auiOut.data()); },
        [&] {
            libyuv::I444ToARGBRow_C(ro.auiY.data(), ro.auiU.data(), ro.auiV.data(), Bytes(ro.auiOut),
                                    &libyuv::kYuvI601Constants, ROW);
        });
    oTable.Compare(
        "MP_Y8_U8V8_422 FromARGB, 1920", "ARGBToYRow_C, ARGBToUVRow_C", SpeedAtLeast(1),
        [&] { ToFormat<Y8_422>(ro.auiRgba.data(), ro.auiWords.data()); }, Libyuv422FromArgb);
    oTable.Compare(
        "MP_Y8_U8V8_422 ToARGB, 1920", "I422ToARGBRow_C", SpeedAtLeast(1),
        [&] { FromFormat<Y8_422>(ro.auiWords.data(), ro.auiOut.data()); },
        [&] {
            libyuv::I422ToARGBRow_C(ro.auiY.data(), ro.auiU.data(), ro.auiV.data(), Bytes(ro.auiOut),
                                    &libyuv::kYuvI601Constants, ROW);
        });
    oTable.Compare(
        "MP_Y10_U10V10_X2_422 FromARGB, 1920", "ARGBToYRow_C, ARGBToUVRow_C", SpeedAtLeast(1),
        [&] { DeepToFormat<Y10_422>(ro.auiDeep.data(), ro.auiDeepWords.data()); }, Libyuv422FromArgb);
    oTable.Compare(
        "MP_Y10_U10V10_X2_422 ToARGB, 1920", "I422ToARGBRow_C", SpeedAtLeast(1),
        [&] { DeepFromFormat<Y10_422>(ro.auiDeepWords.data(), ro.auiDeep.data()); },
        [&] {
            libyuv::I422ToARGBRow_C(ro.auiY.data(), ro.auiU.data(), ro.auiV.data(), Bytes(ro.auiOut),
                                    &libyuv::kYuvI601Constants, ROW);
        });
    return 0;
}
