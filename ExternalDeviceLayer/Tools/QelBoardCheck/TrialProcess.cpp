#include "TrialProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <system_error>
#include <utility>

namespace BoardCheck
{
namespace
{
constexpr char STOPPED[] = "stopped by a signal";

std::atomic<int> s_iStopSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

void TakeSignal(int iSignal)
{
    int iNone = 0;
    s_iStopSignal.compare_exchange_strong(iNone, iSignal);
}

class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int iFile) : m_iFile(iFile) {}
    Descriptor(Descriptor&& roOther) noexcept : m_iFile(std::exchange(roOther.m_iFile, -1)) {}
    Descriptor& operator=(Descriptor&& roOther) noexcept { return std::swap(m_iFile, roOther.m_iFile), *this; }
    ~Descriptor() { Close(); }

    int  Get() const { return m_iFile; }
    void Close()
    {
        if (m_iFile >= 0)
            close(std::exchange(m_iFile, -1));
    }

private:
    int m_iFile = -1;
};

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

// A child that makes one trial. It runs in a process group of its own: a signal from the terminal reaches its parent only,
// and a library's processes end with it.
class TrialProcess
{
public:
    TrialProcess(const TryFunction& fTry, std::set<std::string>& roHanging, const sigset_t& roMask);
    ~TrialProcess();

    // Reads on until the child is ready for the second process; false if it has ended instead.
    bool IsReady();

    // Tells the child to stop, if it is not over by then.
    void Stop() { m_oStop.Close(); }

    STrialOutcome Finish();

private:
    [[noreturn]] static void RunChild(const TryFunction& fTry, int iMessages, int iStop,
                                      const std::set<std::string>& roHanging, const sigset_t& roMask);
    bool                     ReadMore();  // false when the child has ended
    void                     Take(const Json& roMessage);
    void                     Reap();
    std::string              DescribeEnd() const;

    std::set<std::string>& m_roHanging;
    sigset_t               m_oMask;
    pid_t                  m_iPid = -1;
    Descriptor             m_oMessages;
    Descriptor             m_oStop;
    std::string            m_strUnread;
    std::string            m_strAt;
    KUINT32                m_uiLimitS  = CALL_TIME_LIMIT.count();
    bool                   m_bQuestion = false;
    bool                   m_bReady    = false;
    bool                   m_bHangs    = false;
    int                    m_iStatus   = 0;  // as waitpid gives it
    STrialOutcome          m_oOutcome;
};

