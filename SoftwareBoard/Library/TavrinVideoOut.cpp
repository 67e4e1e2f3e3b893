// The operations of Tavrin.h on video outputs.
#include "OutputChange.h"

using namespace SoftwareBoard;
using namespace SoftwareBoard::Library;

TStatus TVideoOut_GetCount(TDevice_Handle hDev, KUINT32* puiCount)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        if (!ouiDevice || puiCount == nullptr)
            return TStatus_INVALID_PARAM;
        *puiCount = roClient.OpenBoard().m_oState.ReadDevice(*ouiDevice).uiOutputCount;
        return TStatus_OK;
    });
}

TStatus TVideoOut_GetHandle(TDevice_Handle hDev, KUINT32 uiIndex, TAccessMode eAccessMode, TVideoOut_Handle* phVideoOut)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const auto ouiDevice = roClient.FindDevice(hDev);
        if (!ouiDevice || eAccessMode != TAccessMode_READWRITE || phVideoOut == nullptr ||
            uiIndex >= roClient.OpenBoard().m_oState.ReadDevice(*ouiDevice).uiOutputCount)
            return TStatus_INVALID_PARAM;
        *phVideoOut = roClient.m_oVideoOuts.Add(std::make_unique<TVIDEOOUT_OBJECT>(TVIDEOOUT_OBJECT{*ouiDevice, uiIndex}));
        return TStatus_OK;
    });
}

TStatus TVideoOut_Enable(TVideoOut_Handle hVideoOut, TVideo_SignalType eSignalType, const tagTVideo_VidParam* poVidParam,
                         TBuffer_Handle hBuffer, TVideoOut_PowerState ePowerState)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const TVIDEOOUT_OBJECT* const poOutput = roClient.m_oVideoOuts.Find(hVideoOut);
        const TBUFFER_OBJECT* const   poBuffer = roClient.m_oBuffers.Find(hBuffer);
        if (poOutput == nullptr || poBuffer == nullptr || poVidParam == nullptr ||
            eSignalType != TVideo_SignalType_USEDEFAULT || ePowerState != TVideoOut_PowerState_ON ||
            poBuffer->m_uiDevice != poOutput->uiDevice)
            return TStatus_INVALID_PARAM;
        const auto ooRecord = MakeOutputRecord(*poVidParam, poBuffer->m_oLayout, poBuffer->m_oPixels.uiNumber);
        return ooRecord ? EnableOutput(roClient, *poOutput, *ooRecord) : TStatus_INVALID_PARAM;
    });
}

TStatus TVideoOut_Disable(TVideoOut_Handle hVideoOut)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const TVIDEOOUT_OBJECT* const poOutput = roClient.m_oVideoOuts.Find(hVideoOut);
        return poOutput != nullptr ? DisableOutput(roClient, *poOutput) : TStatus_INVALID_PARAM;
    });
}

TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle hVideoOut)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        return roClient.m_oVideoOuts.Remove(hVideoOut) ? TStatus_OK : TStatus_INVALID_PARAM;
    });
}
