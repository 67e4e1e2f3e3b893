// Loading at run time lets one binary drive whichever library the machine has, and report where there is none.
#include "TavrinLoader.h"

#include <dlfcn.h>

#include <algorithm>

#include "OsServices.h"
#include "Tavrin.h"

void (*g_pfnTavrinCallObserver)(const KCHAR8* pszOperation) = nullptr;

namespace
{
void* s_pvLibrary = nullptr;

// The address of an operation in the library, null while none is loaded.
template <auto pfOperation> void* s_pvAddress = nullptr;

struct SOperation
{
    const KCHAR8* pszName;
    void**        ppvAddress;
};

// Looked up in this order; the first that is missing is the one that is reported.
// clang-format off
constexpr SOperation OPERATIONS[] = {
    {"Tavrin_GetDeviceCount",   &s_pvAddress<Tavrin_GetDeviceCount>},
    {"Tavrin_GetDevice",        &s_pvAddress<Tavrin_GetDevice>},
    {"TBuffer_CreateVideo",     &s_pvAddress<TBuffer_CreateVideo>},
    {"TBuffer_GetPlaneInfo",    &s_pvAddress<TBuffer_GetPlaneInfo>},
    {"TBuffer_BeginAccess",     &s_pvAddress<TBuffer_BeginAccess>},
    {"TBuffer_EndAccess",       &s_pvAddress<TBuffer_EndAccess>},
    {"TBuffer_Destroy",         &s_pvAddress<TBuffer_Destroy>},
    {"TVideoOut_GetCount",      &s_pvAddress<TVideoOut_GetCount>},
    {"TVideoOut_GetHandle",     &s_pvAddress<TVideoOut_GetHandle>},
    {"TVideoOut_Enable",        &s_pvAddress<TVideoOut_Enable>},
    {"TVideoOut_Disable",       &s_pvAddress<TVideoOut_Disable>},
    {"TVideoOut_ReleaseHandle", &s_pvAddress<TVideoOut_ReleaseHandle>},
    {"TBoard_RegWrite",         &s_pvAddress<TBoard_RegWrite>},
    {"TBoard_RegRead",          &s_pvAddress<TBoard_RegRead>},
    {"TBoard_GetFpgaCount",     &s_pvAddress<TBoard_GetFpgaCount>},
    {"TBoard_GetFpgaInfo",      &s_pvAddress<TBoard_GetFpgaInfo>},
};
// clang-format on

// What an operation returns while no library is loaded.
template <class TResult> constexpr TResult UNLOADED          = {};
template <> constexpr TStatus              UNLOADED<TStatus> = TStatus_FAIL;

// Calls a function in the library. The name is told to the observer, if there is one.
template <class TFunction, class... TArguments>
auto CallObserved(const KCHAR8* pszName, TFunction pfnFunction, TArguments... arguments)
{
    g_pfnTavrinCallObserver(pszName);
    const auto tResult = pfnFunction(arguments...);
    g_pfnTavrinCallObserver(nullptr);
    return tResult;
}

// Calls an operation in the library.
template <auto pfOperation, class... TArguments> auto Call(TArguments... arguments)
{
    if (s_pvAddress<pfOperation> == nullptr)
        return UNLOADED<decltype(pfOperation(arguments...))>;

    const auto pfnOperation = reinterpret_cast<decltype(pfOperation)>(s_pvAddress<pfOperation>);
    if (g_pfnTavrinCallObserver == nullptr) [[likely]]
        return pfnOperation(arguments...);

    const auto fIsCalled = [](const SOperation& ro) { return ro.ppvAddress == &s_pvAddress<pfOperation>; };
    return CallObserved(std::ranges::find_if(OPERATIONS, fIsCalled)->pszName, pfnOperation, arguments...);
}

// A library may export a load and an unload of its own, and depend on them. Their results are ignored. dlsym searches that
// library alone, so it never finds the two functions of these names below.
void CallOwn(const KCHAR8* pszName)
{
    const auto pfnOwn = reinterpret_cast<TStatus (*)()>(dlsym(s_pvLibrary, pszName));
    if (pfnOwn == nullptr)
        return;
    if (g_pfnTavrinCallObserver == nullptr)
        pfnOwn();
    else
        CallObserved(pszName, pfnOwn);
}
}

std::vector<const KCHAR8*> GetTavrinOperationNames()
{
    std::vector<const KCHAR8*> apszNames;
    for (const SOperation& roOperation : OPERATIONS)
        apszNames.push_back(roOperation.pszName);
    return apszNames;
}

