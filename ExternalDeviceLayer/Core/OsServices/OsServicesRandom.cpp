#include "OsServices.h"
#include "OsServicesClient_Linux.h"

KUINT32 OsServices::ms_uiOldRandomValue = 0;

KUINT32 OsServices::GetRandom()
{
    return OsServices_GetNextRandom(&ms_uiOldRandomValue);
}

KUINT32 OsServices::GetRandomNonZero()
{
    return OsServices_GetNextRandomNonZero(&ms_uiOldRandomValue);
}
