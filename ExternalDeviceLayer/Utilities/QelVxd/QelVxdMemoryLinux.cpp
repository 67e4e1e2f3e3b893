#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "QelVxd.h"

constinit MEMMAPINFO g_oQelVxdMapList = {&g_oQelVxdMapList, &g_oQelVxdMapList, nullptr, 0};

namespace
{
constexpr KUINT32 PAGE_SIZE_IN_BYTES = 4096;

constexpr KUINT32 OffsetInPage(KUINTPTR uiAddress)
{
    return static_cast<KUINT32>(uiAddress % PAGE_SIZE_IN_BYTES);
}

// The length of the whole pages that cover the range. It wraps at 32 bits, when mapping and when unmapping.
constexpr KUINT32 LengthOfPages(KUINT32 uiOffsetInPage, KUINT32 uiLength)
{
    const KUINT32 uiRaised = uiOffsetInPage + uiLength + (PAGE_SIZE_IN_BYTES - 1);
    return uiRaised - uiRaised % PAGE_SIZE_IN_BYTES;
}

// Maps whole pages of physical memory. Returns MAP_FAILED on failure.
void* MapPages(KUINT64 uiPageAddress, KUINT32 uiLength)
{
    const int iMemoryFile = open("/dev/mem", O_RDWR | O_CLOEXEC);
    if (iMemoryFile < 0)
        return MAP_FAILED;

    void* const pvPages =
        mmap(nullptr, uiLength, PROT_READ | PROT_WRITE, MAP_SHARED, iMemoryFile, static_cast<off_t>(uiPageAddress));
    close(iMemoryFile);  // the mapping stays
    return pvPages;
}
}

void* QelVxdMapMemoryLinux(KUINT32 uiAddressLow, KUINT32 uiAddressHigh, KUINT32 uiLength, KUINT32)
{
    std::unique_ptr<MEMMAPINFO> poInfo(new (std::nothrow) MEMMAPINFO);
    if (poInfo == nullptr)
        return nullptr;

    const KUINT32 uiOffset  = OffsetInPage(uiAddressLow);
    const KUINT64 uiAddress = KUINT64{uiAddressHigh} << 32 | uiAddressLow;
    void* const   pvPages   = MapPages(uiAddress - uiOffset, LengthOfPages(uiOffset, uiLength));
    if (pvPages == MAP_FAILED)
        return nullptr;

    *poInfo                = {g_oQelVxdMapList.pNext, &g_oQelVxdMapList, static_cast<KUINT8*>(pvPages) + uiOffset, uiLength};
    poInfo->pNext->pPrev   = poInfo.get();
    g_oQelVxdMapList.pNext = poInfo.get();
    return poInfo.release()->pvLinear;
}

KUINT32 QelVxdUnmapMemoryLinux(void* pvMemory)
{
    for (MEMMAPINFO* poInfo = g_oQelVxdMapList.pNext; poInfo != &g_oQelVxdMapList; poInfo = poInfo->pNext)
    {
        if (poInfo->pvLinear != pvMemory)
            continue;

        poInfo->pPrev->pNext = poInfo->pNext;
        poInfo->pNext->pPrev = poInfo->pPrev;

        const KUINT32 uiOffset = OffsetInPage(reinterpret_cast<KUINTPTR>(pvMemory));
        munmap(static_cast<KUINT8*>(pvMemory) - uiOffset, LengthOfPages(uiOffset, poInfo->dwSize));
        delete poInfo;
        return 1;
    }
    return 0;
}