TStatus Tavrin_Load(void)
{
    if (s_pvLibrary != nullptr)
        return TStatus_OK;

    s_pvLibrary = dlopen(TAVRIN_LIBRARY_NAME, RTLD_NOW | RTLD_LOCAL);
    if (s_pvLibrary == nullptr)
    {
        // The reason may hold a long path. It is cut so that the line keeps its end.
        OsServices::WriteErrorMsg("Cannot load %s: %.160s\n", TAVRIN_LIBRARY_NAME, dlerror());
        return TStatus_FAIL;
    }

    CallOwn("Tavrin_Load");
    for (const SOperation& roOperation : OPERATIONS)
    {
        *roOperation.ppvAddress = dlsym(s_pvLibrary, roOperation.pszName);
        if (*roOperation.ppvAddress == nullptr)
        {
            OsServices::WriteErrorMsg("Cannot use %s: it has no %s\n", TAVRIN_LIBRARY_NAME, roOperation.pszName);
            Tavrin_UnLoad();
            return TStatus_FAIL;
        }
    }
    return TStatus_OK;
}

TStatus Tavrin_UnLoad(void)
{
    for (const SOperation& roOperation : OPERATIONS)
        *roOperation.ppvAddress = nullptr;

    if (s_pvLibrary != nullptr)
    {
        CallOwn("Tavrin_UnLoad");
        dlclose(s_pvLibrary);
    }
    s_pvLibrary = nullptr;
    return TStatus_OK;
}

// The other operations. Each passes its arguments on.
// clang-format off
KUINT32 Tavrin_GetDeviceCount(void)
    { return Call<Tavrin_GetDeviceCount>(); }
TDevice_Handle Tavrin_GetDevice(KUINT32 uiDevIndex)
    { return Call<Tavrin_GetDevice>(uiDevIndex); }
TStatus TBuffer_CreateVideo(TDevice_Handle hDev, TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight,
                            TBuffer_Handle* phBuffer)
    { return Call<TBuffer_CreateVideo>(hDev, ePixelFormat, uiWidth, uiHeight, phBuffer); }
TStatus TBuffer_GetPlaneInfo(TBuffer_Handle hBuffer, tagTBuffer_PlaneInfo* poPlaneInfo)
    { return Call<TBuffer_GetPlaneInfo>(hBuffer, poPlaneInfo); }
TStatus TBuffer_BeginAccess(TBuffer_Handle hBuffer, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes)
    { return Call<TBuffer_BeginAccess>(hBuffer, uiMode, uiPlaneCount, auiPlanes); }
TStatus TBuffer_EndAccess(TBuffer_Handle hBuffer)
    { return Call<TBuffer_EndAccess>(hBuffer); }
TStatus TBuffer_Destroy(TBuffer_Handle hBuffer)
    { return Call<TBuffer_Destroy>(hBuffer); }
TStatus TVideoOut_GetCount(TDevice_Handle hDev, KUINT32* puiCount)
    { return Call<TVideoOut_GetCount>(hDev, puiCount); }
TStatus TVideoOut_GetHandle(TDevice_Handle hDev, KUINT32 uiIndex, TAccessMode eAccessMode, TVideoOut_Handle* phVideoOut)
    { return Call<TVideoOut_GetHandle>(hDev, uiIndex, eAccessMode, phVideoOut); }
TStatus TVideoOut_Enable(TVideoOut_Handle hVideoOut, TVideo_SignalType eSignalType, const tagTVideo_VidParam* poVidParam,
                         TBuffer_Handle hBuffer, TVideoOut_PowerState ePowerState)
    { return Call<TVideoOut_Enable>(hVideoOut, eSignalType, poVidParam, hBuffer, ePowerState); }
TStatus TVideoOut_Disable(TVideoOut_Handle hVideoOut)
    { return Call<TVideoOut_Disable>(hVideoOut); }
TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle hVideoOut)
    { return Call<TVideoOut_ReleaseHandle>(hVideoOut); }
TStatus TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue)
    { return Call<TBoard_RegWrite>(hDev, uiRegister, uiValue); }
TStatus TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue)
    { return Call<TBoard_RegRead>(hDev, uiRegister, puiValue); }
TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount)
    { return Call<TBoard_GetFpgaCount>(hDev, puiCount); }
TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
    { return Call<TBoard_GetFpgaInfo>(hDev, uiIndex, poFpgaInfo); }
// clang-format on
