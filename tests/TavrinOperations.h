// Every operation of the device library, for tests that look them up: TAVRIN_OPERATIONS(X) is X(name) of each.
#ifndef TAVRIN_OPERATIONS_H
#define TAVRIN_OPERATIONS_H

#include "Tavrin.h"

// clang-format off
#define TAVRIN_OPERATIONS(X) \
    X(Tavrin_GetDeviceCount) X(Tavrin_GetDevice) \
    X(TBuffer_CreateVideo) X(TBuffer_GetPlaneInfo) X(TBuffer_BeginAccess) X(TBuffer_EndAccess) X(TBuffer_Destroy) \
    X(TVideoOut_GetCount) X(TVideoOut_GetHandle) X(TVideoOut_Enable) X(TVideoOut_Disable) X(TVideoOut_ReleaseHandle) \
    X(TBoard_RegWrite) X(TBoard_RegRead) X(TBoard_GetFpgaCount) X(TBoard_GetFpgaInfo)
// clang-format on

#endif
