// The service class of the device layer: messages, events and signals, time, threads, locks and memory.
#ifndef OS_SERVICES_H
#define OS_SERVICES_H

#include <cstdarg>

#include "OsServicesHandles.h"
#include "QelTypes.h"
#include "Tavrin.h"

// An outside provider of services. An OsServices that was constructed with one forwards the four operations of the same
// name to it and does everything else itself.
class IOsServices
{
public:
    virtual ~IOsServices() = default;

    // The interrupt level of the caller. An OsServices keeps the low 8 bits.
    virtual KUINT32 GetIrql() = 0;

    virtual KBOOL32 Event_Create(HEvent& rhEvent)    = 0;
    virtual KBOOL32 Event_Trigger(HEvent hEvent)     = 0;
    virtual KBOOL32 Signal_Create(HSignal& rhSignal) = 0;
    virtual KBOOL32 Signal_Trigger(HSignal hSignal)  = 0;
};

// A program needs one object of this class, g_oOsServices. The first object starts the hardware-access library, and the
// last one releases it. Construct and destroy objects on the main thread. Call IoMap and IoUnMap from one thread at a
// time. Change the settings of messages while no other thread writes messages. Any thread may call everything else.
//
// The caller of a Create owns the handle and must call Destroy. A Create that fails returns FALSE and leaves a null
// handle. Operations refuse a null handle: they return FALSE, and a wait returns TStatus_FAIL. Time-outs are
// milliseconds on the real-time clock. A time-out of 0xFFFFFFFF never expires.
class OsServices
{
public:
    explicit OsServices(void* pvIOsServices);  // an IOsServices, or null; the caller keeps it
    virtual ~OsServices();

    OsServices(const OsServices&)            = delete;
    OsServices& operator=(const OsServices&) = delete;

    KBOOL32 IsInitialized() const { return m_bInitialized; }  // FALSE: the hardware-access library did not start

    // Messages. Each call writes prefix and text to standard output, together at most 255 characters. End the text with a
    // line end; a text that is cut loses it. Lines of several threads do not mix. No object is needed.
    [[gnu::format(printf, 1, 2)]] static void WriteMsg(const KCHAR8* pszMsg, ...);       // bEnableInfo, off by default
    [[gnu::format(printf, 1, 2)]] static void WriteUserMsg(const KCHAR8* pszMsg, ...);   // bEnableUserMsg, on by default
    [[gnu::format(printf, 1, 2)]] static void WriteErrorMsg(const KCHAR8* pszMsg, ...);  // bEnableErrorMsg, on by default

    static void SetMsgPrefix(const KCHAR8* pszPrefix);  // keeps the first 63 characters
    static void SetMsgReferenceId(KUINT64 uiReferenceId);
    static void SetMsgPrefixEnable(KBOOL32 bIsMsgPrefixEnabled);
    static void SetMsgLevel(KBOOL32 bEnableErrorMsg, KBOOL32 bEnableUserMsg, KBOOL32 bEnableInfo);
    static void GetMsgLevel(KBOOL32* pbEnableErrorMsg, KBOOL32* pbEnableUsrMsg, KBOOL32* pbEnableInfo);  // skips null

    // Returns a pointer to the last component of the path. Slashes and backslashes separate components, except as the first
    // character.
    static const KCHAR8* GetFileNameOnlySubSring(const KCHAR8* pszFilename);

