#ifndef QEL_MFC_TYPES_ARRAY_H
#define QEL_MFC_TYPES_ARRAY_H

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>

#include "QelCheck.h"
#include "QelMFCTypesAllocator.h"
#include "QelMFCTypesElements.h"
#include "QelTools.h"
#include "QelTypes.h"

// A growable, contiguous array of elements of type T. Elements are passed in as ARG.
//
//  - There is no storage before the first element. The first storage has exactly the requested size. Later growth adds the
//    stored step. If the step is 0, it becomes an eighth of the size, but at least 4 and at most 1024. Only SetSize(0) and
//    FreeExtra shrink the storage.
//  - KConstructElements constructs the elements below the size. The storage above is raw. Growth copies the bytes of the
//    elements to the new storage, so T must allow that.
//  - Growth goes through the virtual functions, so a derived array may replace it.
//  - An element that is passed in may be an element of the array itself.
//  - A broken contract is reported, and the operation then does nothing. The storage stays below 4 GiB.
// clang-format off
template <class T, class ARG = const T&>
class CKArray
{
public:
    CKArray() = default;
    CKArray(const CKArray& roOther) : CKArray()    { Copy(roOther); }
    CKArray& operator=(const CKArray& roOther)     { Copy(roOther); return *this; }

    // The virtual table has these entries in this order. nGrowBy becomes the stored step, unless it is -1.
    virtual ~CKArray()                                             { ReturnStorage(); EmptyNoElement(); }
    virtual void SetSize(int nNewSize, int nGrowBy = -1);
    virtual void SetCount(unsigned int uiNewCount, int nGrowBy = -1) { SetSize(static_cast<int>(uiNewCount), nGrowBy); }
    virtual void FreeExtra();                                      // cuts the capacity to the size
    virtual void SetAtGrow(int iIndex, ARG oElement);              // appends if iIndex is the size
    virtual void SetAtGrow(unsigned int uiIndex, ARG oElement)     { SetAtGrow(static_cast<int>(uiIndex), oElement); }

    int          GetSize() const         { return m_iSize; }
    unsigned int GetCount() const        { return static_cast<unsigned int>(m_iSize); }
    int          GetAllocSize() const    { return m_iMaxSize; }
    unsigned int GetAllocCount() const   { return static_cast<unsigned int>(m_iMaxSize); }
    int          GetUpperBound() const   { return m_iSize - 1; }  // -1 when empty
    unsigned int GetUpperBoundU() const  { return GetCount() - 1; }
    KBOOL32      IsEmpty() const         { return m_iSize == 0; }

    // An index outside the array is reported. It refers to a spare element in its initial state. What is written there is
    // lost.
    const T& GetAt(int iIndex) const                 { return IsInside(iIndex) ? m_poData[iIndex] : NoElement(); }
    T&       ElementAt(int iIndex)                   { return IsInside(iIndex) ? m_poData[iIndex] : NoElement(); }
    const T& operator[](int iIndex) const            { return GetAt(iIndex); }
    T&       operator[](int iIndex)                  { return ElementAt(iIndex); }
    const T& operator[](unsigned int uiIndex) const  { return GetAt(static_cast<int>(uiIndex)); }
    T&       operator[](unsigned int uiIndex)        { return ElementAt(static_cast<int>(uiIndex)); }
    void     SetAt(int iIndex, ARG oElement)         { if (IsInside(iIndex)) m_poData[iIndex] = oElement; }

    // These pointers are valid until the next call that changes the size.
    const T* GetData() const  { return m_poData; }
    T*       GetData()        { return m_poData; }
    const T* Begin() const    { return m_poData; }
    T*       Begin()          { return m_poData; }
    const T* End() const      { return m_poData + m_iSize; }
    T*       End()            { return m_poData + m_iSize; }

