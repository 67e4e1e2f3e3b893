// tavrin-board replay: a command's run on the board of a record.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "Board.h"
#include "BoardError.h"
#include "CallText.h"
#include "ChildCommand.h"
#include "Commands.h"
#include "Installation.h"
#include "Options.h"
#include "Printable.h"
#include "RecordReader.h"
#include "ReplayProgress.h"

namespace SoftwareBoard::Panel
{
namespace
{
using Recorder::EOperation;
using Recorder::EReplay;

constexpr int DEPARTED_STATUS = 3;

// The board that the record tells of. Devices of a board are alike: each gets what any of them has.
SBoardPlan MakePlan(Recorder::RecordReader oReader)
{
    SBoardPlan oPlan;
    oPlan.uiOutputCount = 0;
    const auto fCount   = [](const Recorder::Json& ro, KUINT32 uiMax) { return std::min(ro.get<KUINT32>(), uiMax); };
    while (const auto ooCall = oReader.Next())
    {
        const Recorder::Json& roFilled = ooCall->oFilled;
        if (ooCall->eOperation == EOperation::Tavrin_GetDeviceCount)
            oPlan.uiDeviceCount = std::max(fCount(ooCall->oResult, MAX_DEVICES), KUINT32{1});
        else if (ooCall->eOperation == EOperation::TVideoOut_GetCount && roFilled.contains("puiCount"))
            oPlan.uiOutputCount = std::max(oPlan.uiOutputCount, fCount(roFilled.at("puiCount"), MAX_OUTPUTS));
        else if (ooCall->eOperation == EOperation::TBoard_GetFpgaInfo && roFilled.contains("poFpgaInfo"))
        {
            const KUINT32 uiIndex = fCount(ooCall->oArguments.at("uiIndex"), MAX_FPGAS);
            if (uiIndex != oPlan.aoFpgas.size() || uiIndex == MAX_FPGAS)
                continue;
            tagTBoard_FpgaInfo& roFpga = oPlan.aoFpgas.emplace_back();
            WriteRecord(ooCall->Row().aoParameters[2].oType.aoFields, roFilled.at("poFpgaInfo"), &roFpga, sizeof(roFpga));
        }
    }
    return oPlan;
}

// Says how the run differed from the record. Returns the exit status; nothing if it did not.
std::optional<int> Judge(Recorder::RecordReader oReader, const Recorder::SReplayed& roReplayed, const SEnd& roEnd)
{
    const auto fSay = [](const std::string& strText) {
        std::fprintf(stderr, "tavrin-board: %s\n", MakePrintable(strText).c_str());
    };
    if (roReplayed.eState != EReplay::Going)
    {
        fSay(roReplayed.acText.data());
        return roReplayed.eState == EReplay::Departed ? DEPARTED_STATUS : 1;
    }
    for (KUINT64 ui = 0; ui < roReplayed.uiCalls; ++ui)
        oReader.Next();
    if (const auto ooCall = oReader.Next())
    {
        const std::string strBy = roEnd.bSignal ? " by " + Recorder::DescribeSignal(roEnd.iValue) : "";
        fSay(Recorder::DescribeDeparture(ooCall->uiLine, DescribeCall(ooCall->Row(), ooCall->oArguments),
                                         "the end of the run" + strBy));
        return DEPARTED_STATUS;
    }
    if (!oReader.GetDamage().empty())
        fSay(oReader.GetDamage() + "; the run did not come further");
    return std::nullopt;
}

// The file that the replay's progress is kept in, while it goes on.
struct ProgressFile
{
    ProgressFile() : m_oProgress(Recorder::ReplayProgress::Make(m_oFolder)) {}
    ~ProgressFile() { Recorder::ReplayProgress::Remove(m_oFolder); }
    ProgressFile(const ProgressFile&)            = delete;
    ProgressFile& operator=(const ProgressFile&) = delete;

    const BoardFolder              m_oFolder = BoardFolder::Open();
    const Recorder::ReplayProgress m_oProgress;
};

void Replay(const std::string& strPath, bool bFast, const PassedOn& roCommand)
{
    const std::string            strText = Recorder::ReadRecordFile(strPath);
    const Recorder::RecordReader oReader(strText, strPath);
    UseLibrary("replay");
    std::optional<Board> ooBoard = Board::Create(MakePlan(oReader));
    const ProgressFile   oProgress;
    ooBoard.reset();

    SetVariable(Recorder::REPLAY_FILE_VARIABLE, std::filesystem::absolute(strPath));
    SetVariable(Recorder::REPLAY_FAST_VARIABLE, bFast ? "1" : "");
    const SEnd oEnd = RunChild(roCommand);
    if (const auto oiStatus = Judge(oReader, oProgress.m_oProgress.Read(), oEnd))
        throw EndedWithStatus{*oiStatus};
    oEnd.PassOn();
}
}

Action AddReplay(CLI::App& roCommand, const PassedOn& roPassedOn)
{
    struct SOptions
    {
        std::string strPath;
        bool        bFast = false;
    };
    const auto poOptions = std::make_shared<SOptions>();
    roCommand.add_option("FILE", poOptions->strPath, "The record")->required();
    roCommand.add_flag("--fast", poOptions->bFast, "Answer at once: do not wait as long as the calls took");
    RequireCommand(roCommand, roPassedOn);
    roCommand.footer("The exit status is 3 if the command's calls depart from the record.");
    return [poOptions, &roPassedOn] { Replay(poOptions->strPath, poOptions->bFast, roPassedOn); };
}
}
