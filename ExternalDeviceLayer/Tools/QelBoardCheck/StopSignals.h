// The signals that stop a check: SIGINT, SIGTERM, SIGQUIT and SIGHUP.
#ifndef STOP_SIGNALS_H
#define STOP_SIGNALS_H

#include <csignal>
#include <iterator>

namespace BoardCheck
{
constexpr int STOP_SIGNALS[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};

// Takes the signals while the object exists. They are blocked but for the waits that use the mask. SIGHUP stays ignored if
// it was. The others are taken even if ignored: shells start background jobs so, but a person may send one.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();  // delivers those that still wait; later ones have their old effect
    StopSignals(const StopSignals&)            = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    const sigset_t& GetWaitMask() const { return m_oWaitMask; }

private:
    sigset_t         m_oWaitMask                                = {};
    struct sigaction m_aoActionsBefore[std::size(STOP_SIGNALS)] = {};
};

int GetStopSignal();  // the first that was taken, or 0
}

#endif
