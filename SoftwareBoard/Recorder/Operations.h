// libTavrin.so.1 twice more: one records and passes on, one replays. This header says what they know of each
// operation: its name, its parameters, and the fields of records. The two libraries, the reader of records and the
// descriptions of calls derive from it.
//
// A call is handled as words of 64 bits, one for each argument and one for the result, whatever their types are.
#ifndef OPERATIONS_H
#define OPERATIONS_H

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "TavrinOperations.h"

namespace SoftwareBoard::Recorder
{
// The operations, in the order of their table.
#define OPERATION_NAME(Result, Name, Parameters, Arguments) Name,
enum class EOperation
{
    TAVRIN_OPERATION_TABLE(OPERATION_NAME)
};
#undef OPERATION_NAME

#define COUNT_OPERATION(...) +1
constexpr size_t OPERATION_COUNT = 0 TAVRIN_OPERATION_TABLE(COUNT_OPERATION);
#undef COUNT_OPERATION

constexpr size_t MAX_ARGUMENTS = 5;
using Words                    = std::array<KUINT64, MAX_ARGUMENTS>;

// What a word of a call stands for.
enum class EKind
{
    Number,  // 32 bits; enumerations too
    Status,
    Handle,
    Record,
    Planes,  // addresses of planes, as many as the argument before says
};

// The kinds of objects that a handle may name. Each kind is numbered by itself.
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

// The type of a parameter or a result. eHandle counts for handles, the rest for pointers.
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

// A parameter, with the name that it has in the interface and in records.
struct SParameter
{
    std::string_view svName;
    SType            oType = {EKind::Number};
};

// An operation of the library. pfnInvoke calls the function at the address with the words as its arguments.
struct SOperation
{
    std::string_view                      svName;
    SType                                 oResult;
    size_t                                uiParameters;
    std::array<SParameter, MAX_ARGUMENTS> aoParameters;
    KUINT64 (*pfnInvoke)(void* pAddress, const Words& roArguments);

    std::span<const SParameter> Parameters() const { return {aoParameters.data(), uiParameters}; }
    // The index of the parameter that the library fills. No operation has two.
    std::optional<size_t> FindFilled() const;
};

extern const std::span<const SOperation, OPERATION_COUNT> OPERATIONS;

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
