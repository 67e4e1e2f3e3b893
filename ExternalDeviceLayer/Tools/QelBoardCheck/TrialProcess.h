// A child process that makes one trial of the library.
#ifndef TRIAL_PROCESS_H
#define TRIAL_PROCESS_H

#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Json.h"
#include "Trial.h"

namespace BoardCheck
{
using TryFunction = std::function<void(Trial&)>;

// What became of a trial.
struct STrialOutcome
{
    std::string       strResult;  // HOLDS, FAILS or NOT_TRIED
    std::string       strCame;    // what the board did, or why there is no result
    std::vector<Json> aoFacts;    // in the order in which they were told, each an object with one member
};

// Owns one open file descriptor, or none (-1).
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

// The child runs in a process group of its own: a signal from the terminal reaches its parent only, and processes that the
// library starts end with the child.
class TrialProcess
{
public:
    // Waits for its child with that signal mask. An operation in which the child hangs is added to the set.
    TrialProcess(const TryFunction& fTry, std::set<std::string>& roHanging, std::chrono::seconds oCallLimit,
                 const sigset_t& roMask);
    ~TrialProcess();

    // Reads on until the child is ready for the second process; false if it has ended instead.
    bool IsReady();

    // Tells the child to stop, if it is not over by then.
    void Stop() { m_oStop.Close(); }

    // Reads on until the child has ended, and ends one that hangs. Returns what the child and its end tell.
    STrialOutcome Finish();

private:
    [[noreturn]] void RunChild(const TryFunction& fTry, int iMessages, int iStop) const;
    bool              ReadMore();  // false when the child has ended
    void              Take(const Json& roMessage);
    bool              EndsWithin(KUINT32 uiSeconds) const;  // the child, which is not reaped
    void              Reap();
    std::string       DescribeEnd() const;

    std::set<std::string>& m_roHanging;
    std::chrono::seconds   m_oCallLimit;
    sigset_t               m_oMask;
    pid_t                  m_iPid = -1;
    Descriptor             m_oMessages;
    Descriptor             m_oStop;
    std::string            m_strUnread;          // the beginning of a message
    std::string            m_strAt;              // the operation that the child is in
    KUINT32                m_uiLimitS;           // of that operation, in seconds
    bool                   m_bQuestion = false;  // what is to be found out has begun
    bool                   m_bReady    = false;
    bool                   m_bHangs    = false;
    int                    m_iStatus   = 0;  // as waitpid gives it
    STrialOutcome          m_oOutcome;
};
}

#endif
