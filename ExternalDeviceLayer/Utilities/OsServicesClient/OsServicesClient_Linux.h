// The C layer under class OsServices: plain functions over POSIX.
//
// A handle points at a block of at least the size that its kind reports. The caller owns the block; Create makes the
// object in it, Destroy unmakes the object and leaves the block. A null handle gives FALSE (a wait TStatus_FAIL).
// Time-outs are milliseconds on the real-time clock, with all bits set: no limit.
#ifndef OS_SERVICES_CLIENT_LINUX_H
#define OS_SERVICES_CLIENT_LINUX_H

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
}

#endif
