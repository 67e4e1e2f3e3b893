// The C layer under class OsServices: plain functions over POSIX.
//
// A handle points at a block of at least the size that its kind reports. The caller owns the block; Create makes the
// object in it, Destroy unmakes the object and leaves the block. A null handle gives FALSE (a wait TStatus_FAIL).
// Time-outs are milliseconds on the real-time clock, with all bits set: no limit.
#ifndef OS_SERVICES_CLIENT_LINUX_H
#define OS_SERVICES_CLIENT_LINUX_H

#include <sys/types.h>

#include <cstdarg>

#include "OsServicesHandles.h"
#include "QelTypes.h"
#include "Tavrin.h"

extern "C"
{
// Start and release of the hardware-access library; TRUE on success.
KBOOL32 OsServices_Initialize(void);
KBOOL32 OsServices_Cleanup(void);

// Messages: to standard output, through its buffer, and to the kernel's log (nothing where that cannot be opened).
[[gnu::format(printf, 1, 0)]] void OsServices_WriteMsg(const KCHAR8* pszFormat, va_list argList);
[[gnu::format(printf, 1, 0)]] void OsServices_WriteKernelMsg(const KCHAR8* pszFormat, va_list argList);

// Events: a flag with memory. A trigger ends one wait; with nobody waiting it stays pending until a wait, or a reset,
// consumes it. A cancelled event ends its waits with TStatus_CANCELED until it is activated again.
KUINT32 OsServices_Event_GetHandleSize(void);
KBOOL32 OsServices_Event_Create(HEvent hEvent);
KBOOL32 OsServices_Event_Destroy(HEvent hEvent);  // nobody may be waiting
TStatus OsServices_Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds);
KBOOL32 OsServices_Event_Trigger(HEvent hEvent);
KBOOL32 OsServices_Event_Reset(HEvent hEvent);
KBOOL32 OsServices_Event_Cancel(HEvent hEvent);
KBOOL32 OsServices_Event_Activate(HEvent hEvent);

// Signals: a pulse that ends every wait of the moment and remembers nothing. The event count is not used.
KUINT32 OsServices_Signal_GetHandleSize(void);
KBOOL32 OsServices_Signal_Create(HSignal hSignal);
KBOOL32 OsServices_Signal_Destroy(HSignal hSignal);  // nobody may be waiting
TStatus OsServices_Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64 uiEventCount);
KBOOL32 OsServices_Signal_Trigger(HSignal hSignal);
KBOOL32 OsServices_Signal_Cancel(HSignal hSignal);
KBOOL32 OsServices_Signal_Activate(HSignal hSignal);

// Time: a busy wait, a sleep (FALSE when a signal cut it short), the real-time clock (0 when it cannot be read).
KBOOL32 OsServices_WaitMicroSeconds(KUINT32 ui32MicroSeconds);
KBOOL32 OsServices_SleepMilliSeconds(KUINT32 ui32MilliSeconds);
KUINT64 OsServices_GetRawTimeInNs(void);

// Threads. Destroy neither joins nor detaches: a thread that was not joined keeps its resources.
HCpuThreadId OsServices_GetCurrentThreadId(void);
KBOOL32      OsServices_IsThreadIdEqual(HCpuThreadId hThreadIdA, HCpuThreadId hThreadIdB);
KUINT32      OsServices_CpuThread_GetHandleSize(void);
KBOOL32      OsServices_CpuThread_Create(PfnCpuThreadFunction pfnThreadFunction, void* pvUserData, HCpuThread hCpuThread);
KBOOL32      OsServices_CpuThread_Join(HCpuThread hCpuThread);  // the thread's result is not collected
KBOOL32      OsServices_CpuThread_Destroy(HCpuThread hCpuThread);

// Spin locks, private to the process. Level and interrupts mean nothing in user space and are not used.
KUINT32 OsServices_SpinLock_GetHandleSize(void);
KBOOL32 OsServices_SpinLock_Create(HSpinLock hSpinLock, KUINT8 uiIrql);
KBOOL32 OsServices_SpinLock_Destroy(HSpinLock hSpinLock);
KBOOL32 OsServices_SpinLock_Lock(HSpinLock hSpinLock, KBOOL32 bDisableLocalInt);
KBOOL32 OsServices_SpinLock_Unlock(HSpinLock hSpinLock);

// Mutexes: recursive, so that the owner releases one as often as it acquired it. A held one is not destroyed: FALSE.
KUINT32 OsServices_Mutex_GetHandleSize(void);
KBOOL32 OsServices_Mutex_Create(HMutex hMutex);
KBOOL32 OsServices_Mutex_Destroy(HMutex hMutex);
KBOOL32 OsServices_Mutex_Acquire(HMutex hMutex, KUINT32 uiTimeOutMilliSeconds);
KBOOL32 OsServices_Mutex_Release(HMutex hMutex);

// Memory: the heap (null when it is exhausted), physical memory (null where it cannot be mapped; cacheable is a wish),
// and copies, source first. Non-paged memory does not exist in user space: always null, 0 and nothing.
void*   OsServices_PagedMemory_Alloc(KUINTPTR uiSizeInBytes);
void    OsServices_PagedMemory_Free(void* pvBuffer);
void*   OsServices_NonPagedMemory_Alloc(KUINTPTR uiSizeInBytes, HNonPagedMem* phNonPagedMem);
KUINT64 OsServices_NonPagedMemory_GetPhysicalAddress(HNonPagedMem hNonPagedMem);
void    OsServices_NonPagedMemory_Free(HNonPagedMem hNonPagedMem);
void*   OsServices_IoMap(KUINT64 uiPhysicalAddress, KUINT32 uiSize, KBOOL32 bIsCacheable);
void    OsServices_IoUnMap(void* pvMappedAddress, KUINT32 uiSize);  // the size is not used
KBOOL32 OsServices_CopyFromUser(void* pvSource, void* pvDest, KUINT uiNbBytes);
KBOOL32 OsServices_CopyToUser(void* pvSource, void* pvDest, KUINT uiNbBytes);

// Pseudo-random numbers: each follows from the one before, which a sequence keeps in its state; 0 seeds it from the heap.
// The functions without a state share the C layer's own, without synchronisation.
KUINT32 OsServices_GetNextRandom(KUINT32* puiState);
KUINT32 OsServices_GetNextRandomNonZero(KUINT32* puiState);
KUINT32 OsServices_GetRandom(void);
KUINT32 OsServices_GetRandomNonZero(void);

// Stack traces, which only a kernel client has: nothing is saved, and one line says so.
KUINT32 OsServices_StackTrace_GetHandleSize(void);
KBOOL32 OsServices_StackTrace_Create(HStackTrace hStackTrace);
KBOOL32 OsServices_StackTrace_Destroy(HStackTrace hStackTrace);
KBOOL32 OsServices_StackTrace_Save(HStackTrace hStackTrace);
void    OsServices_StackTrace_Print(HStackTrace hStackTrace);
void    OsServices_StackTrace_Dump(void);

// Processes, as /proc has them. The parent is 0 when it cannot be told, as for most names with white space in them. The name
// is the command line, each argument followed by a space, empty when it cannot be read. The stack is a line with the
// name of this process and one for each ancestor, cut to the buffer. Texts are always terminated.
pid_t   OsServices_GetParentPid(pid_t pPid);
void    OsServices_GetProcessName(pid_t pPid, char* pszName, KUINT32 uiNameBufferSize);
TStatus OsServices_GetProcessStack(KCHAR8* pszProcessStack, KUINT32 uiBufferSize);
}

#endif
