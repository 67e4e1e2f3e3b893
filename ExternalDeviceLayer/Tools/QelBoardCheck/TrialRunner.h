// Makes trials of the library in child processes, so that a library that crashes or hangs costs one trial. This process
// never loads the library.
#ifndef TRIAL_RUNNER_H
#define TRIAL_RUNNER_H

#include <chrono>
#include <set>
#include <string>

#include "StopSignals.h"
#include "TrialProcess.h"

namespace BoardCheck
{
// A stop signal stops the trial that runs, which then takes back what it made, and keeps others from starting.
class TrialRunner
{
public:
    // A call that does not return within the limit hangs.
    explicit TrialRunner(std::chrono::seconds oCallLimit) : m_oCallLimit(oCallLimit) {}

    // With fSecond, that function runs in a second process while the first waits for it, and its outcome counts.
    STrialOutcome Run(const TryFunction& fTry, const TryFunction& fSecond = nullptr);

    // Runs fTry even after a signal, to take something back. An operation that hung in a trial is tried once more here.
    STrialOutcome TakeBack(const TryFunction& fTry);

private:
    TrialProcess Start(const TryFunction& fTry, std::set<std::string>& roHanging) const
    {
        return TrialProcess(fTry, roHanging, m_oCallLimit, m_oSignals.GetWaitMask());
    }

    std::chrono::seconds  m_oCallLimit;
    StopSignals           m_oSignals;
    std::set<std::string> m_astrHanging;  // operations that did not return
    std::set<std::string> m_astrHangingTakeBacks;
};
}

#endif
