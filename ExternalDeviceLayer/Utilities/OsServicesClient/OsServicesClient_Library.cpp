#include "OsServicesClient_Linux.h"
#include "QelVxd.h"

KBOOL32 OsServices_Initialize(void)
{
    return InitQELLibrary() != 0 ? TRUE : FALSE;
}

KBOOL32 OsServices_Cleanup(void)
{
    return ReleaseQELLibrary() != 0 ? TRUE : FALSE;
}
