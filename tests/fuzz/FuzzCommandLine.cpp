// Command lines, an argument a line: file names stand on the line, and a run has a step time in its range.
#include <algorithm>
#include <deque>
#include <sstream>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    std::istringstream      oLines(std::string(reinterpret_cast<const char*>(puiData), uiSize));
    std::deque<std::string> asArguments   = {"tool"};
    std::vector<char*>      apszArguments = {asArguments[0].data()};
    for (std::string sLine; std::getline(oLines, sLine);) apszArguments.push_back(asArguments.emplace_back(sLine).data());
    apszArguments.push_back(nullptr);

    SArguments o;
    const bool bParsed = ParseArguments(static_cast<int>(asArguments.size()), apszArguments.data(), o) != FALSE;
    for (const char* psz : {o.pszImageFileName, o.pszAnimBaseFileName})  // null stands at the end of the arguments
        Must(std::find(apszArguments.begin() + 1, apszArguments.end(), psz) != apszArguments.end());
    Must(!bParsed || o.bShowHelp || (o.uiAnimStepLoopTimeMs >= 16 && o.uiAnimStepLoopTimeMs <= 10000));
    for (const KBOOL32 b : {o.bProgressBar, o.bAnimation, o.bShowHelp, o.bErrorHelp}) Must(b == FALSE || b == TRUE);
    Must(o.oVidParam.fIs3GLevelB == 0 && o.oVidParam.fTransferCharacteristic == 0 && o.oVidParam.fColorSpace <= 5);
    return 0;
}
