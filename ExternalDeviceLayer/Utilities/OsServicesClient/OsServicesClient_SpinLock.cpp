#include <pthread.h>

#include "OsServicesClient_Linux.h"

namespace
{
static_assert(sizeof(pthread_spinlock_t) == 4);

pthread_spinlock_t* RecordOf(HSpinLock hSpinLock)
{
    return reinterpret_cast<pthread_spinlock_t*>(hSpinLock);
}
}

KUINT32 OsServices_SpinLock_GetHandleSize(void)
{
    return sizeof(pthread_spinlock_t);
}

KBOOL32 OsServices_SpinLock_Create(HSpinLock hSpinLock, KUINT8)
{
    return hSpinLock != nullptr && pthread_spin_init(RecordOf(hSpinLock), PTHREAD_PROCESS_PRIVATE) == 0 ? TRUE : FALSE;
}

KBOOL32 OsServices_SpinLock_Destroy(HSpinLock hSpinLock)
{
    return hSpinLock != nullptr && pthread_spin_destroy(RecordOf(hSpinLock)) == 0 ? TRUE : FALSE;
}

KBOOL32 OsServices_SpinLock_Lock(HSpinLock hSpinLock, KBOOL32)
{
    return hSpinLock != nullptr && pthread_spin_lock(RecordOf(hSpinLock)) == 0 ? TRUE : FALSE;
}

KBOOL32 OsServices_SpinLock_Unlock(HSpinLock hSpinLock)
{
    return hSpinLock != nullptr && pthread_spin_unlock(RecordOf(hSpinLock)) == 0 ? TRUE : FALSE;
}
