// Makes trials of the library in child processes, so that a library that crashes or hangs costs one trial. This process
// never loads the library.
#ifndef TRIAL_PROCESS_H
#define TRIAL_PROCESS_H

#include <csignal>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "Json.h"
#include "Trial.h"

namespace BoardCheck
{
using TryFunction = std::function<void(Trial&)>;

struct STrialOutcome
{
    std::string       strResult;  // HOLDS, FAILS or NOT_TRIED
    std::string       strCame;
    std::vector<Json> aoFacts;  // in the order in which they were told, each an object with one member
};

class TrialRunner
{
public:
    // Takes SIGINT, SIGTERM, SIGQUIT and SIGHUP while the object exists; SIGHUP not if it is ignored. One of them stops the
    // trial that runs, which then takes back what it made, and keeps others from starting.
    TrialRunner();
    ~TrialRunner();
    TrialRunner(const TrialRunner&)            = delete;
    TrialRunner& operator=(const TrialRunner&) = delete;

    // With fSecond, that function runs in a second process while the first waits for it, and its outcome counts.
    STrialOutcome Run(const TryFunction& fTry, const TryFunction& fSecond = nullptr);

    // Runs fTry even after a signal, to take something back.
    void TakeBack(const TryFunction& fTry);

private:
    static constexpr int STOP_SIGNALS[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};

    std::set<std::string> m_astrHanging;  // operations that did not return
    sigset_t              m_oMaskBefore                              = {};
    struct sigaction      m_aoActionsBefore[std::size(STOP_SIGNALS)] = {};
};

int GetStopSignal();  // the first that a TrialRunner took, or 0
}

#endif
