// Scalar types of the device layer, used in every signature.
#ifndef QEL_TYPES_H
#define QEL_TYPES_H

#include <cstdint>

using KUINT8   = std::uint8_t;
using KUINT16  = std::uint16_t;
using KUINT32  = std::uint32_t;
using KUINT    = std::uint32_t;
using KUINT64  = unsigned long long;  // "%llu" prints it without a cast
using KUINTPTR = std::uintptr_t;

using KINT8  = std::int8_t;
using KINT16 = std::int16_t;
using KINT32 = std::int32_t;
using KINT   = std::int32_t;
using KINT64 = long long;

using KCHAR8   = char;
using KWCHAR   = wchar_t;
using KFLOAT32 = float;

// A truth value of fixed width. Any value except 0 counts as TRUE.
using KBOOL32 = KINT32;

// Macros, because preprocessor conditions of other headers may test them.
#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif

static_assert(sizeof(KUINT64) == 8 && sizeof(KUINTPTR) == 8, "the device layer is a 64-bit one");

#endif