    // Adding and removing. Add and Append return the index of the first element added.
    int     Add(ARG oElement);                 // -1 if nothing was added
    KBOOL32 AddIfNotPresent(ARG oElement);     // TRUE if it was added
    int     Append(const CKArray& roOther);
    void    Copy(const CKArray& roOther);
    void    InsertAt(int iIndex, ARG oElement, int iCount = 1);  // grows to an index beyond the end
    void    RemoveAt(int iIndex, int iCount = 1);                // stops at the end
    void    RemoveAll()                        { SetSize(0, -1); }
    void    RemoveDuplicates();                // keeps the first of equal elements

    int     Find(ARG oElement, int iStart = 0) const;  // an index, or -1
    KBOOL32 IsPresent(ARG oElement) const      { return Find(oElement) >= 0; }
    void    SortElements()                     { std::sort(Begin(), End()); }  // ascending

    bool operator==(const CKArray& roOther) const;
    bool operator!=(const CKArray& roOther) const  { return !(*this == roOther); }

    // Intersection and union, without duplicates, in the order of first appearance.
    CKArray& operator&=(const CKArray& roOther);
    CKArray& operator|=(const CKArray& roOther);

    T*  m_poData   = nullptr;  // null while there is no storage
    int m_iSize    = 0;        // elements in use
    int m_iMaxSize = 0;        // elements that the storage holds
    int m_iGrowBy  = 0;        // step in elements; the next growth computes it if it is 0

private:
    static constexpr KINT64 MAX_STORAGE = std::min<KINT64>(
        std::numeric_limits<int>::max(), std::numeric_limits<KUINT32>::max() / KINT64{sizeof(T)});

    static T&   NoElement();
    static void EmptyNoElement();

    bool IsInside(int iIndex) const;
    int  OwnIndexOf(const void* pvElement) const;
    bool IsStoragePossible(KINT64 iMaxSize) const;
    void MoveToStorage(int iMaxSize);
    void ReturnStorage();

    template <class TIsKept>
    void KeepOnly(TIsKept fIsKept);

    static inline constinit thread_local T* ms_poNoElement = nullptr;  // of this thread; null before its first use
};
// clang-format on

template <class T, class ARG> void CKArray<T, ARG>::SetSize(int nNewSize, int nGrowBy)
{
    QEL_ASSERT(nNewSize >= 0);
    if (nNewSize < 0)
        return;

    if (nGrowBy != -1)
        m_iGrowBy = nGrowBy;

    if (nNewSize == 0)
    {
        ReturnStorage();
        return;
    }

    if (nNewSize < m_iSize)
        KDestructElements<T>(m_poData + nNewSize, m_iSize - nNewSize);

    if (nNewSize > m_iMaxSize)
    {
        KINT64 iNewMaxSize = nNewSize;
        if (m_poData != nullptr)
        {
            if (m_iGrowBy == 0)
                m_iGrowBy = std::clamp(m_iSize / 8, 4, 1024);
            const KINT64 iStepped = KINT64{m_iMaxSize} + m_iGrowBy;
            if (iStepped > iNewMaxSize && iStepped <= MAX_STORAGE)
                iNewMaxSize = iStepped;
        }
        QEL_ASSERT(iNewMaxSize >= m_iMaxSize);
        if (!IsStoragePossible(iNewMaxSize))
            return;
        MoveToStorage(static_cast<int>(iNewMaxSize));
    }

    if (nNewSize > m_iSize)
        KConstructElements<T>(m_poData + m_iSize, nNewSize - m_iSize);
    m_iSize = nNewSize;
}

template <class T, class ARG> void CKArray<T, ARG>::FreeExtra()
{
    if (m_iSize != m_iMaxSize)
        MoveToStorage(m_iSize);
}

template <class T, class ARG> void CKArray<T, ARG>::SetAtGrow(int iIndex, ARG oElement)
{
    const bool bIsPossible = iIndex >= 0 && iIndex < std::numeric_limits<int>::max();
    QEL_ASSERT(bIsPossible);
    if (!bIsPossible)
        return;

    // Growth moves the storage, and oElement with it if it is an element of this array.
    const int iOwnIndex = OwnIndexOf(std::addressof(oElement));
    if (iIndex >= m_iSize)
        SetSize(iIndex + 1, -1);
    if (iIndex >= m_iSize)
        return;

    if (iOwnIndex >= 0)
        m_poData[iIndex] = m_poData[iOwnIndex];
    else
        m_poData[iIndex] = oElement;
}

