#include <cstdio>

#include "OsServicesClient_Linux.h"

void OsServices_WriteMsg(const KCHAR8* pszFormat, va_list argList)
{
    std::vprintf(pszFormat, argList);
}

void OsServices_WriteKernelMsg(const KCHAR8* pszFormat, va_list argList)
{
    std::FILE* poKernelLog = std::fopen("/dev/kmsg", "w");
    if (poKernelLog == nullptr)
        return;

    std::vfprintf(poKernelLog, pszFormat, argList);
    std::fclose(poKernelLog);
}
