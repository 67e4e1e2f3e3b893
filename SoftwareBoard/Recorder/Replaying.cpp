// The replaying library. It answers each call with the next line of a record, as long as the calls are those of the record,
// and fails all calls after the first departure; some clients would go on all the same, so SIGTERM asks them to end. What
// the client draws, enables and writes to registers shows on the board.
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <set>

#include "BoardError.h"
#include "Carry.h"
#include "RecordReader.h"
#include "ReplayBuffer.h"
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

const char* Variable(const char* pszName)
{
    const char* const pszValue = std::getenv(pszName);
    return pszValue != nullptr ? pszValue : "";
}

class Replaying
{
public:
    static Replaying& Get();

    KUINT64 Carry(EOperation eOperation, const Words& roArguments);
    // A child has its parent's place in the record, and nothing of the board that its parent holds.
    void ForgetAll();

    std::mutex m_oMutex;

private:
    struct SOutput
    {
        KUINT32 uiDevice;
        KUINT32 uiOutput;
    };

    void                 Open();
    void                 End(SReplayed& roReplayed, EReplay eState, const std::string& strText);
    bool                 IsMyTurn() const;
    std::optional<SCall> TakeLine(EOperation eOperation, const Words& roArguments, bool bInTurn, bool& rbTooEarly);
    KUINT64              Answer(const SCall& roCall, const Words& roArguments);
    // Shows what the call does on the board. What the board cannot show is left out.
    void                 Act(const SCall& roCall, const Words& roArguments);
    void                 FillHandle(const SCall& roCall, const Words& roArguments);
    void                 MakeBuffer(const SCall& roCall, const Words& roArguments);
    tagTBuffer_PlaneInfo FindPlaneInfo(const Json& roBuffer, const std::optional<SPlaneLayout>& roLayout) const;
    void                 FillPlanes(const SCall& roCall, const Words& roArguments);
    void                 Show(const SOutput& roOutput, const SOutputRecord& roRecord);
    void                 Sweep(const Transaction& roTransaction) const
    {
        SweepPixelFiles(roTransaction, m_ooBoard->m_oFolder, m_ooBoard->m_oState);
    }
    KUINT32 DeviceOf(const SCall& roCall) const { return m_oDevices.at(roCall.oArguments.at("hDev").dump()); }

    std::string                         m_strRecord;
    std::optional<RecordReader>         m_ooReader;
    std::optional<SCall>                m_ooNext;
    std::set<KUINT32>                   m_oThreads;  // of the record that are threads of this process
    std::optional<Board>                m_ooBoard;
    std::optional<ReplayProgress>       m_ooProgress;
    HandleNames                         m_oNames;
    std::map<std::string, KUINT32>      m_oDevices;  // the index by the name of the handle, like the next two
    std::map<std::string, ReplayBuffer> m_oBuffers;
    std::map<std::string, SOutput>      m_oOutputs;
    // Of a parent process. Never destroyed: their threads are not here.
    std::vector<std::map<std::string, ReplayBuffer>> m_aoForgotten;
    KUINT64                                          m_uiTaken = 0;  // calls that the reader has passed
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
    m_aoForgotten.push_back(std::move(m_oBuffers));
    m_oBuffers.clear();
    m_ooProgress.reset();
    m_ooBoard.reset();
}

void Replaying::Open()
{
    if (!m_ooReader)
    {
        m_strRecord = ReadRecordFile(Variable(REPLAY_FILE_VARIABLE));
        m_ooReader.emplace(m_strRecord, Variable(REPLAY_FILE_VARIABLE));
        m_ooNext = m_ooReader->Next();
    }
    if (!m_ooBoard)
        m_ooBoard.emplace(Board::Open());
    if (!m_ooProgress)
        m_ooProgress.emplace(ReplayProgress::Open(m_ooBoard->m_oFolder));
}

void Replaying::End(SReplayed& roReplayed, EReplay eState, const std::string& strText)
{
    roReplayed.eState = eState;
    strText.copy(roReplayed.acText.data(), roReplayed.acText.size() - 1);
    m_ooProgress->Write(roReplayed);
    kill(getpid(), SIGTERM);
}

// Whether the next line of the record is this thread's. A thread that has not called yet takes the place of one that is new
// in the record.
bool Replaying::IsMyTurn() const
{
    if (!m_ooNext || m_ooNext->uiThread == s_uiThread)
        return true;
    return s_uiThread == 0 && !m_oThreads.contains(m_ooNext->uiThread);
}

