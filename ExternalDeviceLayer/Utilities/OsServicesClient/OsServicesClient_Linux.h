// The C layer under class OsServices: plain functions over POSIX.
//
// A handle points to a block of at least GetHandleSize bytes, which the caller owns. Create makes the object in the block,
// and Destroy destroys the object but keeps the block. For a null handle, functions return FALSE, and waits TStatus_FAIL.
// Time-outs are milliseconds on the real-time clock. A time-out of 0xFFFFFFFF never expires.
#ifndef OS_SERVICES_CLIENT_LINUX_H
#define OS_SERVICES_CLIENT_LINUX_H

#include <sys/types.h>

#include <cstdarg>

#include "OsServicesHandles.h"
#include "QelTypes.h"
#include "Tavrin.h"

extern "C"
{
// Start and release the hardware-access library. TRUE on success.
KBOOL32 OsServices_Initialize(void);
KBOOL32 OsServices_Cleanup(void);

// Messages. WriteMsg writes to standard output and does not flush it. WriteKernelMsg writes to /dev/kmsg, if it can be
// opened.
[[gnu::format(printf, 1, 0)]] void OsServices_WriteMsg(const KCHAR8* pszFormat, va_list argList);
[[gnu::format(printf, 1, 0)]] void OsServices_WriteKernelMsg(const KCHAR8* pszFormat, va_list argList);

// Events. A trigger ends one wait. If nobody waits, it stays pending until a wait or a reset consumes it. A cancel ends
// every wait with TStatus_CANCELED, and so do later waits until the event is activated.
KUINT32 OsServices_Event_GetHandleSize(void);
KBOOL32 OsServices_Event_Create(HEvent hEvent);
KBOOL32 OsServices_Event_Destroy(HEvent hEvent);  // no thread may be waiting
TStatus OsServices_Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds);
KBOOL32 OsServices_Event_Trigger(HEvent hEvent);
KBOOL32 OsServices_Event_Reset(HEvent hEvent);
KBOOL32 OsServices_Event_Cancel(HEvent hEvent);
KBOOL32 OsServices_Event_Activate(HEvent hEvent);

// Signals. A trigger ends every wait that has begun. If nobody waits, it has no effect. The event count is ignored.
KUINT32 OsServices_Signal_GetHandleSize(void);
KBOOL32 OsServices_Signal_Create(HSignal hSignal);
KBOOL32 OsServices_Signal_Destroy(HSignal hSignal);  // no thread may be waiting
TStatus OsServices_Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64 uiEventCount);
KBOOL32 OsServices_Signal_Trigger(HSignal hSignal);
KBOOL32 OsServices_Signal_Cancel(HSignal hSignal);
KBOOL32 OsServices_Signal_Activate(HSignal hSignal);

// Time. WaitMicroSeconds is a busy wait. SleepMilliSeconds returns FALSE when a signal cut it short, and takes at most
// 4294967 ms. GetRawTimeInNs reads the real-time clock, or returns 0.
KBOOL32 OsServices_WaitMicroSeconds(KUINT32 ui32MicroSeconds);
KBOOL32 OsServices_SleepMilliSeconds(KUINT32 ui32MilliSeconds);
KUINT64 OsServices_GetRawTimeInNs(void);

// Threads. Destroy neither joins nor detaches. A thread that was not joined keeps its resources.
HCpuThreadId OsServices_GetCurrentThreadId(void);
KBOOL32      OsServices_IsThreadIdEqual(HCpuThreadId hThreadIdA, HCpuThreadId hThreadIdB);
KUINT32      OsServices_CpuThread_GetHandleSize(void);
KBOOL32      OsServices_CpuThread_Create(PfnCpuThreadFunction pfnThreadFunction, void* pvUserData, HCpuThread hCpuThread);
KBOOL32      OsServices_CpuThread_Join(HCpuThread hCpuThread);  // drops the thread's result
KBOOL32      OsServices_CpuThread_Destroy(HCpuThread hCpuThread);

