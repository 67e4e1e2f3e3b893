#include "PlaneLayout.h"

namespace SoftwareBoard
{
namespace
{
constexpr struct
{
    TPixelFormat ePixelFormat;
    KUINT32      uiBytesPerPixel;
} KNOWN_FORMATS[] = {
    {TPixelFormat_B5G6R5, 2},   {TPixelFormat_B5G5R5A1, 2}, {TPixelFormat_R8G8B8A8, 4},
    {TPixelFormat_B8G8R8A8, 4}, {TPixelFormat_V8U8Y8A8, 4}, {TPixelFormat_B10G10R10A2, 4},
};

constexpr KUINT64 PITCH_STEP = 16;  // pixels
constexpr KUINT64 FIELD_MAX  = 0xFFFFFFFF;
}

std::optional<SPlaneLayout> LayOutPlane(TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight)
{
    for (const auto& roFormat : KNOWN_FORMATS)
    {
        if (roFormat.ePixelFormat != ePixelFormat)
            continue;
        const KUINT64 uiPitch        = (uiWidth / PITCH_STEP + 1) * PITCH_STEP;
        const KUINT64 uiPitchInBytes = uiPitch * roFormat.uiBytesPerPixel;
        if (uiWidth == 0 || uiHeight == 0 || uiPitchInBytes > FIELD_MAX / uiHeight)
            return std::nullopt;
        return SPlaneLayout{ePixelFormat,
                            uiWidth,
                            uiHeight,
                            roFormat.uiBytesPerPixel,
                            static_cast<KUINT32>(uiPitch),
                            static_cast<KUINT32>(uiPitchInBytes),
                            static_cast<KUINT32>(uiPitchInBytes * uiHeight)};
    }
    return std::nullopt;
}
}
