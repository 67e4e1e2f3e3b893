// What the command line asks for, and what is printed about one that is wrong.
#include <bit>
#include <deque>
#include <sstream>

#include "CommandLine.h"
#include "TestSupport.h"

namespace
{
enum EOutcome { RUN, HELP, HELP_AND_FAIL, FAIL };

const std::string NUMBERS = "-v 640 480 75 1 -2 3x 4 5 6 7 8 ";
const std::string RANGE   = "] animation step loop time must be in the range [16-10000].\n";

const char USAGE[] = R"(
Arguments:
   -h     | --Help           Show this help.
   -d     | --DevIdx         Select the device index.
   -v     | --VideoParam     Indicate the video timings (space separated).
   -i     | --Image          Specify the PNG image filename that will be used as background
   -p     | --ProgressRect   Specify progress bar rectangle {Left Top Right Bottom}
   -a     | --AnimRect       Specify animation bar rectangle {Left Top Right Bottom}
   -f     | --AnimBaseFileName Specify base file name for animation. Example Anim, will look for files )"
                     R"(named Anim01.png, Anim02, ..., Anim24.png (max 99)
   -l     | --AnimStepLoopTimeMs Specify animation step time
   -et    | --EnableTime     Specify time required to display image

Usage : 
   tool -d 0 
)";

// The timing of NUMBERS. Of its flags bits 0 to 4 are the truths in their order; then come ColorSpace from bit 5,
// ChromaSubSampling from bit 9 and ColorDepth from bit 11.
tagTVideo_VidParam Timing(KUINT32 uiFlags)
{
    return std::bit_cast<tagTVideo_VidParam>(
        std::array<KUINT32, 14>{640, 480, 75, 1, 4294967294, 3, 4, 5, 6, 7, 8, uiFlags});
}

auto Values(const SArguments& ro)
{
    const auto fName = [](const char* psz) { return std::string(psz != nullptr ? psz : "(null)"); };
    const auto fRect = [](const tagTRECT& roRect) { return std::bit_cast<std::array<KINT32, 4>>(roRect); };
    return std::tuple(ro.uiDevIndex, fName(ro.pszImageFileName), fName(ro.pszAnimBaseFileName), ro.bProgressBar,
                      fRect(ro.oProgressBarRect), ro.bAnimation, fRect(ro.oAnimBarRect), ro.uiAnimStepLoopTimeMs,
                      ro.uiEnableTime, std::bit_cast<std::array<KUINT32, 14>>(ro.oVidParam));
}

// Parses the words, and compares all that came of it. What a line asks for counts only if there is a run.
void Expect(const std::string& sLine, EOutcome eOutcome, const std::string& sMessages, const SArguments& roExpected = {})
{
    SCOPED_TRACE(sLine);
    std::deque<std::string> asArguments   = {"tool"};
    std::vector<char*>      apszArguments = {asArguments[0].data()};
    std::istringstream      oWords(sLine);
    for (std::string sWord; oWords >> sWord;) apszArguments.push_back(asArguments.emplace_back(sWord).data());
    apszArguments.push_back(nullptr);

    SArguments o;
    KBOOL32    bParsed = FALSE;
    const auto fParse  = [&] { bParsed = ParseArguments(static_cast<int>(asArguments.size()), apszArguments.data(), o); };
    EXPECT_EQ(OutputOf(fParse), sMessages);
    EXPECT_EQ(!bParsed ? FAIL : !o.bShowHelp ? RUN : o.bErrorHelp ? HELP_AND_FAIL : HELP, eOutcome);
    if (eOutcome == RUN) { EXPECT_EQ(Values(o), Values(roExpected)); }
}

