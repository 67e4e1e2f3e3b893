#include "ScanFormat.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <drm_fourcc.h>

namespace SoftwareBoard::Display
{
namespace
{
// Cheapest first.
constexpr SScanFormat FORMATS[] = {
    {DRM_FORMAT_XBGR8888, false, false},
    {DRM_FORMAT_ABGR8888, false, true},
    {DRM_FORMAT_XRGB8888, true, false},
    {DRM_FORMAT_ARGB8888, true, true},
};
constexpr KUINT32 ALPHA_MASK = 0xFF000000;

constexpr KUINT32 ExchangeRedAndBlue(KUINT32 ui)
{
    return (ui & 0xFF00FF00) | (ui & 0xFF) << 16 | (ui >> 16 & 0xFF);
}
}

const SScanFormat* ChooseFormat(const std::vector<uint32_t>& roFourCcs)
{
    const auto* const poFormat = std::find_if(std::begin(FORMATS), std::end(FORMATS), [&](const SScanFormat& ro) {
        return std::find(roFourCcs.begin(), roFourCcs.end(), ro.uiFourCc) != roFourCcs.end();
    });
    return poFormat == std::end(FORMATS) ? nullptr : poFormat;
}

const SScanFormat& CommonFormat()
{
    return FORMATS[2];
}

void CopyRow(const SScanFormat& roFormat, const KUINT32* puiFrom, KUINT32* puiTo, size_t uiPixels)
{
    const KUINT32 uiSet = roFormat.bAlphaCounts ? ALPHA_MASK : 0;
    if (roFormat.bRedAndBlueExchanged)
        std::transform(puiFrom, puiFrom + uiPixels, puiTo, [=](KUINT32 ui) { return ExchangeRedAndBlue(ui) | uiSet; });
    else if (roFormat.bAlphaCounts)
        std::transform(puiFrom, puiFrom + uiPixels, puiTo, [=](KUINT32 ui) { return ui | uiSet; });
    else
        std::memcpy(puiTo, puiFrom, uiPixels * sizeof(*puiTo));
}

void NameFourCc(uint32_t uiFourCc, char (&szName)[5])
{
    for (size_t uiAt = 0; uiAt < 4; ++uiAt, uiFourCc >>= 8)
        szName[uiAt] = static_cast<char>(uiFourCc & 0x7F);
    szName[4] = '\0';
}
}
