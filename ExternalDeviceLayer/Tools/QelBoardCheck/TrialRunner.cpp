#include "TrialRunner.h"

namespace BoardCheck
{
STrialOutcome TrialRunner::Run(const TryFunction& fTry, const TryFunction& fSecond)
{
    if (GetStopSignal() != 0)
        return {NOT_TRIED, STOPPED, {}};

    TrialProcess oFirst(fTry, m_astrHanging, m_oSignals.GetWaitMask());
    if (fSecond == nullptr || !oFirst.IsReady())
        return oFirst.Finish();

    STrialOutcome oOutcome = TrialProcess(fSecond, m_astrHanging, m_oSignals.GetWaitMask()).Finish();
    oFirst.Stop();
    const STrialOutcome oEnd = oFirst.Finish();
    oOutcome.aoFacts.insert(oOutcome.aoFacts.end(), oEnd.aoFacts.begin(), oEnd.aoFacts.end());
    return oOutcome;
}

void TrialRunner::TakeBack(const TryFunction& fTry)
{
    TrialProcess(fTry, m_astrHanging, m_oSignals.GetWaitMask()).Finish();
}
}
