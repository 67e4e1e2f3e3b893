// The operations of Tavrin.h for a client: each passes its arguments on to the library that Tavrin_Load opened.
//
// Loading at run time lets one binary drive whichever library the machine has, and lets it say so where there is none.
#include <dlfcn.h>

#include "OsServices.h"
#include "Tavrin.h"

// Set in columns by hand.
// clang-format off

namespace
{
constexpr KCHAR8 LIBRARY_NAME[] = "libTavrin.so.1";

// An operation's name, and its address in the library while that is loaded.
struct SOperationEntry
{
    const KCHAR8* pszName;
    void*         pvAddress = nullptr;
};

template <class TFunction>
struct SOperation;

template <class TResult, class... TArguments>
struct SOperation<TResult(TArguments...)> : SOperationEntry
{
    // Calls the library, or answers what stands for a library that is not there.
    TResult CallOr(TResult oUnloaded, TArguments... arguments) const
    {
        if (pvAddress == nullptr)
            return oUnloaded;
        return reinterpret_cast<TResult (*)(TArguments...)>(pvAddress)(arguments...);
    }
};

SOperation<decltype(Tavrin_GetDeviceCount)>   s_oGetDeviceCount{{"Tavrin_GetDeviceCount"}};
SOperation<decltype(Tavrin_GetDevice)>        s_oGetDevice{{"Tavrin_GetDevice"}};
SOperation<decltype(TBuffer_CreateVideo)>     s_oCreateVideo{{"TBuffer_CreateVideo"}};
SOperation<decltype(TBuffer_GetPlaneInfo)>    s_oGetPlaneInfo{{"TBuffer_GetPlaneInfo"}};
SOperation<decltype(TBuffer_BeginAccess)>     s_oBeginAccess{{"TBuffer_BeginAccess"}};
SOperation<decltype(TBuffer_EndAccess)>       s_oEndAccess{{"TBuffer_EndAccess"}};
SOperation<decltype(TBuffer_Destroy)>         s_oDestroy{{"TBuffer_Destroy"}};
SOperation<decltype(TVideoOut_GetCount)>      s_oGetOutputCount{{"TVideoOut_GetCount"}};
SOperation<decltype(TVideoOut_GetHandle)>     s_oGetOutputHandle{{"TVideoOut_GetHandle"}};
SOperation<decltype(TVideoOut_Enable)>        s_oEnable{{"TVideoOut_Enable"}};
SOperation<decltype(TVideoOut_Disable)>       s_oDisable{{"TVideoOut_Disable"}};
SOperation<decltype(TVideoOut_ReleaseHandle)> s_oReleaseOutputHandle{{"TVideoOut_ReleaseHandle"}};
SOperation<decltype(TBoard_RegWrite)>         s_oRegWrite{{"TBoard_RegWrite"}};
SOperation<decltype(TBoard_RegRead)>          s_oRegRead{{"TBoard_RegRead"}};
SOperation<decltype(TBoard_GetFpgaCount)>     s_oGetFpgaCount{{"TBoard_GetFpgaCount"}};
SOperation<decltype(TBoard_GetFpgaInfo)>      s_oGetFpgaInfo{{"TBoard_GetFpgaInfo"}};

SOperationEntry* const s_apoOperations[] = {
    &s_oGetDeviceCount, &s_oGetDevice,           &s_oCreateVideo, &s_oGetPlaneInfo, &s_oBeginAccess,  &s_oEndAccess,
    &s_oDestroy,        &s_oGetOutputCount,      &s_oGetOutputHandle, &s_oEnable,   &s_oDisable,
    &s_oReleaseOutputHandle, &s_oRegWrite,       &s_oRegRead,     &s_oGetFpgaCount, &s_oGetFpgaInfo,
};

void* s_pvLibrary = nullptr;

// A library may have a load and an unload of its own, and depend on them. What they return is not examined. The look-up goes
// through the library's handle alone, so it never finds the functions of that name below.
void CallOwn(const KCHAR8* pszName)
{
    if (void* const pvOwn = dlsym(s_pvLibrary, pszName))
        reinterpret_cast<TStatus (*)()>(pvOwn)();
}
}

