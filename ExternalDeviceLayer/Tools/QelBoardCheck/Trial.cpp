#include "Trial.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "TavrinLoader.h"
#include "TavrinStatus.h"

namespace BoardCheck
{
namespace
{
constexpr std::chrono::seconds WAIT_FOR_OTHER = std::chrono::hours(1);

Trial* s_poTrial = nullptr;
}

std::string DescribeStatus(TStatus eStatus)
{
    const char* const pszName    = FindStatusName(eStatus);
    std::string       strMeaning = pszName != nullptr ? "TStatus_" + std::string(pszName) : "";
    if (eStatus == TStatus_RESOURCES_BUSY)
        strMeaning += ": another process holds it";
    if (eStatus < 0 && (eStatus & 0xff) == 0)  // a run ends with the low byte
        strMeaning = "which looks like success in an exit status";
    return std::to_string(eStatus) + (strMeaning.empty() ? "" : " (" + strMeaning + ")");
}

Trial::Trial(int iMessages, int iStop, const std::set<std::string>& roHanging, std::chrono::seconds oCallLimit)
    : m_iMessages(iMessages), m_iStop(iStop), m_roHanging(roHanging), m_oCallLimit(oCallLimit)
{
    s_poTrial               = this;
    g_pfnTavrinCallObserver = Observe;
}

Trial::~Trial()
{
    g_pfnTavrinCallObserver = nullptr;
    s_poTrial               = nullptr;
}

void Trial::At(const char* pszWhat, std::chrono::seconds oLimit)
{
    // The trial does not outlive its parent in a call that hangs.
    alarm(static_cast<unsigned>(2 * oLimit.count()));
    Send({{"at", pszWhat}, {"limit", oLimit.count()}});
}

void Trial::BeginQuestion()
{
    m_ePhase = EPhase::Asking;
    Send({{"question", true}});
}

void Trial::Pass(const std::string& strCame)
{
    m_ePhase = EPhase::TakingBack;
    Send({{"result", HOLDS}, {"came", strCame}});
}

void Trial::Fail(const std::string& strCame)
{
    if (m_ePhase != EPhase::TakingBack)
        Send({{"result", m_ePhase == EPhase::Asking ? FAILS : NOT_TRIED}, {"came", strCame}});
    m_ePhase = EPhase::TakingBack;
    throw TrialEnded();
}

void Trial::Check(TStatus eStatus, const std::string& strWhere)
{
    if (eStatus < TStatus_OK)
        Fail(strWhere + m_strOperation + " returned " + DescribeStatus(eStatus));
}

void Trial::GiveUp(const std::string& strWhy)
{
    if (m_ePhase == EPhase::Asking)
        m_ePhase = EPhase::Preparing;
    Fail(strWhy);
}

void Trial::TakeBack(const std::function<void()>& fCall)
{
    const EPhase ePhase = std::exchange(m_ePhase, EPhase::TakingBack);
    try
    {
        fCall();
    }
    catch (const TrialEnded&)
    {}
    m_ePhase = ePhase;
}

void Trial::Tell(const char* pszName, const Json& roValue)
{
    Send({{"fact", {{pszName, roValue}}}});
}

void Trial::WaitForOther()
{
    At("waiting for the second process", WAIT_FOR_OTHER);
    Send({{"ready", true}});
    IsStopped(WAIT_FOR_OTHER);
    m_ePhase = EPhase::TakingBack;
}

void Trial::Wait(std::chrono::milliseconds oTime)
{
    At("waiting", std::chrono::ceil<std::chrono::seconds>(oTime) + m_oCallLimit);
    if (IsStopped(oTime))
        GiveUp(STOPPED);
}

void Trial::Observe(const KCHAR8* pszOperation)
{
    if (pszOperation == nullptr)
    {
        s_poTrial->At("");
        return;
    }
    Trial& roTrial = *s_poTrial;
    if (roTrial.m_ePhase != EPhase::TakingBack && roTrial.IsStopped(std::chrono::milliseconds(0)))
        roTrial.GiveUp(STOPPED);
    if (roTrial.m_ePhase != EPhase::Asking && roTrial.m_roHanging.contains(pszOperation))
        roTrial.Fail(std::string(pszOperation) + " hangs");
    roTrial.m_strOperation = pszOperation;
    roTrial.At(pszOperation);
}

// The pipe is private to the two processes, and a parent that has gone needs no message.
void Trial::Send(const Json& roMessage) const
{
    const std::string strLine = ToText(roMessage) + '\n';
    for (size_t uiSent = 0; uiSent < strLine.size();)
    {
        const ssize_t iSent = write(m_iMessages, strLine.data() + uiSent, strLine.size() - uiSent);
        if (iSent <= 0)
            return;
        uiSent += static_cast<size_t>(iSent);
    }
}

bool Trial::IsStopped(std::chrono::milliseconds oTime) const
{
    using Clock       = std::chrono::steady_clock;
    const auto oUntil = Clock::now() + oTime;
    pollfd     oStop  = {.fd = m_iStop, .events = POLLIN, .revents = 0};
    int        iReady = 0;
    do
    {
        const auto oRest = std::chrono::ceil<std::chrono::milliseconds>(oUntil - Clock::now());
        iReady           = poll(&oStop, 1, static_cast<int>(std::max(oRest.count(), std::int64_t{0})));
    } while (iReady < 0 && errno == EINTR);  // a signal of the library
    return iReady > 0;
}
}