TEST(CommandLine, BecomesOneRun)
{
    const std::pair<std::string, SArguments> RUNS[] = {
        {"-d 1 --DevIdx 4294967298abc --Image a -i -d --AnimBaseFileName base",
         {.uiDevIndex = 2, .pszImageFileName = "-d", .pszAnimBaseFileName = "base"}},
        {"-p 1 2 3 4 -l 10000 -l 16", {.oProgressBarRect = {1, 2, 3, 4}, .bProgressBar = TRUE, .uiAnimStepLoopTimeMs = 16}},
        {"-a -5 6 7 8 -et 9", {.oAnimBarRect = {-5, 6, 7, 8}, .bAnimation = TRUE, .uiEnableTime = 9}},
        {NUMBERS + "yes no i - yes YUV_2020 422 16", {.oVidParam = Timing(1 | 4 | 16 | 5 << 5 | 2 << 9 | 3 << 11)}},
        {NUMBERS + "no yes - + no RGB_LIMITED 420 10", {.oVidParam = Timing(2 | 8 | 1 << 5 | 1 << 9 | 1 << 11)}},
        {NUMBERS + "no no + i no YUV_709 444 12", {.oVidParam = Timing(4 | 8 | 2 << 5 | 2 << 11)}},
        {NUMBERS + "no no - - no YUV_601 444 8", {.oVidParam = Timing(3 << 5)}},
        {NUMBERS + "no no - - no YUV_601_FULL 444 8", {.oVidParam = Timing(4 << 5)}},
        {NUMBERS + "yes yes + + yes YUV_709 422 12 " + NUMBERS + "no no - - no RGB_FULL 444 8", {.oVidParam = Timing(0)}},
    };
    for (const auto& [sLine, oExpected] : RUNS) Expect(sLine, RUN, "", oExpected);
    EXPECT_EQ(testing::PrintToString(Values({})),
              "(0, \"(null)\", \"(null)\", 0, { 256, 284, 768, 484 }, 0, { 256, 100, 512, 200 }, 1000, 0, "
              "{ 1024, 768, 60, 48, 65000, 24, 136, 160, 3, 6, 29, 0, 0, 0 })");
}

TEST(CommandLine, IsExplainedWhenItIsWrong)
{
    const std::tuple<std::string, EOutcome, std::string> ROWS[] = {
        // clang-format off
        {"-l 15", HELP_AND_FAIL, "[-l" + RANGE}, {"--AnimStepLoopTimeMs 10001", HELP_AND_FAIL, "[--AnimStepLoopTimeMs" + RANGE},
        {"--Help oops", HELP, "[oops] is an invalid argument.\n"},
        {"-h --Image", HELP, "[--Image] missing background image.\n"},
        {"-help -d", HELP_AND_FAIL, "[-help] is an invalid argument.\n[-d] missing index.\n"},
        {"-p -d 1 -l", HELP_AND_FAIL, "[-p] missing progress bar position.\n[-l] missing animation step loop time.\n"},
        {"--EnableTime", HELP_AND_FAIL, "[--EnableTime] missing enable time.\n"},
        {"-f", HELP_AND_FAIL, "[-f] missing animation base file name.\n"},
        {"--AnimRect -h", HELP, "[--AnimRect] missing animation bar position.\n"},
        {"-l -5 -l", HELP_AND_FAIL, "[-l" + RANGE + "[-l] missing animation step loop time.\n[-l" + RANGE},
        {"-h " + NUMBERS + "no no - - no RGB_FULL 444", FAIL, "[-v] missing video parameters.\n"},
    };  // clang-format on
    for (const auto& [sLine, eOutcome, sMessages] : ROWS) Expect(sLine, eOutcome, sMessages);
    EXPECT_EQ(OutputOf([] { PrintUsage("tool"); }), USAGE);

    const std::array<const char*, 3> WORDS[] = {
        // a good one, a bad one, and the name in the message
        {"no", "No", "Interlaced"},           {"no", "1", "BottomFieldFirst"}, {"-", "++", "HorizontalSyncPositive"},
        {"-", "I", "VerticalSyncPositive"},   {"no", "%s", "IsYuv"},           {"YUV_601", "RGB", "ColorSpace"},
        {"444", "4444", "ChromaSubSampling"}, {"8", "08", "ColorDepth"},
    };
    for (const auto& roBad : WORDS)
    {
        std::string sLine = "-h " + NUMBERS;
        for (const auto& ro : WORDS) sLine += std::string(&ro == &roBad ? ro[1] : ro[0]) + ' ';
        Expect(sLine, FAIL, std::string("[-v] invalid ") + roBad[2] + " value " + roBad[1] + ".\n");
    }
}
}
