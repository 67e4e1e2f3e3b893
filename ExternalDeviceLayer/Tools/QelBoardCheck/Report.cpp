#include "Report.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "TrialRunner.h"

namespace BoardCheck
{
namespace
{
constexpr int HOLDS_ALL       = 0;
constexpr int SOMETHING_FAILS = 1;
constexpr int NO_BOARD        = 3;

class Reporter
{
public:
    explicit Reporter(const SRequest& roRequest) : m_roRequest(roRequest) {}

    Json Make()
    {
        Json                   oLibrary = {{"path", nullptr}, {"operations", Json::array()}, {"missing", Json::array()}};
        std::optional<KUINT32> ouiCount;
        for (const SCheck& roCheck : LibraryChecks())
        {
            for (const Json& roFact : Try(roCheck, 0).aoFacts)
            {
                oLibrary.update(roFact.value("library", Json::object()));
                if (roFact.contains("device_count"))
                    ouiCount = roFact["device_count"].get<KUINT32>();
            }
        }
        m_oReport["library"]      = std::move(oLibrary);
        m_oReport["device_count"] = nullptr;
        if (ouiCount)
            m_oReport["device_count"] = *ouiCount;
        m_oReport["devices"] = Json::array();

        const KUINT32 uiCount   = ouiCount.value_or(0) <= MAX_COUNT ? ouiCount.value_or(0) : 0;
        const KUINT32 uiFirst   = m_roRequest.ouiDevice.value_or(0);
        const KUINT32 uiEnd     = m_roRequest.ouiDevice ? std::min(uiFirst + 1, uiCount) : uiCount;
        std::string   strWhyNot = "there is no device";
        if (uiFirst >= uiEnd)
            LeaveOut(DeviceChecks(), strWhyNot);
        for (KUINT32 uiDevice = uiFirst; uiDevice < uiEnd; ++uiDevice)
        {
            m_oReport["devices"].push_back(LookAt(uiDevice));
            if (uiDevice == uiFirst)
                strWhyNot = m_oReport["devices"].back()["may_be_driven"] == true ? "" : "the board may not be driven";
        }
        if (!m_roRequest.bDraw)
            strWhyNot = "needs --draw";

        if (!strWhyNot.empty())
            LeaveOut(DrawChecks(), strWhyNot);
        else
        {
            for (const SCheck& roCheck : DrawChecks())
                Draw(roCheck, uiFirst);
        }
        m_oReport["checks"] = std::move(m_oChecks);
        return std::move(m_oReport);
    }

private:
    Json LookAt(KUINT32 uiDevice)
    {
        Json oDevice = {{"device", uiDevice}, {"fpgas", Json::array()}, {"may_be_driven", false}};
        for (const SCheck& roCheck : DeviceChecks())
        {
            const STrialOutcome oOutcome = Try(roCheck, uiDevice);
            for (const Json& roFact : oOutcome.aoFacts)
            {
                if (roFact.contains("fpga"))
                    oDevice["fpgas"].push_back(roFact["fpga"]);
                else
                    oDevice.update(roFact);
            }
            if (std::string_view(roCheck.pszName) == "firmware" && oOutcome.strResult != HOLDS)
            {
                oDevice["may_be_driven"] = false;
                oDevice["reason"]        = oOutcome.strCame;
            }
        }
        for (const char* const pszName : {"outputs", "registers"})
            oDevice.emplace(pszName, nullptr);
        return oDevice;
    }

    STrialOutcome Try(const SCheck& roCheck, KUINT32 uiDevice)
    {
        const STrialInput   oInput   = {m_roRequest, uiDevice};
        const auto          fTry     = [&](Trial& roTrial) { roCheck.pfnTry(roTrial, oInput); };
        const auto          fSecond  = [&](Trial& roTrial) { roCheck.pfnSecond(roTrial, oInput); };
        const STrialOutcome oOutcome = m_oRunner.Run(fTry, roCheck.pfnSecond != nullptr ? TryFunction(fSecond) : nullptr);
        Add(roCheck, oOutcome.strResult, oOutcome.strCame);
        if (uiDevice != 0)
            m_oChecks.back()["device"] = uiDevice;
        return oOutcome;
    }

    // Whatever the trial has not given back is given back by another process.
    void Draw(const SCheck& roCheck, KUINT32 uiDevice)
    {
        std::map<KUINT32, int> aiTaken;  // how often each output was taken and not given back
        std::optional<KUINT32> ouiRegister;
        for (const Json& roFact : Try(roCheck, uiDevice).aoFacts)
        {
            if (roFact.contains("takes_output"))
                ++aiTaken[roFact["takes_output"].get<KUINT32>()];
            if (roFact.contains("gives_output"))
                --aiTaken[roFact["gives_output"].get<KUINT32>()];
            if (roFact.contains("takes_register"))
                ouiRegister = roFact["takes_register"].get<KUINT32>();
            if (roFact.contains("gives_register"))
                ouiRegister.reset();
        }
        for (const auto& [uiOutput, iTaken] : aiTaken)
        {
            if (iTaken > 0)
                m_oRunner.TakeBack(
                    [uiDevice, uiOutput = uiOutput](Trial& roTrial) { TakeBackOutput(roTrial, uiDevice, uiOutput); });
        }
        if (ouiRegister)
            m_oRunner.TakeBack([=](Trial& roTrial) { TakeBackRegister(roTrial, uiDevice, *ouiRegister); });
    }

    void LeaveOut(std::span<const SCheck> aoChecks, const std::string& strWhy)
    {
        for (const SCheck& roCheck : aoChecks)
            Add(roCheck, NOT_TRIED, strWhy);
    }

    void Add(const SCheck& roCheck, const std::string& strResult, const std::string& strCame)
    {
        m_oChecks.push_back(
            {{"name", roCheck.pszName}, {"result", strResult}, {"expected", roCheck.pszExpected}, {"came", strCame}});
    }

    const SRequest& m_roRequest;
    TrialRunner     m_oRunner;
    Json            m_oReport;
    Json            m_oChecks = Json::array();
};

bool Fails(const Json& roCheck)
{
    return roCheck["result"] == FAILS;
}
}

Json MakeReport(const SRequest& roRequest)
{
    return Reporter(roRequest).Make();
}

int GetExitStatus(const Json& roReport)
{
    if (roReport["library"]["path"].is_null() || roReport["device_count"] == 0)
        return NO_BOARD;
    const bool bRefused =
        std::ranges::any_of(roReport["devices"], [](const Json& ro) { return ro["may_be_driven"] == false; });
    return bRefused || std::ranges::any_of(roReport["checks"], Fails) ? SOMETHING_FAILS : HOLDS_ALL;
}
}
