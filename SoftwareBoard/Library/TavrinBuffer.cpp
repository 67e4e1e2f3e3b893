// The operations of Tavrin.h on video buffers.
#include "Client.h"

using namespace SoftwareBoard;
using namespace SoftwareBoard::Library;

TStatus TBuffer_CreateVideo(TDevice_Handle hDev, TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight,
                            TBuffer_Handle* phBuffer)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        const auto ooLayout  = LayOutPlane(ePixelFormat, uiWidth, uiHeight);
        if (!ouiDevice || !ooLayout || phBuffer == nullptr)
            return TStatus_INVALID_PARAM;

        const Board& roBoard = roClient.OpenBoard();
        roBoard.m_oState.ReadDevice(*ouiDevice);  // throws if its record is damaged
        const Transaction oTransaction(roBoard.m_oLocks);
        SweepPixelFiles(oTransaction, roBoard.m_oFolder, roBoard.m_oState);
        *phBuffer = roClient.m_oBuffers.Add(std::make_unique<TBUFFER_OBJECT>(
            *ouiDevice, *ooLayout,
            MakePixelFile(oTransaction, roBoard.m_oFolder, roBoard.m_oState, ooLayout->uiSizeInBytes)));
        return TStatus_OK;
    });
}

TStatus TBuffer_GetPlaneInfo(TBuffer_Handle hBuffer, tagTBuffer_PlaneInfo* poPlaneInfo)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const TBUFFER_OBJECT* const poBuffer = roClient.m_oBuffers.Find(hBuffer);
        if (poBuffer == nullptr || poPlaneInfo == nullptr)
            return TStatus_INVALID_PARAM;
        const SPlaneLayout&  roLayout = poBuffer->m_oLayout;
        tagTBuffer_PlaneInfo oInfo    = {};
        oInfo.uiPlaneCount            = 1;
        oInfo.aePlaneFormat[0]        = roLayout.ePixelFormat;
        oInfo.auiWidth[0]             = roLayout.uiWidth;
        oInfo.auiWidthInBytes[0]      = roLayout.uiWidth * roLayout.uiBytesPerPixel;
        oInfo.auiHeight[0]            = roLayout.uiHeight;
        oInfo.auiPitch[0]             = roLayout.uiPitch;
        oInfo.auiPitchInBytes[0]      = roLayout.uiPitchInBytes;
        *poPlaneInfo                  = oInfo;
        return TStatus_OK;
    });
}

TStatus TBuffer_BeginAccess(TBuffer_Handle hBuffer, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        TBUFFER_OBJECT* const poBuffer = roClient.m_oBuffers.Find(hBuffer);
        if (poBuffer == nullptr || poBuffer->IsInAccess() || uiMode != 0 || uiPlaneCount != 1 || auiPlanes == nullptr)
            return TStatus_INVALID_PARAM;
        auiPlanes[0] = reinterpret_cast<KUINTPTR>(poBuffer->BeginAccess());
        return TStatus_OK;
    });
}

TStatus TBuffer_EndAccess(TBuffer_Handle hBuffer)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        TBUFFER_OBJECT* const poBuffer = roClient.m_oBuffers.Find(hBuffer);
        if (poBuffer == nullptr || !poBuffer->IsInAccess())
            return TStatus_INVALID_PARAM;
        poBuffer->EndAccess();
        return TStatus_OK;
    });
}

TStatus TBuffer_Destroy(TBuffer_Handle hBuffer)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        if (!roClient.m_oBuffers.Remove(hBuffer))
            return TStatus_INVALID_PARAM;
        roClient.SweepPixelFiles();
        return TStatus_OK;
    });
}
