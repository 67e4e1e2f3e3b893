#include "Arguments.h"

#include <cstdio>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace BoardCheck
{
namespace
{
constexpr int     USAGE_ERROR = 2;
constexpr KUINT32 MAX_SECONDS = 3600;

void TakeTimings(const std::vector<std::string>& astrValues, tagTVideo_VidParam& roVidParam)
{
    std::vector<const char*> apszValues;
    for (const std::string& strValue : astrValues)
        apszValues.push_back(strValue.c_str());
    if (const auto ooUnknown = ReadVideoTimings(apszValues.data(), roVidParam))
        throw CLI::ValidationError("-v", std::string("invalid ") + ooUnknown->pszField + " value " + ooUnknown->pszWord);
}
}

std::optional<int> ReadArguments(int argc, char** argv, SRequest& roRequest)
{
    CLI::App oProgram("Says what a board is, and whether QelProgressBarDisplay can rely on it.\n"
                      "Without --draw it changes nothing.",
                      "QelBoardCheck");
    oProgram.set_version_flag("--version", "QelBoardCheck " BOARD_CHECK_VERSION);
    oProgram.add_flag("--json", roRequest.bJson, "As one JSON object, for programs");
    oProgram.add_option("-d,--DevIdx", roRequest.ouiDevice, "Look at this device only, and draw on it; 0 is the first")
        ->type_name("INDEX");
    const auto         fDefault = [](KUINT32 ui) { return std::to_string(ui) + " if not given"; };
    CLI::Option* const poDraw =
        oProgram.add_flag("--draw", roRequest.bDraw, "Try what a run relies on, and show a test card on every output");
    oProgram
        .add_option_function<std::vector<std::string>>(
            "-v,--VideoParam",
            [&](const std::vector<std::string>& astrValues) { TakeTimings(astrValues, roRequest.oVidParam); },
            "The video timings of the outputs, 19 values; 1024 x 768 at 60 Hz if not given")
        ->expected(TIMING_VALUES)
        ->type_name("VALUE")
        ->needs(poDraw);
    oProgram
        .add_option("--limit", roRequest.uiCallLimitS,
                    "Take a call that lasts longer for one that hangs; " + fDefault(roRequest.uiCallLimitS))
        ->check(CLI::Range(KUINT32{1}, MAX_SECONDS))
        ->type_name("SECONDS");
    oProgram
        .add_option("--seconds", roRequest.uiCardTimeS, "Show the card for this time; " + fDefault(roRequest.uiCardTimeS))
        ->check(CLI::Range(KUINT32{0}, MAX_SECONDS))
        ->type_name("N")
        ->needs(poDraw);
    try
    {
        oProgram.parse(argc, argv);
    }
    catch (const CLI::ParseError& roError)
    {
        return oProgram.exit(roError) == 0 ? 0 : USAGE_ERROR;
    }
    return std::nullopt;
}
}
