#include "OsServices.h"

#include "OsServicesClient_Linux.h"
#include "QelCheck.h"

KUINT32 OsServices::ms_uiInstanceCount = 0;
KBOOL32 OsServices::ms_bTestMode       = FALSE;

OsServices::OsServices(void* pvIOsServices)
    : m_bInitialized(FALSE), m_poIOsServices(static_cast<IOsServices*>(pvIOsServices)), m_uiIrql(0)
{
    if (m_poIOsServices != nullptr)
        m_uiIrql = static_cast<KUINT8>(m_poIOsServices->GetIrql());

    if (ms_uiInstanceCount == 0 && !ms_bTestMode)
        QEL_CHECK_OR_ABORT(OsServices_Initialize());

    ++ms_uiInstanceCount;
    m_bInitialized = TRUE;

Qel_Abort:
    return;
}

OsServices::~OsServices()
{
    // An object that failed to start was not counted. Counting it down would release a library that others still use.
    if (m_bInitialized && --ms_uiInstanceCount == 0)
        OsServices_Cleanup();
}

void OsServices::SetTestMode(KBOOL32 bTestMode)
{
    ms_bTestMode = bTestMode;
}
