#include "FakeTavrin.h"

#include <algorithm>

namespace
{
SFakeTavrin s_oWorld;

// Records the call. Returns true if it is to fail.
template <class... TArguments> bool Fails(std::string sCall, TArguments... arguments)
{
    (sCall.append(1, ' ').append(std::to_string(static_cast<KUINT32>(arguments))), ...);
    s_oWorld.asCalls.push_back(sCall);
    return s_oWorld.fFails && s_oWorld.fFails(sCall);
}

// Fails if it is to. Otherwise fills in what the call returns through pointers.
TStatus Answer(bool bFails, const std::function<void()>& fFill = nullptr)
{
    if (!bFails && fFill) fFill();
    return bFails ? s_oWorld.eFailure : TStatus_OK;
}

template <class THandle> THandle HandleOf(KUINTPTR uiNumber) { return reinterpret_cast<THandle>(0x1000 + uiNumber); }
KUINTPTR NumberOf(TVideoOut_Handle hVideoOut) { return reinterpret_cast<KUINTPTR>(hVideoOut) - 0x1000; }
}

SFakeTavrin* FakeTavrin_World() { return &s_oWorld; }

extern "C"
{
// The library's own two, which a client may not know of.
TStatus Tavrin_Load(void) { return s_oWorld.auiLoads.push_back(s_oWorld.asCalls.size()), TStatus_FAIL; }
TStatus Tavrin_UnLoad(void) { return s_oWorld.auiLoads.push_back(s_oWorld.asCalls.size()), TStatus_FAIL; }

KUINT32        Tavrin_GetDeviceCount(void) { return Fails("Tavrin_GetDeviceCount") ? 0 : 1; }
TDevice_Handle Tavrin_GetDevice(KUINT32 ui)
{
    return Fails("Tavrin_GetDevice", ui) ? nullptr : HandleOf<TDevice_Handle>(ui);
}

TStatus TBuffer_CreateVideo(TDevice_Handle, TPixelFormat eFormat, KUINT32 uiWidth, KUINT32 uiHeight,
                            TBuffer_Handle* phBuffer)
{
    return Answer(Fails("TBuffer_CreateVideo", eFormat, uiWidth, uiHeight), [&] {
        s_oWorld.uiWidth  = uiWidth;
        s_oWorld.uiHeight = uiHeight;
        s_oWorld.auiPixels.assign(size_t{uiWidth + s_oWorld.uiPitchExtra} * uiHeight, 0xDEADBEEF);
        *phBuffer = HandleOf<TBuffer_Handle>(0);
    });
}
TStatus TBuffer_GetPlaneInfo(TBuffer_Handle, tagTBuffer_PlaneInfo* poInfo)
{
    const KUINT32 uiWidth = s_oWorld.uiWidth, uiHeight = s_oWorld.uiHeight, uiPitch = uiWidth + s_oWorld.uiPitchExtra;
    return Answer(Fails("TBuffer_GetPlaneInfo"), [&] {
        *poInfo = {s_oWorld.uiPlanes, {TPixelFormat_R8G8B8A8}, {uiWidth}, {uiWidth * 4}, {uiHeight}, {uiPitch},
                   {uiPitch * 4}};
    });
}
TStatus TBuffer_BeginAccess(TBuffer_Handle, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes)
{
    if (!std::all_of(auiPlanes, auiPlanes + uiPlaneCount, [](KUINTPTR ui) { return ui == 0; })) Fails("old addresses");
    return Answer(Fails("TBuffer_BeginAccess", uiMode, uiPlaneCount), [&] {
        s_oWorld.puiMapped = std::make_unique<KUINT32[]>(s_oWorld.auiPixels.size());
        std::copy(s_oWorld.auiPixels.begin(), s_oWorld.auiPixels.end(), s_oWorld.puiMapped.get());
        std::fill_n(auiPlanes, uiPlaneCount, reinterpret_cast<KUINTPTR>(s_oWorld.puiMapped.get()));
    });
}
TStatus TBuffer_EndAccess(TBuffer_Handle)
{
    if (s_oWorld.puiMapped) std::copy_n(s_oWorld.puiMapped.get(), s_oWorld.auiPixels.size(), s_oWorld.auiPixels.begin());
    s_oWorld.puiMapped.reset();
    return Answer(Fails("TBuffer_EndAccess"));
}
TStatus TBuffer_Destroy(TBuffer_Handle) { return s_oWorld.puiMapped.reset(), Answer(Fails("TBuffer_Destroy")); }

TStatus TVideoOut_GetCount(TDevice_Handle, KUINT32* pui)
{
    return Answer(Fails("TVideoOut_GetCount"), [&] { *pui = s_oWorld.uiOutputs; });
}
// A failing request leaves the handle as it is, whatever its status.
TStatus TVideoOut_GetHandle(TDevice_Handle, KUINT32 ui, TAccessMode eMode, TVideoOut_Handle* ph)
{
    return Answer(Fails("TVideoOut_GetHandle", ui, eMode), [&] { *ph = HandleOf<TVideoOut_Handle>(ui); });
}
TStatus TVideoOut_Enable(TVideoOut_Handle h, TVideo_SignalType eSignal, const tagTVideo_VidParam* po, TBuffer_Handle,
                         TVideoOut_PowerState ePower)
{
    return Answer(Fails("TVideoOut_Enable", NumberOf(h), eSignal, po->uiHActive, ePower));
}
TStatus TVideoOut_Disable(TVideoOut_Handle h) { return Answer(Fails("TVideoOut_Disable", NumberOf(h))); }
TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle h) { return Answer(Fails("TVideoOut_ReleaseHandle", NumberOf(h))); }

TStatus TBoard_RegWrite(TDevice_Handle, KUINT32 ui, KUINT32 uiTo) { return Answer(Fails("TBoard_RegWrite", ui, uiTo)); }
TStatus TBoard_RegRead(TDevice_Handle, KUINT32 ui, KUINT32* puiValue)
{
    return Answer(s_oWorld.bRecordsReads && Fails("TBoard_RegRead", ui), [&] { *puiValue = s_oWorld.fProgress(); });
}
TStatus TBoard_GetFpgaCount(TDevice_Handle, KUINT32* pui)
{
    return Answer(Fails("TBoard_GetFpgaCount"), [&] { *pui = 1; });
}
TStatus TBoard_GetFpgaInfo(TDevice_Handle, KUINT32 ui, tagTBoard_FpgaInfo* po)
{
    return Answer(Fails("TBoard_GetFpgaInfo", ui), [&] { *po = {84, "in", 3, 0xc3e7, 0, 0xd0, 1, 33, 0}; });
}
}
