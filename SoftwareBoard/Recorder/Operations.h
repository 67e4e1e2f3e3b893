// libTavrin.so.1 twice more: one records and passes on, one replays. This header is their common table of the sixteen
// operations: names, parameters, and the fields of records. The two libraries, the reader of records and the descriptions of
// calls derive from it.
//
// A call is handled as words of 64 bits, one for each argument and one for the result, whatever their types are.
#ifndef OPERATIONS_H
#define OPERATIONS_H

#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "Tavrin.h"

namespace SoftwareBoard::Recorder
{
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

#define OPERATION_NAME(Result, Name, Parameters, Arguments) Name,
enum class EOperation
{
    TAVRIN_OPERATION_TABLE(OPERATION_NAME)
};
#undef OPERATION_NAME

constexpr size_t MAX_ARGUMENTS = 5;
using Words                    = std::array<KUINT64, MAX_ARGUMENTS>;

enum class EKind
{
    Number,  // 32 bits; enumerations too
    Status,
    Handle,
    Record,
    Planes,  // addresses of planes, as many as the argument before says
};

enum class EHandle
{
    Device,
    Buffer,
    Output,
};

// A field of a record: a number of uiSize bytes, an array of such numbers, some bits of a number, or a text.
struct SField
{
    std::string_view svName;
    size_t           uiOffset;
    size_t           uiSize;
    size_t           uiCount    = 0;  // of an array or a text
    unsigned         uiFirstBit = 0;
    unsigned         uiBits     = 0;  // 0: all
    bool             bText      = false;

    constexpr size_t End() const { return uiOffset + uiSize * (uiCount != 0 ? uiCount : 1); }
};

struct SType
{
    EKind                   eKind;
    EHandle                 eHandle  = EHandle::Device;
    std::span<const SField> aoFields = {};
    size_t                  uiSize   = 0;      // bytes behind the pointer
    bool                    bFilled  = false;  // a pointer behind which the library writes

    bool IsPointer() const { return bFilled || eKind == EKind::Record; }
    // Whether the client says in the first field of a record how much of it there is.
    bool HoldsItsSize() const { return !aoFields.empty() && aoFields[0].svName == "uiSize"; }
};

struct SParameter
{
    std::string_view svName;
    SType            oType = {EKind::Number};
};

struct SOperation
{
    std::string_view                      svName;
    SType                                 oResult;
    size_t                                uiParameters;
    std::array<SParameter, MAX_ARGUMENTS> aoParameters;
    KUINT64 (*pfnInvoke)(void* pAddress, const Words& roArguments);

    std::span<const SParameter> Parameters() const { return {aoParameters.data(), uiParameters}; }
    // The index of the parameter that the library fills; uiParameters if there is none. No operation has two.
    size_t FindFilled() const;
};

extern const std::span<const SOperation> OPERATIONS;

inline const SOperation& TableRow(EOperation eOperation)
{
    return OPERATIONS[static_cast<size_t>(eOperation)];
}

// A value as a word and back.
template <class T> KUINT64 ToWord(T tValue)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<KUINTPTR>(tValue);
    else
        return static_cast<KUINT64>(tValue);
}
template <class T> T FromWord(KUINT64 uiWord)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<T>(static_cast<KUINTPTR>(uiWord));
    else
        return static_cast<T>(uiWord);
}
}

#endif
