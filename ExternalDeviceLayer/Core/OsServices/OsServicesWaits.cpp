#include "OsServices.h"
#include "OsServicesClient_Linux.h"
#include "OsServicesMakeHandle.h"

KBOOL32 OsServices::Event_Create(HEvent& rhEvent)
{
    if (m_poIOsServices != nullptr)
        return m_poIOsServices->Event_Create(rhEvent);
    return MakeHandle(rhEvent, OsServices_Event_GetHandleSize(), OsServices_Event_Create);
}

KBOOL32 OsServices::Event_Destroy(HEvent hEvent)
{
    return UnmakeHandle(hEvent, OsServices_Event_Destroy);
}

TStatus OsServices::Event_Wait(HEvent hEvent, KUINT32 uiTimeOutMilliSeconds)
{
    return OsServices_Event_Wait(hEvent, uiTimeOutMilliSeconds);
}

KBOOL32 OsServices::Event_Trigger(HEvent hEvent)
{
    if (m_poIOsServices != nullptr)
        return m_poIOsServices->Event_Trigger(hEvent);
    return OsServices_Event_Trigger(hEvent);
}

KBOOL32 OsServices::Event_Reset(HEvent hEvent)
{
    return OsServices_Event_Reset(hEvent);
}

KBOOL32 OsServices::Event_Cancel(HEvent hEvent)
{
    return OsServices_Event_Cancel(hEvent);
}

KBOOL32 OsServices::Event_Activate(HEvent hEvent)
{
    return OsServices_Event_Activate(hEvent);
}

KBOOL32 OsServices::Signal_Create(HSignal& rhSignal)
{
    if (m_poIOsServices != nullptr)
        return m_poIOsServices->Signal_Create(rhSignal);
    return MakeHandle(rhSignal, OsServices_Signal_GetHandleSize(), OsServices_Signal_Create);
}

KBOOL32 OsServices::Signal_Destroy(HSignal hSignal)
{
    return UnmakeHandle(hSignal, OsServices_Signal_Destroy);
}

TStatus OsServices::Signal_Wait(HSignal hSignal, KUINT32 uiTimeOutMilliSeconds, KUINT64 uiEventCount)
{
    return OsServices_Signal_Wait(hSignal, uiTimeOutMilliSeconds, uiEventCount);
}

KBOOL32 OsServices::Signal_Trigger(HSignal hSignal)
{
    if (m_poIOsServices != nullptr)
        return m_poIOsServices->Signal_Trigger(hSignal);
    return OsServices_Signal_Trigger(hSignal);
}

KBOOL32 OsServices::Signal_Cancel(HSignal hSignal)
{
    return OsServices_Signal_Cancel(hSignal);
}

KBOOL32 OsServices::Signal_Activate(HSignal hSignal)
{
    return OsServices_Signal_Activate(hSignal);
}
