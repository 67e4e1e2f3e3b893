#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "QelColor.h"

namespace
{
using Four = std::array<double, 4>;  // A, R, G, B or A, Y, U, V

// A weighed sum as the formulas have it, in doubles: what is shifted there is divided and rounded downwards.
double Sum(const Four& rod, double d1, double d2, double d3, double dScale) { return std::floor((d1 * rod[1] + d2 * rod[2] + d3 * rod[3] + dScale / 2) / dScale); }

Four RgbToYuv(const Four& rod, bool bDeep)
{
    return bDeep ? Four{rod[0], Sum(rod, 263, 516, 100, 1024) + 64, Sum(rod, -152, -298, 450, 1024) + 512, Sum(rod, 450, -377, -73, 1024) + 512}
                 : Four{rod[0], Sum(rod, 66, 129, 25, 256) + 16, Sum(rod, -38, -74, 112, 256) + 128, Sum(rod, 112, -94, -18, 256) + 128};
}

Four YuvToRgb(const Four& rod, bool bDeep)
{
    const Four dCde = {0, rod[1] - (bDeep ? 64 : 16), rod[2] - (bDeep ? 512 : 128), rod[3] - (bDeep ? 512 : 128)};
    const auto Clamp = [=](double d) { return std::clamp(d, 0., bDeep ? 1023. : 255.); };
    return {rod[0], Clamp(Sum(dCde, 298, 0, 409, 256)), Clamp(Sum(dCde, 298, -100, -208, 256)), Clamp(Sum(dCde, 298, 516, 0, 256))};
}

template <typename Colour>
void CheckFormat(std::array<KUINT32, 4> auiMask, bool bYuv = false)
{
    const auto Field = [](KUINT32 uiWord, KUINT32 uiMask) { return double(uiMask != 0 ? (uiWord & uiMask) >> std::countr_zero(uiMask) : 0); };
    const auto Split = [=](KUINT32 ui) { return Four{Field(ui, auiMask[0]), Field(ui, auiMask[1]), Field(ui, auiMask[2]), Field(ui, auiMask[3])}; };
    const Four dMax  = Split(~0u);
    const bool bDeep = dMax[1] == 1023;
    EXPECT_EQ((Four{double(Colour::GetMaxAlpha()), double(Colour::GetMaxRed()), double(Colour::GetMaxGreen()), double(Colour::GetMaxBlue())}), dMax);

    std::mt19937 oRandom(1);
    for (unsigned i = 0; i < 100000; ++i)
    {
        KUINT16 aui[4];
        Four    dWant;
        for (unsigned k = 0; k < 4; ++k)  // the corners of the range first, then anything that 16 bits hold
        {
            aui[k]   = static_cast<KUINT16>(i >= 16 ? oRandom() & 0xFFFF : (i >> k & 1) != 0 ? KUINT16(dMax[k]) : 0u);
            dWant[k] = aui[k] & KUINT16(dMax[k]);
        }
        Colour oColour = Colour::FromARGB(aui[0], aui[1], aui[2], aui[3]);
        ASSERT_EQ(Split(oColour.m_uiColorValue), bYuv ? RgbToYuv(dWant, bDeep) : dWant) << Colour().GetPixelFormat();
        ASSERT_EQ(oColour.m_uiColorValue & ~(auiMask[0] | auiMask[1] | auiMask[2] | auiMask[3]), 0u) << "unused bits";

        oColour = i % 2 == 0 ? oColour : Colour(static_cast<decltype(Colour::m_uiColorValue)>(oRandom()));
        dWant   = Split(oColour.m_uiColorValue);
        Colour::ToARGB(oColour, aui[0], aui[1], aui[2], aui[3]);
        ASSERT_EQ((Four{double(aui[0]), double(aui[1]), double(aui[2]), double(aui[3])}), bYuv ? YuvToRgb(dWant, bDeep) : dWant) << oColour.m_uiColorValue;
    }
}
}  // namespace

TEST(QelColor, EveryFormatConvertsLikeItsFormulas)
{
    CheckFormat<QelColor<TPixelFormat_R8G8B8A8, unsigned int>>({0xFF000000, 0xFF, 0xFF00, 0xFF0000});
    CheckFormat<QelColor<TPixelFormat_B8G8R8A8, KUINT32>>({0xFF000000, 0xFF0000, 0xFF00, 0xFF});
    CheckFormat<QelColor<TPixelFormat_B5G5R5A1, KUINT16>>({0x8000, 0x7C00, 0x3E0, 0x1F});
    CheckFormat<QelColor<TPixelFormat_B5G6R5, KUINT16>>({0, 0xF800, 0x7E0, 0x1F});
    CheckFormat<QelColor<TPixelFormat_B10G10R10A2, KUINT32>>({0xC0000000, 0x3FF00000, 0xFFC00, 0x3FF});
    CheckFormat<QelColor<TPixelFormat_V8U8Y8A8, KUINT32>>({0xFF000000, 0xFF0000, 0xFF00, 0xFF}, true);
    CheckFormat<QelColor<TPixelFormat_MP_Y8_U8V8_444, KUINT32>>({0, 0xFF0000, 0xFF, 0xFF00}, true);
    CheckFormat<QelColor<TPixelFormat_MP_Y8_U8V8_422, KUINT32>>({0, 0xFF0000, 0xFF, 0xFF00}, true);
    CheckFormat<QelColor<TPixelFormat_MP_Y10_U10V10_X2_422, KUINT32>>({0, 0x3FF00000, 0xFFC00, 0x3FF}, true);
}