template <class T, class ARG> int CKArray<T, ARG>::Add(ARG oElement)
{
    const int iIndex = m_iSize;
    SetAtGrow(iIndex, oElement);
    return iIndex < m_iSize ? iIndex : -1;
}

template <class T, class ARG> KBOOL32 CKArray<T, ARG>::AddIfNotPresent(ARG oElement)
{
    if (IsPresent(oElement))
        return FALSE;
    Add(oElement);
    return TRUE;
}

template <class T, class ARG> int CKArray<T, ARG>::Append(const CKArray& roOther)
{
    const int    iFirst = m_iSize;
    const int    iAdded = roOther.m_iSize;  // read before the growth, since roOther may be this array
    const KINT64 iTotal = KINT64{iFirst} + iAdded;
    if (iAdded == 0 || !IsStoragePossible(iTotal))
        return iFirst;

    SetSize(static_cast<int>(iTotal), -1);
    for (int i = 0; i < iAdded && iFirst + i < m_iSize; ++i)
        m_poData[iFirst + i] = roOther.m_poData[i];
    return iFirst;
}

template <class T, class ARG> void CKArray<T, ARG>::Copy(const CKArray& roOther)
{
    if (this == &roOther)
        return;

    RemoveAll();
    Append(roOther);
}

template <class T, class ARG> void CKArray<T, ARG>::InsertAt(int iIndex, ARG oElement, int iCount)
{
    const KINT64 iNewSize    = KINT64{std::max(iIndex, m_iSize)} + iCount;
    const bool   bIsPossible = iIndex >= 0 && iCount >= 0;
    QEL_ASSERT(bIsPossible);
    if (!bIsPossible || iCount == 0 || !IsStoragePossible(iNewSize))
        return;

    const T   oCopy = oElement;  // an element of this array would move
    const int iTail = std::max(m_iSize - iIndex, 0);
    SetSize(static_cast<int>(iNewSize), -1);
    if (m_iSize != iNewSize)
        return;

    // The new elements are at the end. Destroy them, move the tail to their place and construct the gap.
    T* poGap = m_poData + iIndex;
    KDestructElements<T>(m_poData + (m_iSize - iCount), iCount);
    QelTools_memmove(poGap + iCount, poGap, static_cast<KUINT32>(sizeof(T) * static_cast<KUINT32>(iTail)));
    KConstructElements<T>(poGap, iCount);
    std::fill_n(poGap, iCount, oCopy);
}

template <class T, class ARG> void CKArray<T, ARG>::RemoveAt(int iIndex, int iCount)
{
    const bool bIsPossible = iIndex >= 0 && iIndex <= m_iSize && iCount >= 0;
    QEL_ASSERT(bIsPossible);
    if (!bIsPossible)
        return;

    iCount = std::min(iCount, m_iSize - iIndex);
    if (iCount == 0)
        return;

    T*        poGap = m_poData + iIndex;
    const int iTail = m_iSize - iIndex - iCount;
    KDestructElements<T>(poGap, iCount);
    QelTools_memmove(poGap, poGap + iCount, static_cast<KUINT32>(sizeof(T) * static_cast<KUINT32>(iTail)));
    m_iSize -= iCount;
}

template <class T, class ARG> void CKArray<T, ARG>::RemoveDuplicates()
{
    KeepOnly([this](int iIndex) { return Find(m_poData[iIndex]) == iIndex; });
}

template <class T, class ARG> int CKArray<T, ARG>::Find(ARG oElement, int iStart) const
{
    for (int i = std::max(iStart, 0); i < m_iSize; ++i)
    {
        if (m_poData[i] == oElement)
            return i;
    }
    return -1;
}

template <class T, class ARG> bool CKArray<T, ARG>::operator==(const CKArray& roOther) const
{
    return std::equal(Begin(), End(), roOther.Begin(), roOther.End());
}

