// The service class of the device layer: messages, events and signals, time, threads, locks and memory.
#ifndef OS_SERVICES_H
#define OS_SERVICES_H

#include <cstdarg>

#include "OsServicesHandles.h"
#include "QelTypes.h"
#include "Tavrin.h"

// Services from outside that the one who constructs an OsServices may offer; the operations named like its own are
// called in place of them.
class IOsServices
{
public:
    virtual ~IOsServices() = default;

    // The level at which the caller runs; an OsServices keeps its low 8 bits.
    virtual KUINT32 GetIrql() = 0;

    virtual KBOOL32 Event_Create(HEvent& rhEvent)    = 0;
    virtual KBOOL32 Event_Trigger(HEvent hEvent)     = 0;
    virtual KBOOL32 Signal_Create(HSignal& rhSignal) = 0;
    virtual KBOOL32 Signal_Trigger(HSignal hSignal)  = 0;
};

// One process holds one of these, g_oOsServices; the first that is constructed starts the hardware-access library, the
// last that is destroyed releases it. Construction and destruction belong to the main thread, IoMap and IoUnMap to one
// thread at a time, everything else to any.
//
// What a Create makes its caller owns, until Destroy; a Create that fails leaves a null handle, and an operation on a
// null handle is refused (FALSE, a wait TStatus_FAIL). Time-outs are milliseconds on the real-time clock; all bits set
// is no limit.
class OsServices
{
public:
    explicit OsServices(void* pvIOsServices);  // an IOsServices, borrowed, or null
    virtual ~OsServices();

    OsServices(const OsServices&)            = delete;
    OsServices& operator=(const OsServices&) = delete;

    KBOOL32 IsInitialized() const { return m_bInitialized; }  // FALSE when the hardware-access library did not start

    // Messages: one line of at most 255 characters on standard output, prefix included. The text brings its line end.
    // A line is written with one call, so lines of several threads do not mix. No instance is needed.
    [[gnu::format(printf, 1, 2)]] static void WriteMsg(const KCHAR8* pszMsg, ...);       // debug, off at first
    [[gnu::format(printf, 1, 2)]] static void WriteUserMsg(const KCHAR8* pszMsg, ...);   // info, on
    [[gnu::format(printf, 1, 2)]] static void WriteErrorMsg(const KCHAR8* pszMsg, ...);  // error, on

    static void SetMsgPrefix(const KCHAR8* pszPrefix);  // the first 63 characters are kept
    static void SetMsgReferenceId(KUINT64 uiReferenceId);
    static void SetMsgPrefixEnable(KBOOL32 bIsMsgPrefixEnabled);
    static void SetMsgLevel(KBOOL32 bEnableErrorMsg, KBOOL32 bEnableUserMsg, KBOOL32 bEnableInfo);
    static void GetMsgLevel(KBOOL32* pbEnableErrorMsg, KBOOL32* pbEnableUsrMsg, KBOOL32* pbEnableInfo);  // null: skipped

    // The last component of a path, slashes and backslashes alike; one in first place does not count. Points into it.
    static const KCHAR8* GetFileNameOnlySubSring(const KCHAR8* pszFilename);

