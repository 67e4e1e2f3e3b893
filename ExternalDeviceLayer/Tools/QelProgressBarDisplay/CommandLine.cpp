#include "CommandLine.h"

#include <cstdio>

#include "QelTools.h"

namespace
{
KBOOL32 TakeHelp(SArguments& roArguments, const char*, char**)
{
    roArguments.bShowHelp  = TRUE;
    roArguments.bErrorHelp = FALSE;
    return TRUE;
}

KBOOL32 TakeTiming(SArguments& roArguments, const char* pszOption, char** ppszValues)
{
    const auto ooUnknown = ReadVideoTimings(ppszValues, roArguments.oVidParam);
    if (ooUnknown)
        std::printf("[%s] invalid %s value %s.\n", pszOption, ooUnknown->pszField, ooUnknown->pszWord);
    return !ooUnknown;
}

template <KUINT32 SArguments::*puiNumber> KBOOL32 TakeNumber(SArguments& roArguments, const char*, char** ppszValues)
{
    roArguments.*puiNumber = static_cast<KUINT32>(QelTools_atoi(ppszValues[0]));
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

// What happens when an option has too few values.
enum class EMissing
{
    StopParsing,  // ignore the remaining arguments and show the usage text
    ParseOn,      // read the remaining arguments as options and show the usage text
    FAIL,         // end without the usage text
};

struct SOption
{
    const char* pszShort;
    const char* pszLong;
    const char* pszHelp;
    int         iValueCount;
    KBOOL32 (*pfnTake)(SArguments& roArguments, const char* pszOption, char** ppszValues);  // FALSE ends the tool as failed
    const char* pszMissing;
    EMissing    eMissing;
    void (*pfnTest)(SArguments& roArguments, const char* pszOption);  // called even if the value is missing
};

// clang-format off
constexpr SOption OPTIONS[] = {
    {"-h", "--Help", "Show this help.",
     0, TakeHelp},
    {"-d", "--DevIdx", "Select the device index.",
     1, TakeNumber<&SArguments::uiDevIndex>, "missing index", EMissing::StopParsing},
    {"-v", "--VideoParam", "Indicate the video timings (space separated).",
     TIMING_VALUES, TakeTiming, "missing video parameters", EMissing::FAIL},
    {"-i", "--Image", "Specify the PNG image filename that will be used as background",
     1, TakeText<&SArguments::pszImageFileName>, "missing background image", EMissing::StopParsing},
    {"-p", "--ProgressRect", "Specify progress bar rectangle {Left Top Right Bottom}",
     4, TakeRectangle<&SArguments::oProgressBarRect, &SArguments::bProgressBar>,
     "missing progress bar position", EMissing::ParseOn},
    {"-a", "--AnimRect", "Specify animation bar rectangle {Left Top Right Bottom}",
     4, TakeRectangle<&SArguments::oAnimBarRect, &SArguments::bAnimation>,
     "missing animation bar position", EMissing::ParseOn},
    {"-f", "--AnimBaseFileName",
     "Specify base file name for animation. Example Anim, will look for files named Anim01.png, Anim02, ..., Anim24.png "
     "(max 99)",
     1, TakeText<&SArguments::pszAnimBaseFileName>, "missing animation base file name", EMissing::StopParsing},
    {"-l", "--AnimStepLoopTimeMs", "Specify animation step time",
     1, TakeNumber<&SArguments::uiAnimStepLoopTimeMs>, "missing animation step loop time", EMissing::ParseOn, TestStepTime},
    {"-et", "--EnableTime", "Specify time required to display image",
     1, TakeNumber<&SArguments::uiEnableTime>, "missing enable time", EMissing::StopParsing},
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
}

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
            if (poOption->eMissing == EMissing::StopParsing)
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
