#include "QelColor.h"
#include "TestSupport.h"

namespace
{
using Four = std::array<KUINT16, 4>;  // A, R, G, B

constexpr Four WIDE  = {0x9A5B, 0x3C7E, 0xF18D, 0x2469};  // of each only the bits of its field count
constexpr Four BYTES = {255, 255, 255, 255}, DEEP = {3, 1023, 1023, 1023};

template <typename Colour>
void Expect(Four auiMax, std::vector<std::pair<Four, KUINT32>> oToWord, std::vector<std::pair<KUINT32, Four>> oFromWord)
{
    EXPECT_EQ(Colour().GetPixelSize(), sizeof(Colour));
    EXPECT_EQ(auiMax, (Four{Colour::GetMaxAlpha(), Colour::GetMaxRed(), Colour::GetMaxGreen(), Colour::GetMaxBlue()}));
    for (const auto& [aui, uiWord] : oToWord)
        EXPECT_EQ(Colour::FromARGB(aui[0], aui[1], aui[2], aui[3]).m_uiColorValue, uiWord) << Colour().GetPixelFormat();
    for (const auto& [uiWord, auiWant] : oFromWord)
    {
        Four   aui     = {};
        Colour oColour = static_cast<decltype(Colour::m_uiColorValue)>(uiWord);
        Colour::ToARGB(oColour, aui[0], aui[1], aui[2], aui[3]);
        EXPECT_EQ(aui, auiWant) << Colour().GetPixelFormat() << ", " << uiWord;
    }
}
}

// clang-format off
TEST(QelColor, PackedFormatsCutEachFieldToItsBits)
{
    Expect<QelColor<TPixelFormat_R8G8B8A8, unsigned int>>(BYTES, {{WIDE, 0x5B698D7E}},
                                                          {{0x5B698D7E, {0x5B, 0x7E, 0x8D, 0x69}}, {~0u, BYTES}});
    Expect<QelColor<TPixelFormat_B8G8R8A8, KUINT32>>(BYTES, {{WIDE, 0x5B7E8D69}},
                                                     {{0x5B7E8D69, {0x5B, 0x7E, 0x8D, 0x69}}, {~0u, BYTES}});
    Expect<QelColor<TPixelFormat_B5G5R5A1, KUINT16>>({1, 31, 31, 31}, {{WIDE, 0xF9A9}, {{0, 0xFFE1, 2, 4}, 0x0444}},
                                                     {{0xF9A9, {1, 30, 13, 9}}, {0x7FFF, {0, 31, 31, 31}}});
    Expect<QelColor<TPixelFormat_B5G6R5, KUINT16>>({0, 31, 63, 31}, {{WIDE, 0xF1A9}, {{9, 0xFFE1, 32, 4}, 0x0C04}},
                                                   {{0xF1A9, {0, 30, 13, 9}}, {0xFFFF, {0, 31, 63, 31}}});
    Expect<QelColor<TPixelFormat_B10G10R10A2, KUINT32>>(DEEP, {{WIDE, 0xC7E63469}},
                                                        {{0xC7E63469, {3, 0x7E, 0x18D, 0x69}}, {~0u, DEEP}});
}

// Points at which no part of a formula may be one more or less, and both ends, where the way back is cut.
TEST(QelColor, YuvFormatsConvertLikeTheirFormulas)
{
    Expect<QelColor<TPixelFormat_V8U8Y8A8, KUINT32>>(
        BYTES,
        {{{0x9A, 0x378, 254, 250}, 0x9AC79246}, {{0x9A, 17, 0x22D, 68}, 0x9A328E72}, {{0x29A, 240, 73, 0x16B}, 0x9A7D76C7}},
        {{0x9AB8468F, {0x9A, 220, 206, 79}}, {0x9AB221C4, {0x9A, 255, 170, 0}}, {0x9AF30FEC, {0x9A, 255, 221, 36}},
         {0x110BBCF9, {0x11, 187, 0, 115}}, {0, {0, 0, 135, 0}}, {~0u, {255, 255, 125, 255}}});
    const auto Expect444 = [](auto o) {
        Expect<decltype(o)>(
            {0, 255, 255, 255},
            {{{9, 0x378, 254, 250}, 0xC74692}, {{9, 17, 0x22D, 68}, 0x32728E}, {{9, 240, 73, 0x16B}, 0x7DC776}},
            {{0x9AB88F46, {0, 220, 206, 79}}, {0x9AB2C421, {0, 255, 170, 0}}, {0x9AF3EC0F, {0, 255, 221, 36}},
             {0, {0, 0, 135, 0}}, {~0u, {0, 255, 125, 255}}});
    };
    Expect444(QelColor<TPixelFormat_MP_Y8_U8V8_444, KUINT32>());
    Expect444(QelColor<TPixelFormat_MP_Y8_U8V8_422, KUINT32>());
    Expect<QelColor<TPixelFormat_MP_Y10_U10V10_X2_422, KUINT32>>(
        {0, 1023, 1023, 1023},
        {{{9, 0xCBD, 858, 470}, 0x24F6E4F6}, {{9, 902, 0x502, 899}, 0x201AEAED}, {{9, 316, 524, 0x593}, 0x1C17A9AD}},
        {{0xC74E298A, {0, 0, 3, 855}}, {0xF9EA908E, {0, 412, 1023, 1023}}, {0x96EE48E6, {0, 0, 424, 1023}},
         {0, {0, 0, 542, 0}}, {~0u, {0, 1023, 502, 1023}}});
}
// clang-format on