    // Events: a flag with memory; a trigger ends one wait. OK, TIMEOUT, CANCELED (also at once while cancelled) or FAIL.
    KBOOL32 Event_Create(HEvent& rhEvent);
    KBOOL32 Event_Destroy(HEvent hEvent);  // nobody may be waiting
    TStatus Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds);
    KBOOL32 Event_Trigger(HEvent hEvent);   // pending until a wait consumes it when nobody waits; FALSE while cancelled
    KBOOL32 Event_Reset(HEvent hEvent);     // takes a pending trigger back
    KBOOL32 Event_Cancel(HEvent hEvent);    // ends every wait and leaves a trigger pending; FALSE while cancelled
    KBOOL32 Event_Activate(HEvent hEvent);  // ends the cancelled state

    // Signals: a pulse that ends every wait of the moment and remembers nothing; otherwise as events.
    KBOOL32 Signal_Create(HSignal& rhSignal);
    KBOOL32 Signal_Destroy(HSignal hSignal);
    TStatus Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64 uiEventCount);  // the count is not used
    KBOOL32 Signal_Trigger(HSignal hSignal);
    KBOOL32 Signal_Cancel(HSignal hSignal);
    KBOOL32 Signal_Activate(HSignal hSignal);

    // Time: a busy wait (a sleep of whole milliseconds above 100000), a sleep, and the real-time clock.
    static KBOOL32 WaitMicroSeconds(KUINT32 ui32MicroSeconds);
    KBOOL32        SleepMilliSeconds(KUINT32 ui32MilliSeconds);  // FALSE when a signal cut it short
    KUINT64        GetRawTimeInNs();                             // 0 when the clock cannot be read
    KUINT64        GetTimeInMs();

    // Threads.
    HCpuThreadId GetCurrentThreadId();
    KBOOL32      IsThreadIdEqual(HCpuThreadId hThreadIdA, HCpuThreadId hThreadIdB);
    KBOOL32      CpuThread_Create(PfnCpuThreadFunction pfnThreadFunction, void* pvUserData, HCpuThread& rhCpuThread);
    KBOOL32      CpuThread_Join(const HCpuThread& rhCpuThread);  // the thread's result is not collected
    KBOOL32      CpuThread_Destroy(HCpuThread hCpuThread);       // of the handle: neither joins nor detaches

    // Spin locks, private to the process.
    KBOOL32 SpinLock_Create(HSpinLock& rhSpinLock);
    KBOOL32 SpinLock_Destroy(HSpinLock hSpinLock);
    KBOOL32 SpinLock_Lock(HSpinLock hSpinLock);
    KBOOL32 SpinLock_Unlock(HSpinLock hSpinLock);

    // Mutexes: recursive, released as often as acquired. An acquire that times out is FALSE, and so is the destruction of
    // a held one, which then stays as it is.
    KBOOL32 Mutex_Create(HMutex& rhMutex);
    KBOOL32 Mutex_Destroy(HMutex hMutex);
    KBOOL32 Mutex_Acquire(HMutex hMutex, KUINT32 uiTimeOutMilliSeconds);
    KBOOL32 Mutex_Release(HMutex hMutex);

    // Memory: the heap, physical memory (null where it cannot be mapped), and copies, source first. Non-paged memory does
    // not exist in user space: always null, 0 and nothing.
    static void*   PagedMemory_Alloc(KUINTPTR uiSizeInBytes);  // null when the heap is exhausted
    static void    PagedMemory_Free(void* pvBuffer);
    void*          NonPagedMemory_Alloc(KUINTPTR uiSizeInBytes, HNonPagedMem* phNonPagedMem);
    KUINT64        NonPagedMemory_GetPhysicalAddress(HNonPagedMem hNonPagedMem);
    void           NonPagedMemory_Free(HNonPagedMem hNonPagedMem);
    void*          IoMap(KUINT64 uiPhysicalAddress, KUINT32 uiSize, KBOOL32 bIsCacheable);
    void           IoUnMap(void* pvMappedAddress, KUINT32 uiSize);
    static KBOOL32 CopyFromUser(void* pvSource, void* pvDest, KUINT uiNbBytes);
    static KBOOL32 CopyToUser(void* pvSource, void* pvDest, KUINT uiNbBytes);

    // Pseudo-random numbers, another sequence every run. Threads that ask at once may get the same.
    static KUINT32 GetRandom();
    static KUINT32 GetRandomNonZero();

    // Stack traces, which only a kernel client has: nothing is saved, and one line says so.
    static KBOOL32 StackTrace_Create(HStackTrace& rhStackTrace);
    static KBOOL32 StackTrace_Destroy(HStackTrace hStackTrace);
    static KBOOL32 StackTrace_Save(HStackTrace hStackTrace);
    static void    StackTrace_Print(HStackTrace hStackTrace);
    static void    StackTrace_Dump();

    // TRUE before the first construction: the hardware-access library is not started.
    static void SetTestMode(KBOOL32 bTestMode);

    KBOOL32      m_bInitialized;  // this instance was counted
    IOsServices* m_poIOsServices;
    KUINT8       m_uiIrql;  // no meaning without an IOsServices

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
    static KUINT32 ms_uiOldRandomValue;  // 0: to be seeded

private:
    [[gnu::format(printf, 3, 4)]] static void FormatString(KCHAR8* pacBuf, KUINT32 uiBufSize, const KCHAR8* szFmt, ...);
    [[gnu::format(printf, 3, 0)]] static void WriteMsgOfLevel(KBOOL32 bIsEnabled, const KCHAR8* pszLevelTag,
                                                              const KCHAR8* pszMsg, va_list argList);
    static void                               WriteMsgInternal(const KCHAR8* pszMsg);
};

// Defined by the program, not by this library.
extern OsServices g_oOsServices;

#endif
