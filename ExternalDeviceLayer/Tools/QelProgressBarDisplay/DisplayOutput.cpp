#include "DisplayOutput.h"

#include "QelCheck.h"

namespace
{
// Gets the handle of an output, passes it to fOperate and releases it. Returns the status of the first failure.
template <class TOperate> TStatus WithOutput(TDevice_Handle hDev, KUINT32 uiVideoOutIndex, TOperate fOperate)
{
    TVideoOut_Handle hVideoOut = nullptr;
    TStatus          eStatus   = TVideoOut_GetHandle(hDev, uiVideoOutIndex, TAccessMode_READWRITE, &hVideoOut);
    if (hVideoOut == nullptr)
        return eStatus;

    eStatus = fOperate(hVideoOut);
    QEL_CHECK_OR_ABORT(eStatus >= 0);

    eStatus   = TVideoOut_ReleaseHandle(hVideoOut);
    hVideoOut = nullptr;
    QEL_CHECK_OR_ABORT(eStatus >= 0);
    eStatus = TStatus_OK;

Qel_Abort:
    if (hVideoOut != nullptr)
        TVideoOut_ReleaseHandle(hVideoOut);
    return eStatus;
}
}

TStatus EnableDisplay(TDevice_Handle hDev, TBuffer_Handle hBuffer, tagTVideo_VidParam& roVidParam, KUINT32 uiVideoOutIndex)
{
    return WithOutput(hDev, uiVideoOutIndex, [&](TVideoOut_Handle hVideoOut) {
        return TVideoOut_Enable(hVideoOut, TVideo_SignalType_USEDEFAULT, &roVidParam, hBuffer, TVideoOut_PowerState_ON);
    });
}

TStatus DisableDisplay(TDevice_Handle hDev, KUINT32 uiVideoOutIndex)
{
    return WithOutput(hDev, uiVideoOutIndex, [](TVideoOut_Handle hVideoOut) { return TVideoOut_Disable(hVideoOut); });
}
