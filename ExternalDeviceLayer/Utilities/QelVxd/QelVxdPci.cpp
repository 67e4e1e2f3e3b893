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
// Where an error of the step under way goes; null when no step is.
std::jmp_buf* s_poErrorExit = nullptr;

// The PCI library reports what it cannot do, such as finding a bus at all, through this and must not get it back; its own
// ends the process. Outside of a step somebody else called it, with a device that a lookup returned: the same words and
// the same end as by the library's own.
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

// Runs one call of the PCI library; false when it ended with an error. Nothing with a destructor may live in here.
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

// A new access object with its devices; null when the library cannot make it.
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
