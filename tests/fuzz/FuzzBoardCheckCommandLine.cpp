// Command lines of QelBoardCheck, an argument a line: each is refused, or what it asks for is in its range.
#include "Arguments.h"
#include "Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    SCommandLine         oLine("check", puiData, uiSize);
    BoardCheck::SRequest o;
    const auto           ooStatus = BoardCheck::ReadArguments(oLine.GetCount(), oLine.apszArguments.data(), o);
    Must(!ooStatus || *ooStatus == 0 || *ooStatus == 2);
    if (ooStatus) return 0;
    Must(o.uiCallLimitS >= 1 && o.uiCallLimitS <= 3600 && o.uiCardTimeS <= 3600);
    Must(o.bDraw || o.uiCardTimeS == BoardCheck::SRequest().uiCardTimeS);
    Must(o.oVidParam.fIs3GLevelB == 0 && o.oVidParam.fTransferCharacteristic == 0 && o.oVidParam.fColorSpace <= 5);
    return 0;
}
