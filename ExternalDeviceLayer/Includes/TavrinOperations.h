// Every operation of the device library, in one table. The loader, the recorder and tests derive from it.
#ifndef TAVRIN_OPERATIONS_H
#define TAVRIN_OPERATIONS_H

#include "Tavrin.h"

// clang-format off
// A row is X(result, name, parameters, arguments).
#define TAVRIN_OPERATION_TABLE(X) \
    X(KUINT32, Tavrin_GetDeviceCount, (void), ()) \
    X(TDevice_Handle, Tavrin_GetDevice, (KUINT32 uiDevIndex), (uiDevIndex)) \
    X(TStatus, TBuffer_CreateVideo, (TDevice_Handle hDev, TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight, \
                                     TBuffer_Handle* phBuffer), (hDev, ePixelFormat, uiWidth, uiHeight, phBuffer)) \
    X(TStatus, TBuffer_GetPlaneInfo, (TBuffer_Handle hBuffer, tagTBuffer_PlaneInfo* poPlaneInfo), (hBuffer, poPlaneInfo)) \
    X(TStatus, TBuffer_BeginAccess, (TBuffer_Handle hBuffer, KUINT32 uiMode, KUINT32 uiPlaneCount, KUINTPTR* auiPlanes), \
                                    (hBuffer, uiMode, uiPlaneCount, auiPlanes)) \
    X(TStatus, TBuffer_EndAccess, (TBuffer_Handle hBuffer), (hBuffer)) \
    X(TStatus, TBuffer_Destroy, (TBuffer_Handle hBuffer), (hBuffer)) \
    X(TStatus, TVideoOut_GetCount, (TDevice_Handle hDev, KUINT32* puiCount), (hDev, puiCount)) \
    X(TStatus, TVideoOut_GetHandle, (TDevice_Handle hDev, KUINT32 uiIndex, TAccessMode eAccessMode, \
                                     TVideoOut_Handle* phVideoOut), (hDev, uiIndex, eAccessMode, phVideoOut)) \
    X(TStatus, TVideoOut_Enable, (TVideoOut_Handle hVideoOut, TVideo_SignalType eSignalType, \
                                  const tagTVideo_VidParam* poVidParam, TBuffer_Handle hBuffer, \
                                  TVideoOut_PowerState ePowerState), \
                                 (hVideoOut, eSignalType, poVidParam, hBuffer, ePowerState)) \
    X(TStatus, TVideoOut_Disable, (TVideoOut_Handle hVideoOut), (hVideoOut)) \
    X(TStatus, TVideoOut_ReleaseHandle, (TVideoOut_Handle hVideoOut), (hVideoOut)) \
    X(TStatus, TBoard_RegWrite, (TDevice_Handle hDev, KUINT32 uiRegister, KUINT32 uiValue), (hDev, uiRegister, uiValue)) \
    X(TStatus, TBoard_RegRead, (TDevice_Handle hDev, KUINT32 uiRegister, KUINT32* puiValue), (hDev, uiRegister, puiValue)) \
    X(TStatus, TBoard_GetFpgaCount, (TDevice_Handle hDev, KUINT32* puiCount), (hDev, puiCount)) \
    X(TStatus, TBoard_GetFpgaInfo, (TDevice_Handle hDev, KUINT32 uiIndex, tagTBoard_FpgaInfo* poFpgaInfo), \
                                   (hDev, uiIndex, poFpgaInfo))
// clang-format on

#endif
