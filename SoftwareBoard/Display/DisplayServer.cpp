#include "DisplayServer.h"

#include <poll.h>
#include <sys/timerfd.h>
#include <systemd/sd-daemon.h>

#include <algorithm>
#include <cstdio>
#include <set>

#include "Printable.h"
#include "Refusal.h"

namespace SoftwareBoard::Display
{
namespace
{
constexpr uint64_t SECOND_NS = 1'000'000'000;
// Fallback poll, for events that inotify or udev should have reported.
constexpr uint64_t IDLE_NS    = SECOND_NS;
constexpr uint64_t FASTEST_NS = 2'000'000;  // the shortest period, whatever the timings say

constexpr uint32_t FOLDER_EVENTS = IN_MODIFY | IN_MOVED_TO | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF;
}

DisplayServer::DisplayServer(const SDisplayPlan& roPlan)
    : m_oPlan(roPlan), m_oCard(Card::Open(roPlan.strCard)),
      m_oTimer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
{
    if (!m_oTimer)
        ThrowSystemError("a timer", "timerfd_create");
    m_aoConnectors      = m_oCard.ReadConnectors();
    const auto& roNames = m_oPlan.astrConnectors;
    for (const std::string& strName : roNames)
    {
        if (std::none_of(m_aoConnectors.begin(), m_aoConnectors.end(),
                         [&](const auto& ro) { return ro.strName == strName; }))
            throw BoardError(m_oCard.GetPath() + ": there is no connector " + strName + "; --list shows them");
        if (std::count(roNames.begin(), roNames.end(), strName) > 1)
            throw BoardError("connector " + strName + " is named twice; it can show one output");
    }
    OpenBoard();
    if (roPlan.bLegacy)
        m_oCard.UseLegacyCalls();
    m_oCard.BecomeMaster();
    Assign();
}

// An output for each connector that is named or, if none is, for each one that is connected.
SBoardPlan DisplayServer::PlanBoard() const
{
    size_t uiOutputs = m_oPlan.astrConnectors.size();
    if (uiOutputs == 0)
        uiOutputs = static_cast<size_t>(
            std::count_if(m_aoConnectors.begin(), m_aoConnectors.end(), [](const SConnector& ro) { return ro.bConnected; }));
    SBoardPlan oPlan    = DefaultPlan();
    oPlan.uiOutputCount = static_cast<KUINT32>(std::clamp<size_t>(uiOutputs, 1, MAX_OUTPUTS));
    return oPlan;
}

void DisplayServer::OpenBoard()
{
    m_ooBoard.emplace(Board::ObserveOrMake(PlanBoard()));
    const Transaction oTransaction(m_ooBoard->m_oLocks);
    m_ooChanges.emplace(m_ooBoard->m_oFolder.GetPath(), FOLDER_EVENTS);
    const KUINT32 uiOutputCount = m_ooBoard->m_oState.ReadDevice(m_oPlan.uiDevice).uiOutputCount;
    if (!m_ooBoard->m_oLocks.TryServeDevice(m_oPlan.uiDevice))
        throw BoardError(m_ooBoard->m_oFolder.GetPath() + ": another display process shows device " +
                         std::to_string(m_oPlan.uiDevice));
    // Voids the verdicts of an earlier display process.
    for (KUINT32 uiOutput = 0; uiOutput < uiOutputCount; ++uiOutput)
        m_ooBoard->m_oState.WriteVerdict(oTransaction, m_oPlan.uiDevice, uiOutput, 0, EVerdict::Awaited, "");
    for (ConnectorOutput& roOutput : m_aoOutputs)
        roOutput.Renew();
    while (m_aoOutputs.size() > uiOutputCount)
    {
        m_aoOutputs.back().Darken();
        m_aoOutputs.pop_back();
    }
    while (m_aoOutputs.size() < uiOutputCount)
        m_aoOutputs.emplace_back(m_oCard);
}

const SConnector* DisplayServer::FindConnector(uint32_t uiId) const
{
    const auto i =
        std::find_if(m_aoConnectors.begin(), m_aoConnectors.end(), [&](const SConnector& ro) { return ro.uiId == uiId; });
    return i == m_aoConnectors.end() ? nullptr : &*i;
}

void DisplayServer::Assign()
{
    m_aoConnectors = m_oCard.ReadConnectors();
    std::vector<uint32_t> auiBefore;
    for (const ConnectorOutput& roOutput : m_aoOutputs)
        auiBefore.push_back(roOutput.GetConnector());
    const bool                  bAnyBefore = IsAnyConnected();
    const std::vector<uint32_t> auiNow     = AssignConnectors(m_aoConnectors, m_oPlan.astrConnectors, auiBefore);
    // An output that loses its connector goes dark now, because another one may need its CRTC.
    for (size_t uiOutput = 0; uiOutput < auiNow.size(); ++uiOutput)
    {
        if (auiNow[uiOutput] != auiBefore[uiOutput])
            m_aoOutputs[uiOutput].Connect(auiNow[uiOutput]);
    }
    // What is said of an output without a display depends on whether another one has one.
    for (ConnectorOutput& roOutput : m_aoOutputs)
    {
        if (bAnyBefore != IsAnyConnected() && roOutput.GetConnector() == 0)
            roOutput.Renew();
    }
    SayWhatIsLeft();
}

bool DisplayServer::IsAnyConnected() const
{
    return std::any_of(m_aoOutputs.begin(), m_aoOutputs.end(), [](const auto& ro) { return ro.GetConnector() != 0; });
}

// Says once which displays no output is left for.
void DisplayServer::SayWhatIsLeft()
{
    std::string strLeft;
    for (const SConnector& ro : m_aoConnectors)
    {
        const auto fShows = [&](const ConnectorOutput& roOutput) { return roOutput.GetConnector() == ro.uiId; };
        if (ro.bConnected && m_oPlan.astrConnectors.empty() && std::none_of(m_aoOutputs.begin(), m_aoOutputs.end(), fShows))
            strLeft += " " + ro.strName;
    }
    if (std::exchange(m_strLeft, strLeft) != strLeft && !strLeft.empty())
        std::fprintf(stderr, "tavrin-board: the board has no output for%s; tavrin-board create --outputs N makes more\n",
                     MakePrintable(strLeft).c_str());
}

void DisplayServer::Say(KUINT32 uiOutput, EVerdict eVerdict, const std::string& strConnector, const std::string& strReason)
{
    const Transaction oTransaction(m_ooBoard->m_oLocks);
    m_ooBoard->m_oState.WriteVerdict(oTransaction, m_oPlan.uiDevice, uiOutput, m_aoOutputs[uiOutput].GetGeneration(),
                                     eVerdict, strConnector, strReason);
}

void DisplayServer::Refuse(KUINT32 uiOutput, const std::string& strConnector, const std::string& strReason,
                           const std::string& strDetail)
{
    const std::string strLine = strConnector + (strConnector.empty() ? "" : " ") + strReason + strDetail;
    std::fprintf(stderr, "tavrin-board: output %u: %s\n", uiOutput, MakePrintable(strLine).c_str());
    Say(uiOutput, EVerdict::Refused, strConnector, strReason);
}

uint32_t DisplayServer::ChooseCrtc(const ConnectorOutput& roOutput, const SConnector& roConnector) const
{
    if (roOutput.GetCrtc() != 0)
        return roOutput.GetCrtc();
    std::vector<uint32_t> auiTaken;
    for (const ConnectorOutput& roOther : m_aoOutputs)
        auiTaken.push_back(roOther.GetCrtc());
    return m_oCard.ChooseCrtc(roConnector, m_aoConnectors, auiTaken);
}

// Outputs that show the same part of one buffer share one copy of it. The outputs of a run do.
std::shared_ptr<FollowedScreen> DisplayServer::FindOrFollow(Screen oScreen) const
try
{
    for (const ConnectorOutput& roOutput : m_aoOutputs)
    {
        const auto& rpoScreen = roOutput.GetScreen();
        if (rpoScreen == nullptr || !(rpoScreen->GetCopy().GetScreen() == oScreen))
            continue;
        rpoScreen->Update();
        if (rpoScreen->GetProblem().empty())
            return rpoScreen;
    }
    return std::make_shared<FollowedScreen>(std::move(oScreen));
}
catch (const BoardError& roError)
{
    throw Refusal(std::string("has no picture to show: ") + roError.what());
}

void DisplayServer::Light(ConnectorOutput& roOutput, const SConnector& roConnector, Screen oScreen)
{
    const auto ooMode = MakeMode(oScreen.GetOutput().oVidParam);
    if (!ooMode)
        throw Refusal("has no mode of such timings, which take more than 16 bits");
    const uint32_t uiCrtc = ChooseCrtc(roOutput, roConnector);
    if (uiCrtc == 0)
        throw Refusal("has nothing left on the card to feed it");
    roOutput.Light(roConnector, uiCrtc, *ooMode, FindOrFollow(std::move(oScreen)));
}

// An output without a display does not keep a run from the displays that are there.
void DisplayServer::LeaveWithout(KUINT32 uiOutput, bool bEnabled)
{
    constexpr char REASON[] = "no display is connected for it";
    const bool     bRefused = m_oPlan.bEveryOutput || !IsAnyConnected();
    if (bEnabled && bRefused)
        Refuse(uiOutput, "", REASON, IsAnyConnected() ? "; connect one, or leave out --every-output" : "; connect one");
    else
        Say(uiOutput, bRefused ? EVerdict::Refused : EVerdict::NoDisplay, "", REASON);
    if (bEnabled && !bRefused)
        std::fprintf(stderr, "tavrin-board: output %u: %s; it stays dark until one is\n", uiOutput, REASON);
}

void DisplayServer::TakeUp(KUINT32 uiOutput)
{
    ConnectorOutput&      roOutput = m_aoOutputs[uiOutput];
    SOutputRecord         oRecord;
    std::optional<Screen> ooScreen;
    std::string           strLost;
    {
        const Transaction oTransaction(m_ooBoard->m_oLocks);
        oRecord = m_ooBoard->m_oState.ReadOutput(oTransaction, m_oPlan.uiDevice, uiOutput);
        try
        {
            if (oRecord.bEnabled == TRUE)
                ooScreen.emplace(oTransaction, m_ooBoard->m_oFolder, m_ooBoard->m_oState, oRecord);
        }
        catch (const BoardError& roError)
        {
            strLost = roError.what();
        }
    }
    if (m_ooBoard->m_oState.IsReplaced())
        return;  // the new board is followed next
    // Not every driver reports that a display was plugged in.
    if (roOutput.GetConnector() == 0)
        Assign();
    roOutput.TakeUp(oRecord.uiGeneration);

    const SConnector* const poConnector = FindConnector(roOutput.GetConnector());
    if (oRecord.bEnabled == FALSE || poConnector == nullptr)
        roOutput.Darken();
    if (poConnector == nullptr)
        return LeaveWithout(uiOutput, oRecord.bEnabled == TRUE);
    if (oRecord.bEnabled == FALSE)
        return Say(uiOutput, EVerdict::Shown, poConnector->strName);
    if (!ooScreen)
        return Refuse(uiOutput, poConnector->strName, "has no picture to show: " + strLost);
    try
    {
        Light(roOutput, *poConnector, std::move(*ooScreen));
        Say(uiOutput, EVerdict::Shown, poConnector->strName);
    }
    catch (const Refusal& roRefusal)
    {
        const auto        ooMode  = MakeMode(oRecord.oVidParam);
        const std::string strMode = ooMode ? std::to_string(poConnector->uiId) + ":" + DescribeMode(*ooMode) : "too large";
        Refuse(uiOutput, poConnector->strName, roRefusal.what(), "; the mode: -s " + strMode);
    }
}

void DisplayServer::FollowBoard()
{
    if (m_ooBoard->m_oState.IsReplaced())
    {
        OpenBoard();
        Assign();
    }
    for (KUINT32 uiOutput = 0; uiOutput < m_aoOutputs.size(); ++uiOutput)
    {
        if (!m_aoOutputs[uiOutput].HasTakenUp(m_ooBoard->m_oState.ReadGeneration(m_oPlan.uiDevice, uiOutput)))
            TakeUp(uiOutput);
    }
}

void DisplayServer::FollowScreens()
{
    std::set<FollowedScreen*> oScreens;  // each once, however many outputs show it
    for (const ConnectorOutput& roOutput : m_aoOutputs)
        oScreens.insert(roOutput.GetScreen().get());
    oScreens.erase(nullptr);
    for (FollowedScreen* const poScreen : oScreens)
        poScreen->Update();
    for (KUINT32 uiOutput = 0; uiOutput < m_aoOutputs.size(); ++uiOutput)
    {
        const std::optional<std::string> ostrProblem = m_aoOutputs[uiOutput].Follow();
        if (!ostrProblem)
            continue;
        const std::string strConnector = FindConnector(m_aoOutputs[uiOutput].GetConnector())->strName;
        if (ostrProblem->empty())
            Say(uiOutput, EVerdict::Shown, strConnector);
        else
            Refuse(uiOutput, strConnector, *ostrProblem);
    }
}

// While somebody draws, the timer ticks as often as the fastest display refreshes. Otherwise it ticks once a second.
void DisplayServer::SetTimer()
{
    uint64_t uiPeriodNs = IDLE_NS;
    for (const ConnectorOutput& roOutput : m_aoOutputs)
        uiPeriodNs = std::min(uiPeriodNs, std::max(roOutput.GetPeriodNs().value_or(IDLE_NS), FASTEST_NS));
    if (std::exchange(m_uiPeriodNs, uiPeriodNs) == uiPeriodNs)
        return;
    const timespec   oPeriod = {static_cast<time_t>(uiPeriodNs / SECOND_NS), static_cast<long>(uiPeriodNs % SECOND_NS)};
    const itimerspec oTimes  = {oPeriod, oPeriod};
    timerfd_settime(m_oTimer.Get(), 0, &oTimes, nullptr);
}

void DisplayServer::ServeUntilReadable(int iEnd)
{
    time_t iSecond = -1;
    FollowBoard();
    sd_notify(0, "READY=1");
    for (;;)
    {
        SetTimer();
        pollfd aoWaits[] = {{.fd = iEnd, .events = POLLIN},
                            {.fd = m_oCard.GetFd(), .events = POLLIN},
                            {.fd = m_oHotPlug.GetFd(), .events = POLLIN},
                            {.fd = m_ooChanges->GetDescriptor(), .events = POLLIN},
                            {.fd = m_oTimer.Get(), .events = POLLIN}};
        if (poll(aoWaits, std::size(aoWaits), -1) < 0 && errno != EINTR)
            ThrowSystemError("waiting", "poll");
        if (aoWaits[0].revents != 0)
            return;
        if (aoWaits[1].revents != 0)
            m_oCard.TakeFlips();
        const bool bPlugged = aoWaits[2].revents != 0 && m_oHotPlug.Take();
        if (bPlugged)
            Assign();
        uint64_t   uiTimes  = 0;
        const bool bChanged = m_ooChanges->Take();
        const bool bTick    = read(m_oTimer.Get(), &uiTimes, sizeof(uiTimes)) > 0;
        timespec   oNow     = {};
        clock_gettime(CLOCK_MONOTONIC_COARSE, &oNow);
        if (std::exchange(iSecond, oNow.tv_sec) != oNow.tv_sec || bPlugged || bChanged)
            FollowBoard();
        if (bTick)
            FollowScreens();
    }
}
}
