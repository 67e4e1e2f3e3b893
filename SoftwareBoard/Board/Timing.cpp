#include "Timing.h"

namespace SoftwareBoard
{
namespace
{
constexpr const char* COLOR_SPACES[] = {"RGB_FULL", "RGB_LIMITED", "YUV_709", "YUV_601", "YUV_601_FULL", "YUV_2020"};
constexpr const char* SUBSAMPLINGS[] = {"444", "420", "422"};
constexpr KUINT32     DEPTHS[]       = {8, 10, 12, 16};  // bits; fColorDepth, a field of two bits, selects one

using Timing = const tagTVideo_VidParam&;

// clang-format off
constexpr STimingField FIELDS[] = {
    {"h_active",           ETimingKind::Number,   [](Timing o) { return o.uiHActive; }, {}},
    {"v_active",           ETimingKind::Number,   [](Timing o) { return o.uiVActive; }, {}},
    {"v_rate_hz",          ETimingKind::Number,   [](Timing o) { return o.uiVRate_Hz; }, {}},
    {"h_rate_khz",         ETimingKind::Number,   [](Timing o) { return o.uiHRate_kHz; }, {}},
    {"pixel_clock_khz",    ETimingKind::Number,   [](Timing o) { return o.uiPixelClock_kHz; }, {}},
    {"h_front_porch",      ETimingKind::Number,   [](Timing o) { return o.uiHFPorch; }, {}},
    {"h_sync",             ETimingKind::Number,   [](Timing o) { return o.uiHSync; }, {}},
    {"h_back_porch",       ETimingKind::Number,   [](Timing o) { return o.uiHBPorch; }, {}},
    {"v_front_porch",      ETimingKind::Number,   [](Timing o) { return o.uiVFPorch; }, {}},
    {"v_sync",             ETimingKind::Number,   [](Timing o) { return o.uiVSync; }, {}},
    {"v_back_porch",       ETimingKind::Number,   [](Timing o) { return o.uiVBPorch; }, {}},
    {"interlaced",         ETimingKind::YesNo,   [](Timing o) { return KUINT32{o.bInterlaced}; }, {}},
    {"bottom_field_first", ETimingKind::YesNo,   [](Timing o) { return KUINT32{o.bBottomFieldFirst}; }, {}},
    {"h_sync_positive",    ETimingKind::Polarity, [](Timing o) { return KUINT32{o.bHorizontalSyncPositive}; }, {}},
    {"v_sync_positive",    ETimingKind::Polarity, [](Timing o) { return KUINT32{o.bVerticalSyncPositive}; }, {}},
    {"yuv",                ETimingKind::YesNo,   [](Timing o) { return KUINT32{o.bIsYuv}; }, {}},
    {"color_space",        ETimingKind::Word,     [](Timing o) { return KUINT32{o.fColorSpace}; }, COLOR_SPACES},
    {"chroma_subsampling", ETimingKind::Word,     [](Timing o) { return KUINT32{o.fChromaSubSampling}; }, SUBSAMPLINGS},
    {"color_depth",        ETimingKind::Number,   [](Timing o) { return DEPTHS[o.fColorDepth]; }, {}},
};
// clang-format on
}

std::span<const STimingField> TimingFields()
{
    return FIELDS;
}

const char* WordOf(const STimingField& roField, KUINT32 uiValue)
{
    return uiValue < roField.apszWords.size() ? roField.apszWords[uiValue] : nullptr;
}

std::string DescribeTiming(const tagTVideo_VidParam& roVidParam)
{
    std::string strText;
    for (const STimingField& roField : FIELDS)
    {
        const KUINT32     uiValue = roField.pfnGet(roVidParam);
        const char* const pszWord = WordOf(roField, uiValue);
        if (!strText.empty())
            strText += ' ';
        switch (roField.eKind)
        {
        case ETimingKind::Number: strText += std::to_string(uiValue); break;
        case ETimingKind::YesNo: strText += uiValue != 0 ? "yes" : "no"; break;
        case ETimingKind::Polarity: strText += uiValue != 0 ? "+" : "-"; break;
        case ETimingKind::Word: strText += pszWord != nullptr ? pszWord : "?"; break;
        }
    }
    return strText;
}
}
