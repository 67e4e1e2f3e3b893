#include "OsServices.h"
#include "OsServicesClient_Linux.h"
#include "OsServicesMakeHandle.h"

KBOOL32 OsServices::StackTrace_Create(HStackTrace& rhStackTrace)
{
    return MakeHandle(rhStackTrace, OsServices_StackTrace_GetHandleSize(), OsServices_StackTrace_Create);
}

KBOOL32 OsServices::StackTrace_Destroy(HStackTrace hStackTrace)
{
    return UnmakeHandle(hStackTrace, OsServices_StackTrace_Destroy);
}

KBOOL32 OsServices::StackTrace_Save(HStackTrace hStackTrace)
{
    return OsServices_StackTrace_Save(hStackTrace);
}

void OsServices::StackTrace_Print(HStackTrace hStackTrace)
{
    OsServices_StackTrace_Print(hStackTrace);
}

void OsServices::StackTrace_Dump()
{
    OsServices_StackTrace_Dump();
}
