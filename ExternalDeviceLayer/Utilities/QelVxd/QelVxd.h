// Hardware access from user space: physical memory, the microsecond timer, PCI lookup.
//
// Nothing here takes a lock: the mappings and the PCI access belong to one thread at a time.
#ifndef QEL_VXD_H
#define QEL_VXD_H

#include "QelTypes.h"

struct pci_access;
struct pci_dev;

using MEMHANDLE = KUINTPTR;  // the address of a mapping, 0 when there is none
using PCIHANDLE = KUINTPTR;  // bus in bits 15-8, device in bits 7-3, function in bits 2-0; the rest is not looked at

// One live mapping, a heap block that the list owns.
struct MEMMAPINFO
{
    MEMMAPINFO* pNext;
    MEMMAPINFO* pPrev;
    void*       pvLinear;  // the address that the caller was given
    KUINT32     dwSize;    // bytes that the caller asked for
};

extern "C"
{
extern MEMMAPINFO  g_oQelVxdMapList;        // head of the ring of live mappings, the latest first
extern pci_access* g_poQelVxdPciLibAccess;  // made by the first lookup, null before and after a clean-up

// Start and release of the library; both return 1. A start takes nothing, a release gives up the PCI access.
KUINT32 InitQELLibrary(void);
KUINT32 ReleaseQELLibrary(void);

// Physical memory, mapped through /dev/mem. 0 where that is refused. The caching type is a wish that every mapping
// leaves unheard: all are shared mappings of the file. memUnmap returns 1, or 0 for an address that is not mapped.
MEMHANDLE memMap64(KUINT64 ullPhysical, KUINT32 uiSize, KUINT32 uiCachingType);
MEMHANDLE memMapEx(KUINT32 ullPhysical, KUINT32 ulSize, KUINT32 ulCachingType);
MEMHANDLE memMap(KUINT32 lPhysical, KUINT32 lSize);
KUINT32   memUnmap(MEMHANDLE hMemory);

// The Linux bodies of the mapper.
void*   QelVxdMapMemoryLinux(KUINT32 uiAddressLow, KUINT32 uiAddressHigh, KUINT32 uiLength, KUINT32 uiFlags);
KUINT32 QelVxdUnmapMemoryLinux(void* pvMemory);

// The microsecond timer, on the monotonic clock. The delay keeps the processor busy, for the sake of precision; counter
// and frequency (ticks per second) are written to an unsigned 64-bit integer. All return 1, the counter 0 when the clock
// cannot be read.
KUINT32 tmInit(void);
KUINT32 tmDelay(KUINT32 dwDelay);
KUINT32 tmCounter(void* pvCounter64);
KUINT32 tmFrequency(void* pvFrequency64);

// The Linux bodies of the timer.
KUINT32 QelVxdPrivateLinuxTimer_Delay(KUINT32 dwDelay);
KUINT32 QelVxdPrivateLinuxTimer_Counter(void* pvCounter64);
KUINT32 QelVxdPrivateLinuxTimer_Frequency(void* pvFrequency64);

// The PCI library's record of a function, in whatever domain comes first; null when there is none, or no PCI at all. It
// lives until the clean-up.
pci_dev* QelVxdPciLibConvertHandle(PCIHANDLE hDevice);
void     QelVxdPciLibCleanUp(void);
}

#endif
