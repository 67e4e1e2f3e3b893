#include "TrialProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <system_error>
#include <thread>

#include "StopSignals.h"

namespace BoardCheck
{
namespace
{
struct SPipe
{
    SPipe()
    {
        int aiFiles[2];
        if (pipe2(aiFiles, O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        oRead  = Descriptor(aiFiles[0]);
        oWrite = Descriptor(aiFiles[1]);
    }
    Descriptor oRead;
    Descriptor oWrite;
};
}

TrialProcess::TrialProcess(const TryFunction& fTry, std::set<std::string>& roHanging, std::chrono::seconds oCallLimit,
                           const sigset_t& roMask)
    : m_roHanging(roHanging), m_oCallLimit(oCallLimit), m_oMask(roMask), m_uiLimitS(static_cast<KUINT32>(oCallLimit.count()))
{
    SPipe oMessages, oStop;
    m_iPid = fork();
    if (m_iPid < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (m_iPid == 0)
    {
        oMessages.oRead.Close();
        oStop.oWrite.Close();
        RunChild(fTry, oMessages.oWrite.Get(), oStop.oRead.Get());
    }
    setpgid(m_iPid, m_iPid);
    m_oMessages = std::move(oMessages.oRead);
    m_oStop     = std::move(oStop.oWrite);
}

TrialProcess::~TrialProcess()
{
    Stop();
    try
    {
        Finish();
    }
    catch (...)  // what the child says cannot be read; it takes back what it made all the same
    {}
}

void TrialProcess::RunChild(const TryFunction& fTry, int iMessages, int iStop) const
{
    setpgid(0, 0);
    for (const int iSignal : STOP_SIGNALS)  // the parent stops its child through the pipe
        std::signal(iSignal, SIG_IGN);
    sigprocmask(SIG_SETMASK, &m_oMask, nullptr);
    const rlimit oNoCore = {0, 0};
    setrlimit(RLIMIT_CORE, &oNoCore);
    dup2(STDERR_FILENO, STDOUT_FILENO);  // what the library prints does not mix with the report
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try
    {
        Trial oTrial(iMessages, iStop, m_roHanging, m_oCallLimit);
        try
        {
            fTry(oTrial);
        }
        catch (const std::exception& roError)  // no memory for a picture
        {
            oTrial.GiveUp(roError.what());
        }
    }
    catch (const TrialEnded&)
    {}
    _exit(0);
}

bool TrialProcess::IsReady()
{
    while (!m_bReady && ReadMore())
        ;
    return m_bReady;
}

STrialOutcome TrialProcess::Finish()
{
    while (ReadMore())
        ;
    if (m_oOutcome.strResult.empty())
    {
        m_oOutcome.strResult = m_bQuestion ? FAILS : NOT_TRIED;
        m_oOutcome.strCame   = DescribeEnd();
    }
    return m_oOutcome;
}

bool TrialProcess::ReadMore()
{
    if (m_iPid < 0)
        return false;
    if (GetStopSignal() != 0)
        Stop();

    pollfd         oMessages = {.fd = m_oMessages.Get(), .events = POLLIN, .revents = 0};
    const timespec oLimit    = {.tv_sec = m_uiLimitS, .tv_nsec = 0};
    const int      iReady    = ppoll(&oMessages, 1, &oLimit, &m_oMask);
    if (iReady < 0)  // a signal
        return true;

    char          acRead[4096];
    const ssize_t iRead = iReady == 0 ? 0 : read(m_oMessages.Get(), acRead, sizeof(acRead));
    if (iRead <= 0)
    {
        // The library has the pipe too: a process that it has started may keep it open after the child has ended, and the
        // child may go on without it.
        m_bHangs = !EndsWithin(iReady == 0 ? 0 : m_uiLimitS);
        Reap();
        return false;
    }
    m_strUnread.append(acRead, static_cast<size_t>(iRead));
    for (size_t uiEnd; (uiEnd = m_strUnread.find('\n')) != std::string::npos; m_strUnread.erase(0, uiEnd + 1))
    {
        // The library has the pipe too. A line of a shape that no trial sends counts as not written.
        try
        {
            Take(Json::parse(m_strUnread.substr(0, uiEnd)));
        }
        catch (const Json::exception&)
        {}
    }
    return true;
}

void TrialProcess::Take(const Json& roMessage)
{
    if (roMessage.contains("at"))
    {
        const auto uiLimitS = roMessage.at("limit").get<KUINT32>();
        m_strAt             = roMessage["at"];
        m_uiLimitS          = uiLimitS;
    }
    else if (roMessage.contains("question"))
        m_bQuestion = true;
    else if (roMessage.contains("ready"))
        m_bReady = true;
    else if (roMessage.contains("fact") && roMessage["fact"].is_object())
        m_oOutcome.aoFacts.push_back(roMessage["fact"]);
    else if (roMessage.contains("result"))
    {
        const auto strResult = roMessage["result"].get<std::string>();
        m_oOutcome.strCame   = roMessage.at("came");
        m_oOutcome.strResult = strResult;
    }
}

bool TrialProcess::EndsWithin(KUINT32 uiSeconds) const
{
    const auto oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(uiSeconds);
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1)))
    {
        siginfo_t oInfo = {};
        if (waitid(P_PID, static_cast<id_t>(m_iPid), &oInfo, WEXITED | WNOHANG | WNOWAIT) != 0 || oInfo.si_pid != 0)
            return true;
        if (std::chrono::steady_clock::now() >= oEnd)
            return false;
    }
}

void TrialProcess::Reap()
{
    if (m_bHangs)
    {
        m_roHanging.insert(m_strAt);
        kill(m_iPid, SIGKILL);
    }
    // What the library has started in the child's group ends before the child is reaped: until then the number is its own.
    kill(-m_iPid, SIGKILL);
    waitpid(m_iPid, &m_iStatus, 0);
    m_iPid = -1;
}

std::string TrialProcess::DescribeEnd() const
{
    const std::string strAt = m_strAt.empty() ? "the trial" : m_strAt;
    if (m_bHangs)
        return strAt + " hangs: it does not return within " + std::to_string(m_uiLimitS) + " s";
    if (WIFSIGNALED(m_iStatus))
        return strAt + " crashes (SIG" + sigabbrev_np(WTERMSIG(m_iStatus)) + ")";
    return strAt + " ends the process (exit status " + std::to_string(WEXITSTATUS(m_iStatus)) + ")";
}
}
