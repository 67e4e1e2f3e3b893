// Video outputs of the interface.
#include "Client.h"

using namespace SoftwareBoard;

namespace
{
// What the output shows from now on, held by this process while it shows something. Others see it change at once, with
// its holder; a failure leaves what was held before.
TStatus Show(Client& roClient, const TVIDEOOUT_OBJECT& roOutput, const SOutputRecord& roRecord)
{
    Board&                        roBoard = roClient.OpenBoard();
    const BoardLocks::Transaction oTransaction(roBoard.m_oLocks);
    const bool                    bWasHeld = roClient.IsHolding(roOutput);
    if (!roClient.HoldOutput(roOutput))
        return TStatus_RESOURCES_BUSY;
    try
    {
        roBoard.m_oState.WriteOutput(roOutput.uiDevice, roOutput.uiOutput, roRecord);
    }
    catch (...)
    {
        if (!bWasHeld)
            roClient.ReleaseOutput(roOutput);
        throw;
    }
    if (roRecord.bEnabled == FALSE)
        roClient.ReleaseOutput(roOutput);
    return TStatus_OK;
}
}

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
            eSignalType != TVideo_SignalType_USEDEFAULT || ePowerState != TVideoOut_PowerState_ON)
            return TStatus_INVALID_PARAM;
        // The outputs scan out this one format, from memory of their own device, a picture that a buffer could hold.
        if (poBuffer->m_oLayout.ePixelFormat != TPixelFormat_R8G8B8A8 || poBuffer->m_uiDevice != poOutput->uiDevice ||
            !LayOutPlane(TPixelFormat_R8G8B8A8, poVidParam->uiHActive, poVidParam->uiVActive))
            return TStatus_INVALID_PARAM;

        SOutputRecord oRecord;
        oRecord.bEnabled       = TRUE;
        oRecord.iHolderPid     = getpid();
        oRecord.oVidParam      = *poVidParam;
        oRecord.uiPixelFile    = poBuffer->m_oPixels.uiNumber;
        oRecord.uiBufferWidth  = poBuffer->m_oLayout.uiWidth;
        oRecord.uiBufferHeight = poBuffer->m_oLayout.uiHeight;
        const TStatus eStatus  = Show(roClient, *poOutput, oRecord);
        if (eStatus == TStatus_OK)
            roClient.SweepPixelFiles();  // what it showed before may be needless now
        return eStatus;
    });
}

TStatus TVideoOut_Disable(TVideoOut_Handle hVideoOut)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        const TVIDEOOUT_OBJECT* const poOutput = roClient.m_oVideoOuts.Find(hVideoOut);
        if (poOutput == nullptr)
            return TStatus_INVALID_PARAM;
        const TStatus eStatus = Show(roClient, *poOutput, SOutputRecord());
        if (eStatus == TStatus_OK)
            roClient.SweepPixelFiles();
        return eStatus;
    });
}

TStatus TVideoOut_ReleaseHandle(TVideoOut_Handle hVideoOut)
{
    return Guarded(TStatus_FAIL, [&](Client& roClient) {
        return roClient.m_oVideoOuts.Remove(hVideoOut) ? TStatus_OK : TStatus_INVALID_PARAM;
    });
}