// The line that answers the call. Nothing after a departure, and nothing while it is another thread's turn, if bInTurn.
std::optional<SCall> Replaying::TakeLine(EOperation eOperation, const Words& roArguments, bool bInTurn, bool& rbTooEarly)
{
    const SOperation& roOperation = TableRow(eOperation);
    const FileLock    oLock       = m_ooProgress->Lock();
    SReplayed         oReplayed   = m_ooProgress->Read();
    if (oReplayed.eState != EReplay::Going)
        return std::nullopt;
    for (; m_uiTaken < oReplayed.uiCalls; ++m_uiTaken)
        m_ooNext = m_ooReader->Next();  // another process of the command had these
    rbTooEarly = bInTurn && !IsMyTurn();
    if (rbTooEarly)
        return std::nullopt;

    const Json oArguments = Json::parse(ReadArguments(roOperation, roArguments, m_oNames));
    if (m_ooNext && m_ooNext->eOperation == eOperation && m_ooNext->oArguments == oArguments)
    {
        oReplayed.uiCalls = ++m_uiTaken;
        m_ooProgress->Write(oReplayed);
        s_uiThread = m_ooNext->uiThread;
        m_oThreads.insert(s_uiThread);
        return std::exchange(m_ooNext, m_ooReader->Next());
    }
    if (!m_ooNext && !m_ooReader->GetDamage().empty())
        End(oReplayed, EReplay::Failed, m_ooReader->GetDamage());
    else
        End(oReplayed, EReplay::Departed,
            "line " + std::to_string(m_ooNext ? m_ooNext->uiLine : m_ooReader->GetLine()) + " of the record: expected " +
                (m_ooNext ? DescribeCall(m_ooNext->Row(), m_ooNext->oArguments) : "the end of the run") + ", came " +
                DescribeCall(roOperation, oArguments));
    return std::nullopt;
}

KUINT64 Replaying::Carry(EOperation eOperation, const Words& roArguments)
{
    using namespace std::chrono;
    std::unique_lock oLock(m_oMutex);
    Open();
    const auto           oEnd      = steady_clock::now() + PATIENCE;
    bool                 bTooEarly = false;
    std::optional<SCall> ooCall    = TakeLine(eOperation, roArguments, true, bTooEarly);
    while (bTooEarly)
    {
        oLock.unlock();
        std::this_thread::sleep_for(BETWEEN_TRIES);
        oLock.lock();
        ooCall = TakeLine(eOperation, roArguments, steady_clock::now() < oEnd, bTooEarly);
    }
    if (!ooCall)
        return FailureOf(TableRow(eOperation));
    if (*Variable(REPLAY_FAST_VARIABLE) == '\0')
    {
        oLock.unlock();
        std::this_thread::sleep_for(nanoseconds(ooCall->uiTook));
        oLock.lock();
    }
    try
    {
        return Answer(*ooCall, roArguments);
    }
    catch (const BoardError& roError)
    {
        SReplayed oReplayed = m_ooProgress->Read();
        End(oReplayed, EReplay::Failed, roError.what());
        throw;
    }
}

KUINT64 Replaying::Answer(const SCall& roCall, const Words& roArguments)
{
    const SOperation& roOperation = roCall.Row();
    WriteFilled(roOperation, roArguments, roCall.oFilled);
    FillHandle(roCall, roArguments);
    if (!roCall.Failed() && roCall.eOperation == EOperation::TBuffer_CreateVideo)
        MakeBuffer(roCall, roArguments);
    else if (!roCall.Failed() && roCall.eOperation == EOperation::TBuffer_BeginAccess)
        FillPlanes(roCall, roArguments);
    else if (!roCall.Failed())
        Act(roCall, roArguments);
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
    const size_t      ui          = roOperation.FindFilled();
    if (ui == roOperation.uiParameters || roOperation.aoParameters[ui].oType.eKind != EKind::Handle)
        return;
    const EHandle eHandle = roOperation.aoParameters[ui].oType.eHandle;
    const auto    i       = roCall.oFilled.find(roOperation.aoParameters[ui].svName);
    if (i == roCall.oFilled.end() || roArguments[ui] == 0)
        return;
    const auto    ouiNumber              = HandleNames::NumberIn(eHandle, *i);
    const KUINT64 uiHandle               = ouiNumber ? MakeHandle(eHandle, *ouiNumber) : 0;
    *FromWord<KUINT64*>(roArguments[ui]) = uiHandle;
    if (ouiNumber)
        m_oNames.Learn(eHandle, uiHandle, *ouiNumber);
}

