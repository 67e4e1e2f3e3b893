#include "OsServicesClient_Linux.h"
#include "OsServicesClient_Wait.h"

static_assert(sizeof(pthread_spinlock_t) == 4);

KUINT32 OsServices_SpinLock_GetHandleSize(void)
{
    return sizeof(pthread_spinlock_t);
}

KBOOL32 OsServices_SpinLock_Create(HSpinLock hSpinLock, KUINT8)
{
    const auto fInit = [](pthread_spinlock_t* poLock) { return pthread_spin_init(poLock, PTHREAD_PROCESS_PRIVATE); };
    return CallOnRecord<pthread_spinlock_t>(fInit, hSpinLock);
}

KBOOL32 OsServices_SpinLock_Destroy(HSpinLock hSpinLock)
{
    return CallOnRecord(pthread_spin_destroy, hSpinLock);
}

KBOOL32 OsServices_SpinLock_Lock(HSpinLock hSpinLock, KBOOL32)
{
    return CallOnRecord(pthread_spin_lock, hSpinLock);
}

KBOOL32 OsServices_SpinLock_Unlock(HSpinLock hSpinLock)
{
    return CallOnRecord(pthread_spin_unlock, hSpinLock);
}
