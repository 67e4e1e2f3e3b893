// Command lines, an argument a line: a run gets names that stand on the line and a step time in its range, or there is none.
#include <algorithm>
#include <deque>
#include <sstream>
#include <string>
#include <vector>

#include "DisplayRun.h"
#include "Fuzz.h"

int ToolMain(int argc, char** argv);

static std::vector<char*> s_apszArguments;
static int                s_iRuns = 0;

TStatus DisplayProgressBar(KUINT32, const tagTRECT&, const char* pszImage, const char* pszFrames, KUINT32 uiStepMs, const tagTRECT&,
                           KUINT32, KBOOL32 bProgressBar, KBOOL32 bAnimation, tagTVideo_VidParam& oVidParam)
{
    for (const char* psz : {pszImage, pszFrames})  // null stands at the end of the arguments
        Must(std::find(s_apszArguments.begin() + 1, s_apszArguments.end(), psz) != s_apszArguments.end());
    Must(++s_iRuns == 1 && uiStepMs >= 16 && uiStepMs <= 10000 && bProgressBar <= TRUE && bAnimation <= TRUE);
    Must(oVidParam.fIs3GLevelB == 0 && oVidParam.fTransferCharacteristic == 0 && oVidParam.fColorSpace <= 5);
    return TStatus_RESOURCES_BUSY;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, std::size_t uiSize)
{
    std::istringstream      oLines(std::string(reinterpret_cast<const char*>(puiData), uiSize));
    std::deque<std::string> asArguments = {"tool"};
    s_apszArguments                     = {asArguments[0].data()};
    for (std::string sLine; std::getline(oLines, sLine);)
        s_apszArguments.push_back(asArguments.emplace_back(sLine).data());
    s_apszArguments.push_back(nullptr);
    s_iRuns           = 0;
    const int iStatus = ToolMain(static_cast<int>(s_apszArguments.size()) - 1, s_apszArguments.data());
    Must(s_iRuns == 1 ? iStatus == TStatus_RESOURCES_BUSY : iStatus == 0 || iStatus == -1);
    return 0;
}
