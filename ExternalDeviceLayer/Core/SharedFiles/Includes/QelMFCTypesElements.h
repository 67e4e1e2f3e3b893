#ifndef QEL_MFC_TYPES_ELEMENTS_H
#define QEL_MFC_TYPES_ELEMENTS_H

#include <new>
#include <type_traits>

#include "QelCheck.h"
#include "QelMFCTypesString.h"
#include "QelTools.h"
#include "QelTypes.h"

// Construct and destroy array elements in raw storage. These two serve plain records, which start as zero bytes and need no
// destruction. A type that owns something needs its own specializations.
template <class T> void KConstructElements(T* poFirst, int iCount)
{
    static_assert(std::is_trivially_copyable_v<T>, "a type that owns something needs its own pair of element helpers");
    QEL_ASSERT(poFirst != nullptr);
    if (poFirst != nullptr && iCount > 0)
        QelTools_memset(poFirst, 0, static_cast<KUINT32>(sizeof(T) * static_cast<KUINT32>(iCount)));
}

template <class T> void KDestructElements(T* poFirst, int)
{
    static_assert(std::is_trivially_copyable_v<T>, "a type that owns something needs its own pair of element helpers");
    QEL_ASSERT(poFirst != nullptr);
}

template <> inline void KConstructElements<CKString>(CKString* poFirst, int iCount)
{
    QEL_ASSERT(poFirst != nullptr);
    for (int i = 0; poFirst != nullptr && i < iCount; ++i)
        ::new (static_cast<void*>(poFirst + i)) CKString;
}

template <> inline void KDestructElements<CKString>(CKString* poFirst, int iCount)
{
    QEL_ASSERT(poFirst != nullptr);
    for (int i = 0; poFirst != nullptr && i < iCount; ++i)
        poFirst[i].~CKString();
}

#endif