TrialProcess::TrialProcess(const TryFunction& fTry, std::set<std::string>& roHanging, const sigset_t& roMask)
    : m_roHanging(roHanging), m_oMask(roMask)
{
    SPipe oMessages, oStop;
    m_iPid = fork();
    if (m_iPid < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (m_iPid == 0)
    {
        oMessages.oRead.Close();
        oStop.oWrite.Close();
        RunChild(fTry, oMessages.oWrite.Get(), oStop.oRead.Get(), roHanging, roMask);
    }
    setpgid(m_iPid, m_iPid);
    m_oMessages = std::move(oMessages.oRead);
    m_oStop     = std::move(oStop.oWrite);
}

TrialProcess::~TrialProcess()
{
    Stop();
    while (ReadMore())
        ;
}

void TrialProcess::RunChild(const TryFunction& fTry, int iMessages, int iStop, const std::set<std::string>& roHanging,
                            const sigset_t& roMask)
{
    setpgid(0, 0);
    for (const int iSignal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP})  // the parent stops its child through the pipe
        std::signal(iSignal, SIG_IGN);
    sigprocmask(SIG_SETMASK, &roMask, nullptr);
    const rlimit oNoCore = {0, 0};
    setrlimit(RLIMIT_CORE, &oNoCore);
    dup2(STDERR_FILENO, STDOUT_FILENO);  // what the library prints does not mix with the report
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try
    {
        Trial oTrial(iMessages, iStop, roHanging);
        fTry(oTrial);
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
    if (s_iStopSignal != 0)
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
        // A process that the library has started may keep the pipe open after the child has ended.
        siginfo_t oInfo = {};
        m_bHangs = iReady == 0 && waitid(P_PID, static_cast<id_t>(m_iPid), &oInfo, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                   oInfo.si_pid == 0;
        Reap();
        return false;
    }
    m_strUnread.append(acRead, static_cast<size_t>(iRead));
    for (size_t uiEnd; (uiEnd = m_strUnread.find('\n')) != std::string::npos; m_strUnread.erase(0, uiEnd + 1))
    {
        const Json oMessage = Json::parse(m_strUnread.substr(0, uiEnd), nullptr, false);
        if (oMessage.is_object())
            Take(oMessage);
    }
    return true;
}

void TrialProcess::Take(const Json& roMessage)
{
    if (roMessage.contains("at"))
    {
        m_strAt    = roMessage["at"];
        m_uiLimitS = roMessage["limit"];
    }
    else if (roMessage.contains("question"))
        m_bQuestion = true;
    else if (roMessage.contains("ready"))
        m_bReady = true;
    else if (roMessage.contains("fact"))
        m_oOutcome.aoFacts.push_back(roMessage["fact"]);
    else if (roMessage.contains("result"))
    {
        m_oOutcome.strResult = roMessage["result"];
        m_oOutcome.strCame   = roMessage["came"];
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
    siginfo_t oInfo = {};
    while (waitid(P_PID, static_cast<id_t>(m_iPid), &oInfo, WEXITED | WNOWAIT) != 0 && errno == EINTR)
        ;
    kill(-m_iPid, SIGKILL);
    while (waitpid(m_iPid, &m_iStatus, 0) < 0 && errno == EINTR)
        ;
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

TrialRunner::TrialRunner()
{
    sigset_t oTaken = {};
    sigemptyset(&oTaken);
    for (size_t i = 0; i < std::size(STOP_SIGNALS); ++i)
    {
        struct sigaction oAction = {};
        oAction.sa_handler       = TakeSignal;
        sigaction(STOP_SIGNALS[i], &oAction, &m_aoActionsBefore[i]);
        // Under nohup SIGHUP stays ignored. The others are taken even if ignored: shells start background jobs so, but a
        // person may send one.
        if (STOP_SIGNALS[i] == SIGHUP && m_aoActionsBefore[i].sa_handler == SIG_IGN)
            std::signal(SIGHUP, SIG_IGN);
        sigaddset(&oTaken, STOP_SIGNALS[i]);
    }
    sigprocmask(SIG_BLOCK, &oTaken, &m_oMaskBefore);  // they arrive in ppoll
    for (const int iSignal : STOP_SIGNALS)
        sigdelset(&m_oMaskBefore, iSignal);
}

// Signals that still wait are delivered now. Later ones have their old effect: there is nothing to take back any more.
TrialRunner::~TrialRunner()
{
    sigprocmask(SIG_SETMASK, &m_oMaskBefore, nullptr);
    for (size_t i = 0; i < std::size(STOP_SIGNALS); ++i)
        sigaction(STOP_SIGNALS[i], &m_aoActionsBefore[i], nullptr);
}

STrialOutcome TrialRunner::Run(const TryFunction& fTry, const TryFunction& fSecond)
{
    if (GetStopSignal() != 0)
        return {NOT_TRIED, STOPPED, {}};

    TrialProcess oFirst(fTry, m_astrHanging, m_oMaskBefore);
    if (fSecond == nullptr || !oFirst.IsReady())
        return oFirst.Finish();

    STrialOutcome oOutcome = TrialProcess(fSecond, m_astrHanging, m_oMaskBefore).Finish();
    oFirst.Stop();
    const STrialOutcome oEnd = oFirst.Finish();
    oOutcome.aoFacts.insert(oOutcome.aoFacts.begin(), oEnd.aoFacts.begin(), oEnd.aoFacts.end());
    return oOutcome;
}

void TrialRunner::TakeBack(const TryFunction& fTry)
{
    TrialProcess(fTry, m_astrHanging, m_oMaskBefore).Finish();
}

int GetStopSignal()
{
    return s_iStopSignal;
}
}