    // Events. A trigger ends one wait. If nobody waits, it stays pending and ends the next wait. A wait returns TStatus_OK
    // after a trigger, TStatus_TIMEOUT, TStatus_CANCELED while the event is cancelled, or TStatus_FAIL. Every wait consumes
    // a pending trigger.
    KBOOL32 Event_Create(HEvent& rhEvent);
    KBOOL32 Event_Destroy(HEvent hEvent);  // no thread may be waiting
    TStatus Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds);
    KBOOL32 Event_Trigger(HEvent hEvent);   // FALSE while cancelled
    KBOOL32 Event_Reset(HEvent hEvent);     // drops a pending trigger
    KBOOL32 Event_Cancel(HEvent hEvent);    // ends every wait and sets a pending trigger; FALSE while cancelled
    KBOOL32 Event_Activate(HEvent hEvent);  // ends the cancelled state, keeps a pending trigger

    // Signals. A trigger ends every wait that has begun. If nobody waits, it has no effect. The results are those of events.
    KBOOL32 Signal_Create(HSignal& rhSignal);
    KBOOL32 Signal_Destroy(HSignal hSignal);
    TStatus Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64 uiEventCount);  // ignores the count
    KBOOL32 Signal_Trigger(HSignal hSignal);
    KBOOL32 Signal_Cancel(HSignal hSignal);
    KBOOL32 Signal_Activate(HSignal hSignal);

    // Time. WaitMicroSeconds is a busy wait up to 100000 us. Above that it sleeps for the whole milliseconds.
    static KBOOL32 WaitMicroSeconds(KUINT32 ui32MicroSeconds);
    KBOOL32        SleepMilliSeconds(KUINT32 ui32MilliSeconds);  // at most 4294967; FALSE when a signal cut it short
    KUINT64        GetRawTimeInNs();                             // real-time clock; 0 when it cannot be read
    KUINT64        GetTimeInMs();

    // Threads. Destroy frees the handle only: it neither joins nor detaches the thread.
    HCpuThreadId GetCurrentThreadId();
    KBOOL32      IsThreadIdEqual(HCpuThreadId hThreadIdA, HCpuThreadId hThreadIdB);
    KBOOL32      CpuThread_Create(PfnCpuThreadFunction pfnThreadFunction, void* pvUserData, HCpuThread& rhCpuThread);
    KBOOL32      CpuThread_Join(const HCpuThread& rhCpuThread);  // drops the thread's result
    KBOOL32      CpuThread_Destroy(HCpuThread hCpuThread);

    // Spin locks. They are private to the process.
    KBOOL32 SpinLock_Create(HSpinLock& rhSpinLock);
    KBOOL32 SpinLock_Destroy(HSpinLock hSpinLock);
    KBOOL32 SpinLock_Lock(HSpinLock hSpinLock);
    KBOOL32 SpinLock_Unlock(HSpinLock hSpinLock);

    // Recursive mutexes: the owner must release one as often as it acquired it. Acquire returns FALSE after the time-out.
    // Destroy returns FALSE for a held mutex and leaves it usable.
    KBOOL32 Mutex_Create(HMutex& rhMutex);
    KBOOL32 Mutex_Destroy(HMutex hMutex);
    KBOOL32 Mutex_Acquire(HMutex hMutex, KUINT32 uiTimeOutMilliSeconds);
    KBOOL32 Mutex_Release(HMutex hMutex);

    // Memory. PagedMemory is the heap. NonPagedMemory does not exist in user space: its functions return null and 0 and do
    // nothing. IoMap maps physical memory, or returns null. The copies always return TRUE.
    static void*   PagedMemory_Alloc(KUINTPTR uiSizeInBytes);  // null when the heap is exhausted
    static void    PagedMemory_Free(void* pvBuffer);
    void*          NonPagedMemory_Alloc(KUINTPTR uiSizeInBytes, HNonPagedMem* phNonPagedMem);
    KUINT64        NonPagedMemory_GetPhysicalAddress(HNonPagedMem hNonPagedMem);
    void           NonPagedMemory_Free(HNonPagedMem hNonPagedMem);
    void*          IoMap(KUINT64 uiPhysicalAddress, KUINT32 uiSize, KBOOL32 bIsCacheable);
    void           IoUnMap(void* pvMappedAddress, KUINT32 uiSize);
    static KBOOL32 CopyFromUser(void* pvSource, void* pvDest, KUINT uiNbBytes);
    static KBOOL32 CopyToUser(void* pvSource, void* pvDest, KUINT uiNbBytes);

    // Pseudo-random numbers. The sequence differs from run to run. Threads that ask at the same time may get the same
    // number.
    static KUINT32 GetRandom();
    static KUINT32 GetRandomNonZero();

    // Stack traces. User space has none: Save stores nothing, and Print and Dump write one line that says so.
    static KBOOL32 StackTrace_Create(HStackTrace& rhStackTrace);
    static KBOOL32 StackTrace_Destroy(HStackTrace hStackTrace);
    static KBOOL32 StackTrace_Save(HStackTrace hStackTrace);
    static void    StackTrace_Print(HStackTrace hStackTrace);
    static void    StackTrace_Dump();

    // With TRUE, the first object that is constructed does not start the hardware-access library.
    static void SetTestMode(KBOOL32 bTestMode);

    KBOOL32      m_bInitialized;  // this object is part of ms_uiInstanceCount
    IOsServices* m_poIOsServices;
    KUINT8       m_uiIrql;  // unused without an IOsServices

    static constexpr KUINT32 msc_uiMajorVer = 4;
    static constexpr KUINT32 msc_uiMinorVer = 12;
    static constexpr KUINT32 msc_uiPatchVer = 0;
    static constexpr KUINT32 msc_uiBuildVer = 16;

    static KUINT32 ms_uiInstanceCount;
    static KBOOL32 ms_bTestMode;
    static KCHAR8  ms_szMsgPrefix[64];
    static KBOOL32 ms_bIsMessagePrefixEnabled;
    static KUINT64 ms_uiReferenceId;
    static KBOOL32 ms_bEnableErrorMsg;
    static KBOOL32 ms_bEnableUserMsg;
    static KBOOL32 ms_bEnableInfo;
    static KUINT32 ms_uiOldRandomValue;  // 0: the next call seeds it

private:
    [[gnu::format(printf, 3, 4)]] static void FormatString(KCHAR8* pacBuf, KUINT32 uiBufSize, const KCHAR8* szFmt, ...);
    [[gnu::format(printf, 3, 0)]] static void WriteMsgOfLevel(KBOOL32 bIsEnabled, const KCHAR8* pszLevelTag,
                                                              const KCHAR8* pszMsg, va_list argList);
    static void                               WriteMsgInternal(const KCHAR8* pszMsg);
};

// The program defines this object.
extern OsServices g_oOsServices;

#endif
