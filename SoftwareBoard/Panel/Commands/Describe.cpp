// tavrin-board describe: a record in words.
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#include "BoardError.h"
#include "BoardState.h"
#include "CallText.h"
#include "Commands.h"
#include "Printable.h"
#include "RecordReader.h"
#include "TavrinStatus.h"

namespace SoftwareBoard::Panel
{
namespace
{
using Recorder::EOperation;
using Recorder::Json;
using Recorder::SCall;

constexpr KUINT64 NS_A_MS = 1'000'000;
constexpr KUINT64 GAP_NS  = NS_A_MS;  // a pause between two calls that is shown

double InMs(KUINT64 uiNs)
{
    return static_cast<double>(uiNs) / double{NS_A_MS};
}

std::string DescribeResult(const SCall& roCall)
{
    if (roCall.oResult.is_string())
        return roCall.oResult.get<std::string>();
    const char* pszName = nullptr;
    if (roCall.Row().oResult.eKind == Recorder::EKind::Status)
        pszName = FindStatusName(static_cast<TStatus>(roCall.oResult.get<KINT32>()));
    return pszName != nullptr ? pszName : roCall.oResult.dump();
}

// What the calls of a run come to.
class Summary
{
public:
    void Take(const SCall& roCall)
    {
        ++m_uiCalls;
        m_uiFailed += size_t{roCall.Failed()};
        const Json& roArguments = roCall.oArguments;
        if (roCall.Failed())
            return;
        if (roCall.eOperation == EOperation::TBoard_RegRead && roArguments.at("uiRegister") == REG_PROGRESS_UPDATE)
            m_auiSteps.push_back(roCall.uiAtNs);
        if (roCall.eOperation == EOperation::TVideoOut_GetHandle && roCall.oFilled.contains("phVideoOut"))
            m_oOutputs[roCall.oFilled.at("phVideoOut").dump()] =
                "output " + roArguments.at("uiIndex").dump() + " of " + roArguments.at("hDev").dump();
        if (roCall.eOperation == EOperation::TVideoOut_Enable || roCall.eOperation == EOperation::TVideoOut_Disable)
            m_oEnabled[m_oOutputs[roArguments.at("hVideoOut").dump()]] = roCall.eOperation == EOperation::TVideoOut_Enable;
    }

    void Print() const
    {
        std::printf("%zu calls, %zu failed\n", m_uiCalls, m_uiFailed);
        PrintSteps();
        std::string strLeft;
        for (const auto& [strOutput, bEnabled] : m_oEnabled)
            strLeft += bEnabled ? (strLeft.empty() ? "" : ", ") + (strOutput.empty() ? "an unknown output" : strOutput) : "";
        std::erase(strLeft, '"');
        std::printf("left enabled: %s\n", strLeft.empty() ? "nothing" : MakePrintable(strLeft).c_str());
    }

private:
    // A step begins where the run reads the progress. A run waits at least as long as it wants to, so its shortest steps,
    // in whole milliseconds, tell how long a step was to be.
    void PrintSteps() const
    {
        std::vector<KUINT64> auiTimes;
        for (size_t ui = 1; ui < m_auiSteps.size(); ++ui)
            auiTimes.push_back(m_auiSteps[ui] - std::min(m_auiSteps[ui], m_auiSteps[ui - 1]));
        if (auiTimes.empty())
        {
            std::printf("steps: %zu\n", m_auiSteps.size());
            return;
        }
        std::ranges::sort(auiTimes);
        const KUINT64 uiStep = auiTimes[auiTimes.size() / 10] / NS_A_MS * NS_A_MS;
        const auto    fLate  = [&](size_t ui) { return InMs(auiTimes[ui] - std::min(auiTimes[ui], uiStep)); };
        std::printf("steps: %zu of %.0f ms, late by %.3f ms at the median and %.3f ms at most\n", m_auiSteps.size(),
                    InMs(uiStep), fLate(auiTimes.size() / 2), fLate(auiTimes.size() - 1));
    }

    size_t                             m_uiCalls  = 0;
    size_t                             m_uiFailed = 0;
    std::vector<KUINT64>               m_auiSteps;
    std::map<std::string, std::string> m_oOutputs;  // by the name of a handle
    std::map<std::string, bool>        m_oEnabled;
};

void PrintCall(const SCall& roCall)
{
    std::string strText = DescribeCall(roCall.Row(), roCall.oArguments) + " = " + DescribeResult(roCall);
    if (const std::string strFilled = Recorder::DescribeFilled(roCall.oFilled); !strFilled.empty())
        strText += ", " + strFilled;
    std::printf("%c %6llu %6u %12.3f %10.3f  %s\n", roCall.Failed() ? '!' : ' ', roCall.uiLine - 1, roCall.uiThread,
                InMs(roCall.uiAtNs), InMs(roCall.uiTookNs), MakePrintable(strText).c_str());
}

std::string DescribeEnd(const Recorder::RecordReader& roReader)
{
    if (!roReader.GetDamage().empty())
        return roReader.GetDamage();
    std::string strEnd = roReader.EndsBySignal() ? "ended by " + Recorder::DescribeSignal(roReader.GetEnd())
                                                 : "ended with status " + std::to_string(roReader.GetEnd());
    const auto  fAt    = [](KUINT64 uiAtNs) { return " at " + std::to_string(uiAtNs / NS_A_MS) + " ms"; };
    for (const SCall& roCall : roReader.GetDuring())
        strEnd += " in " + DescribeCall(roCall.Row(), roCall.oArguments) + ", called" + fAt(roCall.uiAtNs);
    for (const Recorder::SSignal& roSignal : roReader.GetSignals())
        strEnd += ", after " + Recorder::DescribeSignal(roSignal.iSignal) + fAt(roSignal.uiAtNs);
    return strEnd;
}

void Describe(const std::string& strPath)
{
    const std::string      strText = Recorder::ReadRecordFile(strPath);
    Recorder::RecordReader oReader(strText, strPath);
    std::string            strCommand;
    for (const std::string& strWord : oReader.GetCommand())
        strCommand += " " + strWord;
    std::printf("command:%s\nlibrary: %s\n\n", MakePrintable(strCommand).c_str(),
                MakePrintable(oReader.GetLibrary()).c_str());

    Summary oSummary;
    KUINT64 uiOver = 0;  // when the calls so far had returned
    std::printf("    call thread        at ms    took ms  operation (failures are marked with !)\n");
    while (const auto ooCall = oReader.Next())
    {
        if (ooCall->uiAtNs > uiOver + GAP_NS)
            std::printf("%*s%.3f ms\n", 27, "... ", InMs(ooCall->uiAtNs - uiOver));
        PrintCall(*ooCall);
        oSummary.Take(*ooCall);
        uiOver = std::max(uiOver, ooCall->uiAtNs + ooCall->uiTookNs);
    }
    std::printf("\n");
    oSummary.Print();
    std::printf("%s\n", MakePrintable(DescribeEnd(oReader)).c_str());
}
}

Action AddDescribe(CLI::App& roCommand, const PassedOn&)
{
    const auto pstrPath = std::make_shared<std::string>();
    roCommand.add_option("FILE", *pstrPath, "The record")->required();
    return [pstrPath] { Describe(*pstrPath); };
}
}
