// Records of runs, as a file may hold them: a reader takes what it can and stops, and each call can be told in words.
#include "BoardError.h"
#include "CallText.h"
#include "Fuzz.h"
#include "RecordReader.h"

using namespace SoftwareBoard::Recorder;

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
try
{
    const std::string_view svText(reinterpret_cast<const char*>(puiData), uiSize);
    RecordReader           oReader(svText, "record");
    KUINT64                uiLine = 1;
    while (const auto ooCall = oReader.Next())
    {
        Must(ooCall->uiLine == ++uiLine && AreArguments(ooCall->Row(), ooCall->oArguments));
        Must(!DescribeCall(ooCall->Row(), ooCall->oArguments).empty());
        Must(DescribeFilled(ooCall->oFilled).empty() == ooCall->oFilled.empty());
    }
    for (const SCall& roCall : oReader.GetDuring()) Must(!DescribeCall(roCall.Row(), roCall.oArguments).empty());
    Must(!oReader.Next() && oReader.GetLine() >= uiLine);
    return 0;
}
catch (const SoftwareBoard::BoardError&)
{
    return 0;
}