TStatus Tavrin_Load(void)
{
    if (s_pvLibrary != nullptr)
        return TStatus_OK;

    s_pvLibrary = dlopen(LIBRARY_NAME, RTLD_NOW | RTLD_LOCAL);
    if (s_pvLibrary == nullptr)
    {
        // The reason names a path of any length: it is cut so that the line keeps its end.
        OsServices::WriteErrorMsg("Cannot load %s: %.160s\n", LIBRARY_NAME, dlerror());
        return TStatus_FAIL;
    }

    CallOwn("Tavrin_Load");
    for (SOperationEntry* poOperation : s_apoOperations)
    {
        poOperation->pvAddress = dlsym(s_pvLibrary, poOperation->pszName);
        if (poOperation->pvAddress == nullptr)
        {
            OsServices::WriteErrorMsg("Cannot use %s: it has no %s\n", LIBRARY_NAME, poOperation->pszName);
            Tavrin_UnLoad();
            return TStatus_FAIL;
        }
    }
    return TStatus_OK;
}

TStatus Tavrin_UnLoad(void)
{
    for (SOperationEntry* poOperation : s_apoOperations)
        poOperation->pvAddress = nullptr;

    if (s_pvLibrary != nullptr)
    {
        CallOwn("Tavrin_UnLoad");
        dlclose(s_pvLibrary);
    }
    s_pvLibrary = nullptr;
    return TStatus_OK;
}

KUINT32 Tavrin_GetDeviceCount(void)
{
    return s_oGetDeviceCount.CallOr(0);
}

TDevice_Handle Tavrin_GetDevice(KUINT32 uiDevIndex)
{
    return s_oGetDevice.CallOr(nullptr, uiDevIndex);
}

TStatus TBuffer_CreateVideo(TDevice_Handle hDev, TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight,
                            TBuffer_Handle* phBuffer)
{
    return s_oCreateVideo.CallOr(TStatus_FAIL, hDev, ePixelFormat, uiWidth, uiHeight, phBuffer);
}

TStatus TBuffer_GetPlaneInfo(TBuffer_Handle hBuffer, tagTBuffer_PlaneInfo* poPlaneInfo)
{
    return s_oGetPlaneInfo.CallOr(TStatus_FAIL, hBuffer, poPlaneInfo);
}

TStatus TBuffer_BeginAccess(TBuffer_Handle hBuffer, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes)
{
    return s_oBeginAccess.CallOr(TStatus_FAIL, hBuffer, uiMode, uiPlaneCount, auiPlanes);
}

TStatus TBuffer_EndAccess(TBuffer_Handle hBuffer)
{
    return s_oEndAccess.CallOr(TStatus_FAIL, hBuffer);
}

TStatus TBuffer_Destroy(TBuffer_Handle hBuffer)
{
    return s_oDestroy.CallOr(TStatus_FAIL, hBuffer);
}

TStatus TVideoOut_GetCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    return s_oGetOutputCount.CallOr(TStatus_FAIL, hDev, puiCount);
}

TStatus TVideoOut_GetHandle(TDevice_Handle hDev, KUINT32 uiIndex, TAccessMode eAccessMode, TVideoOut_Handle* phVideoOut)
{
    return s_oGetOutputHandle.CallOr(TStatus_FAIL, hDev, uiIndex, eAccessMode, phVideoOut);
}

TStatus TVideoOut_Enable(TVideoOut_Handle hVideoOut, TVideo_SignalType eSignalType, const tagTVideo_VidParam* poVidParam,
                         TBuffer_Handle hBuffer, TVideoOut_PowerState ePowerState)
{
    return s_oEnable.CallOr(TStatus_FAIL, hVideoOut, eSignalType, poVidParam, hBuffer, ePowerState);
}

TStatus TVideoOut_Disable(TVideoOut_Handle hVideoOut)
{
    return s_oDisable.CallOr(TStatus_FAIL, hVideoOut);
}

TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle hVideoOut)
{
    return s_oReleaseOutputHandle.CallOr(TStatus_FAIL, hVideoOut);
}

TStatus TBoard_RegWrite(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue)
{
    return s_oRegWrite.CallOr(TStatus_FAIL, hDev, uiRegister, uiValue);
}

TStatus TBoard_RegRead(TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue)
{
    return s_oRegRead.CallOr(TStatus_FAIL, hDev, uiRegister, puiValue);
}

TStatus TBoard_GetFpgaCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    return s_oGetFpgaCount.CallOr(TStatus_FAIL, hDev, puiCount);
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo)
{
    return s_oGetFpgaInfo.CallOr(TStatus_FAIL, hDev, uiIndex, poFpgaInfo);
}