// Spin locks, private to the process. The arguments uiIrql and bDisableLocalInt are ignored in user space.
KUINT32 OsServices_SpinLock_GetHandleSize(void);
KBOOL32 OsServices_SpinLock_Create(HSpinLock hSpinLock, KUINT8 uiIrql);
KBOOL32 OsServices_SpinLock_Destroy(HSpinLock hSpinLock);
KBOOL32 OsServices_SpinLock_Lock(HSpinLock hSpinLock, KBOOL32 bDisableLocalInt);
KBOOL32 OsServices_SpinLock_Unlock(HSpinLock hSpinLock);

// Recursive mutexes: the owner must release one as often as it acquired it. Destroy returns FALSE for a held mutex.
KUINT32 OsServices_Mutex_GetHandleSize(void);
KBOOL32 OsServices_Mutex_Create(HMutex hMutex);
KBOOL32 OsServices_Mutex_Destroy(HMutex hMutex);
KBOOL32 OsServices_Mutex_Acquire(HMutex hMutex, KUINT32 uiTimeOutMilliSeconds);
KBOOL32 OsServices_Mutex_Release(HMutex hMutex);

// Memory. PagedMemory is the heap. NonPagedMemory does not exist in user space: its functions return null and 0 and do
// nothing. IoMap maps physical memory, uncached if it cannot be cached, or returns null. The copies return TRUE.
void*   OsServices_PagedMemory_Alloc(KUINTPTR uiSizeInBytes);
void    OsServices_PagedMemory_Free(void* pvBuffer);
void*   OsServices_NonPagedMemory_Alloc(KUINTPTR uiSizeInBytes, HNonPagedMem* phNonPagedMem);
KUINT64 OsServices_NonPagedMemory_GetPhysicalAddress(HNonPagedMem hNonPagedMem);
void    OsServices_NonPagedMemory_Free(HNonPagedMem hNonPagedMem);
void*   OsServices_IoMap(KUINT64 uiPhysicalAddress, KUINT32 uiSize, KBOOL32 bIsCacheable);
void    OsServices_IoUnMap(void* pvMappedAddress, KUINT32 uiSize);  // ignores the size
KBOOL32 OsServices_CopyFromUser(void* pvSource, void* pvDest, KUINT uiNbBytes);
KBOOL32 OsServices_CopyToUser(void* pvSource, void* pvDest, KUINT uiNbBytes);

// Pseudo-random numbers. The state is the last number. A state of 0 is seeded from a heap address. The functions without a
// state share one, without synchronisation.
KUINT32 OsServices_GetNextRandom(KUINT32* puiState);
KUINT32 OsServices_GetNextRandomNonZero(KUINT32* puiState);
KUINT32 OsServices_GetRandom(void);
KUINT32 OsServices_GetRandomNonZero(void);

// Stack traces. User space has none: Save stores nothing, and Print and Dump write one line that says so.
KUINT32 OsServices_StackTrace_GetHandleSize(void);
KBOOL32 OsServices_StackTrace_Create(HStackTrace hStackTrace);
KBOOL32 OsServices_StackTrace_Destroy(HStackTrace hStackTrace);
KBOOL32 OsServices_StackTrace_Save(HStackTrace hStackTrace);
void    OsServices_StackTrace_Print(HStackTrace hStackTrace);
void    OsServices_StackTrace_Dump(void);

// Processes, read from /proc. GetParentPid returns 0 on failure, also for most names with white space. GetProcessName
// returns the command line, with a space after each argument, or an empty text on failure. GetProcessStack returns one line
// with the name of this process and of each ancestor. Texts are cut to the buffer and always terminated.
pid_t   OsServices_GetParentPid(pid_t pPid);
void    OsServices_GetProcessName(pid_t pPid, char* pszName, KUINT32 uiNameBufferSize);
TStatus OsServices_GetProcessStack(KCHAR8* pszProcessStack, KUINT32 uiBufferSize);
}

#endif
