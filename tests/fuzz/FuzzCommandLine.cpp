// Command lines, an argument a line: file names stand on the line, and a run has a step time in its range.
#include <algorithm>

#include "CommandLine.h"
#include "Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    SCommandLine oLine("tool", puiData, uiSize);

    SArguments o;
    const bool bParsed = ParseArguments(oLine.GetCount(), oLine.apszArguments.data(), o) != FALSE;
    for (const char* psz : {o.pszImageFileName, o.pszAnimBaseFileName})  // null stands at the end of the arguments
        Must(std::find(oLine.apszArguments.begin() + 1, oLine.apszArguments.end(), psz) != oLine.apszArguments.end());
    Must(!bParsed || o.bShowHelp || (o.uiAnimStepLoopTimeMs >= 16 && o.uiAnimStepLoopTimeMs <= 10000));
    for (const KBOOL32 b : {o.bProgressBar, o.bAnimation, o.bShowHelp, o.bErrorHelp}) Must(b == FALSE || b == TRUE);
    Must(o.oVidParam.fIs3GLevelB == 0 && o.oVidParam.fTransferCharacteristic == 0 && o.oVidParam.fColorSpace <= 5);
    return 0;
}
