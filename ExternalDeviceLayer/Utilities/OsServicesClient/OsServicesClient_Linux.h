// The C layer under class OsServices: plain functions over POSIX.
#ifndef OS_SERVICES_CLIENT_LINUX_H
#define OS_SERVICES_CLIENT_LINUX_H

#include <cstdarg>

#include "QelTypes.h"

extern "C"
{
// Start and release of the hardware-access library; TRUE on success.
KBOOL32 OsServices_Initialize(void);
KBOOL32 OsServices_Cleanup(void);

// Writes to standard output, through its buffer.
[[gnu::format(printf, 1, 0)]] void OsServices_WriteMsg(const KCHAR8* pszFormat, va_list argList);

// Writes to the kernel's log; where that cannot be opened nothing is written.
[[gnu::format(printf, 1, 0)]] void OsServices_WriteKernelMsg(const KCHAR8* pszFormat, va_list argList);
}

#endif
