#include "DisplayServer.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cstdio>

#include "PixelFiles.h"
#include "Printable.h"

namespace SoftwareBoard::Display
{
namespace
{
constexpr uint64_t uiIdleNs    = 1'000'000'000;  // between looks at what should be told without
constexpr uint64_t uiFastestNs = 2'000'000;      // and at pictures, whatever their timings ask for

void Complain(KUINT32 uiOutput, const std::string& strWhy)
{
    std::fprintf(stderr, "tavrin-board: output %u: %s\n", uiOutput, MakePrintable(strWhy).c_str());
}

// All that end a process. A fault of its own ends it in spite of that, and the kernel then puts the console back.
FileDescriptor BlockSignals()
{
    sigset_t oSignals;
    sigfillset(&oSignals);
    for (const int iSignal : {SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH, SIGPIPE, SIGXFSZ})
        sigdelset(&oSignals, iSignal);
    signal(SIGPIPE, SIG_IGN);  // nobody reads what it says: no reason to go dark
    struct sigaction oHangUp = {};
    if (sigaction(SIGHUP, nullptr, &oHangUp) == 0 && oHangUp.sa_handler == SIG_IGN)
        sigdelset(&oSignals, SIGHUP);  // started to outlive its terminal
    FileDescriptor oFd(sigprocmask(SIG_BLOCK, &oSignals, nullptr) == 0 ? signalfd(-1, &oSignals, SFD_CLOEXEC) : -1);
    if (!oFd)
        ThrowSystemError("signals", "signalfd");
    return oFd;
}
}

DisplayServer::SFollowed::SFollowed(const SOutputRecord& roOutput, FileDescriptor oPixels)
    : oPicture(roOutput, std::move(oPixels)), oDrawing(oPicture.GetFile().Get(), roOutput.iHolderPid)
{
    oPicture.Update();
}

void DisplayServer::SFollowed::Update()
try
{
    if (strTrouble.empty() && oDrawing.MayHaveDrawn())
        oPicture.Update();
}
catch (const BoardError& roError)
{
    strTrouble = roError.what();  // the display goes on showing what it showed
}

DisplayServer::DisplayServer(const SDisplayPlan& roPlan)
    : m_oPlan(roPlan), m_oCard(Card::Open(roPlan.strCard)), m_oSignals(BlockSignals()),
      m_oTimer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
{
    if (!m_oTimer)
        ThrowSystemError("a timer", "timerfd_create");
    OpenBoard();
    m_oConnectors = m_oCard.ReadConnectors();
    for (const std::string& strName : m_oPlan.oConnectors)
    {
        if (std::none_of(m_oConnectors.begin(), m_oConnectors.end(), [&](const auto& ro) { return ro.strName == strName; }))
            throw BoardError(m_oCard.GetPath() + ": there is no connector " + strName + "; --list shows them");
        if (std::count(m_oPlan.oConnectors.begin(), m_oPlan.oConnectors.end(), strName) > 1)
            throw BoardError("connector " + strName + " is named twice; it can show one output");
    }
    if (roPlan.bLegacy)
        m_oCard.UseLegacyCalls();
    m_oCard.BecomeMaster();  // from here on there is something to restore
    Assign();
}

DisplayServer::~DisplayServer()
{
    m_oCard.Restore();
}

void DisplayServer::OpenBoard()
{
    Board                         oNew = Board::ObserveOrMake();
    const BoardLocks::Transaction oTransaction(oNew.m_oLocks);  // nobody sees the device unserved meanwhile
    m_ooBoard.reset();  // with its lock, which otherwise stood in the way of the new one
    m_ooBoard.emplace(std::move(oNew));
    m_ooWatch.emplace(m_ooBoard->m_oFolder.GetPath());
    const KUINT32 uiOutputCount = m_ooBoard->m_oState.ReadDevice(m_oPlan.uiDevice).uiOutputCount;
    if (!m_ooBoard->m_oLocks.TryServeDevice(m_oPlan.uiDevice))
        throw BoardError(m_ooBoard->m_oFolder.GetPath() + ": another display process shows device " +
                         std::to_string(m_oPlan.uiDevice));
    // What the last display process said is true no more.
    for (KUINT32 uiOutput = 0; uiOutput < uiOutputCount; ++uiOutput)
        m_ooBoard->m_oState.WriteVerdict(m_oPlan.uiDevice, uiOutput, 0, EVerdict::Awaited, "");
    for (SOutput& roOutput : m_oOutputs)
        roOutput.bTaken = false;
    while (m_oOutputs.size() > uiOutputCount)
    {
        Darken(m_oOutputs.back());
        m_oOutputs.pop_back();
    }
    m_oOutputs.resize(uiOutputCount);
}

const SConnector* DisplayServer::FindConnector(uint32_t uiId) const
{
    const auto oFound =
        std::find_if(m_oConnectors.begin(), m_oConnectors.end(), [&](const SConnector& ro) { return ro.uiId == uiId; });
    return oFound == m_oConnectors.end() ? nullptr : &*oFound;
}

void DisplayServer::Assign()
{
    m_oConnectors = m_oCard.ReadConnectors();
    std::vector<uint32_t> oBefore;
    for (const SOutput& roOutput : m_oOutputs)
        oBefore.push_back(roOutput.uiConnector);
    const std::vector<uint32_t> oNow = AssignConnectors(m_oConnectors, m_oPlan.oConnectors, oBefore);
    // First those that are let go, for their CRTCs may be needed.
    for (size_t uiOutput = 0; uiOutput < oNow.size(); ++uiOutput)
    {
        SOutput& roOutput = m_oOutputs[uiOutput];
        if (oNow[uiOutput] == roOutput.uiConnector)
            continue;
        Darken(roOutput);
        roOutput.uiConnector = oNow[uiOutput];
        roOutput.bTaken      = false;
    }
}

void DisplayServer::Darken(SOutput& roOutput) const
{
    if (roOutput.poScanout != nullptr)
        m_oCard.TurnOff(roOutput.poScanout->GetCrtc());
    roOutput.poScanout.reset();
    roOutput.poFollowed.reset();
}

void DisplayServer::Say(KUINT32 uiOutput, EVerdict eVerdict, const std::string& strText)
{
    const BoardLocks::Transaction oTransaction(m_ooBoard->m_oLocks);
    m_ooBoard->m_oState.WriteVerdict(m_oPlan.uiDevice, uiOutput, m_oOutputs[uiOutput].uiGeneration, eVerdict, strText);
}

std::vector<uint32_t> DisplayServer::FindTaken(const SOutput& roButOf) const
{
    std::vector<uint32_t> oTaken;
    for (const SOutput& roOutput : m_oOutputs)
    {
        if (&roOutput != &roButOf && roOutput.poScanout != nullptr)
            oTaken.push_back(roOutput.poScanout->GetCrtc());
    }
    return oTaken;
}

std::shared_ptr<DisplayServer::SFollowed> DisplayServer::Follow(const SOutputRecord& roRecord, FileDescriptor oPixels) const
{
    // Outputs that show one buffer at one size, as a run's do, look at it once.
    for (const SOutput& roOutput : m_oOutputs)
    {
        if (roOutput.poFollowed != nullptr && roOutput.poFollowed->strTrouble.empty() &&
            roOutput.poFollowed->oPicture.IsOf(roRecord, oPixels))
        {
            roOutput.poFollowed->oPicture.Update();
            return roOutput.poFollowed;
        }
    }
    return std::make_shared<SFollowed>(roRecord, std::move(oPixels));
}

std::string DisplayServer::Light(KUINT32 uiOutput, const SOutputRecord& roRecord, FileDescriptor oPixels,
                                 const SConnector& roConnector)
{
    SOutput&   roOutput = m_oOutputs[uiOutput];
    const auto ooMode   = MakeMode(roRecord.oVidParam);
    try
    {
        if (!ooMode)
            throw BoardError("has no mode of such timings, which take more than 16 bits");
        const uint32_t uiCrtc = roOutput.poScanout != nullptr
                                    ? roOutput.poScanout->GetCrtc()
                                    : m_oCard.ChooseCrtc(roConnector, m_oConnectors, FindTaken(roOutput));
        if (uiCrtc == 0)
            throw BoardError("has nothing left on the card to feed it");
        const auto poFollowed = Follow(roRecord, std::move(oPixels));
        const auto fLight     = [&] {
            return std::make_unique<Scanout>(m_oCard, roConnector, uiCrtc, *ooMode, poFollowed->oPicture);
        };
        try
        {
            roOutput.poScanout = fLight();
        }
        catch (const NoMemoryOnCard&)
        {
            if (roOutput.poScanout == nullptr)
                throw;
            Darken(roOutput);  // what it shows takes the place
            roOutput.poScanout = fLight();
        }
        roOutput.poFollowed = poFollowed;
        return "";
    }
    catch (const BoardError& roError)
    {
        const std::string strMode = ooMode ? std::to_string(roConnector.uiId) + ":" + DescribeMode(*ooMode) : "too large";
        Complain(uiOutput, roConnector.strName + " " + roError.what() + "; the mode: -s " + strMode);
        return roError.what();
    }
}

void DisplayServer::TakeUp(KUINT32 uiOutput)
{
    SOutput&       roOutput = m_oOutputs[uiOutput];
    SOutputRecord  oRecord;
    FileDescriptor oPixels;
    std::string    strTrouble;
    {
        const BoardLocks::Transaction oTransaction(m_ooBoard->m_oLocks);
        oRecord = m_ooBoard->m_oState.ReadOutput(m_oPlan.uiDevice, uiOutput);
        try
        {
            if (oRecord.bEnabled == TRUE)
                oPixels = OpenPixelFile(*m_ooBoard, oRecord.uiPixelFile);
        }
        catch (const BoardError& roError)
        {
            strTrouble = roError.what();
        }
    }
    // Not every driver tells of what is plugged in.
    if (roOutput.uiConnector == 0)
        Assign();
    roOutput.bTaken       = true;
    roOutput.uiGeneration = oRecord.uiGeneration;
    roOutput.strTrouble.clear();

    const SConnector* const poConnector = FindConnector(roOutput.uiConnector);
    if (oRecord.bEnabled == FALSE || poConnector == nullptr)
        Darken(roOutput);
    if (poConnector == nullptr)
    {
        const std::string strWhy = "no display is connected for it";
        if (oRecord.bEnabled == TRUE)
            Complain(uiOutput, strWhy);
        return Say(uiOutput, EVerdict::Refused, strWhy);
    }
    if (oRecord.bEnabled == TRUE && strTrouble.empty())
        strTrouble = Light(uiOutput, oRecord, std::move(oPixels), *poConnector);
    if (strTrouble.empty())
        return Say(uiOutput, EVerdict::Shown, poConnector->strName);
    Say(uiOutput, EVerdict::Refused, poConnector->strName + " " + strTrouble);
}

void DisplayServer::FollowBoard()
{
    if (m_ooBoard->m_oState.IsReplaced())
    {
        OpenBoard();
        Assign();
    }
    for (KUINT32 uiOutput = 0; uiOutput < m_oOutputs.size(); ++uiOutput)
    {
        const SOutput& ro = m_oOutputs[uiOutput];
        if (!ro.bTaken || ro.uiGeneration != m_ooBoard->m_oState.ReadGeneration(m_oPlan.uiDevice, uiOutput))
            TakeUp(uiOutput);
    }
}

void DisplayServer::FollowPictures()
{
    for (KUINT32 uiOutput = 0; uiOutput < m_oOutputs.size(); ++uiOutput)
    {
        SOutput& roOutput = m_oOutputs[uiOutput];
        if (roOutput.poScanout == nullptr)
            continue;
        roOutput.poFollowed->Update();
        std::string strTrouble = roOutput.poFollowed->strTrouble;
        try
        {
            roOutput.poScanout->Show(roOutput.poFollowed->oPicture);
        }
        catch (const BoardError& roError)
        {
            strTrouble = roError.what();
        }
        if (std::exchange(roOutput.strTrouble, strTrouble) == strTrouble)
            continue;
        if (strTrouble.empty())
        {
            Say(uiOutput, EVerdict::Shown, FindConnector(roOutput.uiConnector)->strName);
            continue;
        }
        Complain(uiOutput, strTrouble);
        Say(uiOutput, EVerdict::Refused, strTrouble);
    }
}

// As often as the fastest display refreshes while somebody draws; otherwise it is enough to wait to be told.
void DisplayServer::SetPace()
{
    uint64_t uiPeriodNs = uiIdleNs;
    for (const SOutput& ro : m_oOutputs)
    {
        if (ro.poScanout != nullptr &&
            (!ro.poFollowed->oDrawing.IsGone() || ro.poScanout->IsBehind(ro.poFollowed->oPicture)))
            uiPeriodNs = std::min(uiPeriodNs, std::max(ro.poScanout->GetRefreshNs(), uiFastestNs));
    }
    if (std::exchange(m_uiPeriodNs, uiPeriodNs) == uiPeriodNs)
        return;
    constexpr uint64_t uiSecond = 1'000'000'000;
    const timespec     oPeriod  = {static_cast<time_t>(uiPeriodNs / uiSecond), static_cast<long>(uiPeriodNs % uiSecond)};
    const itimerspec   oTimes   = {oPeriod, oPeriod};
    timerfd_settime(m_oTimer.Get(), 0, &oTimes, nullptr);
}

void DisplayServer::Serve()
{
    time_t iSecond = -1;
    FollowBoard();
    for (;;)
    {
        SetPace();
        pollfd aoWaits[] = {{m_oSignals.Get(), POLLIN, 0},
                            {m_oCard.GetFd(), POLLIN, 0},
                            {m_oHotPlug.GetFd(), POLLIN, 0},
                            {m_ooWatch->GetFd(), POLLIN, 0},
                            {m_oTimer.Get(), POLLIN, 0}};
        if (poll(aoWaits, std::size(aoWaits), -1) < 0 && errno != EINTR)
            ThrowSystemError("waiting", "poll");
        if (aoWaits[0].revents != 0)
            return;
        if (aoWaits[1].revents != 0)
            Scanout::TakeFlips(m_oCard);
        const bool bPlugged = aoWaits[2].revents != 0 && m_oHotPlug.Take();
        if (bPlugged)
            Assign();
        uint64_t   uiTimes = 0;
        const bool bTold   = m_ooWatch->Take();
        const bool bTick   = read(m_oTimer.Get(), &uiTimes, sizeof(uiTimes)) > 0;
        timespec   oNow    = {};
        clock_gettime(CLOCK_MONOTONIC_COARSE, &oNow);
        if (std::exchange(iSecond, oNow.tv_sec) != oNow.tv_sec || bPlugged || bTold)
            FollowBoard();
        if (bTick)
            FollowPictures();
    }
}
}
