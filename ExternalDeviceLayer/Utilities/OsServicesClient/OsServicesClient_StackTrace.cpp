#include <cstdio>

#include "OsServicesClient_Linux.h"

KUINT32 OsServices_StackTrace_GetHandleSize(void)
{
    return 4;
}

KBOOL32 OsServices_StackTrace_Create(HStackTrace hStackTrace)
{
    return hStackTrace != nullptr ? TRUE : FALSE;
}

KBOOL32 OsServices_StackTrace_Destroy(HStackTrace hStackTrace)
{
    return hStackTrace != nullptr ? TRUE : FALSE;
}

KBOOL32 OsServices_StackTrace_Save(HStackTrace hStackTrace)
{
    return hStackTrace != nullptr ? TRUE : FALSE;
}

void OsServices_StackTrace_Print(HStackTrace)
{
    OsServices_StackTrace_Dump();
}

void OsServices_StackTrace_Dump(void)
{
    std::printf("Print stack not supported in this configuration\n");
}
