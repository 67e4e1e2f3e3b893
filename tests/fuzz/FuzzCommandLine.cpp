// Command lines, an argument a line: a run gets what stands on the line and a step time in its range, or there is none.
#include <string>
#include <vector>

#include "DisplayRun.h"
#include "Fuzz.h"

int ToolMain(int argc, char** argv);

namespace
{
std::vector<std::string> s_asArguments;
int                      s_iRuns = 0;

bool IsNullOrArgument(const char* psz)
{
    bool bFound = psz == nullptr;
    for (const std::string& rs : s_asArguments)
        bFound = bFound || rs.data() == psz;
    return bFound;
}
}

TStatus DisplayProgressBar(KUINT32, const tagTRECT&, const char* pszImageFileName, const char* pszAnimBaseFileName,
                           KUINT32 uiAnimStepLoopTimeMs, const tagTRECT&, KUINT32, KBOOL32 bProgressBar, KBOOL32 bAnimation,
                           tagTVideo_VidParam& oVidParam)
{
    Must(IsNullOrArgument(pszImageFileName) && IsNullOrArgument(pszAnimBaseFileName) && ++s_iRuns == 1);
    Must(uiAnimStepLoopTimeMs >= 16 && uiAnimStepLoopTimeMs <= 10000 && bProgressBar <= TRUE && bAnimation <= TRUE);
    Must(oVidParam.fIs3GLevelB == 0 && oVidParam.fTransferCharacteristic == 0 && oVidParam.fColorSpace <= 5);
    return TStatus_RESOURCES_BUSY;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, std::size_t uiSize)
{
    s_asArguments.assign(1, "tool");
    for (std::size_t i = 0; i < uiSize; ++i)
    {
        if (i == 0 || puiData[i - 1] == '\n')
            s_asArguments.emplace_back();
        if (puiData[i] != '\n')
            s_asArguments.back() += static_cast<char>(puiData[i]);
    }
    std::vector<char*> apszArguments;
    for (std::string& rs : s_asArguments)
        apszArguments.push_back(rs.data());
    apszArguments.push_back(nullptr);

    s_iRuns           = 0;
    const int iStatus = ToolMain(static_cast<int>(s_asArguments.size()), apszArguments.data());
    Must(s_iRuns == 1 ? iStatus == TStatus_RESOURCES_BUSY : iStatus == 0 || iStatus == -1);
    return 0;
}
