// The command line, with a display run that records what it was given in place of the real one.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <deque>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "DisplayRun.h"

int ToolMain(int argc, char** argv);

constexpr TStatus RUN_STATUS = TStatus_RESOURCES_BUSY;

static std::string s_sRun;  // the arguments of the run, when there was one

static std::ostream& operator<<(std::ostream& roText, const tagTRECT& ro)
{
    return roText << '{' << ro.iLeft << ' ' << ro.iTop << ' ' << ro.iRight << ' ' << ro.iBottom << '}';
}

TStatus DisplayProgressBar(KUINT32 uiDevIndex, const tagTRECT& roProgressBarRect, const char* pszImageFileName,
                           const char* pszAnimBaseFileName, KUINT32 uiAnimStepLoopTimeMs, const tagTRECT& roAnimRect,
                           KUINT32 uiEnableTime, KBOOL32 bProgressBar, KBOOL32 bAnimation, tagTVideo_VidParam& oVidParam)
{
    std::ostringstream oRun;
    const auto         fText = [](const char* psz) { return psz != nullptr ? psz : "(null)"; };
    oRun << uiDevIndex << ' ' << roProgressBarRect << ' ' << fText(pszImageFileName) << ' ' << fText(pszAnimBaseFileName)
         << ' ' << uiAnimStepLoopTimeMs << ' ' << roAnimRect << ' ' << uiEnableTime << ' ' << bProgressBar << ' '
         << bAnimation << " |";
    for (const KUINT32 uiWord : std::bit_cast<std::array<KUINT32, 14>>(oVidParam))
        oRun << ' ' << uiWord;
    s_sRun = oRun.str();
    return RUN_STATUS;
}

namespace
{
const std::string DEFAULT_TIMING = " | 1024 768 60 48 65000 24 136 160 3 6 29 0 0 0";
const std::string DEFAULT_BAR    = "{256 284 768 484}";
const std::string DEFAULT_ANIM   = "{256 100 512 200}";
const std::string DEFAULT_RUN    = "0 " + DEFAULT_BAR + " (null) (null) 1000 " + DEFAULT_ANIM + " 0 0 0" + DEFAULT_TIMING;
const std::string NUMBERS        = "-v 640 480 75 1 -2 3x 4 5 6 7 8 ";

const char USAGE[] = R"(
Arguments:
   -h     | --Help           Show this help.
   -d     | --DevIdx         Select the device index.
   -v     | --VideoParam     Indicate the video timings (space separated).
   -i     | --Image          Specify the PNG image filename that will be used as background
   -p     | --ProgressRect   Specify progress bar rectangle {Left Top Right Bottom}
   -a     | --AnimRect       Specify animation bar rectangle {Left Top Right Bottom}
   -f     | --AnimBaseFileName Specify base file name for animation. Example Anim, will look for files named Anim01.png, Anim02, ..., Anim24.png (max 99)
   -l     | --AnimStepLoopTimeMs Specify animation step time
   -et    | --EnableTime     Specify time required to display image

Usage : 
   tool -d 0 
)";

std::string Timing(KUINT32 uiFlags) { return " | 640 480 75 1 4294967294 3 4 5 6 7 8 " + std::to_string(uiFlags) + " 0 0"; }

const std::string RANGE = "] animation step loop time must be in the range [16-10000].\n";

