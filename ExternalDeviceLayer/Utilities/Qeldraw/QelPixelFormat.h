// What the pixel formats are, as one table: everything that QelColor does follows from a format's row.
#ifndef QEL_PIXEL_FORMAT_H
#define QEL_PIXEL_FORMAT_H

#include "QelTypes.h"
#include "Tavrin.h"

// Where a component stands in the pixel's word. One that a format lacks is 0 bits wide.
struct SPixelField
{
    KUINT32 uiShift;
    KUINT32 uiBits;

    constexpr KUINT32 Max() const { return (1u << uiBits) - 1; }
    constexpr KUINT32 Pack(KUINT32 uiComponent) const { return (uiComponent << uiShift) & (Max() << uiShift); }
    constexpr KUINT32 Unpack(KUINT32 uiWord) const { return (uiWord >> uiShift) & Max(); }
};

// ITU-R BT.601 in studio range, in fixed point. RGB to YUV uses weights scaled by 1 << iFromRgbShift. YUV to RGB uses the
// same weights at every depth; only the offsets differ.
struct SYuvFacts
{
    KINT32 aiY[3];  // parts of red, green and blue
    KINT32 aiU[3];
    KINT32 aiV[3];
    KINT32 iFromRgbShift;
    KINT32 iLumaOffset;
    KINT32 iChromaOffset;
};

inline constexpr SYuvFacts PACKED_RGB = {};
inline constexpr SYuvFacts YUV_8BIT   = {{66, 129, 25}, {-38, -74, 112}, {112, -94, -18}, 8, 16, 128};
inline constexpr SYuvFacts YUV_10BIT  = {{263, 516, 100}, {-152, -298, 450}, {450, -377, -73}, 10, 64, 512};

struct SPixelFormatFacts
{
    TPixelFormat ePixelFormat;
    KUINT32      uiSizeInBytes;  // of the word that holds a pixel in plane 0
    SPixelField  oAlpha;
    SPixelField  aoColour[3];  // red, green, blue, or Y, U, V
    SYuvFacts    oYuv;         // PACKED_RGB: the fields hold red, green and blue as they stand

    constexpr bool IsYuv() const { return oYuv.iFromRgbShift != 0; }
};

// Field places count from the lowest bit, which lies in the first byte. Set in columns by hand.
// clang-format off
inline constexpr SPixelFormatFacts PIXEL_FORMAT_FACTS[] = {
    //                               bytes   alpha      red | Y   green | U   blue | V
    {TPixelFormat_R8G8B8A8,               4, {24, 8}, {{ 0,  8}, { 8,  8}, {16,  8}}, PACKED_RGB},
    {TPixelFormat_B8G8R8A8,               4, {24, 8}, {{16,  8}, { 8,  8}, { 0,  8}}, PACKED_RGB},
    {TPixelFormat_B5G5R5A1,               2, {15, 1}, {{10,  5}, { 5,  5}, { 0,  5}}, PACKED_RGB},
    {TPixelFormat_B5G6R5,                 2, { 0, 0}, {{11,  5}, { 5,  6}, { 0,  5}}, PACKED_RGB},
    {TPixelFormat_B10G10R10A2,            4, {30, 2}, {{20, 10}, {10, 10}, { 0, 10}}, PACKED_RGB},
    {TPixelFormat_V8U8Y8A8,               4, {24, 8}, {{16,  8}, { 8,  8}, { 0,  8}}, YUV_8BIT},
    {TPixelFormat_MP_Y8_U8V8_444,         4, { 0, 0}, {{16,  8}, { 0,  8}, { 8,  8}}, YUV_8BIT},
    {TPixelFormat_MP_Y8_U8V8_422,         4, { 0, 0}, {{16,  8}, { 0,  8}, { 8,  8}}, YUV_8BIT},
    {TPixelFormat_MP_Y10_U10V10_X2_422,   4, { 0, 0}, {{20, 10}, {10, 10}, { 0, 10}}, YUV_10BIT},
};
// clang-format on

// The row of a format; one of size 0 for a format that the table does not have.
constexpr SPixelFormatFacts FindPixelFormatFacts(TPixelFormat ePixelFormat)
{
    for (const SPixelFormatFacts& roFacts : PIXEL_FORMAT_FACTS)
    {
        if (roFacts.ePixelFormat == ePixelFormat)
            return roFacts;
    }
    return {};
}

#endif
