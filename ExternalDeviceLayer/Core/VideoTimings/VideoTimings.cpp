#include "VideoTimings.h"

#include <iterator>
#include <span>

#include "QelTools.h"

namespace
{
constexpr KUINT32 tagTVideo_VidParam::*const TIMING_NUMBERS[] = {
    &tagTVideo_VidParam::uiHActive,   &tagTVideo_VidParam::uiVActive,        &tagTVideo_VidParam::uiVRate_Hz,
    &tagTVideo_VidParam::uiHRate_kHz, &tagTVideo_VidParam::uiPixelClock_kHz, &tagTVideo_VidParam::uiHFPorch,
    &tagTVideo_VidParam::uiHSync,     &tagTVideo_VidParam::uiHBPorch,        &tagTVideo_VidParam::uiVFPorch,
    &tagTVideo_VidParam::uiVSync,     &tagTVideo_VidParam::uiVBPorch,
};

struct SWord
{
    const char* pszWord;
    KUINT32     uiValue;
};

constexpr SWord YES_NO[]      = {{"yes", 1}, {"no", 0}};
constexpr SWord POLARITY[]    = {{"+", 1}, {"-", 0}, {"i", 1}};
constexpr SWord COLOR_SPACE[] = {
    {"RGB_FULL", TVideo_ColorSpace_RGB_FULL},         {"RGB_LIMITED", TVideo_ColorSpace_RGB_LIMITED},
    {"YUV_709", TVideo_ColorSpace_YUV_709},           {"YUV_601", TVideo_ColorSpace_YUV_601},
    {"YUV_601_FULL", TVideo_ColorSpace_YUV_601_FULL}, {"YUV_2020", TVideo_ColorSpace_YUV_2020},
};
constexpr SWord SUB_SAMPLING[] = {
    {"444", TVideo_ChromaSubSampling_444},
    {"422", TVideo_ChromaSubSampling_422},
    {"420", TVideo_ChromaSubSampling_420},
};
constexpr SWord COLOR_DEPTH[] = {
    {"8", TVideo_ColorDepth_8BIT},
    {"10", TVideo_ColorDepth_10BIT},
    {"12", TVideo_ColorDepth_12BIT},
    {"16", TVideo_ColorDepth_16BIT},
};

// A field that is given as a word: its name in messages, the words that it accepts, and how a word's value is stored.
struct STimingWord
{
    const char*            pszName;
    std::span<const SWord> aoWords;
    void (*pfnStore)(tagTVideo_VidParam& roVidParam, KUINT32 uiValue);
};

// clang-format off
constexpr STimingWord TIMING_WORDS[] = {
    {"Interlaced",             YES_NO,       [](tagTVideo_VidParam& o, KUINT32 ui) { o.bInterlaced = ui & 1; }},
    {"BottomFieldFirst",       YES_NO,       [](tagTVideo_VidParam& o, KUINT32 ui) { o.bBottomFieldFirst = ui & 1; }},
    {"HorizontalSyncPositive", POLARITY,     [](tagTVideo_VidParam& o, KUINT32 ui) { o.bHorizontalSyncPositive = ui & 1; }},
    {"VerticalSyncPositive",   POLARITY,     [](tagTVideo_VidParam& o, KUINT32 ui) { o.bVerticalSyncPositive = ui & 1; }},
    {"IsYuv",                  YES_NO,       [](tagTVideo_VidParam& o, KUINT32 ui) { o.bIsYuv = ui & 1; }},
    {"ColorSpace",             COLOR_SPACE,  [](tagTVideo_VidParam& o, KUINT32 ui) { o.fColorSpace = ui & 0xF; }},
    {"ChromaSubSampling",      SUB_SAMPLING, [](tagTVideo_VidParam& o, KUINT32 ui) { o.fChromaSubSampling = ui & 3; }},
    {"ColorDepth",             COLOR_DEPTH,  [](tagTVideo_VidParam& o, KUINT32 ui) { o.fColorDepth = ui & 3; }},
};
// clang-format on

static_assert(std::size(TIMING_NUMBERS) + std::size(TIMING_WORDS) == TIMING_VALUES);

KBOOL32 StoreWord(const STimingWord& roField, const char* pszWord, tagTVideo_VidParam& roVidParam)
{
    for (const SWord& roWord : roField.aoWords)
    {
        if (QelTools_strcmp(pszWord, roWord.pszWord) == 0)
        {
            roField.pfnStore(roVidParam, roWord.uiValue);
            return TRUE;
        }
    }
    return FALSE;
}
}

std::optional<SUnknownTimingWord> ReadVideoTimings(const char* const* ppszValues, tagTVideo_VidParam& roVidParam)
{
    for (const auto puiNumber : TIMING_NUMBERS)
        roVidParam.*puiNumber = static_cast<KUINT32>(QelTools_atoi(*ppszValues++));

    for (const STimingWord& roField : TIMING_WORDS)
    {
        const char* pszWord = *ppszValues++;
        if (!StoreWord(roField, pszWord, roVidParam))
            return SUnknownTimingWord{roField.pszName, pszWord};
    }
    return std::nullopt;
}