// Arguments, status, messages before the usage text, whether that is printed, and the run.
const std::tuple<std::string, int, std::string, bool, std::string> COMMAND_LINES[] = {
    {"", RUN_STATUS, "", false, DEFAULT_RUN},
    {"-h", 0, "", true, ""},
    {"--Help oops", 0, "[oops] is an invalid argument.\n", true, ""},
    {"oops", -1, "[oops] is an invalid argument.\n", true, ""},
    {"-D -help", -1, "[-D] is an invalid argument.\n[-help] is an invalid argument.\n", true, ""},
    {"-d 1 --DevIdx 4294967298abc", RUN_STATUS, "", false, "2" + DEFAULT_RUN.substr(1)},
    {"-d x", RUN_STATUS, "", false, DEFAULT_RUN},
    {"oops -d", -1, "[oops] is an invalid argument.\n[-d] missing index.\n", true, ""},
    {"-h --Image", 0, "[--Image] missing background image.\n", true, ""},
    {"-i -d -f base", RUN_STATUS, "", false, "0 " + DEFAULT_BAR + " -d base 1000 " + DEFAULT_ANIM + " 0 0 0" + DEFAULT_TIMING},
    {"-f", -1, "[-f] missing animation base file name.\n", true, ""},
    {"--EnableTime", -1, "[--EnableTime] missing enable time.\n", true, ""},
    {"-p 1 2 3 4 -a -5 6 7 8 -et 9 -l 16", RUN_STATUS, "", false, "0 {1 2 3 4} (null) (null) 16 {-5 6 7 8} 9 1 1" + DEFAULT_TIMING},
    {"-p 1 2 3", -1, "[-p] missing progress bar position.\n[1] is an invalid argument.\n[2] is an invalid argument.\n"
                     "[3] is an invalid argument.\n", true, ""},
    {"--AnimRect -h", 0, "[--AnimRect] missing animation bar position.\n", true, ""},
    {"-l 10000 -l 17", RUN_STATUS, "", false, "0 " + DEFAULT_BAR + " (null) (null) 17 " + DEFAULT_ANIM + " 0 0 0" + DEFAULT_TIMING},
    {"-l 15", -1, "[-l" + RANGE, true, ""},
    {"--AnimStepLoopTimeMs 10001", -1, "[--AnimStepLoopTimeMs" + RANGE, true, ""},
    {"-l -5 -l", -1, "[-l" + RANGE + "[-l] missing animation step loop time.\n[-l" + RANGE, true, ""},
    {"-l", -1, "[-l] missing animation step loop time.\n", true, ""},
    {NUMBERS + "yes no i - yes YUV_2020 422 16", RUN_STATUS, "", false,
     "0 " + DEFAULT_BAR + " (null) (null) 1000 " + DEFAULT_ANIM + " 0 0 0" + Timing(1 | 4 | 16 | (5 << 5) | (2 << 9) | (3 << 11))},
    {NUMBERS + "no yes - + no RGB_LIMITED 420 10", RUN_STATUS, "", false,
     "0 " + DEFAULT_BAR + " (null) (null) 1000 " + DEFAULT_ANIM + " 0 0 0" + Timing(2 | 8 | (1 << 5) | (1 << 9) | (1 << 11))},
    {NUMBERS + "yes yes + i yes YUV_709 444 12 -v 1024 768 60 48 65000 24 136 160 3 6 29 no no - - no RGB_FULL 444 8", RUN_STATUS, "", false,
     DEFAULT_RUN},
    {"-h " + NUMBERS + "no no - - no RGB_FULL 444", -1, "[-v] missing video parameters.\n", false, ""},
    {NUMBERS + "No no - - no RGB_FULL 444 8", -1, "[-v] invalid Interlaced value No.\n", false, ""},
    {NUMBERS + "no 1 - - no RGB_FULL 444 8", -1, "[-v] invalid BottomFieldFirst value 1.\n", false, ""},
    {NUMBERS + "no no ++ - no RGB_FULL 444 8", -1, "[-v] invalid HorizontalSyncPositive value ++.\n", false, ""},
    {NUMBERS + "no no - I no RGB_FULL 444 8", -1, "[-v] invalid VerticalSyncPositive value I.\n", false, ""},
    {NUMBERS + "no no - - %s RGB_FULL 444 8", -1, "[-v] invalid IsYuv value %s.\n", false, ""},
    {"-h " + NUMBERS + "no no - - no RGB 444 8", -1, "[-v] invalid ColorSpace value RGB.\n", false, ""},
    {NUMBERS + "no no - - no YUV_601 4444 8", -1, "[-v] invalid ChromaSubSampling value 4444.\n", false, ""},
    {NUMBERS + "no no - - no YUV_601_FULL 444 08", -1, "[-v] invalid ColorDepth value 08.\n", false, ""},
};

TEST(CommandLine, BecomesOneRunOrOneExplanation)
{
    for (const auto& [sArguments, iStatus, sMessages, bUsage, sRun] : COMMAND_LINES)
    {
        SCOPED_TRACE(sArguments);
        std::deque<std::string> asArguments   = {"tool"};
        std::vector<char*>      apszArguments = {asArguments[0].data()};
        std::istringstream      oWords(sArguments);
        for (std::string sWord; oWords >> sWord;)
            apszArguments.push_back(asArguments.emplace_back(sWord).data());
        apszArguments.push_back(nullptr);

        s_sRun.clear();
        testing::internal::CaptureStdout();
        EXPECT_EQ(ToolMain(static_cast<int>(asArguments.size()), apszArguments.data()), iStatus);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), sMessages + (bUsage ? USAGE : ""));
        EXPECT_EQ(s_sRun, sRun);
    }
}
}