void Replaying::Act(const SCall& roCall, const Words& roArguments)
try
{
    const auto fArgument = [&](const char* pszName) { return roCall.oArguments.at(pszName).dump(); };
    const auto fNumber   = [&](const char* pszName) { return roCall.oArguments.at(pszName).get<KUINT32>(); };
    switch (roCall.eOperation)
    {
    case EOperation::Tavrin_GetDevice: m_oDevices[roCall.oResult.dump()] = fNumber("uiDevIndex"); break;
    case EOperation::TBuffer_EndAccess: m_oBuffers.at(fArgument("hBuffer")).EndAccess(); break;
    case EOperation::TBuffer_Destroy:
        m_oBuffers.erase(fArgument("hBuffer"));
        Sweep(Transaction(m_ooBoard->m_oLocks));
        break;
    case EOperation::TVideoOut_GetHandle:
        m_oOutputs[roCall.oFilled.at("phVideoOut").dump()] = {DeviceOf(roCall), fNumber("uiIndex")};
        break;
    case EOperation::TVideoOut_Enable:
        if (const auto ooOutput =
                m_oBuffers.at(fArgument("hBuffer")).MakeOutput(*FromWord<const tagTVideo_VidParam*>(roArguments[2])))
            Show(m_oOutputs.at(fArgument("hVideoOut")), *ooOutput);
        break;
    case EOperation::TVideoOut_Disable: Show(m_oOutputs.at(fArgument("hVideoOut")), {}); break;
    case EOperation::TBoard_RegWrite:
        m_ooBoard->m_oState.WriteRegister(DeviceOf(roCall), fNumber("uiRegister"), fNumber("uiValue"));
        break;
    case EOperation::TBoard_RegRead:
        m_ooBoard->m_oState.WriteRegister(DeviceOf(roCall), fNumber("uiRegister"),
                                          roCall.oFilled.at("puiValue").get<KUINT32>());
        break;
    default: break;
    }
}
catch (const BoardError&)
{}
catch (const std::out_of_range&)
{}  // of a handle of which the record does not tell where it is from
catch (const Json::exception&)
{}

void Replaying::MakeBuffer(const SCall& roCall, const Words& roArguments)
{
    const auto i = roCall.oFilled.find("phBuffer");
    if (i == roCall.oFilled.end())
        return;
    const auto        ooLayout = LayOutPlane(FromWord<TPixelFormat>(roArguments[1]), FromWord<KUINT32>(roArguments[2]),
                                             FromWord<KUINT32>(roArguments[3]));
    const std::string strName  = i->dump();
    m_oBuffers.erase(strName);
    m_oBuffers.try_emplace(strName, FindPlaneInfo(*i, ooLayout), ooLayout, *m_ooBoard);
}

// What the record tells of the buffer's planes later on. Without it the client cannot know more than the board's layout.
tagTBuffer_PlaneInfo Replaying::FindPlaneInfo(const Json& roBuffer, const std::optional<SPlaneLayout>& roLayout) const
{
    tagTBuffer_PlaneInfo oInfo   = {};
    RecordReader         oReader = *m_ooReader;
    for (auto ooCall = m_ooNext; ooCall; ooCall = oReader.Next())
    {
        if (ooCall->eOperation != EOperation::TBuffer_GetPlaneInfo || ooCall->oArguments.at("hBuffer") != roBuffer ||
            !ooCall->oFilled.contains("poPlaneInfo"))
            continue;
        const std::span<const SField> aoFields = ooCall->Row().aoParameters[1].oType.aoFields;
        WriteRecord(aoFields, ooCall->oFilled.at("poPlaneInfo"), &oInfo, sizeof(oInfo));
        return oInfo;
    }
    if (roLayout)
        oInfo = {1, {}, {}, {}, {roLayout->uiHeight}, {roLayout->uiPitch}, {roLayout->uiPitchInBytes}};
    return oInfo;
}

void Replaying::FillPlanes(const SCall& roCall, const Words& roArguments)
{
    auto* const puiPlanes = FromWord<KUINTPTR*>(roArguments[3]);
    const auto  i         = roCall.oFilled.find("auiPlanes");
    const auto  iBuffer   = m_oBuffers.find(roCall.oArguments.at("hBuffer").dump());
    if (iBuffer == m_oBuffers.end())
        throw BoardError("line " + std::to_string(roCall.uiLine) +
                         " of the record: it does not say where the buffer is from");
    std::vector<KUINT8*> apPlanes = iBuffer->second.BeginAccess();
    apPlanes.resize(std::min<size_t>(apPlanes.size(), puiPlanes != nullptr ? roArguments[2] : 0));
    for (size_t ui = 0; ui < apPlanes.size(); ++ui)
    {
        const bool bNull = i != roCall.oFilled.end() && ui < i->size() && (*i)[ui].is_null();
        puiPlanes[ui]    = bNull ? 0 : reinterpret_cast<KUINTPTR>(apPlanes[ui]);
    }
}

void Replaying::Show(const SOutput& roOutput, const SOutputRecord& roRecord)
{
    const Transaction oTransaction(m_ooBoard->m_oLocks);
    if (!m_ooBoard->m_oLocks.TryHoldOutput(roOutput.uiDevice, roOutput.uiOutput))
        return;
    m_ooBoard->m_oState.WriteOutput(oTransaction, roOutput.uiDevice, roOutput.uiOutput, roRecord);
    if (roRecord.bEnabled == FALSE)
        m_ooBoard->m_oLocks.ReleaseOutput(roOutput.uiDevice, roOutput.uiOutput);
    Sweep(oTransaction);
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
