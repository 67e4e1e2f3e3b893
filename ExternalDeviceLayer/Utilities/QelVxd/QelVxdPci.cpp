#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

extern "C"
{
#include <pci/pci.h>
}

#include "QelVxd.h"

constinit pci_access* g_poQelVxdPciLibAccess = nullptr;

namespace
{
// Where an error of the running call jumps to. Null when no call is running.
std::jmp_buf* s_poErrorExit = nullptr;

// The PCI library calls this on an error, such as a missing bus, and expects no return. The library's own handler ends the
// process. So does this one if Succeeds is not running: then a caller used a device that a lookup returned.
[[gnu::noreturn, gnu::format(printf, 1, 2)]] void EndStep(char* pszMessage, ...)
{
    if (s_poErrorExit != nullptr)
        std::longjmp(*s_poErrorExit, 1);

    va_list argList;
    va_start(argList, pszMessage);
    std::fputs("pcilib: ", stderr);
    std::vfprintf(stderr, pszMessage, argList);
    std::fputc('\n', stderr);
    va_end(argList);
    std::exit(EXIT_FAILURE);
}

[[gnu::format(printf, 1, 2)]] void IgnoreWarning(char*, ...) {}

// Runs one call of the PCI library. Returns false if it failed. No object here may have a destructor, because of longjmp.
bool Succeeds(void (*pfnStep)(pci_access*), pci_access* poAccess)
{
    std::jmp_buf oErrorExit;
    s_poErrorExit = &oErrorExit;
    if (setjmp(oErrorExit) != 0)
    {
        s_poErrorExit = nullptr;
        return false;
    }
    pfnStep(poAccess);
    s_poErrorExit = nullptr;
    return true;
}

// Makes an access object and finds its devices. Returns null on failure.
pci_access* ScanPci()
{
    pci_access* const poAccess = pci_alloc();
    if (poAccess == nullptr)
        return nullptr;

    poAccess->error   = EndStep;
    poAccess->warning = IgnoreWarning;
    if (Succeeds(pci_init, poAccess) && Succeeds(pci_scan_bus, poAccess))
        return poAccess;

    Succeeds(pci_cleanup, poAccess);
    return nullptr;
}
}

pci_dev* QelVxdPciLibConvertHandle(PCIHANDLE hDevice)
{
    if (g_poQelVxdPciLibAccess == nullptr)
        g_poQelVxdPciLibAccess = ScanPci();
    if (g_poQelVxdPciLibAccess == nullptr)
        return nullptr;

    for (pci_dev* poDevice = g_poQelVxdPciLibAccess->devices; poDevice != nullptr; poDevice = poDevice->next)
    {
        if (poDevice->bus == (hDevice >> 8 & 0xFF) && poDevice->dev == (hDevice >> 3 & 0x1F) &&
            poDevice->func == (hDevice & 0x7))
            return poDevice;
    }
    return nullptr;
}

void QelVxdPciLibCleanUp(void)
{
    if (g_poQelVxdPciLibAccess == nullptr)
        return;

    Succeeds(pci_cleanup, g_poQelVxdPciLibAccess);
    g_poQelVxdPciLibAccess = nullptr;
}
