// QelProgressBarDisplay: the command line, turned into plain values and one display run.
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iterator>
#include <span>
#include <unistd.h>

#include "DisplayRun.h"
#include "OsServices.h"
#include "QelTools.h"

OsServices g_oOsServices(nullptr);

namespace
{
constexpr KINT32 USAGE_ERROR = -1;

constexpr KUINT32 uiAnimStepLoopTimeMsMin = 16;
constexpr KUINT32 uiAnimStepLoopTimeMsMax = 10000;

// 1024 x 768 at 60 Hz, progressive, negative syncs, RGB.
constexpr tagTVideo_VidParam DEFAULT_TIMING = {
    .uiHActive        = 1024,
    .uiVActive        = 768,
    .uiVRate_Hz       = 60,
    .uiHRate_kHz      = 48,
    .uiPixelClock_kHz = 65000,
    .uiHFPorch        = 24,
    .uiHSync          = 136,
    .uiHBPorch        = 160,
    .uiVFPorch        = 3,
    .uiVSync          = 6,
    .uiVBPorch        = 29,
};

// What the command line says. File names point into the argument vector.
struct SArguments
{
    KUINT32            uiDevIndex           = 0;
    tagTVideo_VidParam oVidParam            = DEFAULT_TIMING;
    const char*        pszImageFileName     = nullptr;
    tagTRECT           oProgressBarRect     = {.iLeft = 256, .iTop = 284, .iRight = 768, .iBottom = 484};
    KBOOL32            bProgressBar         = FALSE;
    tagTRECT           oAnimBarRect         = {.iLeft = 256, .iTop = 100, .iRight = 512, .iBottom = 200};
    KBOOL32            bAnimation           = FALSE;
    const char*        pszAnimBaseFileName  = nullptr;
    KUINT32            uiAnimStepLoopTimeMs = 1000;
    KUINT32            uiEnableTime         = 0;
    KBOOL32            bShowHelp            = FALSE;
    KBOOL32            bErrorHelp           = TRUE;
};

KUINT32 NumberOf(const char* pszText)
{
    return static_cast<KUINT32>(QelTools_atoi(pszText));
}

// ---- The video timing: eleven numbers, then eight words.

// clang-format off
constexpr KUINT32 tagTVideo_VidParam::* const TIMING_NUMBERS[] = {
    &tagTVideo_VidParam::uiHActive,   &tagTVideo_VidParam::uiVActive,        &tagTVideo_VidParam::uiVRate_Hz,
    &tagTVideo_VidParam::uiHRate_kHz, &tagTVideo_VidParam::uiPixelClock_kHz, &tagTVideo_VidParam::uiHFPorch,
    &tagTVideo_VidParam::uiHSync,     &tagTVideo_VidParam::uiHBPorch,        &tagTVideo_VidParam::uiVFPorch,
    &tagTVideo_VidParam::uiVSync,     &tagTVideo_VidParam::uiVBPorch,
};
// clang-format on

struct SWord
{
    const char* pszWord;
    KUINT32     uiValue;
};

// clang-format off
constexpr SWord YES_NO[]      = {{"yes", 1}, {"no", 0}};
constexpr SWord POLARITY[]    = {{"+", 1}, {"-", 0}, {"i", 1}};
constexpr SWord COLOR_SPACE[] = {
    {"RGB_FULL", TVideo_ColorSpace_RGB_FULL}, {"RGB_LIMITED", TVideo_ColorSpace_RGB_LIMITED},
    {"YUV_709", TVideo_ColorSpace_YUV_709},   {"YUV_601", TVideo_ColorSpace_YUV_601},
    {"YUV_601_FULL", TVideo_ColorSpace_YUV_601_FULL}, {"YUV_2020", TVideo_ColorSpace_YUV_2020},
};
constexpr SWord SUB_SAMPLING[] = {
    {"444", TVideo_ChromaSubSampling_444}, {"422", TVideo_ChromaSubSampling_422}, {"420", TVideo_ChromaSubSampling_420},
};
constexpr SWord COLOR_DEPTH[] = {
    {"8", TVideo_ColorDepth_8BIT},   {"10", TVideo_ColorDepth_10BIT},
    {"12", TVideo_ColorDepth_12BIT}, {"16", TVideo_ColorDepth_16BIT},
};

// One word of the timing: its name in messages, what it may be, and where its value goes.
struct STimingWord
{
    const char*            pszName;
    std::span<const SWord> aoWords;
    void (*pfnStore)(tagTVideo_VidParam& roVidParam, KUINT32 uiValue);
};

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

constexpr int TIMING_VALUES = static_cast<int>(std::size(TIMING_NUMBERS) + std::size(TIMING_WORDS));
// clang-format on

KBOOL32 StoreTimingWord(const STimingWord& roField, const char* pszWord, tagTVideo_VidParam& roVidParam)
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

KBOOL32 TakeTiming(SArguments& roArguments, const char* pszOption, char** ppszValues)
{
    for (const auto puiNumber : TIMING_NUMBERS)
        roArguments.oVidParam.*puiNumber = NumberOf(*ppszValues++);

    for (const STimingWord& roField : TIMING_WORDS)
    {
        const char* pszWord = *ppszValues++;
        if (!StoreTimingWord(roField, pszWord, roArguments.oVidParam))
        {
            std::printf("[%s] invalid %s value %s.\n", pszOption, roField.pszName, pszWord);
            return FALSE;
        }
    }
    return TRUE;
}

// ---- The other options.

KBOOL32 TakeHelp(SArguments& roArguments, const char*, char**)
{
    roArguments.bShowHelp  = TRUE;
    roArguments.bErrorHelp = FALSE;
    return TRUE;
}

template <KUINT32 SArguments::*puiNumber> KBOOL32 TakeNumber(SArguments& roArguments, const char*, char** ppszValues)
{
    roArguments.*puiNumber = NumberOf(ppszValues[0]);
    return TRUE;
}

template <const char* SArguments::*ppszText> KBOOL32 TakeText(SArguments& roArguments, const char*, char** ppszValues)
{
    roArguments.*ppszText = ppszValues[0];
    return TRUE;
}

template <tagTRECT SArguments::*poRect, KBOOL32 SArguments::*pbDraw>
KBOOL32 TakeRectangle(SArguments& roArguments, const char*, char** ppszValues)
{
    roArguments.*poRect = {.iLeft   = QelTools_atoi(ppszValues[0]),
                           .iTop    = QelTools_atoi(ppszValues[1]),
                           .iRight  = QelTools_atoi(ppszValues[2]),
                           .iBottom = QelTools_atoi(ppszValues[3])};
    roArguments.*pbDraw = TRUE;
    return TRUE;
}

void TestStepTime(SArguments& roArguments, const char* pszOption)
{
    if (roArguments.uiAnimStepLoopTimeMs < uiAnimStepLoopTimeMsMin ||
        roArguments.uiAnimStepLoopTimeMs > uiAnimStepLoopTimeMsMax)
    {
        std::printf("[%s] animation step loop time must be in the range [%d-%d].\n", pszOption,
                    static_cast<KINT32>(uiAnimStepLoopTimeMsMin), static_cast<KINT32>(uiAnimStepLoopTimeMsMax));
        roArguments.bShowHelp = TRUE;
    }
}

// What follows when the values of an option are not all there.
enum class EMissing
{
    STOP_PARSING,  // the arguments after it are not looked at; help
    PARSE_ON,      // those that are there are looked at as options; help
    FAIL,          // no help
};

struct SOption
{
    const char* pszShort;
    const char* pszLong;
    int         iValueCount;
    KBOOL32 (*pfnTake)(SArguments& roArguments, const char* pszOption, char** ppszValues);  // FALSE: it said why; fail
    const char* pszMissing;
    EMissing    eMissing;
    void (*pfnTest)(SArguments& roArguments, const char* pszOption);  // of the value that now holds, taken or not
    const char* pszHelp;
};

// clang-format off
constexpr SOption OPTIONS[] = {
    {"-h", "--Help", 0, TakeHelp, nullptr, EMissing::FAIL, nullptr,
     "Show this help."},
    {"-d", "--DevIdx", 1, TakeNumber<&SArguments::uiDevIndex>,
     "missing index", EMissing::STOP_PARSING, nullptr,
     "Select the device index."},
    {"-v", "--VideoParam", TIMING_VALUES, TakeTiming,
     "missing video parameters", EMissing::FAIL, nullptr,
     "Indicate the video timings (space separated)."},
    {"-i", "--Image", 1, TakeText<&SArguments::pszImageFileName>,
     "missing background image", EMissing::STOP_PARSING, nullptr,
     "Specify the PNG image filename that will be used as background"},
    {"-p", "--ProgressRect", 4, TakeRectangle<&SArguments::oProgressBarRect, &SArguments::bProgressBar>,
     "missing progress bar position", EMissing::PARSE_ON, nullptr,
     "Specify progress bar rectangle {Left Top Right Bottom}"},
    {"-a", "--AnimRect", 4, TakeRectangle<&SArguments::oAnimBarRect, &SArguments::bAnimation>,
     "missing animation bar position", EMissing::PARSE_ON, nullptr,
     "Specify animation bar rectangle {Left Top Right Bottom}"},
    {"-f", "--AnimBaseFileName", 1, TakeText<&SArguments::pszAnimBaseFileName>,
     "missing animation base file name", EMissing::STOP_PARSING, nullptr,
     "Specify base file name for animation. Example Anim, will look for files named Anim01.png, Anim02, ..., Anim24.png "
     "(max 99)"},
    {"-l", "--AnimStepLoopTimeMs", 1, TakeNumber<&SArguments::uiAnimStepLoopTimeMs>,
     "missing animation step loop time", EMissing::PARSE_ON, TestStepTime,
     "Specify animation step time"},
    {"-et", "--EnableTime", 1, TakeNumber<&SArguments::uiEnableTime>,
     "missing enable time", EMissing::STOP_PARSING, nullptr,
     "Specify time required to display image"},
};
// clang-format on

const SOption* FindOption(const char* pszArgument)
{
    for (const SOption& roOption : OPTIONS)
    {
        if (QelTools_strcmp(pszArgument, roOption.pszShort) == 0 || QelTools_strcmp(pszArgument, roOption.pszLong) == 0)
            return &roOption;
    }
    return nullptr;
}

// Reads the command line; FALSE when it is so wrong that not even the usage text follows.
KBOOL32 ParseArguments(int argc, char** argv, SArguments& roArguments)
{
    for (int i = 1; i < argc;)
    {
        const char*    pszArgument = argv[i++];
        const SOption* poOption    = FindOption(pszArgument);
        if (poOption == nullptr)
        {
            std::printf("[%s] is an invalid argument.\n", pszArgument);
            roArguments.bShowHelp = TRUE;
            continue;
        }

        if (poOption->iValueCount <= argc - i)
        {
            if (!poOption->pfnTake(roArguments, pszArgument, argv + i))
                return FALSE;
            i += poOption->iValueCount;
        }
        else
        {
            std::printf("[%s] %s.\n", pszArgument, poOption->pszMissing);
            if (poOption->eMissing == EMissing::FAIL)
                return FALSE;
            roArguments.bShowHelp = TRUE;
            if (poOption->eMissing == EMissing::STOP_PARSING)
                return TRUE;
        }

        if (poOption->pfnTest != nullptr)
            poOption->pfnTest(roArguments, pszArgument);
    }
    return TRUE;
}

void PrintUsage(const char* pszProgram)
{
    std::printf("\nArguments:\n");
    for (const SOption& roOption : OPTIONS)
        std::printf("   %-6s | %-16s %s\n", roOption.pszShort, roOption.pszLong, roOption.pszHelp);
    std::printf("\nUsage : \n   %s -d 0 \n", pszProgram);
}

// A standard stream that the caller closed would be the next file that is opened, the device library's included, and the
// messages would be written into that. The root stands in for it: it is there also where /dev/null is not, and opened as a
// mere place it takes no writes.
void KeepStandardStreamsTaken()
{
    int iFile = 0;
    do
        iFile = open("/", O_PATH);
    while (iFile >= 0 && iFile <= STDERR_FILENO);
    if (iFile >= 0)
        close(iFile);
}
}

int main(int argc, char** argv)
{
    KeepStandardStreamsTaken();
    // Whoever reads the messages may go away, and the file that takes them may be full; the display stays.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    SArguments oArguments;
    if (!ParseArguments(argc, argv, oArguments))
        return USAGE_ERROR;

    if (oArguments.bShowHelp)
    {
        PrintUsage(argv[0]);
        return oArguments.bErrorHelp ? USAGE_ERROR : 0;
    }

    return DisplayProgressBar(oArguments.uiDevIndex, oArguments.oProgressBarRect, oArguments.pszImageFileName,
                              oArguments.pszAnimBaseFileName, oArguments.uiAnimStepLoopTimeMs, oArguments.oAnimBarRect,
                              oArguments.uiEnableTime, oArguments.bProgressBar, oArguments.bAnimation, oArguments.oVidParam);
}
