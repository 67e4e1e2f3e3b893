#include "Timing.h"

namespace SoftwareBoard::Panel
{
namespace
{
constexpr const char* apszColorSpaces[]  = {"RGB_FULL", "RGB_LIMITED", "YUV_709", "YUV_601", "YUV_601_FULL", "YUV_2020"};
constexpr const char* apszSubSamplings[] = {"444", "420", "422"};
constexpr KUINT32     auiDepths[]        = {8, 10, 12, 16};  // bits; the field that selects one has two

using Timing = const tagTVideo_VidParam&;

// clang-format off
constexpr STimingField aoFields[] = {
    {"h_active",           ETimingKind::NUMBER,   [](Timing o) { return o.uiHActive; }, {}},
    {"v_active",           ETimingKind::NUMBER,   [](Timing o) { return o.uiVActive; }, {}},
    {"v_rate_hz",          ETimingKind::NUMBER,   [](Timing o) { return o.uiVRate_Hz; }, {}},
    {"h_rate_khz",         ETimingKind::NUMBER,   [](Timing o) { return o.uiHRate_kHz; }, {}},
    {"pixel_clock_khz",    ETimingKind::NUMBER,   [](Timing o) { return o.uiPixelClock_kHz; }, {}},
    {"h_front_porch",      ETimingKind::NUMBER,   [](Timing o) { return o.uiHFPorch; }, {}},
    {"h_sync",             ETimingKind::NUMBER,   [](Timing o) { return o.uiHSync; }, {}},
    {"h_back_porch",       ETimingKind::NUMBER,   [](Timing o) { return o.uiHBPorch; }, {}},
    {"v_front_porch",      ETimingKind::NUMBER,   [](Timing o) { return o.uiVFPorch; }, {}},
    {"v_sync",             ETimingKind::NUMBER,   [](Timing o) { return o.uiVSync; }, {}},
    {"v_back_porch",       ETimingKind::NUMBER,   [](Timing o) { return o.uiVBPorch; }, {}},
    {"interlaced",         ETimingKind::YES_NO,   [](Timing o) { return KUINT32{o.bInterlaced}; }, {}},
    {"bottom_field_first", ETimingKind::YES_NO,   [](Timing o) { return KUINT32{o.bBottomFieldFirst}; }, {}},
    {"h_sync_positive",    ETimingKind::POLARITY, [](Timing o) { return KUINT32{o.bHorizontalSyncPositive}; }, {}},
    {"v_sync_positive",    ETimingKind::POLARITY, [](Timing o) { return KUINT32{o.bVerticalSyncPositive}; }, {}},
    {"yuv",                ETimingKind::YES_NO,   [](Timing o) { return KUINT32{o.bIsYuv}; }, {}},
    {"color_space",        ETimingKind::WORD,     [](Timing o) { return KUINT32{o.fColorSpace}; }, apszColorSpaces},
    {"chroma_subsampling", ETimingKind::WORD,     [](Timing o) { return KUINT32{o.fChromaSubSampling}; }, apszSubSamplings},
    {"color_depth",        ETimingKind::NUMBER,   [](Timing o) { return auiDepths[o.fColorDepth]; }, {}},
};
// clang-format on
}

std::span<const STimingField> TimingFields()
{
    return aoFields;
}

const char* WordOf(const STimingField& roField, KUINT32 uiValue)
{
    return uiValue < roField.apszWords.size() ? roField.apszWords[uiValue] : nullptr;
}

std::string DescribeTiming(const tagTVideo_VidParam& roVidParam)
{
    std::string strText;
    for (const STimingField& roField : aoFields)
    {
        const KUINT32     uiValue = roField.pfGet(roVidParam);
        const char* const pszWord = WordOf(roField, uiValue);
        if (!strText.empty())
            strText += ' ';
        switch (roField.eKind)
        {
        case ETimingKind::NUMBER: strText += std::to_string(uiValue); break;
        case ETimingKind::YES_NO: strText += uiValue != 0 ? "yes" : "no"; break;
        case ETimingKind::POLARITY: strText += uiValue != 0 ? "+" : "-"; break;
        case ETimingKind::WORD: strText += pszWord != nullptr ? pszWord : "?"; break;
        }
    }
    return strText;
}
}
