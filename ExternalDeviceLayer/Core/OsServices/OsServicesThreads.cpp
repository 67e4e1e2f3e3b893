#include "OsServices.h"
#include "OsServicesClient_Linux.h"
#include "OsServicesMakeHandle.h"

HCpuThreadId OsServices::GetCurrentThreadId()
{
    return OsServices_GetCurrentThreadId();
}

KBOOL32 OsServices::IsThreadIdEqual(HCpuThreadId hThreadIdA, HCpuThreadId hThreadIdB)
{
    return OsServices_IsThreadIdEqual(hThreadIdA, hThreadIdB);
}

KBOOL32 OsServices::CpuThread_Create(PfnCpuThreadFunction pfnThreadFunction, void* pvUserData, HCpuThread& rhCpuThread)
{
    return MakeHandle(rhCpuThread, OsServices_CpuThread_GetHandleSize(), [=](HCpuThread hCpuThread) {
        return OsServices_CpuThread_Create(pfnThreadFunction, pvUserData, hCpuThread);
    });
}

KBOOL32 OsServices::CpuThread_Join(const HCpuThread& rhCpuThread)
{
    return OsServices_CpuThread_Join(rhCpuThread);
}

KBOOL32 OsServices::CpuThread_Destroy(HCpuThread hCpuThread)
{
    return UnmakeHandle(hCpuThread, OsServices_CpuThread_Destroy);
}

KBOOL32 OsServices::SpinLock_Create(HSpinLock& rhSpinLock)
{
    return MakeHandle(rhSpinLock, OsServices_SpinLock_GetHandleSize(),
                      [this](HSpinLock hSpinLock) { return OsServices_SpinLock_Create(hSpinLock, m_uiIrql); });
}

KBOOL32 OsServices::SpinLock_Destroy(HSpinLock hSpinLock)
{
    return UnmakeHandle(hSpinLock, OsServices_SpinLock_Destroy);
}

KBOOL32 OsServices::SpinLock_Lock(HSpinLock hSpinLock)
{
    return OsServices_SpinLock_Lock(hSpinLock, TRUE);
}

KBOOL32 OsServices::SpinLock_Unlock(HSpinLock hSpinLock)
{
    return OsServices_SpinLock_Unlock(hSpinLock);
}

KBOOL32 OsServices::Mutex_Create(HMutex& rhMutex)
{
    return MakeHandle(rhMutex, OsServices_Mutex_GetHandleSize(), OsServices_Mutex_Create);
}

KBOOL32 OsServices::Mutex_Destroy(HMutex hMutex)
{
    return UnmakeHandle(hMutex, OsServices_Mutex_Destroy);
}

KBOOL32 OsServices::Mutex_Acquire(HMutex hMutex, KUINT32 uiTimeOutMilliSeconds)
{
    return OsServices_Mutex_Acquire(hMutex, uiTimeOutMilliSeconds);
}

KBOOL32 OsServices::Mutex_Release(HMutex hMutex)
{
    return OsServices_Mutex_Release(hMutex);
}
