#include <pthread.h>

#include <memory>
#include <new>

#include "OsServicesClient_Linux.h"

namespace
{
struct SCpuThreadHandle
{
    pthread_t oThread;
};
static_assert(sizeof(SCpuThreadHandle) == 8);

SCpuThreadHandle& RecordOf(HCpuThread hCpuThread)
{
    return *reinterpret_cast<SCpuThreadHandle*>(hCpuThread);
}

// What a new thread runs. It is on the heap because the handle's block has no space for it and the creator does not wait
// for the thread. The thread owns it.
struct SThreadStart
{
    PfnCpuThreadFunction pfnThreadFunction;
    void*                pvUserData;
};

void* RunThread(void* pvThreadStart)
{
    auto* const        poThreadStart = static_cast<SThreadStart*>(pvThreadStart);
    const SThreadStart oThreadStart  = *poThreadStart;
    delete poThreadStart;  // before the call, because the function may end the thread

    oThreadStart.pfnThreadFunction(oThreadStart.pvUserData);
    return nullptr;
}
}

HCpuThreadId OsServices_GetCurrentThreadId(void)
{
    return pthread_self();
}

KBOOL32 OsServices_IsThreadIdEqual(HCpuThreadId hThreadIdA, HCpuThreadId hThreadIdB)
{
    return hThreadIdA == hThreadIdB ? TRUE : FALSE;
}

KUINT32 OsServices_CpuThread_GetHandleSize(void)
{
    return sizeof(SCpuThreadHandle);
}

KBOOL32 OsServices_CpuThread_Create(PfnCpuThreadFunction pfnThreadFunction, void* pvUserData, HCpuThread hCpuThread)
{
    if (pfnThreadFunction == nullptr || hCpuThread == nullptr)
        return FALSE;

    std::unique_ptr<SThreadStart> poThreadStart(new (std::nothrow) SThreadStart{pfnThreadFunction, pvUserData});
    if (poThreadStart == nullptr ||
        pthread_create(&RecordOf(hCpuThread).oThread, nullptr, RunThread, poThreadStart.get()) != 0)
        return FALSE;

    static_cast<void>(poThreadStart.release());
    return TRUE;
}

KBOOL32 OsServices_CpuThread_Join(HCpuThread hCpuThread)
{
    return hCpuThread != nullptr && pthread_join(RecordOf(hCpuThread).oThread, nullptr) == 0 ? TRUE : FALSE;
}

KBOOL32 OsServices_CpuThread_Destroy(HCpuThread hCpuThread)
{
    return hCpuThread != nullptr ? TRUE : FALSE;
}
