#include "FakeTavrin.h"

#include <algorithm>

namespace
{
SFakeTavrin s_oWorld;

template <class... TArguments> std::string CallText(const char* pszName, TArguments... arguments)
{
    std::string sCall = pszName;
    ((sCall.append(1, ' ').append(std::to_string(arguments))), ...);
    return sCall;
}

// Records the call. Returns true if it is to fail.
bool Fails(const std::string& sCall)
{
    s_oWorld.asCalls.push_back(sCall);
    return s_oWorld.fFails && s_oWorld.fFails(sCall);
}

// Fails if it is to. Otherwise fills in what the call returns through pointers.
TStatus Answer(const std::string& sCall, const std::function<void()>& fFill = nullptr)
{
    if (Fails(sCall)) return s_oWorld.eFailure;
    if (fFill) fFill();
    return TStatus_OK;
}

// From here on a short function is a line, set by hand.
// clang-format off
KUINT32 Pitch() { return s_oWorld.uiWidth + s_oWorld.uiPitchExtra; }

template <class THandle> THandle HandleOf(KUINTPTR uiNumber) { return reinterpret_cast<THandle>(0x1000 + uiNumber); }
KUINTPTR NumberOf(TVideoOut_Handle hVideoOut) { return reinterpret_cast<KUINTPTR>(hVideoOut) - 0x1000; }
}

SFakeTavrin* FakeTavrin_World() { return &s_oWorld; }

extern "C"
{
// The library's own two, which a client may not know of.
TStatus        Tavrin_Load(void)   { return s_oWorld.auiLoads.push_back(s_oWorld.asCalls.size()), TStatus_FAIL; }
TStatus        Tavrin_UnLoad(void) { return s_oWorld.auiLoads.push_back(s_oWorld.asCalls.size()), TStatus_FAIL; }
KUINT32        Tavrin_GetDeviceCount(void) { return Fails("Tavrin_GetDeviceCount") ? 0 : 1; }
TDevice_Handle Tavrin_GetDevice(KUINT32 ui)
{
    return Fails(CallText("Tavrin_GetDevice", ui)) ? nullptr : HandleOf<TDevice_Handle>(ui);
}

TStatus TBuffer_CreateVideo(TDevice_Handle, TPixelFormat eFormat, KUINT32 uiWidth, KUINT32 uiHeight,
                            TBuffer_Handle* phBuffer)
{
    return Answer(CallText("TBuffer_CreateVideo", static_cast<KUINT32>(eFormat), uiWidth, uiHeight), [&] {
        s_oWorld.uiWidth  = uiWidth;
        s_oWorld.uiHeight = uiHeight;
        s_oWorld.auiPixels.assign(size_t{Pitch()} * uiHeight, 0xDEADBEEF);
        *phBuffer = HandleOf<TBuffer_Handle>(0);
    });
}
TStatus TBuffer_GetPlaneInfo(TBuffer_Handle, tagTBuffer_PlaneInfo* poInfo)
{
    return Answer("TBuffer_GetPlaneInfo", [&] {
        *poInfo = {.uiPlaneCount = s_oWorld.uiPlanes,
                   .aePlaneFormat = {TPixelFormat_R8G8B8A8}, .auiWidth = {s_oWorld.uiWidth},
                   .auiWidthInBytes = {s_oWorld.uiWidth * 4}, .auiHeight = {s_oWorld.uiHeight}, .auiPitch = {Pitch()},
                   .auiPitchInBytes = {Pitch() * 4}};
    });
}
TStatus TBuffer_BeginAccess(TBuffer_Handle, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes)
{
    const bool bNulls = std::all_of(auiPlanes, auiPlanes + uiPlaneCount, [](KUINTPTR ui) { return ui == 0; });
    return Answer(CallText("TBuffer_BeginAccess", uiMode, uiPlaneCount) + (bNulls ? "" : " of old addresses"), [&] {
        s_oWorld.puiMapped = std::make_unique<KUINT32[]>(s_oWorld.auiPixels.size());
        std::copy(s_oWorld.auiPixels.begin(), s_oWorld.auiPixels.end(), s_oWorld.puiMapped.get());
        std::fill_n(auiPlanes, uiPlaneCount, reinterpret_cast<KUINTPTR>(s_oWorld.puiMapped.get()));
    });
}
TStatus TBuffer_EndAccess(TBuffer_Handle)
{
    if (s_oWorld.puiMapped)
        std::copy_n(s_oWorld.puiMapped.get(), s_oWorld.auiPixels.size(), s_oWorld.auiPixels.begin());
    s_oWorld.puiMapped.reset();
    return Answer("TBuffer_EndAccess");
}
TStatus TBuffer_Destroy(TBuffer_Handle) { return s_oWorld.puiMapped.reset(), Answer("TBuffer_Destroy"); }

TStatus TVideoOut_GetCount(TDevice_Handle, KUINT32* pui)
{
    return Answer("TVideoOut_GetCount", [&] { *pui = s_oWorld.uiOutputs; });
}
// A failing request leaves the handle as it is, whatever its status.
TStatus TVideoOut_GetHandle(TDevice_Handle, KUINT32 ui, TAccessMode eMode, TVideoOut_Handle* phVideoOut)
{
    return Answer(CallText("TVideoOut_GetHandle", ui, static_cast<KUINT32>(eMode)),
                  [&] { *phVideoOut = HandleOf<TVideoOut_Handle>(ui); });
}
TStatus TVideoOut_Enable(TVideoOut_Handle h, TVideo_SignalType eSignal, const tagTVideo_VidParam* po, TBuffer_Handle,
                         TVideoOut_PowerState ePower)
{
    return Answer(CallText("TVideoOut_Enable", NumberOf(h), static_cast<KUINT32>(eSignal), po->uiHActive,
                           static_cast<KUINT32>(ePower)));
}
TStatus TVideoOut_Disable(TVideoOut_Handle h) { return Answer(CallText("TVideoOut_Disable", NumberOf(h))); }
TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle h) { return Answer(CallText("TVideoOut_ReleaseHandle", NumberOf(h))); }

TStatus TBoard_RegWrite(TDevice_Handle, KUINT32 uiRegister, KUINT32 uiValue)
{
    return Answer(CallText("TBoard_RegWrite", uiRegister, uiValue));
}
TStatus TBoard_RegRead(TDevice_Handle, KUINT32 uiRegister, KUINT32* puiValue)
{
    const auto fFill = [&] { *puiValue = s_oWorld.fProgress(); };
    return s_oWorld.bRecordsReads ? Answer(CallText("TBoard_RegRead", uiRegister), fFill) : (fFill(), TStatus_OK);
}
TStatus TBoard_GetFpgaCount(TDevice_Handle, KUINT32* pui) { return Answer("TBoard_GetFpgaCount", [&] { *pui = 1; }); }
TStatus TBoard_GetFpgaInfo(TDevice_Handle, KUINT32 ui, tagTBoard_FpgaInfo* po)
{
    return Answer(CallText("TBoard_GetFpgaInfo", ui), [&] {
        *po = {.uiSize = 84, .szName = "in", .ui16DevID = 3, .ui16VendorID = 0xc3e7, .uiI2cBusIndex = 0,
               .uiI2cAddress = 0xd0, .uiVersionMajor = 1, .uiVersionMinor = 33, .uiVersionBuild = 0};
    });
}
}
// clang-format on
