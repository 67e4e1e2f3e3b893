// The names of the statuses of Tavrin.h.
#ifndef TAVRIN_STATUS_H
#define TAVRIN_STATUS_H

#include "Tavrin.h"

// "FAIL" for TStatus_FAIL; null for a status without a name.
inline const char* FindStatusName(TStatus eStatus)
{
    switch (eStatus)
    {
    case TStatus_OK: return "OK";
    case TStatus_FAIL: return "FAIL";
    case TStatus_INVALID_PARAM: return "INVALID_PARAM";
    case TStatus_TIMEOUT: return "TIMEOUT";
    case TStatus_RESOURCES_BUSY: return "RESOURCES_BUSY";
    case TStatus_CANCELED: return "CANCELED";
    }
    return nullptr;
}

#endif
