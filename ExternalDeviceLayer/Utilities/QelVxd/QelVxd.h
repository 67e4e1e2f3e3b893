// Hardware access from user space: physical memory, the microsecond timer, PCI lookup.
//
// Nothing here takes a lock. Use the mappings and the PCI access from one thread at a time.
#ifndef QEL_VXD_H
#define QEL_VXD_H

#include "QelTypes.h"

struct pci_access;
struct pci_dev;

using MEMHANDLE = KUINTPTR;  // the address of a mapping, or 0
using PCIHANDLE = KUINTPTR;  // bus in bits 15-8, device in bits 7-3, function in bits 2-0; other bits are ignored

// One live mapping. The list owns it.
struct MEMMAPINFO
{
    MEMMAPINFO* pNext;
    MEMMAPINFO* pPrev;
    void*       pvLinear;  // the address that the caller received
    KUINT32     dwSize;    // bytes that the caller asked for
};

extern "C"
{
extern MEMMAPINFO  g_oQelVxdMapList;        // head of the circular list of live mappings, newest first
extern pci_access* g_poQelVxdPciLibAccess;  // the first lookup makes it; null before that and after a clean-up

// Start and release the library. Both return 1. The start does nothing. The release frees the PCI access.
KUINT32 InitQELLibrary(void);
KUINT32 ReleaseQELLibrary(void);

// Map physical memory through /dev/mem, readable and writable. Return 0 on failure. The caching type is ignored.
// memUnmap returns 1, or 0 for an address that is not mapped.
MEMHANDLE memMap64(KUINT64 ullPhysical, KUINT32 uiSize, KUINT32 uiCachingType);
MEMHANDLE memMapEx(KUINT32 ullPhysical, KUINT32 ulSize, KUINT32 ulCachingType);
MEMHANDLE memMap(KUINT32 lPhysical, KUINT32 lSize);
KUINT32   memUnmap(MEMHANDLE hMemory);

// The Linux implementation of the mapping.
void*   QelVxdMapMemoryLinux(KUINT32 uiAddressLow, KUINT32 uiAddressHigh, KUINT32 uiLength, KUINT32 uiFlags);
KUINT32 QelVxdUnmapMemoryLinux(void* pvMemory);

// The microsecond timer, on the monotonic clock. The delay is a busy wait, which is precise. The counter (microseconds) and
// the frequency (ticks per second) are written to an unsigned 64-bit integer. All return 1, but tmCounter returns 0 when the
// clock cannot be read.
KUINT32 tmInit(void);
KUINT32 tmDelay(KUINT32 dwDelay);
KUINT32 tmCounter(void* pvCounter64);
KUINT32 tmFrequency(void* pvFrequency64);

// The Linux implementation of the timer.
KUINT32 QelVxdPrivateLinuxTimer_Delay(KUINT32 dwDelay);
KUINT32 QelVxdPrivateLinuxTimer_Counter(void* pvCounter64);
KUINT32 QelVxdPrivateLinuxTimer_Frequency(void* pvFrequency64);

// Returns the PCI library's record of a device, in the first domain that has it. Returns null if there is no such device or
// no PCI bus. The record is valid until the clean-up.
pci_dev* QelVxdPciLibConvertHandle(PCIHANDLE hDevice);
void     QelVxdPciLibCleanUp(void);
}

#endif
