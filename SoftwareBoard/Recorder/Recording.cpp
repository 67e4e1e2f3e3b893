// The recording library. It opens the library that the command would have had, passes every call on, and appends a line for
// it to the record. If the record cannot be written any more, it only passes on.
#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "CallValues.h"
#include "CallsInFlight.h"
#include "Carry.h"
#include "RecordFile.h"

using namespace SoftwareBoard::Recorder;

namespace
{
// The largest record that a call fills.
constexpr size_t LARGEST_RECORD = std::max(sizeof(tagTBoard_FpgaInfo), sizeof(tagTBuffer_PlaneInfo));

// What lay behind the pointer before the call. A call that fails has written only what differs from it.
struct SBefore
{
    SBefore(const SOperation& roOperation, const Words& roArguments)
        : uiSize(FilledSize(roOperation, roArguments)), pFilled(nullptr)
    {
        if (uiSize == 0)
            return;
        const size_t ui = *roOperation.FindFilled();
        pFilled         = FromWord<const void*>(roArguments[ui]);
        // A count of planes that the library refuses may be larger than the client's array.
        uiCompared = roOperation.aoParameters[ui].oType.eKind == EKind::Planes ? sizeof(KUINTPTR) : uiSize;
        std::memcpy(auiBytes.data(), pFilled, uiCompared);
    }
    // How much of it the call has filled.
    size_t SizeFilled(bool bFailed) const
    {
        if (!bFailed)
            return uiSize;
        return uiSize != 0 && std::memcmp(auiBytes.data(), pFilled, uiCompared) != 0 ? uiCompared : 0;
    }

    size_t                             uiSize;
    size_t                             uiCompared = 0;
    const void*                        pFilled;
    std::array<KUINT8, LARGEST_RECORD> auiBytes;
};

class Recording
{
public:
    Recording()
        : m_pLibrary(dlopen(Variable(RECORD_LIBRARY_VARIABLE), RTLD_NOW | RTLD_LOCAL)),
          m_uiStart(std::strtoull(Variable(RECORD_START_VARIABLE), nullptr, 10)),
          m_oInFlight(Variable(RECORD_CALLS_VARIABLE)), m_oFile(Variable(RECORD_FILE_VARIABLE))
    {
        std::ranges::transform(OPERATIONS, m_apAddresses.begin(),
                               [this](const SOperation& ro) { return Find(ro.svName.data()); });
        pthread_atfork([] { s_oRecording.m_oMutex.lock(); }, [] { s_oRecording.m_oMutex.unlock(); },
                       [] {
                           s_uiThread = 0;
                           s_oRecording.m_oFile.Forget();
                           s_oRecording.m_oMutex.unlock();
                       });
    }
    ~Recording()
    {
        if (m_pLibrary != nullptr)
            dlclose(m_pLibrary);
    }
    Recording(const Recording&)            = delete;
    Recording& operator=(const Recording&) = delete;

    void* Find(const char* pszName) const { return m_pLibrary != nullptr ? dlsym(m_pLibrary, pszName) : nullptr; }