template <class T, class ARG> CKArray<T, ARG>& CKArray<T, ARG>::operator&=(const CKArray& roOther)
{
    RemoveDuplicates();
    if (this != &roOther)
        KeepOnly([this, &roOther](int iIndex) { return roOther.IsPresent(m_poData[iIndex]); });
    return *this;
}

template <class T, class ARG> CKArray<T, ARG>& CKArray<T, ARG>::operator|=(const CKArray& roOther)
{
    Append(roOther);
    RemoveDuplicates();
    return *this;
}

// Returns the spare element that an index outside the array refers to, in its initial state.
template <class T, class ARG> T& CKArray<T, ARG>::NoElement()
{
    struct SElement
    {
        SElement()
        {
            KConstructElements<T>(Get(), 1);
            ms_poNoElement = Get();
        }
        ~SElement()
        {
            KDestructElements<T>(Get(), 1);
            ms_poNoElement = nullptr;
        }
        T* Get() { return reinterpret_cast<T*>(m_auiStorage); }

        alignas(T) unsigned char m_auiStorage[sizeof(T)];
    };
    static thread_local SElement s_oElement;

    EmptyNoElement();
    return *s_oElement.Get();
}

// Resets the spare element. A block that it kept could outlive the allocator of that block.
template <class T, class ARG> void CKArray<T, ARG>::EmptyNoElement()
{
    if (ms_poNoElement == nullptr)
        return;

    KDestructElements<T>(ms_poNoElement, 1);
    KConstructElements<T>(ms_poNoElement, 1);
}

template <class T, class ARG> bool CKArray<T, ARG>::IsInside(int iIndex) const
{
    const bool bIsInside = iIndex >= 0 && iIndex < m_iSize;
    QEL_ASSERT(bIsInside);
    return bIsInside;
}

// Returns the index of an element of this array, or -1 for any other object.
template <class T, class ARG> int CKArray<T, ARG>::OwnIndexOf(const void* pvElement) const
{
    const std::less<const void*> oIsBefore;
    if (oIsBefore(pvElement, m_poData) || !oIsBefore(pvElement, m_poData + m_iSize))
        return -1;
    return static_cast<int>(static_cast<const T*>(pvElement) - m_poData);
}

template <class T, class ARG> bool CKArray<T, ARG>::IsStoragePossible(KINT64 iMaxSize) const
{
    const bool bIsPossible = iMaxSize <= MAX_STORAGE;
    QEL_ASSERT(bIsPossible);
    return bIsPossible;
}

// Moves the elements into new storage for exactly iMaxSize elements, or returns the storage if iMaxSize is 0.
template <class T, class ARG> void CKArray<T, ARG>::MoveToStorage(int iMaxSize)
{
    T* poNew = nullptr;
    if (iMaxSize > 0)
        poNew = static_cast<T*>(CKAllocator::AllocBlock(sizeof(T) * static_cast<KUINT32>(iMaxSize)));
    if (m_iSize > 0)
        QelTools_memcpy(poNew, m_poData, static_cast<KUINT32>(sizeof(T) * static_cast<KUINT32>(m_iSize)));

    CKAllocator::FreeBlock(m_poData);
    m_poData   = poNew;
    m_iMaxSize = iMaxSize;
}

template <class T, class ARG> void CKArray<T, ARG>::ReturnStorage()
{
    if (m_poData != nullptr)
        KDestructElements<T>(m_poData, m_iSize);
    CKAllocator::FreeBlock(m_poData);
    m_poData   = nullptr;
    m_iSize    = 0;
    m_iMaxSize = 0;
}

// Removes every element for which fIsKept(index) is false. All elements before that index have been kept.
template <class T, class ARG> template <class TIsKept> void CKArray<T, ARG>::KeepOnly(TIsKept fIsKept)
{
    for (int i = 0; i < m_iSize;)
    {
        if (fIsKept(i))
            ++i;
        else
            RemoveAt(i);
    }
}

#endif
