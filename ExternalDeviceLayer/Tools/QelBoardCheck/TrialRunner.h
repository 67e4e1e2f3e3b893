// Makes trials of the library in child processes, so that a library that crashes or hangs costs one trial. This process
// never loads the library.
#ifndef TRIAL_RUNNER_H
#define TRIAL_RUNNER_H

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
    // With fSecond, that function runs in a second process while the first waits for it, and its outcome counts.
    STrialOutcome Run(const TryFunction& fTry, const TryFunction& fSecond = nullptr);

    // Runs fTry even after a signal, to take something back.
    void TakeBack(const TryFunction& fTry);

private:
    StopSignals           m_oSignals;
    std::set<std::string> m_astrHanging;  // operations that did not return
};
}

#endif