    KUINT64 Carry(EOperation eOperation, const Words& roArguments)
    {
        const SOperation&         roOperation = TableRow(eOperation);
        void* const               pAddress    = m_apAddresses[static_cast<size_t>(eOperation)];
        const std::string         strBegin    = Begin(roOperation, eOperation, roArguments);
        const SBefore             oBefore(roOperation, roArguments);
        const KUINT64             uiBegin = NowNs();
        const CallsInFlight::Note oNote(m_oInFlight, uiBegin - m_uiStart, strBegin);
        const KUINT64 uiResult = pAddress != nullptr ? roOperation.pfnInvoke(pAddress, roArguments) : FailureOf(roOperation);
        const KUINT64 uiTook   = NowNs() - uiBegin;
        const int     iErrno   = errno;
        const bool    bFailed  = roOperation.oResult.eKind == EKind::Status && FromWord<TStatus>(uiResult) < 0;
        Append(roOperation, roArguments, strBegin, oBefore.SizeFilled(bFailed), uiBegin, uiTook, uiResult);
        errno = iErrno;
        return uiResult;
    }

private:
    // The operation and its arguments, as they were before the call. Empty if there is no memory.
    std::string Begin(const SOperation& roOperation, EOperation eOperation, const Words& roArguments)
    try
    {
        const std::lock_guard oLock(m_oMutex);
        const std::string     strArguments = ReadArguments(roOperation, roArguments, m_oNames);
        // Ended now: while the call goes on, another thread may get the same handle for another object.
        if (eOperation == EOperation::TBuffer_Destroy || eOperation == EOperation::TVideoOut_ReleaseHandle)
            m_oNames.End(roOperation.aoParameters[0].oType.eHandle, roArguments[0]);
        return ",\"operation\":\"" + std::string(roOperation.svName) + "\",\"arguments\":" + strArguments;
    }
    catch (const std::exception&)
    {
        return {};
    }

    void Append(const SOperation& roOperation, const Words& roArguments, const std::string& strBegin, size_t uiFilled,
                KUINT64 uiBegin, KUINT64 uiTook, KUINT64 uiResult)
    try
    {
        const std::lock_guard oLock(m_oMutex);
        if (m_bStopped)
            return;
        m_bStopped = !m_oFile.Append([&](const SRecorded& roRecorded) {
            if (strBegin.empty())
                throw std::bad_alloc();
            if (s_uiThread == 0)
                s_uiThread = roRecorded.uiThreads + 1;
            const EKind       eResult   = roOperation.oResult.eKind;
            const std::string strResult = eResult == EKind::Handle ? m_oNames.NameOf(roOperation.oResult.eHandle, uiResult)
                                                                   : std::to_string(static_cast<KINT64>(uiResult));
            return "{\"call\":" + std::to_string(roRecorded.uiCalls + 1) + ",\"at\":" + std::to_string(uiBegin - m_uiStart) +
                   ",\"took\":" + std::to_string(uiTook) + ",\"thread\":" + std::to_string(s_uiThread) + strBegin +
                   (eResult == EKind::Status ? ",\"status\":" : ",\"result\":") + strResult +
                   ",\"filled\":" + ReadFilled(roOperation, roArguments, uiFilled, m_oNames) + "}";
        });
    }
    catch (const std::exception&)  // the file cannot be opened or locked
    {
        m_bStopped = true;
    }

    static thread_local KUINT32 s_uiThread;  // its number in the record; 0 before its first line
    static Recording            s_oRecording;
    friend KUINT64              SoftwareBoard::Recorder::Carry(EOperation, const Words&);
    friend TStatus              CallOwn(const char*);

    void*                              m_pLibrary;
    KUINT64                            m_uiStart;
    CallsInFlight                      m_oInFlight;
    std::array<void*, OPERATION_COUNT> m_apAddresses = {};
    std::atomic<bool>                  m_bStopped    = false;
    std::mutex                         m_oMutex;  // for what follows
    RecordFile                         m_oFile;
    HandleNames                        m_oNames;
};

thread_local KUINT32 Recording::s_uiThread = 0;
Recording            Recording::s_oRecording;

// A library may export a load and an unload of its own, and depend on them.
TStatus CallOwn(const char* pszName)
{
    void* const pAddress = Recording::s_oRecording.Find(pszName);
    return pAddress != nullptr ? reinterpret_cast<TStatus (*)()>(pAddress)() : TStatus_OK;
}
}

KUINT64 SoftwareBoard::Recorder::Carry(EOperation eOperation, const Words& roArguments)
{
    return Recording::s_oRecording.Carry(eOperation, roArguments);
}

TStatus Tavrin_Load(void)
{
    return CallOwn("Tavrin_Load");
}

TStatus Tavrin_UnLoad(void)
{
    return CallOwn("Tavrin_UnLoad");
}
