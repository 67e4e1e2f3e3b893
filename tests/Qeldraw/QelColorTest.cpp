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
    const Four dCde  = {0, rod[1] - (bDeep ? 64 : 16), rod[2] - (bDeep ? 512 : 128), rod[3] - (bDeep ? 512 : 128)};
    const auto Clamp = [=](double d) { return std::clamp(d, 0., bDeep ? 1023. : 255.); };
    return {rod[0], Clamp(Sum(dCde, 298, 0, 409, 256)), Clamp(Sum(dCde, 298, -100, -208, 256)), Clamp(Sum(dCde, 298, 516, 0, 256))};
}

template <typename Colour>
void CheckFormat(std::array<KUINT32, 4> auiMask, bool bYuv = false)
{
    const auto Split = [=](KUINT32 uiWord)
    {
        const auto Field = [=](KUINT32 uiMask) { return uiMask != 0 ? (uiWord & uiMask) >> std::countr_zero(uiMask) : 0; };
        return std::array<KUINT32, 4>{Field(auiMask[0]), Field(auiMask[1]), Field(auiMask[2]), Field(auiMask[3])};
    };
    const auto AsFour = [](const auto& ra) { return Four{double(ra[0]), double(ra[1]), double(ra[2]), double(ra[3])}; };
    const auto auiMax = Split(~0u);
    EXPECT_EQ((std::array<KUINT32, 4>{Colour::GetMaxAlpha(), Colour::GetMaxRed(), Colour::GetMaxGreen(), Colour::GetMaxBlue()}), auiMax);

    std::mt19937 oRandom(1);
    for (unsigned i = 0; i < 100000; ++i)
    {
        std::array<KUINT16, 4> aui;
        Four                   dWant;
        for (unsigned k = 0; k < 4; ++k)  // the corners of the range first, then anything that 16 bits hold
        {
            aui[k]   = static_cast<KUINT16>(i >= 16 ? static_cast<KUINT32>(oRandom()) : (i >> k & 1) * auiMax[k]);
            dWant[k] = aui[k] & auiMax[k];
        }
        Colour oColour = Colour::FromARGB(aui[0], aui[1], aui[2], aui[3]);
        ASSERT_EQ(AsFour(Split(oColour.m_uiColorValue)), bYuv ? RgbToYuv(dWant, auiMax[1] == 1023) : dWant) << Colour().GetPixelFormat();
        ASSERT_EQ(oColour.m_uiColorValue & ~(auiMask[0] | auiMask[1] | auiMask[2] | auiMask[3]), 0u) << "unused bits";

        oColour = i % 2 == 0 ? oColour : Colour(static_cast<decltype(Colour::m_uiColorValue)>(oRandom()));
        Colour::ToARGB(oColour, aui[0], aui[1], aui[2], aui[3]);
        dWant = AsFour(Split(oColour.m_uiColorValue));
        ASSERT_EQ(AsFour(aui), bYuv ? YuvToRgb(dWant, auiMax[1] == 1023) : dWant) << Colour().GetPixelFormat() << ' ' << oColour.m_uiColorValue;
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
