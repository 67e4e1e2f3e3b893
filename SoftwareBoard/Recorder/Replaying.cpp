// The replaying library. It answers each call with the next line of a record, as long as the calls are those of the record,
// and fails all calls after the first departure; some clients would go on all the same, so SIGTERM asks them to end. What
// the client does shows on the board.
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>

#include "BoardError.h"
#include "CallText.h"
#include "Carry.h"
#include "ReplayBoard.h"
#include "ReplayProgress.h"

using namespace SoftwareBoard;
using namespace SoftwareBoard::Recorder;

namespace
{
// How long a call waits for the calls of other threads that the record has before it.
constexpr std::chrono::seconds      PATIENCE{1};
constexpr std::chrono::milliseconds BETWEEN_TRIES{1};

// The number that this thread has in the record; 0 before its first call.
thread_local KUINT32 s_uiThread = 0;

// The handle for a name of the record: a number that is no address.
KUINT64 MakeHandle(EHandle eHandle, KUINT32 uiNumber)
{
    return (KUINT64{0x5452} << 48) + (static_cast<KUINT64>(eHandle) << 40) + KUINT64{uiNumber} * 16;
}

timespec TimeOf(KUINT64 uiNs)
{
    return {static_cast<time_t>(uiNs / 1'000'000'000), static_cast<long>(uiNs % 1'000'000'000)};
}

// Waits as long as the call took. A signal ends the wait, as it may want to end the client.
void Wait(KUINT64 uiTookNs)
{
    const timespec oTook = TimeOf(uiTookNs);
    nanosleep(&oTook, nullptr);
}

// Sends this process a signal as much later as it came in the record. The client waits by itself between its calls.
void SendAfter(KUINT64 uiDelayNs, int iSignal)
{
    sigevent oEvent     = {};
    oEvent.sigev_notify = SIGEV_SIGNAL;
    oEvent.sigev_signo  = iSignal;
    timer_t          hTimer;
    const itimerspec oWhen = {{}, TimeOf(uiDelayNs)};
    if (timer_create(CLOCK_MONOTONIC, &oEvent, &hTimer) == 0)
        timer_settime(hTimer, 0, &oWhen, nullptr);
}

// Ends this process by the signal that ended the run of the record.
void EndBy(int iSignal)
{
    sigset_t oSet = {};
    sigemptyset(&oSet);
    sigaddset(&oSet, iSignal);
    signal(iSignal, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &oSet, nullptr);
    kill(getpid(), iSignal);
}

class Replaying
{
public:
    static Replaying& Get();

    KUINT64 Carry(EOperation eOperation, const Words& roArguments);
    // A child has its parent's place in the record.
    void ForgetAll();

    std::mutex m_oMutex;

private:
    void                 Open();
    void                 End(SReplayed& roReplayed, EReplay eState, const std::string& strText);
    void                 Fail(const std::optional<SCall>& roCall, const char* pszWhy);
    bool                 IsMyTurn() const;
    std::optional<SCall> AwaitLine(std::unique_lock<std::mutex>& roLock, EOperation eOperation, const Words& roArguments);
    std::optional<SCall> TakeLine(SReplayed& roReplayed, EOperation eOperation, const Words& roArguments);
    KUINT64              Answer(const SCall& roCall, const Words& roArguments);
    void                 FillHandle(const SCall& roCall, const Words& roArguments);
    void                 SendSignals(const SCall& roCall, KUINT64 uiNowNs) const;

    std::optional<tagTBuffer_PlaneInfo> FindPlanes(const SCall& roCreation) const;

