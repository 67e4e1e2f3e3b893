// Records of runs, as a file may hold them: a reader takes what it can and stops, and each call that it has taken can be
// told in words, and written into memory and read back as it was.
#include "BoardError.h"
#include "CallText.h"
#include "Fuzz.h"
#include "RecordReader.h"

using namespace SoftwareBoard::Recorder;

namespace
{
// Fills the call's record in memory, and reads it from there.
void TryFilled(const SCall& roCall)
{
    const SOperation& roOperation = roCall.Row();
    const auto        ouiFilled   = roOperation.FindFilled();
    if (!ouiFilled || roCall.oFilled.empty()) return;
    const SType& roType = roOperation.aoParameters[*ouiFilled].oType;
    if (roType.eKind != EKind::Record && roType.eKind != EKind::Number) return;
    alignas(8) KUINT8 auiMemory[sizeof(tagTBoard_FpgaInfo)] = {};
    const auto        fFill                                 = [&](const Json& roFilled) {
        Words auiArguments = {};
        if (roType.HoldsItsSize()) *reinterpret_cast<KUINT32*>(auiMemory) = static_cast<KUINT32>(roType.uiSize);
        auiArguments[*ouiFilled] = ToWord(&auiMemory[0]);
        WriteFilled(roOperation, auiArguments, roFilled);
        HandleNames oNames;
        if (roType.HoldsItsSize()) *reinterpret_cast<KUINT32*>(auiMemory) = static_cast<KUINT32>(roType.uiSize);
        return ReadFilled(roOperation, auiArguments, roType.uiSize, oNames);
    };
    const Json oRead = Json::parse(fFill(roCall.oFilled));
    Must(IsFilled(roOperation, roCall.oArguments, oRead) && Json::parse(fFill(oRead)) == oRead);
}
}

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
        TryFilled(*ooCall);
    }
    for (const SCall& roCall : oReader.GetDuring()) Must(!DescribeCall(roCall.Row(), roCall.oArguments).empty());
    Must(!oReader.Next() && oReader.GetLine() >= uiLine);
    return 0;
}
catch (const SoftwareBoard::BoardError&)
{
    return 0;
}
