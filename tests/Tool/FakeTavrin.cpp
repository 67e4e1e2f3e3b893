#include "FakeTavrin.h"

#include <algorithm>
#include <memory>

namespace
{
SFakeTavrin               s_oWorld;
std::unique_ptr<KUINT32[]> s_puiMapped;  // another address for every access period

template <class... TArguments>
std::string CallText(const char* pszName, TArguments... arguments)
{
    std::string sCall = pszName;
    ((sCall.append(1, ' ').append(std::to_string(arguments))), ...);
    return sCall;
}

// Records the call; TRUE when it is the one that fails.
bool Fails(const std::string& sCall)
{
    const auto iBefore = std::count(s_oWorld.asCalls.begin(), s_oWorld.asCalls.end(), sCall);
    s_oWorld.asCalls.push_back(sCall);
    if (s_oWorld.fOnCall)
        s_oWorld.fOnCall(sCall);
    return sCall == s_oWorld.sFailingCall && iBefore == s_oWorld.iFailingOccurrence;
}

TStatus Answer(const std::string& sCall)
{
    return Fails(sCall) ? s_oWorld.eFailure : TStatus_OK;
}

KUINT32 Pitch()
{
    return s_oWorld.uiWidth + s_oWorld.uiPitchExtra;
}

template <class THandle>
THandle HandleOf(KUINTPTR uiNumber)
{
    return reinterpret_cast<THandle>(0x1000 + uiNumber);
}

KUINTPTR NumberOf(TVideoOut_Handle hVideoOut)
{
    return reinterpret_cast<KUINTPTR>(hVideoOut) - 0x1000;
}
}

SFakeTavrin* FakeTavrin_World()
{
    return &s_oWorld;
}

extern "C"
{
KUINT32 Tavrin_GetDeviceCount(void)
{
    return Fails("Tavrin_GetDeviceCount") ? 0 : s_oWorld.uiDevices;
}

TDevice_Handle Tavrin_GetDevice(KUINT32 uiDevIndex)
{
    return Fails(CallText("Tavrin_GetDevice", uiDevIndex)) ? nullptr : HandleOf<TDevice_Handle>(uiDevIndex);
}

TStatus TBuffer_CreateVideo(TDevice_Handle, TPixelFormat eFormat, KUINT32 uiWidth, KUINT32 uiHeight, TBuffer_Handle* phBuffer)
{
    const TStatus eStatus = Answer(CallText("TBuffer_CreateVideo", static_cast<KUINT32>(eFormat), uiWidth, uiHeight));
    if (eStatus < 0)
        return eStatus;
    s_oWorld.uiWidth  = uiWidth;
    s_oWorld.uiHeight = uiHeight;
    s_oWorld.auiPixels.assign(std::size_t{Pitch()} * uiHeight, 0xDEADBEEF);
    *phBuffer = HandleOf<TBuffer_Handle>(0);
    return eStatus;
}

TStatus TBuffer_GetPlaneInfo(TBuffer_Handle, tagTBuffer_PlaneInfo* poInfo)
{
    const TStatus eStatus = Answer("TBuffer_GetPlaneInfo");
    if (eStatus >= 0)
        *poInfo = {.uiPlaneCount = s_oWorld.uiPlanes, .aePlaneFormat = {TPixelFormat_R8G8B8A8}, .auiWidth = {s_oWorld.uiWidth},
                   .auiWidthInBytes = {s_oWorld.uiWidth * 4}, .auiHeight = {s_oWorld.uiHeight}, .auiPitch = {Pitch()},
                   .auiPitchInBytes = {Pitch() * 4}};
    return eStatus;
}

TStatus TBuffer_BeginAccess(TBuffer_Handle, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes)
{
    const TStatus eStatus = Answer(CallText("TBuffer_BeginAccess", uiMode, uiPlaneCount));
    if (eStatus >= 0 && uiPlaneCount > 0)
    {
        s_puiMapped  = std::make_unique<KUINT32[]>(s_oWorld.auiPixels.size());
        std::copy(s_oWorld.auiPixels.begin(), s_oWorld.auiPixels.end(), s_puiMapped.get());
        auiPlanes[0] = reinterpret_cast<KUINTPTR>(s_puiMapped.get());
    }
    return eStatus;
}

TStatus TBuffer_EndAccess(TBuffer_Handle)
{
    const TStatus eStatus = Answer("TBuffer_EndAccess");
    if (s_puiMapped)
        std::copy_n(s_puiMapped.get(), s_oWorld.auiPixels.size(), s_oWorld.auiPixels.begin());
    s_puiMapped.reset();
    return eStatus;
}

TStatus TBuffer_Destroy(TBuffer_Handle)
{
    s_puiMapped.reset();
    return Answer("TBuffer_Destroy");
}

TStatus TVideoOut_GetCount(TDevice_Handle, KUINT32* puiCount)
{
    const TStatus eStatus = Answer("TVideoOut_GetCount");
    if (eStatus >= 0)
        *puiCount = s_oWorld.uiOutputs;
    return eStatus;
}

TStatus TVideoOut_GetHandle(TDevice_Handle, KUINT32 uiIndex, TAccessMode eMode, TVideoOut_Handle* phVideoOut)
{
    // A failing request leaves the handle as it is, whatever its status.
    if (Fails(CallText("TVideoOut_GetHandle", uiIndex, static_cast<KUINT32>(eMode))))
        return s_oWorld.eFailure;
    *phVideoOut = HandleOf<TVideoOut_Handle>(uiIndex);
    return TStatus_OK;
}

TStatus TVideoOut_Enable(TVideoOut_Handle hVideoOut, TVideo_SignalType eSignal, const tagTVideo_VidParam* poVidParam,
                         TBuffer_Handle, TVideoOut_PowerState ePower)
{
    return Answer(CallText("TVideoOut_Enable", NumberOf(hVideoOut), static_cast<KUINT32>(eSignal), poVidParam->uiHActive,
                           static_cast<KUINT32>(ePower)));
}

TStatus TVideoOut_Disable(TVideoOut_Handle hVideoOut)
{
    return Answer(CallText("TVideoOut_Disable", NumberOf(hVideoOut)));
}

TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle hVideoOut)
{
    return Answer(CallText("TVideoOut_ReleaseHandle", NumberOf(hVideoOut)));
}

TStatus TBoard_RegWrite(TDevice_Handle, KUINT32 uiRegister, KUINT32 uiValue)
{
    return Answer(CallText("TBoard_RegWrite", uiRegister, uiValue));
}

TStatus TBoard_RegRead(TDevice_Handle, KUINT32 uiRegister, KUINT32* puiValue)
{
    const TStatus eStatus = s_oWorld.bRecordsReads ? Answer(CallText("TBoard_RegRead", uiRegister)) : TStatus_OK;
    if (eStatus >= 0)
        *puiValue = s_oWorld.fProgress();
    return eStatus;
}

TStatus TBoard_GetFpgaCount(TDevice_Handle, KUINT32* puiCount)
{
    const TStatus eStatus = Answer("TBoard_GetFpgaCount");
    if (eStatus >= 0)
        *puiCount = static_cast<KUINT32>(s_oWorld.aoFpgas.size());
    return eStatus;
}

TStatus TBoard_GetFpgaInfo(TDevice_Handle, KUINT32 uiIndex, tagTBoard_FpgaInfo* poInfo)
{
    const TStatus eStatus = Answer(CallText("TBoard_GetFpgaInfo", uiIndex));
    if (eStatus >= 0)
        *poInfo = s_oWorld.aoFpgas.at(uiIndex);
    return eStatus;
}
}
