#include "TrialRunner.h"

namespace BoardCheck
{
STrialOutcome TrialRunner::Run(const TryFunction& fTry, const TryFunction& fSecond)
{
    if (GetStopSignal() != 0)
        return {NOT_TRIED, STOPPED, {}};

    TrialProcess oFirst = Start(fTry, m_astrHanging);
    if (fSecond == nullptr || !oFirst.IsReady())
        return oFirst.Finish();

    STrialOutcome oOutcome = Start(fSecond, m_astrHanging).Finish();
    oFirst.Stop();
    const STrialOutcome oEnd = oFirst.Finish();
    oOutcome.aoFacts.insert(oOutcome.aoFacts.end(), oEnd.aoFacts.begin(), oEnd.aoFacts.end());
    return oOutcome;
}

STrialOutcome TrialRunner::TakeBack(const TryFunction& fTry)
{
    return Start(fTry, m_astrHangingTakeBacks).Finish();
}
}
