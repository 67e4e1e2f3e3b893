#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "QelColor.h"

namespace
{
using Four   = std::array<double, 4>;  // A, R, G, B or A, Y, U, V
using Matrix = double[3][3];

constexpr Matrix TO_YUV      = {{66, 129, 25}, {-38, -74, 112}, {112, -94, -18}};
constexpr Matrix TO_DEEP_YUV = {{263, 516, 100}, {-152, -298, 450}, {450, -377, -73}};
constexpr Matrix TO_RGB      = {{298, 0, 409}, {298, -100, -208}, {298, 516, 0}};

// Weighed sums as the formulas have them, in doubles: what is shifted there is divided and rounded downwards. So often the
// offsets of Y, U and V are taken off before, and added after.
Four Weigh(Four d, const Matrix& raad, double dScale, double dBefore, double dAfter)
{
    const double adOffset[] = {16, 128, 128}, d1 = d[1] - 16 * dBefore, d2 = d[2] - 128 * dBefore, d3 = d[3] - 128 * dBefore;
    for (size_t i = 0; i < 3; ++i)
        d[i + 1] = std::floor((raad[i][0] * d1 + raad[i][1] * d2 + raad[i][2] * d3 + dScale / 2) / dScale) + adOffset[i] * dAfter;
    return d;
}

template <typename Colour>
void CheckFormat(std::array<KUINT32, 4> auiMask, bool bYuv = false)
{
    const auto Split = [=](KUINT32 ui) {
        Four dFields = {};
        for (size_t k = 0; k < 4; ++k)
            dFields[k] = auiMask[k] != 0 ? (ui & auiMask[k]) >> std::countr_zero(auiMask[k]) : 0;
        return dFields;
    };
    const Four dMax  = Split(~0u);
    const bool bDeep = dMax[1] == 1023;
    EXPECT_TRUE(Colour::GetMaxAlpha() == dMax[0] && Colour::GetMaxRed() == dMax[1]);
    EXPECT_TRUE(Colour::GetMaxGreen() == dMax[2] && Colour::GetMaxBlue() == dMax[3]);

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
        dWant          = !bYuv ? dWant : bDeep ? Weigh(dWant, TO_DEEP_YUV, 1024, 0, 4) : Weigh(dWant, TO_YUV, 256, 0, 1);
        Colour oColour = Colour::FromARGB(aui[0], aui[1], aui[2], aui[3]);
        ASSERT_EQ(Split(oColour.m_uiColorValue), dWant) << Colour().GetPixelFormat();
        ASSERT_EQ(oColour.m_uiColorValue & ~(auiMask[0] | auiMask[1] | auiMask[2] | auiMask[3]), 0u) << "unused bits";

        oColour = i % 2 == 0 ? oColour : Colour(static_cast<decltype(Colour::m_uiColorValue)>(oRandom()));
        dWant   = Split(oColour.m_uiColorValue);
        dWant   = bYuv ? Weigh(dWant, TO_RGB, 256, bDeep ? 4 : 1, 0) : dWant;
        Colour::ToARGB(oColour, aui[0], aui[1], aui[2], aui[3]);
        for (unsigned k = 0; k < 4; ++k)
            ASSERT_EQ(aui[k], std::clamp(dWant[k], 0., dMax[k])) << oColour.m_uiColorValue << ", field " << k;
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