    std::string                   m_strRecord;
    std::optional<RecordReader>   m_ooReader;
    std::vector<SSignal>          m_aoSignals;
    std::optional<SCall>          m_ooNext;
    KUINT64                       m_uiTaken = 0;  // calls that the reader has passed
    std::set<KUINT32>             m_oThreads;     // of the record that are threads of this process
    HandleNames                   m_oNames;
    ReplayBoard                   m_oBoard;
    std::optional<ReplayProgress> m_ooProgress;
};

Replaying& Replaying::Get()
{
    // Never destroyed: other threads may still use it while the process ends.
    static Replaying* const s_poReplaying = [] {
        auto* const poReplaying = new Replaying;
        pthread_atfork([] { Get().m_oMutex.lock(); }, [] { Get().m_oMutex.unlock(); },
                       [] {
                           Get().ForgetAll();
                           Get().m_oMutex.unlock();
                       });
        return poReplaying;
    }();
    return *s_poReplaying;
}

void Replaying::ForgetAll()
{
    s_uiThread = 0;
    m_oThreads.clear();
    m_ooProgress.reset();
    m_oBoard.Forget();
}

void Replaying::Open()
{
    m_oBoard.Open();
    if (!m_ooProgress)
        m_ooProgress.emplace(ReplayProgress::Open(m_oBoard.GetFolder()));
    if (!m_ooReader)
    {
        m_strRecord = ReadRecordFile(Variable(REPLAY_FILE_VARIABLE));
        m_ooReader.emplace(m_strRecord, Variable(REPLAY_FILE_VARIABLE));
        m_aoSignals = m_ooReader->FindSignals();
        m_ooNext    = m_ooReader->Next();
    }
}

void Replaying::End(SReplayed& roReplayed, EReplay eState, const std::string& strText)
{
    roReplayed.eState = eState;
    strText.copy(roReplayed.acText.data(), roReplayed.acText.size() - 1);
    m_ooProgress->Write(roReplayed);
    kill(getpid(), SIGTERM);
}

// Ends the replay as a call could not be answered.
void Replaying::Fail(const std::optional<SCall>& roCall, const char* pszWhy)
{
    if (!m_ooProgress)
        return;
    const FileLock oLock     = m_ooProgress->Lock();
    SReplayed      oReplayed = m_ooProgress->Read();
    if (oReplayed.eState == EReplay::Going)
        End(oReplayed, EReplay::Failed,
            (roCall ? "line " + std::to_string(roCall->uiLine) + " of the record: " : "") + pszWhy);
}

// Whether the next line of the record is this thread's. A thread that has not called yet takes the place of one that is new
// in the record.
bool Replaying::IsMyTurn() const
{
    if (!m_ooNext || m_ooNext->uiThread == s_uiThread)
        return true;
    return s_uiThread == 0 && !m_oThreads.contains(m_ooNext->uiThread);
}

// The line that answers the call, once it is this thread's turn. Nothing after a departure.
std::optional<SCall> Replaying::AwaitLine(std::unique_lock<std::mutex>& roLock, EOperation eOperation,
                                          const Words& roArguments)
{
    for (const auto oEnd = std::chrono::steady_clock::now() + PATIENCE;;)
    {
        {
            const FileLock oLock     = m_ooProgress->Lock();
            SReplayed      oReplayed = m_ooProgress->Read();
            if (oReplayed.eState != EReplay::Going)
                return std::nullopt;
            for (; m_uiTaken < oReplayed.uiCalls; ++m_uiTaken)
                m_ooNext = m_ooReader->Next();  // another process of the command had these
            if (IsMyTurn() || std::chrono::steady_clock::now() >= oEnd)
                return TakeLine(oReplayed, eOperation, roArguments);
        }
        roLock.unlock();
        std::this_thread::sleep_for(BETWEEN_TRIES);
        roLock.lock();
    }
}

std::optional<SCall> Replaying::TakeLine(SReplayed& roReplayed, EOperation eOperation, const Words& roArguments)
{
    const SOperation& roOperation = TableRow(eOperation);
    const Json        oArguments  = Json::parse(ReadArguments(roOperation, roArguments, m_oNames));
    if (m_ooNext && m_ooNext->eOperation == eOperation && m_ooNext->oArguments == oArguments)
    {
        roReplayed.uiCalls = ++m_uiTaken;
        m_ooProgress->Write(roReplayed);
        s_uiThread = m_ooNext->uiThread;
        m_oThreads.insert(s_uiThread);
        return std::exchange(m_ooNext, m_ooReader->Next());
    }
    if (!m_ooNext && !m_ooReader->GetDamage().empty())
    {
        End(roReplayed, EReplay::Failed, m_ooReader->GetDamage());
        return std::nullopt;
    }
    if (!m_ooNext && m_ooReader->EndsBySignal())
        EndBy(m_ooReader->GetEnd());
    End(roReplayed, EReplay::Departed,
        DescribeDeparture(m_ooNext ? m_ooNext->uiLine : m_ooReader->GetLine(),
                          m_ooNext ? DescribeCall(m_ooNext->Row(), m_ooNext->oArguments) : "the end of the run",
                          DescribeCall(roOperation, oArguments)));
    return std::nullopt;
}

// Sends the signals that came after the beginning of this call and before the next one. It is uiNowNs in the record.
void Replaying::SendSignals(const SCall& roCall, KUINT64 uiNowNs) const
{
    for (const SSignal& roSignal : m_aoSignals)
    {
        if (roSignal.uiAtNs > roCall.uiAtNs && (!m_ooNext || roSignal.uiAtNs <= m_ooNext->uiAtNs))
            SendAfter(std::max(roSignal.uiAtNs, uiNowNs + 1) - uiNowNs, roSignal.iSignal);
    }
}

KUINT64 Replaying::Carry(EOperation eOperation, const Words& roArguments)
{
    std::unique_lock     oLock(m_oMutex);
    std::optional<SCall> ooCall;
    try
    {
        Open();
        ooCall = AwaitLine(oLock, eOperation, roArguments);
        if (!ooCall)
            return FailureOf(TableRow(eOperation));
        const bool bFast = *Variable(REPLAY_FAST_VARIABLE) != '\0';
        SendSignals(*ooCall, ooCall->uiAtNs + (bFast ? ooCall->uiTookNs : 0));
        if (!bFast)
        {
            oLock.unlock();
            Wait(ooCall->uiTookNs);
            oLock.lock();
        }
        return Answer(*ooCall, roArguments);
    }
    catch (const std::exception& roError)
    {
        Fail(ooCall, roError.what());
        return FailureOf(TableRow(eOperation));
    }
}

KUINT64 Replaying::Answer(const SCall& roCall, const Words& roArguments)
{
    const SOperation& roOperation = roCall.Row();
    WriteFilled(roOperation, roArguments, roCall.oFilled);
    FillHandle(roCall, roArguments);
    if (!roCall.Failed() && roCall.eOperation == EOperation::TBuffer_CreateVideo)
        m_oBoard.MakeBuffer(roCall, roArguments, FindPlanes(roCall));
    else if (!roCall.Failed() && roCall.eOperation == EOperation::TBuffer_BeginAccess)
        m_oBoard.FillPlanes(roCall, roArguments);
    else if (!roCall.Failed())
        m_oBoard.Act(roCall, roArguments);
    if (roOperation.oResult.eKind != EKind::Handle)
        return static_cast<KUINT64>(roCall.oResult.get<KINT64>());
    const auto ouiNumber = HandleNames::NumberIn(roOperation.oResult.eHandle, roCall.oResult);
    if (!ouiNumber)
        return 0;
    const KUINT64 uiHandle = MakeHandle(roOperation.oResult.eHandle, *ouiNumber);
    m_oNames.Learn(roOperation.oResult.eHandle, uiHandle, *ouiNumber);
    return uiHandle;
}

void Replaying::FillHandle(const SCall& roCall, const Words& roArguments)
{
    const SOperation& roOperation = roCall.Row();
    const auto        oui         = roOperation.FindFilled();
    if (!oui || roOperation.aoParameters[*oui].oType.eKind != EKind::Handle)
        return;
    const EHandle eHandle = roOperation.aoParameters[*oui].oType.eHandle;
    const auto    i       = roCall.oFilled.find(roOperation.aoParameters[*oui].svName);
    if (i == roCall.oFilled.end() || roArguments[*oui] == 0)
        return;
    const auto    ouiNumber                = HandleNames::NumberIn(eHandle, *i);
    const KUINT64 uiHandle                 = ouiNumber ? MakeHandle(eHandle, *ouiNumber) : 0;
    *FromWord<KUINT64*>(roArguments[*oui]) = uiHandle;
    if (ouiNumber)
        m_oNames.Learn(eHandle, uiHandle, *ouiNumber);
}

// What the record tells of the planes of the buffer that is created here.
std::optional<tagTBuffer_PlaneInfo> Replaying::FindPlanes(const SCall& roCreation) const
{
    const Json   oBuffer = roCreation.oFilled.value("phBuffer", Json());
    RecordReader oReader = *m_ooReader;
    for (auto ooCall = m_ooNext; ooCall; ooCall = oReader.Next())
    {
        if (ooCall->eOperation != EOperation::TBuffer_GetPlaneInfo || ooCall->oArguments.at("hBuffer") != oBuffer ||
            !ooCall->oFilled.contains("poPlaneInfo"))
            continue;
        tagTBuffer_PlaneInfo oInfo = {};
        WriteRecord(ooCall->Row().aoParameters[1].oType.aoFields, ooCall->oFilled.at("poPlaneInfo"), &oInfo, sizeof(oInfo));
        return oInfo;
    }
    return std::nullopt;
}
}

KUINT64 SoftwareBoard::Recorder::Carry(EOperation eOperation, const Words& roArguments)
{
    try
    {
        return Replaying::Get().Carry(eOperation, roArguments);
    }
    catch (...)
    {
        return FailureOf(TableRow(eOperation));
    }
}

// A thread that loads the library again has another number in the record.
TStatus Tavrin_UnLoad(void)
{
    s_uiThread = 0;
    return TStatus_OK;
}
