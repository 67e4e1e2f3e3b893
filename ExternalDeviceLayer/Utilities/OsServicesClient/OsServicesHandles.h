// Types of the OS services. A handle points to a block whose content only the C layer knows.
#ifndef OS_SERVICES_HANDLES_H
#define OS_SERVICES_HANDLES_H

#include "QelTypes.h"

struct SHEvent;
struct SHSignal;
struct SHCpuThread;
struct SHSpinLock;
struct SHMutex;
struct SHStackTrace;

using HEvent      = SHEvent*;
using HSignal     = SHSignal*;
using HCpuThread  = SHCpuThread*;
using HSpinLock   = SHSpinLock*;
using HMutex      = SHMutex*;
using HStackTrace = SHStackTrace*;

using HCpuThreadId         = KUINT64;
using PfnCpuThreadFunction = KUINT32 (*)(void* pvUserData);

// Memory at a fixed physical address. User space has none, so nothing fills this record.
struct SNonPagedMem
{
    KUINT64 pvLinearMapAddress;
    KUINT64 pvBaseAddress;
    KUINT64 uiPhysicalAddress;
    KUINT32 uiSize;  // bytes
};
using HNonPagedMem = SNonPagedMem*;

#endif
