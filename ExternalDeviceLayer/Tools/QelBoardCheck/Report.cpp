#include "Report.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "BoardRegisters.h"
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
    explicit Reporter(const SRequest& roRequest)
        : m_roRequest(roRequest), m_oRunner(std::chrono::seconds(roRequest.uiCallLimitS))
    {}

    Json Make()
    {
        LookAtLibrary();
        const KUINT32 uiFirst = m_roRequest.ouiDevice.value_or(0);
        const KUINT32 uiEnd   = m_roRequest.ouiDevice ? std::min(uiFirst + 1, m_uiDevices) : m_uiDevices;
        m_oReport["devices"]  = Json::array();
        std::string strWhyNot = m_strNoDevice;
        if (uiFirst >= uiEnd)
            LeaveOut(EScope::Device, uiFirst, strWhyNot);
        for (KUINT32 uiDevice = uiFirst; uiDevice < uiEnd; ++uiDevice)
        {
            m_oReport["devices"].push_back(LookAt(uiDevice));
            if (uiDevice == uiFirst)
                strWhyNot = m_oReport["devices"].back()["may_be_driven"] == true ? "" : "the board may not be driven";
        }
        if (!m_roRequest.bDraw)
            strWhyNot = "needs --draw";

        Json oLeft = Json::array();
        if (!strWhyNot.empty())
            LeaveOut(EScope::Draw, uiFirst, strWhyNot);
        else
        {
            for (const SCheck& roCheck : GetChecks(EScope::Draw))
            {
                Note(Try(roCheck, uiFirst).aoFacts);
                oLeft = GiveBack(uiFirst);
            }
        }
        m_oReport["checks"] = std::move(m_oChecks);
        m_oReport["left"]   = std::move(oLeft);
        return std::move(m_oReport);
    }

private:
    void LookAtLibrary()
    {
        Json oLibrary = {{"path", nullptr}, {"operations", Json::array()}, {"missing", Json::array()}};
        Json oCount;
        for (const SCheck& roCheck : GetChecks(EScope::Library))
        {
            const STrialOutcome oOutcome = Try(roCheck, 0);
            for (const Json& roFact : oOutcome.aoFacts)
            {
                oLibrary.update(roFact.value("library", Json::object()));
                if (roFact.contains("device_count"))
                    oCount = roFact["device_count"];
            }
            m_strNoDevice = oOutcome.strCame;  // the last row counts the devices
        }
        if (oCount.is_number() && oCount <= MAX_COUNT)
            m_uiDevices = oCount;
        m_oReport["library"]      = std::move(oLibrary);
        m_oReport["device_count"] = std::move(oCount);
    }

    Json LookAt(KUINT32 uiDevice)
    {
        Json oDevice = {{"device", uiDevice}, {"fpgas", Json::array()}};
        for (const SCheck& roCheck : GetChecks(EScope::Device))
        {
            const STrialOutcome oOutcome = Try(roCheck, uiDevice);
            for (const Json& roFact : oOutcome.aoFacts)
            {
                if (roFact.contains("fpga"))
                    oDevice["fpgas"].push_back(roFact["fpga"]);
                else
                    oDevice.update(roFact);
            }
            if (std::string_view(roCheck.pszName) != "firmware")
                continue;
            oDevice["may_be_driven"] = oOutcome.strResult == HOLDS;
            if (oOutcome.strResult != HOLDS)
                oDevice["reason"] = oOutcome.strCame;
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
        Add(roCheck, uiDevice, oOutcome.strResult, oOutcome.strCame);
        return oOutcome;
    }

    // Notes what a trial has taken of the board, and given back.
    void Note(const std::vector<Json>& roFacts)
    {
        for (const Json& roFact : roFacts)
        {
            if (roFact.contains("takes_output"))
                ++m_aiTaken[roFact["takes_output"].get<KUINT32>()];
            if (roFact.contains("gives_output"))
                --m_aiTaken[roFact["gives_output"].get<KUINT32>()];
            if (roFact.contains("takes_register") && !m_ouiRegister)
                m_ouiRegister = roFact["takes_register"].get<KUINT32>();
            if (roFact.contains("gives_register"))
                m_ouiRegister.reset();
        }
    }

    // Whatever the trials have not given back is given back by another process. Returns what that process could not.
    Json GiveBack(KUINT32 uiDevice)
    {
        const STrialInput oInput    = {m_roRequest, uiDevice};
        Json              oLeft     = Json::array();
        const auto        fGiveBack = [&](auto pfnTakeBack, KUINT32 uiValue, Json oWhat) {
            const STrialOutcome oOutcome = m_oRunner.TakeBack([&](Trial& ro) { pfnTakeBack(ro, oInput, uiValue); });
            if (oOutcome.strResult == HOLDS)
                return true;
            oWhat["came"] = oOutcome.strCame;
            oLeft.push_back(std::move(oWhat));
            return false;
        };
        for (auto& [uiOutput, riTimes] : m_aiTaken)
        {
            if (riTimes > 0 && fGiveBack(TakeBackOutput, uiOutput, {{"device", uiDevice}, {"output", uiOutput}}))
                riTimes = 0;
        }
        if (m_ouiRegister &&
            fGiveBack(TakeBackRegister, *m_ouiRegister,
                      {{"device", uiDevice}, {"register", REG_PROGRESS_BAR_RUNNING}, {"held", *m_ouiRegister}}))
            m_ouiRegister.reset();
        return oLeft;
    }

    void LeaveOut(EScope eScope, KUINT32 uiDevice, const std::string& strWhy)
    {
        for (const SCheck& roCheck : GetChecks(eScope))
            Add(roCheck, uiDevice, NOT_TRIED, strWhy);
    }

    void Add(const SCheck& roCheck, KUINT32 uiDevice, const std::string& strResult, const std::string& strCame)
    {
        m_oChecks.push_back(
            {{"name", roCheck.pszName}, {"result", strResult}, {"expected", roCheck.pszExpected}, {"came", strCame}});
        if (uiDevice != 0)
            m_oChecks.back()["device"] = uiDevice;
    }

    const SRequest&        m_roRequest;
    TrialRunner            m_oRunner;
    Json                   m_oReport;
    Json                   m_oChecks   = Json::array();
    KUINT32                m_uiDevices = 0;
    std::string            m_strNoDevice;
    std::map<KUINT32, int> m_aiTaken;  // how often each output was taken and not given back
    std::optional<KUINT32> m_ouiRegister;
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
    return bRefused || !roReport["left"].empty() || std::ranges::any_of(roReport["checks"], Fails) ? SOMETHING_FAILS
                                                                                                   : HOLDS_ALL;
}
}
