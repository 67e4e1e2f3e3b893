// One trial of the library, seen from the child process that makes it. The child tells its parent what it does, so that the
// parent can name the call in which it crashes or hangs.
#ifndef TRIAL_H
#define TRIAL_H

#include <chrono>
#include <functional>
#include <set>
#include <string>

#include "Json.h"
#include "QelTypes.h"
#include "Tavrin.h"

namespace BoardCheck
{
// What a check comes to.
constexpr char HOLDS[]     = "holds";
constexpr char FAILS[]     = "fails";
constexpr char NOT_TRIED[] = "not tried";

constexpr char STOPPED[]     = "stopped by a signal";
constexpr char AS_EXPECTED[] = "as expected";  // what came, if there is nothing more to say

// Thrown when a trial ends early. Its verdict has been told by then, and the destructors take back what the trial made.
struct TrialEnded
{
};

// "-1 (TStatus_FAIL)", with what is worth knowing of a status.
std::string DescribeStatus(TStatus eStatus);

class Trial
{
public:
    // Messages go to the first descriptor. The second becomes readable when the trial is to stop. A call to an operation
    // that is known to hang is not made.
    Trial(int iMessages, int iStop, const std::set<std::string>& roHanging, std::chrono::seconds oCallLimit);
    ~Trial();
    Trial(const Trial&)            = delete;
    Trial& operator=(const Trial&) = delete;

    // What comes now, unless it is a call into the library, which tells itself. Without news within the limit the parent
    // kills the trial.
    void At(const char* pszWhat, std::chrono::seconds oLimit);
    void At(const char* pszWhat) { At(pszWhat, m_oCallLimit); }

    // From here on a failure answers the question of the trial. Before, it means that the question could not be asked.
    void BeginQuestion();

    // The verdict, told once. After it the trial only takes back. All but Pass and a good status end the trial.
    void              Pass(const std::string& strCame);
    [[noreturn]] void Fail(const std::string& strCame);
    void              Check(TStatus eStatus, const std::string& strWhere = "");  // of the last call
    [[noreturn]] void GiveUp(const std::string& strWhy);                         // whatever the board does

    // Takes something back: a stop is not heeded, a failure has no consequence, a call that is known to hang is not made.
    void TakeBack(const std::function<void()>& fCall);

    // The trial goes on to its end after a stop.
    void IgnoreStop() { m_iStop = -1; }

    const std::string& GetLastOperation() const { return m_strOperation; }

    // A fact for the parent.
    void Tell(const char* pszName, const Json& roValue);

    // Tells the parent that the second process may start. Returns when the trial is to stop.
    void WaitForOther();

    // Waits, and ends the trial when it is to stop.
    void Wait(std::chrono::milliseconds oTime);

private:
    enum class EPhase
    {
        Preparing,
        Asking,
        TakingBack,
    };

    static void Observe(const KCHAR8* pszOperation);
    void        Send(const Json& roMessage) const;
    bool        IsStopped(std::chrono::milliseconds oTime) const;

    int                          m_iMessages;
    int                          m_iStop;  // or -1, which poll passes over
    const std::set<std::string>& m_roHanging;
    const std::chrono::seconds   m_oCallLimit;
    std::string                  m_strOperation;  // the last one
    EPhase                       m_ePhase = EPhase::Preparing;
};
}

#endif
